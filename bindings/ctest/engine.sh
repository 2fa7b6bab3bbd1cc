#!/bin/sh
# Builds the engine archive that the R package and the Python module of the
# suite link (the setup of the tests labelled r and python), as their own
# build steps would: Release, position-independent code, no tests.
# Skips with one line and status 77 when neither R nor Debian's Python is
# installed, as both tests will then skip.
# Usage: engine.sh SOURCE_DIR ENGINE_BUILD_DIR
set -eu
source_dir=$1
build_dir=$2
python=${VELQUORIN_PYTHON:-/usr/bin/python3}
if ! command -v Rscript >/dev/null 2>&1 && ! [ -x "$python" ]; then
  echo "engine of the bindings not built: neither R nor $python is installed (make deps-all)"
  exit 77
fi
cmake -S "$source_dir" -B "$build_dir" -DVELQUORIN_TESTS=OFF -DVELQUORIN_BENCH=OFF \
  -DCMAKE_POSITION_INDEPENDENT_CODE=ON -DCMAKE_BUILD_TYPE=Release >/dev/null
exec cmake --build "$build_dir" --target velquorin_engine -j "${VELQUORIN_JOBS:-2}"

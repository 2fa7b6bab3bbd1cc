#!/bin/sh
# Installs the Python module from a copy of bindings/python into a scratch
# target folder (as `pip install --target DIR ./bindings/python` does) with
# Debian's Python, offline, and runs its pytest tests.
# Skips with one line and status 77 when that Python, or numpy, pybind11 or
# pytest in it, is missing.
# Usage: python.sh SOURCE_DIR WORK_DIR ENGINE_BUILD_DIR
set -eu
source_dir=$1
work=$2
engine=$3
python=${VELQUORIN_PYTHON:-/usr/bin/python3}
if ! [ -x "$python" ]; then
  echo "Python module tests skipped: $python is not installed (make deps-all)"
  exit 77
fi
for module in numpy pybind11 pytest setuptools pip; do
  if ! "$python" -c "import $module" >/dev/null 2>&1; then
    echo "Python module tests skipped: $python has no $module (make deps-all)"
    exit 77
  fi
done
rm -rf "$work"
mkdir -p "$work/source"
# A copy, so that the in-tree build leaves nothing in the source tree.
tar -C "$source_dir/bindings/python" --exclude=./build --exclude='*.egg-info' \
  --exclude=__pycache__ --exclude='*.so' -cf - . | tar -C "$work/source" -xf -
export VELQUORIN_SOURCE_DIR="$source_dir" VELQUORIN_ENGINE_BUILD="$engine"
if ! "$python" -m pip install --no-index --no-build-isolation --disable-pip-version-check \
  --target "$work/site" "$work/source" >"$work/install.log" 2>&1; then
  cat "$work/install.log"
  echo "pip install failed"
  exit 1
fi
cd "$work"
PYTHONPATH="$work/site" exec "$python" -m pytest -q -p no:cacheprovider \
  "$source_dir/bindings/python/tests"

#!/bin/sh
# Installs the R package from a copy of bindings/R into a scratch library
# (as `R CMD INSTALL -l LIB bindings/R` does) and runs its testthat tests.
# Skips with one line and status 77 when R, Rcpp or testthat is missing.
# Usage: r.sh SOURCE_DIR WORK_DIR ENGINE_BUILD_DIR
set -eu
source_dir=$1
work=$2
engine=$3
if ! command -v Rscript >/dev/null 2>&1; then
  echo "R package tests skipped: R is not installed (make deps-all installs r-base-core, r-cran-rcpp, r-cran-testthat)"
  exit 77
fi
for package in Rcpp testthat; do
  if ! Rscript -e "quit(status = if (requireNamespace('$package', quietly = TRUE)) 0 else 1)" \
    >/dev/null 2>&1; then
    echo "R package tests skipped: the R package $package is not installed (make deps-all)"
    exit 77
  fi
done
rm -rf "$work"
mkdir -p "$work/lib" "$work/velquorin"
# A copy, so that the install leaves nothing in the source tree.
tar -C "$source_dir/bindings/R" --exclude=./src/engine-build --exclude='./src/*.o' \
  --exclude='./src/*.so' --exclude=./src/Makevars -cf - . | tar -C "$work/velquorin" -xf -
export VELQUORIN_SOURCE_DIR="$source_dir" VELQUORIN_ENGINE_BUILD="$engine"
if ! R CMD INSTALL -l "$work/lib" "$work/velquorin" >"$work/install.log" 2>&1; then
  cat "$work/install.log"
  echo "R CMD INSTALL failed"
  exit 1
fi
exec Rscript -e "library(velquorin, lib.loc = '$work/lib')" \
  -e "testthat::test_dir('$source_dir/bindings/R/tests/testthat', reporter = 'summary', stop_on_failure = TRUE)"

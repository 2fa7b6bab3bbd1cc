#!/usr/bin/env bash
# Installs the Debian packages the project needs, if any are missing.
#
#   tools/install-deps.sh          what the program and its C++ suite need
#   tools/install-deps.sh --all    also what the optional tests need: R with
#                                  psych, lavaan, Rcpp and testthat (peers and
#                                  the R package), Python with numpy, pandas,
#                                  pybind11 and pytest (the Python module),
#                                  jsonschema (JSON results), Chromium (HTML)
#
# Runs apt-get only when something is missing; uses sudo when not root. A
# missing build package is an error; an optional package that cannot be had
# is reported in one line, and the tests that need it skip themselves.
set -eu

build_packages="g++ make cmake liblapack-dev libblas-dev libgtest-dev libgmock-dev
  libbenchmark-dev nlohmann-json3-dev clang-format"
optional_packages="r-base-core r-cran-rcpp r-cran-testthat r-cran-psych r-cran-lavaan
  python3 python3-pip python3-setuptools python3-numpy python3-pandas python3-pytest
  pybind11-dev python3-pybind11 python3-jsonschema chromium"

want_optional=0
for arg in "$@"; do
  case "$arg" in
    --all) want_optional=1 ;;
    *) echo "install-deps: unknown argument $arg (use --all or nothing)" >&2; exit 2 ;;
  esac
done

missing_of() {
  local missing=""
  for p in "$@"; do
    if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
      missing="$missing $p"
    fi
  done
  echo "$missing"
}

as_root() {
  if [ "$(id -u)" = 0 ]; then "$@"; else sudo "$@"; fi
}

updated=0
apt_install() {
  if [ "$updated" = 0 ]; then
    as_root apt-get update -qq || true
    updated=1
  fi
  as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq "$@"
}

# shellcheck disable=SC2086
missing=$(missing_of $build_packages)
if [ -n "$missing" ]; then
  echo "installing:$missing"
  # shellcheck disable=SC2086
  apt_install $missing
fi

if [ "$want_optional" = 1 ]; then
  # shellcheck disable=SC2086
  missing=$(missing_of $optional_packages)
  if [ -n "$missing" ]; then
    echo "installing (optional tests):$missing"
    # One at a time after a failed batch, so that one package that cannot be
    # had does not keep the others out.
    # shellcheck disable=SC2086
    if ! apt_install $missing >/dev/null 2>&1; then
      for p in $missing; do
        apt_install "$p" >/dev/null 2>&1 ||
          echo "install-deps: $p could not be installed; the tests that need it will be skipped"
      done
    fi
  fi
fi

#!/usr/bin/env bash
# Makes the given correlation matrices of this folder from the matrices that
# other examples save: each example is run in a scratch folder and its saved
# cor file (the matrix before any smoothing) is copied here.
#
#   examples/given_cor/make_data.sh build/velquorin
#
# cont.cor      <- examples/scores/reg.in         (reg.cor, run with --seed 1)
# ordered8.cor  <- examples/ordered/ordered.in    (ordered.cor)
# dich8.cor     <- examples/dichotomous/dichotomous.in (dichotomous.cor)
#
# skewed.cor is a hand-made matrix (see skewed.in) and is not made here.
set -eu
binary=$(realpath "$1")
here=$(cd "$(dirname "$0")" && pwd)
examples=$(dirname "$here")
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# make_one <example folder> <command file> <saved file> <copy named>
make_one() {
  rm -rf "${scratch:?}/run"
  cp -r "$examples/$1" "$scratch/run"
  (cd "$scratch/run" && "$binary" --seed 1 "$2" < /dev/null > /dev/null)
  cp "$scratch/run/$3" "$here/$4"
}
make_one scores reg.in reg.cor cont.cor
make_one ordered ordered.in ordered.cor ordered8.cor
make_one dichotomous dichotomous.in dichotomous.cor dich8.cor

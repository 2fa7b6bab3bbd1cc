#!/usr/bin/env bash
# Makes the given patterns of this folder from the run of
# examples/scores/reg.in (with --seed 1), in a scratch folder:
#
#   examples/rotate_given/make_data.sh build/velquorin
#
# unrotated.dat  <- the table "Unrotated Factor Loadings" of reg.out: the
#                   three F8.3 fields of its nine rows, labels cut off
# promax.fac     <- reg.fac, the sorted Promax pattern
# promax.phi     <- reg.phi, its factor correlations
set -eu
binary=$(realpath "$1")
here=$(cd "$(dirname "$0")" && pwd)
examples=$(dirname "$here")
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

cp -r "$examples/scores" "$scratch/run"
(cd "$scratch/run" && "$binary" --seed 1 reg.in < /dev/null > /dev/null)
awk '/^ Unrotated Factor Loadings/ { rows = 10; next }
     rows > 0 { if (rows < 10) print substr($0, length($0) - 23); rows-- }' \
  "$scratch/run/reg.out" > "$here/unrotated.dat"
cp "$scratch/run/reg.fac" "$here/promax.fac"
cp "$scratch/run/reg.phi" "$here/promax.phi"

#!/usr/bin/env bash
# Whole checks of `velquorin init`: on the bfi-like example (packed digits
# with ids), a CSV with a header and no ids, a file of blank-separated scores
# of wandering width, and 0/1 items in steady columns, init writes a command
# file (and a copy of the data where needed) that passes `velquorin check`
# and then runs to "Finished".
# Also: a second init refuses to write over what the first wrote, the data
# files stay as they were, and a ragged file ends with the line and column
# of the fault and status 2.
#
#   init_runs.sh <velquorin binary> <source folder> <scratch folder>
set -u
if [ $# -ne 3 ]; then
  echo "usage: init_runs.sh <velquorin binary> <source folder> <scratch folder>" >&2
  exit 2
fi
# The runs start in scratch folders: every path is made absolute first.
absolute() {
  case $1 in
    /*) echo "$1" ;;
    *) echo "$PWD/$1" ;;
  esac
}
binary=$(absolute "$1")
source_dir=$(absolute "$2")
work=$(absolute "$3")
rm -rf "$work"
mkdir -p "$work"
passed=0
failures=0
fail() {
  echo "FAIL: $*"
  failures=$((failures + 1))
}
# expect DESCRIPTION COMMAND...: one check, counted.
expect() {
  local description=$1
  shift
  if "$@"; then
    passed=$((passed + 1))
  else
    fail "$description"
  fi
}

# init_and_run CASE DATAFILE STEM [init options]: init in a scratch folder of
# its own, then the run there.
init_and_run() {
  local name=$1 data=$2 stem=$3
  shift 3
  local dir="$work/$name"
  mkdir -p "$dir"
  cp "$data" "$dir/"
  local file
  file=$(basename "$data")
  (cd "$dir" && "$binary" init "$file" "$@" > init.txt 2> init.err)
  local status=$?
  [ $status = 0 ] || { fail "$name: init ended with $status: $(cat "$dir/init.err")"; return; }
  [ -f "$dir/$stem.in" ] || { fail "$name: no $stem.in"; return; }
  cmp -s "$data" "$dir/$file" || fail "$name: init changed the data file"
  # The command file init wrote passes check without a word.
  (cd "$dir" && "$binary" check "$stem.in" > check.txt 2>&1)
  status=$?
  [ $status = 0 ] || fail "$name: check ended with $status: $(cat "$dir/check.txt")"
  grep -qx "$stem.in: no faults found" "$dir/check.txt" || fail "$name: check said $(cat "$dir/check.txt")"
  (cd "$dir" && "$binary" "$stem.in" < /dev/null > run.txt 2> run.err)
  status=$?
  [ $status = 0 ] || fail "$name: the run ended with $status"
  grep -q "Finished" "$dir/run.txt" || fail "$name: the run did not finish: $(tail -n 5 "$dir/run.txt")"
  [ -s "$dir/$stem.out" ] || fail "$name: no report $stem.out"
  # A second init must not write over the command file or the report.
  cp "$dir/$stem.in" "$dir/first.in"
  (cd "$dir" && "$binary" init "$file" "$@" > /dev/null 2> again.err)
  status=$?
  [ $status = 2 ] || fail "$name: a second init ended with $status, not 2"
  grep -q "exists" "$dir/again.err" || fail "$name: a second init did not say what exists"
  cmp -s "$dir/$stem.in" "$dir/first.in" || fail "$name: a second init changed $stem.in"
  passed=$((passed + 1))
  echo "ok: $name ($(grep -m1 '^>FORMAT:' "$dir/$stem.in"))"
}

init_and_run bfi "$source_dir/examples/bfi_like/bfi_like.dat" bfi_like
expect "bfi: format" grep -q "^>FORMAT: (F5.0,25F1.0)$" "$work/bfi/bfi_like.in"
expect "bfi: five factors" grep -q "^>MODEL: PFA 5 LABELS SORT$" "$work/bfi/bfi_like.in"
expect "bfi: rotated loadings" grep -q "Oblimin Sorted Factor Loadings" "$work/bfi/bfi_like.out"

init_and_run csv "$source_dir/tests/cli/data/survey.csv" survey
expect "csv: data line" grep -q "^>DATA: 'survey-items.csv' 8 300$" "$work/csv/survey.in"
expect "csv: no id, T1" grep -q "^>FORMAT: (F25.0,T1,8F25.0)$" "$work/csv/survey.in"
expect "csv: labels from the header" grep -q "q_sleep" "$work/csv/survey.out"

init_and_run blanks "$source_dir/tests/cli/data/scores.txt" scores
expect "blanks: coding" grep -q "^>METRIC: CO RAW NS$" "$work/blanks/scores.in"

init_and_run zero_one "$source_dir/tests/cli/data/answers.dat" answers
expect "zero_one: coding" grep -q "^>METRIC: DI RAW SM$" "$work/zero_one/answers.in"
expect "zero_one: read in place" grep -q "^>DATA: 'answers.dat' 10 250$" "$work/zero_one/answers.in"

# A ragged file: the fault's place, and nothing written.
mkdir -p "$work/ragged"
printf '1,2,3\n4,5\n6,7,8\n' > "$work/ragged/ragged.csv"
(cd "$work/ragged" && "$binary" init ragged.csv > out.txt 2> err.txt)
expect "ragged: status 2" [ $? = 2 ]
expect "ragged: message" grep -q "^ragged.csv:2:4: error: the record has 2 fields" "$work/ragged/err.txt"
expect "ragged: nothing written" [ ! -e "$work/ragged/ragged.in" ]

echo "$passed passed, $failures failed"
[ $failures = 0 ]

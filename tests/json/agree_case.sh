#!/usr/bin/env bash
# The JSON document of a golden case against what its report, saved files,
# aids file and page print (tests/json/agree.py), on the files the run with
# one thread of json.valid.<case> (validate_case.sh) left in its scratch
# folder.
#
#   agree_case.sh <case folder> <scratch folder of validate_case.sh>
#
# Exits 77 (skipped) with one line where /usr/bin/python3 is missing.
set -u
case_dir=$1 work=$2
[ -x /usr/bin/python3 ] || { echo "skipped: no /usr/bin/python3"; exit 77; }
if [ ! -f "$work/run.threads1.json" ]; then
  subcommand=$(head -n 1 "$case_dir/args" 2> /dev/null | cut -d ' ' -f 1)
  if [ "$subcommand" = check ] || [ "$subcommand" = init ] ||
     grep -qE '^--(help|version)' "$case_dir/args" 2> /dev/null ||
     [ "$(cat "$work/case/threads1/status" 2> /dev/null)" = 2 ]; then
    echo "no run, no document"
    exit 0
  fi
  echo "no document in $work (json.valid.$(basename "$case_dir") runs the case)"
  exit 1
fi
exec /usr/bin/python3 "$(dirname "$0")/agree.py" "$work/case/threads1" \
  "$work/run.threads1.json" "$work/run.threads1.html"

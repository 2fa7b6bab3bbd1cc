#!/usr/bin/env bash
# Runs one golden case with --json and --html (tests/golden/run_case.sh
# --json: the report and every saved file must still match expected/ byte
# for byte) and
# validates both documents (one thread, two threads) against
# docs/run.schema.json; the two must be the same document but for the
# thread count. Cases that never start a run (the `check` and `init`
# subcommands, arguments that cannot be used, --help) leave no document and
# pass on the first check alone.
#
#   validate_case.sh <velquorin binary> <case folder> <scratch folder>
#
# Exits 77 (skipped) with one line where /usr/bin/python3 has no jsonschema.
set -u
here=$(cd "$(dirname "$0")" && pwd)
binary=$1 case_dir=$2 work=$3
mkdir -p "$work"
prefix="$(cd "$work" && pwd)/run"
rm -f "$prefix".threads*.json
bash "$here/../golden/run_case.sh" --json "$prefix" "$binary" "$case_dir" "$work/case" || exit 1
status=$(cat "$work/case/threads1/status")
if [ ! -f "$prefix.threads1.json" ]; then
  subcommand=$(head -n 1 "$case_dir/args" 2> /dev/null | cut -d ' ' -f 1)
  if [ "$subcommand" = check ] || [ "$subcommand" = init ] || [ "$status" = 2 ] ||
     grep -qE '^--(help|version)' "$case_dir/args" 2> /dev/null; then
    echo "no run, no document (status $status)"
    exit 0
  fi
  echo "the run left no JSON document (status $status)"
  exit 1
fi
# The run is done first in any case: json.agree.<case> reads its files.
if ! /usr/bin/python3 -c "import jsonschema" 2> /dev/null; then
  echo "skipped: /usr/bin/python3 has no jsonschema (Debian python3-jsonschema)"
  exit 77
fi
exec /usr/bin/python3 "$here/validate.py" "$here/../../docs/run.schema.json" \
  "$prefix.threads1.json" "$prefix.threads2.json" "$status"

#!/usr/bin/env bash
# A run's JSON document against a stored one, compared after parsing (every
# number as the same double, every text the same) but for the paths that
# name the scratch folder.
#
#   golden_json.sh [--update] <velquorin binary> <example folder> <command file> <expected.json> <scratch> [option...]
#
# Options after the scratch folder are passed to the run (--aids=20).
#
# Exits 77 (skipped) with one line where /usr/bin/python3 is missing.
set -u
update=0
if [ "${1:-}" = --update ]; then update=1; shift; fi
binary=$1 example=$2 command=$3 expected=$4 work=$5
shift 5
[ -x /usr/bin/python3 ] || { echo "skipped: no /usr/bin/python3"; exit 77; }
rm -rf "$work" && mkdir -p "$work"
cp -r "$example"/. "$work"/
(cd "$work" && "$binary" --seed 1 --threads 1 --json run.json "$@" "$command" < /dev/null > console.txt 2>&1)
[ -f "$work/run.json" ] || { echo "no document"; exit 1; }
if [ $update = 1 ]; then
  /usr/bin/python3 "$(dirname "$0")/normalise.py" "$work/run.json" > "$expected"
  exit 0
fi
/usr/bin/python3 "$(dirname "$0")/normalise.py" "$work/run.json" > "$work/actual.json"
exec /usr/bin/python3 - "$expected" "$work/actual.json" <<'PY'
import json, sys
expected, actual = (json.load(open(p)) for p in sys.argv[1:3])
if expected != actual:
    def walk(a, b, path):
        if type(a) != type(b) or not isinstance(a, (dict, list)):
            if a != b:
                print(f"{path}: expected {a!r}, got {b!r}")
            return
        keys = sorted(set(a) | set(b)) if isinstance(a, dict) else range(max(len(a), len(b)))
        for k in keys:
            try:
                walk(a[k], b[k], f"{path}/{k}")
            except (KeyError, IndexError):
                print(f"{path}/{k}: present on one side only")
    walk(expected, actual, "")
    sys.exit(1)
print("same document")
PY

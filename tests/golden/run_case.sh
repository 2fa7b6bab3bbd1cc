#!/usr/bin/env bash
# Runs one golden case: copies the case's inputs to a scratch folder, runs the
# program on its command file there, and compares every file under expected/
# byte for byte with what the run left (report, saved files, console text,
# error text and exit status).
#
#   run_case.sh <velquorin binary> <case folder> <scratch folder>
#
# With VELQUORIN_UPDATE_GOLDEN=1 the expected/ folder is rewritten from the run
# instead; read every changed file before committing it.
set -u
binary=$1
case_dir=$2
work=$3

rm -rf "$work"
mkdir -p "$work"
(cd "$case_dir" && find . -path ./expected -prune -o -type f -print) |
  while read -r f; do
    mkdir -p "$work/$(dirname "$f")"
    cp "$case_dir/$f" "$work/$f"
  done
inputs=$(cd "$work" && find . -type f | sort)

command_file=$(cd "$work" && ls ./*.in | head -n 1)
args=()
if [ -f "$case_dir/args" ]; then
  read -r -a args < "$case_dir/args"
fi
stdin_file=/dev/null
[ -f "$case_dir/stdin" ] && stdin_file="$case_dir/stdin"

(cd "$work" && "$binary" "${args[@]}" "$command_file" \
   < "$stdin_file" > console.txt 2> stderr.txt)
echo $? > "$work/status"

if [ "${VELQUORIN_UPDATE_GOLDEN:-0}" = 1 ]; then
  rm -rf "$case_dir/expected"
  mkdir -p "$case_dir/expected"
  (cd "$work" && find . -type f | sort) | while read -r f; do
    if ! grep -qxF "$f" <<< "$inputs"; then
      mkdir -p "$case_dir/expected/$(dirname "$f")"
      cp "$work/$f" "$case_dir/expected/$f"
    fi
  done
  echo "updated $case_dir/expected"
  exit 0
fi

status=0
if [ ! -d "$case_dir/expected" ]; then
  echo "no expected/ folder in $case_dir"
  exit 1
fi
while read -r f; do
  if [ ! -f "$work/$f" ]; then
    echo "missing output: $f"
    status=1
  elif ! cmp -s "$case_dir/expected/$f" "$work/$f"; then
    echo "differs: $f"
    diff -u "$case_dir/expected/$f" "$work/$f" | head -n 40
    status=1
  fi
done < <(cd "$case_dir/expected" && find . -type f | sort)
exit $status

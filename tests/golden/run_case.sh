#!/usr/bin/env bash
# Runs one golden case: copies the case's inputs to a scratch folder, runs the
# program on its command file there, and compares every file under expected/
# byte for byte with what the run left (report, saved files, console text,
# error text and exit status).
#
# A case folder holds its inputs (one *.in command file and the files it
# names), or a file `example` naming a folder of the repository (such as
# examples/continuous) whose files are the inputs. Where an example folder
# holds more than one command file, `example` names the one to run instead
# (examples/continuous/short.in). Optional files: `args`
# (command-line options, e.g. --seed 1), `stdin` (answers at the pause
# prompt), and the folder expected/.
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
input_dir=$case_dir
command_name=
if [ -f "$case_dir/example" ]; then
  repository=$(cd "$(dirname "$0")/../.." && pwd)
  input_dir="$repository/$(head -n 1 "$case_dir/example")"
  if [ -f "$input_dir" ]; then
    command_name=$(basename "$input_dir")
    input_dir=$(dirname "$input_dir")
  fi
fi
# Only the files under version control are inputs, so that outputs left in an
# example folder by a run by hand are not taken for inputs.
list_inputs() {
  if git -C "$input_dir" rev-parse --is-inside-work-tree > /dev/null 2>&1; then
    (cd "$input_dir" && git ls-files --cached --others --exclude-standard .)
  else
    (cd "$input_dir" && find . -type f)
  fi | grep -v -e '^\(\./\)\?expected/' -e '\(^\|/\)\(example\|args\|stdin\|\.gitignore\)$'
}
list_inputs | while read -r f; do
  mkdir -p "$work/$(dirname "$f")"
  cp "$input_dir/$f" "$work/$f"
done
inputs=$(cd "$work" && find . -type f | sort)

if [ -n "$command_name" ]; then
  command_file=./$command_name
else
  command_file=$(cd "$work" && ls ./*.in | head -n 1)
fi
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

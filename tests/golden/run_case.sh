#!/usr/bin/env bash
# Runs one golden case twice, with one thread and with two, and compares
# every file under expected/ byte for byte with what each run left (report,
# saved files, console text, error text and exit status).
#
# Each run gets a scratch folder of its own under the scratch folder given,
# threads1/ and threads2/, with a fresh copy of the case's inputs; the
# program is started there on the command file, with `--threads 1` or
# `--threads 2` ahead of the case's own options. The estimators that work
# pair by pair or triplet by triplet share their work among the threads,
# and a run must not depend on how it was shared: the two runs must leave
# the same files with the same bytes, and both must match expected/. A run
# that leaves a file that expected/ does not hold fails as well.
#
# A case folder holds its inputs (one *.in command file and the files it
# names), or a file `example` naming a folder of the repository (such as
# examples/continuous) whose files are the inputs. Where an example folder
# holds more than one command file, `example` names the one to run instead
# (examples/continuous/labels.in). Optional files: `args` (command-line
# options, e.g. --seed 1 for a random start), `stdin` (answers at the pause
# prompt), `setup` (a bash script run in the scratch folder once the inputs
# are there and before the run, for inputs too large or too odd to commit:
# lines of 100,000 characters, a folder where a file is expected, a named
# pipe, an example's file edited), `command` (the command-file argument in
# place of the case's *.in; an empty file for none), and the folder expected/.
#
# Every file in the scratch folder before the run is an input: the run must
# leave it as it was. Every other file is an output. The scratch folder's own
# path, wherever it shows in the console or error text, reads <scratch>.
# When `args` starts with a subcommand (`check`, `init`), the program is
# started as `velquorin check ... FILE.in` (or `velquorin init ... DATAFILE`,
# the data file named in `command`), without --threads, which only a run
# takes.
#
#   run_case.sh [--update | --json PREFIX] <velquorin binary> <case folder> <scratch folder>
#
# With --update (what `make golden-update` passes) the expected/ folder is
# rewritten from the run with one thread instead, and only when the two runs
# agree; read every changed file before committing it. Without --update the
# case folder is never written to.
set -u
update=0
if [ "${1:-}" = --update ]; then
  update=1
  shift
fi
# --json PREFIX (tests/json/validate_case.sh): each run also writes its JSON
# document to PREFIX.threadsN.json and its page to PREFIX.threadsN.html,
# outside the scratch folder, so that the comparison below also shows that
# --json and --html leave every other file as it was.
json_prefix=
if [ "${1:-}" = --json ]; then
  json_prefix=$2
  shift 2
fi
if [ $# -ne 3 ]; then
  echo "usage: run_case.sh [--update] <velquorin binary> <case folder> <scratch folder>" >&2
  exit 2
fi
# The runs start in their scratch folders: every path is made absolute first.
absolute() {
  case $1 in
    /*) echo "$1" ;;
    *) echo "$PWD/$1" ;;
  esac
}
binary=$1
[[ $binary == */* ]] && binary=$(absolute "$binary")
case_dir=$(absolute "${2%/}")
work=$(absolute "$3")
thread_counts=(1 2)

input_dir=$case_dir
command_name=
if [ -f "$case_dir/example" ]; then
  repository=$(cd "$(dirname "$0")/../.." && pwd)
  input_dir="$repository/$(head -n 1 "$case_dir/example")"
  if [ -f "$input_dir" ]; then
    command_name=$(basename "$input_dir")
    input_dir=$(dirname "$input_dir")
  fi
  if [ ! -d "$input_dir" ]; then
    echo "no example folder $input_dir for $case_dir"
    exit 1
  fi
fi
expected_files=
if [ -d "$case_dir/expected" ]; then
  expected_files=$(cd "$case_dir/expected" && find . -type f | sort)
fi
# Only the files under version control (or not ignored by it) are inputs, and
# none that expected/ holds, so that outputs left in an example folder by a
# run by hand are not taken for inputs.
list_inputs() {
  if git -C "$input_dir" rev-parse --is-inside-work-tree > /dev/null 2>&1; then
    (cd "$input_dir" && git ls-files --cached --others --exclude-standard .)
  else
    (cd "$input_dir" && find . -type f)
  fi | grep -v -e '^\(\./\)\?expected/' -e '\(^\|/\)\(example\|args\|stdin\|setup\|command\|\.gitignore\)$' |
    sed -e 's|^\./||' -e 's|^|./|' | grep -vxF -f <(echo "$expected_files")
}
inputs=$(list_inputs | sort)

args=()
if [ -f "$case_dir/args" ]; then
  read -r -a args < "$case_dir/args"
fi
stdin_file=/dev/null
[ -f "$case_dir/stdin" ] && stdin_file="$case_dir/stdin"
command_given=0
command_words=()
if [ -f "$case_dir/command" ]; then
  command_given=1
  read -r -a command_words < "$case_dir/command"
fi

# Runs the case with $1 threads in $2: the inputs are copied there, the run
# leaves console.txt, stderr.txt and status beside its own files; the inputs
# are listed in $2.inputs, with their checksums in $2.sums.
run_once() {
  local threads=$1 scratch=$2 command_file physical
  rm -rf "$scratch"
  mkdir -p "$scratch"
  while read -r f; do
    [ -n "$f" ] || continue
    mkdir -p "$scratch/$(dirname "$f")"
    cp "$input_dir/$f" "$scratch/$f"
  done <<< "$inputs"
  if [ -f "$case_dir/setup" ]; then
    if ! (cd "$scratch" && bash -e "$case_dir/setup"); then
      echo "the setup of $case_dir failed"
      exit 1
    fi
  fi
  (cd "$scratch" && find . -type f | sort) > "$scratch.inputs"
  (cd "$scratch" && find . -type f -print0 | xargs -0 -r md5sum) > "$scratch.sums"
  if [ $command_given = 1 ]; then
    command_file=("${command_words[@]}")
  elif [ -n "$command_name" ]; then
    command_file=("./$command_name")
  else
    command_file=("$(cd "$scratch" && ls ./*.in | head -n 1)")
  fi
  local leading=(--threads "$threads")
  [ -n "$json_prefix" ] && leading+=(--json "$json_prefix.threads$threads.json"
    --html "$json_prefix.threads$threads.html")
  case "${args[0]:-}" in check | init) leading=() ;; esac
  (cd "$scratch" && "$binary" "${leading[@]}" "${args[@]}" "${command_file[@]}" \
     < "$stdin_file" > console.txt 2> stderr.txt)
  echo $? > "$scratch/status"
  physical=$(cd "$scratch" && pwd -P)
  sed -i "s|$physical|<scratch>|g" "$scratch/console.txt" "$scratch/stderr.txt"
}

# The files a run left beside its inputs, one ./name a line, sorted.
list_outputs() {
  (cd "$1" && find . -type f | sort) | grep -vxF -f "$1.inputs"
}

# Says which inputs the run in $1 changed, and returns 1 if it changed any.
inputs_kept() {
  local changed
  [ -s "$1.sums" ] || return 0
  changed=$(cd "$1" && md5sum -c --quiet "$1.sums" 2>&1) && return 0
  echo "the run changed its inputs:"
  echo "$changed"
  return 1
}

# Compares the files of folder $1 that $3 lists with those of folder $2;
# prints what differs, and returns 1 if anything does.
compare_folders() {
  local expected=$1 actual=$2 listed=$3 differs=0
  while read -r f; do
    [ -n "$f" ] || continue
    if [ ! -f "$actual/$f" ]; then
      echo "missing output: $f"
      differs=1
    elif ! cmp -s "$expected/$f" "$actual/$f"; then
      echo "differs: $f"
      diff -u "$expected/$f" "$actual/$f" | head -n 40
      differs=1
    fi
  done <<< "$listed"
  return $differs
}

rm -rf "$work"
for threads in "${thread_counts[@]}"; do
  run_once "$threads" "$work/threads$threads"
done

# The runs with one and with two threads must agree on every file.
first="$work/threads${thread_counts[0]}"
status=0
for threads in "${thread_counts[@]}"; do
  inputs_kept "$work/threads$threads" || status=1
done
for threads in "${thread_counts[@]:1}"; do
  other="$work/threads$threads"
  if [ "$(list_outputs "$first")" != "$(list_outputs "$other")" ]; then
    echo "the runs with --threads ${thread_counts[0]} and --threads $threads left different files:"
    diff <(list_outputs "$first") <(list_outputs "$other")
    status=1
  fi
  if ! compare_folders "$first" "$other" "$(list_outputs "$first")" > "$work/threads.diff"; then
    echo "the runs with --threads ${thread_counts[0]} (---) and --threads $threads (+++) differ:"
    cat "$work/threads.diff"
    status=1
  fi
done

if [ $update = 1 ]; then
  if [ $status != 0 ]; then
    echo "not updated: $case_dir (the runs disagree or changed their inputs)"
    exit 1
  fi
  rm -rf "$case_dir/expected"
  mkdir -p "$case_dir/expected"
  list_outputs "$first" | while read -r f; do
    mkdir -p "$case_dir/expected/$(dirname "$f")"
    cp "$first/$f" "$case_dir/expected/$f"
  done
  echo "updated $case_dir/expected"
  exit 0
fi

if [ ! -d "$case_dir/expected" ]; then
  echo "no expected/ folder in $case_dir"
  exit 1
fi
for threads in "${thread_counts[@]}"; do
  scratch="$work/threads$threads"
  if ! compare_folders "$case_dir/expected" "$scratch" "$expected_files" \
       > "$work/expected.diff"; then
    echo "the run with --threads $threads (+++) differs from expected/ (---):"
    cat "$work/expected.diff"
    status=1
  fi
  unexpected=$(list_outputs "$scratch" | grep -vxF -f <(echo "$expected_files"))
  if [ -n "$unexpected" ]; then
    echo "the run with --threads $threads left files that expected/ does not hold:"
    echo "$unexpected"
    status=1
  fi
done
exit $status

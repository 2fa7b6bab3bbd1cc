#!/usr/bin/env bash
# Shows that the test suite still catches faults: applies single-line
# mutations to src/ one at a time, rebuilds, runs the suite and reports which
# mutants were caught (some test failed or hung) and which were missed (the
# whole suite passed with the fault in place).
#
# A mutant is keyed by the exact text of one source line, compared with its
# leading and trailing white space trimmed, not by file and line number, so
# the list survives files moving between folders. The line is looked for in
# every .cc and .h file under src/; it must occur exactly once. When it
# occurs more than once, the file-name hint (the stem of the file it was
# written against) picks among the matches. A line that is no longer found,
# or still not unique, makes the mutant "n/a"; so does a mutant that no
# longer compiles. Neither counts as caught or missed.
#
# A tool to run by hand, not part of CI. It takes a while: an incremental
# build and a suite run per mutant. Run it niced on a shared machine:
#
#   nice -n 10 tools/mutants.sh [--build DIR] [--list FILE] [--only ID...]
#   tools/mutants.sh --dry-run    (only finds each mutant's line; no build)
#   nice -n 10 tools/mutants.sh --all --only ID   (every test that catches ID)
#   nice -n 10 tools/mutants.sh --label golden    (what the golden runs alone catch)
#
# The list format is described at the top of tools/mutants.txt.
set -u

repo=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build_dir="$repo/build-mutants"
list_file="$repo/tools/mutants.txt"
only=()
skip_check=0
dry_run=0
stop_flag=--stop-on-failure
label_args=()

usage() {
  sed -n '2,/^set -u/p' "${BASH_SOURCE[0]}" | sed -e '/^set -u/d' -e 's/^# \{0,1\}//'
  cat <<'EOF'
Options:
  --build DIR     build folder (default build-mutants in the repository);
                  configured RelWithDebInfo without benchmarks if new
  --list FILE     mutant list (default tools/mutants.txt)
  --only ID...    run only these mutants (all further arguments are IDs)
  --no-check      skip the first run of the suite on the unmutated tree
  --dry-run       only look up each mutant's line and print where it is
  --all           run the whole suite for each mutant, not only up to the
                  first failure, and list every test that failed
  --label REGEX   run only the tests whose CTest label matches (the test
                  folders: kernels, data, ..., and golden)
EOF
}

while [[ $# -gt 0 ]]; do
  case "$1" in
    --build) build_dir=$(realpath -m "$2"); shift 2 ;;
    --list) list_file=$(realpath -m "$2"); shift 2 ;;
    --no-check) skip_check=1; shift ;;
    --dry-run) dry_run=1; shift ;;
    --all) stop_flag=""; shift ;;
    --label) label_args=(-L "$2"); shift 2 ;;
    --only) shift; only=("$@"); break ;;
    -h|--help) usage; exit 0 ;;
    *) echo "mutants.sh: unknown argument '$1'" >&2; usage >&2; exit 2 ;;
  esac
done

if [[ ! -f "$list_file" ]]; then
  echo "mutants.sh: no mutant list at $list_file" >&2
  exit 2
fi

log_dir="$build_dir/mutant-logs"
mkdir -p "$log_dir"

# The file under mutation and its saved original; restored on any exit,
# including an interrupt, so src/ is never left mutated.
mutated_file=""
saved_copy="$log_dir/original.saved"

restore() {
  if [[ -n "$mutated_file" ]]; then
    # A plain copy gives the file a new time stamp, so the next build
    # recompiles it rather than keeping the mutated object.
    cat "$saved_copy" >"$mutated_file"
    mutated_file=""
  fi
}
trap 'restore' EXIT
# The build or suite under way runs in a process group of its own, so that an
# interrupt can end all of it (make, compilers, tests) before the source is
# restored: an object written after the restore would otherwise look newer
# than its source and keep the mutant in the build folder.
child=""
run_child() {
  setsid "$@" &
  child=$!
  wait "$child"
  local status=$?
  child=""
  return $status
}
on_signal() {
  local file=$mutated_file
  if [[ -n "$child" ]]; then
    kill -TERM -- "-$child" 2>/dev/null || kill -TERM "$child" 2>/dev/null
    while kill -0 -- "-$child" 2>/dev/null; do sleep 0.2; done
  fi
  restore
  # fd 3 is the terminal's stderr: the trap may run inside a redirection.
  echo >&3
  echo "mutants.sh: interrupted${file:+, ${file#"$repo/"} restored}" >&3
  exit 130
}
exec 3>&2
trap on_signal INT TERM HUP

src_state() { git -C "$repo" diff --no-ext-diff -- src | sha1sum; }
state_before=$(src_state)
if [[ -n "$(git -C "$repo" status --porcelain -- src)" ]]; then
  echo "mutants.sh: note: src/ has uncommitted changes; mutants apply on top of them" >&2
fi

if [[ $dry_run -eq 0 && ! -f "$build_dir/CMakeCache.txt" ]]; then
  echo "Configuring $build_dir"
  run_child cmake -S "$repo" -B "$build_dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DVELQUORIN_BENCH=OFF >"$log_dir/configure.log" 2>&1 || {
    echo "mutants.sh: configure failed, see $log_dir/configure.log" >&2
    exit 1
  }
fi

build() { run_child cmake --build "$build_dir" -j2 >"$1" 2>&1; }

# Runs the suite; returns 1 and sets failed_test to the first failing test
# when it does not pass.
run_suite() {
  local log=$1
  run_child ctest --test-dir "$build_dir" -j2 $stop_flag --timeout 120 "${label_args[@]}" \
    >"$log" 2>&1
  local status=$?
  [[ $status -eq 0 ]] && return 0
  # The first test in the order they finished whose status is not Passed:
  # "Test #12: Name ......***Failed  0.01 sec" (or ***Timeout, ***Exception).
  local first
  failed_test=""
  first=$(grep -E 'Test +#[0-9]+: .* sec$' "$log" | grep -vE ' Passed +[0-9.]+ sec$' | head -1 |
    sed -E 's/.*Test +#[0-9]+: +([^ ]+) +\.*(\*\*\*)?(.*[^ ]) +[0-9.]+ sec$/\1 (\3)/')
  [[ -z "$first" ]] && first=$(grep -m1 -A1 'The following tests FAILED' "$log" | tail -1 |
    sed -E 's/^[[:space:]]*[0-9]+ - //')
  failed_test=${first:-ctest exit $status}
  if [[ -z "$stop_flag" ]]; then
    local all
    all=$(sed -n '/The following tests FAILED/,$p' "$log" | sed -nE 's/^[[:space:]]+[0-9]+ - ([^ ]+).*/\1/p')
    failed_test="$failed_test; $(wc -w <<<"$all") failed: $(tr '\n' ' ' <<<"$all" | sed 's/ $//')"
  fi
  return 1
}

if [[ $dry_run -eq 1 ]]; then :
else
echo "Building the unmutated tree in $build_dir"
if ! build "$log_dir/build-original.log"; then
  echo "mutants.sh: the unmutated tree does not build, see $log_dir/build-original.log" >&2
  exit 1
fi
if [[ $skip_check -eq 0 ]]; then
  echo "Running the suite on the unmutated tree"
  if ! run_suite "$log_dir/suite-original.log"; then
    echo "mutants.sh: the suite fails without any mutant ($failed_test);" \
      "see $log_dir/suite-original.log" >&2
    exit 1
  fi
fi
fi

# Reads the list into parallel arrays. Blocks are separated by blank lines;
# lines starting with '#' are comments.
ids=() hints=() froms=() tos=() whys=()
flush_block() {
  if [[ -n "$b_id$b_from$b_to" ]]; then
    if [[ -z "$b_id" || -z "$b_from" || -z "$b_to" ]]; then
      echo "mutants.sh: incomplete block near '$b_id' in $list_file" >&2
      exit 2
    fi
    if [[ $(wc -l <<<"$b_from") -ne $(wc -l <<<"$b_to") ]]; then
      echo "mutants.sh: block '$b_id' has not one 'to:' for each 'from:'" >&2
      exit 2
    fi
    ids+=("$b_id") hints+=("$b_hint") froms+=("$b_from") tos+=("$b_to") whys+=("$b_why")
  fi
  b_id="" b_hint="" b_from="" b_to="" b_why=""
}
trim() { local s=$1; s=${s#"${s%%[![:space:]]*}"}; s=${s%"${s##*[![:space:]]}"}; printf '%s' "$s"; }
b_id="" b_hint="" b_from="" b_to="" b_why=""
while IFS= read -r line || [[ -n "$line" ]]; do
  [[ "$line" =~ ^[[:space:]]*# ]] && continue
  if [[ -z "$(trim "$line")" ]]; then flush_block; continue; fi
  key=${line%%:*}
  value=$(trim "${line#*:}")
  case "$(trim "$key")" in
    id) b_id=$value ;;
    hint) b_hint=$value ;;
    from) b_from+=${b_from:+$'\n'}$value ;;
    to) b_to+=${b_to:+$'\n'}$value ;;
    why) b_why=$value ;;
    *) echo "mutants.sh: unknown key '$key' in $list_file" >&2; exit 2 ;;
  esac
done <"$list_file"
flush_block

# Files of src/ whose trimmed lines include the text exactly, one per match
# (a file with two matching lines is listed twice).
find_matches() {
  local text=$1
  find "$repo/src" -type f \( -name '*.cc' -o -name '*.h' \) -print0 | sort -z |
    xargs -0 awk -v text="$text" '
      { line = $0; sub(/^[ \t]+/, "", line); sub(/[ \t\r]+$/, "", line)
        if (line == text) print FILENAME }'
}

# Replaces the one line of `file` whose trimmed text is `from` by `to`,
# keeping its indentation.
apply_mutant() {
  local file=$1 from=$2 to=$3
  awk -v from="$from" -v to="$to" '
    { line = $0; sub(/^[ \t]+/, "", line); sub(/[ \t\r]+$/, "", line)
      if (line == from) { match($0, /^[ \t]*/); print substr($0, 1, RLENGTH) to }
      else print }' "$file" >"$log_dir/mutated.tmp" &&
    cat "$log_dir/mutated.tmp" >"$file"
}

caught=0 missed=0 not_applicable=0
missed_ids=()
results="$log_dir/results.txt"
: >"$results"
report() {
  printf '%-28s %s\n' "$1" "$2" | tee -a "$results"
}

for index in "${!ids[@]}"; do
  id=${ids[$index]}
  if [[ ${#only[@]} -gt 0 ]]; then
    wanted=0
    for o in "${only[@]}"; do [[ "$o" == "$id" ]] && wanted=1; done
    [[ $wanted -eq 1 ]] || continue
  fi
  hint=${hints[$index]}
  mapfile -t from_lines <<<"${froms[$index]}"
  mapfile -t to_lines <<<"${tos[$index]}"

  # The first from/to pair whose line is found exactly once (after the hint)
  # is used; a block may give the line as it reads before and after a
  # refactor. The n/a message tells about the first pair.
  file="" first_problem=""
  for pair in "${!from_lines[@]}"; do
    from=${from_lines[$pair]} to=${to_lines[$pair]}
    mapfile -t matches < <(find_matches "$from")
    found=${#matches[@]}
    if [[ $found -gt 1 && -n "$hint" ]]; then
      stem=$(basename "${hint%.*}")
      hinted=()
      for m in "${matches[@]}"; do
        [[ "$(basename "${m%.*}")" == "$stem" ]] && hinted+=("$m")
      done
      matches=("${hinted[@]}")
    fi
    if [[ ${#matches[@]} -eq 1 ]]; then
      file=${matches[0]}
      break
    fi
    if [[ -z "$first_problem" ]]; then
      if [[ $found -eq 0 ]]; then
        first_problem="line not found"
      else
        first_problem="line found $found times${hint:+, ${#matches[@]} in $hint}"
      fi
    fi
  done
  if [[ -z "$file" ]]; then
    report "$id" "n/a  ($first_problem)"
    not_applicable=$((not_applicable + 1))
    continue
  fi
  relative=${file#"$repo/"}
  if [[ $dry_run -eq 1 ]]; then
    line_number=$(awk -v text="$from" '
      { line = $0; sub(/^[ \t]+/, "", line); sub(/[ \t\r]+$/, "", line)
        if (line == text) { print FNR; exit } }' "$file")
    report "$id" "found  ($relative:$line_number)"
    continue
  fi

  cp "$file" "$saved_copy"
  mutated_file=$file
  apply_mutant "$file" "$from" "$to"
  if cmp -s "$file" "$saved_copy"; then
    restore
    report "$id" "n/a  (replacement equals the original)"
    not_applicable=$((not_applicable + 1))
    continue
  fi
  if ! build "$log_dir/$id.build.log"; then
    restore
    report "$id" "n/a  (build failed, $relative; see $log_dir/$id.build.log)"
    not_applicable=$((not_applicable + 1))
    continue
  fi
  if run_suite "$log_dir/$id.suite.log"; then
    restore
    report "$id" "missed  ($relative)"
    missed=$((missed + 1))
    missed_ids+=("$id")
  else
    restore
    report "$id" "caught  ($failed_test)"
    caught=$((caught + 1))
  fi
done

restore
if [[ $dry_run -eq 1 ]]; then
  echo "$not_applicable of ${#ids[@]} mutants not applicable"
  exit 0
fi
applicable=$((caught + missed))
summary="caught $caught of $applicable applicable ($not_applicable not applicable)"
echo "$summary" | tee -a "$results"
[[ ${#missed_ids[@]} -gt 0 ]] && echo "missed: ${missed_ids[*]}" | tee -a "$results"

# The objects in the build folder were last built from mutated sources; the
# sources are back, with fresh time stamps, so the next build recompiles them.
if [[ "$(src_state)" != "$state_before" ]]; then
  echo "mutants.sh: WARNING: src/ differs from its state at the start" >&2
  git -C "$repo" diff --stat -- src >&2
  exit 1
fi
echo "src/ is as it was at the start (results in $results)"

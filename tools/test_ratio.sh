#!/usr/bin/env bash
# Prints the size of the tests against the size of the code they test, in
# non-blank lines of C++ (.cc, .h, .cpp) that are not whole-line // comments:
# tests/ against src/ + tools/ + bench/ + bindings/ (the folders that exist).
# Golden data (expected reports, inputs, scripts) is not C++ and so is not
# counted. A tool to run by hand:
#
#   tools/test_ratio.sh
set -eu

repo=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$repo"

# Non-blank lines of the C++ files under the folders given, whole-line //
# comments dropped.
count_lines() {
  local dirs=()
  for d in "$@"; do [[ -d "$d" ]] && dirs+=("$d"); done
  [[ ${#dirs[@]} -eq 0 ]] && { echo 0; return; }
  find "${dirs[@]}" \( -name '*.cc' -o -name '*.h' -o -name '*.cpp' \) -type f -print0 |
    xargs -0 cat | sed -E 's#^[[:space:]]*//.*$##' | grep -cvE '^[[:space:]]*$' || true
}

code_dirs=()
for d in src tools bench bindings; do [[ -d "$d" ]] && code_dirs+=("$d"); done
code=$(count_lines src tools bench bindings)
tests=$(count_lines tests)

echo "code  (${code_dirs[*]}): $code lines"
echo "tests (tests): $tests lines"
awk -v t="$tests" -v c="$code" 'BEGIN {
  if (c > 0) printf "ratio tests/code: %.3f (%.1f%%)\n", t / c, 100 * t / c
  else print "ratio tests/code: no code counted" }'

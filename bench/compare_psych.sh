#!/usr/bin/env bash
# Side-by-side timing of velquorin and two R peers, psych and lavaan, on the
# same items with the same number of cores:
#   1. polychorics of psych's bfi items (25 items, complete cases);
#   2. polychorics of 50 five-category items of 10,000 simulated subjects;
#   3. tetrachorics of 100 dichotomous items of 10,000 simulated subjects;
#   4. polychorics of 60 five-category items of 20,000 simulated subjects.
# Velquorin is timed as the wall time of its whole process (reading the data,
# estimating, writing the saved matrix); each peer as system.time() of the
# estimator's call alone (psych::polychoric / tetrachoric, lavaan::lavCor).
# The table gives the times, the ratio peer time / velquorin time and the
# largest absolute difference between the peer's matrix and velquorin's.
#
# Usage: bench/compare_psych.sh
# Settings, from the environment:
#   CORES=n     cores for all programs (default: nproc); velquorin gets
#               --threads n, psych options(mc.cores = n); lavCor has no
#               setting for cores and runs on one
#   REPEATS=n   run each side n times and keep the fastest (default 1)
#   BUILD=dir   build folder holding velquorin and generate_items
#               (default: build); built with -j2 when they are missing
#   KEEP=1      keep the scratch folder with the data and both matrices
# A peer that is not installed (no Rscript, or no psych or lavaan package) is
# skipped with a line saying so and its columns show "-"; without psych case 1
# is left out (its items come from psych). The script still ends with
# status 0.
set -euo pipefail

ROOT="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
BUILD="${BUILD:-$ROOT/build}"
case "$BUILD" in /*) ;; *) BUILD="$ROOT/$BUILD" ;; esac
CORES="${CORES:-$(nproc)}"
REPEATS="${REPEATS:-1}"
R_SCRIPT="$ROOT/bench/compare_psych.R"

fail() {
  echo "compare_psych: $*" >&2
  exit 1
}

[[ "$CORES" =~ ^[1-9][0-9]*$ ]] || fail "CORES must be a whole number of 1 or more, not \"$CORES\""
[[ "$REPEATS" =~ ^[1-9][0-9]*$ ]] || fail "REPEATS must be a whole number of 1 or more, not \"$REPEATS\""

VELQUORIN="$BUILD/velquorin"
GENERATE="$BUILD/generate_items"
if [[ ! -x "$VELQUORIN" || ! -x "$GENERATE" ]]; then
  echo "Building velquorin and generate_items in $BUILD ..."
  if [[ ! -f "$BUILD/CMakeCache.txt" ]]; then
    cmake -S "$ROOT" -B "$BUILD" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
  fi
  cmake --build "$BUILD" -j2 --target velquorin generate_items >/dev/null
fi

# The peers that are installed, as the R side takes them ("psych,lavaan").
HAVE_PSYCH=0
HAVE_LAVAAN=0
if ! command -v Rscript >/dev/null 2>&1; then
  echo "psych and lavaan skipped: Rscript is not installed" \
    "(apt-get install -y r-cran-psych r-cran-lavaan)"
else
  if Rscript -e 'quit(status = if (requireNamespace("psych", quietly = TRUE)) 0 else 1)' \
    >/dev/null 2>&1; then
    HAVE_PSYCH=1
  else
    echo "psych skipped: the R package psych is not installed (apt-get install -y r-cran-psych)"
  fi
  if Rscript -e 'quit(status = if (requireNamespace("lavaan", quietly = TRUE)) 0 else 1)' \
    >/dev/null 2>&1; then
    HAVE_LAVAAN=1
  else
    echo "lavaan skipped: the R package lavaan is not installed (apt-get install -y r-cran-lavaan)"
  fi
fi
PEERS=""
[[ "$HAVE_PSYCH" == 1 ]] && PEERS="psych"
[[ "$HAVE_LAVAAN" == 1 ]] && PEERS="${PEERS:+$PEERS,}lavaan"

WORK="$(mktemp -d "${TMPDIR:-/tmp}/compare_psych.XXXXXX")"
if [[ "${KEEP:-0}" == 1 ]]; then
  trap 'echo "Scratch folder kept: $WORK"' EXIT
else
  trap 'rm -rf "$WORK"' EXIT
fi

# Writes CASEDIR/run.in: the correlation matrix alone ("CMT"), unsmoothed,
# saved to run.cor; no labels, no rotation, no scores, a short report.
write_command_file() {
  local dir="$1" title="$2" items="$3" subjects="$4" coding="$5" format="$6"
  cat >"$dir/run.in" <<EOF
>TITLE: $title
>DATA: items.dat $items $subjects
>OUTFILE: run.out SHORT
>METRIC: $coding RAW NO
>MODEL: CMT 1 NOLABELS NOSORT
>ROTATE: NONE
>SCORE: NOSCORE
>PLOT: NONE
>TECHNICAL: 0.0001 200 0.0001 200 F 0.2 ONE 130 T
>OUTPUT: 1 COR
>FORMAT: $format
EOF
}

# Runs velquorin REPEATS times in CASEDIR and prints the fastest wall time
# in seconds. A run that fails ends the script with its console text.
time_velquorin() {
  local dir="$1" best="" attempt start end seconds
  for ((attempt = 1; attempt <= REPEATS; attempt++)); do
    rm -f "$dir/run.cor"
    start="$(date +%s.%N)"
    if ! (cd "$dir" && "$VELQUORIN" --threads "$CORES" run.in </dev/null >console.txt 2>&1); then
      tail -n 20 "$dir/console.txt" >&2
      fail "velquorin failed on $dir/run.in"
    fi
    end="$(date +%s.%N)"
    [[ -s "$dir/run.cor" ]] || fail "velquorin left no saved matrix in $dir"
    seconds="$(awk -v a="$start" -v b="$end" 'BEGIN { printf "%.3f", b - a }')"
    if [[ -z "$best" ]] || awk -v s="$seconds" -v b="$best" 'BEGIN { exit !(s < b) }'; then
      best="$seconds"
    fi
  done
  echo "$best"
}

# Largest absolute difference between two p by p matrices written one row
# per line (velquorin's saved matrix and a peer's).
max_difference() {
  awk 'NR == FNR { for (k = 1; k <= NF; k++) a[FNR, k] = $k; rows = FNR; next }
       { if (NF != rows) bad = 1
         for (k = 1; k <= NF; k++) { d = a[FNR, k] - $k; if (d < 0) d = -d; if (d > m) m = d } }
       END { if (bad || FNR != rows) print "size?"; else printf "%.2e", m }' "$1" "$2"
}

# The seconds, ratio and largest difference of one peer in CASEDIR after
# velquorin took VELQUORIN_SECONDS: "- - -" when the peer did not run.
peer_columns() {
  local dir="$1" peer="$2" velquorin_seconds="$3" seconds ratio
  if [[ ! -f "$dir/${peer}_seconds.txt" ]]; then
    echo "- - -"
    return
  fi
  seconds="$(cat "$dir/${peer}_seconds.txt")"
  ratio="$(awk -v p="$seconds" -v v="$velquorin_seconds" \
    'BEGIN { if (v > 0) printf "%.2f", p / v; else print "-" }')"
  echo "$seconds $ratio $(max_difference "$dir/run.cor" "$dir/$peer.txt")"
}

ROWS=()
NOTES=()

# Runs one case whose CASEDIR holds items.dat: the peers (those installed),
# then velquorin, and adds a row to the table.
run_case() {
  local name="$1" dir="$2" items="$3" subjects="$4" coding="$5" format="$6" estimator="$7"
  local velquorin_seconds peer note
  if [[ -n "$PEERS" && ! -f "$dir/r_done" ]]; then
    if [[ "$estimator" == "bfi" ]]; then
      Rscript "$R_SCRIPT" bfi "$dir" "$CORES" "$REPEATS" "$PEERS" >"$dir/r.log" 2>&1 ||
        { cat "$dir/r.log" >&2; fail "the R side failed on $name"; }
    else
      Rscript "$R_SCRIPT" file "$dir" "$dir/items.dat" "$items" "$estimator" "$CORES" \
        "$REPEATS" "$PEERS" >"$dir/r.log" 2>&1 ||
        { cat "$dir/r.log" >&2; fail "the R side failed on $name"; }
    fi
    touch "$dir/r_done"
  fi
  [[ "$estimator" == "bfi" ]] && subjects="$(cat "$dir/subjects.txt")"
  for peer in psych lavaan; do
    if [[ -s "$dir/${peer}_notes.txt" ]]; then
      while IFS= read -r note; do NOTES+=("$name: $peer warned: $note"); done <"$dir/${peer}_notes.txt"
    fi
  done
  write_command_file "$dir" "$name" "$items" "$subjects" "$coding" "$format"
  velquorin_seconds="$(time_velquorin "$dir")"
  # shellcheck disable=SC2046
  ROWS+=("$(printf '%-24s %5s %8s %12s %9s %7s %9s %9s %7s %9s' "$name" "$items" "$subjects" \
    "$velquorin_seconds" $(peer_columns "$dir" psych "$velquorin_seconds") \
    $(peer_columns "$dir" lavaan "$velquorin_seconds"))")
}

if [[ -n "$PEERS" ]]; then
  VERSIONS="$(Rscript -e 'peers <- strsplit(commandArgs(TRUE), ",")[[1]]
    cat(paste(peers, sapply(peers, function(p) as.character(packageVersion(p)))),
        sep = " and ")' "$PEERS" 2>/dev/null)"
  echo "Velquorin against $VERSIONS, $CORES core(s), best of $REPEATS run(s)"
else
  echo "Velquorin alone (no peer), $CORES core(s), best of $REPEATS run(s)"
fi
echo "Machine: $(nproc) cores, $(lscpu 2>/dev/null | sed -n 's/^Model name: *//p' | head -n 1)"
echo "Date: $(date -u '+%Y-%m-%d %H:%M UTC'), load average $(cut -d ' ' -f 1-3 /proc/loadavg)"
echo

# Case 1: psych's bfi items, exported by the same R session that times the
# peers.
if [[ "$HAVE_PSYCH" == 1 ]]; then
  mkdir -p "$WORK/bfi"
  echo "Case 1: polychorics of the bfi items ..."
  run_case "bfi polychoric" "$WORK/bfi" 25 "" OR "(F6.0,25F3.0)" bfi
else
  echo "Case 1 skipped: the bfi items come from psych"
fi

# Case 2: 50 five-category items (scores 0 to 4), five factors of ten items
# loading 0.6, items spread in difficulty.
mkdir -p "$WORK/poly50"
echo "Case 2: polychorics of 50 simulated five-category items ..."
FORMAT="$("$GENERATE" --subjects 10000 --items 50 --seed 2024 --out "$WORK/poly50/items.dat" \
  --kind ordered --factors 5 --loading 0.6 --spread 0.5)"
run_case "polychoric 50 items" "$WORK/poly50" 50 10000 OR "$FORMAT" poly

# Case 3: 100 dichotomous items (0/1), five factors of twenty items loading
# 0.6, thresholds spread from -1 to 1.
mkdir -p "$WORK/tet100"
echo "Case 3: tetrachorics of 100 simulated dichotomous items ..."
FORMAT="$("$GENERATE" --subjects 10000 --items 100 --seed 2025 --out "$WORK/tet100/items.dat" \
  --kind dichotomous --factors 5 --loading 0.6 --spread 1.0)"
run_case "tetrachoric 100 items" "$WORK/tet100" 100 10000 DI "$FORMAT" tet

# Case 4: 60 five-category items of 20,000 subjects, six factors of ten
# items loading 0.6, items spread in difficulty.
mkdir -p "$WORK/poly60"
echo "Case 4: polychorics of 60 simulated five-category items of 20,000 subjects ..."
FORMAT="$("$GENERATE" --subjects 20000 --items 60 --seed 2026 --out "$WORK/poly60/items.dat" \
  --kind ordered --factors 6 --loading 0.6 --spread 0.5)"
run_case "polychoric 60 items" "$WORK/poly60" 60 20000 OR "$FORMAT" poly

echo
printf '%-24s %5s %8s %12s %9s %7s %9s %9s %7s %9s\n' "case" "items" "subjects" "velquorin s" \
  "psych s" "ratio" "max|diff|" "lavaan s" "ratio" "max|diff|"
for row in "${ROWS[@]}"; do echo "$row"; done
echo
echo "ratio = peer time / velquorin time; velquorin: wall time of the whole process,"
echo "peers: elapsed time of the estimator's call alone; max|diff| over all elements"
echo "against velquorin's matrix."
for note in "${NOTES[@]+"${NOTES[@]}"}"; do echo "$note"; done
exit 0

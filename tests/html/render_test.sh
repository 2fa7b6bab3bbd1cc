#!/usr/bin/env bash
# Renders a sample report page in headless Chromium and checks what a reader
# would get: the page is well-formed and self-contained, the browser's DOM
# has every section, and a 1280 x 2000 screenshot is not blank.
#
#   render_test.sh SAMPLE_PAGE_PROGRAM demo|large|stopped WORK_DIR
#   render_test.sh VELQUORIN run-demo|run-scores|run-triplet|run-stop|run-aids WORK_DIR
#
# The run-* kinds are the program's own pages: `velquorin --html` on an
# example (the demo, the regression scores, the triplet test, a given
# pattern whose factor correlations are missing, which stops; the demo with
# the aids).
#
# The page itself is checked first, browser or not; then the test exits 77
# (skipped) with one line when no Chromium is installed.
set -euo pipefail

program=$1
kind=$2
work=$3
here=$(cd "$(dirname "$0")" && pwd)
width=1280
height=2000

python=/usr/bin/python3
[[ -x $python ]] || python=python3

case $kind in
  demo) ids="settings scree loadings factor-correlations structure residuals scores triplets notes" ;;
  large) ids="settings scree loadings scores triplets notes" ;;
  stopped) ids="stop settings scree notes" ;;
  run-demo) ids="settings scree loadings factor-correlations structure residuals notes"
    example=demo command=demo.in ;;
  run-scores) ids="settings scree loadings residuals scores notes"
    example=scores command=reg.in ;;
  run-triplet) ids="settings triplets notes" example=triplet command=trp.in ;;
  run-stop) ids="stop settings notes" example=rotate_given command=phi_missing.in ;;
  run-aids) ids="settings scree loadings factor-correlations structure residuals aids notes"
    example=demo command=demo.in options=--aids=20 ;;
  *) echo "render_test.sh: unknown page kind '$kind'"; exit 2 ;;
esac

rm -rf "$work"
mkdir -p "$work"
profile=$(mktemp -d)
trap 'rm -rf "$profile"' EXIT
export HOME=${HOME:-$profile}

page=$work/page.html
if [[ $kind == run-* ]]; then
  mkdir -p "$work/run"
  cp -r "$here/../../examples/$example/." "$work/run/"
  (cd "$work/run" && "$program" --seed 1 --html "$page" ${options:-} "$command" < /dev/null > console.txt 2>&1) || true
else
  "$program" "$page" "$kind"
fi
"$python" "$here/check_page.py" page "$page"

# The page check above needs no browser; the rendering below does.
# CHROMIUM may name the browser; when it names none that runs, the test is
# skipped as on a machine without one.
browser=${CHROMIUM:-}
if [[ -n $browser && ! -x $(command -v "$browser" 2>/dev/null || true) ]]; then
  echo "SKIPPED: CHROMIUM=$browser is not a program that runs; the HTML page was not rendered."
  exit 77
fi
if [[ -z $browser ]]; then
  for candidate in /usr/bin/chromium chromium chromium-browser; do
    if command -v "$candidate" >/dev/null 2>&1; then
      browser=$(command -v "$candidate")
      break
    fi
  done
fi
if [[ -z $browser ]]; then
  echo "SKIPPED: no Chromium found (Debian package 'chromium'); the HTML page was not rendered."
  exit 77
fi

chromium_flags=(--headless --no-sandbox --disable-gpu --disable-quic --no-first-run
  --disable-background-networking --disable-component-update --disable-sync
  --hide-scrollbars --user-data-dir="$profile" --window-size=$width,$height)

if ! timeout 180 "$browser" "${chromium_flags[@]}" --dump-dom "file://$page" \
    >"$work/dom.html" 2>"$work/chromium_dom.log"; then
  echo "FAIL: Chromium could not load the page (see $work/chromium_dom.log)"
  exit 1
fi
"$python" "$here/check_page.py" dom "$work/dom.html" $ids

if ! timeout 180 "$browser" "${chromium_flags[@]}" --screenshot="$work/page.png" "file://$page" \
    >"$work/chromium_shot.log" 2>&1 || [[ ! -s $work/page.png ]]; then
  echo "FAIL: Chromium took no screenshot (see $work/chromium_shot.log)"
  exit 1
fi
"$python" "$here/check_page.py" png "$work/page.png" $width $height
echo "screenshot: $work/page.png"

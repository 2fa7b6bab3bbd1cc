#!/bin/sh
# Runs psych_peer.R (the peer check of the aids against psych) with our
# aids_peer_tool, or skips with one line and CTest's skip status 77 when R or
# psych is missing.
# Usage: psych_peer.sh AIDS_PEER_TOOL WORK_DIR
tool="$1"
work="$2"
if ! command -v Rscript >/dev/null 2>&1; then
  echo "peer check of the aids skipped: Rscript is not installed (apt-get install -y r-cran-psych)"
  exit 77
fi
if ! Rscript -e 'quit(status = if (requireNamespace("psych", quietly = TRUE)) 0 else 1)' \
  >/dev/null 2>&1; then
  echo "peer check of the aids skipped: the R package psych is not installed (apt-get install -y r-cran-psych)"
  exit 77
fi
mkdir -p "$work" || exit 1
exec Rscript "$(dirname "$0")/psych_peer.R" "$tool" "$work"

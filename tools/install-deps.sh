#!/usr/bin/env bash
# Installs the Debian packages the build needs, if any are missing.
# Runs apt-get only when something is missing; uses sudo when not root.
# Chromium and python3 serve the test that renders the HTML report; when they
# cannot be installed the build goes on and that test reports itself skipped.
set -eu
packages="g++ make cmake liblapack-dev libblas-dev libgtest-dev libgmock-dev libbenchmark-dev"
optional="chromium python3"
missing=""
for p in $packages; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing="$missing $p"
  fi
done
optional_missing=""
for p in $optional; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    optional_missing="$optional_missing $p"
  fi
done
if [ -z "$missing" ] && [ -z "$optional_missing" ]; then
  exit 0
fi
sudo=""
if [ "$(id -u)" != 0 ]; then
  sudo="sudo"
fi
$sudo apt-get update -qq || true
if [ -n "$missing" ]; then
  echo "installing:$missing"
  $sudo env DEBIAN_FRONTEND=noninteractive apt-get install -y $missing
fi
if [ -n "$optional_missing" ]; then
  echo "installing (for the HTML page test):$optional_missing"
  $sudo env DEBIAN_FRONTEND=noninteractive apt-get install -y $optional_missing ||
    echo "could not install$optional_missing: the HTML page test will be skipped"
fi

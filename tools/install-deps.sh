#!/usr/bin/env bash
# Installs the Debian packages the build needs, if any are missing.
# Runs apt-get only when something is missing; uses sudo when not root.
set -eu
packages="g++ make cmake clang-format liblapack-dev libblas-dev libgtest-dev libgmock-dev libbenchmark-dev"
missing=""
for p in $packages; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing="$missing $p"
  fi
done
if [ -z "$missing" ]; then
  exit 0
fi
echo "installing:$missing"
if [ "$(id -u)" = 0 ]; then
  apt-get update -qq || true
  DEBIAN_FRONTEND=noninteractive apt-get install -y $missing
else
  sudo apt-get update -qq || true
  sudo DEBIAN_FRONTEND=noninteractive apt-get install -y $missing
fi

#!/usr/bin/env bash
# Installs the Debian packages the build needs; does nothing when all are present.
# `install-deps.sh fuzz` adds what the fuzz targets need: clang and its libFuzzer runtime.
set -euo pipefail

packages=(
  build-essential cmake pkg-config git clang-format
  qtbase5-dev
  libzmq3-dev cppzmq-dev
  libboost-dev
  libgtest-dev libgmock-dev
  libbenchmark-dev
  iproute2 # ip netns, for the multihost test
  tcpdump # what crosses the multihost test's link
  systemd # systemd-analyze, for the check of the unit
  python3-zmq python3-pytest
  libcpp-httplib-dev # zelctl serve
  graphviz chromium # the graph on zelctl serve's page, and the browser test that loads it
  libzstd-dev # compressed chunks in recordings
)
# node and npm, for the test that reads a recording with the MCAP library on npm; a node installed
# from elsewhere brings its own npm.
command -v npm > /dev/null || packages+=(nodejs npm)
[ "${1:-}" = fuzz ] && packages+=(clang-14 libclang-rt-14-dev)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "installing: ${missing[*]}"
sudo=""
[ "$(id -u)" -ne 0 ] && sudo="sudo"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -q
$sudo apt-get install -y -q --no-install-recommends "${missing[@]}"

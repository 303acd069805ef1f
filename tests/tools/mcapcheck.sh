#!/usr/bin/env bash
# mcapcheck.sh MODULES FILE ARGS...: installs @mcap/core with npm into MODULES (once) and runs
# mcapcheck.js on FILE. Exit 77 (skipped) when npm cannot reach its registry.
set -u
modules=$1
here=$(dirname "$0")
if [ ! -d "$modules/node_modules/@mcap/core" ]; then
  if ! command -v npm > /dev/null; then
    echo "skipped: no npm on this machine (scripts/install-deps.sh installs it)"
    exit 77
  fi
  mkdir -p "$modules"
  if ! npm install --no-audit --no-fund --prefix "$modules" @mcap/core > "$modules/npm.log" 2>&1; then
    echo "skipped: npm cannot install @mcap/core from its registry:"
    tail -5 "$modules/npm.log"
    exit 77
  fi
fi
exec node "$here/mcapcheck.js" "$modules" "${@:2}"

#!/usr/bin/env bash
# The main job: start zelhost on a loopback TCP address, show that it runs, stop it cleanly.
set -euo pipefail
build=${1:-build}
bin=$(cd "$build/bin" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Starts zelhost on a random loopback port; a port that is taken gives exit 1, and we try another.
start_host() {
  for _ in 1 2 3 4 5; do
    address="tcp://127.0.0.1:$((20000 + RANDOM % 40000))"
    printf 'EnvironmentAddress=%s\n' "$address" > "$work/demo.ini"
    ZEL_CONFIG_DIR=$work "$bin/zelhost" demo > "$work/out" 2> "$work/err" &
    pid=$!
    for _ in $(seq 100); do
      grep -q "ready at" "$work/out" 2>/dev/null && return 0
      kill -0 $pid 2>/dev/null || break
      sleep 0.1
    done
    kill $pid 2>/dev/null || true
    wait $pid 2>/dev/null || true
  done
  echo "zelhost did not start:"; cat "$work/err"; exit 1
}

echo "== starting zelhost (configuration demo.ini in $work)"
start_host
cat "$work/out"
echo "== zelhost runs (pid $pid); stopping it with SIGTERM"
kill -TERM $pid
wait $pid && echo "== zelhost stopped cleanly (exit 0)"

# Sourced by the demo and soak scripts once $build is set: bin and work, and on exit zelhost stopped and
# work removed. start_host NAME: zelhost with configuration $work/NAME.ini on a random loopback port; a
# port that is taken gives exit 1, and we try another. Sets pid and address.
bin=$(cd "$build/bin" && pwd)
work=$(mktemp -d)
pid=""
cleanup() {
  [ -n "$pid" ] && kill "$pid" 2>/dev/null && wait "$pid" 2>/dev/null
  rm -rf "$work"
}
trap cleanup EXIT
start_host() {
  for _ in 1 2 3 4 5; do
    address="tcp://127.0.0.1:$((20000 + RANDOM % 40000))"
    printf 'EnvironmentAddress=%s\n' "$address" > "$work/$1.ini"
    ZEL_CONFIG_DIR=$work "$bin/zelhost" "$1" > "$work/out" 2> "$work/err" &
    pid=$!
    for _ in $(seq 100); do
      grep -q "ready at" "$work/out" 2>/dev/null && return 0
      kill -0 $pid 2>/dev/null || break
      sleep 0.1
    done
    kill $pid 2>/dev/null || true
    wait $pid 2>/dev/null || true
    pid=""
  done
  echo "zelhost did not start:"; cat "$work/err"; exit 1
}

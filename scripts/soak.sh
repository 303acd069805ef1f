#!/usr/bin/env bash
# A bounded soak of a zelhost on loopback, run by hand: scripts/soak.sh [BUILD] [CYCLES] [CLIENTS] [REQUESTS]
#  1. CYCLES (1000) of create group, three demo processors, connect, delete group; zelhost's RSS,
#     threads and descriptors every 100 cycles.
#  2. CLIENTS (16) at once, REQUESTS (2000) each; lost and mismatched replies counted.
#  3. ROUNDS (5) of 16 demo pipelines applied, then taken down by 16 zelctl at once; the groups left.
#  4. A client that sends FLOOD (50000) queries and never reads, while another client is served.
#  5. SIGTERM while the Generator streams 64 KiB messages at full speed; the time the stop takes.
# Exit 1 when a phase fails.
set -euo pipefail
build=${1:-build}
source "$(dirname "$0")/starthost.sh"
cycles=${2:-1000}
clients=${3:-16}
requests=${4:-2000}
rounds=${ROUNDS:-5}
flood=${FLOOD:-50000}

status=0
start_host soak
echo "== $cycles cycles (zelhost pid $pid at $address)"
"$bin/zelsoak" "$address" cycles "$cycles" "$pid" || status=1

echo "== $clients clients x $requests requests"
"$bin/zelsoak" "$address" clients "$clients" "$requests" || status=1

ctl() { ZEL_ADDRESS=$address "$bin/zelctl" "$@" > /dev/null; }

echo "== $rounds rounds of 16 pipelines taken down at once"
for i in $(seq 16); do
  sed "s/\"demo\"/\"down$i\"/" "$(dirname "$0")/../examples/pipelines/demo.json" > "$work/down$i.json"
done
for round in $(seq "$rounds"); do
  for i in $(seq 16); do ctl apply "$work/down$i.json" || status=1; done
  start=$(date +%s%N)
  downs=()
  for i in $(seq 16); do ctl down "$work/down$i.json" & downs+=($!); done
  for d in "${downs[@]}"; do wait "$d" || status=1; done
  left=$(ZEL_ADDRESS=$address "$bin/zelctl" groups 2> /dev/null | wc -l)
  echo "round $round: 16 downs took $((($(date +%s%N) - start) / 1000000)) ms, groups left $left, fds $(ls /proc/$pid/fd | wc -l)"
  [ "$left" -eq 0 ] || status=1
done

echo "== a client that sends $flood queries and never reads"
"$bin/zelsoak" "$address" flood "$flood" || status=1

echo "== SIGTERM under a full-speed stream of 64 KiB messages"
ctl create-group load
ctl create load generator demo.Generator --stream numbers --stream-address 'tcp://127.0.0.1:*'
ctl create load relay demo.Relay --stream relayed --stream-address 'tcp://127.0.0.1:*'
ctl create load counter demo.Counter --stream counted --stream-address 'tcp://127.0.0.1:*'
ctl connect load relay numbers
ctl connect load counter relayed
ctl set load generator size 65536
ctl set load generator rate 0
sleep 2
echo "counter before the stop: $(ZEL_ADDRESS=$address "$bin/zelctl" get load counter count) messages"
start=$(date +%s%N)
kill -TERM "$pid"
code=0
wait "$pid" || code=$?
pid=""
ms=$((($(date +%s%N) - start) / 1000000))
echo "stop took $ms ms, exit $code"
[ "$code" -eq 0 ] && [ "$ms" -lt 2000 ] || status=1
exit $status

#!/usr/bin/env bash
# A bounded soak of a zelhost on loopback, run by hand: scripts/soak.sh [BUILD] [CYCLES] [CLIENTS] [REQUESTS]
#  1. CYCLES (1000) of create group, three demo processors, connect, delete group; zelhost's RSS,
#     threads and descriptors every 100 cycles.
#  2. CLIENTS (16) at once, REQUESTS (2000) each; lost and mismatched replies counted.
#  3. SIGTERM while the Generator streams 64 KiB messages at full speed; the time the stop takes.
# Exit 1 when a phase fails.
set -euo pipefail
build=${1:-build}
source "$(dirname "$0")/starthost.sh"
cycles=${2:-1000}
clients=${3:-16}
requests=${4:-2000}

status=0
start_host soak
echo "== $cycles cycles (zelhost pid $pid at $address)"
"$bin/zelsoak" "$address" cycles "$cycles" "$pid" || status=1

echo "== $clients clients x $requests requests"
"$bin/zelsoak" "$address" clients "$clients" "$requests" || status=1

echo "== SIGTERM under a full-speed stream of 64 KiB messages"
ctl() { ZEL_ADDRESS=$address "$bin/zelctl" "$@" > /dev/null; }
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

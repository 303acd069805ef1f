#!/usr/bin/env bash
# The main job: zelhost on a loopback TCP address, and with zelctl a pipeline
#   Generator --numbers--> Relay --relayed--> Counter
#                                    `------> HttpBridge --POST--> zelsink
# in one group, the addresses found at the group's name service. It runs, pauses, runs again,
# and is taken down again; zelhost stops cleanly.
set -euo pipefail
build=${1:-build}
source "$(dirname "$0")/starthost.sh"

bold=$(tput bold 2>/dev/null || true); plain=$(tput sgr0 2>/dev/null || true)
step() { printf '\n%s== %s%s\n' "$bold" "$*" "$plain"; }
run() { printf '   $ zelctl %s\n' "$*"; "$bin/zelctl" "$@" | sed 's/^/     /'; }


counter() { "$bin/zelctl" get demo counter "$1"; }

# Prints what reached the Counter once a second for $1 seconds.
last=0
watch_flow() {
  for second in $(seq "$1"); do
    sleep 1
    local count bytes gaps
    count=$(counter count); bytes=$(counter bytes); gaps=$(counter gaps)
    printf '   %2ds  messages %8d  (+%6d/s)   bytes %10d   gaps %d\n' "$second" "$count" $((count - last)) "$bytes" "$gaps"
    last=$count
  done
}

step "Starting zelhost (configuration $work/demo.ini)"
start_host demo
sed 's/^/   /' "$work/out"
export ZEL_ADDRESS=$address

step "A group, and three processors from the demo plug-in (build/bin/demo.dll)"
run create-group demo
run create demo generator demo.Generator --stream numbers --stream-address 'tcp://127.0.0.1:*'
run create demo relay demo.Relay --stream relayed --stream-address 'tcp://127.0.0.1:*'
run create demo counter demo.Counter --stream counted --stream-address 'tcp://127.0.0.1:*'
run processors demo

step "Wiring: each input connects to the address its stream was registered under"
run resolve demo numbers
run connect demo relay numbers "$("$bin/zelctl" resolve demo numbers | sed -n 2p)"
run resolve demo relayed
run connect demo counter relayed "$("$bin/zelctl" resolve demo relayed | sed -n 2p)"
run sources demo counter

step "Generator at 2000 messages/s of 256 bytes"
run set demo generator rate 2000
run set demo generator size 256
run set demo counter reset 1
watch_flow 3

step "Stop: the Generator pauses, nothing more arrives"
run stop demo generator
sleep 0.3
before=$(counter count)
last=$before
watch_flow 1
after=$(counter count)
[ "$before" = "$after" ] && echo "   nothing arrived while stopped ($after messages)"

step "Start: it runs again"
run start demo generator
watch_flow 2
gaps=$(counter gaps)
echo "   sequence gaps seen by the Counter: $gaps"

step "An HttpBridge posts the relayed stream to a web server (zelsink, on loopback)"
"$bin/zelsink" > "$work/sink" &
sinkpid=$!
for _ in $(seq 50); do grep -q listening "$work/sink" && break; sleep 0.1; done
url=$(sed -n 's/^zelsink: listening at //p' "$work/sink")
echo "   zelsink listening at $url"
run create demo poster HttpBridge --stream numbers --stream-address "${url}ingest"
run connect demo poster relayed
sleep 2.5
sed -n 's/^zelsink: /   zelsink: /p' "$work/sink" | grep POSTs || echo "   nothing was posted"
run delete demo poster
kill "$sinkpid"; wait "$sinkpid" 2>/dev/null || true

step "Taking it down"
run delete demo counter
run delete demo relay
run delete demo generator
run delete-group demo
run groups

step "Stopping zelhost with SIGTERM"
kill -TERM "$pid"
wait "$pid" && echo "   zelhost stopped cleanly (exit 0)"
pid=""

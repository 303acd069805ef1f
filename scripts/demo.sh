#!/usr/bin/env bash
# The main job: zelhost on a loopback TCP address, and with zelctl a pipeline
#   Generator --numbers--> Relay --relayed--> Counter
#                                    `------> HttpBridge --POST--> zelsink
# in one group, set up from examples/pipelines/demo.json by `zelctl apply`. It runs, pauses, runs again,
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

pipeline=$(cd "$(dirname "$0")/../examples/pipelines" && pwd)/demo.json
step "The pipeline of examples/pipelines/demo.json, in one call: group, processors, wiring, rate and size"
run apply "$pipeline"
run processors demo
run sources demo counter

step "Applied again: everything is there, nothing changes"
run apply "$pipeline"

step "The Generator at 2000 messages/s of 256 bytes, as the file says"
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

step "Full speed: the Generator at rate 0; the Counter serves 1, then 64 messages per wake-up"
echo "   (lossless: the Generator waits for the Relay instead of dropping. The Relay's own stream drops"
echo "    what the Counter cannot take: the Counter keeps up when it counts all that was forwarded)"
run set demo generator size 64
run set demo generator rate 0
run set demo generator lossless 1
# Messages sent, forwarded and counted so far, on one line.
readings() { echo "$("$bin/zelctl" get demo generator sent) $("$bin/zelctl" get demo relay forwarded) $(counter count)"; }
for batch in 1 64; do
  run set demo counter batch $batch
  read -r sent0 fwd0 got0 < <(readings)
  for second in 1 2; do
    sleep 1
    read -r sent fwd got < <(readings)
    printf '   batch %2d  %ds  sent %8d/s  forwarded %7d/s  counted %7d/s  (%d%% of forwarded)\n' "$batch" \
      "$second" $((sent - sent0)) $((fwd - fwd0)) $((got - got0)) $((100 * (got - got0) / (fwd - fwd0 + 1)))
    sent0=$sent; fwd0=$fwd; got0=$got
  done
done
run stop demo generator

step "Taking it down"
run down "$pipeline"
run groups

step "Stopping zelhost with SIGTERM"
kill -TERM "$pid"
wait "$pid" && echo "   zelhost stopped cleanly (exit 0)"
pid=""

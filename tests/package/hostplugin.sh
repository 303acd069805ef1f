#!/usr/bin/env bash
# hostplugin.sh PREFIX PLUGIN_FOLDER: a zelhost from the installed PREFIX creates a processor of the
# plug-in in PLUGIN_FOLDER (found through ZEL_PLUGIN_PATH) and one of the installed demo plug-in.
set -euo pipefail
work=$(mktemp -d)
trap 'kill "${host:-}" 2>/dev/null; wait; rm -rf "$work"' EXIT
port=$(python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])')
export ZEL_ADDRESS=tcp://127.0.0.1:$port
echo "EnvironmentAddress=$ZEL_ADDRESS" > "$work/consumer.ini"
ZEL_CONFIG_DIR=$work ZEL_PLUGIN_PATH=$2 "$1/bin/zelhost" consumer > "$work/out" 2>&1 &
host=$!
for _ in $(seq 100); do # up to 10 s
  grep -q "ready at" "$work/out" && break
  kill -0 "$host" 2>/dev/null && sleep 0.1 || break
done
grep -q "ready at" "$work/out" || { cat "$work/out"; exit 1; }
"$1/bin/zelctl" create-group g
"$1/bin/zelctl" create g echo hello.Echo --stream echoed --stream-address 'tcp://127.0.0.1:*'
"$1/bin/zelctl" create g numbers demo.Generator --stream numbers --stream-address 'tcp://127.0.0.1:*'
[ "$("$1/bin/zelctl" processors g | tr '\n' ' ')" = "echo numbers " ]

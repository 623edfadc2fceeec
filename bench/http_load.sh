#!/usr/bin/env bash
# Load on the HTTP API: wrk holds 64 connections on GET /v1/state for 30 s over loopback while
# a model is open, then the requests per second and the socket errors (there should be none)
# are printed. The program runs offscreen on its own settings folder and ports.
#
#   bench/http_load.sh [MODEL]        MODEL defaults to the built-in sample plan
#   VISTREL_BINARY=... CONNECTIONS=64 DURATION=30s THREADS=2 bench/http_load.sh
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
binary=${VISTREL_BINARY:-}
if [ -z "$binary" ]; then
  for preset in release dev; do
    if [ -x "$root/build/$preset/src/app/vistrel" ]; then
      binary=$root/build/$preset/src/app/vistrel
      break
    fi
  done
fi
[ -x "${binary:-}" ] || { echo "http_load: build the program first (release preset)" >&2; exit 2; }
model=${1:-$(dirname "$binary")/../../share/vistrel/samples/vistrel-sample-plan.dxf}
[ -f "$model" ] || { echo "http_load: no model at $model" >&2; exit 2; }
command -v wrk >/dev/null || { echo "http_load: wrk is missing (scripts/setup installs it)" >&2; exit 2; }

config=$(mktemp -d)
port=$((20000 + RANDOM % 20000))
QT_QPA_PLATFORM=offscreen XDG_CONFIG_HOME=$config VISTREL_API_BIND=127.0.0.1 \
  DBUS_SESSION_BUS_ADDRESS=unix:path=/nonexistent \
  DBUS_SYSTEM_BUS_ADDRESS=unix:path=/nonexistent \
  VISTREL_API_PORT=$port VISTREL_OSC_IN_PORT=$((port + 100)) "$binary" "$model" \
  >"$config/log" 2>&1 &
pid=$!
trap 'kill $pid 2>/dev/null; wait $pid 2>/dev/null; rm -rf "$config"' EXIT

url=http://127.0.0.1:$port/v1/state
for _ in $(seq 600); do
  # Our own instance on the port we gave it, with the model loaded.
  state=$(curl -s --max-time 2 "$url" || true)
  if grep -q "\"apiPort\" : $port" <<<"$state" && grep -q '"isReady" : true' <<<"$state"; then
    break
  fi
  kill -0 $pid 2>/dev/null || { cat "$config/log" >&2; exit 1; }
  sleep 0.1
done
grep -q '"isReady" : true' <<<"$state" || { echo "http_load: model not ready" >&2; exit 1; }

connections=${CONNECTIONS:-64}
duration=${DURATION:-30s}
report=$(wrk -t "${THREADS:-2}" -c "$connections" -d "$duration" "$url")
echo "$report" >&2
requests=$(awk '/^Requests\/sec:/ {print $2}' <<<"$report")
errors=$(awk -F'Socket errors: ' 'NF > 1 {print $2}' <<<"$report")
non2xx=$(awk -F': ' '/Non-2xx/ {print $2}' <<<"$report")
echo "GET /v1/state, $connections connections, $duration on loopback, $(basename "$model")"
echo "requests/s: $requests"
echo "socket errors: ${errors:-none}"
echo "non-2xx responses: ${non2xx:-0}"

#!/usr/bin/env bash
# Runs the DNS-SD publisher against a private avahi-daemon and D-Bus system bus, inside network,
# mount and PID namespaces of its own where only a multicast loopback exists: nothing reaches a
# real interface or the host's daemons, and everything started here dies with the namespace.
# Usage: bonjour_namespace.sh PATH/TO/bonjour_tests [PATH/TO/vistrel FILE]: with the program, a
# client made of avahi-browse, oscsend, oscdump and curl then finds it, drives it and hears it.
# Exits 77 (skipped) where it cannot run.
set -euo pipefail
publisher=$(realpath "$1")
program=${2:+$(realpath "$2")}
model=${3:+$(realpath "$3")}

if [ -z "${VISTREL_IN_NAMESPACE:-}" ]; then
    for tool in unshare ip dbus-daemon avahi-daemon avahi-browse avahi-publish; do
        command -v "$tool" >/dev/null || { echo "SKIP: $tool is not installed"; exit 77; }
    done
    unshare --net --mount --pid --fork true 2>/dev/null ||
        { echo "SKIP: cannot make network, mount and PID namespaces (needs root)"; exit 77; }
    exec env VISTREL_IN_NAMESPACE=1 unshare --net --mount --pid --fork --kill-child --mount-proc \
        bash "$0" "$publisher" "$program" "$model"
fi

ip link set lo up
ip link set lo multicast on
ip route add 224.0.0.0/4 dev lo
# A private /run hides the host's bus socket and avahi's pid file.
mount -t tmpfs tmpfs /run
mkdir -p /run/dbus /run/avahi-daemon
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export DBUS_SYSTEM_BUS_ADDRESS=unix:path=/run/dbus/system_bus_socket

cat >"$work/bus.conf" <<'EOF'
<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-BUS Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>system</type>
  <listen>unix:path=/run/dbus/system_bus_socket</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow user="*"/>
    <allow send_destination="*"/>
    <allow receive_sender="*"/>
    <allow own="org.freedesktop.Avahi"/>
  </policy>
</busconfig>
EOF
cat >"$work/avahi.conf" <<'EOF'
[server]
host-name=vistrel-test
use-ipv4=yes
use-ipv6=no
allow-interfaces=lo
enable-dbus=yes
[wide-area]
enable-wide-area=no
[publish]
publish-hinfo=no
publish-workstation=no
EOF

fail() {
    echo "FAIL: $*"
    echo "--- publisher"; cat "$work/out" 2>/dev/null || true
    echo "--- avahi-daemon"; cat "$work/avahi.log" 2>/dev/null || true
    exit 1
}
start_bus() {
    dbus-daemon --config-file="$work/bus.conf" --nofork --nopidfile 2>"$work/dbus.log" 3>&- &
    for _ in $(seq 50); do [ -S /run/dbus/system_bus_socket ] && break; sleep 0.1; done
}
start_avahi() {
    avahi-daemon -f "$work/avahi.conf" --no-drop-root --no-chroot --no-rlimits \
        >>"$work/avahi.log" 2>&1 3>&- &
    avahi_pid=$!
}
browse() { avahi-browse -rpt "$1" 2>/dev/null 3>&- | grep "^=;lo;IPv4;" || true; }
# waits until the resolved adverts of TYPE do (or, with "!", do not) match PATTERN
expect() {
    local negate="" type=$1 pattern=$2
    [ "$type" = "!" ] && { negate=1; type=$2; pattern=$3; }
    for _ in $(seq 30); do
        if browse "$type" | grep -q -- "$pattern"; then [ -z "$negate" ] && return 0
        elif [ -n "$negate" ]; then return 0; fi
        sleep 1
    done
    fail "${negate:+no }$type advert matching '$pattern'"
}
# starts the publisher with its commands on descriptor 3, which nothing else may inherit
start_publisher() {
    rm -f "$work/in" && mkfifo "$work/in"
    "$publisher" <"$work/in" >"$work/out" 2>&1 &
    exec 3>"$work/in"
}
send() {
    local before
    before=$(grep -c '^ok$' "$work/out" || true)
    echo "$1" >&3
    for _ in $(seq 20); do
        [ "$(grep -c '^ok$' "$work/out" || true)" -gt "$before" ] && return 0
        sleep 0.1
    done
    fail "'$1' did not return within 2 s"
}
stop_publisher() {
    exec 3>&-
    wait "$1" || fail "publisher exited with status $?"
}

# No bus and no daemon yet: the call returns, and the adverts appear once both come up.
start_publisher
publisher_pid=$!
send "publish Vistrel 17950 9150"
sleep 3
kill -0 "$publisher_pid" || fail "publisher died without a daemon"
start_bus
start_avahi
expect _oscjson._tcp ';Vistrel;_oscjson._tcp;local;.*;17950;'
expect _osc._udp ';Vistrel;_osc._udp;local;.*;9150;'

# The adverts come back after the daemon restarts.
kill "$avahi_pid"
wait "$avahi_pid" || true
start_avahi
expect _oscjson._tcp ';Vistrel;_oscjson._tcp;local;.*;17950;'
expect _osc._udp ';Vistrel;_osc._udp;local;.*;9150;'

# A port of 0 leaves its advert out; withdrawing removes what is left.
send "publish Vistrel 17951 0"
expect _oscjson._tcp ';Vistrel;_oscjson._tcp;local;.*;17951;'
expect ! _osc._udp ';Vistrel;'
send "withdraw"
expect ! _oscjson._tcp ';Vistrel;'
stop_publisher "$publisher_pid"
grep -q collision "$work/out" && fail "collision reported without one"

# Somebody else holds the name: the publisher hears of it and moves to "Vistrel <http port>".
avahi-publish -s Vistrel _oscjson._tcp 4000 >/dev/null 2>&1 3>&- &
squatter=$!
expect _oscjson._tcp ';Vistrel;_oscjson._tcp;local;.*;4000;'
start_publisher
publisher_pid=$!
send "publish Vistrel 17950 9150"
expect _oscjson._tcp ';Vistrel\\03217950;_oscjson._tcp;local;.*;17950;'
expect _osc._udp ';Vistrel\\03217950;_osc._udp;local;.*;9150;'
[ "$(grep -c collision "$work/out")" -eq 1 ] || fail "expected exactly one collision report"
# Closing the publisher withdraws its adverts.
stop_publisher "$publisher_pid"
expect ! _osc._udp ';Vistrel\\03217950;'
kill "$squatter"

if [ -n "$program" ]; then
    # Found by browsing alone: both adverts, and HOST_INFO names the advertised OSC port.
    oscdump -L 19151 >"$work/feedback" 2>&1 3>&- &
    # No session bus: a Vistrel running on the desktop must not take the file instead.
    QT_QPA_PLATFORM=offscreen VISTREL_SETTINGS_FILE="$work/settings.json" VISTREL_LANG=en \
        DBUS_SESSION_BUS_ADDRESS=unix:path=/nonexistent \
        VISTREL_OSC_OUT_PORT=19151 "$program" "$model" >"$work/program.log" 2>&1 3>&- &
    expect _oscjson._tcp ';Vistrel;_oscjson._tcp;local;'
    expect _osc._udp ';Vistrel;_osc._udp;local;'
    osc_port=$(browse _osc._udp | grep ';Vistrel;' | head -1 | cut -d';' -f9)
    http_port=$(browse _oscjson._tcp | grep ';Vistrel;' | head -1 | cut -d';' -f9)
    echo "found Vistrel by browsing: OSC on $osc_port, HTTP on $http_port"
    curl -s "http://127.0.0.1:$http_port/?HOST_INFO" | grep -q "\"OSC_PORT\" : $osc_port" ||
        fail "HOST_INFO does not name OSC port $osc_port"
    for _ in $(seq 50); do
        curl -s "http://127.0.0.1:$http_port/v1/state" | grep -q '"isReady" : true' && break
        sleep 0.2
    done
    # Driven on the advertised port; a move from elsewhere comes back as feedback.
    oscsend 127.0.0.1 "$osc_port" /vistrel/style s wireframe
    for _ in $(seq 20); do
        curl -s "http://127.0.0.1:$http_port/vistrel/style?VALUE" | grep -q wireframe && break
        sleep 0.1
    done
    curl -s "http://127.0.0.1:$http_port/vistrel/style?VALUE" | grep -q wireframe ||
        fail "the style sent over OSC did not apply"
    curl -s -X POST -d '{"yaw":40}' "http://127.0.0.1:$http_port/v1/camera" >/dev/null
    for _ in $(seq 20); do grep -q 'orientation ff 40' "$work/feedback" && break; sleep 0.1; done
    grep -q 'orientation ff 40' "$work/feedback" || fail "no camera feedback: $(cat "$work/feedback")"
fi
echo "PASS"

#!/usr/bin/env bash
# Installs the build into a temporary prefix and reads it back the way a desktop does: the
# validators, the default application of each type, the types of files without an extension,
# then, on a private session bus that finds the installed D-Bus service, `gio open` on a DXF
# starting Vistrel and a second one reaching the same process.
# Usage: desktop_install.sh BUILD_DIR. Exits 77 (skipped) where a tool is missing.
set -euo pipefail
id=org.vistrel.Viewer

if [ "${1:-}" = "--on-bus" ]; then
    prefix=$2
    ask() { curl -s --max-time 5 "http://127.0.0.1:$VISTREL_API_PORT/v1/state" | grep -o '"filePath" : "[^"]*"' || true; }
    owner() {
        dbus-send --session --print-reply --dest=org.freedesktop.DBus / \
            org.freedesktop.DBus.GetConnectionUnixProcessID "string:$id" 2>/dev/null |
            awk '/uint32/ {print $2}'
    }
    wait_for() {
        for _ in $(seq 200); do [ "$(ask)" = "\"filePath\" : \"$1\"" ] && return 0; sleep 0.1; done
        echo "FAIL: the running Vistrel does not show $1 (state: $(ask))"; return 1
    }
    cp "$prefix/share/vistrel/samples/vistrel-sample-plan.dxf" "$prefix/first.dxf"
    cp "$prefix/first.dxf" "$prefix/second.dxf"
    gio open "$prefix/first.dxf"
    status=0
    wait_for "$prefix/first.dxf" || status=1
    pid=$(owner)
    gio open "$prefix/second.dxf"
    wait_for "$prefix/second.dxf" || status=1
    [ "$(owner)" = "$pid" ] || { echo "FAIL: another process owns $id"; status=1; }
    if [ -n "$pid" ]; then
        kill "$pid"
        # It writes its settings on the way out: let it finish before the prefix goes.
        for _ in $(seq 50); do kill -0 "$pid" 2>/dev/null || break; sleep 0.1; done
    fi
    exit $status
fi

build=$(realpath "$1")
for tool in desktop-file-validate appstreamcli xdg-mime update-mime-database \
    update-desktop-database gio dbus-run-session dbus-send curl; do
    command -v "$tool" >/dev/null || { echo "SKIP: $tool is not installed"; exit 77; }
done
prefix=$(mktemp -d)
trap 'rm -rf "$prefix" 2>/dev/null || { sleep 1; rm -rf "$prefix"; }' EXIT
cmake --install "$build" --prefix "$prefix" >/dev/null
share=$prefix/share
status=0
fail() { echo "FAIL: $*"; status=1; }

desktop-file-validate "$share/applications/$id.desktop" || fail "desktop-file-validate"
appstreamcli validate --no-net "$share/metainfo/$id.metainfo.xml" || fail "appstreamcli validate"
grep -qx "Exec=$prefix/bin/vistrel %F" "$share/applications/$id.desktop" || fail "desktop Exec"
[ -x "$prefix/bin/vistrel" ] && [ -f "$share/icons/hicolor/scalable/apps/$id.svg" ] ||
    fail "program or scalable icon missing"
for size in 16 32 48 256; do
    png=$share/icons/hicolor/${size}x${size}/apps/$id.png
    # The PNG's width, big-endian at byte 16.
    width=$(od -An -tu1 -j16 -N4 "$png" 2>/dev/null | awk '{print $1*16777216+$2*65536+$3*256+$4}')
    [ "$width" = "$size" ] || fail "$png is ${width:-missing} wide"
done

export XDG_DATA_HOME=$share XDG_DATA_DIRS=$share:/usr/share XDG_CONFIG_HOME=$prefix/config
export XDG_CONFIG_DIRS=$prefix/config XDG_CURRENT_DESKTOP=
update-mime-database "$share/mime"
update-desktop-database "$share/applications"
for type in application/vnd.sketchup.skp image/vnd.dwg image/vnd.dxf; do
    answer=$(xdg-mime query default "$type")
    [ "$answer" = "$id.desktop" ] || fail "xdg-mime query default $type: '$answer'"
done

# Recognised by their first bytes alone.
mkdir "$prefix/plain"
printf '\xff\xfe\xff\x0eS\0k\0e\0t\0c\0h\0U\0p\0 \0M\0o\0d\0e\0l\0\xff\xfe\xff\x0a' >"$prefix/plain/model"
printf 'AC1032\0\0\0\0\0' >"$prefix/plain/drawing"
printf '  0\nSECTION\n  2\nHEADER\n' >"$prefix/plain/text"
printf 'AutoCAD Binary DXF\r\n\x1a\0' >"$prefix/plain/binary"
for pair in model:application/vnd.sketchup.skp drawing:image/vnd.dwg text:image/vnd.dxf \
    binary:image/vnd.dxf; do
    type=$(gio info -a standard::content-type "$prefix/plain/${pair%%:*}" | awk '/content-type/ {print $2}')
    [ "$type" = "${pair#*:}" ] || fail "${pair%%:*} reads as '$type'"
done

# The bus reads its service folders from XDG_DATA_DIRS when it starts; the activated program
# inherits the bus's environment, so it runs offscreen on a port and settings of its own.
runtime=$prefix/runtime
mkdir -m 700 "$runtime"
port=$((20000 + RANDOM % 20000))
env -u DISPLAY -u WAYLAND_DISPLAY QT_QPA_PLATFORM=offscreen XDG_RUNTIME_DIR="$runtime" \
    VISTREL_SETTINGS_FILE="$runtime/settings.json" VISTREL_LANG=en \
    VISTREL_API_PORT=$port VISTREL_OSC_IN_PORT=$((port + 1)) \
    DBUS_SYSTEM_BUS_ADDRESS=unix:path=/nonexistent \
    dbus-run-session -- bash "$0" --on-bus "$prefix" || status=1
exit $status

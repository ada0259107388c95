#!/usr/bin/env bash
# Sets up, builds, starts the development server with its demo data and the
# client for the present user against it.
#   scripts/run.sh              on this desktop
#   scripts/run.sh --headless   under a private X server; leaves a screenshot
# The demo keeps its own settings and data under build/demo, so the settings
# of a real client of this user are left alone.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
scripts/build.sh
BUILD_DIR=${BUILD_DIR:-build}
DEMO="$BUILD_DIR/demo"
PORT=${KORVANE_DEMO_PORT:-58502}
HEADLESS=0
[ "${1:-}" = "--headless" ] && HEADLESS=1

mkdir -p "$DEMO/config/Korvane" "$DEMO/data" "$DEMO/runtime"
chmod 700 "$DEMO/runtime"
cat >"$DEMO/config/Korvane/KorvaneClient.ini" <<INI
[Options]
Host=127.0.0.1
ClientPort=$PORT
INI
name=$(getent passwd "$(id -un)" | cut -d: -f5 | cut -d, -f1)
printf '[Options]\nUserName=%s\n' "${name:-$(id -un)}" >"$DEMO/config/Korvane/Client.conf"

pids=""
cleanup() { [ -n "$pids" ] && kill $pids 2>/dev/null; wait 2>/dev/null || true; }
trap cleanup EXIT

"$BUILD_DIR/tools/devserver/korvane-devserver" --port "$PORT" --state "$DEMO/devserver.json" --demo \
    2>"$DEMO/devserver.log" &
pids="$!"
echo "run: development server on 127.0.0.1:$PORT (log: $DEMO/devserver.log)"
echo "run: send more with: $BUILD_DIR/tools/devserver/korvane-devserver --state $DEMO/devserver.json send --to all TEXT"

# The machine's order relay, as the package runs it for every user (here as this user, in the
# demo's folder): UDP orders sent with "udp --to" reach the client through it.
mkdir -p "$DEMO/relay/etc/Korvane"
printf '[Options]\nHost=127.0.0.1\nClientPort=%s\n' "$PORT" >"$DEMO/relay/etc/Korvane/KorvaneClient.ini"
export KORVANE_RELAY_DIR="$PWD/$DEMO/relay/run"
XDG_CONFIG_DIRS="$PWD/$DEMO/relay/etc" "$BUILD_DIR/src/korvane-relayd" &
pids="$pids $!"
echo "run: order relay on UDP port $PORT (log: $DEMO/relay/run/client.log)"

export XDG_CONFIG_HOME="$PWD/$DEMO/config" XDG_DATA_HOME="$PWD/$DEMO/data" XDG_RUNTIME_DIR="$PWD/$DEMO/runtime"

if [ "$HEADLESS" = 0 ] && [ -z "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]; then
    echo "run: there is no display here. Run 'scripts/run.sh --headless' to run the demo under a private"
    echo "     X server (Xvfb) and keep a screenshot in $DEMO/screenshot.png."
    exit 1
fi

if [ "$HEADLESS" = 1 ]; then
    display=95
    while [ -e "/tmp/.X11-unix/X$display" ]; do display=$((display + 1)); done
    export DISPLAY=":$display"
    Xvfb "$DISPLAY" -screen 0 1280x800x24 -nolisten tcp >"$DEMO/xvfb.log" 2>&1 &
    pids="$pids $!"
    for _ in $(seq 50); do xdpyinfo >/dev/null 2>&1 && break; sleep 0.1; done
    openbox >/dev/null 2>&1 &
    pids="$pids $!"
    trayer --edge bottom --align right --widthtype request --height 24 >/dev/null 2>&1 &
    pids="$pids $!"
    QT_QPA_PLATFORM=xcb "$BUILD_DIR/src/korvane-client" &
    pids="$pids $!"
    # The welcome message scrolls within seconds.
    sleep 8
    import -window root "$DEMO/screenshot.png"
    # A second start opens the client's menu where the pointer rests; its first item,
    # "Send a message", brings the composer.
    xdotool mousemove 640 400
    QT_QPA_PLATFORM=xcb "$BUILD_DIR/src/korvane-client"
    sleep 1
    xdotool key Down Return
    sleep 2
    xdotool key Tab
    xdotool type --delay 20 "Hello from the demo"
    sleep 1
    import -window root "$DEMO/composer.png"
    # The menu's second item opens the console on the Outbox; its fifth row,
    # All messages, reads every message from the server.
    xdotool key Escape
    QT_QPA_PLATFORM=xcb "$BUILD_DIR/src/korvane-client"
    sleep 1
    xdotool key Down Down Return
    sleep 2
    console=$(xdotool search --name "Korvane Administration\$" | head -n 1)
    [ -n "$console" ] && xdotool mousemove --window "$console" 60 74 click 1
    sleep 2
    import -window root "$DEMO/console.png"
    # Configuration, the seventh item, holds the level editor at the head of its submenu.
    xdotool mousemove 640 400
    QT_QPA_PLATFORM=xcb "$BUILD_DIR/src/korvane-client"
    sleep 1
    xdotool key Down Down Down Down Down Down Down Right Return
    sleep 2
    import -window root "$DEMO/levels.png"
    echo "run: screenshots in $DEMO/screenshot.png, $DEMO/composer.png, $DEMO/console.png and $DEMO/levels.png;"
    echo "     client log in $DEMO/data/Korvane/client.log"
    exit 0
fi

# On a Wayland session the client runs through XWayland so that the banner stays on top.
[ -n "${WAYLAND_DISPLAY:-}" ] && export QT_QPA_PLATFORM=xcb
"$BUILD_DIR/src/korvane-client"

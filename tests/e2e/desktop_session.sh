#!/usr/bin/env bash
# Runs a command inside a throwaway desktop: an X server with a window manager
# and a tray host, a PulseAudio null sink, and a private session bus. Exits 77
# (skipped) when the machine lacks the pieces. KORVANE_SCREEN sets the screen's size.
set -u
for tool in Xvfb openbox trayer pulseaudio dbus-run-session xdotool xrandr import pactl; do
    command -v "$tool" >/dev/null || { echo "skipped: $tool is not installed"; exit 77; }
done

work=$(mktemp -d)
cleanup() {
    [ -n "${pids:-}" ] && kill $pids 2>/dev/null
    wait 2>/dev/null
    rm -rf "$work"
}
trap cleanup EXIT

# The server takes a free display itself and names it once it listens: two sessions started at
# once never share one.
Xvfb -displayfd 3 -screen 0 "${KORVANE_SCREEN:-1280x800}x24" -nolisten tcp -ac \
    3>"$work/display" >"$work/xvfb.log" 2>&1 &
pids="$!"
for _ in $(seq 100); do [ -s "$work/display" ] && break; sleep 0.1; done
[ -s "$work/display" ] || { echo "Xvfb did not start:"; cat "$work/xvfb.log"; exit 1; }
export DISPLAY=":$(head -n1 "$work/display")"

openbox >"$work/openbox.log" 2>&1 &
pids="$pids $!"
trayer --edge bottom --align right --widthtype request --height 24 >"$work/trayer.log" 2>&1 &
pids="$pids $!"

export XDG_RUNTIME_DIR="$work/runtime"
mkdir -m 700 "$XDG_RUNTIME_DIR"
pulseaudio -n --daemonize=no --exit-idle-time=-1 --load=module-native-protocol-unix \
    --load="module-null-sink sink_name=nullsink" >"$work/pulse.log" 2>&1 &
pids="$pids $!"
for _ in $(seq 50); do pactl info >/dev/null 2>&1 && break; sleep 0.1; done
pactl set-default-sink nullsink >/dev/null 2>&1
export PULSE_SERVER="unix:$XDG_RUNTIME_DIR/pulse/native"

dbus-run-session -- "$@"

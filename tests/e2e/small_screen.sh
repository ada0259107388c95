#!/usr/bin/env bash
# Runs a command on a throwaway X server of 1024x600 with a window manager, so that
# windows get the frames and the placing of a real desktop. Exits 77 (skipped) when
# the machine lacks the pieces.
set -u
for tool in Xvfb openbox xdpyinfo xprop; do
    command -v "$tool" >/dev/null || { echo "skipped: $tool is not installed"; exit 77; }
done

work=$(mktemp -d)
cleanup() {
    [ -n "${pids:-}" ] && kill $pids 2>/dev/null
    wait 2>/dev/null
    rm -rf "$work"
}
trap cleanup EXIT

# A free display number, away from those the desktop tests take.
display=140
while [ -e "/tmp/.X11-unix/X$display" ] || [ -e "/tmp/.X$display-lock" ]; do display=$((display + 1)); done
export DISPLAY=":$display"
Xvfb "$DISPLAY" -screen 0 1024x600x24 -nolisten tcp -ac >"$work/xvfb.log" 2>&1 &
pids="$!"
for _ in $(seq 50); do xdpyinfo >/dev/null 2>&1 && break; sleep 0.1; done

openbox >"$work/openbox.log" 2>&1 &
pids="$pids $!"
# The window manager is up once it names itself on the root window.
for _ in $(seq 50); do
    xprop -root _NET_SUPPORTING_WM_CHECK 2>/dev/null | grep -q "window id" && break
    sleep 0.1
done

QT_QPA_PLATFORM=xcb "$@"

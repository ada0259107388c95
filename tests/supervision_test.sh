#!/usr/bin/env bash
# The user unit brings back a client that crashed within 5 s, and the autostart
# entry, run again, adds no second copy. Needs a systemd user session (exit 77,
# skipped, with the reason otherwise).
#   supervision_test.sh CLIENT SOURCE_DIR
set -euo pipefail
client=$1 source=$2
skip() { echo "SKIP: $*"; exit 77; }
fail() { echo "FAIL: $*" >&2; exit 1; }
[ -d /run/systemd/system ] || skip "the machine does not run systemd"
systemctl --user show-environment >/dev/null 2>&1 || skip "no systemd user session for $(id -un)"
[ -n "${XDG_RUNTIME_DIR:-}" ] || skip "no XDG_RUNTIME_DIR"

work=$(mktemp -d)
units=$XDG_RUNTIME_DIR/systemd/user
unit=$units/korvane-client.service
[ ! -e "$unit" ] || skip "$unit exists already"
cleanup() {
    systemctl --user stop korvane-client.service 2>/dev/null || true
    rm -f "$unit"
    systemctl --user daemon-reload || true
    rm -rf "$work"
}
trap cleanup EXIT

# The packaged unit, run on the built client in a profile of its own, without a screen.
mkdir -p "$units" "$work/bin"
ln -s "$client" "$work/bin/korvane-client"
sed -e "s|^ExecStart=.*|ExecStart=$work/bin/korvane-client|" \
    -e "/^\[Service\]/a Environment=QT_QPA_PLATFORM=offscreen XDG_CONFIG_HOME=$work/config XDG_DATA_HOME=$work/data" \
    "$source/resources/systemd/korvane-client.service" >"$unit"
systemctl --user daemon-reload

autostart() {
    local line
    line=$(sed -n 's/^Exec=sh -c "\(.*\)"$/\1/p' "$source/resources/desktop/korvane-client-autostart.desktop")
    [ -n "$line" ] || fail "the autostart entry does not start the unit"
    PATH=$work/bin:$PATH sh -c "$line"
}
main_pid() { systemctl --user show -p MainPID --value korvane-client.service; }
running() { pgrep -c -f "^$work/bin/korvane-client" || true; }
eventually() { for _ in $(seq 50); do "$@" && return 0; sleep 0.1; done; return 1; }

autostart
eventually test "$(main_pid)" -gt 0 || fail "the autostart entry did not start the unit"
first=$(main_pid)
eventually test "$(running)" -eq 1 || fail "not one client after the autostart"
autostart
[ "$(main_pid)" = "$first" ] && [ "$(running)" -eq 1 ] || fail "a second autostart made a second client"

kill -SEGV "$first"
back() { local pid; pid=$(main_pid); [ "$pid" -gt 0 ] && [ "$pid" != "$first" ]; }
eventually back || fail "the crashed client was not back within 5 s"
[ "$(running)" -eq 1 ] || fail "more than one client after the restart"

# Closed by its user (status 0), it stays closed.
kill -TERM "$(main_pid)"
eventually test "$(main_pid)" -eq 0 || fail "the client did not stop"
sleep 3
[ "$(main_pid)" -eq 0 ] || fail "a client closed on purpose was started again"
echo "PASS"

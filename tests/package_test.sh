#!/usr/bin/env bash
# Builds the Debian package of a build tree, checks it with lintian and
# desktop-file-validate, unpacks it into a throwaway root and runs the unpacked
# client under a private desktop against the development server: a message sent
# to it must come up on a banner. Exits 77 (skipped) without the tools.
#   package_test.sh BUILD_DIR DEVSERVER DESKTOP_SESSION
set -u
fail() { echo "FAIL: $*" >&2; exit 1; }
# Retries a command for up to 30 s: the client takes a moment to log on.
eventually() { for _ in $(seq 60); do "$@" && return 0; sleep 0.5; done; return 1; }

if [ "${1:-}" = --session ]; then
    root=$2 devserver=$3 work=$4
    exec 3< <(exec "$devserver" --port 0 --state "$work/server.json" 2>&1)
    server=$!
    trap 'kill $server ${client:-} 2>/dev/null' EXIT
    port=
    while [ -z "$port" ] && read -r -t 20 line <&3; do
        case $line in *"listening on"*) port=${line##* port } port=${port%%,*} ;; esac
    done
    [ -n "$port" ] || fail "the development server did not start"

    # The server's address comes only from the file an administrator deploys.
    export HOME=$work/home XDG_CONFIG_HOME=$work/home/.config XDG_DATA_HOME=$work/home/.local/share
    export XDG_CONFIG_DIRS=$work/xdg QT_QPA_PLATFORM=xcb
    mkdir -p "$XDG_CONFIG_DIRS/Korvane" "$XDG_CONFIG_HOME/Korvane"
    printf '[Options]\nHost=127.0.0.1\nClientPort=%s\n' "$port" >"$XDG_CONFIG_DIRS/Korvane/KorvaneClient.ini"
    printf '[Options]\nUserName=Package Test\n' >"$XDG_CONFIG_HOME/Korvane/Client.conf"
    "$root/usr/bin/korvane-client" >"$work/client.out" 2>&1 &
    client=$!

    logged_on() { "$devserver" --state "$work/server.json" list | grep -q '^  [^(].* machine '; }
    eventually logged_on || fail "the unpacked client did not log on to port $port"
    "$devserver" --state "$work/server.json" send --to all --level Warning "Installed from the package" ||
        fail "the server could not send"
    timeout 30 xdotool search --sync --onlyvisible --name "Korvane banner" >/dev/null ||
        fail "no banner came up"
    # The level's built-in sound is looked for under share/korvane.
    ! grep 'does not exist' "$XDG_DATA_HOME/Korvane/client.log" || fail "the installed sounds were not found"
    exit 0
fi

build=$1 devserver=$2 session=$3
for tool in cpack lintian dpkg-deb desktop-file-validate Xvfb xdotool readelf nm; do
    command -v "$tool" >/dev/null || { echo "skipped: $tool is not installed"; exit 77; }
done
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cpack --config "$build/CPackConfig.cmake" -B "$work/out" >"$work/cpack.log" 2>&1 || { cat "$work/cpack.log"; fail cpack; }
deb=$(ls "$work"/out/*.deb)
lintian --pedantic "$deb" | tee "$work/lintian.log"
! grep -q '^E:' "$work/lintian.log" || fail "lintian reports errors"
! grep -q ' hardening-' "$work/lintian.log" || fail "the binary lacks Debian's hardening"
dpkg-deb -f "$deb" Depends | grep -q 'libqt6widgets6' || fail "the dependencies were not computed"

root=$work/root
dpkg-deb -x "$deb" "$root"
# Debian's hardening, read from the binary itself: relocations read-only and bound at start,
# position independent, stack protector.
for bin in "$root/usr/bin/korvane-client" "$root/usr/libexec/korvane-relayd"; do
    { readelf -d "$bin" | grep -q BIND_NOW && readelf -lW "$bin" | grep -q GNU_RELRO &&
        readelf -h "$bin" | grep -q 'DYN ' && nm -D "$bin" | grep -q __stack_chk_fail; } ||
        fail "$bin lacks Debian's hardening (bind now, relro, PIE, stack protector)"
done
# The units as the service manager reads them, with the package's own files in place.
units=("$root/lib/systemd/system/korvane-relayd.socket" "$root/lib/systemd/system/korvane-relayd.service"
    "$root/usr/lib/systemd/user/korvane-client.service")
for unit in "${units[@]}"; do [ -f "$unit" ] || fail "the package lacks ${unit#"$root"}"; done
if command -v systemd-analyze >/dev/null; then
    # Read as the service manager would, with the commands pointing at the unpacked programs.
    mkdir -p "$work/units"
    for unit in "${units[@]}"; do
        sed "s|^ExecStart=/|ExecStart=$root/|" "$unit" >"$work/units/${unit##*/}"
    done
    { systemd-analyze verify --man=no "$work/units/korvane-relayd.socket" "$work/units/korvane-relayd.service"
        XDG_RUNTIME_DIR=$work/units systemd-analyze --user verify --man=no "$work/units/korvane-client.service"; } \
        2>&1 | tee "$work/units.log"
    ! grep -q . "$work/units.log" || fail "systemd-analyze finds fault with the units"
fi
desktop-file-validate "$root/usr/share/applications/korvane-client.desktop" \
    "$root/etc/xdg/autostart/korvane-client.desktop" || fail "desktop-file-validate"
for file in share/korvane/Media/Update.wav share/korvane/help/KorvaneClient0.html share/korvane/Layouts/InboxMax.xgl \
    share/icons/hicolor/48x48/apps/korvane-client.png share/icons/hicolor/scalable/apps/korvane-client.svg \
    share/man/man1/korvane-client.1.gz; do
    [ -f "$root/usr/$file" ] || fail "the package lacks /usr/$file"
done
[ ! -e "$root/usr/bin/korvane-devserver" ] || fail "the development server is in the package"

"$session" "$0" --session "$root" "$devserver" "$work"

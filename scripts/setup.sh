#!/usr/bin/env bash
# Installs every Debian package that building, testing and running the client
# need. Safe to run again: it installs only what is missing.
set -euo pipefail

PACKAGES=(
    # build
    cmake ninja-build g++ ccache pkg-config clang-format libsqlite3-dev python3
    # fuzzing and benchmarks
    clang libclang-rt-14-dev libbenchmark-dev
    qt6-base-dev qt6-base-dev-tools qt6-qpa-plugins libqt6sql6-sqlite libgl-dev libxcb1-dev
    qt6-multimedia-dev gstreamer1.0-plugins-base gstreamer1.0-plugins-good
    # tests and the desktop harness
    libxcb-res0-dev dbus xvfb xauth openbox trayer pulseaudio pulseaudio-utils x11-utils x11-xserver-utils xdotool imagemagick sox
    fonts-dejavu-core procps xdg-utils
    # network mounts on loopback for the network path tests: sshfs running the local sftp-server,
    # and the kernel's CIFS client through a private smbd where the kernel has one
    sshfs openssh-sftp-server samba cifs-utils
    # the Debian package and its checks
    dpkg-dev lintian desktop-file-utils
)

missing=()
for package in "${PACKAGES[@]}"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' || missing+=("$package")
done

if [ ${#missing[@]} -gt 0 ]; then
    echo "setup: installing ${missing[*]}"
    SUDO=""
    [ "$(id -u)" -eq 0 ] || SUDO="sudo"
    export DEBIAN_FRONTEND=noninteractive
    $SUDO apt-get update -qq
    # The tests run a private smbd of their own: installing the server must not leave it
    # listening on this machine's port 445, now or after a reboot.
    if [[ " ${missing[*]} " =~ \ samba\  ]] && [ ! -e /usr/sbin/policy-rc.d ]; then
        printf '#!/bin/sh\nexit 101\n' | $SUDO tee /usr/sbin/policy-rc.d >/dev/null
        $SUDO chmod 755 /usr/sbin/policy-rc.d
        trap '$SUDO rm -f /usr/sbin/policy-rc.d' EXIT
        $SUDO apt-get install -y --no-install-recommends "${missing[@]}"
        $SUDO rm -f /usr/sbin/policy-rc.d
        trap - EXIT
        command -v systemctl >/dev/null &&
            $SUDO systemctl disable smbd.service nmbd.service samba-ad-dc.service \
                >/dev/null 2>&1 || true
    else
        $SUDO apt-get install -y --no-install-recommends "${missing[@]}"
    fi
fi

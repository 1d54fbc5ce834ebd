#!/usr/bin/env bash
# Installs everything that building, running and testing xvtui needs on Debian 12,
# and generates the Russian locales the dialogs switch on.
set -euo pipefail

SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi

"$(dirname "$0")/apt-install.sh" \
    g++ cmake make pkg-config \
    libgtk2.0-dev libfontconfig-dev libx11-dev libxtst-dev libxdamage-dev \
    libgtest-dev googletest \
    xvfb xauth x11-utils fonts-dejavu-core \
    dbus at-spi2-core libatk-adaptor libgail-common libatspi2.0-dev \
    locales libc-bin ca-certificates \
    scdoc man-db \
    dpkg-dev debhelper fakeroot lintian debootstrap \
    clang libclang-rt-14-dev valgrind

# The Russian texts are chosen by the message locale; a locale that is not
# generated silently falls back to C.
for loc in "ru_RU.UTF-8 UTF-8" "ru_RU.CP1251 CP1251" "en_US.UTF-8 UTF-8"; do
    if ! grep -qx "$loc" /etc/locale.gen 2>/dev/null; then
        if grep -qx "# $loc" /etc/locale.gen 2>/dev/null; then
            $SUDO sed -i "s/^# $loc\$/$loc/" /etc/locale.gen
        else
            echo "$loc" | $SUDO tee -a /etc/locale.gen >/dev/null
        fi
    fi
done
$SUDO locale-gen

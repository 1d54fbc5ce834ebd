#!/usr/bin/env bash
# Installs the peers that 'xvtui_bench peers' measures the dialogs against:
# the password dialogs a Debian desktop would otherwise run. Not needed to
# build or test; run scripts/setup.sh first.
set -euo pipefail

SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi

export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update
$SUDO apt-get install -y --no-install-recommends \
    pinentry-gtk2 zenity ssh-askpass-gnome ssh-askpass

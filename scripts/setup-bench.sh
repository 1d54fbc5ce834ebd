#!/usr/bin/env bash
# Installs the peers that 'xvtui_bench peers' measures the dialogs against:
# the password dialogs a Debian desktop would otherwise run. Not needed to
# build or test; run scripts/setup.sh first.
set -euo pipefail

exec "$(dirname "$0")/apt-install.sh" pinentry-gtk2 zenity ssh-askpass-gnome ssh-askpass

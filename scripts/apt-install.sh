#!/usr/bin/env bash
# Installs the Debian packages named as arguments without questions, through
# sudo unless run as root. The set-up scripts share it.
set -euo pipefail

SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi

export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update
$SUDO apt-get install -y --no-install-recommends "$@"

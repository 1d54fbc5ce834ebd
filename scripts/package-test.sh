#!/usr/bin/env bash
# Installs the built package into a fresh Debian 12 root (debootstrap, no
# containers) and has the installed xvtui-ask start the installed helper for
# one message request, on a private Xvfb of this machine; xvtui-drive of the
# build tree presses OK, and the answer must be exactly the one documented.
# Needs root and the Debian mirror; takes a few minutes, so it runs from
# .ci/run rather than in the ctest run.
# Usage: scripts/package-test.sh PACKAGE.deb [build-dir]
#   XVTUI_DEBIAN_MIRROR overrides the mirror (default http://deb.debian.org/debian).
set -euo pipefail

deb=$(realpath "$1")
build=$(realpath "${2:-build}")
mirror=${XVTUI_DEBIAN_MIRROR:-http://deb.debian.org/debian}
drive=$build/bin/xvtui-drive
if [ ! -x "$drive" ]; then
    echo "package-test: $drive is missing; build the tests first" >&2
    exit 1
fi

root=$(mktemp -d /var/tmp/xvtui-root.XXXXXX)
chmod 755 "$root" # apt's unprivileged download user must reach the package
xvfb_pid=
ask_pid=
cleanup() {
    if [ -n "$ask_pid" ]; then kill "$ask_pid" 2>/dev/null || true; fi
    if [ -n "$xvfb_pid" ]; then kill "$xvfb_pid" 2>/dev/null || true; fi
    if mountpoint -q "$root/proc"; then umount "$root/proc"; fi
    rm -rf --one-file-system "$root"
}
trap cleanup EXIT

echo "package-test: a fresh bookworm root in $root"
debootstrap --variant=minbase bookworm "$root" "$mirror" >"$root.log" 2>&1 || {
    tail -n 30 "$root.log" >&2
    exit 1
}
rm -f "$root.log"
cp /etc/resolv.conf "$root/etc/resolv.conf"
mount -t proc proc "$root/proc"

# The package with its dependencies and recommends (fonts, locales), as an
# administrator would install it; locales named as well, for locale-gen below.
cp "$deb" "$root/tmp/"
in_root() { chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root "$@"; }
in_root apt-get update -q
DEBIAN_FRONTEND=noninteractive in_root apt-get install -y -q --install-recommends \
    "/tmp/$(basename "$deb")" locales

# What the package put where.
for file in /usr/libexec/xvtui /usr/bin/xvtui-ask /usr/share/torvik/nls/libcsp.cat \
            /usr/share/torvik/nls/ru/libcsp.cat /usr/share/man/man1/xvtui.1.gz \
            /usr/share/man/man1/xvtui-ask.1.gz /usr/share/doc/xvtui/examples/torvik.ini; do
    if [ ! -e "$root$file" ]; then
        echo "package-test: the package did not install $file" >&2
        exit 1
    fi
done
ls "$root"/usr/lib/*/xvtui/libtorvik.so.4 >/dev/null

# The helper and the tool of the root, on an X server of this machine: the
# chroot reaches it through its abstract socket.
source "$(dirname "$0")/xvfb.sh"
start_xvfb package-test
answer=$root/tmp/answer
chroot "$root" env -i PATH=/usr/bin:/bin HOME=/root DISPLAY="$DISPLAY" \
    xvtui-ask --timeout 60 message --flags 2 "Installed from the package." >"$answer" &
ask_pid=$!
"$drive" --child-of "$ask_pid" --timeout 30 --wait-paint --key Return
status=0
wait "$ask_pid" || status=$?
ask_pid=

expected=$'XVTUI_dont_show_warning=false\nexit status: 0'
if [ "$status" -ne 0 ] || [ "$(cat "$answer")" != "$expected" ]; then
    echo "package-test: the installed helper answered (xvtui-ask status $status):" >&2
    cat "$answer" >&2
    exit 1
fi
echo "package-test: the installed helper answered the message request"

# With the Russian locales generated, the installed doctor finds nothing wrong.
printf 'ru_RU.UTF-8 UTF-8\nru_RU.CP1251 CP1251\n' >>"$root/etc/locale.gen"
in_root locale-gen >/dev/null
chroot "$root" env -i PATH=/usr/bin:/bin HOME=/root DISPLAY="$DISPLAY" xvtui-ask doctor
echo "package-test: xvtui-ask doctor passed in the installed root"

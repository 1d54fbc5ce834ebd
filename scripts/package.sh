#!/usr/bin/env bash
# Builds the Debian package from a clean copy of the source tree (so the
# worktree's own build directories stay out of it) and checks it with lintian.
# Usage: scripts/package.sh [output-dir]   (default: ./package)
# Leaves output-dir/xvtui_*.deb; exits non-zero when the build fails or
# lintian reports an error.
set -euo pipefail
cd "$(dirname "$0")/.."
out=$(realpath -m "${1:-package}")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

mkdir -p "$out" "$work/xvtui"
rm -f "$out"/xvtui_*.deb
# Tracked and new files, without build trees or anything ignored.
git ls-files -z --cached --others --exclude-standard | tar -c --null -T - | tar -x -C "$work/xvtui"
(cd "$work/xvtui" && dpkg-buildpackage -us -uc -b -j"$(nproc 2>/dev/null || echo 2)")
cp "$work"/xvtui_*.deb "$out"/
deb=$(ls "$out"/xvtui_*.deb | tail -n 1)
echo "package: $deb"
# Errors fail the build; warnings and notes are shown.
lintian --fail-on error --no-tag-display-limit "$deb"

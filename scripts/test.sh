#!/usr/bin/env bash
# Configures, builds and runs every test: unit (no display), gui (in-process on
# a private Xvfb) and blackbox (the built helper driven through pipes and X input).
# Usage: scripts/test.sh [build-dir] [extra ctest arguments...]
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build}
shift || true
jobs=$(nproc 2>/dev/null || echo 2)
cmake -S . -B "$build"
cmake --build "$build" -j"$jobs"
ctest --test-dir "$build" --output-on-failure -j"$jobs" "$@"

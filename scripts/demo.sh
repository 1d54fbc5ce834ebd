#!/usr/bin/env bash
# Shows a real message dialog and then a PIN request the way the provider asks
# for them: xvtui-ask starts the helper, xvtui-drive takes a PNG screenshot of
# the dialog and answers it with the keyboard, and the decoded answer is printed.
# Runs on $DISPLAY when there is one, otherwise on a private Xvfb.
# Usage: scripts/demo.sh [build-dir]    (default: ./build)
set -euo pipefail

build=${1:-build}
bin=$build/bin
for tool in xvtui xvtui-ask xvtui-drive; do
    if [ ! -x "$bin/$tool" ]; then
        echo "demo: $bin/$tool is missing; build first: cmake -S . -B $build && cmake --build $build" >&2
        exit 1
    fi
done
out=$build/demo
mkdir -p "$out"

xvfb_pid=
ask_pid=
cleanup() {
    if [ -n "$ask_pid" ]; then kill "$ask_pid" 2>/dev/null || true; fi
    if [ -n "$xvfb_pid" ]; then kill "$xvfb_pid" 2>/dev/null || true; fi
}
trap cleanup EXIT

if [ -z "${DISPLAY:-}" ]; then
    source "$(dirname "$0")/xvfb.sh"
    start_xvfb demo
    echo "demo: no DISPLAY, using a private Xvfb on $DISPLAY"
fi

shot=$out/message.png
answer=$out/message-answer.txt
rm -f "$shot" "$answer"

# The question: OK and Cancel (0x02) and the "don't show again" box (0x80),
# which starts ticked. The tool exits 0 when the dialog answered.
"$bin/xvtui-ask" --helper "$bin/xvtui" --timeout 60 message --flags 130 \
    "Old keys were found on this key carrier. They still work, but should be replaced soon." \
    >"$answer" &
ask_pid=$!

# The box has the focus: space unticks it, Tab moves on to Cancel and then to
# OK, and Return presses OK.
"$bin/xvtui-drive" --child-of "$ask_pid" --wait-paint --screenshot "$shot" \
    --key space --key Tab --key Tab --key Return

status=0
wait "$ask_pid" || status=$?
ask_pid=

echo "screenshot: $shot"
echo "answer (xvtui-ask exit status $status):"
sed 's/^/  /' "$answer"

# Then a PIN for a key container, as the provider asks for one after a wrong
# try: at least 4 bytes, two tries left, "Save password in system" shown and
# ticked (control word 7), "Require password for every operation" shown and
# unticked (3). The entry has the focus: the PIN is typed and Return presses
# OK. xvtui-ask shows the PIN as its length (--reveal would print it).
pin_shot=$out/pin.png
pin_answer=$out/pin-answer.txt
rm -f "$pin_shot" "$pin_answer"
"$bin/xvtui-ask" --helper "$bin/xvtui" --timeout 60 pin --title "PIN" \
    --header "Enter the PIN of the key container" --reader "Reader 0" --carrier "Token 2F41" \
    --container "keys-2026" --term PIN --min 4 --tries 2 --save-box 7 --dont-cache-box 3 \
    >"$pin_answer" &
ask_pid=$!
"$bin/xvtui-drive" --child-of "$ask_pid" --type 12 --wait-paint --screenshot "$pin_shot" \
    --type 34 --key Return

pin_status=0
wait "$ask_pid" || pin_status=$?
ask_pid=

echo "screenshot: $pin_shot"
echo "answer (xvtui-ask exit status $pin_status):"
sed 's/^/  /' "$pin_answer"
if [ "$status" -ne 0 ]; then exit "$status"; fi
exit "$pin_status"

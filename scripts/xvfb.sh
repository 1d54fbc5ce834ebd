# xvfb.sh: sourced by scripts/demo.sh and docs/screenshots.sh.
# start_xvfb NAME starts a private Xvfb on a free display (with -displayfd
# the server writes the display number once it accepts connections), sets
# xvfb_pid for the caller's clean-up and exports DISPLAY; when the server does
# not start it says so under NAME and exits.
start_xvfb() {
    local number
    coproc XVFB { exec Xvfb -displayfd 1 -screen 0 1024x768x24 -nolisten tcp -noreset 2>/dev/null; }
    xvfb_pid=$XVFB_PID
    if ! read -r -t 10 -u "${XVFB[0]}" number; then
        echo "$1: Xvfb did not start" >&2
        exit 1
    fi
    export DISPLAY=":$number"
}

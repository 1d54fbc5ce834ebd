#!/bin/sh
# Each man page given renders with `man -l` without a single roff or man
# warning, and shows its NAME section.
set -u
status=0
for page in "$@"; do
    warnings=$(MANWIDTH=80 man --warnings -l "$page" 2>&1 >/dev/null)
    if [ -n "$warnings" ]; then
        echo "$page: $warnings"
        status=1
    fi
    if ! MANWIDTH=80 man -l "$page" 2>/dev/null | grep -q '^NAME$'; then
        echo "$page: no NAME section in the rendered page"
        status=1
    fi
done
exit $status

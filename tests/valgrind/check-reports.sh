#!/bin/sh
# Reads every valgrind report the memcheck wrapper left in DIR: with --quiet a
# report holds only errors and definite leaks, so any report with content
# fails, and is shown.
dir=$1
status=0
for report in "$dir"/xvtui.*.log; do
    [ -s "$report" ] || continue
    echo "== $report"
    cat "$report"
    status=1
done
[ $status -eq 0 ] && echo "$(ls "$dir" | grep -c '^xvtui\..*\.log$') reports, all empty"
exit $status

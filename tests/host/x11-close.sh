#!/bin/bash
# A hundred windows are closed while their frames run, and nothing is left hanging.
. "$(dirname "$0")/host.sh"

start_x11
# shellcheck disable=SC2086  # the launcher is a command and its options, or nothing
timeout 100 dbus-run-session -- ${MIVORA_TEST_LAUNCHER:-} "$programs/ApplicationProgram" --close 100 \
    > "$work/out.log" 2> "$work/program.log" || fail "the program ends with $?"
cat "$work/out.log"
grep -qx "100 windows closed" "$work/out.log" || fail "it did not come to its end"
! grep -E "CRITICAL|WARNING" "$work/program.log" || fail "the toolkit complains"

#!/bin/bash
# Without a display, and with one that refuses: a program that does not insist runs headless and
# says so; one that insists is told why it cannot.
. "$(dirname "$0")/host.sh"

clean_environment
run() {
    "$programs/HostProgram" < /dev/null 2> "$work/program.log" | head -1
}
expect_output() {
    [ "$1" = "$2" ] || fail "expected \"$2\" instead of \"$1\""
    echo "    $1"
}

expect_output "$(run)" "host headless"
grep -q "no display answers: running headless" "$work/program.log" || fail "it does not say so"
expect_output "$(MIVORA_HOST=gtk run)" "refused: MIVORA_HOST=gtk: no display answers"
expect_output "$(MIVORA_HOST=headless run)" "host headless"

export DISPLAY=:4711
expect_output "$(run)" "host headless"
expect_output "$(MIVORA_HOST=gtk run)" "refused: MIVORA_HOST=gtk: no display answers"
expect_output "$(MIVORA_HOST=nowhere run)" \
    "refused: MIVORA_HOST=nowhere: no such host; there are gtk and headless"

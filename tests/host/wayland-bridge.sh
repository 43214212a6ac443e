#!/bin/bash
# Widgets in the tree on a Wayland compositor: they are where their views are, take their own keys
# and presses, hand the focus on, and open their popovers beside them. With an argument, at that
# scale.
. "$(dirname "$0")/host.sh"
. "$(dirname "$0")/bridge.sh"

start_wayland "${1:-1}"
start BridgeProgram
await shown
check_places
check_input

echo "letters that take another key first"
hand move 100 40
hand click
await "focus entry"
hand key End
hand type "é"
await 'entry "*é"'
point "key altgr+apostrophe" "type e"
await 'entry "*éé"'

check_lifetimes
check_drop_when_clicked
no_complaint
quit

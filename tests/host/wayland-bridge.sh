#!/bin/bash
# Widgets in the tree on a Wayland compositor: they are where their views are, take their own
# presses, and open their popovers beside them.
. "$(dirname "$0")/host.sh"
. "$(dirname "$0")/bridge.sh"

start_wayland "${1:-1}"
start BridgeProgram
await shown
check_places

echo "the entry takes the focus, the button fires"
point "move 100 40" "wait 0.1" "press 1" "release 1"
await "focus entry"
point "move 250 40" "wait 0.1" "press 1" "release 1"
await clicked

echo "the scale is dragged"
point "move 40 100" "wait 0.1" "press 1" "move 150 105" "wait 0.1" "release 1"
await "scale [3-9]*"

echo "a press beside is the card's, and stays so"
point "move 350 260" "wait 0.1" "press 1"
await "card down 350 260"
point "move 250 40" "wait 0.1" "release 1"
await "card up 250 40"

echo "a popover opens under its button"
point "move 310 100" "wait 0.1" "press 1" "release 1" "wait 0.7" "move 310 170" "wait 0.1" \
    "press 1" "release 1"
await chosen
sleep 0.5

check_lifetimes

echo "dropped by its own signal"
order drop-when-clicked
order position button 300 230
widget button "300 230 100 40"
point "move 351 250" "wait 0.1" "press 1" "release 1"
await dropped
no_complaint
quit

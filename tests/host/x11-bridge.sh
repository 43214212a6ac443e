#!/bin/bash
# Widgets in the tree on an X server: they are where their views are, take their own keys and
# presses, hand the focus on, and open their popovers beside them. With an argument, at that scale.
. "$(dirname "$0")/host.sh"
. "$(dirname "$0")/bridge.sh"

start_x11
[ -z "${1:-}" ] || export GDK_SCALE=$1
scale=${1:-1}
start BridgeProgram
await shown
window=$(xdotool search --sync --name Widgets)
xdotool windowfocus --sync "$window"
check_places

# to X Y: the pointer, in points of the window.
to() {
    xdotool mousemove $(($1 * scale)) $(($2 * scale))
    sleep 0.2
}

echo "keys go to the entry that is clicked"
to 100 40
xdotool click 1
await "focus entry"
xdotool type ab
await 'entry "a*"'
[ "$line" = 'entry "ab"' ] || await 'entry "ab"'

echo "the focus moves on"
xdotool key Tab
await "focus button"
xdotool key space
await clicked
xdotool key Tab
await "focus scale"
xdotool key Right
await "scale 1"

echo "a text view is written in"
to 100 180
xdotool click 1
await "focus text"
xdotool key x
await "text of 1"

echo "a press beside is the card's"
to 350 260
xdotool mousedown 1
await "card down 350 260"
to 250 40
xdotool mouseup 1
await "card up 250 40"

echo "a press of the button is its own, wherever it ends"
xdotool mousedown 1
expect "focus button"
to 350 260
xdotool mouseup 1
silence
to 250 40
xdotool click 1
expect clicked

echo "a popover opens under its button"
to 310 100
xdotool click 1
sleep 0.5
to 310 170
xdotool click 1
await chosen
sleep 0.5

check_lifetimes

echo "dropped by its own signal"
order drop-when-clicked
order position button 300 230
widget button "300 230 100 40"
to 351 250
xdotool click 1
await dropped
sleep 0.2
to 352 250
xdotool click 1
await "card down 352 250"
no_complaint
quit

#!/bin/bash
# An application as programs have it: on the screen it is what the headless host draws, and events
# reach its views.
. "$(dirname "$0")/host.sh"

start_x11
MIVORA_HOST=headless "$programs/ApplicationProgram" --picture "$work/expected.png"
start ApplicationProgram
await shown
see_task compare 0 0 "$work/expected.png" 3

window=$(xdotool search --name Application)
xdotool windowfocus --sync "$window"
echo "hovering"
xdotool mousemove 20 20 mousemove 22 20
await "red: hover began"
xdotool mousemove 380 280 mousemove 381 280
await "red: hover ended"
await "green: hover began"

echo "pressing, dragging and releasing: touches first, then the mouse"
xdotool mousedown 1 mousemove 370 270 mouseup 1
await "green: touch began"
await "green: mouse began, button 1"
await "green: touch moved"
await "green: mouse moved, button 1"
await "green: touch ended"
await "green: mouse ended, button 1"
echo "the secondary button makes no touch"
xdotool click 3
await "green: scroll began by 0 0"
expect "green: mouse began, button 2" "green: mouse ended, button 2"
xdotool mousedown 1
await "green: touch began"
xdotool mousemove 370 260 mouseup 1
await "green: touch ended"

echo "scrolling"
sleep 0.1
xdotool click 5
await "green: scroll began by 0 -24"
await "green: scroll ended"

echo "resizing"
xdotool windowsize --sync "$window" 500 400
see_task compare 0 0 "$work/expected.png" 3
color() {
    picture "$work/screen.png"
    [ "$("$programs/HostPicture" pixel "$work/screen.png" "$1" "$2")" = "$3" ]
}
wait_for "what the window clears to" color 499 399 "26 26 26"
color 500 399 "0 0 0" || fail "the window is too wide"
quit

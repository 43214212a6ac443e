#!/bin/bash
# A list of 500 rows under a wheel: each click moves it by 24 points, from one end to the other; a
# scroll view in it, one that is turned in space, and a button.
. "$(dirname "$0")/host.sh"
. "$(dirname "$0")/scroll.sh"

start_x11
[ "${1:-}" != 2 ] || export GDK_SCALE=2
start ScrollProgram
await shown
window=$(xdotool search --sync --name Scrolling)
xdotool windowfocus --sync "$window"
scale=${1:-1}

# to X Y: the pointer, in points of the window.
to() {
    xdotool mousemove --window "$window" $(($1 * scale)) $(($2 * scale))
    sleep 0.2
}
to 100 20
sleep 0.5

echo "the list, click by click"
xdotool click 5 click 5 click 5
scrolled "list -72.00 inner 0.00 turned 0.00"
xdotool click 4
scrolled "list -48.00 inner 0.00 turned 0.00"
xdotool click --repeat 6 --delay 1 4
scrolled "list 0.00 inner 0.00 turned 0.00"

echo "over a button in it, which takes its presses all the same"
to 60 108
xdotool click 1
expect "button pressed"
xdotool click 5
scrolled "list -24.00 inner 0.00 turned 0.00"
xdotool click 4
scrolled "list 0.00 inner 0.00 turned 0.00"

echo "a scroll view in it keeps what is over it, also at its end"
to 60 200
xdotool click --repeat 10 --delay 1 5
scrolled "list 0.00 inner -140.00 turned 0.00"

echo "a scroll view that is turned in space"
to 300 150
xdotool click 5 click 5
scrolled "list 0.00 inner -140.00 turned -48.00"

echo "to the end and no further"
to 190 20
xdotool click --repeat 520 --delay 1 5
scrolled "list -11700.00 inner -140.00 turned -48.00"
xdotool click 4
scrolled "list -11676.00 inner -140.00 turned -48.00"
quit

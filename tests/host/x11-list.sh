#!/bin/bash
# A list of 500 rows under a wheel: each click moves it by 24 points, from one end to the other; a
# scroll view in it, one that is turned in space, and a button. With an argument, at that scale.
. "$(dirname "$0")/host.sh"
. "$(dirname "$0")/scroll.sh"

start_x11
[ -z "${1:-}" ] || export GDK_SCALE=$1
start ScrollProgram
await shown
xdotool windowfocus --sync "$(xdotool search --sync --name Scrolling)"
check_wheel
quit

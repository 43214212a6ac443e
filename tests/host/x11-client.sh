#!/bin/bash
# A view in a window that the program made itself with the toolkit, beside other widgets.
. "$(dirname "$0")/host.sh"

start_x11
start ClientProgram
await shown
await "size *"
read -r _ width height _ <<< "$line"
say place
await "place *"
read -r _ left top place_width place_height <<< "$line"
expect obeyed
[ "$place_width $place_height" = "$width $height" ] || fail "the view has another size"
[ "$left" = 120 ] || fail "the view is not beside the side bar"
[ "$top" -gt 20 ] || fail "the view is not below the header bar"

# The toolkit draws a shadow around the window, so the window is not where its content begins.
say origin
await "origin *"
read -r _ x y <<< "$line"
expect obeyed
x=$((x + left))
y=$((y + top))
see "$x" "$y" "$width" "$height"

echo "places are those in the view"
xdotool mousemove $((x + 30)) $((y + 40))
await "moved 30 $((height - 40))"
xdotool mousemove $((x - 20)) $((y + 40))
expect "exited 30 $((height - 40))"
xdotool mousemove $((x + 10)) $((y - 5))
silence
xdotool mousemove $((x + 10)) $((y + 5)) click 1
await "down 1 at 10 $((height - 5))"
expect "up 1 at 10 $((height - 5))"

echo "a widget that takes no part in events lets go of what it holds"
xdotool mousedown 1
await "down * at 10 $((height - 5))"
say disable
expect "exited 10 $((height - 5))"
await "up * at 10 $((height - 5))"
expect obeyed
xdotool mouseup 1 mousemove $((x + 20)) $((y + 20)) click 1
silence
say enable
expect obeyed
xdotool mousemove $((x + 21)) $((y + 20))
await "entered 21 $((height - 20))"

echo "the widget goes first, and another comes"
say drop-widget
await "out of window"
expect obeyed
say new-widget
expect "in window" "size $width $height pixels $width $height" "one widget" obeyed
see "$x" "$y" "$width" "$height"

echo "the view goes first"
say drop-view
await obeyed
xdotool mousemove $((x + 50)) $((y + 50)) click 1
silence
quit

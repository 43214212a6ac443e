#!/bin/bash
# A widget among the native views in a view: it is where its frame says, also turned, takes its own
# presses, and does not end the hover over the view.
. "$(dirname "$0")/host.sh"

start_x11
start ClientProgram
await shown
await "size *"
read -r _ width height _ <<< "$line"
say place
await "place *"
read -r _ left top _ _ <<< "$line"
say origin
await "origin *"
read -r _ x y <<< "$line"
x=$((x + left))
y=$((y + top))
see "$x" "$y" "$width" "$height"

echo "the frame counts from the bottom left corner"
say button 20 30 100 50
await "one view"
await obeyed
lies "where 20 $((height - 80)) 100 50"
"$programs/HostPicture" pixel "$work/screen.png" $((x + 60)) $((y + height - 50)) > "$work/before"
[ "$(cat "$work/before")" = "0 0 255" ] || fail "there is no blue quadrant: $(cat "$work/before")"
covered() {
    picture "$work/screen.png"
    [ "$("$programs/HostPicture" pixel "$work/screen.png" $((x + $1)) $((y + $2)))" != "0 0 255" ]
}
wait_for "the button" covered 60 $((height - 50))
covered 130 $((height - 50)) && fail "the button is too wide"

echo "the hover goes on over the button"
xdotool mousemove $((x + 10)) $((y + height - 50))
await "moved 10 50"
xdotool mousemove $((x + 60)) $((y + height - 50))
await "moved 60 50"
xdotool mousemove $((x + 10)) $((y + height - 50))
expect "moved 10 50"

echo "a press of the button is none of the view"
xdotool mousemove $((x + 60)) $((y + height - 50))
expect "moved 60 50"
xdotool click 1
expect clicked
xdotool mousedown 1 mousemove $((x + 62)) $((y + height - 50))
silence
xdotool mouseup 1
expect clicked
xdotool mousemove $((x + 200)) $((y + height - 50)) click 1
await "down * at 200 50"
expect "${line/down/up}"

echo "turned about the centre"
say turn 90
await obeyed
# (20, 30) to (120, 80) from the bottom left, about the centre.
cx=$((width / 2)) cy=$((height / 2))
lies "where $((cx + cy - 80)) $((height - (cy - cx + 120))) 50 100"
say turn 0
await obeyed

echo "hidden, shown again, moved and taken away"
wait_for "the button" covered 60 $((height - 50))
say hide
await obeyed
see "$x" "$y" "$width" "$height"
say unhide
await obeyed
wait_for "the button" covered 60 $((height - 50))
say button 20 130 100 50
await obeyed
lies "where 20 $((height - 180)) 100 50"
say unbutton
await obeyed
lies nowhere
see "$x" "$y" "$width" "$height"

echo "the view goes while the button is in it"
say button 20 30 100 50
await obeyed
say drop-view
await obeyed
lies nowhere
quit

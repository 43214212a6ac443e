#!/bin/bash
# The pointer on an X server: hovering, pressing, dragging, clicking, modifier keys, the wheel, and
# presses that nobody ends.
. "$(dirname "$0")/host.sh"

start_x11
start HostProgram
await shown
see 0 0 400 300

echo "hovering and leaving"
xdotool mousemove 100 100
expect "entered 100 200" "moved 100 200"
xdotool mousemove 110 90
expect "moved 110 210"
xdotool mousemove 399 299
expect "moved 399 1"
xdotool mousemove 600 500
expect "exited 399 1"

echo "pressing, dragging out and coming back without the button"
xdotool mousemove 50 50
expect "entered 50 250" "moved 50 250"
xdotool mousedown 1 mousemove 60 80
expect "down 1 at 50 250" "dragged 60 220"
xdotool mousemove 700 400
expect "dragged 700 -100"
silence
xdotool mouseup 1
expect "up 1 at 700 -100" "exited 700 -100"
xdotool mousemove 50 50
expect "entered 50 250" "moved 50 250"

echo "dragging out and back in"
sleep 0.5
xdotool mousedown 1 mousemove 500 50
expect "down 1 at 50 250" "dragged 500 250"
xdotool mousemove 40 40 mouseup 1
expect "dragged 40 260" "up 1 at 40 260"
silence

echo "counting clicks"
sleep 0.5
xdotool click --repeat 3 --delay 20 1
expect "down 1 at 40 260" "up 1 at 40 260" "down 2 at 40 260" "up 2 at 40 260" \
    "down 3 at 40 260" "up 3 at 40 260"
sleep 0.5
xdotool click 1
expect "down 1 at 40 260" "up 1 at 40 260"
xdotool mousemove 80 40 click 1
expect "moved 80 260" "down 1 at 80 260" "up 1 at 80 260"

echo "the secondary button"
xdotool mousedown 3 mousemove 90 50 mouseup 3
expect "right down 1 at 80 260" "right dragged 90 250" "right up 1 at 90 250"
xdotool mousedown 1 mousedown 3 mousemove 100 50 mouseup 1 mousemove 105 50 mouseup 3
expect "down 1 at 90 250" "right down 1 at 90 250" "dragged 100 250" \
    "right dragged 100 250" "up 1 at 100 250" "right dragged 105 250" \
    "right up 1 at 105 250"

echo "the middle button"
xdotool click --repeat 2 --delay 20 2
expect "middle down 1 at 105 250" "middle up 1 at 105 250" "middle down 2 at 105 250" \
    "middle up 2 at 105 250"
xdotool mousedown 3 mousedown 2 mousemove 110 50 mouseup 3 mousemove 120 50 mouseup 2
expect "right down 1 at 105 250" "middle down 1 at 105 250" "right dragged 110 250" \
    "middle dragged 110 250" "right up 1 at 110 250" "middle dragged 120 250" \
    "middle up 1 at 120 250"
xdotool mousedown 2 mousemove 500 50 mouseup 2
expect "middle down 1 at 120 250" "middle dragged 500 250" "middle up 1 at 500 250" \
    "exited 500 250"
silence
xdotool mousemove 105 50
expect "entered 105 250" "moved 105 250"

echo "modifier keys"
# The first press of a virtual keyboard makes the server change to its layout, which takes a while.
xdotool key --clearmodifiers shift
for key in "shift shift" "ctrl control" "alt alt" "super super"; do
    xdotool keydown "${key% *}" click 2 click 4 mousemove_relative 1 0 keyup "${key% *}"
    xdotool mousemove_relative -- -1 0
    expect "middle down 1 at 105 250 ${key#* }" "middle up 1 at 105 250 ${key#* }" \
        "scroll 0.00 1.00 lines phase none momentum none ${key#* }" \
        "moved 106 250 ${key#* }" "moved 105 250"
    sleep 0.5
done
xdotool keydown shift keydown ctrl mousedown 1 keyup shift mousemove_relative 1 0 keyup ctrl mouseup 1
expect "down 1 at 105 250 shift control" "dragged 106 250 control" "up 1 at 106 250"

echo "the wheel"
xdotool click 4
expect "scroll 0.00 1.00 lines phase none momentum none"
xdotool click 5 click 5
expect "scroll 0.00 -1.00 lines phase none momentum none" \
    "scroll 0.00 -1.00 lines phase none momentum none"
xdotool click 6 click 7
expect "scroll 1.00 0.00 lines phase none momentum none" \
    "scroll -1.00 0.00 lines phase none momentum none"

echo "the main window"
xdotool windowfocus --sync "$(xdotool search --name Quadrants)"
say main
await "is main"
expect obeyed

echo "a window that closes under a press"
xdotool mousemove 100 100 mousedown 1
expect "moved 100 200" "down 1 at 100 200"
say close
expect "exited 100 200" "up 1 at 100 200" "out of window" closed obeyed
xdotool mouseup 1
silence
quit

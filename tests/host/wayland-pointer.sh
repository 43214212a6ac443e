#!/bin/bash
# The pointer on a Wayland compositor: hovering, pressing, dragging out, clicks, the wheel, and the
# modifier keys that are held meanwhile.
. "$(dirname "$0")/host.sh"

start_wayland
start HostProgram
await shown
see 0 0 400 300

# Moves within one frame of the screen arrive as one: each is awaited.
point "move 100 100"
expect "entered 100 200"
point "move 110 90"
expect "moved 110 210"
point "press 1" "move 150 120"
expect "down 1 at 110 210" "dragged 150 180"
point "move 700 400"
expect "dragged 700 -100"
silence
point "release 1"
expect "up 1 at 700 -100" "exited 700 -100"
point "move 50 50"
expect "entered 50 250"
point "press 1" "release 1" "press 1" "release 1"
expect "down 1 at 50 250" "up 1 at 50 250" "down 2 at 50 250" "up 2 at 50 250"
point "press 3" "move 60 50" "release 3"
expect "right down 1 at 50 250" "right dragged 60 250" "right up 1 at 60 250"

echo "the middle button"
point "press 2" "move 70 50" "release 2"
expect "middle down 1 at 60 250" "middle dragged 70 250" "middle up 1 at 70 250"
point "press 3" "press 2" "move 75 50"
expect "right down 1 at 70 250" "middle down 1 at 70 250" "right dragged 75 250" \
    "middle dragged 75 250"
point "release 3" "move 60 50"
expect "right up 1 at 75 250" "middle dragged 60 250"
point "release 2"
expect "middle up 1 at 60 250"

echo "modifier keys"
# Of the super key this toolkit does not tell under Wayland.
for key in shift control alt; do
    sleep 0.5
    point "keys $key" "press 2" "release 2" "wheel 1" "move 61 50"
    expect "middle down 1 at 60 250 $key" "middle up 1 at 60 250 $key" \
        "scroll 0.00 -1.00 lines phase none momentum none $key" "moved 61 250 $key"
    point keys "move 60 50"
    expect "moved 60 250"
done
point "keys shift alt" "press 3" keys "release 3"
expect "right down 1 at 60 250 shift alt" "right up 1 at 60 250"

echo "the wheel"
point "wheel 1" "wheel -1"
expect "scroll 0.00 -1.00 lines phase none momentum none" \
    "scroll 0.00 1.00 lines phase none momentum none"
point "move 600 500"
expect "exited 60 250"
quit

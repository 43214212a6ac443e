#!/bin/bash
# Fingers on a screen and on a touchpad, from a compositor to the views and recognizers: what arrives
# is what they do, once, whatever the mouse does meanwhile.
. "$(dirname "$0")/host.sh"

start_devices
start TouchProgram
await shown

# recognize [NAME...]: the board has these recognizers, new ones.
recognize() {
    say recognize "$@"
    expect obeyed
}

# The window takes fingers once it is on the screen.
is_blue() {
    picture "$work/screen.png"
    [ "$("$programs/HostPicture" pixel "$work/screen.png" 200 150)" = "26 51 230" ]
}
wait_for "the board" is_blue

echo "fingers are touches, and no pointer"
point "touch down 1 100 100"
expect "began 100 100"
point "touch down 2 200 100"
expect "began 200 100"
point "touch move 1 105 102 move 2 210 100"
expect "moved 105 102" "moved 210 100"
point "touch move 2 500 400"
expect "moved 500 400"
point "touch up 1"
expect "ended 105 102"
point "touch up 2"
expect "ended 500 400"
silence

echo "a pinch of two fingers"
recognize pinch rotation
point "touch down 1 100 150 down 2 200 150"
expect "began 100 150" "pinch began 1 at 150 150" "rotation began 0 at 150 150" \
    "cancelled 100 150, 200 150"
point "touch move 1 50 150 move 2 250 150"
expect "pinch changed 1.5 at 125 150" "pinch changed 2 at 150 150"
point "touch move 2 100 150"
expect "pinch changed 0.5 at 75 150"

echo "they turn"
point "touch move 2 50 200"
expect "rotation changed 90 at 50 175"
point "touch move 1 50 250"
expect "rotation changed 270 at 50 225"

echo "one is lifted, a third comes"
point "touch up 1" "touch move 2 60 200"
silence
point "touch down 3 160 200" "touch move 3 260 200"
expect "began 160 200" "pinch changed 1 at 160 200" "moved 260 200"
point "touch up 2 up 3"
expect "pinch ended 1 at 260 200" "rotation ended 270 at 260 200" "ended 260 200"
silence

echo "a third beside two changes nothing"
recognize pinch
point "touch down 1 100 150 down 2 200 150 down 3 350 210" "touch move 3 350 200"
expect "began 100 150" "pinch began 1 at 150 150" "cancelled 100 150, 200 150" "began 350 210" \
    "moved 350 200"
point "touch move 2 300 150"
expect "pinch changed 2 at 250 166.7"

echo "the compositor takes them over"
point "cancel"
expect "pinch cancelled 2 at 325 175" "cancelled 350 200"
silence
recognize
point "touch down 1 100 100 down 2 200 100"
expect "began 100 100" "began 200 100"
point "cancel"
expect "cancelled 100 100" "cancelled 200 100"
point "touch down 1 120 100"
expect "began 120 100"
point "touch up 1"
expect "ended 120 100"
silence

echo "a pan at ten points, a tap before that, a long press"
recognize pan tap
point "touch down 1 100 100" "touch move 1 107 100" "touch up 1"
expect "began 100 100" "moved 107 100" "tap ended at 107 100" "cancelled 107 100"
point "touch down 1 100 100" "touch move 1 109 100" "touch move 1 110 104" "touch move 1 115 107"
expect "began 100 100" "moved 109 100" "pan began 0 0" "cancelled 110 104" "pan changed 5 3"
point "touch up 1"
expect "pan ended 5 3"
recognize press
point "touch down 1 100 100"
expect "began 100 100" "press began at 100 100" "cancelled 100 100"
point "touch move 1 150 130" "touch up 1"
expect "press changed at 150 130" "press ended at 150 130"
silence

echo "a finger beside the mouse"
recognize
point "move 60 60" "move 61 60"
expect "hover began"
point "touch down 1 200 100"
expect "hover ended" "began 200 100"
point "move 80 60" "wait 0.1" "move 81 60" "touch move 1 210 100"
expect "moved 210 100"
point "press 1"
expect "began 81 60" "mouse down 81 60"
point "touch move 1 220 100" "wait 0.1" "move 90 60"
expect "moved 220 100" "moved 90 60" "mouse dragged 90 60"
point "touch up 1"
expect "ended 220 100"
point "touch down 2 200 200"
expect "began 200 200"
point "release 1"
expect "ended 90 60" "mouse up 90 60"
point "move 95 60" "wait 0.1" "touch up 2"
expect "ended 200 200"
point "move 96 60"
expect "hover began"

echo "the mouse leaves a finger behind"
point "touch down 1 200 100"
expect "hover ended" "began 200 100"
point "move 600 500" "wait 0.1" "touch move 1 210 100" "touch up 1"
expect "moved 210 100" "ended 210 100"
point "move 96 60" "wait 0.1"
expect "hover began"

echo "they pinch together"
recognize pinch
point "move 100 100" "wait 0.1" "press 1"
expect "began 100 100" "mouse down 100 100"
point "touch down 1 200 100"
expect "hover ended" "pinch began 1 at 150 100" "cancelled 100 100, 200 100"
point "move 50 100"
expect "pinch changed 1.5 at 125 100" "mouse dragged 50 100"
point "release 1"
expect "mouse up 50 100"
point "touch up 1"
expect "pinch ended 1.5 at 200 100"
silence

echo "a finger on a widget is the widget's"
recognize pinch
point "touch down 1 330 40" "touch up 1"
expect clicked
point "touch down 1 330 40" "touch down 2 100 100"
expect "began 100 100"
point "touch up 2"
expect "pinch ended 1 at 100 100" "cancelled 100 100"
point "touch up 1"
expect clicked
point "touch down 1 40 260" "touch move 1 80 262" "touch move 1 150 265" "touch up 1"
await "slider [1-9]*"
# Where the toolkit lays out, it has the pointer move, which ends what remains of the slider's lines.
point "move 70 60" "wait 0.1" "move 71 60"
await "hover began"
silence

echo "a pinch on the touchpad, around the pointer"
recognize pinch rotation
point "move 200 150"
point "pinch begin"
expect "hover ended" "pinch began 1 at 200 150" "rotation began 0 at 200 150" \
    "cancelled 100 150, 300 150"
for scale in 0.9 0.7 0.5 0.8 1.2 1.6 2; do
    point "pinch update 0 0 $scale 0"
    expect "pinch changed $scale at 200 150"
done
# Angles whose sines and cosines lie on whole pixels, which is where fingers are in views.
point "pinch update 0 0 2 36.87"
expect "rotation changed 36.87 at 200 150"
point "pinch update 0 0 2 53.13"
expect "rotation changed 90 at 200 150"
point "pinch update 20 -10 1 -90"
expect "pinch changed 1 at 220 140" "rotation changed 0 at 220 140"
point "pinch end"
expect "pinch ended 1 at 220 140" "rotation ended 0 at 220 140"

echo "it is taken away"
recognize pinch
point "pinch begin" "pinch update 5 5 1.5 0"
expect "pinch began 1 at 200 150" "cancelled 100 150, 300 150" "pinch changed 1.5 at 205 155"
point "pinch cancel"
expect "pinch cancelled 1.5 at 205 155"
silence

echo "a finger beside it"
recognize
point "touch down 1 50 50"
expect "began 50 50"
point "pinch begin" "pinch update 0 0 0.5 0" "touch move 1 60 50"
expect "began 100 150, 300 150" "moved 150 150, 250 150" "moved 60 50"
point "touch up 1"
expect "ended 60 50"
point "pinch end"
expect "ended 150 150, 250 150"

echo "the mouse beside it"
point "pinch begin" "press 1" "release 1" "pinch end"
expect "began 100 150, 300 150" "began 200 150" "mouse down 200 150" "ended 200 150" \
    "mouse up 200 150" "ended 100 150, 300 150"
point "press 1" "pinch begin" "pinch end" "release 1"
expect "began 200 150" "mouse down 200 150" "began 100 150, 300 150" "ended 100 150, 300 150" \
    "ended 200 150" "mouse up 200 150"
silence

echo "scrolling beside fingers"
point "fingers 0 5"
expect "scrolled 0 -5"
point "touch down 1 50 50"
expect "began 50 50"
point "fingers 0 7"
silence
point lift "wait 0.1" "fingers 3 0"
expect "scrolled -3 0"
point lift "touch up 1"
expect "ended 50 50"

echo "a swipe is the desktop's"
recognize pan
point "swipe 3 100 0" "swipe 4 0 100"
silence

echo "fingers when the window closes"
recognize pinch
point "touch down 1 100 100 down 2 200 100"
expect "began 100 100" "pinch began 1 at 150 100" "cancelled 100 100, 200 100"
point close
expect "pinch cancelled 1 at 150 100"
point "touch up 1 up 2"
silence
no_complaint
quit

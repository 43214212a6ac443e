#!/bin/bash
# Two pixels for each point: the drawing has all of them, and places are still in points.
. "$(dirname "$0")/host.sh"

start_x11
export GDK_SCALE=2
start HostProgram
expect "host gtk" "size 400 300 pixels 800 600" "in window" "size 400 300 pixels 800 600" shown
see 0 0 400 300 2
xdotool mousemove 100 100
expect "entered 50 250" "moved 50 250"
say resize 301 201
expect obeyed "size 301 201 pixels 602 402"
see 0 0 301 201 2
quit

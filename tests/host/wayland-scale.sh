#!/bin/bash
# An output with two pixels for each point: the drawing has all of them.
. "$(dirname "$0")/host.sh"

start_wayland 2
start HostProgram
expect "host gtk" "size 400 300 pixels 800 600" "in window" "size 400 300 pixels 800 600" shown
see 0 0 400 300 2
point "move 100 100"
expect "entered 100 200"
quit

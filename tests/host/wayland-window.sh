#!/bin/bash
# A window of the library on a Wayland compositor: it is seen as it was drawn, at every size.
. "$(dirname "$0")/host.sh"

start_wayland
start HostProgram
expect "host gtk" "size 400 300 pixels 400 300" "in window" "size 400 300 pixels 400 300" shown
see 0 0 400 300
say resize 640 480
expect obeyed
await "size 640 480 pixels 640 480"
see 0 0 640 480
say resize 123 77
expect obeyed
await "size 123 77 pixels 123 77"
see 0 0 123 77
say main
await "is main"
await obeyed
# The output has another rate than most.
say link
await "link of 50 Hz runs"
expect "tied to 50 Hz" obeyed
say close
await closed
quit

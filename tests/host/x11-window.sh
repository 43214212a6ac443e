#!/bin/bash
# A window of the library on an X server: it is seen as it was drawn, at every size, and goes.
. "$(dirname "$0")/host.sh"

start_x11
start HostProgram
expect "host gtk" "size 400 300 pixels 400 300" "in window" "size 400 300 pixels 400 300" shown
see 0 0 400 300

# A frame of the new size is drawn within the resize, before anything else.
say resize 640 480
expect obeyed "size 640 480 pixels 640 480"
see 0 0 640 480
say resize 123 77
expect obeyed "size 123 77 pixels 123 77"
see 0 0 123 77
say resize 1001 701
expect obeyed "size 1001 701 pixels 1001 701"
see 0 0 1001 701
say content
expect "content 1001 701" obeyed

say retitle Cards
expect "title Cards" obeyed
xdotool search --name Cards > /dev/null || fail "the title is not there"

say close
expect "out of window" closed obeyed
say close
expect obeyed
say resize 10 10
expect obeyed
quit

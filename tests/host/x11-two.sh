#!/bin/bash
# Two windows with an application each in one program: both are seen, each gets its own events, and
# one goes on when the other has ended.
. "$(dirname "$0")/host.sh"

start_x11
MIVORA_HOST=headless "$programs/ApplicationProgram" --picture "$work/expected.png"
start ApplicationProgram --two
await shown
second=$(xdotool search --sync --name Second)
xdotool windowmove --sync "$second" 500 400
see_task compare 0 0 "$work/expected.png" 3
see_task compare 500 400 "$work/expected.png" 3

# press X Y: a click.
press() {
    xdotool mousemove "$1" "$2" mousedown 1 mouseup 1
}
press 20 20
await "first red: touch ended"
press 520 420
await "second red: touch ended"

say drop-first
await obeyed
see_task compare 500 400 "$work/expected.png" 3
press 530 430
await "second red: touch ended"
quit

#!/bin/bash
# The carousel example on a Wayland compositor: it is seen as it is drawn without a display, and the
# card that is clicked turns over.
. "$(dirname "$0")/host.sh"

carousel=../../examples/carousel
MIVORA_HOST='' "$programs/$carousel" --headless --size 960x600 --out "$work/frames" \
    > "$work/frames.log" 2>&1
start_wayland
start $carousel --still --no-field --size 960x600
see_task compare 0 0 "$work/frames/frame-00.png" 3

# In the pictures the same card is clicked; by number 25 it has turned over. The compositor paints
# its pointer into pictures, so points around that are compared.
point "move 470 200" "wait 0.1" "move 480 210" "wait 0.5" "press 1" "release 1"
pixel() {
    "$programs/HostPicture" pixel "$1" "$2" "$3"
}
has_turned() {
    local x
    picture "$work/screen.png"
    for x in 430 455 520; do
        [ "$(pixel "$work/screen.png" $x 180)" = "$(pixel "$work/frames/frame-25.png" $x 180)" ] ||
            return 1
    done
}
[ "$(pixel "$work/frames/frame-00.png" 455 180)" != "$(pixel "$work/frames/frame-25.png" 455 180)" ]
wait_for "the back of the card" has_turned

#!/bin/bash
# Text of the library beside a label of the toolkit with the same words in the same font: it is as
# dark and as sharp, with one pixel for each point and with two. With the environment variable
# MIVORA_KEEP_PICTURES, the pictures are left in the folder that it names.
. "$(dirname "$0")/host.sh"

start_x11
for scale in 1 2; do
    echo "scale $scale"
    export GDK_SCALE=$scale
    start TextProgram
    await shown
    width=$((230 * scale))
    height=$((150 * scale))
    # Both are there, and differ by less than a twentieth in ink and in the ink of dark pixels.
    see_task alike 0 0 $width 0 $width $height 20
    if [ -n "${MIVORA_KEEP_PICTURES:-}" ]; then
        "$programs/HostPicture" cut "$work/screen.png" 0 0 $((2 * width)) $height \
            "$MIVORA_KEEP_PICTURES/text-beside-label-$scale.png"
    fi
    quit
    rm -f "$work/to-program" "$work/from-program"
done

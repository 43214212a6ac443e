#!/bin/bash
# Frames that the toolkit shows where they were drawn, as it does with a graphics card. The software
# rasteriser bears that only while the two do not draw at the same time, as here.
. "$(dirname "$0")/host.sh"

start_x11
export MIVORA_SHARE_TEXTURES=1
start HostProgram
await shown
see 0 0 400 300
say resize 640 480
await "size 640 480 pixels 640 480"
see 0 0 640 480
say resize 333 222
await "size 333 222 pixels 333 222"
see 0 0 333 222
! grep -q "frames are copied" "$work/program.log" || fail "frames are copied"
quit

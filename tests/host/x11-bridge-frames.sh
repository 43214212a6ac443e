#!/bin/bash
# What is taken away from an X server's screen is in no frame afterwards: a widget in a view that is hidden,
# removed, or of no size.
. "$(dirname "$0")/host.sh"
. "$(dirname "$0")/bridge.sh"

start_x11
# The renderer that draws nothing in perspective; the other one draws on Wayland.
export GSK_RENDERER=cairo
start BridgeFramesProgram
await shown
check_frames
quit

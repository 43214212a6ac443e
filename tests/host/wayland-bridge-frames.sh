#!/bin/bash
# What is taken away from a Wayland compositor's screen is in no frame afterwards: a widget in a view that is hidden,
# removed, or of no size.
. "$(dirname "$0")/host.sh"
. "$(dirname "$0")/bridge.sh"

start_wayland
start BridgeFramesProgram
await shown
check_frames
quit

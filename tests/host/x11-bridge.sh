#!/bin/bash
# Widgets in the tree on an X server: they are where their views are, take their own keys and
# presses, hand the focus on, and open their popovers beside them. With an argument, at that scale.
. "$(dirname "$0")/host.sh"
. "$(dirname "$0")/bridge.sh"

start_x11
[ -z "${1:-}" ] || export GDK_SCALE=$1
start BridgeProgram
await shown
xdotool windowfocus --sync "$(xdotool search --sync --name Widgets)"
check_places
check_input
check_lifetimes
check_drop_when_clicked
no_complaint
quit

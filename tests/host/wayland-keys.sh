#!/bin/bash
# The keyboard on a Wayland compositor: what is typed comes to the element that has the focus, the
# focus goes from one to the next and to the window's own widgets, and what the view does not use is
# theirs.
. "$(dirname "$0")/host.sh"
. "$(dirname "$0")/keys.sh"

dead_key() {
    hand key altgr+apostrophe
}

start_wayland
start KeysProgram
await shown
check_keyboard

#!/bin/bash
# The keyboard on an X server: what is typed comes to the element that has the focus, the focus goes
# from one to the next and to the window's own widgets, and what the view does not use is theirs.
. "$(dirname "$0")/host.sh"
. "$(dirname "$0")/keys.sh"

dead_key() {
    xdotool key dead_acute
}

start_x11_keys
check_keyboard

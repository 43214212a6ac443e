#!/bin/bash
# Which of the toolkit's renderers draws windows where frames are copied: the one that draws in
# memory, unless somebody has chosen another. With either, widgets are seen over the frame where
# they are, in the plane of the window and turned out of it. With an argument, at that scale.
. "$(dirname "$0")/host.sh"
. "$(dirname "$0")/bridge.sh"

start_x11
[ -z "${1:-}" ] || export GDK_SCALE=$1
scale=${1:-1}

# begin RENDERER: the program, whose window is drawn by that.
begin() {
    rm -f "$work/to-program" "$work/from-program"
    start BridgeProgram
    await shown
    say renderer
    await "renderer $1"
    await obeyed
}

# probe X Y COLOUR: waits until that, which may be a pattern, is seen at a point of the window.
probe() {
    local end=$((SECONDS + 30)) pixel
    while true; do
        picture "$work/screen.png"
        pixel=$("$programs/HostPicture" pixel "$work/screen.png" $(($1 * scale)) $(($2 * scale)))
        # shellcheck disable=SC2053  # patterns are meant
        [[ $pixel == $3 ]] && break
        [ $SECONDS -lt $end ] || fail "expected \"$3\" instead of \"$pixel\" at $1 $2"
        sleep 0.1
    done
    echo "    $1 $2: $pixel"
}

card="26 51 230"
white="255 255 255"
check_plane() {
    probe 120 210 "$white" # in the text view, below its text
    order spin 90          # about 200 150, against the clock
    probe 120 210 "$card"
    probe 260 230 "$white"
    order spin 0
    probe 260 230 "$card"
    probe 120 210 "$white"
}

# In perspective; but for the first row, where a caret blinks.
tilt() {
    order tilt 40
    probe 100 240 "$card"
    probe 12 240 "$white"
}
below=(0 $((70 * scale)))

echo "nobody has chosen"
begin GskCairoRenderer
check_plane
tilt
"$programs/HostPicture" cut "$work/screen.png" "${below[@]}" $((400 * scale)) $((230 * scale)) \
    "$work/tilted.png"
order spin 0
probe 12 240 "$card"
probe 120 210 "$white"
no_complaint
quit

echo "the user has chosen"
export GSK_RENDERER=gl
begin GskGLRenderer
check_plane
tilt
see_task compare "${below[@]}" "$work/tilted.png" 8
no_complaint
quit

echo "frames are shared"
unset GSK_RENDERER
MIVORA_SHARE_TEXTURES=1 begin GskGLRenderer
quit

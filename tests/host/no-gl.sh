#!/bin/bash
# Without a driver that can draw, a program ends with an error that says what is missing.
. "$(dirname "$0")/host.sh"

clean_environment
export MIVORA_HOST=headless

# refuses TEXT VARIABLE=VALUE...: the carousel in such surroundings.
refuses() {
    local status=0
    env "${@:2}" "$programs/../../examples/carousel" --headless --out "$work/frames" \
        > "$work/carousel.log" 2>&1 || status=$?
    echo "    $status: $(tail -n 1 "$work/carousel.log")"
    [ $status = 1 ] || fail "it ends with $status"
    grep -q "$1" "$work/carousel.log" || fail "it does not say \"$1\""
    ! ls "$work"/frames/*.png 2> /dev/null || fail "there are pictures"
}

refuses "EGL offers no display" __EGL_VENDOR_LIBRARY_DIRS=/nonexistent
refuses "EGL offers no OpenGL 3.2 core context" MESA_GL_VERSION_OVERRIDE=2.1

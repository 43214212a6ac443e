#!/bin/bash
# Where the toolkit's renderer has no part in GL, frames are copied; they look the same.
. "$(dirname "$0")/host.sh"

start_x11

# The blocks of memory for pictures that the program shares with the server.
shared() {
    local process begin end block
    for process in /proc/[0-9]*; do
        if [ "$(readlink "$process/exe")" = "$(realpath "$programs/HostProgram")" ] &&
            tr '\0' '\n' 2> /dev/null < "$process/environ" | grep -qx "DISPLAY=$DISPLAY"; then
            while IFS='- ' read -r begin end _ _ _ block _; do
                [ $((16#$end - 16#$begin)) -lt 480000 ] || echo "$block"
            done < <(grep SYSV "$process/maps")
        fi
    done
}

echo "a renderer without GL"
GSK_RENDERER=cairo start HostProgram
await shown
see 0 0 400 300
blocks=$(shared)
[ -n "$blocks" ] || fail "pictures have new shared memory each"
say resize 333 222
await "size 333 222 pixels 333 222"
see 0 0 333 222
[ "$(shared)" = "$blocks" ] || fail "smaller pictures have other shared memory"
grep -q "frames are copied" "$work/program.log" || fail "nothing says that frames are copied"
quit

echo "a display without GL"
rm "$work/to-program" "$work/from-program"
GDK_DEBUG=gl-disable start HostProgram
await shown
see 0 0 400 300
say resize 333 222
await "size 333 222 pixels 333 222"
see 0 0 333 222
[ "$(grep -c "frames are copied" "$work/program.log")" = 1 ] ||
    fail "it is not said once that frames are copied"
quit

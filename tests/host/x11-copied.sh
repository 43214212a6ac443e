#!/bin/bash
# Where the toolkit's renderer has no part in GL, frames are copied; they look the same.
. "$(dirname "$0")/host.sh"

start_x11

echo "a renderer without GL"
GSK_RENDERER=cairo start HostProgram
await shown
see 0 0 400 300
say resize 333 222
await "size 333 222 pixels 333 222"
see 0 0 333 222
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

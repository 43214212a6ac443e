#!/bin/bash
# What a view does from within what it is told: it closes its window, has its place taken by another
# view, throws. Nothing is freed that the toolkit still uses.
. "$(dirname "$0")/host.sh"

start_x11
start HostProgram
await shown

# does ACTION: the action is begun and ended.
does() {
    await "does $1"
    [ "$1" = throw ] || await "did $1"
}

# open [WHAT ACTION]: the next window, with the pointer far from it.
open() {
    xdotool mousemove 1000 750
    say open "$@"
}

# on WHAT ACTION: in a window that is on the screen
on() {
    echo "$2 on $1"
    open
    await shown
    await obeyed
    see 0 0 400 300
    say on "$1" "$2"
    await obeyed
}

for action in close close-drop drop swap again throw; do
    for what in entered moved exited down up; do
        on $what $action
        xdotool mousemove 100 100 sleep 0.1 mousemove 110 110 mousedown 1 mousemove 120 110 \
            mouseup 1 sleep 0.1 mousemove 1000 750
        does $action
    done
    on size $action
    say resize 300 200
    does $action
    case $action in swap | again) see 0 0 300 200 ;; esac
    no_complaint
done

for action in close swap again throw; do
    for what in in opaque; do
        echo "$action on $what, from the beginning"
        open $what $action
        does $action
    done
    on out $action
    open
    does $action
    no_complaint
done
quit

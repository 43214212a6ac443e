# shellcheck shell=bash
# What the tests with assistive technology have in common; sourced after host.sh.

access() {
    timeout 60 "$programs/AccessClient" "$@"
}

# reads ROLE NAME REST: waits until this is read of the first such element.
reads() {
    local end=$((SECONDS + 30)) seen=
    until [ "$seen" = "$1 \"$2\" $3" ]; do
        [ $SECONDS -lt $end ] || fail "expected \"$1 \"$2\" $3\" instead of \"$seen\""
        seen=$(access find "$1" "$2" || true)
    done
    echo "    $seen"
}

# reads_about ROLE NAME REST X Y WIDTH HEIGHT: the same with a place that may be two points off,
# which REST leaves out.
reads_about() {
    local end=$((SECONDS + 30)) seen='' i
    local pattern='^([a-z ]*) "(.*)" (".*") (-?[0-9]+) (-?[0-9]+) ([0-9]+) ([0-9]+) (.*)$'
    while true; do
        [ $SECONDS -lt $end ] || fail "expected \"$1 \"$2\" $3\" about ${*:4} instead of \"$seen\""
        seen=$(access find "$1" "$2" || true)
        [[ $seen =~ $pattern ]] || continue
        [ "${BASH_REMATCH[3]} ${BASH_REMATCH[8]}" = "$3" ] || continue
        for i in 4 5 6 7; do
            local off=$((${!i} - BASH_REMATCH[i]))
            [ ${off#-} -le 2 ] || continue 2
        done
        break
    done
    echo "    $seen"
}

# listen: notes from now on what assistive technology is told.
listen() {
    : > "$work/heard"
    "$programs/AccessClient" watch >> "$work/heard" &  # it goes on where the file is cut off
    started+=($!)
    wait_for "the client" grep -q watching "$work/heard"
    : > "$work/heard"
}

# hears LINE: it is told so, of all that it is told next.
hears() {
    local end=$((SECONDS + 30))
    until grep -Fxq -- "$1" "$work/heard"; do
        [ $SECONDS -lt $end ] || fail "expected to hear \"$1\" instead of \"$(cat "$work/heard")\""
        sleep 0.05
    done
    echo "    $1"
    : > "$work/heard"
}

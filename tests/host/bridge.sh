# shellcheck shell=bash
# What the tests of bridge views have in common; sourced after host.sh.

# widget NAME PLACE: waits until the widget of BridgeProgram is there; may be a pattern.
widget() {
    local end=$((SECONDS + 30)) line
    while true; do
        say where "$1"
        await "$1 *"
        local seen=$line
        await obeyed
        # shellcheck disable=SC2053  # patterns are meant
        [[ $seen == "$1 "$2 ]] && break
        [ $SECONDS -lt $end ] || fail "expected \"$1 $2\" instead of \"$seen\""
        sleep 0.05
    done
}

# The program does it.
order() {
    say "$@"
    await obeyed
}

# What does not depend on the display server: places, visibility, lifetimes.
check_places() {
    echo "frames, in the window's coordinates from the top left"
    widget entry "20 20 160 40"
    widget button "200 20 100 40"
    widget scale "20 80 200 40"
    widget text "20 140 200 80"
    order position entry 30 25
    order size entry 180 50
    widget entry "30 25 180 50"

    echo "turned by 90 degrees, the box of two corners"
    order position text 220 120
    order rotate text 90
    widget text "220 120 80 200"
    order rotate text 0
    order position text 20 140
    widget text "20 140 200 80"

    echo "hidden with what it is in"
    order hide entry
    widget entry nowhere
    order show entry
    widget entry "30 25 180 50"

    echo "without a size it is not seen"
    order size entry 0 50
    widget entry nowhere
    order size entry 160 40
    order position entry 20 20
    widget entry "20 20 160 40"

    echo "taken out, put back hidden, put back"
    order remove entry
    widget entry nowhere
    order add-hidden entry
    widget entry nowhere
    order show entry
    widget entry "20 20 160 40"

    echo "the sublayer transform turns all of them about the middle"
    order away 60
    # 180 points left of the middle, half as far now; no perspective.
    widget entry "110 20 80 40"
    order away 0
    widget entry "20 20 160 40"

    echo "the window is resized"
    order resize 500 400
    widget entry "20 20 160 40"
    order resize 400 300
    widget entry "20 20 160 40"
}

check_lifetimes() {
    echo "to another window, which may lie over this one, and back"
    order other scale
    widget scale "20 80 200 40"
    order add scale
    widget scale "20 80 200 40"

    echo "another widget in its place"
    order replace scale
    widget scale "20 80 200 40"

    echo "dropped on another thread"
    order drop scale

    echo "a thousand of them come and go"
    say cycle 1000
    await "left *"
    [ "$line" = "left 0" ] || fail "widgets leak: $line"
    await obeyed
}

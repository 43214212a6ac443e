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

# What the pointer and the keyboard do; the same on every display server.
check_input() {
    echo "keys go to the entry that is clicked"
    hand move 100 40
    hand click
    await "focus entry"
    hand type "Abc d"
    await 'entry "Abc d"'
    hand key shift+Left
    hand key BackSpace
    await 'entry "Abc "'

    echo "the focus moves on, to every widget that takes it, out of the view, and back"
    hand key Tab
    await "focus button"
    hand key space
    await clicked
    hand key Tab
    await "focus scale"
    hand key Right
    await "scale 1"
    hand key Tab
    await "focus menu"
    hand key Tab
    await "focus text"
    hand key control+Tab
    await "focus aside"
    hand type out
    await 'aside "out"'
    hand key Tab
    await "focus entry"
    hand key shift+Tab
    await "focus aside"

    echo "a text view is written in, by more than one line"
    hand move 100 180
    hand click
    await "focus text"
    hand type x
    hand key Return
    hand type yz
    await 'text "x|yz"'

    echo "a press beside is the card's, and stays so"
    hand move 350 260
    hand press
    await "card down 350 260"
    hand move 250 40
    hand release
    await "card up 250 40"

    echo "a press of the button is its own, wherever it ends"
    hand press
    await "focus button"
    hand move 350 260
    hand release
    silence
    hand move 250 40
    hand click
    expect clicked

    echo "the scale is dragged, also from beside it"
    hand move 40 100
    hand press
    hand move 150 250
    await "scale [3-9]*"
    hand release
    silence

    echo "a popover opens under its button"
    hand move 310 100
    hand click
    widget popover "310 1[2-4]?"
    hand move 310 170
    hand click
    await chosen
    widget popover nowhere

    echo "and by a key, where the button is then; another key closes it"
    order position menu 60 200
    widget menu "60 200 100 40"
    hand key space
    widget popover "110 2[4-6]?"
    hand key Escape
    widget popover nowhere
    order position menu 260 80
    widget menu "260 80 100 40"
}

# Once all else has been seen: the button is gone then.
check_drop_when_clicked() {
    echo "dropped by its own signal"
    order drop-when-clicked
    order position button 300 230
    widget button "300 230 100 40"
    hand move 351 250
    hand click
    await dropped
    hand move 352 250
    hand click
    await "card down 352 250"
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

# What BridgeFramesProgram sees of a widget that comes and goes.
check_frames() {
    echo "the widget is on the screen in its own colour"
    wait_for "the widget" is_seen 50 40

    echo "no frame shows it while it is away"
    say hide 300
    await "shown *"
    [[ $line == "shown 0 "* ]] || fail "frames show what is not there: $line"
    # Some are brought back before the next frame.
    [ "${line#* missing }" -lt 150 ] || fail "too few frames are drawn meanwhile: $line"
    await obeyed
}

is_seen() {
    picture "$work/screen.png"
    [ "$("$programs/HostPicture" pixel "$work/screen.png" "$1" "$2")" = "255 0 255" ]
}

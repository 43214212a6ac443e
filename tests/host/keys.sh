# shellcheck shell=bash
# What the tests of the keyboard have in common; sourced after host.sh.

# The first press of a virtual keyboard makes the X server change to its layout, which takes a while.
start_x11_keys() {
    start_x11
    start KeysProgram
    await shown
    xdotool windowfocus --sync "$(xdotool search --sync --name Keys)"
    xdotool key --clearmodifiers shift
    await "window ffe1"
}

# told WHEN LINE...: the next lines of the program that are not about keys.
told() {
    local when=$1 wanted
    for wanted in "${@:2}"; do
        line=down
        while [[ $line == down* || $line == up* || $line == window* ]]; do
            next_line || fail "expected \"$wanted\" after $when, and nothing comes"
        done
        echo "    $when: $line"
        [ "$line" = "$wanted" ] || fail "expected \"$wanted\" instead of \"$line\""
    done
}

# order COMMAND...: the program does it, and tells of nothing.
order() {
    say "$@"
    told "$1" obeyed
}

# settle: the toolkit has seen the elements as they are.
settle() {
    order tell
    sleep 0.3
}

# Three elements in two layers, and an entry between them.
make_elements() {
    order element 1 0 button! 20 180 100 40 One
    order element 2 0 group 20 10 150 150 Group
    order element 3 2 button! 30 30 50 50 Three
    order element 4 0 group 0 0 0 0
    order embed 4
    order element 5 0 slider! 200 100 100 40 Five
    settle
}

# on WHAT: waits until that has the toolkit's focus. Skips what is printed meanwhile.
on() {
    local end=$((SECONDS + 30)) focus=
    until [ "$focus" = "on $*" ]; do
        [ $SECONDS -lt $end ] || fail "expected \"on $*\" instead of \"$focus\""
        say focused
        await "on *"
        focus=$line
        await obeyed
    done
}

# step KEYS LINE: a key, and what it does to the focus.
step() {
    hand key "$1"
    told "$@"
}

# does KEYS LINE...: the keys, and all that they do, but for the releases: of several keys at once,
# the order differs.
does() {
    local wanted
    hand key "$1"
    for wanted in "${@:2}"; do
        line=up
        while [[ $line == up* ]]; do
            next_line || fail "expected \"$wanted\", and nothing comes"
        done
        echo "    $1: $line"
        [ "$line" = "$wanted" ] || fail "expected \"$wanted\" instead of \"$line\""
    done
    while next_line 0.2; do
        [[ $line == up* ]] || fail "unexpected: \"$line\""
    done
}

check_chain() {
    echo "the Tab key goes through elements, the entry and the window's own buttons"
    on first
    step Tab "focus 1"
    on an element
    step Tab "focus 3"
    step Tab "focus 4"
    on the entry
    step Tab "focus 5"
    step Tab "blur 5"
    on last
    hand key Tab
    on first

    echo "and back"
    hand key shift+Tab
    on last
    step shift+Tab "focus 5"
    step shift+Tab "focus 4"
    on the entry
    step shift+Tab "focus 3"
    step shift+Tab "focus 1"
    step shift+Tab "blur 1"
    on first

    echo "the order is that of the elements, wherever they are"
    order before 5 1
    settle
    step Tab "focus 5"
    step Tab "focus 1"
    step Tab "focus 3"
    order disable 1
    settle
    step shift+Tab "focus 5"
    order enable 1
    order before 1 5
    order remove 5
    say tell
    told removal obeyed "blur 5"
    order element 5 0 slider! 200 100 100 40 Five
    settle
}

check_focus() {
    echo "the view moves the focus"
    order focus 3
    on an element
    order focus 1
    order focus 0
    on nothing
    order focus 4
    on the entry
    order focus 0
    on nothing
    hand key Tab
    on first
    step Tab "focus 1"

    echo "to an element that can have it only now"
    order element 7 0 button 0 0 10 10 Seven
    settle
    order element 7 0 button! 0 0 10 10 Seven
    order focus 7
    on an element
    silence
    order focus 1
    order remove 7
    settle

    echo "to an element that the toolkit does not know yet"
    order element 6 0 button! 0 0 10 10 Six
    order focus 6
    on an element
    silence
    echo "which goes, and with it the focus"
    order remove 6
    say tell
    told removal obeyed "blur 6"
    on nothing

    echo "an element that becomes something else keeps the focus"
    order focus 5
    on an element
    order element 5 0 button! 200 100 100 40 Five
    settle
    on an element
    order element 5 2 button! 20 10 100 40 Five
    settle
    on an element
    silence
    order focus 0
    order element 5 0 slider! 200 100 100 40 Five
    settle
}

check_keys() {
    echo "typing"
    order handle 61 42 20 ff1b ff0d 73 ffe1 ffe3 ffe9
    order focus 1
    hand key a
    expect 'down 61 "a"' "up 61"
    does shift+b "down ffe1" 'down 42 "B" shift'

    echo "a key that is held repeats"
    hand hold a
    expect 'down 61 "a"' 'down 61 "a" repeat' 'down 61 "a" repeat'
    hand let a
    await "up 61"
    does a 'down 61 "a"'

    echo "modifier keys; text is not written with those of commands"
    does control+s "down ffe3" "down 73 control"
    does alt+s "down ffe9" "down 73 alt"

    echo "what the view has a use for is not the window's"
    does space 'down 20 " "'
    does Escape "down ff1b"
    does Return "down ff0d"

    echo "all else is"
    order handle
    does Escape "down ff1b" "window ff1b"
    does Return "down ff0d" "window ff0d" "clicked last"
    does control+s "down ffe3" "window ffe3" "down 73 control" "window 73" accelerator

    echo "but Space presses no button, where it does in the toolkit's own"
    does space 'down 20 " "' "window 20"
    step shift+Tab "blur 1"
    on first
    hand key space
    told space "clicked first"

    echo "an entry keeps its own keys"
    order focus 4
    hand type ab
    expect 'entry "a"' 'entry "ab"'
    hand key Escape
    expect "window ff1b"
    silence

    echo "keys that are held are let go when the focus leaves"
    order handle 61
    order focus 1
    hand hold a
    await 'down 61 "a"'
    say focus 4
    await "up 61"
    await obeyed
    hand let a
    order focus 1
    hand key a
    await 'down 61 "a"'
    await "up 61"

    echo "and when the view is not sensitive any more, which takes the focus as well"
    hand hold a
    await 'down 61 "a"'
    say insensitive
    await "up 61"
    await obeyed
    hand let a
    say sensitive
    await obeyed
}

# dead_key: presses the dead key of the acute accent.
check_dead_key() {
    echo "dead keys"
    order handle
    order focus 0
    order focus 1
    dead_key
    await "down fe51"
    hand key e
    await 'down 65 "é"'
    await "up 65"
    hand key e
    await 'down 65 "e"'
    await "up 65"
    echo "taken back"
    dead_key
    await "up fe51*"
    hand key Escape
    hand key e
    await 'down 65 "e"'
    await "up 65"
    echo "forgotten, where the focus is moved meanwhile"
    dead_key
    await "up fe51*"
    order focus 4
    order focus 1
    hand key e
    await 'down 65 "e"'
    await "up 65"
}

check_keyboard() {
    make_elements
    check_chain
    check_focus
    check_keys
    check_dead_key
    no_complaint
    quit
}

# shellcheck shell=bash
# What the tests of scrolling have in common; sourced after host.sh.

# scrolled PLACES: waits until this is how far the views are scrolled; may be a pattern.
scrolled() {
    local end=$((SECONDS + 30)) line
    while true; do
        say where
        next_line || fail "no answer"
        # shellcheck disable=SC2053  # patterns are meant
        [[ $line == $1 ]] && break
        [[ $line == list* ]] || fail "$line"
        [ $SECONDS -lt $end ] || fail "expected \"$1\" instead of \"$line\""
        await obeyed
        sleep 0.05
    done
    echo "    $line"
    await obeyed
}

# What the wheel does, click by click, 24 points each; the same on every display server.
check_wheel() {
    hand move 100 20
    sleep 0.5

    echo "the list, click by click"
    hand wheel 3
    scrolled "list -72.00 inner 0.00 turned 0.00"
    hand wheel -1
    scrolled "list -48.00 inner 0.00 turned 0.00"
    hand wheel -6
    scrolled "list 0.00 inner 0.00 turned 0.00"

    echo "over a button in it, which takes its presses all the same"
    hand move 60 108
    hand click
    expect "button pressed"
    hand wheel 1
    scrolled "list -24.00 inner 0.00 turned 0.00"
    hand wheel -1
    scrolled "list 0.00 inner 0.00 turned 0.00"

    echo "a scroll view in it keeps what is over it, also at its end"
    hand move 60 200
    hand wheel 10
    scrolled "list 0.00 inner -140.00 turned 0.00"

    echo "a scroll view that is turned in space"
    hand move 300 150
    hand wheel 2
    scrolled "list 0.00 inner -140.00 turned -48.00"

    echo "to the end and no further"
    hand move 190 20
    hand wheel 520
    scrolled "list -11700.00 inner -140.00 turned -48.00"
    hand wheel -1
    scrolled "list -11676.00 inner -140.00 turned -48.00"
}

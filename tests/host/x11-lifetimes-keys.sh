#!/bin/bash
# What keys, the focus and actions lead to may drop the view, its elements, its widget or its window.
. "$(dirname "$0")/host.sh"
. "$(dirname "$0")/keys.sh"

focus_window() {
    xdotool windowfocus --sync "$(xdotool search --sync --onlyvisible --name "$1")"
}

# anew: another window and view, with the elements and the focus at the first.
anew() {
    say again
    await obeyed
    focus_window Keys
    make_elements
    order action 1 press
    settle
    step Tab "focus 1"
}

start_x11_keys

for what in drop destroy clear take; do
    echo "$what when the focus comes"
    anew
    order on 3 $what
    hand key Tab
    await "focus 3"
    say focused
    await obeyed

    echo "$what by an action"
    anew
    order act $what
    say do 1 view.press
    await "action 1 0"
    await obeyed

    echo "$what by a key"
    anew
    order press $what
    hand key a
    await 'down 61 "a"'
    say focused
    await obeyed

    echo "$what by the release of a key that is held as the focus leaves"
    anew
    hand hold a
    await 'down 61 "a"'
    order release $what
    hand key shift+Tab
    await 'up *'
    hand let a
    say focused
    await obeyed
done

echo "the focus is moved on when it comes"
anew
order on 3 move
hand key Tab
told Tab "focus 3"
on an element
hand key Tab
told Tab "focus 3"

echo "into another window, with the focus"
anew
say window
told window "blur 1" "focus 1" obeyed
focus_window Other
sleep 0.3
say focus 3
await obeyed
hand key a
await 'down 61 "a"'
say again
await obeyed

no_complaint
quit

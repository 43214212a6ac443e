#!/bin/bash
# The carousel by ear and without a mouse: what a screen reader is told of it, a card that is turned
# over by its action, and the arrow keys that go from card to card.
. "$(dirname "$0")/host.sh"
. "$(dirname "$0")/access.sh"

# front: the card at the front, which the keyboard reaches, in the variables `card` and `says`.
front() {
    line=$(access tree | grep -E '^ *button ".*focusable' | head -1 | sed 's/^ *//')
    card=$(sed 's/^button "\([^"]*\)".*/\1/' <<< "$line")
    says=$(sed 's/^button "[^"]*" "\([^"]*\)".*/\1/' <<< "$line")
    [ -n "$card" ]
}

shows() {
    front && [[ $says == "$1"* ]]
}

start_x11
start_access
start ../../examples/carousel --still --no-field --size 960x600
wait_for "the card at the front" front
timeout 30 xdotool windowfocus --sync "$(timeout 30 xdotool search --sync --name Carousel)"
echo "    $line"
[[ $line == *sensitive*"(view.Turn over)"* ]] || fail "it cannot be turned over"
access tree | grep -q 'group "Ring of cards"' || fail "there is no ring"
shows front || fail "the card says \"$says\""

echo "its action turns it over"
listen
access act button "$card" "view.Turn over" || fail "it does not turn over"
hears "description \"back${says#front}\""
shows back || fail "the card says \"$says\""

echo "the keyboard comes to it, and goes on to the next"
xdotool key --clearmodifiers shift
for _ in {1..10}; do
    hand key Tab
    sleep 0.2
    ! grep -q "^focus button \"$card\"" "$work/heard" || break
done
hears "focus button \"$card\""
hand key Return
shown_again() {
    grep -q '^description "front' "$work/heard"
}
wait_for "the front of the card" shown_again
before=$card
: > "$work/heard"
hand key Right
wait_for "the next card" grep -q '^focus button' "$work/heard"
front
[ "$card" != "$before" ] || fail "the card at the front is still \"$card\""
no_complaint

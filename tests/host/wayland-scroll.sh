#!/bin/bash
# A touchpad: fingers begin, change and end a scroll; momentum follows, until it has run out or a
# press, another scroll or leaving stops it.
. "$(dirname "$0")/host.sh"

start_wayland
start HostProgram
await shown
see 0 0 400 300
point "move 100 100"
expect "entered 100 200"

hundredths() {
    printf '%.0f' "$1e2"
}

# expect_fingers X Y: fingers begin a scroll and go on, until these are the points in all. What comes
# within one frame of the screen may arrive as one.
expect_fingers() {
    local phase=began x=0 y=0 words
    until ((x == $(hundredths "$1") && y == $(hundredths "$2"))); do
        next_line || fail "expected $1 $2 in all, and it ends at $x $y hundredths"
        echo "    $line"
        [[ $line == "scroll "*" points phase $phase momentum none" ]] || fail "not $phase: $line"
        read -ra words <<< "$line"
        x=$((x + $(hundredths "${words[1]}")))
        y=$((y + $(hundredths "${words[2]}")))
        phase=changed
    done
}

# flick SIGN: fingers that leave while they move.
flick() {
    local lines=()
    for _ in 1 2 3 4 5 6; do
        lines+=("fingers 0 ${1}12" "wait 0.016")
    done
    point "${lines[@]}" lift
}

echo "fingers that rest before they leave"
point "fingers 3 5" "wait 0.02" "fingers 0 -2.5" "wait 0.2" lift
expect_fingers -3 -2.5
expect "scroll 0.00 0.00 points phase ended momentum none"
silence

echo "fingers that leave while they move"
flick ""
expect_fingers 0 -72
expect "scroll 0.00 0.00 points phase ended momentum none"
next_line || fail "no momentum"
[[ $line == "scroll 0.00 -"*" points phase none momentum began" ]] || fail "$line"
frames=0
while next_line 2 && [[ $line == "scroll 0.00 -"*" points phase none momentum changed" ]]; do
    frames=$((frames + 1))
done
[ "$line" = "scroll 0.00 0.00 points phase none momentum ended" ] || fail "$line"
[ $frames -gt 15 ] || fail "only $frames frames of momentum"
silence

echo "a press stops the momentum"
flick -
await "* momentum changed"
point "press 1" "release 1"
await "scroll 0.00 0.00 points phase none momentum cancelled"
expect "down 1 at 100 200" "up 1 at 100 200"
silence

echo "another scroll stops the momentum"
flick ""
await "* momentum changed"
point "wheel -1"
await "scroll 0.00 0.00 points phase none momentum cancelled"
expect "scroll 0.00 1.00 lines phase none momentum none"
silence

echo "leaving cancels the fingers' scroll"
point "fingers 0 5"
await "scroll 0.00 -5.00 points phase began momentum none"
point "move 600 500"
expect "scroll 0.00 0.00 points phase cancelled momentum none" "exited 100 200"
point lift
silence
quit

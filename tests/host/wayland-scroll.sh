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
expect "scroll -3.00 -5.00 points phase began momentum none" \
    "scroll 0.00 2.50 points phase changed momentum none" \
    "scroll 0.00 0.00 points phase ended momentum none"
silence

echo "fingers that leave while they move"
flick ""
expect "scroll 0.00 -12.00 points phase began momentum none"
for _ in 2 3 4 5 6; do
    expect "scroll 0.00 -12.00 points phase changed momentum none"
done
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

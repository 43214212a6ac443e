#!/bin/bash
# A list of 500 rows under two fingers: it moves with them, glides on with the momentum of the host,
# stops at its ends and under a press, always on whole pixels; a scroll view in it, one that is
# turned in space, and a button; and all of them under a wheel. At the scale that is given.
. "$(dirname "$0")/host.sh"
. "$(dirname "$0")/scroll.sh"

start_wayland "${1:-1}"
start ScrollProgram
await shown
point "move 100 20"
sleep 0.5

place_of_list() {
    say where
    await "list *"
    read -r _ place _ <<< "$line"
    await obeyed
}

echo "with the fingers"
point "fingers 0 10" "wait 0.02" "fingers 0 15" "wait 0.02" "fingers 0 -5" "wait 0.2" lift
scrolled "list -20.00 inner 0.00 turned 0.00"
sleep 0.3
scrolled "list -20.00 inner 0.00 turned 0.00"

echo "with momentum, to rest"
flick=()
for _ in 1 2 3 4 5 6; do
    flick+=("fingers 0 12" "wait 0.016")
done
point "${flick[@]}" lift
scrolled "list -[1-9][0-9][0-9].* inner 0.00 turned 0.00"
rest() {
    local before
    place_of_list
    before=$place
    sleep 0.3
    place_of_list
    [ "$place" = "$before" ]
}
wait_for "rest" rest
echo "    rests at $place"
[ "${place%.*}" -lt -100 ] || fail "the momentum carries to $place only"

echo "a press stops it"
point "${flick[@]}" "${flick[@]}" lift "wait 0.1" "press 1" "release 1"
sleep 0.1
place_of_list
before=$place
sleep 0.3
place_of_list
[ "$place" = "$before" ] || fail "it goes on from $before to $place"

echo "back to the beginning and no further, in spite of the momentum"
for _ in 1 2 3 4 5 6; do
    flick+=("fingers 0 -700" "wait 0.016")
done
point "${flick[@]}" lift
scrolled "list 0.00 inner 0.00 turned 0.00"
sleep 0.3
scrolled "list 0.00 inner 0.00 turned 0.00"

echo "fingers over a scroll view that is turned in space"
point "move 300 150" "fingers 0 30" "wait 0.2" lift
scrolled "list 0.00 inner 0.00 turned -30.00"
point "fingers 0 -40" "wait 0.2" lift
scrolled "list 0.00 inner 0.00 turned 0.00"

echo "over a scroll view in the list, which keeps them at its end, and their momentum"
point "move 60 200" "fingers 0 30" "wait 0.2" lift
scrolled "list 0.00 inner -30.00 turned 0.00"
point "${flick[@]:0:12}" "fingers 0 150" lift
scrolled "list 0.00 inner -140.00 turned 0.00"
wait_for "rest" rest
scrolled "list 0.00 inner -140.00 turned 0.00"
point "fingers 0 -200" "wait 0.2" lift
scrolled "list 0.00 inner 0.00 turned 0.00"

echo "over a button in the list"
point "move 60 108" "fingers 0 10" "wait 0.2" lift
scrolled "list -10.00 inner 0.00 turned 0.00"
point "fingers 0 -10" "wait 0.2" lift
scrolled "list 0.00 inner 0.00 turned 0.00"

check_wheel
say scale
await "scale *"
echo "    $line"
quit

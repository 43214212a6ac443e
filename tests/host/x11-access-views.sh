#!/bin/bash
# What assistive technology reads of an application's views, which is where they are seen; and the
# keyboard among them.
. "$(dirname "$0")/host.sh"
. "$(dirname "$0")/keys.sh"
. "$(dirname "$0")/access.sh"

# is_at ROLE NAME REST RED GREEN BLUE: what is read of a card lies about what has its colour.
is_at() {
    picture "$work/screen.png"
    local box
    box=$("$programs/HostPicture" box "$work/screen.png" "${@:4}")
    echo "    seen: $box"
    # shellcheck disable=SC2086  # four words
    reads_about "$1" "$2" "$3" $box
}

seen() {
    picture "$work/screen.png"
    [ "$("$programs/HostPicture" box "$work/screen.png" 0 255 0 | cut -d" " -f3)" -gt 0 ]
}

start_x11
start_access
start AccessProgram
await shown
wait_for "the picture" seen
timeout 30 xdotool windowfocus --sync "$(timeout 30 xdotool search --sync --name Cards)"
xdotool key --clearmodifiers shift
can="focusable sensitive (view.flip) (view.look closer)"

echo "views are where they are seen, turned in space or far away"
is_at button "Red card" "\"\" $can" 255 0 0
is_at "list item" "Green card" "\"shut\" $can" 0 255 0
is_at button "Blue card" "\"\" $can" 0 0 255
say turn red 20
await obeyed
sleep 0.5
is_at button "Red card" "\"\" $can" 255 0 0

echo "what is in what, in the order of the tree; a button speaks for the text in it"
access tree | sed -n '/heading/,$s/^ *\([a-z ]* "[^"]*"\).*/\1/p' > "$work/tree"
diff "$work/tree" - << 'TREE' || fail "another tree"
heading "Three cards"
button "Red card"
list "Row"
list item "Green card"
text box "GtkEntry"
button "Blue card"
TREE

echo "actions"
access act "list item" "Green card" view.flip || fail "there is no such action"
expect "flip green"
access act button "Red card" "view.look closer" || fail "there is no such action"
expect "look at red"

echo "names and values change at once"
listen
say rename red Roter
await obeyed
hears 'name "Roter"'
say value green open
await obeyed
hears 'description "open"'
say text "One card less"
await obeyed
hears 'name "One card less"'
say rename red Red card
await obeyed

echo "the Tab key goes through views and the field, and back"
say focus red
await "focus red"
await obeyed
for keys in "Tab:focus green" "Tab:blur green" "Tab:focus blue" "shift+Tab:blur blue" \
    "shift+Tab:focus green" "shift+Tab:focus red"; do
    hand key "${keys%:*}"
    await "${keys#*:}"
done

echo "keys are those of the view that has the focus"
hand key a
await "red down 61 a"
say hide red
await "blur red"
sleep 0.3
hand key Tab
await "focus *"
no_complaint
quit

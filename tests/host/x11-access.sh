#!/bin/bash
# What assistive technology reads of a view's elements: roles, names, places, states and the order,
# as they change; and the actions that it asks for.
. "$(dirname "$0")/host.sh"
. "$(dirname "$0")/keys.sh"
. "$(dirname "$0")/access.sh"

start_x11
start_access
start KeysProgram
await shown
xdotool windowfocus --sync "$(xdotool search --sync --name Keys)"
make_elements
order element 6 2 label 100 110 60 20 "Ünder »it«"
order element 7 6 picture 110 115 10 10
order action 1 press
order action 1 Turn over
order describe 5 50% "How far it goes"
settle
say where
await "view *"
read -r _ left top _ height <<< "$line"
await obeyed
bottom=$((top + height))

echo "roles, names, descriptions, places, states and actions"
reads button One "\"\" $((left + 20)) $((bottom - 220)) 100 40 focusable sensitive (view.Turn over) (view.press)"
reads group Group "\"\" $((left + 20)) $((bottom - 160)) 150 150 sensitive"
reads button Three "\"\" $((left + 30)) $((bottom - 80)) 50 50 focusable sensitive"
reads slider Five "\"50%, How far it goes\" $((left + 200)) $((bottom - 140)) 100 40 focusable sensitive"
reads label "Ünder »it«" "\"\" $((left + 100)) $((bottom - 130)) 60 20 sensitive"

echo "what is in what, in the order of the elements"
access tree | sed -n '/^    group ""/,/^    button "last"/s/^\( *[a-z ]* "[^"]*"\).*/\1/p' > "$work/tree"
cat "$work/tree"
diff "$work/tree" - << 'TREE' || fail "another tree"
    group ""
      button "One"
      group "Group"
        button "Three"
        label "Ünder »it«"
          image ""
      text box "GtkEntry"
      slider "Five"
    button "last"
TREE

echo "actions"
access act button One "view.Turn over" || fail "there is no such action"
expect "action 1 1"
access act button One view.press || fail "there is no such action"
expect "action 1 0"

listen
echo "the focus"
order focus 3
hears 'focus button "Three"'
hand key shift+Tab
told shift+Tab "focus 1"
hears 'focus button "One"'
reads button One "\"\" $((left + 20)) $((bottom - 220)) 100 40 focusable focused sensitive (view.Turn over) (view.press)"

echo "changes"
order element 3 2 button! 40 40 50 50 Drei
order describe 5 60% "How far it goes"
order tell
hears 'name "Drei"'
reads button Drei "\"\" $((left + 40)) $((bottom - 90)) 50 50 focusable sensitive"
reads slider Five "\"60%, How far it goes\" $((left + 200)) $((bottom - 140)) 100 40 focusable sensitive"
order disable 1
order tell
reads button One "\"\" $((left + 20)) $((bottom - 220)) 100 40 focused"
access act button One view.press && fail "what is disabled acts"
order element 2 0 group 30 20 150 150 Group
order tell
reads group Group "\"\" $((left + 30)) $((bottom - 170)) 150 150 sensitive"
reads button Drei "\"\" $((left + 40)) $((bottom - 90)) 50 50 focusable sensitive"

echo "what has gone is read no more"
order remove 2
order remove 3
order remove 6
order remove 7
order tell
gone() {
    ! access find button Drei
}
wait_for "the end of the button" gone
reads slider Five "\"60%, How far it goes\" $((left + 200)) $((bottom - 140)) 100 40 focusable sensitive"

echo "while things move all the time, they are looked up ten times a second at most"
order tell
say asked
await obeyed
began=${EPOCHREALTIME/./}
for _ in {1..50}; do
    order tell
    sleep 0.01
done
say asked
await "asked * times"
read -r _ count _ <<< "$line"
await obeyed
[ "$count" -le $(((${EPOCHREALTIME/./} - began) / 100000 + 2)) ] || fail "asked $count times"
[ "$count" -ge 1 ] || fail "not asked"
no_complaint
quit

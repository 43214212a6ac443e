#!/bin/bash
# What a program does with the toolkit around a view, from within what the toolkit tells it, too.
. "$(dirname "$0")/host.sh"

start_x11
start ClientProgram
await shown
await "size *"

for event in resize draw; do
    echo "all widgets in the view are dropped when one is told to $event"
    say areas $event
    await "removes all"
    lies nowhere
done
echo "all widgets in the view are dropped when one of them goes"
say areas unmap
await obeyed
lies "where 10 * 30 30"
say unareas
await "removes all"
await obeyed
lies nowhere
no_complaint

echo "a widget that is taken elsewhere is shown in the view again when it comes back"
say button 20 30 100 50
await obeyed
lies "where 20 *"
say steal
await obeyed
lies nowhere
say return
await obeyed
lies "where 20 *"
say unbutton
await obeyed
no_complaint

echo "what cannot be shown in a view is not"
say embed-window
await obeyed
say embed-itself
await obeyed
lies nowhere
no_complaint
grep -q "a window is not shown in a view" "$work/program.log" || fail "nothing is said of the window"
grep -q "a view that is in it" "$work/program.log" || fail "nothing is said of the view"

for container in "" frame scrolled paned stack; do
    echo "a window of the library takes the view over from: ${container:-box}"
    say adopt $container
    await adopted
    await obeyed
done
no_complaint

echo "the toolkit's window goes"
say destroy
await "out of window"
expect closed obeyed
say adopted
expect "Own gone 300 200" obeyed
no_complaint

echo "the widget is taken apart where it is"
say new-widget
await "in window"
await obeyed
say dispose
await "out of window"
await obeyed
quit

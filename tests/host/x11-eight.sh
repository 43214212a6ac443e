#!/bin/bash
# Eight windows with an application each, of equal contents and motion: each shows at every step what
# one alone does, also what the handlers of its events add; with frames that are copied and with
# frames that the toolkit shows where they were drawn.
. "$(dirname "$0")/host.sh"

start_x11
for step in 0 1 2 3 4 5; do
    MIVORA_HOST=headless "$programs/ApplicationProgram" --step $step 0 "$work/before-$step.png"
    MIVORA_HOST=headless "$programs/ApplicationProgram" --step $step 1 "$work/after-$step.png"
done

# see_parts PRESSED STEP: the first so many windows show the step with what the click added.
see_parts() {
    local part when
    for part in 0 1 2 3 4 5 6 7; do
        when=before
        [ $part -ge "$1" ] || when=after
        see_task compare $((part % 4 * 250)) $((part / 4 * 200)) "$work/$when-$2.png" 3
    done
}

for share in 0 1; do
    echo "shared textures: $share"
    rm -f "$work/to-program" "$work/from-program"
    MIVORA_SHARE_TEXTURES=$share start ApplicationProgram --eight
    await shown
    for part in 1 2 3 4 5 6 7 8; do
        window=$(xdotool search --sync --name "Part $part")
        xdotool windowmove --sync "$window" $(((part - 1) % 4 * 250)) $(((part - 1) / 4 * 200)) ||
            true  # it is there already
    done
    see_parts 0 0
    for step in 1 2 3; do
        say step $step
        await obeyed
        see_parts 0 $step
    done
    for part in 1 2 3 4 5 6 7 8; do
        xdotool mousemove $(((part - 1) % 4 * 250 + 120)) $(((part - 1) / 4 * 200 + 90)) \
            mousedown 1 mouseup 1
        await pressed
    done
    xdotool mousemove 1000 750
    see_parts 8 3
    for step in 4 5; do
        say step $step
        await obeyed
        see_parts 8 $step
    done
    quit
done

# shellcheck shell=bash
# What the host tests have in common. Sourced by each with the folder of the test programs as its
# argument; ends what it starts when the test ends.
#
#   start_x11 / start_wayland [SCALE]   a display server with a screen of 1024 x 768 pixels
#   start_devices [SCALE]               the same on Wayland, with fingers and a touchpad
#   start_access                        a session with assistive technology
#   start PROGRAM [ARGUMENT...]         a test program; its lines are kept for `expect`
#   say LINE                            has the program obey a line
#   expect LINE...                      the next lines that the program prints, exactly
#   await LINE                          skips lines of the program until this one
#   no_complaint                        the toolkit has found no fault so far
#   lies PLACE                          where the widget of ClientProgram's is; may be a pattern
#   silence                             the program prints nothing for a while
#   point LINE...                       has the devices of the compositor do something (Wayland); see
#                                       VirtualPointer, or TestCompositor after start_devices
#   hand move X Y / press / release / click
#                                       the pointer on either server, in points of the screen
#   hand wheel LINES                    so many clicks of the wheel, one after the other; downward
#                                       is positive
#   hand type TEXT / key COMBINATION    the keyboard on either server: as "Tab", "control+shift+Left"
#   hand hold KEY / let KEY             a key that is held for a while
#   picture FILE                        photographs the screen
#   see QUADRANTS...                    waits until this is seen: arguments of HostPicture quadrants
set -euo pipefail

programs=$1
shift
work=$(mktemp -d)
started=()

finish() {
    local status=$? process
    [ -z "$to_program" ] || exec {to_program}>&-
    for process in "${started[@]}"; do
        kill "$process" 2> /dev/null || true
    done
    wait 2> /dev/null || true
    if [ $status != 0 ] && [ $status != 77 ]; then
        for log in "$work"/*.log; do
            [ -s "$log" ] && echo "---- ${log##*/}" && tail -40 "$log"
        done
    fi
    rm -rf "$work"
    exit $status
}
to_program=
trap finish EXIT

skip() {
    echo "skipped: $*"
    exit 77
}

fail() {
    echo "failed: $*"
    exit 1
}

need() {
    local tool
    for tool in "$@"; do
        command -v "$tool" > /dev/null || skip "$tool is not installed"
    done
}

# The programs are started so that nothing of the surroundings reaches them.
clean_environment() {
    unset DISPLAY WAYLAND_DISPLAY WAYLAND_SOCKET GDK_SCALE GDK_BACKEND GDK_DEBUG GSK_RENDERER
    unset MIVORA_HOST MIVORA_SCALE MIVORA_DEBUG MIVORA_PAINT MIVORA_SHARE_TEXTURES
    unset DBUS_SESSION_BUS_ADDRESS
    export GTK_A11Y=none GSETTINGS_BACKEND=memory GTK_THEME=Adwaita XDG_RUNTIME_DIR=$work
    export LC_ALL=C.UTF-8
}

start_x11() {
    need Xvfb xdotool dbus-run-session
    clean_environment
    exec {number}> "$work/display"
    Xvfb -displayfd "$number" -screen 0 1024x768x24 -nolisten tcp -noreset \
        > "$work/xvfb.log" 2>&1 &
    started+=($!)
    exec {number}>&-
    wait_for "the X server" test -s "$work/display"
    DISPLAY=:$(cat "$work/display")
    export DISPLAY GDK_BACKEND=x11
    xdotool mousemove 1000 750
}

start_wayland() {
    local scale=${1:-1} run=$work/run as=()
    need sway grim dbus-run-session
    clean_environment
    mkdir "$run"
    cat > "$run/config" << CONFIG
output HEADLESS-1 mode --custom 1024x768@50Hz
output HEADLESS-1 scale $scale
output HEADLESS-1 background #000000 solid_color
default_border none
default_floating_border none
for_window [title=".*"] floating enable, move position 0 0
xwayland disable
CONFIG
    chmod 700 "$run"
    if [ "$(id -u)" = 0 ]; then
        # The compositor does not run as root.
        need runuser
        chmod 711 "$work"
        chown -R nobody "$run"
        as=(runuser -u nobody --)
    fi
    "${as[@]}" env -i PATH="$PATH" HOME="$run" XDG_RUNTIME_DIR="$run" WLR_BACKENDS=headless \
        WLR_RENDERER=pixman WLR_LIBINPUT_NO_DEVICES=1 sway -c "$run/config" \
        > "$work/sway.log" 2>&1 &
    started+=($!)
    wait_for "the compositor" has_socket "$run"
    use_compositor "$run"
    start_pointer VirtualPointer "$scale"
    point "move 1000 750"
}

start_devices() {
    [ -x "$programs/TestCompositor" ] || skip "there was no wlroots 0.15 to build the compositor with"
    need grim dbus-run-session
    clean_environment
    start_pointer TestCompositor "${1:-1}"
    use_compositor "$work"
    point "move 1000 750"
}

# use_compositor FOLDER: programs show their windows on the one whose socket lies there.
use_compositor() {
    WAYLAND_DISPLAY=$(find "$1" -name 'wayland-*' ! -name '*.lock')
    export WAYLAND_DISPLAY GDK_BACKEND=wayland
}

# start_pointer PROGRAM [ARGUMENT...]: what obeys `point`.
start_pointer() {
    mkfifo "$work/to-pointer"
    : > "$work/pointer.out"
    "$programs/$1" "${@:2}" < "$work/to-pointer" > "$work/pointer.out" 2> "$work/pointer.log" &
    started+=($!)
    exec {to_pointer}> "$work/to-pointer"
    exec {from_pointer}< "$work/pointer.out"
    pointer_says ready
}

has_socket() {
    [ -n "$(find "$1" -name 'wayland-*' ! -name '*.lock')" ]
}

# wait_for WHAT COMMAND...: until the command succeeds.
wait_for() {
    local what=$1 end=$((SECONDS + 30))
    shift
    until "$@"; do
        [ $SECONDS -lt $end ] || fail "$what does not come"
        sleep 0.05
    done
}

# Programs started from now on are on one session bus with AccessClient.
start_access() {
    need dbus-daemon
    [ -x /usr/libexec/at-spi-bus-launcher ] || skip "at-spi2-core is not installed"
    dbus-daemon --session --nofork --print-address=1 > "$work/bus" 2> "$work/bus.log" &
    started+=($!)
    wait_for "the session bus" test -s "$work/bus"
    DBUS_SESSION_BUS_ADDRESS=$(cat "$work/bus")
    export DBUS_SESSION_BUS_ADDRESS GTK_A11Y=atspi
    session=(env)
}
session=(dbus-run-session --)

start() {
    mkfifo "$work/to-program" "$work/from-program"
    # shellcheck disable=SC2086  # the launcher is a command and its options, or nothing
    "${session[@]}" ${MIVORA_TEST_LAUNCHER:-} "$programs/$1" "${@:2}" < "$work/to-program" \
        > "$work/from-program" 2> "$work/program.log" &
    started+=($!)
    exec {to_program}> "$work/to-program"
    exec {from_program}< "$work/from-program"
}

# Waits until the program has done it.
say() {
    echo "$*" >&"$to_program"
}

next_line() {
    IFS= read -r -t "${1:-30}" line <&"$from_program"
}

expect() {
    local wanted line
    for wanted in "$@"; do
        next_line || fail "expected \"$wanted\", and nothing comes"
        echo "    $line"
        [ "$line" = "$wanted" ] || fail "expected \"$wanted\" instead of \"$line\""
    done
}

# The line is left in the variable `line`; it may be given as a pattern.
await() {
    while next_line; do
        echo "    $line"
        # shellcheck disable=SC2053  # patterns are meant
        [[ $line == $1 ]] && return
    done
    fail "\"$1\" does not come"
}

silence() {
    local line
    ! next_line 0.3 || fail "unexpected: \"$line\""
}

pointer_says() {
    local end=$((SECONDS + 30)) line
    until IFS= read -r line <&"$from_pointer"; do
        [ $SECONDS -lt $end ] || fail "the pointer does not answer"
        sleep 0.01
    done
    [ "$line" = "$1" ] || fail "the pointer: $line"
}

point() {
    local line
    for line in "$@"; do
        echo "$line" >&"$to_pointer"
    done
    for line in "$@"; do
        pointer_says "done"
    done
}

# Waits after moves: what is pressed at once may still be what the pointer was over before.
hand() {
    local action=$1
    shift
    if [ -n "${WAYLAND_DISPLAY:-}" ]; then
        case $action in
            move) point "move $*" "wait 0.1" ;;
            press | release) point "$action 1" ;;
            click) point "press 1" "release 1" ;;
            hold) point "key-down $*" ;;
            let) point "key-up $*" ;;
            wheel)
                local lines=()
                for _ in $(seq "${1#-}"); do
                    # Whoever has more to read than fits is thrown out by the compositor.
                    lines+=("wheel ${1/[0-9]*/}1" "wait 0.004")
                done
                point "${lines[@]}"
                ;;
            *) point "$action $*" ;;
        esac
        return
    fi
    case $action in
        move) xdotool mousemove $(($1 * ${GDK_SCALE:-1})) $(($2 * ${GDK_SCALE:-1})) && sleep 0.1 ;;
        press) xdotool mousedown 1 ;;
        release) xdotool mouseup 1 ;;
        click) xdotool click 1 ;;
        wheel) xdotool click --repeat "${1#-}" --delay 1 $(($1 < 0 ? 4 : 5)) ;;
        type) xdotool type -- "$*" ;;
        key) xdotool key "${1/control/ctrl}" ;;
        hold) xdotool keydown "$1" ;;
        let) xdotool keyup "$1" ;;
    esac
}

picture() {
    if [ -n "${WAYLAND_DISPLAY:-}" ]; then
        grim "$1"
    else
        "$programs/HostPicture" grab "$1"
    fi
}

see_now() {
    picture "$work/screen.png"
    "$programs/HostPicture" "$1" "$work/screen.png" "${@:2}" > "$work/difference"
}

# Pictures take the time that they take; what is awaited may still be on its way.
see_task() {
    local end=$((SECONDS + 30))
    until see_now "$@"; do
        if [ $SECONDS -ge $end ]; then
            [ -z "${MIVORA_HOST_PICTURES:-}" ] ||
                cp "$work/screen.png" "$MIVORA_HOST_PICTURES/$(basename "$0" .sh).png"
            fail "on the screen, for $*: $(cat "$work/difference")"
        fi
        sleep 0.1
    done
    echo "    seen: $*"
    if [ -n "${MIVORA_HOST_PICTURES:-}" ]; then
        cp "$work/screen.png" "$MIVORA_HOST_PICTURES/$(basename "$0" .sh)-$((++pictures)).png"
    fi
}
pictures=0

see() {
    see_task quadrants "$@"
}

# But for what is put in while the toolkit lays out: that comes with the next frame, as it says.
no_complaint() {
    ! grep -E "CRITICAL|WARNING" "$work/program.log" | grep -v "without a current allocation" ||
        fail "the toolkit complains"
}

# Asks ClientProgram where its widget is until it is laid out there. The view may be told of a new
# size meanwhile.
lies() {
    local place end=$((SECONDS + 30))
    while true; do
        place=
        say where
        while next_line && [ "$line" != obeyed ]; do
            [[ $line == size* ]] || place=$line
        done
        # shellcheck disable=SC2053  # patterns are meant
        [[ $place == $1 ]] && break
        [ $SECONDS -lt $end ] || fail "expected \"$1\" instead of \"$place\""
        sleep 0.05
    done
    echo "    $place"
}

# The program ends by itself when told to.
quit() {
    local line
    say quit
    await end
}

# shellcheck shell=bash
# What the tests of scrolling have in common; sourced after host.sh.

# scrolled PLACES: waits until this is how far the views are scrolled; may be a pattern.
scrolled() {
    local end=$((SECONDS + 30)) line
    while true; do
        say where
        next_line || fail "no answer"
        # shellcheck disable=SC2053  # patterns are meant
        [[ $line == $1 ]] && break
        [[ $line == list* ]] || fail "$line"
        [ $SECONDS -lt $end ] || fail "expected \"$1\" instead of \"$line\""
        await obeyed
        sleep 0.05
    done
    echo "    $line"
    await obeyed
}

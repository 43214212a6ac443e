#!/bin/bash
# Checks that the library's includes point one way. Usage: check-includes.sh [folder of the library]
#
#   geometry <- render <- images, views, input <- app        (images, views, input see each other)
#   the animation clock of app (with its tickers, and the weak containers it keeps them in) knows
#   nothing of the rest of app and is below views, some of which animate by it
#   platform is below them all: everything may include its rooms, they include none of it
#   among the rooms: base <- threads, pictures <- gl <- windows <- headless, gtk, which implement them;
#   text stands on base, threads and pictures, and above the platform all may include it
#   platform/Host.h names what a host makes without including it, so every room may ask the host; its
#   source, not the header, may name the headless host, which is the default one
#
# Toolkit headers stay inside platform/gtk, GL headers out of public headers, and a public header
# (one that is installed, any but ...Private.h) includes no private one. Our own headers are named
# in quotes by their full path, "MivoraMac/geometry/Point.h".
#
# Prints a line for every include that is out of order; exits 1 if there is one.
set -euo pipefail

library=${1:-$(dirname "$0")/../../MivoraMac}
cd "$library/.."
library=$(basename "$library")

files=$(find "$library" \( -name '*.h' -o -name '*.cpp' \) -print | LC_ALL=C sort)
if [ -z "$files" ]; then
    echo "check-includes: no sources below $library" >&2
    exit 1
fi

# shellcheck disable=SC2086  # the paths of this tree hold no spaces
awk '
# The part of the library that a path belongs to.
function partOf(path) {
    if (path == "MivoraMac/Export.h") return "export"
    if (path ~ /^MivoraMac\/[^\/]*$/) return "root"
    if (path ~ /^MivoraMac\/app\/(MVAnimationClock|MVAnimationClockTick|MVWeakPointerContainer)\./) {
        return "clock"
    }
    sub(/^MivoraMac\//, "", path)
    if (path ~ /^platform\/[^\/]*\//) {
        sub(/^platform\//, "", path)
        sub(/\/.*/, "", path)
        return "platform/" path
    }
    sub(/\/.*/, "", path)
    return path
}

function complain(text) {
    printf "%s:%d: %s\n", FILENAME, FNR, text
    bad = 1
}

BEGIN {
    rooms = "platform platform/base"
    may["platform/base"] = rooms
    may["platform/threads"] = rooms " platform/threads"
    may["platform/pictures"] = rooms " platform/pictures"
    rooms = rooms " platform/threads platform/pictures"
    may["platform/text"] = rooms " platform/text"
    may["platform/gl"] = rooms = rooms " platform/gl"
    may["platform/windows"] = rooms = rooms " platform/windows"
    may["platform"] = "platform platform/base"
    may["platform source"] = rooms " platform/headless"
    may["platform/headless"] = rooms " platform/headless"
    may["platform/gtk"] = rooms " platform/gtk"
    rooms = rooms " platform/text"
    may["root"] = "root clock geometry render images views input app platform/headless " rooms
    may["clock"] = "clock " rooms
    may["geometry"] = "geometry " rooms
    may["render"] = "render " may["geometry"]
    may["images"] = may["input"] = "images views input " may["render"]
    may["views"] = "clock " may["input"]
    may["app"] = "app " may["views"]
}

/^[ \t]*#[ \t]*include[ \t]*[<"]/ {
    quoted = $0 ~ /include[ \t]*"/
    path = $0
    sub(/^[^<"]*[<"]/, "", path)
    sub(/[>"].*/, "", path)

    part = partOf(FILENAME)
    if (part == "platform" && FILENAME ~ /\.cpp$/) part = "platform source"
    isPublic = FILENAME ~ /\.h$/ && FILENAME !~ /Private\.h$/

    if (path ~ /^MivoraMac\//) {
        other = partOf(path)
        if (!quoted) complain("name our own headers in quotes: <" path ">")
        if (!(part in may)) {
            complain("the folder " part " has no place in the order of includes")
        } else if (other != "export" && index(" " may[part] " ", " " other " ") == 0) {
            complain(part " must not include " other ": \"" path "\"")
        }
        if (isPublic && path ~ /Private\.h$/) {
            complain("a public header must not include a private one: \"" path "\"")
        }
    } else if (quoted) {
        complain("name our own headers by their full path: \"" path "\"")
    }

    if (path ~ /^(gtk|gdk|gsk|adwaita)(\/|\.h$)/ && part != "platform/gtk") {
        complain("only platform/gtk may include the toolkit: <" path ">")
    }
    if (isPublic && path ~ /^(epoxy|GL|GLES[0-9]*|EGL|KHR|glad)\//) {
        complain("a public header must not include GL: <" path ">")
    }
    if (isPublic && path ~ /^(pango|cairo|fontconfig)/) {
        complain("a public header must not include what text is drawn with: <" path ">")
    }
}

END { exit bad }
' $files

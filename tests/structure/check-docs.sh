#!/bin/bash
# Fails if building the API reference gives a warning, as it does for everything public that has no
# comment and for comments that contradict their declarations.
# usage: check-docs.sh ROOT WORK [DOXYGEN]: the repository, a folder to build in, the program
set -euo pipefail

root=$1
work=$2
doxygen=${3:-doxygen}

if ! command -v "$doxygen" > /dev/null; then
    echo "not checked: the API reference, which doxygen builds; it is not installed"
    exit 77
fi
case $(cd "$root" && pwd) in
    *[[:space:]]*)
        echo "not checked: the API reference; below a path with a space doxygen finds no file again"
        exit 77
        ;;
esac
mkdir -p "$work"
work=$(cd "$work" && pwd)
cd "$root"

status=0
(
    cat docs/Doxyfile
    echo "OUTPUT_DIRECTORY = \"$work\""
) | "$doxygen" - > "$work/warnings.log" 2>&1 || status=1
if [ -s "$work/warnings.log" ]; then
    cat "$work/warnings.log"
    status=1
fi
if [ ! -e "$work/reference/index.html" ]; then
    echo "there is no reference in $work"
    status=1
fi
exit $status

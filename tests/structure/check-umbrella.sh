#!/bin/bash
# Checks that MivoraMac.h includes every public header of the library, in order, and nothing else.
# Usage: check-umbrella.sh [--fix] [folder of the library]
#
# The headers of the GTK host belong to a library of their own and are not part of the list.
set -euo pipefail

fix=no
if [ "${1:-}" = --fix ]; then
    fix=yes
    shift
fi
library=${1:-$(dirname "$0")/../../MivoraMac}
cd "$library"

expected=$(find . -name '*.h' ! -name '*Private.h' ! -path './platform/gtk/*' \
    ! -path ./MivoraMac.h |
    sed 's|^\./\(.*\)$|#include "MivoraMac/\1"|' | LC_ALL=C sort)
actual=$(grep '^#include' MivoraMac.h || true)

if [ "$expected" = "$actual" ]; then
    exit 0
fi
if [ "$fix" = yes ]; then
    # The list replaces the first include; the others go.
    LIST=$expected awk '
        /^#include/ { if (!done) print ENVIRON["LIST"]; done = 1; next }
        { print }
    ' MivoraMac.h > MivoraMac.h.new
    mv MivoraMac.h.new MivoraMac.h
    exit 0
fi
echo "MivoraMac.h does not include exactly the public headers, in order"
echo "(tests/structure/check-umbrella.sh --fix puts it right):"
diff <(printf '%s\n' "$actual") <(printf '%s\n' "$expected") |
    sed -n 's/^< /  wrong:   /p; s/^> /  missing: /p'
exit 1

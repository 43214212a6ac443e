#!/bin/bash
# Builds the library with its tests and runs them all, after installing what is missing.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
. cmake/packages.sh

usage() {
    cat <<'USAGE'
usage: ./test.sh [--sanitize]

Builds the library and its tests and runs them. On Debian 12, packages that are missing are
installed first.

  --sanitize   instead, runs the fuzz targets for a minute, the tests under the address and
               undefined-behaviour sanitizers, and under the thread sanitizer those in which more
               than one thread has a part
  -h, --help   prints this
USAGE
}

presets=(release)
fuzz_seconds=0
while [ $# -gt 0 ]; do
    case $1 in
        --sanitize)
            presets=(asan tsan)
            fuzz_seconds=60
            ;;
        -h | --help)
            usage
            exit 0
            ;;
        *)
            echo "test.sh: unknown option: $1" >&2
            usage >&2
            exit 2
            ;;
    esac
    shift
done

mivora_require_packages \
    "${MIVORA_BUILD_PACKAGES[@]}" "${MIVORA_RUN_PACKAGES[@]}" "${MIVORA_TEST_PACKAGES[@]}" \
    "${MIVORA_GTK_PACKAGES[@]}" "${MIVORA_HOST_TEST_PACKAGES[@]}"

# Every suite is built before the first one runs, so that the run ends with ctest's summary, and
# all of them run even if one fails.
jobs=$(nproc)
for preset in "${presets[@]}"; do
    cmake --preset "$preset"
    cmake --build --preset "$preset" --parallel "$jobs"
done

status=0
if [ "$fuzz_seconds" -gt 0 ]; then
    if mivora_require_packages "${MIVORA_FUZZ_PACKAGES[@]}"; then
        # Whether the tests pass is not to be left to chance; longer runs without a seed look further.
        MIVORA_FUZZ_SEED=1 fuzz/run.sh "$fuzz_seconds" || status=1
    else
        echo "not checked: the fuzz targets, which want Clang"
    fi
fi
for preset in "${presets[@]}"; do
    ctest --preset "$preset" --parallel "$jobs" || status=1
done
exit $status

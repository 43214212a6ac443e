#!/bin/bash
# Builds the benchmarks and runs them: prints a table for each and writes bench-results/NAME.json.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
. cmake/packages.sh

known=()
for source in bench/*.cpp; do
    if [ -e "$source" ]; then
        known+=("$(basename "$source" .cpp)")
    fi
done

usage() {
    cat <<USAGE
usage: ./bench.sh [NAME...]

Builds the library optimised and runs the benchmarks named, or all of them. Each prints a table and
writes its metrics to bench-results/NAME.json, one flat object of metric name to number.

benchmarks: ${known[*]:-none}
USAGE
}

names=()
for argument in "$@"; do
    case $argument in
        -h | --help)
            usage
            exit 0
            ;;
    esac
    if [[ " ${known[*]:-} " != *" $argument "* ]]; then
        echo "bench.sh: no such benchmark: $argument" >&2
        usage >&2
        exit 2
    fi
    names+=("$argument")
done
if [ ${#names[@]} = 0 ]; then
    names=("${known[@]}")
fi
if [ ${#names[@]} = 0 ]; then
    echo "There are no benchmarks."
    exit 0
fi

packages=("${MIVORA_BUILD_PACKAGES[@]}" "${MIVORA_RUN_PACKAGES[@]}")
if [[ " ${names[*]} " == *" host "* ]]; then
    packages+=("${MIVORA_GTK_PACKAGES[@]}" xvfb)
fi
mivora_require_packages "${packages[@]}"

jobs=$(nproc)
cmake --preset bench > /dev/null
cmake --build --preset bench --parallel "$jobs" --target "${names[@]/#/bench-}" -- --quiet

export MIVORA_BENCH_RESULTS=$PWD/bench-results
status=0
for name in "${names[@]}"; do
    echo
    build/bench/bench/"$name" || {
        echo "bench.sh: $name failed" >&2
        status=1
    }
done
exit $status

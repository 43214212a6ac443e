#!/bin/bash
# Builds the fuzz targets and runs them side by side. Ends with an error where one of them finds
# something, and says where the input lies.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
. cmake/packages.sh

known=()
for source in fuzz/*.cpp; do
    known+=("$(basename "$source" .cpp)")
done

usage() {
    cat <<USAGE
usage: fuzz/run.sh [SECONDS [NAME...]]

Builds the fuzz targets named, or all of them, and runs them side by side for so many seconds, 60
unless given. Each starts from fuzz/corpus/NAME and what earlier runs have added to it in
build/fuzz/corpus/NAME. An input that ends in an error is kept in build/fuzz/findings/NAME; run it
again with build/fuzz/fuzz/NAME FILE. MIVORA_FUZZ_SEED, if set, makes every run try the same.

targets: ${known[*]}
USAGE
}

seconds=60
names=("${known[@]}")
case ${1:-} in
    -h | --help)
        usage
        exit 0
        ;;
    '') ;;
    *[!0-9]*)
        usage >&2
        exit 2
        ;;
    *)
        seconds=$1
        shift
        ;;
esac
if [ $# -gt 0 ]; then
    names=("$@")
fi
for name in "${names[@]}"; do
    if [[ " ${known[*]} " != *" $name "* ]]; then
        echo "fuzz/run.sh: no such target: $name" >&2
        exit 2
    fi
done

mivora_require_packages \
    "${MIVORA_BUILD_PACKAGES[@]}" "${MIVORA_RUN_PACKAGES[@]}" "${MIVORA_FUZZ_PACKAGES[@]}"
cmake --preset fuzz > /dev/null
cmake --build --preset fuzz --parallel "$(nproc)" --target "${names[@]/#/fuzz-}" -- --quiet

# The sanitizers of Clang 14 do not start reliably where the kernel spreads mappings over more than
# 28 bits.
launcher=()
if [ "$(cat /proc/sys/vm/mmap_rnd_bits 2> /dev/null || echo 0)" -gt 28 ] && setarch -R true; then
    launcher=(setarch -R)
fi

# What is tried must not depend on what this shell happens to set, and failures are to be quiet.
unset MIVORA_DEBUG MIVORA_PAINT
export MIVORA_HOST=headless
# Too much memory asked for is a failure that the library is to bear.
export ASAN_OPTIONS=allocator_may_return_null=1:detect_stack_use_after_return=1
export UBSAN_OPTIONS=print_stacktrace=1

# run NAME: one target, for the seconds.
run() {
    local name=$1 corpus=build/fuzz/corpus/$1 findings=build/fuzz/findings/$1
    local leaks=$PWD/build/fuzz/$1.supp
    local arguments=("$corpus")
    mkdir -p "$corpus" "$findings"
    if [ -d "fuzz/corpus/$name" ]; then
        arguments+=("fuzz/corpus/$name")
    fi
    if [ -e "fuzz/$name.dict" ]; then
        arguments+=("-dict=fuzz/$name.dict")
    fi
    cat tests/support/lsan.supp > "$leaks"
    if [ -e "fuzz/$name.supp" ]; then
        cat "fuzz/$name.supp" >> "$leaks"
    fi
    LSAN_OPTIONS=suppressions=$leaks:print_suppressions=0 \
        "${launcher[@]}" "build/fuzz/fuzz/$name" "${arguments[@]}" \
        -seed="${MIVORA_FUZZ_SEED:-0}" -max_total_time="$seconds" -timeout=20 -rss_limit_mb=2048 -print_final_stats=1 \
        -artifact_prefix="$findings/" > "build/fuzz/$name.log" 2>&1
}

running=()
for name in "${names[@]}"; do
    run "$name" &
    running+=($!)
done

status=0
for i in "${!names[@]}"; do
    name=${names[$i]}
    if wait "${running[$i]}"; then
        inputs=$(sed -n 's/^stat::number_of_executed_units: *//p' "build/fuzz/$name.log")
        echo "fuzz $name: ${inputs:-no} inputs in $seconds s, nothing found"
    else
        status=1
        tail -n 60 "build/fuzz/$name.log"
        echo "fuzz $name: failed; the input lies in build/fuzz/findings/$name"
    fi
done
exit $status

#!/bin/bash
# Builds the scenes of docs/pictures and draws them into PNG files. Needs no display.
set -euo pipefail
caller=$PWD
cd "$(dirname "${BASH_SOURCE[0]}")"
. cmake/packages.sh

usage() {
    cat <<'USAGE'
usage: ./demo.sh [--out DIR]

Draws four scenes of three-dimensional views without a display, as PNG files. On Debian 12, packages
that are missing are installed first.

  --out DIR    where the pictures go; made if need be. Without it: build/demo-pictures
  -h, --help   prints this
USAGE
}

out=build/demo-pictures
while [ $# -gt 0 ]; do
    case $1 in
        --out)
            if [ -z "${2:-}" ]; then
                echo "demo.sh: --out wants a folder" >&2
                exit 2
            fi
            out=$(realpath -m "$caller/$2")
            case $2 in /*) out=$2 ;; esac
            shift
            ;;
        -h | --help)
            usage
            exit 0
            ;;
        *)
            echo "demo.sh: unknown option: $1" >&2
            usage >&2
            exit 2
            ;;
    esac
    shift
done

mivora_require_packages "${MIVORA_BUILD_PACKAGES[@]}" "${MIVORA_RUN_PACKAGES[@]}"

cmake -S . -B build/demo -G Ninja -DCMAKE_BUILD_TYPE=Release \
    -DMIVORA_BUILD_TESTS=OFF -DMIVORA_BUILD_PICTURES=ON > /dev/null
cmake --build build/demo --parallel "$(nproc)" --target draw-pictures
mkdir -p "$out"
build/demo/docs/pictures/draw-pictures "$out"
echo "The pictures are in $out:"
ls "$out"/*.png

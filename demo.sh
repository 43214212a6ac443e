#!/bin/bash
# Installs what is missing, builds the carousel example and runs it: in a window where there is a
# display, else into PNG files.
set -euo pipefail
caller=$PWD
cd "$(dirname "${BASH_SOURCE[0]}")"
. cmake/packages.sh

usage() {
    cat <<'USAGE'
usage: ./demo.sh [--headless] [--out DIR]

Builds the carousel example and runs it. With a display it opens a window: drag the ring, turn the
wheel, point at cards, click them, pinch it on a touchpad; with fingers, tap cards, scale and turn
them. Without a display, or with --headless, it plays a script and writes what is seen as PNG files.
On Debian 12, packages that are missing are installed first.

  --headless   opens no window
  --out DIR    where the files go; made if need be. Without it: build/demo-frames
  -h, --help   prints this
USAGE
}

headless=()
out=$PWD/build/demo-frames
while [ $# -gt 0 ]; do
    case $1 in
        --headless) headless=(--headless) ;;
        --out)
            if [ -z "${2:-}" ]; then
                echo "demo.sh: --out wants a folder" >&2
                exit 2
            fi
            case $2 in
                /*) out=$2 ;;
                *) out=$caller/$2 ;;
            esac
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

# Without a display nothing of GTK is needed.
desktop=ON
if [ ${#headless[@]} -gt 0 ] || [ -z "${WAYLAND_DISPLAY:-}${DISPLAY:-}" ]; then
    desktop=OFF
    mivora_require_packages "${MIVORA_BUILD_PACKAGES[@]}" "${MIVORA_RUN_PACKAGES[@]}"
else
    mivora_require_packages "${MIVORA_BUILD_PACKAGES[@]}" "${MIVORA_RUN_PACKAGES[@]}" \
        "${MIVORA_GTK_PACKAGES[@]}"
fi

cmake -S . -B build/demo -G Ninja -DCMAKE_BUILD_TYPE=Release -DMIVORA_BUILD_TESTS=OFF \
    -DMIVORA_BUILD_EXAMPLES=ON -DMIVORA_BUILD_GTK=$desktop > /dev/null
cmake --build build/demo --parallel "$(nproc)" --target carousel
exec build/demo/examples/carousel "${headless[@]}" --out "$out"

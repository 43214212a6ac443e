# shellcheck shell=bash
# shellcheck disable=SC2034  # the lists are for the scripts that source this
# The Debian packages the scripts of this repository need, and how they come by them. Sourced.

# To build the library.
MIVORA_BUILD_PACKAGES=(
    g++ cmake ninja-build pkg-config
    libcairo2-dev libepoxy-dev libfontconfig-dev libgdk-pixbuf-2.0-dev libglib2.0-dev libglm-dev
    libpango1.0-dev
)

# To run what draws: EGL and the software rasteriser, which are loaded at run time, and a font.
MIVORA_RUN_PACKAGES=(libegl1 libegl-mesa0 libgl1-mesa-dri fonts-dejavu-core)

# To build and run the tests: among them the encoders of image files, the decoder of WebP files, and
# a font of coloured emoji. And to build the API reference, which is a test of the comments.
MIVORA_TEST_PACKAGES=(
    libgtest-dev libgmock-dev
    libgif-dev libjpeg-dev libpng-dev libtiff-dev libwebp-dev webp-pixbuf-loader
    fonts-noto-color-emoji
    doxygen
)

# To build the host on a desktop, and to run it.
MIVORA_GTK_PACKAGES=(libgtk-4-dev libgl1)

# To test it: display servers without a screen, and what drives and photographs them.
MIVORA_HOST_TEST_PACKAGES=(
    libwayland-dev libwlroots-dev libx11-dev libxkbcommon-dev
    at-spi2-core dbus-daemon grim sway xdotool xvfb
)

# For the second compiler.
MIVORA_CLANG_PACKAGES=(clang)

# For the fuzz targets: that compiler with its sanitizers.
MIVORA_FUZZ_PACKAGES=(clang libclang-rt-14-dev)

# Prints those of the given packages that are not installed. Asks dpkg only, no network.
mivora_missing_packages() {
    local package status
    for package in "$@"; do
        # shellcheck disable=SC2016  # the field name belongs to dpkg-query
        status=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null) || status=
        if [ "$status" != installed ]; then
            printf '%s\n' "$package"
        fi
    done
}

# Makes sure that the given packages are installed, by apt-get where some are missing. Returns 1
# after saying what to install, where that cannot be done from here.
mivora_require_packages() {
    local missing as_root=() install
    if ! command -v dpkg-query > /dev/null; then
        echo "This is not Debian: make sure that what these packages hold is installed: $*" >&2
        return 0
    fi
    mapfile -t missing < <(mivora_missing_packages "$@")
    if [ ${#missing[@]} = 0 ]; then
        return 0
    fi

    install="apt-get install --no-install-recommends ${missing[*]}"
    if [ "$(id -u)" != 0 ]; then
        # sudo may ask for a password where there is somebody to ask.
        if command -v sudo > /dev/null && { [ -t 0 ] || sudo -n true 2> /dev/null; }; then
            as_root=(sudo)
        else
            echo "These packages are missing: ${missing[*]}" >&2
            echo "Install them as root: $install" >&2
            return 1
        fi
    fi

    echo "Installing ${missing[*]}"
    if ! "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update -q < /dev/null ||
        ! "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
            apt-get install -q -y --no-install-recommends "${missing[@]}" < /dev/null; then
        echo "These packages are missing and could not be installed: ${missing[*]}" >&2
        echo "Install them as root: $install" >&2
        return 1
    fi
}

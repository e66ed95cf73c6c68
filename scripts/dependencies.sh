#!/usr/bin/env bash
# Installs the system and npm packages Lumo needs to build, run and test, and does
# nothing (quickly) when they are already there. Sourced by run.sh and test.sh.
set -euo pipefail

lumo_packages=(
    build-essential cmake ninja-build ccache pkg-config  # compiler and build
    qt6-base-dev qt6-base-dev-tools libgl-dev libvulkan-dev  # Qt Widgets, print support
    qt6-webengine-dev qt6-webengine-dev-tools qt6-webchannel-dev  # the reading page
    libuchardet-dev   # guessing the encoding of non-UTF-8 files
    libqpdf-dev       # dark backgrounds and bookmarks in exported PDF pages
    xdg-utils         # xdg-mime: making Lumo the default for Markdown files
    desktop-file-utils appstream  # checking the desktop entry and AppStream metadata
    dpkg-dev file lintian  # the Debian package: its library dependencies, and checking it
    libbenchmark-dev  # the benchmarks under bench/
    xvfb xauth        # a display for the GUI tests
    weston qt6-wayland  # checking Lumo as a native Wayland client
    xdotool           # real key events in the keyboard tests
    fonts-dejavu-core fonts-noto-color-emoji # text and emoji in the page
)

lumo_missing_packages() {
    local status
    status=$(dpkg-query -W -f='${db:Status-Abbrev} ${Package}\n' "${lumo_packages[@]}" 2>/dev/null || true)
    for package in "${lumo_packages[@]}"; do
        grep -qE "^ii +${package}\$" <<<"$status" || echo "$package"
    done
    command -v node >/dev/null || echo nodejs
    command -v npm >/dev/null || echo npm
}

# The page's npm packages are installed by the build, from the committed lockfile.
lumo_install_dependencies() {
    local missing
    missing=$(lumo_missing_packages | tr '\n' ' ')
    if [ -n "${missing// /}" ]; then
        echo "Installing system packages: $missing"
        local sudo=""
        [ "$(id -u)" -eq 0 ] || sudo="sudo"
        $sudo apt-get update -qq
        # shellcheck disable=SC2086
        DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends $missing
    fi
}

# Configures build/ (or $LUMO_BUILD_DIR) and builds the given targets, or all.
lumo_build() {
    local source="$1"
    shift
    local build="${LUMO_BUILD_DIR:-$source/build}"
    local launcher=()
    command -v ccache >/dev/null && launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
    # Paths relative to the checkout, so that another clone of it (CI's) reuses the cache.
    export CCACHE_BASEDIR="$source" CCACHE_NOHASHDIR=1
    cmake -S "$source" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
        -DLUMO_WERROR=ON "${launcher[@]}" >/dev/null
    local targets=()
    for target in "$@"; do targets+=(--target "$target"); done
    cmake --build "$build" --parallel "${targets[@]}"
}

#!/usr/bin/env bash
# Builds the Debian package lumo_VERSION-1_ARCH.deb into build/ (or $LUMO_BUILD_DIR)
# and prints its path. Installs whatever is missing to build it, reuses an existing
# build, and runs lintian on the result when lintian is installed.
#
#   scripts/package.sh
#   sudo apt install ./build/lumo_*.deb
set -euo pipefail
source="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
. "$source/scripts/dependencies.sh"
build="${LUMO_BUILD_DIR:-$source/build}"

lumo_install_dependencies
lumo_build "$source" lumo
(cd "$build" && cpack -G DEB -B "$build/package" >/dev/null)
package=$(ls -t "$build"/package/lumo_*.deb | head -n 1)
if command -v lintian >/dev/null; then
    # lintian refuses to run as root without this.
    lintian --allow-root --fail-on error "$package"
fi
echo "$package"

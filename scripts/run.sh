#!/usr/bin/env bash
# Builds Lumo and starts it: on the files given, else on the welcome document.
set -euo pipefail
source="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
. "$source/scripts/dependencies.sh"

lumo_install_dependencies
lumo_build "$source" lumo
exec "${LUMO_BUILD_DIR:-$source/build}/bin/lumo" "$@"

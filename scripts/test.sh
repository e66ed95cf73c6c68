#!/usr/bin/env bash
# Builds Lumo with its tests and benchmarks and runs every test.
set -euo pipefail
source="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
. "$source/scripts/dependencies.sh"

lumo_install_dependencies
lumo_build "$source"
cd "${LUMO_BUILD_DIR:-$source/build}"
ctest --output-on-failure --timeout 300 "$@"

#!/usr/bin/env bash
# Builds the Debian packages marrowkit and marrowkit-cli into build/release/packages, and checks them with lintian
# where that is installed. The same commit gives the same packages.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/steps.sh

scripts/setup.sh build
if [[ -e .git ]]; then
    SOURCE_DATE_EPOCH=$(git log -1 --format=%ct)
    export SOURCE_DATE_EPOCH
fi
echo "Building ..."
build release
echo "Packing ..."
rm -rf build/release/packages
(umask 022 && cpack --config build/release/CPackConfig.cmake -B build/release/packages >build/release/cpack.log) || {
    tail -n 20 build/release/cpack.log >&2
    echo "make-deb.sh: the packages could not be made; the lines above say why." >&2
    exit 1
}
rm -rf build/release/packages/_CPack_Packages
if command -v lintian >/dev/null; then
    lintian --fail-on error,warning --tag-display-limit 0 build/release/packages/*.deb
fi
ls -1 build/release/packages/*.deb

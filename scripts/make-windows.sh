#!/usr/bin/env bash
# Builds marrowkit-cli.exe for 64-bit Windows (7 and later) with mingw-w64, puts it into build/windows/packages, and runs
# the tests under Wine where Wine is installed (apt install wine wine64: 600 MB, so nothing here installs it).
#
#   scripts/make-windows.sh              builds, packs, tests
#   scripts/make-windows.sh --no-tests   builds and packs
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/steps.sh

tests=yes
case ${1:-} in
    "") ;;
    --no-tests) tests=no ;;
    *)
        echo "make-windows.sh: unknown argument '$1' (--no-tests)" >&2
        exit 2
        ;;
esac

step "Looking for the packages that building needs"
scripts/setup.sh windows
step "Building marrowkit-cli.exe"
build windows marrowkit-cli
mkdir -p build/windows/packages
x86_64-w64-mingw32-strip -o build/windows/packages/marrowkit-cli.exe build/windows/src/cli/marrowkit-cli.exe
ls -l build/windows/packages/marrowkit-cli.exe
[[ $tests == yes ]] || exit 0

if ! command -v wine >/dev/null && ! command -v wine64 >/dev/null; then
    echo "There is no Wine here: the program was not tried, and no test was run."
    exit 0
fi
step "Building the tests"
build windows
step "Running the tests under Wine"
# A prefix of its own, so that nobody's settings are touched. Wine's server for it ends with the last program.
export WINEPREFIX=$PWD/build/windows/wineprefix WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
if [[ -n ${MARROWKIT_TEST_DATA:-} ]]; then
    data=$(realpath "$MARROWKIT_TEST_DATA")
    export MARROWKIT_TEST_DATA="Z:${data//\//\\}"
fi
wine=$(command -v wine64 || command -v wine)
timeout 120 "$wine" wineboot --init >/dev/null 2>&1 || {
    echo "make-windows.sh: Wine could not set up $WINEPREFIX" >&2
    exit 1
}
ctest --preset windows

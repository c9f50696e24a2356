#!/usr/bin/env bash
# Sets up, builds and runs every test. Arguments go to ctest: ./test.sh -R Jet
set -euo pipefail
cd "$(dirname "$0")"
source scripts/steps.sh

step "1/3 Looking for the packages that building and testing need"
# Sample files that do not belong to the project lie beside it, where there are any. Tests that want them say
# loudly that they were skipped when there are none.
if [[ -z ${MARROWKIT_TEST_DATA:-} && -d ../shared/data ]]; then
    MARROWKIT_TEST_DATA=$(cd ../shared/data && pwd)
fi
if [[ -n ${MARROWKIT_TEST_DATA:-} ]]; then
    export MARROWKIT_TEST_DATA
    echo "Sample files: $MARROWKIT_TEST_DATA"
else
    echo "No sample files: tests that compare with genuine databases and datafiles are skipped."
fi
scripts/setup.sh build tests

preset=${MARROWKIT_PRESET:-dev}
step "2/3 Building (preset $preset; some minutes at first, seconds when nothing changed)"
build "$preset"

step "3/3 Testing"
export QT_QPA_PLATFORM=${QT_QPA_PLATFORM:-offscreen}
ctest --test-dir "build/$preset" --output-on-failure --no-tests=error --parallel "$(nproc)" "$@" || {
    echo "test.sh: tests failed; what they printed stands above. One alone: ./test.sh -R NAME" >&2
    exit 1
}

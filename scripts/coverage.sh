#!/usr/bin/env bash
# Builds with the preset "coverage", runs the tests and prints lines and branches covered, a row for each folder of src.
#
#   scripts/coverage.sh [CTEST ARGUMENT...]     for instance: scripts/coverage.sh -E 'interop|fault'
#
# Needs gcovr. Counts of an earlier run are thrown away; the report with every line is build/coverage/report/index.html.
set -euo pipefail
cd "$(dirname "$0")/.."

command -v gcovr >/dev/null || {
    echo "coverage.sh: gcovr is not installed (apt-get install gcovr)" >&2
    exit 2
}
cmake --preset coverage >/dev/null
cmake --build build/coverage
find build/coverage -name '*.gcda' -delete
export QT_QPA_PLATFORM=${QT_QPA_PLATFORM:-offscreen}
ctest --test-dir build/coverage --output-on-failure --parallel "$(nproc)" "$@" ||
    echo "coverage.sh: some tests failed; the figures are those of what ran" >&2

mkdir -p build/coverage/report
gcovr --root . --filter src/ --object-directory build/coverage --exclude-throw-branches --exclude-unreachable-branches \
    --gcov-ignore-parse-errors --json-summary build/coverage/summary.json \
    --html-details build/coverage/report/index.html >/dev/null
python3 scripts/coverage_table.py build/coverage/summary.json

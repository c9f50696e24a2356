#!/usr/bin/env bash
# Runs unit tests under valgrind's memcheck. Ends with 1 when one of them reads or writes where it must not, uses what was
# never set, or loses memory.
#
#   scripts/valgrind.sh [TEST PROGRAM...]     default: those below, as far as build/dev has them
#
# Tests that start processes or take minutes by themselves are left out; everything is some thirty times slower here.
set -uo pipefail
cd "$(dirname "$0")/.." || exit 2

build=${MARROWKIT_VALGRIND_BUILD:-build/dev}
default=(test_errors process_test test_text test_files test_registry jet_format_test expression_test storage_test
    jet_engine_test sql_test dao_test checksum_test creation_test maintenance_test import_test cli_test)
# Forks and kills, sizes that take minutes, models of thousands of steps.
left_out='-*Death*:*EXIT*:StartProgram*:*TwoProcesses*:*Model*:*Large*:*Crash*:*Genuine*:StandardStreams*:StopSignalsTest.Ends*'

command -v valgrind >/dev/null || {
    echo "valgrind.sh: valgrind is not installed (apt-get install valgrind)" >&2
    exit 2
}
found=0
for test in "${@:-${default[@]}}"; do
    program=$(find "$build/tests" -type f -name "$test" -perm -u+x | head -n 1)
    if [[ -z $program ]]; then
        echo "$test: not built"
        continue
    fi
    log=$(mktemp)
    if nice -n 19 valgrind --quiet --error-exitcode=99 --leak-check=full --errors-for-leak-kinds=definite \
        --child-silent-after-fork=yes --suppressions=scripts/valgrind.supp "$program" --gtest_brief=1 \
        --gtest_filter="$left_out" >"$log" 2>&1; then
        echo "$test: clean, $(grep -oE '[0-9]+ tests' "$log" | tail -n 1)"
    else
        echo "$test: FINDINGS or failures"
        tail -n 40 "$log"
        found=1
    fi
    rm -f "$log"
done
exit $found

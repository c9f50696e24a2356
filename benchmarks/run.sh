#!/usr/bin/env bash
# Sets up, builds optimised, runs every benchmark program beside the peers that are installed, and prints what they
# print: times, and ratios within one run. All of it also goes to build/bench/results.txt.
#
#   benchmarks/run.sh [NAME...]      only programs whose name holds one of these, e.g.: benchmarks/run.sh crc jet
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/steps.sh

step "1/3 Looking for the packages that benchmarks need"
scripts/setup.sh build benchmarks

step "2/3 Building (preset bench)"
build bench

step "3/3 Measuring"
results=build/bench/results.txt
{
    echo "# $(date -u +%Y-%m-%d), commit $(git describe --always --dirty --abbrev=12 '--match=v[0-9]*' 2>/dev/null || echo unknown)"
    echo "# $(nproc) cores: $(sed -n 's/^model name[^:]*: //p' /proc/cpuinfo | head -n 1), load $(cut -d ' ' -f 1 /proc/loadavg)"
} | tee "$results"

failed=()
for program in build/bench/benchmarks/*/*_benchmark; do
    name=$(basename "$program")
    if (($# > 0)); then
        wanted=
        for part in "$@"; do [[ $name == *"$part"* ]] && wanted=1; done
        [[ -n $wanted ]] || continue
    fi
    printf '\n%s\n' "## $name" | tee -a "$results"
    if [[ $name == crc_benchmark ]]; then
        "$program" --benchmark_format=json --benchmark_repetitions=3 2>/dev/null | python3 benchmarks/crc/ratios.py
    else
        "$program"
    fi 2>&1 | tee -a "$results" || failed+=("$name")
done

echo
echo "All of this is in $results."
if ((${#failed[@]} > 0)); then
    echo "benchmarks/run.sh: these failed: ${failed[*]}" >&2
    exit 1
fi

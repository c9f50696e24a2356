#!/usr/bin/env bash
# Looks at the sources without running them: format, scripts, clang-tidy, cppcheck. Ends with 1 when anything is found.
#
#   scripts/lint.sh [--quick] [FOLDER...]     default: src
#
# --quick leaves out clang-tidy and cppcheck, which take minutes. Needs a configured build/dev (cmake --preset dev) for
# the compiler's options. What is switched off stands with its reason in .clang-tidy and cppcheck-suppressions.txt.
set -uo pipefail
cd "$(dirname "$0")/.." || exit 2

quick=
if [[ ${1:-} == --quick ]]; then
    quick=yes
    shift
fi
folders=("${@:-src}")
build=${MARROWKIT_LINT_BUILD:-build/dev}
found=0

need() {
    command -v "$1" >/dev/null && return
    echo "lint.sh: $1 is not installed (apt-get install $2)" >&2
    exit 2
}

step() {
    echo "== $1"
    shift
    "$@" || found=1
}

format() {
    git ls-files -z '*.h' '*.cpp' | xargs -0 clang-format --dry-run -Werror
}

shell_scripts() {
    local scripts result=0
    mapfile -t scripts < <(git ls-files '*.sh' '.ci/*')
    for script in "${scripts[@]}"; do
        bash -n "$script" || result=1
    done
    shellcheck --severity=warning "${scripts[@]}" || result=1
    return $result
}

python_scripts() {
    git ls-files -z '*.py' | xargs -0 python3 -c 'import ast, sys; [ast.parse(open(p).read(), p) for p in sys.argv[1:]]'
}

# One program for each file, so that a header's finding is told once for each file that includes it, and a crash costs one.
tidy() {
    find "${folders[@]}" -name '*.cpp' -print0 | sort -z |
        while IFS= read -r -d '' file; do
            grep -q "/$file\"" "$build/compile_commands.json" && printf '%s\0' "$file"
        done |
        nice -n 19 xargs -0 -r -n 1 -P "$(nproc)" clang-tidy -p "$build" --quiet 2>/dev/null
}

check() {
    nice -n 19 cppcheck --std=c++20 --language=c++ --enable=warning,performance,portability --inline-suppr \
        --suppressions-list=scripts/cppcheck-suppressions.txt --error-exitcode=1 --quiet -j "$(nproc)" -I src -I tests \
        "${folders[@]}"
}

need clang-format clang-format
need shellcheck shellcheck
step "clang-format" format
step "shell scripts" shell_scripts
step "Python scripts" python_scripts
if [[ -z $quick ]]; then
    need clang-tidy clang-tidy
    need cppcheck cppcheck
    [[ -f $build/compile_commands.json ]] || {
        echo "lint.sh: $build is not configured; run: cmake --preset dev" >&2
        exit 2
    }
    step "clang-tidy ${folders[*]}" tidy
    step "cppcheck ${folders[*]}" check
fi
((found == 0)) && echo "Nothing found."
exit $found

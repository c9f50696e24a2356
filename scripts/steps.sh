# shellcheck shell=bash
# What run.sh, test.sh and benchmarks/run.sh have in common. To be sourced, in the project's folder.

step() {
    printf '\n== %s\n' "$1"
}

# build PRESET [TARGET...]: configures and builds, showing how far it is. On failure the compiler's words and a
# sentence about them.
build() {
    local preset=$1 log
    shift
    mkdir -p build
    log=build/$preset.log
    if ! cmake --preset "$preset" >"$log" 2>&1; then
        cat "$log" >&2
        echo "$(basename "$0"): CMake could not configure the build; the lines above say why. When they blame an older" \
            "state of build/$preset, delete that folder and try again." >&2
        exit 1
    fi
    # On a terminal ninja shows its progress in one line itself; elsewhere every fiftieth step has to do.
    if [[ -t 1 ]]; then
        cmake --build "build/$preset" ${@:+--target "$@"} && return
    else
        cmake --build "build/$preset" ${@:+--target "$@"} 2>&1 | tee -a "$log" |
            awk '/^\[[0-9]+\/[0-9]+\]/ { last = $0; if (++steps % 50 == 1) { print; last = ""; fflush() } next }
                 { print; fflush() } END { if (last != "") print last }' && return
    fi
    echo "$(basename "$0"): the build failed; the first error above says why." >&2
    exit 1
}

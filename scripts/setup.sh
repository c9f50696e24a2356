#!/usr/bin/env bash
# Installs the Debian packages that building, testing or measuring Marrowkit needs.
#
#   scripts/setup.sh [build] [tests] [benchmarks]     default: build
#   scripts/setup.sh windows                          only what scripts/make-windows.sh builds with (no Qt)
#
# Asks for nothing, says nothing when nothing is missing, and needs root or sudo only when something is.
set -euo pipefail

build=(g++ cmake ninja-build libcli11-dev nlohmann-json3-dev qt6-base-dev qt6-svg-dev libgl1-mesa-dev python3)
tests=(libgtest-dev libgmock-dev libsqlite3-dev mdbtools procps faketime xdotool xvfb)
benchmarks=(libbenchmark-dev libsqlite3-dev libdeflate-dev zlib1g-dev mdbtools rhash sqlite3)
windows=(g++-mingw-w64-x86-64-posix cmake ninja-build libcli11-dev nlohmann-json3-dev libgtest-dev libgmock-dev googletest)

packages=("${build[@]}")
[[ $* == windows ]] && packages=()
for what in "$@"; do
    case $what in
        build) ;;
        windows) packages+=("${windows[@]}") ;;
        tests) packages+=("${tests[@]}") ;;
        benchmarks) packages+=("${benchmarks[@]}") ;;
        *)
            echo "setup.sh: unknown part '$what' (build, tests, benchmarks, windows)" >&2
            exit 2
            ;;
    esac
done
# One of the readers that check our files comes from npm; a Node.js that is there already will do.
if [[ " $* " == *" tests "* ]] && ! command -v npm >/dev/null; then
    packages+=(nodejs npm)
fi

if ! command -v dpkg-query >/dev/null; then
    echo "setup.sh: this is no Debian system. Please install the counterparts of: ${packages[*]}" >&2
    exit 0
fi

missing=()
for package in "${packages[@]}"; do
    status=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true)
    [[ $status == installed ]] || missing+=("$package")
done
if ((${#missing[@]} == 0)); then
    exit 0
fi

root=()
if ((EUID != 0)); then
    command -v sudo >/dev/null || {
        echo "setup.sh: please install as root: apt-get install ${missing[*]}" >&2
        exit 1
    }
    root=(sudo)
fi

log=$(mktemp)
trap 'rm -f "$log"' EXIT
echo "Installing ${missing[*]} ..."
if ! { "${root[@]}" apt-get update && "${root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends "${missing[@]}"; } >"$log" 2>&1; then
    tail -n 20 "$log" >&2
    echo "setup.sh: the packages could not be installed; the lines above say why." >&2
    exit 1
fi

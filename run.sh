#!/usr/bin/env bash
# Sets up, builds, does the main job once on a demonstration library (a database out of a datafile, with a search for
# the ROM files that go with it), shows what came out, and opens the program on that library when there is a display.
# Arguments go to marrowkit-cli instead: ./run.sh list
set -euo pipefail
cd "$(dirname "$0")"
source scripts/steps.sh

if (($# == 0)); then
    step "1/4 Looking for the packages that building needs"
fi
scripts/setup.sh build

preset=${MARROWKIT_PRESET:-release}
if (($# == 0)); then
    step "2/4 Building (preset $preset; some minutes at first, seconds when nothing changed)"
    build "$preset"
else
    build "$preset" >&2
    exec "build/$preset/src/cli/marrowkit-cli" "$@"
fi
cli=build/$preset/src/cli/marrowkit-cli

step "3/4 Making a demonstration library and importing a datafile of 320 games into it"
demo=build/demo
library=$demo/Library
rm -rf "$demo"
mkdir -p "$library"
python3 samples/make-demo.py "$demo"
"$cli" create-template "$library/Empty.mdb" >/dev/null
"$cli" --library "$library" import "$demo/Nimbus 8 - TOSEC.dat" --name "Nimbus 8" --roms "$demo/Roms"
"$cli" check "$library/Nimbus 8/Nimbus 8.mdb"

echo
echo "Some of its games:"
"$cli" sql "$library/Nimbus 8/Nimbus 8.mdb" \
    "SELECT TOP 8 Name, Publisher, Filename FROM Games INNER JOIN Publishers ON Games.PU_Id = Publishers.PU_Id ORDER BY Name"
echo
echo "Look around yourself:"
echo "  $cli --library $library --help"

program=build/$preset/src/shell/marrowkit
step "4/4 Opening the program on the demonstration library"
if [[ ! -x $program ]]; then
    echo "This build has no windows (MARROWKIT_WINDOWS is off)."
elif [[ -z ${DISPLAY:-} && -z ${WAYLAND_DISPLAY:-} ]]; then
    echo "There is no display here. On a desktop, this opens the program:"
    echo "  MARROWKIT_LIBRARY=\"$PWD/$library\" $program"
else
    echo "Close the window to come back."
    MARROWKIT_LIBRARY=$PWD/$library "$program"
fi

#!/usr/bin/env bash
# Sets up, builds and does the main job once on a demonstration library: builds a database out of a datafile, with a scan of
# the ROM files that go with it. Then shows what came out. Arguments go to marrowkit-cli instead: ./run.sh list
set -euo pipefail
cd "$(dirname "$0")"

scripts/setup.sh build
preset=${MARROWKIT_PRESET:-release}
echo "Building ..."
cmake --preset "$preset" >/dev/null
cmake --build "build/$preset" | tail -n 1
cli=build/$preset/src/cli/marrowkit-cli

if (($# > 0)); then
    exec "$cli" "$@"
fi

demo=build/demo
library=$demo/Library
rm -rf "$demo"
mkdir -p "$library"
python3 samples/make-demo.py "$demo"
"$cli" create-template "$library/Empty.mdb"

echo
echo "Importing $demo/Nimbus 8 - TOSEC.dat ..."
"$cli" --library "$library" import "$demo/Nimbus 8 - TOSEC.dat" --name "Nimbus 8" --roms "$demo/Roms"

echo
echo "The library:"
"$cli" --library "$library" list
echo
echo "The database:"
"$cli" --library "$library" show "Nimbus 8"
echo
echo "Some of its games:"
"$cli" sql "$library/Nimbus 8/Nimbus 8.mdb" \
    "SELECT TOP 8 Name, Publisher, Filename FROM Games INNER JOIN Publishers ON Games.PU_Id = Publishers.PU_Id ORDER BY Name"
echo
"$cli" check "$library/Nimbus 8/Nimbus 8.mdb"
echo "Look around yourself:"
echo "  $cli --library $library --help"

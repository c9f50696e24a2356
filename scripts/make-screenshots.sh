#!/usr/bin/env bash
# Takes the pictures of docs/images again, from the windows themselves. Needs no display.
#
#   scripts/make-screenshots.sh             the pictures of the README and of docs/tour.md
#   scripts/make-screenshots.sh FOLDER      every window and message instead, to look through
#                                           (QT_SCALE_FACTOR=2 for those of a high-resolution screen,
#                                           MARROWKIT_DARK=1 for those of a dark desktop)
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/steps.sh

scripts/setup.sh build tests
build dev screenshots

all=$(mktemp -d)
trap 'rm -rf "$all"' EXIT
# A screen as people have it: message boxes and windows measure themselves by it.
cat >"$all/screen.json" <<'JSON'
{ "screens": [ { "name": "screen", "x": 0, "y": 0, "width": 1280, "height": 900,
                 "logicalDpi": 96, "logicalBaseDpi": 96, "dpr": 1 } ] }
JSON
export QT_QPA_PLATFORM="offscreen:configfile=$all/screen.json"

if (($# > 0)); then
    build/dev/tests/gui/screenshots "$1"
    exit
fi
build/dev/tests/gui/screenshots "$all"
mkdir -p docs/images
for picture in main-window context-menu import-options progress \
    tour-menu tour-datafile tour-folder tour-scan tour-reminder tour-selected; do
    cp "$all/$picture.png" docs/images/
    echo "docs/images/$picture.png: $(stat -c %s "docs/images/$picture.png") bytes"
done

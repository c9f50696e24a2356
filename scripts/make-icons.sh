#!/usr/bin/env bash
# Draws the program's icon in the sizes of the hicolor theme again, from resources/images/marrowkit.svg.
set -euo pipefail
cd "$(dirname "$0")/.."
command -v rsvg-convert >/dev/null || {
    echo "make-icons.sh: needs rsvg-convert (Debian package librsvg2-bin)" >&2
    exit 1
}
for size in 16 22 24 32 48 64 128 256; do
    rsvg-convert --width "$size" --height "$size" resources/images/marrowkit.svg \
        --output "packaging/icons/marrowkit-$size.png"
done

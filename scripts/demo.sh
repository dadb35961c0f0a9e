#!/usr/bin/env bash
# The main job: builds the native library and tessiva-convert, then converts the
# built-in test card to YUY2 and back, writing testcard.png to look at.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh native
cmake -S . -B build/linux -G Ninja -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build build/linux --target tessiva-convert
build/linux/bin/tessiva-convert -y --to yuy2 --png testcard.png build/testcard.yuy2
echo "wrote build/testcard.yuy2 (1920x1080 YUY2) and testcard.png"

#!/bin/sh
# Regenerates the thumbnails of the shipped effect packages (and the pictures of their .cube
# LUTs) with the program's own effect executor. Needs a configured build directory.
set -e
cd "$(dirname "$0")/.."
BUILD_DIR=${ORVEL_BUILD_DIR:-build}
cmake --build "$BUILD_DIR" --target orvel-effect-thumbnails
if [ -z "$DISPLAY" ]; then
  exec xvfb-run -a -s "-screen 0 1280x720x24" "$BUILD_DIR/bin/orvel-effect-thumbnails" packages/effects
fi
exec "$BUILD_DIR/bin/orvel-effect-thumbnails" packages/effects

#!/bin/sh
# Redraws the preview strips of the shipped transition packages with the program's own
# compositor. Needs a configured build directory.
set -e
cd "$(dirname "$0")/.."
BUILD_DIR=${ORVEL_BUILD_DIR:-build}
cmake --build "$BUILD_DIR" --target orvel-transition-strips
if [ -z "$DISPLAY" ]; then
  exec xvfb-run -a -s "-screen 0 1280x720x24" "$BUILD_DIR/bin/orvel-transition-strips" packages/transitions
fi
exec "$BUILD_DIR/bin/orvel-transition-strips" packages/transitions

#!/usr/bin/env bash
# Installs what is missing, configures, builds and runs every test headless.
# GL and real-window tests run on the xcb platform inside one Xvfb; the rest use offscreen.
set -euo pipefail
cd "$(dirname "$0")"
root=$PWD

./scripts/install-deps.sh

# A fresh clone in another folder still hits the compiler cache.
export CCACHE_BASEDIR="$root" CCACHE_NOHASHDIR=1
build_dir=${ORVEL_BUILD_DIR:-build}
# shellcheck disable=SC2086
cmake -S . -B "$build_dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_UNITY_BUILD=ON ${ORVEL_CMAKE_ARGS:-}
cmake --build "$build_dir" -j"$(nproc)"

export XDG_RUNTIME_DIR="${XDG_RUNTIME_DIR:-/tmp/orvel-xdg-$(id -u)}"
mkdir -p -m 700 "$XDG_RUNTIME_DIR"
cd "$build_dir"
# -noreset: by default Xvfb resets whenever its last client leaves, and a test that connects during
# that reset cannot open the display.
xvfb-run -a -s "-screen 0 1920x1080x24 -noreset" ctest --output-on-failure -j"$(nproc)" "$@"

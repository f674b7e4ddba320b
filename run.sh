#!/usr/bin/env bash
# Installs what is missing, configures, builds and starts the editor.
set -euo pipefail
cd "$(dirname "$0")"
root=$PWD

./scripts/install-deps.sh

export CCACHE_BASEDIR="$root" CCACHE_NOHASHDIR=1
build_dir=${ORVEL_BUILD_DIR:-build}
cmake -S . -B "$build_dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_UNITY_BUILD=ON
cmake --build "$build_dir" -j"$(nproc)" --target orvel
exec "$build_dir/bin/orvel"

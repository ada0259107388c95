#!/usr/bin/env bash
# Configures and builds into build/ (or $BUILD_DIR). CI builds with -Werror.
set -euo pipefail
cd "$(dirname "$0")/.."
BUILD_DIR=${BUILD_DIR:-build}
WERROR=OFF
[ "${CI:-}" = "true" ] && WERROR=ON
cmake -S . -B "$BUILD_DIR" -G Ninja -DCMAKE_BUILD_TYPE="${BUILD_TYPE:-RelWithDebInfo}" -DKORVANE_WERROR="$WERROR" >/dev/null
cmake --build "$BUILD_DIR" -j "$(nproc)"

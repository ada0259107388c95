#!/usr/bin/env bash
# Sets up, builds and runs every test through CTest.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
scripts/build.sh
BUILD_DIR=${BUILD_DIR:-build}
ctest --test-dir "$BUILD_DIR" --output-on-failure -j "$(nproc)" "$@"
# A minute of fuzzing in all, with every kept crash input replayed first.
[ "${KORVANE_SKIP_FUZZ:-}" = 1 ] || scripts/fuzz.sh 8
scripts/test-ratio.sh

#!/usr/bin/env bash
# Sets up, builds and starts the client for the present user.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
scripts/build.sh
BUILD_DIR=${BUILD_DIR:-build}
exec "$BUILD_DIR/src/korvane-client" "$@"

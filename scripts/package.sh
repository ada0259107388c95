#!/usr/bin/env bash
# Builds the client's Debian package from a release build in build-package/
# (or $BUILD_DIR) and prints the path of the .deb. Arguments go to cmake, e.g.
# -DKORVANE_DEB_MAINTAINER="Name <address>" -DKORVANE_DEB_COPYRIGHT=/path/to/copyright.
set -euo pipefail
cd "$(dirname "$0")/.."
# Relative to the source tree unless absolute.
BUILD_DIR=$(realpath -m -- "${BUILD_DIR:-build-package}")
# Only what the package holds is built: the tests and tools stay out of a release build.
cmake -S . -B "$BUILD_DIR" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=/usr \
    -DCMAKE_SKIP_INSTALL_ALL_DEPENDENCY=ON "$@" >/dev/null
cmake --build "$BUILD_DIR" -j "$(nproc)" --target korvane-client korvane-relayd genicons_theme korvane_docs
rm -rf "$BUILD_DIR/package"
cpack --config "$BUILD_DIR/CPackConfig.cmake" -B "$BUILD_DIR/package" >&2
ls "$BUILD_DIR"/package/*.deb

#!/usr/bin/env bash
# Builds the release preset and installs it. PREFIX (default /usr/local) and DESTDIR say where to.
set -euo pipefail
cd "$(dirname "$0")/.."
cmake --preset release -DCMAKE_INSTALL_PREFIX="${PREFIX:-/usr/local}"
cmake --build --preset release
cmake --install build/release

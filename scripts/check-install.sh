#!/usr/bin/env bash
# Installs to a folder of its own, moves it, and there builds and runs a program outside the tree, once found by CMake
# and once by pkg-config. The move shows that the package does not depend on where it was installed.
set -euo pipefail
cd "$(dirname "$0")/.."
tree=$PWD
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --preset release -B build/install -DQX_BUILD_TESTS=OFF -DQX_BUILD_EXAMPLES=OFF -DQX_BUILD_BENCHMARKS=OFF >/dev/null
cmake --build build/install -- --quiet
cmake --install build/install --prefix "$work/first" >/dev/null
mv "$work/first" "$work/prefix"
libdir=$(dirname "$(dirname "$(find "$work/prefix" -name qx_notify.pc)")")

runs() {   # a program's words must show that the statement came out of the installed back end
    local said
    said=$(QX_LOG_LEVEL=WARNING "$1" 2>&1) || { echo "$2: $said" >&2; return 1; }
    grep -q ' WARNING - .*outside: all libraries work$' <<<"$said" || { echo "$2: it said: $said" >&2; return 1; }
    echo "$2: built and ran"
}

cmake -S tests/install/outside -B "$work/cmake" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
cmake --build "$work/cmake" -- --quiet
runs "$work/cmake/outside" find_package

export PKG_CONFIG_PATH="$libdir/pkgconfig"
read -ra flags <<<"$(pkg-config --cflags --libs qx_notify)"
g++ -std=c++20 "$tree/tests/install/outside/main.cpp" -o "$work/outside" "${flags[@]}"
runs "$work/outside" pkg-config

"$work/prefix/bin/qxnotify" --version >/dev/null && echo "qxnotify: runs from the prefix"

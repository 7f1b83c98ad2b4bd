#!/usr/bin/env bash
# Proves the three platform seams: builds the in-tree pieces as shared libraries, installs each to a root of its own,
# and then builds and tests everything above them against those roots, as if somebody else had made them.
set -euo pipefail
cd "$(dirname "$0")/.."
roots=$PWD/build/platform-roots
rm -rf "$roots"
extras=(-DQX_BUILD_TOOLS=OFF -DQX_BUILD_EXAMPLES=OFF)

cmake --preset dev -B build/platform -DQX_PLATFORM_SHARED=ON -DQX_BUILD_TESTS=OFF "${extras[@]}" >/dev/null
cmake --build build/platform --target qx_transport qx_json qx_log_backend -- --quiet
for piece in transport json log_backend; do
    cmake --install build/platform --component "$piece" --prefix "$roots/$piece" >/dev/null
done
for file in transport/{include/lbm/lbm.h,lib/liblbm.so} json/{include/libjson.h,lib/libjson.so} log_backend/lib/libqxlog.so; do
    [ -f "$roots/$file" ] || { echo "check-external: $file was not installed" >&2; exit 1; }
done

cmake --preset dev -B build/external "${extras[@]}" \
    -DQX_TRANSPORT=external -DLBM_ROOT="$roots/transport" \
    -DQX_JSON=external -DLIBJSON_ROOT="$roots/json" \
    -DQX_LOG_BACKEND=external -DQX_LOG_BACKEND_ROOT="$roots/log_backend" >/dev/null
cmake --build build/external -- --quiet
if grep -q "\"file\": \"$PWD/platform/[a-z_]*/source/" build/external/compile_commands.json; then
    echo "check-external: something of the in-tree platform was compiled" >&2
    exit 1
fi
ctest --test-dir build/external -L unit -j "$(nproc)" --output-on-failure --no-tests=error >build/external/ctest.log 2>&1 || {
    grep -vE ' Passed +[0-9.]+ sec$|^ +Start ' build/external/ctest.log
    exit 1
}
grep -E 'tests passed' build/external/ctest.log

#!/usr/bin/env bash
# Installs the Debian packages that building, testing and benchmarking need: only what is missing, with sudo when not root.
set -euo pipefail

packages=(
    g++ cmake ninja-build make git ccache pkg-config python3
    libboost-dev libprotobuf-dev protobuf-compiler          # envelope, records
    cyclonedds-dev cyclonedds-tools libpcre2-dev libpugixml-dev libssl-dev   # transport
    openssl                                                 # certificates for tests
    rapidjson-dev libspdlog-dev libcli11-dev nlohmann-json3-dev   # JSON library, log back end, qxnotify
    libgtest-dev libgmock-dev libbenchmark-dev libsimdjson-dev    # tests and benchmarks
    clang clang-format clang-tidy libclang-rt-dev           # checks and fuzzers
    locales                                                 # localedef: a locale with a decimal comma for tests
)

missing=()
for package in "${packages[@]}"; do
    dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || { echo "setup: not root and no sudo; install by hand: ${missing[*]}" >&2; exit 1; }
    as_root=(sudo)
fi
echo "setup: installing ${missing[*]}"
"${as_root[@]}" apt-get update -qq
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null

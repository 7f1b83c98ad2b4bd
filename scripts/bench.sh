#!/usr/bin/env bash
# Runs the benchmarks of the release preset. Peers are measured in the same run; compare ratios, not runs.
# Arguments go to every benchmark program, e.g. --benchmark_filter=Parse or --benchmark_min_time=0.1
set -euo pipefail
cd "$(dirname "$0")/.."
cmake --preset release >/dev/null
cmake --build --preset release --target benchmarks
for program in build/release/benchmarks/*_benchmark; do
    echo "== ${program##*/}"
    "$program" --benchmark_enable_random_interleaving=true "$@"
done

#!/usr/bin/env bash
# Builds the fuzzers and runs each from its seeds: --runs N inputs (default 20000) or --seconds S.
# New inputs stay in build/fuzz/corpus/<fuzzer>; an input that breaks a property is left beside it as crash-*.
set -euo pipefail
cd "$(dirname "$0")/.."
limit=(-runs=20000)
case "${1:-}" in
    "") ;;
    --runs) limit=(-runs="$2") ;;
    --seconds) limit=(-max_total_time="$2") ;;
    *) echo "usage: scripts/fuzz.sh [--runs N | --seconds S]" >&2; exit 2 ;;
esac

cmake --preset fuzz >/dev/null
cmake --build --preset fuzz --target fuzzers -- --quiet
for fuzzer in build/fuzz/fuzz/*_fuzzer; do
    name=${fuzzer##*/}
    mkdir -p "build/fuzz/corpus/$name"
    # -seed makes a run repeatable.
    if ! "$fuzzer" "${limit[@]}" -seed=1 -max_len=4096 -timeout=25 -print_final_stats=1 \
        -artifact_prefix="build/fuzz/corpus/$name/" \
        "build/fuzz/corpus/$name" "fuzz/corpus/$name" >"build/fuzz/corpus/$name.log" 2>&1; then
        tail -n 60 "build/fuzz/corpus/$name.log"
        echo "fuzz: $name failed; the input lies in build/fuzz/corpus/$name" >&2
        exit 1
    fi
    echo "$name: $(grep -oP 'stat::number_of_executed_units:\s*\K\d+' "build/fuzz/corpus/$name.log") inputs, no failure"
done

#!/usr/bin/env bash
# Runs the benchmarks of the release preset. Peers are measured in the same run; compare ratios, not runs.
#   scripts/bench.sh                               all of them, a few minutes
#   scripts/bench.sh --benchmark_format=json       as JSON: a document, or an object a line, of each program
#   scripts/bench.sh --benchmark_filter=Parse      arguments --benchmark_... go to every program but the notification
#                                                  path's and the transport's, which a filter leaves out
#   scripts/bench.sh --rounds 5 --only latency     all others go to the transport's, which then runs alone
set -euo pipefail
cd "$(dirname "$0")/.."

shared=()
path=()
transport=()
for argument in "$@"; do
    case $argument in
        --benchmark_*) shared+=("$argument") ;;
        *) transport+=("$argument") ;;
    esac
done

cmake --preset release >/dev/null
cmake --build --preset release --target benchmarks >&2

if [ ${#transport[@]} -eq 0 ]; then
    for program in json_document_benchmark log_statement_benchmark routing_benchmark; do
        echo "== $program" >&2
        "build/release/benchmarks/$program" --benchmark_enable_random_interleaving=true "${shared[@]}"
    done
    transport=(--rounds 3 --count 50000)
    path=(--rounds 9)
fi
case " ${shared[*]} " in
    *" --benchmark_filter="*) exit 0 ;;
    *" --benchmark_format=json "*) path+=(--json) transport+=(--json) ;;
esac
if [ ${#path[@]} -gt 1 ]; then
    echo "== notification_path_benchmark" >&2
    build/release/benchmarks/notification_path/notification_path_benchmark "${path[@]}"
fi
echo "== transport_benchmark" >&2
build/release/benchmarks/transport/transport_benchmark "${transport[@]}"

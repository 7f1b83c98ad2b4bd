#!/usr/bin/env bash
# Everything that decides whether a change may land. Each stage says how long it took; the first failure ends the run.
# Without arguments lint runs beside the others, with what they leave of the machine: half of the tests' time is waiting.
#   scripts/test.sh            the stages that decide
#   scripts/test.sh dev asan   only these
set -euo pipefail
cd "$(dirname "$0")/.."
export CTEST_OUTPUT_ON_FAILURE=1

build() { cmake --preset "$1" >/dev/null && cmake --build --preset "$1" -- --quiet; }
run_tests() {
    local log="build/$1/ctest.log"
    if ! ctest --preset "$1" -j "$((2 * $(nproc)))" "${@:2}" >"$log" 2>&1; then
        grep -vE ' Passed +[0-9.]+ sec$|^ +Start ' "$log"
        return 1
    fi
    tail -n 12 "$log"
}

stage_format() { scripts/format.sh --check; }
lint_job=
start_lint() {
    mkdir -p build
    nice -n 19 setsid scripts/lint.sh >build/lint.log 2>&1 &
    lint_job=$!
    trap 'kill -- -"$lint_job" 2>/dev/null || true' EXIT
}
stage_lint() {
    if [ -z "$lint_job" ]; then
        scripts/lint.sh
    elif ! wait "$lint_job"; then
        cat build/lint.log
        return 1
    fi
}
stage_dev() { build dev && cmake --build --preset dev --target all_verify_interface_header_sets -- --quiet && run_tests dev; }
stage_asan() { build asan && run_tests asan; }
stage_tsan() { build tsan && run_tests tsan; }
stage_fuzz() { scripts/fuzz.sh --runs 20000; }
stage_install() { scripts/check-install.sh; }
stage_external() { scripts/check-external.sh; }
stage_demo() { scripts/demo.sh; }

stages=("$@")
if [ ${#stages[@]} -eq 0 ]; then
    stages=(format dev demo asan tsan install external fuzz lint)
    start_lint
fi
for stage in "${stages[@]}"; do
    started=$SECONDS
    echo "== $stage"
    "stage_$stage" || { echo "== $stage FAILED after $((SECONDS - started)) s" >&2; exit 1; }
    echo "== $stage ok, $((SECONDS - started)) s"
done

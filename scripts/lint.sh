#!/usr/bin/env bash
# clang-tidy over every source of ours; any finding fails.
#   scripts/lint.sh            all of them, some twenty minutes
#   scripts/lint.sh FILE...    only these, as git names them; headers are linted with the sources that include them
set -euo pipefail
cd "$(dirname "$0")/.."
sources() { git ls-files '*.cpp' ':!*/tests/*' ':!tests/*' ':!fuzz/*'; }
tests() { git ls-files '*/tests/*.cpp' 'tests/*.cpp' ':!tests/install/*'; }
chosen=("$@")
for file in "$@"; do
    { sources; tests; } | grep -Fx -- "$file" >/dev/null ||
        { echo "lint.sh: $file is none of the sources that are linted; usage: scripts/lint.sh [FILE...]" >&2; exit 2; }
done
cmake --preset tidy >/dev/null
# Generated headers must exist before the sources that include them can be read.
ninja -C build/tidy -t targets rule CUSTOM_COMMAND | grep '\.h$' | sort -u | xargs ninja -C build/tidy --quiet

choose() { if [ ${#chosen[@]} -eq 0 ]; then cat; else grep -Fx -f <(printf '%s\n' "${chosen[@]}") || true; fi; }
tidy() { xargs -r -P "$(nproc)" -n 2 clang-tidy -p build/tidy --quiet "$@" 2> >(grep -v 'warnings generated' >&2); }

sources | choose | tidy
# Tests with a short list: every check reads all of GoogleTest's headers, and the whole set takes 16 s of a file where
# this takes 7, the parsing included. What the analyzer would find the sanitizers see when the tests run.
test_checks='-*,bugprone-dangling-handle,bugprone-unused-raii,bugprone-use-after-move'
test_checks+=',misc-redundant-expression,misc-unused-parameters,misc-unused-using-decls'
test_checks+=',modernize-use-nullptr,modernize-use-override,readability-braces-around-statements'
test_checks+=',readability-container-contains,readability-container-size-empty,readability-simplify-boolean-expr'
tests | choose | tidy --checks="$test_checks"

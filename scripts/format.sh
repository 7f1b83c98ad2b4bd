#!/usr/bin/env bash
# Formats the sources; with --check only says which are not formatted and fails if there are any.
set -euo pipefail
cd "$(dirname "$0")/.."
mode=(-i)
[ "${1:-}" = --check ] && mode=(--dry-run --Werror)
git ls-files -z --cached --others --exclude-standard '*.h' '*.cpp' '*.c' | xargs -0 -r clang-format "${mode[@]}"

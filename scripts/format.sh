#!/usr/bin/env bash
# Formats the sources, or with --check fails if any is not formatted.
set -euo pipefail
cd "$(dirname "$0")/.."

action=(-i)
[[ ${1:-} != --check ]] || action=(--dry-run --Werror)
find . \( -path ./build -o -path ./.git \) -prune -o -name '*.[ch]pp' -print0 -o -name '*.h' -print0 |
    xargs -0 clang-format-14 "${action[@]}"

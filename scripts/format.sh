#!/usr/bin/env bash
# Formats the sources, or with --check fails if any is not formatted.
set -euo pipefail
cd "$(dirname "$0")/.."

action=(-i)
[[ ${1:-} != --check ]] || action=(--dry-run --Werror)
git ls-files -z --cached --others --exclude-standard '*.cpp' '*.hpp' '*.h' | xargs -0 clang-format-14 "${action[@]}"

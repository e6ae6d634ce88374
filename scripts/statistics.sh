#!/usr/bin/env bash
# Puts a random stream of a build through the test battery dieharder, which apt installs; prints its table, and fails
# if a test did.
#   statistics.sh <build folder> <generator> <distribution> [<test number>...]
# Generators and distributions are those of bench/random_words.cpp, where `bits` takes the low bits of uniform values
# as well; without test numbers, all tests run.
set -euo pipefail

if [[ $# -lt 3 ]]; then
    sed -n '2,6s/^# //p' "$0" >&2
    exit 2
fi
words=$1/bench/random_words generator=$2 distribution=$3
shift 3

command -v dieharder >/dev/null || { echo "install dieharder first" >&2; exit 1; }
raw_from_stdin=200
report=$(mktemp)
trap 'rm -f "$report"' EXIT

# The battery stops reading when it has seen enough, and the stream's program then ends with a broken pipe.
run() { { "$words" "$generator" "$distribution" || true; } | dieharder -g "$raw_from_stdin" "$@" | tee -a "$report"; }

if [[ $# -eq 0 ]]; then
    run -a
else
    for test in "$@"; do run -d "$test"; done
fi | grep -E 'PASSED|WEAK|FAILED' | sed "s/^ */$generator $distribution /"
! grep -q FAILED "$report"

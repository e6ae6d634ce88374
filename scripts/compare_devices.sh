#!/usr/bin/env bash
# Compares what random calls of every family give in two builds, bit for bit.
#   compare_devices.sh <build folder> <build folder> [<calls for each family and type> [<seed>]]
# e.g. compare_devices.sh build/host build/cuda-on-cpu. Fibers take their order from KVGPU_ORDER.
set -euo pipefail

if [[ $# -lt 2 ]]; then
    sed -n '2,4s/^# //p' "$0" >&2
    exit 2
fi
for folder in "$1" "$2"; do
    cmake --build "$folder" --parallel "$(nproc)" --target comparison
done
results=$(mktemp)
trap 'rm -f "$results"' EXIT
"$1/tests/comparison" write "$results" "${@:3}"
"$2/tests/comparison" compare "$results"

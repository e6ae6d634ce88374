#!/usr/bin/env bash
# What only a backend may hold: a thread's coordinates, barriers, launches and questions about the device.
#   check_house_rules.sh               checks the repository
#   check_house_rules.sh --self-test   fails unless each rule finds its breach
set -euo pipefail
cd "$(dirname "$0")/.."

device_words='threadIdx|blockIdx|__syncthreads|<<<|__CUDA|__NVCC__|__launch_bounds__|cudaLaunchKernel'
source_folders=(include frame elementwise random reduction indexing sorting interp filtering)

# Prints the breaches below the folder $1; succeeds if there are any.
breaches() {
    local folders=() folder
    for folder in "${source_folders[@]}"; do
        [[ ! -d $1/$folder ]] || folders+=("$1/$folder")
    done
    grep -rnE "$device_words" "${folders[@]}"
}

self_test() {
    local line
    tree=$(mktemp -d)  # not local: the trap outlives this function
    trap 'rm -rf "$tree"' EXIT
    mkdir -p "$tree/frame" "$tree/backend/cuda"
    echo 'int i = threadIdx.x;' >"$tree/backend/cuda/allowed.hpp"
    echo 'int i = 0;' >"$tree/frame/clean.cpp"
    if breaches "$tree"; then
        echo "a clean tree was found in breach" >&2
        return 1
    fi
    for line in 'threadIdx.x' 'blockIdx.y' '__syncthreads();' 'f<<<1, 1>>>();' 'int arch = __CUDA_ARCH__;'; do
        echo "$line" >"$tree/frame/breach.cpp"
        if ! breaches "$tree" >/dev/null; then
            echo "no breach found in: $line" >&2
            return 1
        fi
    done
}

if [[ ${1:-} == --self-test ]]; then
    self_test
elif breaches .; then
    echo "these words belong under backend/" >&2
    exit 1
else
    echo "house rules hold"
fi

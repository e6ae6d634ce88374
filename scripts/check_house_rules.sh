#!/usr/bin/env bash
# What only a backend may hold: a thread's coordinates, barriers, launches and questions about the device. And what nobody
# calls: a device's own mathematical functions, whose results are its own; those of backend/math are the same everywhere.
#   check_house_rules.sh               checks the repository
#   check_house_rules.sh --self-test   fails unless each rule finds its breach
set -euo pipefail
cd "$(dirname "$0")/.."

device_words='threadIdx|blockIdx|__syncthreads|<<<|__CUDA|__NVCC__|__launch_bounds__|cudaLaunchKernel'
source_folders=(include frame elementwise random reduction indexing sorting interp filtering)

# A call of a mathematical function: by a name that is no longer ours, or, where ours are not in scope, by its bare name.
function='(a?(sin|cos|tan)h?|sincos|atan2|(sin|cos|sincos|tan)pi|exp(2|10|m1)?|log(2|10|1p|b)?|powi?|r?hypot|r?cbrt|rsqrt|erfc?x?|erfc?inv|[lt]gamma|normcdf(inv)?|fdivide)'
foreign_call="(^|[^A-Za-z0-9_])(std::|thrust::|::)${function}[fl]?\\(|__(builtin_|nv_)?${function}[fl]?\\(|\\b${function}f\\("
bare_call="(^|[^A-Za-z0-9_:.>])${function}\\("

# Prints the breaches below the folder $1, comments left out; succeeds if there are any.
breaches() {
    local folders=() folder
    for folder in "${source_folders[@]}"; do
        [[ ! -d $1/$folder ]] || folders+=("$1/$folder")
    done
    {
        grep -rnE "$device_words|$bare_call|$foreign_call" "${folders[@]}" || true
        grep -rnE "$foreign_call" "$1/backend" || true
    } | grep -vE '^[^:]*:[0-9]+: *//'
}

# That the line $2 in the folder $1 of the tree is found.
expect_breach() {
    echo "$2" >"$tree/$1/breach.cpp"
    if ! breaches "$tree" >/dev/null; then
        echo "no breach found in $1: $2" >&2
        return 1
    fi
    rm "$tree/$1/breach.cpp"
}

self_test() {
    local line
    tree=$(mktemp -d)  # not local: the trap outlives this function
    trap 'rm -rf "$tree"' EXIT
    mkdir -p "$tree/frame" "$tree/backend/cuda"
    echo 'int i = threadIdx.x; double y = exp(x) + ::sqrt(x) + std::fma(x, x, x);' >"$tree/backend/cuda/allowed.hpp"
    echo 'double y = backend::exp(x) + gpuruntime::backend::log(x); int power = cosine(x);' >"$tree/frame/clean.cpp"
    echo '/// r cos(t)' >>"$tree/frame/clean.cpp"
    if breaches "$tree"; then
        echo "a clean tree was found in breach" >&2
        return 1
    fi
    local calls=('y = std::exp(x);' 'y = ::atan2(y, x);' 'return ::powf(x, y);' '__sinf(x)' '__builtin_log(x)' 'sincosf(x, &s, &c)'
        '(::erfcinv(y))' 'thrust::hypot(x, y)')
    for line in 'threadIdx.x' 'blockIdx.y' '__syncthreads();' 'f<<<1, 1>>>();' 'int arch = __CUDA_ARCH__;' 'y = exp(x);' \
        'return 2 * log10(x);' "${calls[@]}"; do
        expect_breach frame "$line"
    done
    for line in "${calls[@]}"; do expect_breach backend/cuda "$line"; done
}

if [[ ${1:-} == --self-test ]]; then
    self_test
elif breaches .; then
    echo "these belong under backend/, or nowhere" >&2
    exit 1
else
    echo "house rules hold"
fi

#!/usr/bin/env bash
# Compiles each header that is installed alone, so that every one brings what it needs; those for C as C, too.
set -euo pipefail
cd "$(dirname "$0")/.."

headers=(include/gpuruntime/*.hpp backend/runtime/*.h backend/runtime/host_device.hpp)
for header in "${headers[@]}"; do
    "${CXX:-g++}" -std=c++17 -fsyntax-only -Wall -Wextra -Werror -Iinclude -Ibackend/runtime -x c++ - \
        <<<"#include \"$header\""
done
c_headers=(backend/runtime/{driver_types,vector_types,cuda_runtime_api}.h)
for header in "${c_headers[@]}"; do
    "${CC:-gcc}" -std=c11 -fsyntax-only -Wall -Wextra -Wpedantic -Werror -Ibackend/runtime -x c - \
        <<<"#include \"$header\""
done
echo "${#headers[@]} public headers, each compiles alone, ${#c_headers[@]} of them as C, too"

#!/usr/bin/env bash
# Compiles each header that is installed alone, so that every one brings what it needs.
set -euo pipefail
cd "$(dirname "$0")/.."

headers=(include/gpuruntime/*.hpp backend/host/*.h backend/host/host_device.hpp)
for header in "${headers[@]}"; do
    "${CXX:-g++}" -std=c++17 -fsyntax-only -Wall -Wextra -Werror -Iinclude -Ibackend/host -x c++ - \
        <<<"#include \"$header\""
done
echo "${#headers[@]} public headers, each compiles alone"

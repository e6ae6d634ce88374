#!/usr/bin/env bash
# Installs a build tree of the host device to a fresh prefix, then builds and runs examples that check themselves
# against it, with find_package and with pkg-config; each gets the table of the demo.
#   check_package.sh <build folder> <example>...
set -euo pipefail
cd "$(dirname "$0")/.."

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix
examples=("${@:2}")
cmake --install "$1" --prefix "$prefix" >/dev/null

cmake -S examples -B "$work/examples" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/examples" --target "${examples[@]}" >/dev/null
for example in "${examples[@]}"; do "$work/examples/$example" data/penguins.csv; done

PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name kvgpuruntime.pc)")
export PKG_CONFIG_PATH
read -ra flags < <(pkg-config --cflags --libs kvgpuruntime)
LD_LIBRARY_PATH=$(pkg-config --variable=libdir kvgpuruntime)
export LD_LIBRARY_PATH
for example in "${examples[@]}"; do
    "${CXX:-g++}" -std=c++17 "examples/$example.cpp" "${flags[@]}" -o "$work/$example"
    "$work/$example" data/penguins.csv
done

echo "the installed package builds and runs: ${examples[*]}"

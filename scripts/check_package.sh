#!/usr/bin/env bash
# Installs a build tree of the host device to a fresh prefix, then builds and runs the example of a host engine
# against it, with find_package and with pkg-config.
#   check_package.sh <build folder>
set -euo pipefail
cd "$(dirname "$0")/.."

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix
cmake --install "$1" --prefix "$prefix" >/dev/null

cmake -S examples -B "$work/examples" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/examples" >/dev/null
"$work/examples/engine"

PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name kvgpuruntime.pc)")
export PKG_CONFIG_PATH
read -ra flags < <(pkg-config --cflags --libs kvgpuruntime)
"${CXX:-g++}" -std=c++17 examples/engine.cpp "${flags[@]}" -o "$work/engine"
LD_LIBRARY_PATH=$(pkg-config --variable=libdir kvgpuruntime) "$work/engine"

echo "the installed package builds and runs the engine"

#!/usr/bin/env bash
# Installs a build tree of the host device to a fresh prefix, then builds and runs examples that check themselves
# against it, with find_package and with pkg-config; each gets the table of the demo, or heights. So it does with the
# programs in the documentation, which are all blocks of "cpp" there.
#   check_package.sh <build folder> <example>...
set -euo pipefail
cd "$(dirname "$0")/.."

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix
examples=("${@:2}")
cmake --install "$1" --prefix "$prefix" >/dev/null
data_of() { if [[ $1 == relief ]]; then echo data/alps.asc; else echo data/penguins.csv; fi; }

cmake -S examples -B "$work/examples" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/examples" --target "${examples[@]}" >/dev/null
for example in "${examples[@]}"; do "$work/examples/$example" "$(data_of "$example")"; done

PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name kvgpuruntime.pc)")
export PKG_CONFIG_PATH
read -ra flags < <(pkg-config --cflags --libs kvgpuruntime)
LD_LIBRARY_PATH=$(pkg-config --variable=libdir kvgpuruntime)
export LD_LIBRARY_PATH

# run <unit> [<argument>...]
run() {
    "${CXX:-g++}" -std=c++17 "$1" "${flags[@]}" -o "$work/program"
    "$work/program" "${@:2}"
}

for example in "${examples[@]}"; do run "examples/$example.cpp" "$(data_of "$example")"; done

awk -v work="$work" '/^```/ {inside = 0} inside {print > unit} /^```cpp$/ {inside = 1; unit = work "/block" ++count ".cpp"}' \
    README.md docs/*.md
for unit in "$work"/block*.cpp; do run "$unit"; done

echo "the installed package builds and runs: ${examples[*]}"

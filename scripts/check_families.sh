#!/usr/bin/env bash
# Builds the host device with two family groups only, and checks that all else follows: the exported names, the tests, the
# package with its components, the API pages.
set -euo pipefail
cd "$(dirname "$0")/.."

tree=build/two-groups
families='fills;transpose'
cmake --fresh --preset host -B "$tree" -DKVGPU_FAMILIES="$families" -DKVGPU_INSTANCES=sample >/dev/null
cmake --build "$tree" --parallel "$(nproc)" --target all elementwise_test indexing_test

# Its tests are those of the two groups and what every build has.
expected='elementwise_test exports exports_self_test frame_test guarded_product_test host_device_test indexing_test math_test'
tests=$(ctest --test-dir "$tree" -N | sed -n 's/^ *Test *#[0-9]*: //p' | sort | xargs)
if [[ $tests != "$expected" ]]; then
    echo "the tests of $families are: $tests" >&2
    exit 1
fi
ctest --test-dir "$tree" --output-on-failure -R 'elementwise|indexing|exports'

# The check of names tells when a chosen group lacks one, and when there is one of a group that was not chosen.
lists=(cmake/exports/{foundation,host_runtime,fills,transpose}.txt)
for wrong in "${lists[*]} cmake/exports/sorting.txt" "${lists[*]:0:3}"; do
    # shellcheck disable=SC2086  # the lists are words
    if scripts/check_exports.sh sample "$tree/libkvgpuruntime.so" $wrong >/dev/null 2>&1; then
        echo "the names of $families passed as: $wrong" >&2
        exit 1
    fi
done

scripts/check_package.sh "$tree" engine

# A program that asks for a group that is not there is told so when it is configured.
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$tree" --prefix "$work/prefix" >/dev/null
# finds <group>...: whether a program that needs these groups finds the package.
finds() {
    cat >"$work/CMakeLists.txt" <<TXT
cmake_minimum_required(VERSION 3.25)
project(engine LANGUAGES CXX)
find_package(kvgpuruntime REQUIRED COMPONENTS $*)
TXT
    cmake -S "$work" -B "$work/build" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null 2>&1
}
finds transpose fills
if finds sorting; then
    echo "a package of $families passed for one with sorting" >&2
    exit 1
fi

scripts/docs.sh "$tree"
if compgen -G 'build/docs/html/sorting_8hpp*' >/dev/null; then
    echo "the API pages of $families tell of sorting" >&2
    exit 1
fi

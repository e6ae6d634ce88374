#!/usr/bin/env bash
# Installs through apt what is missing; says so, and does nothing where all is there.
#   setup.sh           what the library, its tests and its benchmarks are built with
#   setup.sh --bench   also what the benchmarks are compared with
#   setup.sh --docs    also what the API pages are built with
#   setup.sh --ci      also what checks the sources, and the API pages
set -euo pipefail

packages=(
    g++                # the host compiler, which nvcc calls as well
    cmake              # the build, with presets
    ninja-build        # what cmake drives
    libtbb-dev         # blocks in parallel on the host device
    libhwy-dev         # vectorised sort on the host device
    libthrust-dev      # Thrust on the host device; the CUDA toolkit brings its own
    libboost-dev       # constants in the filtering families' signatures
    libgtest-dev       # tests
    libmpfr-dev        # what the mathematical functions are tested against
    libboost-context-dev  # fibers, which run the cuda device's code without a GPU
    libbenchmark-dev   # benchmarks
    libpng-dev         # the demo's pictures
)
for option in "$@"; do
    case $option in
    --bench) packages+=(
        python3       # the comparison script
        python3-venv  # an environment of its own for the current NumPy and SciPy
    ) ;;
    --docs) packages+=(
        doxygen        # API pages
    ) ;;
    --ci) packages+=(
        clang-format-14  # one format; other versions format otherwise
        doxygen          # API pages
        pkgconf          # the package check builds with pkg-config, too
        python3          # the build report
    ) ;;
    *)
        echo "usage: setup.sh [--bench] [--docs] [--ci]" >&2
        exit 2
        ;;
    esac
done

missing=()
for package in "${packages[@]}"; do
    [[ $(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null) == installed ]] || missing+=("$package")
done
[[ ${#missing[@]} -gt 0 ]] || exit 0

echo "setup: installing ${missing[*]}"
as_root=()
[[ $(id -u) -eq 0 ]] || as_root=(sudo)
install() {
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" </dev/null
}
# The lists may be empty or stale: fetch them when the packages are not to be had without.
install >/dev/null 2>&1 || { "${as_root[@]}" apt-get update -qq && install; }

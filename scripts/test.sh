#!/usr/bin/env bash
# Builds and runs the tests of every device that this machine can build for: the host device always; with nvcc
# the cuda library and its exported names, and then its tests on the GPU, or, without a GPU, the one that needs none.
set -euo pipefail
cd "$(dirname "$0")/.."

build() {
    cmake --preset "$1" >/dev/null
    cmake --build --preset "$1" --parallel "$(nproc)" --target "${@:2}"
}

build host tests
trees=(build/host)

PATH=$PATH:/usr/local/cuda/bin  # where the toolkit puts nvcc
if ! command -v nvcc >/dev/null; then
    echo "no nvcc: the cuda device is not built"
elif nvidia-smi >/dev/null 2>&1; then
    build cuda tests
    trees+=("build/cuda:-LE no_driver")
else
    echo "no GPU: the cuda device is built, its tests are not run"
    build cuda kvgpuruntime no_driver_test
    trees+=("build/cuda:-LE gpu")
fi

exec scripts/run_tests.sh "${trees[@]}"

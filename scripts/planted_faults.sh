#!/usr/bin/env bash
# Plants faults in kernels, one at a time, and fails unless the fibers device finds each: by a report, or by a result that
# differs. Works on a copy of the tree, in build/planted-faults/.
#   planted_faults.sh [<part of a fault's name>]
set -euo pipefail
cd "$(dirname "$0")/.."
only=${1:-}

tree=build/planted-faults
mkdir -p "$tree"
git ls-files -z | xargs -0 cp --parents --update --preserve=timestamps -t "$tree"
cd "$tree"
build=build/cuda-on-cpu
cmake --preset cuda-on-cpu >/dev/null
cmake --build --preset cuda-on-cpu --parallel "$(nproc)" --target comparison
$build/tests/comparison write "$build/right.results" 6

planted=0 missed=() restored=

# Puts back what a fault has changed, also after an interruption.
restore() {
    [[ -n $restored ]] || return 0
    cp --preserve=timestamps $build/right.hpp "$restored"
    cp $build/right.o "$build/$object"
    restored=
}
trap restore EXIT

# Whether the comparison fails in one of the orders; says by what.
found() {
    local order
    for order in ascending descending shuffled; do
        if ! KVGPU_ORDER=$order timeout 600 $build/tests/comparison compare $build/right.results >$build/output 2>&1; then
            grep -m 1 -E '^fibers: [a-z]+:|call [0-9]+:' $build/output | sed 's/^/    /' || echo "    fails, without a report"
            return 0
        fi
    done
    return 1
}

# fault <name> <header> <unit> <perl substitution>: only the unit is built with the fault.
fault() {
    local name=$1 header=$2 unit=$3
    object=CMakeFiles/kvgpuruntime.dir/$unit.cpp.o  # not local: an interruption restores it
    [[ $name == *$only* ]] || return 0
    echo "== $name: $header, in $unit"
    planted=$((planted + 1))
    cp --preserve=timestamps "$header" $build/right.hpp
    cp --preserve=timestamps "$build/$object" $build/right.o
    restored=$header
    perl -0pi -e "$4" "$header"
    if cmp -s "$header" $build/right.hpp; then
        echo "$name: the source has changed, and the substitution does nothing" >&2
        exit 1
    fi
    cmake --build --preset cuda-on-cpu --target "$object" >/dev/null
    # With the header's old time all other units are up to date, and the object is as well.
    cp --preserve=timestamps $build/right.hpp "$header"
    cmake --build --preset cuda-on-cpu --target kvgpuruntime >/dev/null
    found || { missed+=("$name"); echo "    NOT FOUND"; }
    restore
}

device=backend/cuda/device.hpp fold=backend/cuda/block_fold.hpp atomics=backend/cuda/atomics.hpp
rows=backend/cuda/rows.hpp run=backend/cuda/run.hpp store=backend/cuda/store.hpp
tile=backend/cuda/filter_tile.hpp kernels=reduction/reduction_kernels.hpp turned=indexing/transpose_kernels.hpp

# Barriers left out: what carries them,
fault phase-below-limit $device reduction/max_with_index 's/forEach\(limit, f\);\s+__syncthreads\(\);/forEach(limit, f);/'
fault phase $device reduction/cum_sum 's/f\(own\(\)\);\s+__syncthreads\(\);/f(own());/'
fault phase-of-tile $device reduction/sum 's/forEach\(f\);\s+__syncthreads\(\);/forEach(f);/'
fault block-barrier $device indexing/transpose 's/\{ __syncthreads\(\); \}/{}/'
# and each place that has one.
fault turned-tile $turned indexing/transpose 's/(at, block, in, x, y\);\s+)backend::blockBarrier\(\);/$1/'
fault swapped-tiles $turned indexing/ctranspose 's/(data, y, x\);\s+)backend::blockBarrier\(\);/$1/'
fault rotated-tile indexing/rot90.cpp indexing/rot90 's/backend::blockBarrier\(\);//'
fault permuted-tile indexing/permute.cpp indexing/permute 's/backend::blockBarrier\(\);//'
fault next-permuted-tile indexing/permute.cpp indexing/permute 's/(.*)backend::blockBarrier\(\);/$1/s'
fault next-stepped-tile frame/fixed_block.hpp indexing/ctranspose 's/(step < steps; \+\+step\) \{\s+)backend::blockBarrier\(\);/$1/'
fault next-tile-of-page frame/fixed_block.hpp indexing/rot90 's/(step < stepsXY; \+\+step\) \{\s+)backend::blockBarrier\(\);/$1/'
fault next-page frame/fixed_block.hpp indexing/rot90 's/(pageStep >= stepsZ\) return;\s+)backend::blockBarrier\(\);/$1/'
fault random-rows random/distributions.hpp random/philox4x32 's/blockBarrier\(\);//'
fault fold-of-runs $fold reduction/sum 's/threads\.phase(\(\[&\]\(unsigned int t\) \{\s+T value = values\[t\];)/threads.forEach$1/'
fault fold-of-halves $fold reduction/min_with_index 's/threads\.phase(\(distance,)/threads.forEach$1/'
fault located-values $kernels reduction/max_with_index 's/block\.threads\.phase(\(\[&\]\(unsigned int t\) \{\s+sData)/block.threads.forEach$1/'
fault loaded-segments $fold reduction/prod 's/threads\.phase(\(\[&\]\(Thread t\) \{\s+unsigned int const i)/threads.forEach$1/'
fault folded-segments $fold reduction/min 's/threads\.phase(\(\[&\]\(Thread t\) \{\s+if \(t\.x < distance)/threads.forEach$1/'
fault loaded-scan $fold reduction/cum_min 's/threads\.phase(\(\[&\]\(unsigned int t\) \{\s+at\(t\))/threads.forEach$1/'
fault scan-upward $fold reduction/cum_max 's/threads\.phase(\(N \/ d, [^{]*\{\s+T& b)/threads.forEach$1/'
fault scan-downward $fold reduction/cum_sum 's/threads\.phase(\(N \/ d, [^{]*\{\s+T& a)/threads.forEach$1/'
fault next-scan $fold reduction/cum_prod 's/threads\.phase(\(1, [^{]*\{ elements\[count - 1\])/threads.forEach$1/'
fault filter-tile $tile filtering/convolution_vector 's/__syncthreads\(\);//'
fault turned-filter-tile $tile filtering/convolution_matrix 's/__syncthreads\(\);//'

# Wrong masks, operands, slots and strides.
fault mask $fold reduction/sum 's/__shfl_down_sync\(~0u/__shfl_down_sync(0xffffu/'
fault next-neighbours $fold reduction/prod 's/offset = 1; offset < detail::warpSize/offset = 2; offset < detail::warpSize/'
fault swapped-operands $fold reduction/min_with_index 's/f\(t, t \+ distance\)/f(t + distance, t)/'
fault swapped-scan $fold reduction/cum_prod 's/a = b;\s+b = Operator::combine\(first, b\);/b = Operator::combine(first, b); a = b;/'
fault unset-slots $fold reduction/sum 's/none\(slotOf\(t\)\);//'
fault unset-leaves $fold reduction/cum_max 's/at\(t \+ N\) = t \+ N < count \? elements\[t \+ N\] : Operator::identity\(\);/if (t + N < count) at(t + N) = elements[t + N];/'
fault slot-stride $fold reduction/max 's/return t\.y \* threads\.sizeX\(\) \+ t\.x;/return t.y * (threads.sizeX() - 1) + t.x;/'
fault walk-past-end $device reduction/sum 's/left <= N/left < N/'
fault plain-flag $atomics sorting/is_sorted 's/const volatile\*/const*/'
fault plain-error-word $atomics elementwise/cast_to_bool 's/return ::atomicCAS\(&word, expected, desired\);/unsigned int const old = word; if (old == expected) word = desired; return old;/'
fault first-of-run $run elementwise/cast_to_real 's/first, 0, n/first, 1, n/'
fault next-of-run $run elementwise/compare 's/out\[run\.first\]/out[run.first + 1]/'
fault row-past-end $rows indexing/subsref 's/own < n - first/own <= n - first/'
fault rows-past-end $rows indexing/find 's/threadIdx\.y >= extent\.y - first\.y \|\| //'
fault tile-stride $store indexing/rot90 's/\{ to\[t\.y \* stride/{ to[t.y * (stride + 1)/'
fault patch-past-end backend/cuda/patch.hpp filtering/imresize 's/ny - y, 1\)/ny - y + 1, 1)/'
fault swapped-halves backend/cuda/texels.hpp filtering/imresize 's/halves\.y, halves\.x/halves.x, halves.y/'
fault texture-offset backend/linear_texture.hpp filtering/imresize 's/= before \/ sizeof\(T\)/= before/'
fault signal-stride backend/signals.hpp filtering/iir_filter 's/at \+= signals\.sampleStride/at += signals.signalStride/'
fault final-state backend/signals.hpp filtering/iir_filter 's/states\.final\[c \* order \+ k\]/states.final[c + k]/'

echo "$((planted - ${#missed[@]})) of $planted planted faults were found"
[[ ${#missed[@]} -eq 0 ]] || { printf 'not found: %s\n' "${missed[*]}" >&2; exit 1; }

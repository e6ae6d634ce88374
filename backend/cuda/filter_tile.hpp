#pragma once

#include "backend/multiply_add.hpp"
#include "device.hpp"
#include "rows.hpp"

namespace gpuruntime::backend {

/// The input of a block that filters a matrix along a dimension, with zeros around it, and the sums of its
/// `X` by `Y` threads. A thread has `K` sums, a block's extent apart in dimension `along`; the tile has
/// `halo` more elements before them.
template <class T, unsigned int along, unsigned int X, unsigned int Y, unsigned int K, unsigned int halo>
class FilterTile {
    static constexpr unsigned int step = along == 0 ? X : Y, across = along == 0 ? Y : X;
    static constexpr unsigned int length = step * K + halo;
    // In either dimension a filter goes along the rows of shared memory. The tile along dimension 1 is
    // turned, and its pitch is odd, so that threads side by side meet different banks.
    static constexpr unsigned int pitch = along == 0 ? length : length + 1;

  public:
    using Elements = T[across][pitch];

    GPU_DEVICE explicit FilterTile(Elements& elements) : elements(elements) {}

    /// Reads the tile whose results begin at the position `base`; then the block meets at a barrier.
    GPU_DEVICE void load(T const* in, uint2 base, uint2 size, unsigned int /*numTaps*/) {
        unsigned int const x = base.x + threadIdx.x, y = base.y + threadIdx.y;
        unsigned int const first = along == 0 ? base.x : base.y, end = along == 0 ? size.x : size.y;
        bool const isIn = along == 0 ? y < size.y : x < size.x;
        bool const isInside = isIn && first >= halo && first + (step * K - 1) < end;
        for (unsigned int i = ownAlong(); i < length; i += step) {
            unsigned int const position = first - halo + i;
            unsigned int const index = along == 0 ? y * size.x + position : position * size.x + x;
            elements[ownAcross()][i] = isInside || (isIn && position < end) ? in[index] : T{};
        }
        __syncthreads();
    }

    /// The sums of the taps j times the elements j before a result's position, in ascending order of j. The
    /// first `numUnrolled` taps, which there are, are unrolled. If `lines` are given, the block's lines in
    /// the output, `outPitch` apart, the sums may be stored there; whether they are is returned.
    template <unsigned int numUnrolled>
    GPU_DEVICE bool sum(T const* taps, unsigned int numTaps, T* /*lines*/, unsigned long /*outPitch*/) {
        GPU_UNROLL
        for (unsigned int k = 0; k < K; ++k) sums[k] = T{};
        if constexpr (numUnrolled > 0) {
            GPU_UNROLL
            for (unsigned int j = 0; j < numUnrolled; ++j) add(taps, j);
        }
        for (unsigned int j = numUnrolled; j < numTaps; ++j) add(taps, j);
        return false;
    }

    /// Calls `f(row, y, k)` for the `k`-th sums of a row of threads.
    template <class F>
    GPU_DEVICE void forEachRow(F f) const {
        GPU_UNROLL
        for (unsigned int k = 0; k < K; ++k) f(Row(threadIdx.x, true), threadIdx.y, k);
    }

    /// Calls `f(x, sum)` for the `k`-th sums of a row of threads.
    template <class F>
    GPU_DEVICE void forEachSum(Row row, unsigned int /*y*/, unsigned int k, F f) const {
        row.forEach([&](unsigned int x) { f(x, sums[k]); });
    }

  private:
    GPU_DEVICE static unsigned int ownAlong() { return along == 0 ? threadIdx.x : threadIdx.y; }
    GPU_DEVICE static unsigned int ownAcross() { return along == 0 ? threadIdx.y : threadIdx.x; }

    GPU_DEVICE void add(T const* taps, unsigned int j) {
        T const tap = taps[j];
        T const* const from = &elements[ownAcross()][ownAlong() + halo - j];
        GPU_UNROLL
        for (unsigned int k = 0; k < K; ++k) sums[k] = multiplyAdd(tap, from[k * step], sums[k]);
    }

    Elements& elements;
    T sums[K];
};

/// How many taps of a filter of `n` known ones are unrolled: all.
template <unsigned int n>
inline constexpr unsigned int unrolledTaps = n;

}  // namespace gpuruntime::backend

#pragma once

#include "filter_tile.hpp"
#include "frame/fixed_block.hpp"
#include "reduction/operators.hpp"

/// What a block does that convolves a matrix with a filter along one dimension. A vector is a matrix of one
/// column.
namespace gpuruntime::convolutioncommon {

/// Where the sums of a piece of a filter go; x is dimension 0. A sum's position is that of the input element
/// which meets the first tap.
struct Placement {
    uint2 inSize, outSize;
    uint2 shift;        ///< from a sum's position to that in the untrimmed result
    uint2 trim;         ///< position of the output's first element in the untrimmed result
    uint2 interiorEnd;  ///< below it a sum has its place in the output without a test
    bool overwrites;    ///< or adds to what the output holds
};

/// `X` by `Y` threads, each with `K` sums a block apart in dimension `along`, and tiles with `halo` elements
/// in front, which tell how many taps there can be.
template <class T, unsigned int along, unsigned int X, unsigned int Y, unsigned int K, unsigned int halo>
struct ConvolutionTile {
    static constexpr unsigned int sizeX = along == 0 ? X * K : X, sizeY = along == 0 ? Y : Y * K;

    /// Goes over the positions from `base` on; the first `numUnrolled` of the taps may be unrolled.
    template <unsigned int numUnrolled>
    static GPU_DEVICE void convolve(T* out, T const* in, uint2 base, Placement const& to, T const* taps,
                                    unsigned int numTaps) {
        using Tile = backend::FilterTile<T, along, X, Y, K, halo>;
        GPU_SHARED typename Tile::Elements elements;
        Tile tile(elements);
        tile.load(in, base, to.inSize);
        tile.template sum<numUnrolled>(taps, numTaps);
        store(tile, out, base, to);
    }

  private:
    /// A thread whose first sum is trimmed away drops them all.
    template <class Tile>
    static GPU_DEVICE void store(Tile const& tile, T* out, uint2 base, Placement const& to) {
        unsigned int const firstX = base.x + to.shift.x, firstY = base.y + to.shift.y;
        unsigned int const begin = to.trim.x > firstX ? to.trim.x - firstX : 0;
        bool const isInterior = along == 0 ? base.x >= halo && base.x + (sizeX - 1) < to.interiorEnd.x
                                           : base.y >= halo && base.y + (sizeY - 1) < to.interiorEnd.y;
        bool const streamed = to.overwrites && backend::isStreamed<T>(1ul * to.outSize.x * to.outSize.y);
        tile.forEachRow([&](backend::Row row, unsigned int y, unsigned int k) GPU_INLINE {
            if (firstY + y < to.trim.y) return;
            long const outX = static_cast<long>(firstX) - to.trim.x + (along == 0 ? k * X : 0);
            unsigned int const outY = firstY + y - to.trim.y + (along == 0 ? 0 : k * Y);
            long end = outY < to.outSize.y ? to.outSize.x - outX : 0;
            if (along == 0 && isInterior && base.y + y < to.interiorEnd.y) end = X;
            if (along == 1 && isInterior) end = larger(end, static_cast<long>(to.interiorEnd.x) - base.x);
            backend::Row const stored = row.within(begin, end <= 0  ? 0
                                                          : end < X ? static_cast<unsigned int>(end)
                                                                    : X);
            T* const line = out + (static_cast<long>(1ul * outY * to.outSize.x) + outX);
            if (to.overwrites) {
                backend::storeRow(stored, line, streamed,
                                  [&](unsigned int, unsigned long x) { return tile.sumOf(x, y, k); });
            } else {
                stored.forEach([&](unsigned long x) {
                    line[x] = reductionoperators::Sum<T>::combine(line[x], tile.sumOf(x, y, k));
                });
            }
        });
    }

    static GPU_DEVICE long larger(long a, long b) { return a > b ? a : b; }
};

}  // namespace gpuruntime::convolutioncommon

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
};

/// `X` by `Y` threads, each with `K` sums a block apart in dimension `along`, and tiles with `halo` elements
/// in front, which tell how many taps there can be.
template <class T, unsigned int along, unsigned int X, unsigned int Y, unsigned int K, unsigned int halo>
struct ConvolutionTile {
    static constexpr unsigned int sizeX = along == 0 ? X * K : X, sizeY = along == 0 ? Y : Y * K;

    /// Goes over the positions from `base` on, and overwrites the output or adds to it. The first
    /// `numUnrolled` of the taps may be unrolled.
    template <unsigned int numUnrolled>
    static GPU_DEVICE void convolve(T* out, T const* in, uint2 base, Placement const& to, T const* taps,
                                    unsigned int numTaps, bool overwrites) {
        using Tile = backend::FilterTile<T, along, X, Y, K, halo>;
        GPU_SHARED typename Tile::Elements elements;
        Tile tile(elements);
        tile.load(in, base, to.inSize, numTaps);

        long const firstX = placeX(base, to), firstY = placeY(base, to);
        bool const isWhole =
            firstX >= 0 && firstX + sizeX <= to.outSize.x && firstY >= 0 && firstY + sizeY <= to.outSize.y;
        T* const lines = out + (firstY * to.outSize.x + firstX);
        T* const stored = isWhole && overwrites ? lines : nullptr;
        if (tile.template sum<numUnrolled>(taps, numTaps, stored, to.outSize.x)) return;
        auto const lineOf = [&](unsigned int y, unsigned int k) {
            return lines + (1ul * (along == 0 ? y : k * Y + y) * to.outSize.x + (along == 0 ? k * X : 0));
        };
        if (isWhole) {
            tile.forEachRow([&](backend::Row row, unsigned int y, unsigned int k)
                                GPU_INLINE { put(tile, row, lineOf(y, k), y, k, overwrites); });
            return;
        }
        // A thread whose first sum is trimmed away drops them all.
        bool const isInterior = along == 0 ? base.x >= halo && base.x + (sizeX - 1) < to.interiorEnd.x
                                           : base.y >= halo && base.y + (sizeY - 1) < to.interiorEnd.y;
        tile.forEachRow([&](backend::Row row, unsigned int y, unsigned int k) GPU_INLINE {
            if (firstY + y < 0) return;
            long const outX = firstX + (along == 0 ? k * X : 0), outY = firstY + y + (along == 0 ? 0 : k * Y);
            long end = outY < to.outSize.y ? to.outSize.x - outX : 0;
            if (along == 0 && isInterior && base.y + y < to.interiorEnd.y) end = X;
            if (along == 1 && isInterior) end = larger(end, static_cast<long>(to.interiorEnd.x) - base.x);
            put(tile, row.within(withinRow(-firstX), withinRow(end)), lineOf(y, k), y, k, overwrites);
        });
    }

  private:
    /// The place in the output of the first thread's first sum, or before it.
    static GPU_DEVICE long placeX(uint2 base, Placement const& to) {
        return static_cast<long>(base.x + to.shift.x) - to.trim.x;
    }
    static GPU_DEVICE long placeY(uint2 base, Placement const& to) {
        return static_cast<long>(base.y + to.shift.y) - to.trim.y;
    }

    /// The sums of a row of threads at their places in a line of the output.
    template <class Tile>
    static GPU_DEVICE void put(Tile const& tile, backend::Row row, T* line, unsigned int y, unsigned int k,
                               bool overwrites) {
        if (overwrites) {
            tile.forEachSum(row, y, k, [&](unsigned long x, T sum) { line[x] = sum; });
        } else {
            tile.forEachSum(row, y, k, [&](unsigned long x, T sum) {
                line[x] = reductionoperators::Sum<T>::combine(line[x], sum);
            });
        }
    }

    static GPU_DEVICE unsigned int withinRow(long x) {
        return x < 0 ? 0 : x < X ? static_cast<unsigned int>(x) : X;
    }

    static GPU_DEVICE long larger(long a, long b) { return a > b ? a : b; }
};

}  // namespace gpuruntime::convolutioncommon

#pragma once

#include <gpuruntime/types.hpp>

#include <boost/mpl/integral_c.hpp>
#include <boost/mpl/size_t.hpp>
#include <cstddef>

namespace gpuruntime {

// Convolution with zeros around the input: result n is the sum over the taps j of filter[j] * in[n - j]. What
// holds for all:
//
// - Products are added in ascending order of the taps, each fused with its sum; a complex one is two fused
//   steps for each part, that with the tap's real part first. Sums begin at 0. An existing value is added to
//   last: old value plus new sum.
// - `filter` is device memory and is copied to constant memory first, where every operator of a source unit
//   has it: calls of one family must not overlap, on whatever streams.
// - Results are the status of the copy, without a launch if that fails, or of the launch.
// - Extents, offsets and counts are narrowed to 32 bits.

namespace conv {

/// A piece of a filter of a vector, and where it meets the input.
struct OffsetsAndSzs {
    unsigned long filterOffset;  ///< index of the piece's first tap in the whole filter
    unsigned long outSize;       ///< elements of the output
    unsigned long inSize;        ///< elements of the input
    unsigned long extraTaps;     ///< taps beyond the instance's own
    unsigned long inStart;       ///< input position of the first result of the first block
    unsigned long outTrim;       ///< position of the output's first element in the untrimmed result
    bool firstPiece;             ///< overwrite the output; otherwise add to it
};

static_assert(offsetof(OffsetsAndSzs, filterOffset) == 0 && offsetof(OffsetsAndSzs, outSize) == 8 &&
              offsetof(OffsetsAndSzs, inSize) == 16 && offsetof(OffsetsAndSzs, extraTaps) == 24 &&
              offsetof(OffsetsAndSzs, inStart) == 32 && offsetof(OffsetsAndSzs, outTrim) == 40 &&
              offsetof(OffsetsAndSzs, firstPiece) == 48 && sizeof(OffsetsAndSzs) == 56);

}  // namespace conv

namespace convn {

/// A piece of a filter along dimension 0 or 1 of a matrix, and where it meets the input.
struct OffsetsAndSzs {
    unsigned long outShiftAlong;      ///< from a position along the filter to that in the untrimmed result
    unsigned long outShiftAcross;     ///< the same in the other dimension
    unsigned long extraTaps;          ///< taps beyond the instance's own
    unsigned long startDim0;          ///< input position of the first block
    unsigned long startDim1;          ///< the same in dimension 1
    unsigned long interiorEndDim0;    ///< below this the output is known to exist
    unsigned long interiorEndDim1;    ///< the same in dimension 1
    unsigned long outTrimDim0;        ///< position of the output's first element in the untrimmed result
    unsigned long outTrimDim1;        ///< the same in dimension 1
    unsigned long inPageOffset;       ///< element at which the input page begins, beyond two dimensions
    unsigned long filterPieceOffset;  ///< the piece's first tap is this plus `filterTapOffset`
    unsigned long outPageOffset;      ///< element at which the output page begins, beyond two dimensions
    unsigned long filterTapOffset;
    unsigned long extentDim0;  ///< positions to go over
    unsigned long extentDim1;  ///< the same in dimension 1
    bool firstPiece;           ///< overwrite the output; otherwise add to it
};

static_assert(offsetof(OffsetsAndSzs, outShiftAlong) == 0 && offsetof(OffsetsAndSzs, outShiftAcross) == 8 &&
              offsetof(OffsetsAndSzs, extraTaps) == 16 && offsetof(OffsetsAndSzs, startDim0) == 24 &&
              offsetof(OffsetsAndSzs, startDim1) == 32 && offsetof(OffsetsAndSzs, interiorEndDim0) == 40 &&
              offsetof(OffsetsAndSzs, interiorEndDim1) == 48 && offsetof(OffsetsAndSzs, outTrimDim0) == 56 &&
              offsetof(OffsetsAndSzs, outTrimDim1) == 64 && offsetof(OffsetsAndSzs, inPageOffset) == 72 &&
              offsetof(OffsetsAndSzs, filterPieceOffset) == 80 &&
              offsetof(OffsetsAndSzs, outPageOffset) == 88 &&
              offsetof(OffsetsAndSzs, filterTapOffset) == 96 && offsetof(OffsetsAndSzs, extentDim0) == 104 &&
              offsetof(OffsetsAndSzs, extentDim1) == 112 && offsetof(OffsetsAndSzs, firstPiece) == 120 &&
              sizeof(OffsetsAndSzs) == 128);

}  // namespace convn

namespace convolutioncommon {

/// Along which dimension a matrix is convolved: any value but 0 is `Row`.
enum class KernelType : unsigned int {
    Column = 0,  ///< along dimension 0, the contiguous one
    Row = 1,     ///< along dimension 1
};

/// Where the pages begin, in elements.
struct PageOffsetInfo {
    unsigned long inPageOffset;
    unsigned long unused;  ///< not read
    unsigned long outPageOffset;
};

static_assert(offsetof(PageOffsetInfo, inPageOffset) == 0 && offsetof(PageOffsetInfo, unused) == 8 &&
              offsetof(PageOffsetInfo, outPageOffset) == 16 && sizeof(PageOffsetInfo) == 24);

}  // namespace convolutioncommon

/// A vector and a filter, or a piece of one: `out[n + o - outTrim]` becomes the sum over the piece's taps j
/// of `filter[o + j]` * `in[n - j]`, or gains it, with o the `filterOffset`, for n from `inStart` on and as
/// far as the output goes. A filter is cut into pieces of any instances, one call each.
///
/// `Invoker<T, mpl_::integral_c<int, N>>` applies N + `extraTaps` taps, at most H + 1:
///
/// | `T`       | `N`                             | results of a thread | H      |
/// |-----------|---------------------------------|--------------------:|-------:|
/// | `float`   | 1 to 16                         |                  16 |     32 |
/// | `float`   | 32, 48, 64, 80, 96, 112, 128    |                  16 | N + 16 |
/// | `double`  | 1 to 16                         |                   4 |     32 |
/// | `double`  | 32, 48, 64                      |                   4 | N + 16 |
/// | `float2`  | 1 to 4                          |                   8 |     16 |
/// | `float2`  | 5 to 12                         |                   8 |     32 |
/// | `float2`  | 24, 36                          |                   8 |     48 |
/// | `double2` | 1 to 6                          |                   4 |     16 |
/// | `double2` | 12, 18, 24                      |                   4 |     32 |
///
/// A block has 128 threads; it goes over 128 times the results of a thread. A thread whose first result is
/// trimmed away drops them all, so `inStart` + `filterOffset` should not be below `outTrim`, or by a multiple
/// of a block. With `outSize` 0 one block is launched, which writes nothing. The filter is copied on the
/// stream.
///
/// Example: filter 1, 10 and input 1, 2, 3 with `outSize` 4 give 1, 12, 23, 30.
struct ConvolutionVector {
    template <class T, class Taps>
    struct Invoker {
        cudaError operator()(CUstream_st* stream, T* out, T const* in, T const* filter,
                             conv::OffsetsAndSzs const& sizes) const;
    };
};

/// A matrix, or a page of an array, and a filter along dimension 0 or 1, or a piece of one, with the taps of
/// `ConvolutionVector`'s instances. The result of the taps at input position (x, y), `startDim0` and
/// `startDim1` on, belongs to the untrimmed position with the shifts added, and that less the trims is its
/// place in the output.
///
/// `inSizes` and `outSizes` are host arrays with the extents of dimensions 0 and 1. The page offsets count
/// where `numDims` is above 2. The extents to go over are rounded up to whole blocks: along the filter 32
/// (`Column`) or 8 (`Row`) times 12 results for `float`, 4 for `double` and `float2`, 2 for `double2`, across
/// it 4 or 16; what is outside the output is dropped. As in `ConvolutionVector` a thread whose first result
/// is trimmed away drops them all. A block that begins H or more behind the input's first element and ends
/// below the interior end, both along the filter, stores its results without a test where they are below the
/// interior end across it, too.
///
/// The filter is copied on the null stream, whatever `stream` is: a caller with a stream that does not
/// synchronise with it must order the copy. With an extent of 0 across the filter nothing is launched.
///
/// Example: `Column` with filter 1, -1 turns a matrix into the differences down its columns, of the first
/// element to 0 above it.
struct ConvolutionMatrix {
    template <class T, class Taps>
    struct Invoker {
        cudaError operator()(CUstream_st* stream, T* out, T const* in, T const* filter,
                             unsigned long const* inSizes, unsigned long const* outSizes,
                             convn::OffsetsAndSzs const& sizes, unsigned long const& numDims,
                             convolutioncommon::KernelType const& kernelType) const;
    };
};

/// A matrix, or a page of an array, and a filter of S by S taps: `out(x, y)` is the sum over a and b of
/// `filter(a, b)` * `in(x + offsets[0] - a, y + offsets[1] - b)`, with the input rows in ascending order and
/// the elements of a row, too. `filter(a, b)` is at a + S * b.
///
/// `Invoker<T, mpl_::size_t<S>>` with S 3, 5, 7 or 9, for `double2` 3, 5 or 7. `outSizes`, `inSizes` and
/// `offsets` are host arrays of two; offsets are seen as signed 32-bit numbers. `numDims` is not read.
///
/// The copy of the filter waits for the device, so the filter may be overwritten at once. With `outSizes[0]`
/// 0 nothing is launched, with `outSizes[1]` 0 blocks that write nothing.
///
/// Example: a filter with a single 1 at (0, 0) and offsets of 0 copy the input; one with 1 / 9 in each of 3
/// by 3 and offsets of 1 is the mean of a neighbourhood.
struct ConvolutionSquare {
    template <class T, class Side>
    struct Invoker {
        cudaError operator()(CUstream_st* stream, T* out, T const* in, T const* filter,
                             unsigned long const* outSizes, unsigned long const* inSizes,
                             unsigned long numDims, unsigned long const* offsets,
                             convolutioncommon::PageOffsetInfo pages) const;
    };
};

/// Emit the operators in this library; not for calling.
void _forceInstantiation2_(detail::Opaque&, ConvolutionVector*);
void _forceInstantiation2_(detail::Opaque&, ConvolutionMatrix*);
void _forceInstantiation2_(detail::Opaque&, ConvolutionSquare*);

}  // namespace gpuruntime

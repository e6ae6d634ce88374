#pragma once

#include <gpuruntime/types.hpp>

namespace gpuruntime {

/// Running accumulations along one dimension, in place. What holds for all of them:
///
/// An array is seen as three nested extents, fastest first: `stride`, `reductionLength`, and the rest.
/// `numElements` counts the elements of the whole array and `stride` is the distance between two neighbours
/// along the dimension. A segment is a piece of `reductionLength` elements along it; with `stride` 1 the last
/// one may be short.
///
/// `CumSum`, `CumProd`, `CumMax` and `CumMin` scan each segment of `data` by itself, and give its last value
/// also in `totals`, which has one element for each segment, in the order of the array without the dimension.
/// The `Adjust` forms fold into each segment the total of the one before it, but for the first of each group
/// of `segmentsPerGroup` segments, which stays as it is. So a long dimension is scanned in three calls: a
/// scan of pieces, of `segmentsPerGroup` to the dimension; a scan of the piece totals with `segmentsPerGroup`
/// as the `reductionLength`; and an adjustment of the pieces. `totals` must not overlap `data`.
///
/// Real integers saturate or wrap as in `SumNative` and `ProdNative`. The first element of a segment of two
/// or more stays the input bit for bit, a NaN payload included. Contiguous segments are scanned by a tree of
/// fixed shape, others one element after another: results of one call are the same bit for bit from run to
/// run and on every device, but for NaN payloads and for the math functions by which complex values are
/// ordered. The tree brings in the identity: -0 may become +0.
///
/// Bad input: an empty array writes nothing; no `reductionLength`, and with a `stride` other than 1 no
/// `stride` of 0, is allowed otherwise: at most the launch fails. The result is the first failing status of
/// the launch, else `cudaSuccess`; errors on the device show in later calls. No operator blocks.
///
/// Source: G. E. Blelloch, Prefix Sums and Their Applications, CMU-CS-90-190, 1990.

/// Running sums.
///
/// Types: `bool`, the eight integer types of 1 to 8 bytes, `float`, `double`, and all complex types.
///
/// Example: 1, 2, 3, 4, 5, 6 with `reductionLength` 3 and `stride` 1 becomes 1, 3, 6, 4, 9, 15, and `totals`
/// 6, 15.
struct CumSum {
    template <class T>
    struct Invoker {
        cudaError operator()(CUstream_st* stream, T* totals, T* data, unsigned long numElements,
                             unsigned long reductionLength, unsigned long stride) const;
    };
};

/// Running products.
///
/// Types: as `CumSum`.
///
/// Example: 1, 2, 3, 4, 5, 6 with `reductionLength` 3 and `stride` 1 becomes 1, 2, 6, 4, 20, 120, and
/// `totals` 6, 120.
struct CumProd {
    template <class T>
    struct Invoker {
        cudaError operator()(CUstream_st* stream, T* totals, T* data, unsigned long numElements,
                             unsigned long reductionLength, unsigned long stride) const;
    };
};

/// Running maxima, which pass over NaN but for a leading run of them. Complex values are ordered as in `Max`.
///
/// Types: `bool`, the eight integer types of 1 to 8 bytes, `float`, `double`, `float2`, `double2`.
///
/// Example: NaN, 1, NaN, 0, 2, 1 with `reductionLength` 6 and `stride` 1 becomes NaN, 1, 1, 1, 2, 2, and
/// `totals` 2.
struct CumMax {
    template <class T>
    struct Invoker {
        cudaError operator()(CUstream_st* stream, T* totals, T* data, unsigned long numElements,
                             unsigned long reductionLength, unsigned long stride) const;
    };
};

/// Running minima, by the rules of `CumMax`.
///
/// Types: as `CumMax`.
///
/// Example: NaN, 2, NaN, 3, 1, 2 with `reductionLength` 6 and `stride` 1 becomes NaN, 2, 2, 2, 1, 1, and
/// `totals` 1.
struct CumMin {
    template <class T>
    struct Invoker {
        cudaError operator()(CUstream_st* stream, T* totals, T* data, unsigned long numElements,
                             unsigned long reductionLength, unsigned long stride) const;
    };
};

/// Adds the total of the segment before. With `stride` 1 the element is the first operand, otherwise the
/// total is; the other `Adjust` forms do the same.
///
/// Types: as `CumSum`.
///
/// Example: 1, 3, 6, 4, 9, 15 with `totals` 6, 21, `reductionLength` 3, `segmentsPerGroup` 2 and `stride` 1
/// becomes 1, 3, 6, 10, 15, 21.
struct CumSumAdjust {
    template <class T>
    struct Invoker {
        cudaError operator()(CUstream_st* stream, T* totals, T* data, unsigned long numElements,
                             unsigned long reductionLength, unsigned long segmentsPerGroup,
                             unsigned long stride) const;
    };
};

/// Multiplies with the total of the segment before.
///
/// Types: as `CumSum`.
///
/// Example: 1, 2, 6, 4, 20, 120 with `totals` 6, 720, `reductionLength` 3, `segmentsPerGroup` 2 and `stride`
/// 1 becomes 1, 2, 6, 24, 120, 720.
struct CumProdAdjust {
    template <class T>
    struct Invoker {
        cudaError operator()(CUstream_st* stream, T* totals, T* data, unsigned long numElements,
                             unsigned long reductionLength, unsigned long segmentsPerGroup,
                             unsigned long stride) const;
    };
};

/// The larger of the element and the total of the segment before.
///
/// Types: as `CumMax`.
///
/// Example: 1, 5, 5, 2, 2, 7 with `totals` 5, 7, `reductionLength` 3, `segmentsPerGroup` 2 and `stride` 1
/// becomes 1, 5, 5, 5, 5, 7.
struct CumMaxAdjust {
    template <class T>
    struct Invoker {
        cudaError operator()(CUstream_st* stream, T* totals, T* data, unsigned long numElements,
                             unsigned long reductionLength, unsigned long segmentsPerGroup,
                             unsigned long stride) const;
    };
};

/// The smaller of the element and the total of the segment before.
///
/// Types: as `CumMax`.
///
/// Example: 5, 3, 3, 4, 4, 1 with `totals` 3, 1, `reductionLength` 3, `segmentsPerGroup` 2 and `stride` 1
/// becomes 5, 3, 3, 3, 3, 1.
struct CumMinAdjust {
    template <class T>
    struct Invoker {
        cudaError operator()(CUstream_st* stream, T* totals, T* data, unsigned long numElements,
                             unsigned long reductionLength, unsigned long segmentsPerGroup,
                             unsigned long stride) const;
    };
};

/// Emit the operators in this library; not for calling.
void _forceInstantiation_(detail::Opaque&, CumSum*);
void _forceInstantiation_(detail::Opaque&, CumProd*);
void _forceInstantiation_(detail::Opaque&, CumMax*);
void _forceInstantiation_(detail::Opaque&, CumMin*);
void _forceInstantiation_(detail::Opaque&, CumSumAdjust*);
void _forceInstantiation_(detail::Opaque&, CumProdAdjust*);
void _forceInstantiation_(detail::Opaque&, CumMaxAdjust*);
void _forceInstantiation_(detail::Opaque&, CumMinAdjust*);

}  // namespace gpuruntime

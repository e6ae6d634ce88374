#pragma once

#include <gpuruntime/types.hpp>

namespace gpuruntime {

/// Writes one, (1, 0) for complex types, at the first `n` diagonal elements of a column-major matrix with
/// `leadingDimension` rows: at offsets `i` * (`leadingDimension` + 1), formed in 64 bits. Nothing else is
/// written: the caller has zeroed the matrix. For a matrix that is not square, `n` is the smaller extent.
///
/// Types: `bool`, the eight integer types of 1 to 8 bytes, `float`, `double`, and all complex types.
///
/// Example: `n` 3, `leadingDimension` 4 writes at offsets 0, 5, 10.
struct Eye {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, unsigned long n, T* out, unsigned long leadingDimension) const;
    };
};

/// Fills `n` elements with the bit pattern `value`. Callers cast any element type of 8 or 16 bytes.
///
/// Types: `unsigned long`, `ulonglong2`.
struct GenericOnes {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, unsigned long n, T* out, T value) const;
    };
};

/// A running index in which each value stands `repeatEach` times, over `numRuns` values and then again from
/// the start: `out[i]` = ((`i` mod (`repeatEach` * `numRuns`)) / `repeatEach`) + `offset`, in unsigned 32-bit
/// arithmetic but for the sum, which is that of `T`. `repeatEach`, `numRuns` and their product wrap at 32
/// bits; a product of 0 gives meaningless values, and no fault.
///
/// Types: `int`, `double`.
///
/// Example: `n` 8, `repeatEach` 2, `numRuns` 3, `offset` 1 gives 1, 1, 2, 2, 3, 3, 1, 1.
struct FillArrayWithRunningIndex {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, unsigned long n, T* out, unsigned long repeatEach,
                        unsigned long numRuns, T offset) const;
    };
};

namespace movfun {

/// The end correction of a moving window: adds `fill` to `out[i]` once for each slot of the window around
/// `positions[i]` that hangs off the data.
///
/// `positions` holds `n` 1-based positions in data of `length` elements. The window takes `windowBefore`
/// elements before the position and `windowAfter` after it. Each end is one fused multiply-add on `out[i]`,
/// the start first. A position past `length` adds nothing; a fraction is cut off; a position below 1, or NaN,
/// counts as 1.
///
/// Types: `float`, `double`.
///
/// Example: `length` 5, `windowBefore` 2, `windowAfter` 1, `fill` 1, zeroed `out`: positions 1 to 6 give
/// 2, 1, 0, 0, 1, 0.
struct FillMovVector {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, unsigned long n, T* out, double const* positions,
                        unsigned long length, unsigned long windowBefore, unsigned long windowAfter,
                        T fill) const;
    };
};

/// Emits the operators in this library; not for calling.
void _forceInstantiation_(detail::Opaque&, FillMovVector*);

}  // namespace movfun

/// Emit the operators in this library; not for calling.
void _forceInstantiation_(detail::Opaque&, Eye*);
void _forceInstantiation_(detail::Opaque&, GenericOnes*);
void _forceInstantiation_(detail::Opaque&, FillArrayWithRunningIndex*);

}  // namespace gpuruntime

#pragma once

#include <gpuruntime/types.hpp>

namespace gpuruntime {

/// The sorts of this header work in place and on the default stream: they take no stream, serialise with
/// other work there, and have finished when they return. Temporary device memory is allocated within the
/// call. A failed allocation or launch throws `thrust::system::detail::bad_alloc`, `std::bad_alloc` or
/// `thrust::system::system_error`, and leaves the arrays partly sorted. After a failed allocation every value
/// is still there, beside what moves with it.
///
/// Element types of the sorts: `long`, `unsigned long`, `double`, `double2`.
///
/// Order:
/// - Real values without `indices` go by bit pattern: -0 comes before +0. Where `indices` travel along, both
///   zeros are equal.
/// - `double2` values go by magnitude, then by phase angle in [-pi, pi], as the device's `hypot` and `atan2`
///   give them. Magnitudes that overflow are compared at half the values; magnitudes that are equal by
///   rounding, with one larger part, by the smaller part. So -1 comes after 1, and a real value of negative
///   sign after its opposite.
/// - Equal values keep their order, whether ascending or descending. All sorts are stable.
/// - With `hasNaN` true, NaNs keep their order at the end if `ascending`, at the start if not. A complex
///   value is NaN if either part is. With `hasNaN` false and NaNs among the values, the result is not
///   defined; the library does not look for NaN by itself. For integers `hasNaN` means nothing.
///
/// `SimpleSort`, `SortMatrix`, `SortMatrixIndex`, and `SortVector` of real values without `indices`, take
/// fewer than 2^31 elements, which is what a radix sort counts to; more are not detected. `SortVector` of
/// `double2`, or with `indices`, has no limit but memory.

/// Sorts the `n` values of `data`. `indices`, if not null, holds `n` numbers that move with their values; the
/// caller fills it, for instance with 1 to `n`.
///
/// Example: `data` 3, NaN, 1, 2, 1, 0 with `indices` 1 to 6, ascending, `hasNaN`: `data` becomes 0, 1, 1, 2,
/// 3, NaN and `indices` 6, 3, 5, 4, 1, 2. Descending: NaN, 3, 2, 1, 1, 0 and 2, 1, 4, 3, 5, 6.
struct SortVector {
    template <class T>
    struct Invoker {
        void operator()(T* data, double* indices, unsigned long n, bool ascending, bool hasNaN) const;
    };
};

/// Sorts the columns of a matrix of `n` elements in all, each by itself. `columnIds[i]` names the column of
/// `data[i]`; any labels will do. Afterwards the elements stand by ascending label, and `columnIds` is sorted
/// too.
///
/// Example: `data` 3, 1, 2, 6, 5, 4 with `columnIds` 0, 0, 0, 1, 1, 1, ascending: 1, 2, 3, 4, 5, 6.
struct SortMatrix {
    template <class T>
    struct Invoker {
        void operator()(T* data, int* columnIds, unsigned long n, bool ascending, bool hasNaN) const;
    };
};

/// As `SortMatrix`, and `indices` moves with the values, as in `SortVector`.
///
/// Example: `data` 3, 1, 2, 6, 5, 4 with `indices` 1, 2, 3, 1, 2, 3 and `columnIds` 0, 0, 0, 1, 1, 1,
/// descending: `data` becomes 3, 2, 1, 6, 5, 4 and `indices` 1, 3, 2, 1, 2, 3.
struct SortMatrixIndex {
    template <class T>
    struct Invoker {
        void operator()(T* data, double* indices, int* columnIds, unsigned long n, bool ascending,
                        bool hasNaN) const;
    };
};

/// Sorts the `n` values of `data` ascending by bit pattern: -0 before +0, a NaN beyond the infinity of its
/// sign.
///
/// Types: `double`. Example: 3, -1, 2, -0, 0, 1 becomes -1, -0, 0, 1, 2, 3.
struct SimpleSort {
    template <class T>
    struct Invoker {
        void operator()(T* data, unsigned long n) const;
    };
};

/// The permutation that sorts the rows of a column-major matrix, which itself does not move.
///
/// `data` has `numRows` rows. `rowIndices` holds the row numbers 1 to `numRows`, which the call sorts in
/// place. `sortOrder`, in host memory, lists `numColsToSort` columns, the first being the most significant:
/// the magnitude of an entry, its fraction cut off, is the 1-based column, and entries greater than 0 are
/// ascending, all others descending. Null stands for columns 1 to `numColsToSort`, all ascending. An entry of
/// magnitude below 1 names no column; the caller keeps it out.
///
/// NaN is greater than every number; two NaNs tie. Complex values go by magnitude and phase as above, and
/// those that hold a NaN come after all others. So in a descending column NaN comes first. Both zeros are
/// equal. Rows that tie in all columns stand by row number, ascending, whatever the directions.
///
/// Returns the status of the first copy of the scalars to constant memory that failed, and has then sorted
/// nothing; or else the status of releasing its buffer. If the list cannot be copied or has no memory,
/// nothing is sorted and that failure is not reported. Calls write device symbols, so two of them must not
/// overlap. An exception leaves the buffer of a list of more than 1024 columns allocated.
///
/// Types: as the sorts. Example: columns 2, 1, 2, 1, 2, 1 and 5, 6, 7, 6, 8, 9 with `sortOrder` 1, -2: 6, 2,
/// 4, 5, 3, 1.
struct SortrowsIndex {
    template <class T>
    struct Invoker {
        int operator()(T const* data, unsigned int* rowIndices, unsigned long numRows,
                       unsigned long numColsToSort, double const* sortOrder) const;
    };
};

/// Whether the `n` values of `data` ascend in the order of `SortVector`: NaNs last, equal values in any
/// number, complex values by magnitude and then by phase. True for `n` of 0 and 1. A complex value is NaN
/// here if its magnitude is: one with an infinite part is not, even if the other part is NaN.
///
/// Waits for the stream. True as well when a call of the runtime failed on the way. Calls share one device
/// symbol, so two of them must not overlap.
///
/// Types: `bool`, `signed char`, `unsigned char`, `short`, `unsigned short`, `int`, `unsigned int`, `long`,
/// `unsigned long`, `float`, `double`, `float2`, `double2`.
///
/// Example: 1, 2, 2, 3, NaN, NaN gives true.
struct IsSortedVector {
    template <class T>
    struct Invoker {
        bool operator()(CUstream_st* stream, T const* data, unsigned long n) const;
    };
};

/// As `IsSortedVector`, but equal values, and two NaNs, do not count as ascending. One NaN may be the last
/// value.
///
/// Types: `float`, `double`. Example: 1, 2, 2, 3, 4, NaN gives false, and 1, 2, 3, 4, 5, NaN true.
struct IsStronglySortedVector {
    template <class T>
    struct Invoker {
        bool operator()(CUstream_st* stream, T const* data, unsigned long n) const;
    };
};

/// Emit the operators in this library; not for calling.
void _forceInstantiation_(detail::Opaque&, SortVector*);
void _forceInstantiation_(detail::Opaque&, SortMatrix*);
void _forceInstantiation_(detail::Opaque&, SortMatrixIndex*);
void _forceInstantiation_(detail::Opaque&, SimpleSort*);
void _forceInstantiation_(detail::Opaque&, SortrowsIndex*);
void _forceInstantiation_(detail::Opaque&, IsSortedVector*);
void _forceInstantiation_(detail::Opaque&, IsStronglySortedVector*);

}  // namespace gpuruntime

#pragma once

#include <gpuruntime/types.hpp>

namespace gpuruntime {

/// The shape of matrices, from which an engine chooses a solver. Dense matrices are column-major; `x` is a
/// row and `y` a column, from 0 on. An element is non-zero if it, or a part of it, is not equal to 0: NaN is
/// non-zero. Matrices need not be square, save for `IsSymmetric`.
///
/// But for `Bandwidth`, the operators wait for the stream. Their flags are words of the device, one for each
/// of `IsBanded`, `IsSymmetric`, `IsTril` with `IsTriu`, and `GetFillPattern` with `GetSparseFillPattern`:
/// calls that share one must not overlap. A flag that cannot be written or read gives the answer that is told
/// for a failure; a launch that fails leaves the flags as they were reset, so that the property holds. A
/// matrix without elements has every property.

/// How far non-zero elements are from the diagonal: `*lower` becomes the largest `x` - `y` of a non-zero
/// element below it, and `*upper` the largest `y` - `x` of one above, or 0. Both are in device memory; either
/// may be null and is then left out. Queued on the stream; if a result cannot be reset, nothing more is done.
///
/// Types: `float`, `double`, `float2`, `double2`.
///
/// Example: a single non-zero element in row 5, column 2 gives `lower` 3, `upper` 0.
struct Bandwidth {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, unsigned int* lower, unsigned int* upper, T const* in,
                        unsigned long rows, unsigned long columns) const;
    };
};

/// Whether all elements are 0 that are more than `lower` below the diagonal or more than `upper` above it; 1
/// if so, or on failure, else 0.
///
/// Types: as `Bandwidth`.
struct IsBanded {
    template <class T>
    struct Invoker {
        bool operator()(CUstream_st* stream, T const* in, unsigned long rows, unsigned long columns,
                        unsigned long lower, unsigned long upper) const;
    };
};

/// Whether all elements above the diagonal are 0; 1 if so, or on failure, else 0. Types: as `Bandwidth`.
struct IsTril {
    template <class T>
    struct Invoker {
        bool operator()(CUstream_st* stream, T const* in, unsigned long rows, unsigned long columns) const;
    };
};

/// Whether all elements below the diagonal are 0; 1 if so, or on failure, else 0. Types: as `Bandwidth`.
struct IsTriu {
    template <class T>
    struct Invoker {
        bool operator()(CUstream_st* stream, T const* in, unsigned long rows, unsigned long columns) const;
    };
};

/// Whether a square matrix equals its transpose, each element its mirror image: with `conjugate` the
/// conjugate of that, with `skew` its negation; 1 if so, or on failure, else 0. A NaN equals nothing, on the
/// diagonal either. Real elements are their own conjugates; of `bool` elements a `skew` matrix has none that
/// is true.
///
/// Types: `bool`, `float`, `double`, `float2`, `double2`.
///
/// Example: (1, i; i, 1) is symmetric, and not with `conjugate`.
struct IsSymmetric {
    template <class T>
    struct Invoker {
        bool operator()(CUstream_st* stream, T const* in, unsigned long rows, unsigned long columns,
                        bool conjugate, bool skew) const;
    };
};

/// Bit 0 if nothing above the diagonal is non-zero, bit 1 if nothing below it is: 3 for a diagonal matrix, 1
/// for a lower triangle, 2 for an upper one, 0 for a full one, and on failure.
///
/// Types: as `Bandwidth`.
struct GetFillPattern {
    template <class T>
    struct Invoker {
        unsigned int operator()(CUstream_st* stream, T const* in, unsigned long rows,
                                unsigned long columns) const;
    };
};

/// The same of a sparse matrix in compressed columns: the `nonZeros` stored elements of column `c` are those
/// from `columnStarts[c]` on and before `columnStarts[c + 1]`, 0-based, in the rows `rowIndices`, 0-based,
/// too. Stored zeros do not count.
///
/// Types: `double`, `double2`.
struct GetSparseFillPattern {
    template <class T>
    struct Invoker {
        unsigned int operator()(CUstream_st* stream, int const* columnStarts, int const* rowIndices,
                                T const* values, unsigned long numColumns, unsigned long nonZeros) const;
    };
};

/// Emit the operators in this library; not for calling.
void _forceInstantiation_(detail::Opaque&, Bandwidth*);
void _forceInstantiation_(detail::Opaque&, IsBanded*);
void _forceInstantiation_(detail::Opaque&, IsTril*);
void _forceInstantiation_(detail::Opaque&, IsTriu*);
void _forceInstantiation_(detail::Opaque&, IsSymmetric*);
void _forceInstantiation_(detail::Opaque&, GetFillPattern*);
void _forceInstantiation_(detail::Opaque&, GetSparseFillPattern*);

}  // namespace gpuruntime

#pragma once

#include <gpuruntime/types.hpp>

namespace gpuruntime {

// What holds for the dense families here: elements are moved bit for bit; `out` and `in` do not overlap; a
// matrix holds fewer than 2^32 elements; where an extent is 0, nothing is launched. Types: `bool`, the eight
// integer types of 1 to 8 bytes, `float`, `double`, and all complex types. No state: calls may run side by
// side on several streams.

/// `copies` copies of a column vector of `length` elements side by side: `out[y * length + x]` = `in[x]`.
///
/// Example: `in` 1, 2, `copies` 3 gives 1, 2, 1, 2, 1, 2.
struct RepmatColumnVector {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, T* out, T const* in, unsigned long length,
                        unsigned long copies) const;
    };
};

/// `rowCopies` by `columnCopies` copies of a row vector of `length` elements: a matrix of `rowCopies` equal
/// rows, repeated side by side. `out[(z * length + y) * rowCopies + x]` = `in[y]`.
///
/// Example: `in` 1, 2, `rowCopies` 2, `columnCopies` 2 gives 1, 1, 2, 2, 1, 1, 2, 2.
struct RepmatRowVector {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, T* out, T const* in, unsigned long length,
                        unsigned long rowCopies, unsigned long columnCopies) const;
    };
};

/// Each column of a `rows` by `cols` matrix `copies` times, one copy beside the other:
/// `out[(z * copies + y) * rows + x]` = `in[z * rows + x]`.
///
/// Example: `in` 1, 2, 3, 4, `rows` 2, `cols` 2, `copies` 2 gives 1, 2, 1, 2, 3, 4, 3, 4.
struct RepmatMatrixRows {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, T* out, T const* in, unsigned long rows, unsigned long cols,
                        unsigned long copies) const;
    };
};

/// Each of the `pages` `rows` by `cols` matrices turned by a quarter: element (r, c) comes to (c, `rows` - 1
/// - r), or to (`cols` - 1 - c, r) if not `clockwise`, of a `cols` by `rows` matrix.
///
/// Example: `rows` 2, `cols` 3, `pages` 1, `in` 1, 2, 3, 4, 5, 6 gives, clockwise, 2, 4, 6, 1, 3, 5, and else
/// 5, 3, 1, 6, 4, 2.
struct Rot90 {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, T* out, T const* in, unsigned long rows, unsigned long cols,
                        unsigned long pages, bool clockwise) const;
    };
};

/// Writes the `length` elements of `in` to the `k`-th diagonal of a matrix with `leadingDim` rows, of which
/// nothing else is written: the caller has zeroed it. Diagonals above the main one have positive numbers; the
/// first element of one is at offset -`k`, or, for positive `k`, at `k` * `leadingDim`. `leadingDim` and `k`
/// are cut to 32 bits.
///
/// Example: `in` 1, 2, `leadingDim` 3: `k` 0 writes at offsets 0 and 4, `k` -1 at 1 and 5, `k` 1 at 3 and 7.
struct DiagVecToMat {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, T* out, T const* in, unsigned long leadingDim, long k,
                        unsigned long length) const;
    };
};

/// Reads the first `length` elements of the `k`-th diagonal of a matrix with `leadingDim` rows, as
/// `DiagVecToMat` numbers and places them.
///
/// Example: `in` 1 to 9, `leadingDim` 3, `length` 2: `k` -1 gives 2, 6.
struct DiagMatToVec {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, T* out, T const* in, unsigned long leadingDim, long k,
                        unsigned long length) const;
    };
};

/// Writes zeros above the `k`-th diagonal of a `rows` by `cols` matrix, in place: what stays is the diagonal
/// and what is below. The difference of column and `k` is taken in 32 bits.
///
/// Example: `rows` 2, `cols` 3, `k` 0, `data` 1, 2, 3, 4, 5, 6 gives 1, 2, 0, 4, 0, 0.
struct TriLower {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, T* data, long k, unsigned long rows, unsigned long cols) const;
    };
};

/// Writes zeros below the `k`-th diagonal: as `TriLower`, with the diagonal and what is above staying.
///
/// Example: `rows` 2, `cols` 3, `k` 0, `data` 1, 2, 3, 4, 5, 6 gives 1, 0, 3, 4, 5, 6.
struct TriUpper {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, T* data, long k, unsigned long rows, unsigned long cols) const;
    };
};

/// As `TriLower`, with ones, (1, 0) for complex types, on the diagonal itself.
///
/// Example: `rows` 2, `cols` 3, `k` 0, `data` 1, 2, 3, 4, 5, 6 gives 1, 2, 0, 1, 0, 0.
struct TriLowerOneOnDiag {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, T* data, long k, unsigned long rows, unsigned long cols) const;
    };
};

/// `TriLower` of a sparse matrix of `nnz` stored elements, compressed by row: `rowStarts` holds `numRows` + 1
/// offsets that begin at 0 and end at `nnz`, `columnIndices` the zero-based column of each element. An
/// element above the `k`-th diagonal becomes a stored zero, which the caller may remove. `nnz` of 0 launches
/// nothing.
///
/// Types: `double`, `double2`.
///
/// Example: rows (1, 2), (3, 4), all stored, `k` 0: `values` become 1, 0, 3, 4.
struct TriLowerSparse {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, int const* rowStarts, int const* columnIndices, T* values,
                        unsigned long numRows, unsigned long nnz, long k) const;
    };
};

/// `TriUpper` of such a matrix: an element below the `k`-th diagonal becomes a stored zero.
///
/// Types: `double`, `double2`.
///
/// Example: rows (1, 2), (3, 4), all stored, `k` 0: `values` become 1, 2, 0, 4.
struct TriUpperSparse {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, int const* rowStarts, int const* columnIndices, T* values,
                        unsigned long numRows, unsigned long nnz, long k) const;
    };
};

/// Emit the operators in this library; not for calling.
void _forceInstantiation_(detail::Opaque&, RepmatColumnVector*);
void _forceInstantiation_(detail::Opaque&, RepmatRowVector*);
void _forceInstantiation_(detail::Opaque&, RepmatMatrixRows*);
void _forceInstantiation_(detail::Opaque&, Rot90*);
void _forceInstantiation_(detail::Opaque&, DiagVecToMat*);
void _forceInstantiation_(detail::Opaque&, DiagMatToVec*);
void _forceInstantiation_(detail::Opaque&, TriLower*);
void _forceInstantiation_(detail::Opaque&, TriUpper*);
void _forceInstantiation_(detail::Opaque&, TriLowerOneOnDiag*);
void _forceInstantiation_(detail::Opaque&, TriLowerSparse*);
void _forceInstantiation_(detail::Opaque&, TriUpperSparse*);

}  // namespace gpuruntime

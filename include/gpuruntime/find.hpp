#pragma once

#include <gpuruntime/types.hpp>

namespace gpuruntime {

/// Which of the elements that are not zero are wanted: the first, or the last. Any other value launches
/// nothing.
enum FindFirstLast : int { FindFirst = 0, FindLast = 1 };

// The positions of the elements that are not zero, the last step of a compaction: the caller has counted
// them, so that `scan[i]` is the number of such elements up to and including i, in `double`, and each finds
// its place in the output. What holds for the three families:
//
// - Any set bit is not zero in a `bool` or an integer; of floating values NaN is not zero, -0 is. A complex
//   value is zero if both its parts are.
// - `limit` is the number of positions wanted, and of elements in each output; more than there are is an
//   error of the caller's, by which `FindLast` writes nothing. The first `limit` hits are written, or the
//   last, in the order of the array both times.
// - Positions are 1-based. An array has fewer than 2^32 elements; one without elements launches nothing.
// - Types: `bool`, the eight integer types of 1 to 8 bytes, `float`, `double`, and all complex types.
// - No state: calls may run side by side on several streams.

/// Positions in a vector of `n` elements. Returns the runtime's status, or, if nothing is launched, the value
/// of `mode`.
///
/// Example: hits at positions 3, 5 and 9, `limit` 2: the first are 3, 5, the last 5, 9.
struct Find1D {
    template <class T>
    struct Invoker {
        int operator()(CUstream_st* stream, double* positions, T const* in, double const* scan,
                       unsigned long limit, unsigned long n, FindFirstLast mode) const;
    };
};

/// Rows and columns in a `numRows` by `numCols` matrix.
///
/// Example: the 2 by 2 matrix 0, 5, 6, 0, `limit` 2 gives rows 2, 1 and columns 1, 2.
struct Find2D {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, double* rowPositions, double* columnPositions, T const* in,
                        double const* scan, unsigned long limit, unsigned long numRows, unsigned long numCols,
                        FindFirstLast mode) const;
    };
};

/// As `Find2D`, and copies each element found, bit for bit.
///
/// Example: as above, and `values` 5, 6.
struct Find2DWithValue {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, double* rowPositions, double* columnPositions, T* values,
                        T const* in, double const* scan, unsigned long limit, unsigned long numRows,
                        unsigned long numCols, FindFirstLast mode) const;
    };
};

/// 1-based linear positions of the `nnz` stored elements of a sparse matrix, whose indices are zero-based:
/// `colIndices[i]` * `numRows` + `rowIndices[i]` + 1, in unsigned 32-bit arithmetic. `nnz` of 0 launches
/// nothing.
///
/// Example: `numRows` 3, row 1, column 2 gives 8.
struct FindSparse1DConvertCoordsHelper {
    struct Invoker {
        void operator()(CUstream_st* stream, double* positions, int const* rowIndices, int const* colIndices,
                        unsigned long nnz, unsigned long numRows) const;
    };
};

/// 1-based rows and columns of such elements: each index plus 1.
///
/// Example: row 1, column 2 gives 2 and 3.
struct FindSparse2DRectifyCoordsHelper {
    struct Invoker {
        void operator()(CUstream_st* stream, double* rowPositions, double* columnPositions,
                        int const* rowIndices, int const* colIndices, unsigned long nnz) const;
    };
};

/// Emit the operators in this library; not for calling.
void _forceInstantiation_(detail::Opaque&, Find1D*);
void _forceInstantiation_(detail::Opaque&, Find2D*);
void _forceInstantiation_(detail::Opaque&, Find2DWithValue*);

}  // namespace gpuruntime

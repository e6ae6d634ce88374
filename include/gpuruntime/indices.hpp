#pragma once

#include <gpuruntime/types.hpp>

namespace gpuruntime {

// Indices and subscripts are 1-based and held as `double`; arrays are column-major. Extents are cut to 32
// bits. No state but for the error word of the checked families: calls of the others may run side by side on
// several streams. `n` of 0 launches nothing.

/// Linear indices of subscripts into a matrix of `numRows`: `out[i]` = `numRows` * (`cols[i]` - 1) +
/// `rows[i]`, in double precision, the product and the sum in one rounding. Nothing is checked; fractions
/// stay.
///
/// Example: `numRows` 3, `rows` 2, 2.5, `cols` 1, 4 gives 2, 11.5.
struct Sub2Ind2D {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, unsigned long n, T* out, T const* rows, T const* cols,
                        unsigned long numRows) const;
    };
};

/// The same in three dimensions: `numRows` * (`numCols` * (`pages[i]` - 1) + (`cols[i]` - 1)) + `rows[i]`.
///
/// Example: `numRows` 3, `numCols` 4, row 2, column 3, page 2 gives 20.
struct Sub2Ind3D {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, unsigned long n, T* out, T const* rows, T const* cols,
                        T const* pages, unsigned long numRows, unsigned long numCols) const;
    };
};

/// As `Sub2Ind2D`, and reports in the error word, as 1057, that a linear index is below 1 or a subscript
/// exceeds its dimension. All results are written. A subscript below 1 is seen only where it takes the linear
/// index below 1, and NaN never.
///
/// The word is one for both checked families and is reset by each call, so that calls must not overlap.
/// Returns the runtime's status: that of the reset, and if that succeeded, of the launch.
///
/// Example: `numRows` 3, `numCols` 4: subscripts (0, 1) are reported, (0, 2), which give 3, are not.
struct Sub2Ind2DChecked {
    template <class T>
    struct Invoker {
        int operator()(CUstream_st* stream, unsigned long n, T* out, T const* rows, T const* cols,
                       unsigned long numRows, unsigned long numCols) const;
    };
    /// Waits for the stream and reads the word: 1000 if nothing was reported, 1063 if it cannot be read.
    unsigned int getErrorFlag(CUstream_st* stream) const;
};

/// `Sub2Ind3D` with the checks of `Sub2Ind2DChecked`.
struct Sub2Ind3DChecked {
    template <class T>
    struct Invoker {
        int operator()(CUstream_st* stream, unsigned long n, T* out, T const* rows, T const* cols,
                       T const* pages, unsigned long numRows, unsigned long numCols,
                       unsigned long numPages) const;
    };
    /// Waits for the stream and reads the word: 1000 if nothing was reported, 1063 if it cannot be read.
    unsigned int getErrorFlag(CUstream_st* stream) const;
};

/// Subscripts of linear indices into a matrix of `numRows`. With q the quotient of `ind[i]` - 1, truncated to
/// unsigned 32 bits, and `numRows`: `cols[i]` = q + 1 and `rows[i]` = `ind[i]` - `numRows` * q.
///
/// Example: `numRows` 2, `ind` 3, 2.5 gives `rows` 1, 2.5 and `cols` 2, 1.
struct Ind2Sub2D {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, unsigned long n, T* rows, T* cols, T const* ind,
                        unsigned long numRows) const;
    };
};

/// The same in three dimensions; a page of `numRows` by `numCols` has fewer than 2^32 elements.
///
/// Example: `numRows` 3, `numCols` 4, `ind` 20 gives row 2, column 3, page 2.
struct Ind2Sub3D {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, unsigned long n, T* rows, T* cols, T* pages, T const* ind,
                        unsigned long numRows, unsigned long numCols) const;
    };
};

/// One element of each of the first `n` columns of a matrix of `leadingDim` rows: of column i that in row
/// `selection[i]`, truncated toward zero. Indices are not checked.
///
/// Types: `bool`, the eight integer types of 1 to 8 bytes, `float`, `double`, and all complex types.
///
/// Example: `in` 1, 2, 3, 4, 5, 6, `leadingDim` 3, `selection` 3, 1 gives 3, 4.
struct SelectFromColumns {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, unsigned long n, T* out, T const* in, double const* selection,
                        unsigned long leadingDim) const;
    };
};

/// One element of each of the first `n` rows: of row i that in column `selection[i]`.
///
/// Types: as `SelectFromColumns`.
///
/// Example: `in` 1, 2, 3, 4, 5, 6, `leadingDim` 3, `selection` 2, 1, 2 gives 4, 2, 6.
struct SelectFromRows {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, unsigned long n, T* out, T const* in, double const* selection,
                        unsigned long leadingDim) const;
    };
};

/// Whether each of `n` values is an index: at least 1, finite and whole.
///
/// Example: `ind` 0, -1, 0.5, 1, 1.5, NaN, infinity: only the fourth is.
struct IndexValidation {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, unsigned long n, bool* isValid, T const* ind) const;
    };
};

/// Adds `in` to the leading block of its size of `out`. The arrays differ in one of their `numDims` extents
/// at most; `outSizes` and `inSizes`, in host memory, are read up to there, and `numInDims` is not. Sums are
/// those of `T`, part by part for complex types. Returns the runtime's status; an `in` without elements
/// launches nothing.
///
/// Types: `float`, `double`, `float2`, `double2`.
///
/// Example: `out` of (3, 2) and `in` of (2, 2) 1, 2, 3, 4: 1, 2 are added to the first two elements of `out`,
/// 3, 4 to the fourth and the fifth.
struct AddSubarrayInPlace {
    template <class T>
    struct Invoker {
        int operator()(CUstream_st* stream, T* out, unsigned long const* outSizes, unsigned long numDims,
                       T const* in, unsigned long const* inSizes, unsigned long numInDims) const;
    };
};

/// Emit the operators in this library; not for calling.
void _forceInstantiation_(detail::Opaque&, Sub2Ind2D*);
void _forceInstantiation_(detail::Opaque&, Sub2Ind3D*);
void _forceInstantiation_(detail::Opaque&, Sub2Ind2DChecked*);
void _forceInstantiation_(detail::Opaque&, Sub2Ind3DChecked*);
void _forceInstantiation_(detail::Opaque&, Ind2Sub2D*);
void _forceInstantiation_(detail::Opaque&, Ind2Sub3D*);
void _forceInstantiation_(detail::Opaque&, SelectFromColumns*);
void _forceInstantiation_(detail::Opaque&, SelectFromRows*);
void _forceInstantiation_(detail::Opaque&, IndexValidation*);
void _forceInstantiation_(detail::Opaque&, AddSubarrayInPlace*);

}  // namespace gpuruntime

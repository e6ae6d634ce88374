#pragma once

#include <gpuruntime/types.hpp>

namespace gpuruntime {

// Counts of an array's values by bins, one histogram per column of a paged array. What holds for both:
//
// - Shapes: `data` is `numPages` pages of `numRows` rows of `numColumns`, columns fastest: element (row,
// column)
//   of a page is at (page * `numRows` + row) * `numColumns` + column, and a histogram goes along the rows.
//   `counts` is alike with `numBins` rows per page.
// - Bins: there are as many bins as edges, at least one. Bin b holds values from edge b up to, but not at,
// the
//   next; the last holds only those equal to the last edge. NaN and values outside are in no bin.
// - `counts` is added to, and is the caller's to clear. Counts wrap at 2^32.
// - `binIndices`, one for each element, is the 1-based bin, or 0 for none. It may be null.
// - A page has fewer than 2^32 elements, and so have `counts`. Without rows or columns nothing is launched.
// - Returns the runtime's status. No state: calls may run side by side on several streams, and on the same
//   counts.

/// By a list of `numBins` edges in device memory, in ascending order, which is not checked. Of equal edges
/// the last counts. A binary search for each element.
///
/// Example: edges 0, 1, 2: the values 0.5, 2, 2.5, -1, NaN have the bin indices 1, 3, 0, 0, 0.
struct HistCGeneralForm {
    template <class T>
    struct Invoker {
        cudaError operator()(CUstream_st* stream, unsigned int* counts, double* binIndices, T const* data,
                             T const* edges, unsigned long numBins, unsigned long numColumns,
                             unsigned long numRows, unsigned long numPages) const;
    };
};

/// By `numBins` evenly spaced edges, of which `edges`, in host memory, has the first and the last; it is read
/// before the call returns.
///
/// The bin of x is floor(p), where p = (x - first) * ((`numBins` - 1) / (last - first)) in the arithmetic of
/// `T`; the parenthesis is a `double`, rounded to `T`. So a value at an edge can fall on either side of it
/// where p is not exact. A p whose sign bit is set, -0 among them, has no bin, nor has one above `numBins`
/// - 1. If the factor is 0, because the edges are equal or there is one bin, values equal to the first edge
/// are in the last bin, others in none.
///
/// Example: edges 0 and 10, 11 bins: the values 0, 9.5, 10, 10.5 have the bin indices 1, 10, 11, 0.
struct HistCColonForm {
    template <class T>
    struct Invoker {
        cudaError operator()(CUstream_st* stream, unsigned int* counts, double* binIndices, T const* data,
                             T const* edges, unsigned long numBins, unsigned long numColumns,
                             unsigned long numRows, unsigned long numPages) const;
    };
};

/// Emit the operators in this library; not for calling.
void _forceInstantiation_(detail::Opaque&, HistCGeneralForm*);
void _forceInstantiation_(detail::Opaque&, HistCColonForm*);

}  // namespace gpuruntime

#pragma once

#include <gpuruntime/interp_type.hpp>
#include <gpuruntime/types.hpp>

namespace gpuruntime {

// Checks of grids and search in them, for interpolation. What holds for all:
//
// - A full grid is a vector of at least two coordinates, each above the one before. A colon grid is the
//   implicit grid 1, 2, ... `gridSize`.
// - A bin is the index of an interval, that between points bin and bin + 1, from 0 to `gridSize` - 2, or one
//   of the codes below 0.
// - Types: `float`, `double`.
//
// The checks only report. They wait for the stream, and their flags are words of the device, one for each
// family (`VerifyNDCartesianGrid` has three): calls of the same family must not overlap.

/// Finds the bin of each query on a full grid: `bins[binOffset + i]` for query i. An inner point belongs to
/// the interval that it begins, the last point to the last interval. In a grid that does not ascend the
/// search need not end.
///
/// With `numQueries` 0 one block is launched, which reads the first two points and writes nothing.
///
/// Example: on 1, 2, 4 the queries 0, 1, 2, 3, 4, 5, NaN have the bins -1, 0, 1, 1, 1, -10, -20.
struct IndexSearch {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, long* bins, unsigned long binOffset, T const* grid,
                        T const* query, unsigned long gridSize, unsigned long numQueries) const;
    };
};

/// The same on a colon grid. With `numQueries` 0 nothing is launched.
struct IndexSearch_ColonGrid {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, long* bins, unsigned long binOffset, T const* query,
                        unsigned long gridSize, unsigned long numQueries) const;
    };
};

/// The first line of an array along dimension `whichDim`: `out` has `dims[whichDim]` elements. `dims`, in
/// host memory, has the extents, dimension 0 fastest, at most five; `total` is the number of elements of
/// `data`, and what would lie beyond is not written.
///
/// The extents are copied to constant memory on the stream. If that fails, "Failed to copy to constant
/// memory" is printed as a line to standard output, and nothing is launched.
struct CopyToVector {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, T* out, T const* data, unsigned long whichDim,
                        unsigned long const* dims, unsigned long numDims, unsigned long total) const;
    };
};

/// Whether `gridArray` is `gridVector` repeated along all dimensions but `whichDim`. `dims`, in host memory,
/// has the extents, dimension 0 fastest, at most five.
///
/// Values are compared as numbers: an array with a NaN is no grid, one without elements is. A runtime call
/// that fails makes the answer false.
struct VerifyNDCartesianGrid {
    template <class T>
    struct Invoker {
        bool operator()(CUstream_st* stream, T const* gridArray, T const* gridVector, unsigned long whichDim,
                        unsigned long const* dims, unsigned long numDims) const;
    };
};

/// What is wrong with a grid.
struct GridFaults {
    bool hasInfOrNaN;
    bool isNotStrictlyIncreasing;  ///< a point is at or above the next; a NaN is neither
};

/// Looks for what is wrong with a grid. If the flag cannot be written or read, both is.
struct CheckInfNaNAndStrictlyIncreasing {
    template <class T>
    struct Invoker {
        GridFaults operator()(CUstream_st* stream, T const* grid, unsigned long const& gridSize) const;
    };
};

/// Whether a grid of at least three points ascends evenly: no distance between neighbours differs from the
/// next by 2 * `gridSize` * eps or more, eps being the spacing of `T` at 1. NaN does not ascend. If the flag
/// cannot be written or read, the answer is false.
struct CheckUniformIncreasing {
    template <class T>
    struct Invoker {
        bool operator()(CUstream_st* stream, T const* grid, unsigned long const& gridSize) const;
    };
};

/// Emit the operators in this library; not for calling.
void _forceInstantiation_(detail::Opaque&, IndexSearch*);
void _forceInstantiation_(detail::Opaque&, IndexSearch_ColonGrid*);
void _forceInstantiation_(detail::Opaque&, CopyToVector*);
void _forceInstantiation_(detail::Opaque&, VerifyNDCartesianGrid*);
void _forceInstantiation_(detail::Opaque&, CheckInfNaNAndStrictlyIncreasing*);
void _forceInstantiation_(detail::Opaque&, CheckUniformIncreasing*);

}  // namespace gpuruntime

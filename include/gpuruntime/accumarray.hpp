#pragma once

#include <gpuruntime/types.hpp>

namespace gpuruntime {

// Values accumulated by keys, in steps that the engine calls one after another: subscripts become keys
// (`Sub2IndCastInt`), pairs of keys and values are sorted by key (`AccumArrayVectorSortHelper`), and each run
// of equal keys is reduced to one value (`AccumArray`). Where every value is the same, keys are sorted alone
// (`AccumArrayScalarSortHelper`), counted (`AccumArrayGetBinCounts`), and the counts say all
// (`AccumArrayScalar`). The last two families make coordinates of a sparse result.
//
// Keys are 1-based bin numbers, in `int` or `long` where the family says `I`. `out` has an element for each
// bin; of bins without keys the families leave it as it was.

/// What values of a bin are combined by. The extrema pass over NaN; complex values go by magnitude and then
/// by phase angle. Of `bool` the sum and the maximum are a logical or, the product and the minimum a logical
/// and.
enum AccumArrayFunction : int {
    AccumArrayFunctionSum = 0,
    AccumArrayFunctionProd = 1,
    AccumArrayFunctionMin = 2,
    AccumArrayFunctionMax = 3,
    AccumArrayFunctionAny = 4,  ///< logical or, of `bool` alone
    AccumArrayFunctionAll = 5,  ///< logical and, of `bool` alone
};

/// Whether all levels of the reduction run, or the first is taken as done: then its results are in the
/// scratch arrays. Any other value is as the second.
enum AccumArrayMode : int { AccumArrayModeFull = 0, AccumArrayModeBoundariesOnly = 1 };

/// How the first two dimensions are numbered. Any other value is as the first.
enum AccumArrayStorageOrder : int { AccumArrayStorageColumnMajor = 0, AccumArrayStorageRowMajor = 1 };

/// Keys from subscripts: `out[i]` = 1 + the sum over the dimensions of (subscript - 1) times the number of
/// elements of the dimensions before. In row-major order the second dimension comes before the first.
/// Dimensions of size 1 add nothing, but are checked. Without dimensions every key is 1.
///
/// `subscripts` is an `n` by `numDims` matrix of `T`, one of the eight integer types, `float` and `double`.
/// `nonUnityDims`, in host memory as `outputDims` is, has the zero-based numbers of the dimensions larger
/// than 1, in ascending order, at most 32, and `outputDims` their sizes.
///
/// A subscript that is below 1 or no whole number sets the error word to 1001, one beyond its dimension to
/// 1002; the first report counts. Elements with such a subscript are not written. The word is reset by each
/// call and read by `getErrorFlag`; `int` and `long` share it.
///
/// Returns the status of resetting the word, and success also where the sizes could not be copied or the
/// launch failed. The sizes and the word are the device's: an engine does not run two calls side by side.
///
/// Example: dimensions 3 and 4, subscripts (2, 3): the key is 8, in row-major order 7.
template <class I>
struct Sub2IndCastInt {
    template <class T>
    struct Invoker {
        cudaError operator()(CUstream_st* stream, I* out, T const* subscripts,
                             unsigned long const* outputDims, unsigned long const* nonUnityDims,
                             unsigned long n, unsigned long numDims, unsigned long numNonUnityDims,
                             AccumArrayStorageOrder order) const;
    };
    /// Waits for the stream and reads the word: 1000 if nothing was reported, 1063 if it cannot be read.
    unsigned int getErrorFlag(CUstream_st* stream) const;
};

/// Sorts pairs by key, ascending; pairs of equal keys keep their order. Runs on the default stream, whatever
/// the stream given, and has finished when it returns. Where there is no temporary memory or a launch fails
/// it throws what Thrust does, and then each pair is still there. Types of values: `bool`, `float`, `double`,
/// `float2`, `double2`.
template <class I>
struct AccumArrayVectorSortHelper {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, I* keys, T* values, unsigned long n) const;
    };
};

/// Sorts keys, as `AccumArrayVectorSortHelper` does.
template <class I>
struct AccumArrayScalarSortHelper {
    struct Invoker {
        void operator()(I* keys, unsigned long n) const;
    };
};

/// Elements of each scratch array of `AccumArray` for `n` values: two for each 8192, at least two.
unsigned long getNumElementsWorkingMemoryNeededForAccumarray(unsigned long n);

/// Reduces each run of equal keys, which are sorted, to `out[key - 1]`.
///
/// Chunks of 8192 are folded by blocks, in passes: in a pass each second of the values left absorbs its
/// neighbour on the left, if that one begins the run, and then that on the right, if they are of its run; so
/// the order of operations hangs on keys and `n` alone. What a chunk has of its first and its last bin is a
/// pair of key and value in the scratch arrays, and pairs are folded in the same way, by turns in the scratch
/// arrays and in the front of `keys` and `values`. Afterwards all four arrays hold what the folding has left.
///
/// `mode`: with `AccumArrayModeBoundariesOnly` the scratch arrays hold the pairs of all chunks of `n` values
/// and are folded alone; for up to 8192 values nothing is launched. `numBins` is not read.
///
/// Returns 0, or `function` if there is none such for the type, and then nothing is launched. A launch that
/// fails is left to `cudaGetLastError` and later ones still run. No state: calls on different arrays may run
/// side by side.
///
/// Types: `bool`, `float`, `double`, `float2`, `double2`.
///
/// Example: keys 1, 1, 3, values 2, 3, 4: the sums are 5 for bin 1 and 4 for bin 3.
struct AccumArray {
    template <class T>
    struct Invoker {
        int operator()(CUstream_st* stream, T* out, int* keys, T* values, int* scratchKeys, T* scratchValues,
                       unsigned long numBins, unsigned long n, AccumArrayFunction function,
                       AccumArrayMode mode) const;
    };
};

/// The lengths of the runs of `keys`, which are sorted, added to `binCounts[key - 1]`, which the caller has
/// cleared. `numBins` is not read. `n` of 0 launches nothing.
///
/// Example: keys 1, 1, 3 give 2, 0, 1.
struct AccumArrayGetBinCounts {
    struct Invoker {
        void operator()(CUstream_st* stream, int* binCounts, int const* keys, unsigned long numBins,
                        unsigned long n) const;
    };
};

/// `AccumArray` of one value in place of all. For each run of `keys`, beginning at i, `out[keys[i] - 1]` is
/// made of `value` and count = `binCounts[binIndices[i] - 1]`: the sum is their product, the product is
/// `value` to the power count, anything else is `value`. For `bool` sum and product are whether `value` is
/// set and the count above 0.
///
/// A power is taken in the precision of the type, with the special cases of the C standard's `pow`. That of a
/// complex value is taken by length and angle, the length to the power and the angle times the count; where
/// the imaginary part is 0 it is the real power beside +0. A part whose sine or cosine is 0 is 0, also beside
/// an infinite length.
///
/// Returns the runtime's status; success, with nothing launched, if `n` is 0 or there is no such function.
/// Types: as `AccumArray`; all functions for all of them.
///
/// Example: keys and bin indices 1, 1, 3, counts 2, 0, 1, value 5: the products are 25 for bin 1 and 5 for 3.
struct AccumArrayScalar {
    template <class T>
    struct Invoker {
        cudaError operator()(CUstream_st* stream, T* out, int const* keys, int const* binIndices,
                             int const* binCounts, T value, unsigned long n,
                             AccumArrayFunction function) const;
    };
};

/// Marks the keys that begin a run: `flags[i]` is 1 if i is 0 or `keys[i]` is greater than the key before,
/// else 0. The running sum of the flags numbers the bins of a sparse result.
///
/// Example: keys 1, 1, 3 give 1, 0, 1.
template <class I>
struct AccumArraySparseIndexSequencerHelper {
    struct Invoker {
        void operator()(CUstream_st* stream, int* flags, I const* keys, unsigned long n) const;
    };
};

/// Coordinates of the bins of a sparse result, zero-based: of bin k = `keys[i]` - 1 the row is k /
/// `numColumns` and the column what is left, stored at `sequence[i]` - 1, where `sequence` is the running sum
/// that `AccumArraySparseIndexSequencerHelper` tells of. `numRows` and `numNonZeros` are not read; a row of a
/// division by 0 is -1. `n` of 0 launches nothing.
///
/// Example: 4 columns, keys 2, 2, 7, sequence 1, 1, 2: rows 0, 1 and columns 1, 2.
template <class I>
struct AccumArraySparseInd2Coo {
    struct Invoker {
        void operator()(CUstream_st* stream, int* rows, int* columns, I const* keys, int const* sequence,
                        int numRows, int numColumns, unsigned long numNonZeros, unsigned long n) const;
    };
};

/// Emit the operators in this library; not for calling.
void _forceInstantiation_(detail::Opaque&, Sub2IndCastInt<int>*);
void _forceInstantiation_(detail::Opaque&, Sub2IndCastInt<long>*);
void _forceInstantiation_(detail::Opaque&, AccumArrayVectorSortHelper<int>*);
void _forceInstantiation_(detail::Opaque&, AccumArrayVectorSortHelper<long>*);
void _forceInstantiation_(detail::Opaque&, AccumArray*);
void _forceInstantiation_(detail::Opaque&, AccumArrayScalar*);

}  // namespace gpuruntime

#pragma once

#include <gpuruntime/types.hpp>

#include <type_traits>

namespace gpuruntime {
namespace detail {

template <class T, class = void>
struct AsDoubleOf {
    using type = double;
};
template <class T>
struct AsDoubleOf<T, std::void_t<decltype(T::y)>> {
    using type = double2;
};

/// `double` for a real `T`, `double2` for a complex one.
template <class T>
using AsDouble = typename AsDoubleOf<T>::type;

}  // namespace detail

/// Reductions along one dimension. What holds for all of them:
///
/// An array is seen as three nested extents, fastest first: `stride`, `reductionLength`, and the rest.
/// `numElements` counts the elements of the whole array, `reductionLength` those of the dimension that is
/// reduced, and `stride` is the distance between two neighbours along it, the product of the extents before
/// it. The results, `numElements` / `reductionLength` of them, stand in the same order with that dimension
/// removed. With `stride` 1 the last segment may be short; families without the argument behave as if it
/// were 1.
///
/// `includeNaN` true means that NaN counts: it flows through sums and products as arithmetic has it, and is
/// the result of `Max`, `Min` and their index forms. False means that NaN is left out: it counts as 0 in a
/// sum and as 1 in a product, a complex element with NaN in either part as wholly 0 or wholly (1, 0), and a
/// maximum or minimum passes over it, so that it is NaN only if all elements are.
///
/// The order of combination hangs on the extents alone, so results are the same bit for bit from run to run
/// and on every device, but for NaN payloads and for the math functions by which complex values are ordered.
/// Where elements are spread over threads, threads without an element bring in the identity: a sum of -0
/// alone may be +0.
///
/// Complex values are ordered by magnitude, and by phase angle in [-pi, pi] where magnitudes are equal;
/// magnitudes that only overflowed are told apart. A value counts as NaN there if its magnitude does, which
/// an infinite part keeps it from.
///
/// Bad input: an empty array writes nothing, and with a `reductionLength` or `stride` of 0 nothing is
/// launched. `out` must not overlap `in`. The result is the first failing status of the launch, else
/// `cudaSuccess`; errors on the device show in later calls. No operator blocks. A segment longer than 128
/// takes a block of its own: one long vector does not fill a device, so an engine cuts it in pieces, which
/// `segmentsPerGroup` of the index forms allows for.

/// Sums in the element type. Real integers saturate at each addition, complex integers wrap, `bool` is a
/// logical or.
///
/// Types: `bool`, the eight integer types of 1 to 8 bytes, `float`, `double`, and all complex types.
///
/// Example: 1, NaN, 2, 4, 5, 6 with `reductionLength` 3, `stride` 1 and `includeNaN` false gives 3, 15.
struct SumNative {
    template <class T>
    struct Invoker {
        cudaError operator()(CUstream_st* stream, T* out, T const* in, unsigned long numElements,
                             unsigned long reductionLength, unsigned long stride, bool includeNaN) const;
    };
};

/// Sums in `double`, complex types in `double2`, with no saturation.
///
/// Types: as `SumNative`.
///
/// Example: the `unsigned char` 200, 100, 50, 7, 8, 9 with `reductionLength` 3 and `stride` 1 gives 350, 24.
struct SumAsDouble {
    template <class T>
    struct Invoker {
        cudaError operator()(CUstream_st* stream, detail::AsDouble<T>* out, T const* in,
                             unsigned long numElements, unsigned long reductionLength, unsigned long stride,
                             bool includeNaN) const;
    };
};

/// Products in the element type. Real integers of up to 32 bits saturate at each multiplication; 64-bit and
/// complex integers wrap; `bool` is a logical and; complex floating values keep infinities.
///
/// Types: as `SumNative`.
///
/// Example: the `int` 65536, 65536, 1, 2, 3, 4 with `reductionLength` 3 and `stride` 1 gives 2147483647, 24.
struct ProdNative {
    template <class T>
    struct Invoker {
        cudaError operator()(CUstream_st* stream, T* out, T const* in, unsigned long numElements,
                             unsigned long reductionLength, unsigned long stride, bool includeNaN) const;
    };
};

/// Products in `double`, complex types in `double2`, with no saturation.
///
/// Types: as `SumNative`.
///
/// Example: the `signed char` 100, 100, 100, -1, 2, 3 with `reductionLength` 3 and `stride` 1 gives 1000000,
/// -6.
struct ProdAsDouble {
    template <class T>
    struct Invoker {
        cudaError operator()(CUstream_st* stream, detail::AsDouble<T>* out, T const* in,
                             unsigned long numElements, unsigned long reductionLength, unsigned long stride,
                             bool includeNaN) const;
    };
};

/// Whether all elements are not 0, for complex types in either part. NaN is not 0. `includeNaN` is not read.
///
/// Types: as `SumNative`.
///
/// Example: 1, 2, NaN, 4, 0, 6 with `reductionLength` 3 and `stride` 1 gives true, false.
struct All {
    template <class T>
    struct Invoker {
        cudaError operator()(CUstream_st* stream, bool* out, T const* in, unsigned long numElements,
                             unsigned long reductionLength, unsigned long stride, bool includeNaN) const;
    };
};

/// Whether an element is not 0, for complex types in either part. An element with a NaN, unlike in `All`, is
/// none. `includeNaN` is not read.
///
/// Types: as `SumNative`.
///
/// Example: 0, 0, NaN, 0, 5, 0 with `reductionLength` 3 and `stride` 1 gives false, true.
struct Any {
    template <class T>
    struct Invoker {
        cudaError operator()(CUstream_st* stream, bool* out, T const* in, unsigned long numElements,
                             unsigned long reductionLength, unsigned long stride, bool includeNaN) const;
    };
};

/// Counts the elements that are not 0, for complex types in either part; NaN is not 0. Exact up to 2^53.
///
/// Types: as `SumNative`.
///
/// Example: 0, 1, NaN, 0, 0, 2 with `reductionLength` 3 gives 2, 1.
struct CountNonZero {
    template <class T>
    struct Invoker {
        cudaError operator()(CUstream_st* stream, double* out, T const* in, unsigned long numElements,
                             unsigned long reductionLength) const;
    };
};

/// Whether an element is infinite, for complex types in either part.
///
/// Types: `float`, `double`, `float2`, `double2`.
///
/// Example: 1, -Inf, NaN, 4, NaN, 6 with `reductionLength` 3 gives true, false.
struct HasInf {
    template <class T>
    struct Invoker {
        cudaError operator()(CUstream_st* stream, bool* out, T const* in, unsigned long numElements,
                             unsigned long reductionLength) const;
    };
};

/// Whether an element is NaN, for complex types in either part.
///
/// Types: as `HasInf`.
///
/// Example: 1, -Inf, 3, 4, NaN, 6 with `reductionLength` 3 gives false, true.
struct HasNaN {
    template <class T>
    struct Invoker {
        cudaError operator()(CUstream_st* stream, bool* out, T const* in, unsigned long numElements,
                             unsigned long reductionLength) const;
    };
};

/// Whether an element is NaN or infinite, for complex types in either part.
///
/// Types: as `HasInf`.
///
/// Example: 1, 2, 3, 4, NaN, 6 with `reductionLength` 3 gives false, true.
struct HasNaNOrInf {
    template <class T>
    struct Invoker {
        cudaError operator()(CUstream_st* stream, bool* out, T const* in, unsigned long numElements,
                             unsigned long reductionLength) const;
    };
};

/// The largest element. With `includeNaN` false the real +0 is above -0; with true the two are equal, and the
/// one that is combined later is the result. For integers and `bool`, `includeNaN` makes no difference.
///
/// Types: `bool`, the eight integer types of 1 to 8 bytes, `float`, `double`, `float2`, `double2`.
///
/// Example: 3, 7, NaN, 4, 6, 5 with `reductionLength` 3, `stride` 1 gives 7, 6 with `includeNaN` false and
/// NaN, 6 with true.
struct Max {
    template <class T>
    struct Invoker {
        cudaError operator()(CUstream_st* stream, T* out, T const* in, unsigned long numElements,
                             unsigned long reductionLength, unsigned long stride, bool includeNaN) const;
    };
};

/// The smallest element, by the rules of `Max`.
///
/// Types: as `Max`.
///
/// Example: 3, 7, NaN, 4, 6, 5 with `reductionLength` 3, `stride` 1 gives 3, 4 with `includeNaN` false and
/// NaN, 4 with true.
struct Min {
    template <class T>
    struct Invoker {
        cudaError operator()(CUstream_st* stream, T* out, T const* in, unsigned long numElements,
                             unsigned long reductionLength, unsigned long stride, bool includeNaN) const;
    };
};

/// The largest element of each segment and its 1-based position there. Of equal elements, and the two zeros
/// are equal, the first counts, as does the first NaN with `includeNaN` true, or if all are NaN.
///
/// Positions count from the start of a group of `segmentsPerGroup` segments, so that an engine can cut a long
/// dimension into pieces: a segment `s` adds (`s` mod `segmentsPerGroup`) * `reductionLength`. With `stride`
/// other than 1, the segments of a column are counted over the outermost extent. With `stride` 1 and a
/// `reductionLength` of up to 128 nothing is added, and `segmentsPerGroup` is not read.
///
/// Types: as `Max`.
///
/// Example: 3, 7, 7, NaN, 1, 0 with `reductionLength` 3, `segmentsPerGroup` 1, `stride` 1 gives 7 at 2 and,
/// with `includeNaN` false, 1 at 2, with true NaN at 1.
struct MaxWithIndex {
    template <class T>
    struct Invoker {
        cudaError operator()(CUstream_st* stream, T* out, double* outIndex, T const* in,
                             unsigned long numElements, unsigned long reductionLength,
                             unsigned long segmentsPerGroup, unsigned long stride, bool includeNaN) const;
    };
};

/// The smallest element of each segment and its position, by the rules of `MaxWithIndex`.
///
/// Types: as `Max`.
///
/// Example: 3, 1, 1, NaN, 1, 0 with `reductionLength` 3, `segmentsPerGroup` 1, `stride` 1 gives 1 at 2 and,
/// with `includeNaN` false, 0 at 3, with true NaN at 1.
struct MinWithIndex {
    template <class T>
    struct Invoker {
        cudaError operator()(CUstream_st* stream, T* out, double* outIndex, T const* in,
                             unsigned long numElements, unsigned long reductionLength,
                             unsigned long segmentsPerGroup, unsigned long stride, bool includeNaN) const;
    };
};

/// The largest finite magnitude, the scale for tolerances: infinities count as 0 and NaN is passed over. An
/// element that is combined with no other, as with a `reductionLength` of 1, is the result as it stands.
/// `includeNaN` is not read.
///
/// Types: `float`, `double`.
///
/// Example: 1, -2, Inf, -3, NaN, 2 with `reductionLength` 3 and `stride` 1 gives 2, 3.
struct MaxUniqueTol {
    template <class T>
    struct Invoker {
        cudaError operator()(CUstream_st* stream, T* out, T const* in, unsigned long numElements,
                             unsigned long reductionLength, unsigned long stride, bool includeNaN) const;
    };
};

/// Emit the operators in this library; not for calling.
void _forceInstantiation_(detail::Opaque&, SumNative*);
void _forceInstantiation_(detail::Opaque&, SumAsDouble*);
void _forceInstantiation_(detail::Opaque&, ProdNative*);
void _forceInstantiation_(detail::Opaque&, ProdAsDouble*);
void _forceInstantiation_(detail::Opaque&, All*);
void _forceInstantiation_(detail::Opaque&, Any*);
void _forceInstantiation_(detail::Opaque&, CountNonZero*);
void _forceInstantiation_(detail::Opaque&, HasInf*);
void _forceInstantiation_(detail::Opaque&, HasNaN*);
void _forceInstantiation_(detail::Opaque&, HasNaNOrInf*);
void _forceInstantiation_(detail::Opaque&, Max*);
void _forceInstantiation_(detail::Opaque&, Min*);
void _forceInstantiation_(detail::Opaque&, MaxWithIndex*);
void _forceInstantiation_(detail::Opaque&, MinWithIndex*);
void _forceInstantiation_(detail::Opaque&, MaxUniqueTol*);

}  // namespace gpuruntime

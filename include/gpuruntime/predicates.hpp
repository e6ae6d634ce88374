#pragma once

#include <gpuruntime/types.hpp>

#include <utility>

namespace gpuruntime {

/// Stores whether `a[i]` equals `b[i]`, for `n` pairs of elements of any two types; with `negate`, whether it
/// does not.
///
/// Parts of one type are compared in that type, and `long` with `unsigned long` by their values; all other
/// mixes of types are compared as `double`, so that `unsigned long` 2^53 + 1 equals `double` 2^53, and
/// `float` 0.1 differs from `double` 0.1. A NaN equals nothing, or with `nanEqual` any other NaN. Complex
/// values are equal if both parts are; a complex and a real one, if the real parts are and the imaginary part
/// is 0, which a NaN is not, also with `nanEqual`. A `bool` counts as the number of its byte.
///
/// With `n` of 0 nothing happens.
///
/// Types: both `bool`, `signed char`, `unsigned char`, `short`, `unsigned short`, `int`, `unsigned int`,
/// `long`, `unsigned long`, `float`, `double` or one of the ten complex types.
///
/// Example: `double2` (1, 0), (NaN, 0), (1, NaN) with `double` 1, NaN, 1, `nanEqual` true: 1, 1, 0.
struct ElementwiseCompare {
    template <class A, class B>
    struct Invoker {
        void operator()(CUstream_st* stream, unsigned long n, bool* out, A const* a, B const* b,
                        bool nanEqual, bool negate) const;
    };
};

/// Stores for each of `n` values whether it is NaN; a complex value is if either part is.
///
/// Types: `float`, `double`, `float2`, `double2`. Example: 1, NaN, infinity gives 0, 1, 0.
struct IsNaN {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, bool* out, T const* in, unsigned long n) const;
    };
};

/// Stores for each of `n` values whether it is infinite; a complex value is if either part is, even beside a
/// NaN.
///
/// Types: as `IsNaN`. Example: 1, NaN, -infinity gives 0, 0, 1.
struct IsInf {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, bool* out, T const* in, unsigned long n) const;
    };
};

/// Stores for each of `n` values whether it, or either part of it, is NaN or infinite.
///
/// Types: as `IsNaN`. Example: 1, NaN, -infinity gives 0, 1, 1.
struct IsNaNOrInf {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, bool* out, T const* in, unsigned long n) const;
    };
};

/// Stores for each of `n` values whether it, or either part of it, is other than 0. A NaN is.
///
/// Types: as `ElementwiseCompare`. Example: 0, -0.0, 2, NaN gives 0, 0, 1, 1.
struct IsNonZero {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, bool* out, T const* in, unsigned long n) const;
    };
};

/// As `IsNonZero`, but a value that is NaN, or of which a part is, gives 0.
///
/// Types: as `ElementwiseCompare`. Example: 0, 2, NaN, infinity gives 0, 1, 0, 1.
struct IsNeitherZeroNorNaN {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, bool* out, T const* in, unsigned long n) const;
    };
};

/// As `IsNonZero`, stored as the numbers 1 and 0.
///
/// Types: as `ElementwiseCompare`. Example: 0, 2, NaN gives 0.0, 1.0, 1.0.
struct FlagNonZero {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, double* out, T const* in, unsigned long n) const;
    };
};

/// Stores 1 for each of `n` values below 0, and otherwise 0, also for -0.0 and NaN.
///
/// Types: the real ones of `ElementwiseCompare`. Example: -2, -0.0, NaN, 3 gives 1.0, 0.0, 0.0, 0.0.
struct FlagNegative {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, double* out, T const* in, unsigned long n) const;
    };
};

/// Whether any of `n` values is infinite, or has a part that is. True as well where the answer could not be
/// had, because a flag on the device could not be set or read; but a launch that fails leaves it false.
///
/// This check and the next three share that flag, so two of their calls must not overlap. They wait for the
/// device. With `n` of 0 nothing is launched and the answer is false.
///
/// Types: `float`, `double`, `float2`, `double2`. Example: 1, NaN, 3 gives false.
struct CheckInf {
    template <class T>
    struct Invoker {
        bool operator()(CUstream_st* stream, T const* in, unsigned long const& n) const;
    };
};

/// Whether any of `n` values is NaN, or has a part that is. Otherwise as `CheckInf`.
///
/// Example: 1, NaN, 3 gives true.
struct CheckNaN {
    template <class T>
    struct Invoker {
        bool operator()(CUstream_st* stream, T const* in, unsigned long const& n) const;
    };
};

/// Whether any of `n` values is NaN or infinite, or has a part that is. Otherwise as `CheckInf`.
///
/// Example: 1, 2, 3 gives false.
struct CheckNotFinite {
    template <class T>
    struct Invoker {
        bool operator()(CUstream_st* stream, T const* in, unsigned long const& n) const;
    };
};

/// Whether any of `n` values is at least as large as the one after it; next to a NaN none is. Otherwise as
/// `CheckInf`.
///
/// Types: `float`, `double`. Example: 1, 2, 2 gives true; 1, NaN, 2 gives false.
struct CheckNotStronglySortedAscending {
    template <class T>
    struct Invoker {
        bool operator()(CUstream_st* stream, T const* in, unsigned long const& n) const;
    };
};

/// Whether all of `n` values are positive whole numbers, and the largest of them; (false, 0) if one is not,
/// (true, 0) for `n` of 0. Runs on the default stream and waits for it.
///
/// Throws what Thrust throws: `thrust::system::detail::bad_alloc` where there is no temporary memory, and on
/// the cuda device `thrust::system::system_error` where a launch fails.
///
/// Types: `double`. Example: 2, 7, 3 gives (true, 7); 2, 0.5 gives (false, 0).
struct CheckValidFindMax {
    template <class T>
    struct Invoker {
        std::pair<bool, double> operator()(T const* in, unsigned long n) const;
    };
};

/// Emit the operators in this library; not for calling.
void _forceInstantiation2_(detail::Opaque&, ElementwiseCompare*);
void _forceInstantiation_(detail::Opaque&, IsNaN*);
void _forceInstantiation_(detail::Opaque&, IsInf*);
void _forceInstantiation_(detail::Opaque&, IsNaNOrInf*);
void _forceInstantiation_(detail::Opaque&, IsNonZero*);
void _forceInstantiation_(detail::Opaque&, IsNeitherZeroNorNaN*);
void _forceInstantiation_(detail::Opaque&, FlagNonZero*);
void _forceInstantiation_(detail::Opaque&, FlagNegative*);
void _forceInstantiation_(detail::Opaque&, CheckInf*);
void _forceInstantiation_(detail::Opaque&, CheckNaN*);
void _forceInstantiation_(detail::Opaque&, CheckNotFinite*);
void _forceInstantiation_(detail::Opaque&, CheckNotStronglySortedAscending*);
void _forceInstantiation_(detail::Opaque&, CheckValidFindMax*);

}  // namespace gpuruntime

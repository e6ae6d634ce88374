#pragma once

#include <gpuruntime/types.hpp>

#include <type_traits>

namespace gpuruntime {

/// Converts `n` elements from one type to another, `out[i]` = `in[i]`. How values are converted, here and in
/// all casts:
/// - Floating values become integers rounded to nearest, halves away from zero, and held at the ends of the
///   target's range; NaN becomes 0: in `unsigned char` 2.5 is 3, -1.2 is 0, 300.7 and infinity are 255.
/// - Integers are held at the ends of the target's range: `int` -1 is 0 in `unsigned long`.
/// - Whatever becomes floating rounds to nearest even; `double` 1e300 is infinity in `float`, and NaN remains
///   NaN.
/// - A `bool` becomes 1 or 0, by whether its byte is other than 0.
///
/// With `n` of 0 nothing happens. A pair of equal types is one copy on the device, and only there the
/// operator gives a status: the copy's.
///
/// Target types: `signed char`, `unsigned char`, `short`, `unsigned short`, `int`, `unsigned int`, `long`,
/// `unsigned long`, `float`, `double`; source types: these and `bool`.
///
/// Example: from `double` to `int`, 2.5, -2.5, 0.4, 3e9, NaN, -0.5 gives 3, -3, 0, 2147483647, 0, -1.
struct CastToReal {
    template <class Target, class Source>
    struct Invoker {
        using Result = std::conditional_t<std::is_same_v<Target, Source>, cudaError, void>;
        Result operator()(CUstream_st* stream, unsigned long n, Target* out, Source const* in) const;
    };
};

/// As `CastToReal`, to complex types: a real value becomes the real part, with an imaginary part of 0, and
/// the parts of a complex value are converted one by one.
///
/// Target types: the ten complex types; source types: `bool`, the ten real types of `CastToReal` and the ten
/// complex types.
///
/// Example: from `double2` to `char2`, (1.5, 200), (-0.5, NaN) gives (2, 127), (-1, 0).
struct CastToComplex {
    template <class Target, class Source>
    struct Invoker {
        using Result = std::conditional_t<std::is_same_v<Target, Source>, cudaError, void>;
        Result operator()(CUstream_st* stream, unsigned long n, Target* out, Source const* in) const;
    };
};

/// Converts a dense array of `n` elements as `CastToReal` does, each run of `blockLength` elements into a
/// stride of `dstStride` elements of the output: `in[i]` goes to
/// `out[(i / blockLength) * dstStride + dstOffset + i % blockLength]`. Nothing else is written.
///
/// The three extents and the positions are 32-bit numbers, which wrap. Blocks that overlap, by a `dstStride`
/// below `blockLength`, leave undefined which of their values remain; a `blockLength` of 0 writes to
/// meaningless positions.
///
/// Types: as `CastToReal`.
///
/// Example: `n` 6, `dstOffset` 1, `dstStride` 5, `blockLength` 3 writes at 1, 2, 3, 6, 7, 8.
struct CastBlockToReal {
    template <class Target, class Source>
    struct Invoker {
        void operator()(CUstream_st* stream, unsigned long n, Target* out, Source const* in,
                        unsigned long dstOffset, unsigned long dstStride, unsigned long blockLength) const;
    };
};

/// As `CastBlockToReal`, converting as `CastToComplex` does. Types: as `CastToComplex`.
struct CastBlockToComplex {
    template <class Target, class Source>
    struct Invoker {
        void operator()(CUstream_st* stream, unsigned long n, Target* out, Source const* in,
                        unsigned long dstOffset, unsigned long dstStride, unsigned long blockLength) const;
    };
};

/// Stores whether each of `n` values is other than 0. A NaN is, and is reported: after the call,
/// `getErrorFlag` on the same stream gives 1046 if there was one, and 1000 if not.
///
/// Returns the status of the first step that failed: of resetting the error word, after which nothing is
/// launched, or of the launch. With `n` of 0 the word is still reset. Calls share the word, so two of them
/// must not overlap, and a report that was not read is lost with the next call.
///
/// Types: the ten real types of `CastToReal`.
///
/// Example: 0, -0.0, 2, NaN gives 0, 0, 1, 1, and the flag is 1046.
struct CastToBool {
    template <class T>
    struct Invoker {
        cudaError operator()(CUstream_st* stream, unsigned long n, bool* out, T const* in) const;
    };

    /// Waits for the stream and reads the error word; 1063 if that failed.
    unsigned int getErrorFlag(CUstream_st* stream) const;
};

/// Stores whether each of `n` values is other than 0, and `nanValue` for a NaN. A complex value is NaN if
/// either part is, and otherwise other than 0 if either part is. Nothing is reported.
///
/// Types: the ten real types of `CastToReal` and the ten complex types.
///
/// Example: `nanValue` false, `double2`: (NaN, 1), (0, 0), (0, 3) gives 0, 0, 1.
struct CastToBoolAllowNaN {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, unsigned long n, bool* out, T const* in, bool nanValue) const;
    };
};

/// Emit the operators in this library; not for calling.
void _forceInstantiation2_(detail::Opaque&, CastToReal*);
void _forceInstantiation2_(detail::Opaque&, CastToComplex*);
void _forceInstantiation2_(detail::Opaque&, CastBlockToReal*);
void _forceInstantiation2_(detail::Opaque&, CastBlockToComplex*);
void _forceInstantiation_(detail::Opaque&, CastToBool*);
void _forceInstantiation_(detail::Opaque&, CastToBoolAllowNaN*);

}  // namespace gpuruntime

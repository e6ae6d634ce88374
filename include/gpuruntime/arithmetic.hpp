#pragma once

#include <gpuruntime/types.hpp>

namespace gpuruntime {

namespace detail {

float magnitudeOf(float);
double magnitudeOf(double);
float magnitudeOf(float2);
double magnitudeOf(double2);

}  // namespace detail

/// The type of a magnitude: `float` for `float` and `float2`, `double` for `double` and `double2`.
template <class T>
using Magnitude = decltype(detail::magnitudeOf(T()));

/// Arithmetic on whole arrays, most of it in place with one scalar. With `n` of 0 nothing happens.

/// `data[i]` = `data[i]` * `scalar`. Integers are held at the ends of their range; a floating product is
/// rounded once. A complex product keeps infinities rather than turning them into NaN.
///
/// Types: `float`, `double`, `float2`, `double2`, `signed char`, `unsigned char`, `short`, `unsigned short`,
/// `int`, `unsigned int`.
///
/// Example: `unsigned char` 3, 200 with `scalar` 2 gives 6, 255.
struct TimesInplace {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, T* data, T scalar, unsigned long n) const;
    };
};

/// `data[i]` = `scalar` / `data[i]`. Integer quotients are truncated toward zero and wrap at the width of the
/// type; a divisor of 0 gives all bits set. Floating quotients are correctly rounded; complex ones are those
/// of `ScaleInplace`.
///
/// Types: as `TimesInplace`.
///
/// Example: `int` 2, -2, 0 with `scalar` 7 gives 3, -3, -1.
struct ReciprocalTimesInplace {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, T* data, T scalar, unsigned long n) const;
    };
};

/// `data[i]` = `data[i]` / `divisor`, correctly rounded for real types. A complex quotient is computed in the
/// precision of its parts, scaled by the larger part of the divisor.
///
/// Types: `float`, `double`, `float2`, `double2`.
///
/// Source of the complex quotient: R. L. Smith, Algorithm 116: Complex division, Communications of the ACM 5
/// (1962), with steps of its own for a divisor that is real, is imaginary or has parts of equal magnitude.
///
/// Example: (1, 2) with `divisor` (0, 1) gives (2, -1).
struct ScaleInplace {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, T* data, T divisor, unsigned long n) const;
    };
};

/// `data[i]` = (`data[i]` - `offset`) / `divisor` in double precision, rounded once more for `float`. Of a
/// complex element `offset` is taken from the real part only.
///
/// Types: as `ScaleInplace`.
///
/// Example: (5, 4) with `offset` 1, `divisor` 2 gives (2, 2).
struct NormalizeInplace {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, T* data, double offset, double divisor, unsigned long n) const;
    };
};

/// `NormalizeInplace` with an offset of 0.
struct ScaleByDoubleInplace {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, T* data, double divisor, unsigned long n) const;
    };
};

/// `data[i]` = `data[i]` * `factor` + `addend` as one fused operation in double precision, rounded once more
/// for `float`. The imaginary part of a complex element takes the factor only.
///
/// Types: as `ScaleInplace`.
///
/// Example: (1, 2) with `factor` 3, `addend` 10 gives (13, 6).
struct MulAddByDoubleInplace {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, T* data, double factor, double addend, unsigned long n) const;
    };
};

/// Overwrites NaN by 0, and a complex element with a NaN in either part by (0, 0). Other elements are not
/// stored.
///
/// Types: `double`, `double2`.
struct NanToZeroInplace {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, T* data, unsigned long n) const;
    };
};

/// `out[i]` = |`in[i]`|. The magnitude of a complex element neither overflows nor underflows on the way, and
/// is infinite if either part is, even beside a NaN.
///
/// Types: `float`, `double`, `float2`, `double2`; `out` is of the type of the parts.
///
/// Example: (3, -4) gives 5, (infinity, NaN) gives infinity.
struct Abs {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, Magnitude<T>* out, T const* in, unsigned long n) const;
    };
};

/// `out[i]` = |`in[i]`| to the power `exponent`, with the special cases of the C standard's `pow`. `float`
/// data is worked with the exponent rounded to `float`. A magnitude and an exponent of integer value take the
/// exponent held within 32 bits.
///
/// Types: as `Abs`.
///
/// Example: (3, -4) with `exponent` 2 gives 25.
struct AbsPower {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, Magnitude<T>* out, T const* in, double exponent,
                        unsigned long n) const;
    };
};

/// First differences along a dimension of a column-major array: `n` counts the elements of the output, whose
/// extent in the dimension is `outLength`, one less than the input's; `stride` is the product of the extents
/// before it. `out[i]` = `in[j + stride]` - `in[j]`, where `j` = `i` + `stride` * (`i` / `stride` /
/// `outLength`). Extents and offsets are 32-bit numbers, which wrap. Real integers are held at the ends of
/// their range; complex elements subtract part by part.
///
/// Types: `signed char`, `unsigned char`, `short`, `unsigned short`, `int`, `unsigned int`, `long`,
/// `unsigned long`, `float`, `double`, `float2`, `double2`.
///
/// Example: with `stride` 1, `outLength` 2 the columns (1, 3, 6), (5, 5, 4) give (2, 3), (0, -1); of
/// `unsigned char` (2, 3), (0, 0).
struct Diff {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, T* out, T const* in, unsigned long stride,
                        unsigned long outLength, unsigned long n) const;
    };
};

/// Mends a norm that was found by reduction and is infinite although there are NaNs among its `n` elements:
/// then `*norm`, in device memory, becomes NaN.
///
/// The norm is kept in one word of constant memory, so calls must not overlap. Returns the status of that
/// copy, and if it succeeded, of the launch; with `n` of 0 there is only the copy.
///
/// Types: `float`, `double`, `float2`, `double2`; the norm is `double`.
struct NormCorrectInfNaN {
    template <class T>
    struct Invoker {
        cudaError operator()(CUstream_st* stream, double* norm, T const* in, unsigned long n) const;
    };
};

/// The middle step of a matrix power by eigenvalues: column `j` of `out` is `values[j]` to the power
/// `scalar`, times column `j` of `vectors`. The matrices are `n` by `n`, column-major; offsets are 32-bit
/// numbers, which wrap. A base and an exponent of integer value take the exponent held within 32 bits; a
/// negative base with an exponent of another value gives NaN. The complex power is e^(exponent * ln(base)),
/// and for a real exponent of integer value a product.
///
/// Types: `float`, `double`, `float2`, `double2`.
///
/// Example: `values` 2, 3 with `scalar` 2 scales the first column by 4 and the second by 9.
struct MPowerMatrixScalar {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, T* out, T const* vectors, T const* values, T scalar,
                        unsigned long n) const;
    };
};

/// The same with `scalar` to the power `values[j]`.
struct MPowerScalarMatrix {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, T* out, T const* vectors, T const* values, T scalar,
                        unsigned long n) const;
    };
};

/// Emit the operators in this library; not for calling.
void _forceInstantiation_(detail::Opaque&, TimesInplace*);
void _forceInstantiation_(detail::Opaque&, ReciprocalTimesInplace*);
void _forceInstantiation_(detail::Opaque&, ScaleInplace*);
void _forceInstantiation_(detail::Opaque&, NormalizeInplace*);
void _forceInstantiation_(detail::Opaque&, ScaleByDoubleInplace*);
void _forceInstantiation_(detail::Opaque&, MulAddByDoubleInplace*);
void _forceInstantiation_(detail::Opaque&, NanToZeroInplace*);
void _forceInstantiation_(detail::Opaque&, Abs*);
void _forceInstantiation_(detail::Opaque&, AbsPower*);
void _forceInstantiation_(detail::Opaque&, Diff*);
void _forceInstantiation_(detail::Opaque&, NormCorrectInfNaN*);
void _forceInstantiation_(detail::Opaque&, MPowerMatrixScalar*);
void _forceInstantiation_(detail::Opaque&, MPowerScalarMatrix*);

}  // namespace gpuruntime

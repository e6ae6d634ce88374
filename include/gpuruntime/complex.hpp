#pragma once

#include <gpuruntime/types.hpp>

namespace gpuruntime {

namespace detail {

char2 complexOf(signed char);
uchar2 complexOf(unsigned char);
short2 complexOf(short);
ushort2 complexOf(unsigned short);
int2 complexOf(int);
uint2 complexOf(unsigned int);
long2 complexOf(long);
ulong2 complexOf(unsigned long);
float2 complexOf(float);
double2 complexOf(double);
float2 complexOf(float2);
double2 complexOf(double2);

}  // namespace detail

/// The complex type with parts of type `T`; a floating complex type itself.
template <class T>
using ComplexOf = decltype(detail::complexOf(T()));

/// The families of this header move bits: a NaN keeps its payload and a zero its sign. With `n` of 0 nothing
/// happens.

/// `out[i]` = (`re[i]`, `im[i]`) for `n` elements.
///
/// Types: `signed char`, `unsigned char`, `short`, `unsigned short`, `int`, `unsigned int`, `long`,
/// `unsigned long`, `float`, `double`.
///
/// Example: `re` 1, 2 and `im` 3, 4 gives (1, 3), (2, 4).
struct ComplexifyPtrPtr {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, ComplexOf<T>* out, T const* re, T const* im,
                        unsigned long n) const;
    };
};

/// `out[i]` = (`re[i]`, `im`) for `n` elements. Types: as `ComplexifyPtrPtr`.
struct ComplexifyPtrScalar {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, ComplexOf<T>* out, T const* re, T im, unsigned long n) const;
    };
};

/// `out[i]` = (`re`, `im[i]`) for `n` elements. Types: as `ComplexifyPtrPtr`.
struct ComplexifyScalarPtr {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, ComplexOf<T>* out, T re, T const* im, unsigned long n) const;
    };
};

/// The two parts of `n` complex elements: `re[i]` and `im[i]`.
///
/// Types: `char2`, `uchar2`, `short2`, `ushort2`, `int2`, `uint2`, `long2`, `ulong2`, `float2`, `double2`,
/// into arrays of the type of their parts.
///
/// Example: (1, 3), (2, 4) gives `re` 1, 2 and `im` 3, 4.
struct Decomplexify {
    template <class C>
    struct Invoker {
        using Part = decltype(C::x);
        void operator()(CUstream_st* stream, Part* re, Part* im, C const* in, unsigned long n) const;
    };
};

/// The real parts of `n` complex elements. Types: as `Decomplexify`.
struct Real {
    template <class C>
    struct Invoker {
        using Part = decltype(C::x);
        void operator()(CUstream_st* stream, Part* out, C const* in, unsigned long n) const;
    };
};

/// The imaginary parts of `n` complex elements. Types: as `Decomplexify`.
struct Imag {
    template <class C>
    struct Invoker {
        using Part = decltype(C::x);
        void operator()(CUstream_st* stream, Part* out, C const* in, unsigned long n) const;
    };
};

/// The conjugates of `n` elements: the sign of the imaginary part is flipped, also that of zero and NaN.
/// `out` may be `in`.
///
/// Types: `float2`, `double2`.
///
/// Example: (1, 0) gives (1, -0).
struct Conj {
    template <class C>
    struct Invoker {
        void operator()(CUstream_st* stream, C* out, C const* in, unsigned long n) const;
    };
};

/// Copies a column-major matrix of `inRows` by `inColumns` into one of `outRows` by `outColumns`: what the
/// input lacks becomes 0, and its rows and columns beyond the output are dropped. Elements of a real input
/// become the real parts. Every element of the output is written; an output without elements calls nothing.
///
/// Types of the input: `float`, `double`, `float2`, `double2`; the output is complex.
///
/// Example: from (1, 2; 3, 4) to 3 rows and 1 column: (1, 0), (3, 0), (0, 0).
struct ComplexCopyPad {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, ComplexOf<T>* out, unsigned long outRows,
                        unsigned long outColumns, T const* in, unsigned long inRows,
                        unsigned long inColumns) const;
    };
};

/// Emit the operators in this library; not for calling.
void _forceInstantiation_(detail::Opaque&, ComplexifyPtrPtr*);
void _forceInstantiation_(detail::Opaque&, ComplexifyPtrScalar*);
void _forceInstantiation_(detail::Opaque&, ComplexifyScalarPtr*);
void _forceInstantiation_(detail::Opaque&, Decomplexify*);
void _forceInstantiation_(detail::Opaque&, Real*);
void _forceInstantiation_(detail::Opaque&, Imag*);
void _forceInstantiation_(detail::Opaque&, Conj*);
void _forceInstantiation_(detail::Opaque&, ComplexCopyPad*);

}  // namespace gpuruntime

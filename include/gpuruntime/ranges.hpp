#pragma once

#include <gpuruntime/types.hpp>

namespace gpuruntime {

/// A range with a real step, exact at both ends.
///
/// `out[i]`, for `i` from 0 to `n` - 1, is `first` + `i` * `step` in the lower half and
/// `last` - (`n` - 1 - `i`) * `step` in the upper half, a rounded product and a rounded sum each, so that
/// `last` is met even where the steps would miss it. The middle of an odd `n` is the mean of `first` and
/// `last`, formed without overflow; so with `n` of 1 the element is that mean.
///
/// Arithmetic is in double precision. `float` then rounds to nearest; integers truncate toward zero and
/// saturate at 32 bits (64 for the 64-bit types), NaN gives 0, and narrower integers keep the low-order
/// bytes: 300 stored as `unsigned char` is 44. With `n` of 0 nothing happens.
///
/// Types: `signed char`, `unsigned char`, `short`, `unsigned short`, `int`, `unsigned int`, `long`, `unsigned
/// long`, `float`, `double`.
///
/// Example: `n` 6, `first` 0, `step` 0.4, `last` 2 gives 0, 0.4, 0.8, 1.2, 1.6, 2.
struct Colon {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, unsigned long n, T* out, double first, double step,
                        double last) const;
    };
};

/// A range whose steps are known to be exact: `out[i]` is `first` + `i` * `step` in one rounding, converted
/// and stored as `Colon` does, for the same types. With `n` of 0 nothing happens.
///
/// Example: `unsigned char`, `n` 2, `first` 250, `step` 10 gives 250, 4.
struct IntColon {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, unsigned long n, T* out, double first, double step) const;
    };
};

/// `n` evenly spaced values from `first` to `last`, both ends exact; with `n` of 1 the element is `last`.
///
/// `out[i]` is ((`last` - `first`) * `i`) / (`n` - 1) + `first`, each operation rounded in double precision;
/// for `float` the difference and the final sum round to `float`. Where the difference of finite ends
/// overflows, a formula without it takes its place, and all elements stay finite. The parts of complex values
/// are spaced independently.
///
/// Types: `float`, `double`, `float2`, `double2`.
///
/// Example: `n` 6, `first` 0, `last` 10 gives 0, 2, 4, 6, 8, 10.
struct Linspace {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, unsigned long n, T* out, T first, T last) const;
    };
};

/// Ten to the power of `n` evenly spaced exponents from `first` to `last`, spaced as `Linspace` does it.
///
/// Integer-valued real exponents are exact powers of ten where the device's `pow` makes them so; those beyond
/// 32 bits saturate, which still gives infinity or 0. A complex exponent with a zero imaginary part and an
/// integer real part below 2^52 in magnitude is a repeated square of 10; any other goes through exp(z ln 10).
///
/// Types: `float`, `double`, `float2`, `double2`.
///
/// Example: `n` 6, `first` -2, `last` 3 gives 0.01, 0.1, 1, 10, 100, 1000.
struct Logspace {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, unsigned long n, T* out, T first, T last) const;
    };
};

/// Emit the operators in this library; not for calling.
void _forceInstantiation_(detail::Opaque&, Colon*);
void _forceInstantiation_(detail::Opaque&, IntColon*);
void _forceInstantiation_(detail::Opaque&, Linspace*);
void _forceInstantiation_(detail::Opaque&, Logspace*);

}  // namespace gpuruntime

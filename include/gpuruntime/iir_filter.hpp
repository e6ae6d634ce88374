#pragma once

#include <gpuruntime/types.hpp>

#include <boost/mpl/integral_c_fwd.hpp>

namespace gpuruntime {

/// Recursive filtering of many signals: out(n) = b0 in(n) + b1 in(n-1) + ... - a1 out(n-1) - a2 out(n-2)
/// ..., all coefficients divided by `a[0]`. Direct form II transposed (Oppenheim and Schafer,
/// Discrete-Time Signal Processing).
///
/// `Invoker<T, mpl_::integral_c<int, order>>`: `T` is `float`, `double`, `float2` or `double2`, for
/// arrays and coefficients alike; the order, 1 to 10, is the number of values in a signal's state, at
/// least the larger count of coefficients - 1.
///
/// - Coefficients: `numB` of them at `b` and `numA` at `a`, each at most order + 1; those beyond count as
///   0. An `a[0]` of 0 makes infinities and NaN.
/// - Signals: `numPages` pages of `numSignals` signals of `signalLength` samples. With a `sampleStride`
///   of 1 a signal is contiguous: sample n of signal c of page p is at (p * `numSignals` + c) *
///   `signalLength` + n. With any other signals are interleaved: it is at p * `numSignals` *
///   `signalLength` + c + n * `sampleStride`. `out` lies as `in` does and may be the same array. There
///   are fewer than 2^32 samples.
/// - States: order values for each signal, of signal c of page p from (p * `numSignals` + c) * order on.
///   Null at `initialState` is a state of zeros; with `sharedInitialState` other than 0 all signals start
///   from the one state there. Null at `finalState` is not written; what is written there lets a later
///   call go on, bit for bit as if there had been one call. Without samples it is the initial state.
/// - Rounding: out(n) = fma(x, b[0], z[0]); then z[i] = fma(x, b[i + 1], z[i + 1] + 0) - out(n) * a[i +
///   1], where the last product is rounded, and 0 is in place of z[order]. A complex product is added by
///   two fused operations a part, that with the real part of x first; of the one that is subtracted each
///   operation is rounded.
/// - Returns the runtime's status. Without signals nothing is launched. No state: calls may run side by
///   side.
///
/// Example: order 1, b = 1, a = 2, -1: the samples 2, 0, 0 give 1, 0.5, 0.25, and the final state is
/// 0.125.
struct IIRFilter {
    template <class T, class Order>
    struct Invoker {
        cudaError operator()(CUstream_st* stream, T* out, T* finalState, T const* b, T const* a, T const* in,
                             T const* initialState, unsigned int numB, unsigned int numA,
                             unsigned int signalLength, unsigned int numSignals, unsigned int sampleStride,
                             unsigned int numPages, unsigned int sharedInitialState) const;
    };
};

/// Emits the operators in this library; not for calling.
void _forceInstantiation2_(detail::Opaque&, IIRFilter*);

}  // namespace gpuruntime

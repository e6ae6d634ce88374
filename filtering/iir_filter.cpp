#include <gpuruntime/iir_filter.hpp>

#include "backend/multiply_add.hpp"
#include "frame/complex.hpp"
#include "frame/fixed_block.hpp"
#include "frame/instantiation.hpp"
#include "math.hpp"
#include "recursion.hpp"

namespace gpuruntime {
namespace iirfilter {
namespace {

// Products of real and of complex values, which are numbers or vectors of numbers.

/// z - a * b, each operation rounded.
template <class V>
GPU_DEVICE V subtractProduct(V z, V a, V b) {
    if constexpr (internal::isComplex<V>) {
        return {z.x - (a.x * b.x - a.y * b.y), z.y - (a.x * b.y + a.y * b.x)};
    } else {
        return z - a * b;
    }
}

/// z + 0, by which -0 becomes +0.
template <class V>
GPU_DEVICE V addZero(V z) {
    using P = internal::Part<V>;
    if constexpr (internal::isComplex<V>) {
        return {z.x + P{}, z.y + P{}};
    } else {
        return z + P{};
    }
}

template <class T>
GPU_DEVICE T product(T a, T b) {
    if constexpr (internal::isComplex<T>) {
        return {a.x * b.x - a.y * b.y, a.x * b.y + a.y * b.x};
    } else {
        return a * b;
    }
}

/// 1 / a. A complex value is scaled to parts that add up to 1 before its square is taken.
template <class T>
GPU_DEVICE T reciprocal(T a) {
    if constexpr (internal::isComplex<T>) {
        using P = internal::Part<T>;
        P const scale = 1 / (backend::abs(a.x) + backend::abs(a.y));
        P const x = a.x * scale, y = a.y * scale;
        P const square = x * x + y * y;
        return {scale * x / square, scale * -y / square};
    } else {
        return 1 / a;
    }
}

/// One sample through a filter of order `K`, in direct form II transposed. The values are those of one signal
/// or of several.
template <int K>
struct DirectForm {
    template <class V>
    struct Step {
        V b[K + 1], a[K + 1];  ///< a[0], which is 1, is not used

        GPU_DEVICE Step(V const* numerator, V const* denominator, unsigned int numB, unsigned int numA) {
            V const r = reciprocal(denominator[0]);
            GPU_UNROLL for (unsigned int i = 0; i <= K; ++i) {
                b[i] = i < numB ? product(r, numerator[i]) : V{};
                a[i] = i < numA ? product(r, denominator[i]) : V{};
            }
        }

        /// The filter of one signal, for several.
        template <class T>
        GPU_DEVICE explicit Step(Step<T> const& one) {
            GPU_UNROLL for (unsigned int i = 0; i <= K; ++i) {
                b[i] = backend::forEverySignal<V>(one.b[i]);
                a[i] = backend::forEverySignal<V>(one.a[i]);
            }
        }

        GPU_DEVICE V operator()(V x, V (&z)[K]) const {
            V const y = backend::multiplyAdd(x, b[0], z[0]);
            GPU_UNROLL for (unsigned int i = 0; i + 1 < K; ++i) {
                z[i] = subtractProduct(backend::multiplyAdd(x, b[i + 1], addZero(z[i + 1])), y, a[i + 1]);
            }
            z[K - 1] = subtractProduct(backend::multiplyAdd(x, b[K], V{}), y, a[K]);
            return y;
        }
    };
};

constexpr unsigned int blockX = 64, blockY = 1;

template <class T, int K>
struct IIRFilterKernel {
    static GPU_DEVICE void apply(cuda::Fixed2DBlockIterator const& block, T* out, T* finalState, T const* b,
                                 T const* a, T const* in, T const* initialState, unsigned int numB,
                                 unsigned int numA, unsigned int signalLength, unsigned int numSignals,
                                 unsigned int sampleStride, unsigned int numPages, bool sharedInitialState) {
        unsigned int const signal = block.blockX * blockX, page = block.blockY * blockY;
        if (signal >= numSignals || page >= numPages) return;
        unsigned int const signalStride = sampleStride == 1 ? signalLength : 1;
        unsigned int const first = page * numSignals * signalLength + signal * signalStride;
        unsigned int const state = (page * numSignals + signal) * K;
        bool const startsAtOwn = initialState != nullptr && !sharedInitialState;
        backend::recur<K>(block.threads,
                          backend::Signals<T>{out + first, in + first, numSignals - signal, signalLength,
                                              signalStride, sampleStride},
                          backend::States<T>{startsAtOwn ? initialState + state : initialState,
                                             finalState == nullptr ? nullptr : finalState + state,
                                             sharedInitialState ? 0u : K},
                          typename DirectForm<K>::template Step<T>(b, a, numB, numA));
    }

    static unsigned long work(T*, T*, T const*, T const*, T const*, T const*, unsigned int, unsigned int,
                              unsigned long signalLength, unsigned long numSignals, unsigned int,
                              unsigned long numPages, unsigned int) {
        return signalLength * numSignals * numPages;
    }
};

template <class Order>
constexpr int orderOf = 0;
template <int K>
constexpr int orderOf<mpl_::integral_c<int, K>> = K;

template <int... K>
using Orders = internal::TypeList<mpl_::integral_c<int, K>...>;

}  // namespace
}  // namespace iirfilter

template <class T, class Order>
cudaError IIRFilter::Invoker<T, Order>::operator()(CUstream_st* stream, T* out, T* finalState, T const* b,
                                                   T const* a, T const* in, T const* initialState,
                                                   unsigned int numB, unsigned int numA,
                                                   unsigned int signalLength, unsigned int numSignals,
                                                   unsigned int sampleStride, unsigned int numPages,
                                                   unsigned int sharedInitialState) const {
    using namespace iirfilter;
    if (numSignals == 0 || numPages == 0) return cudaSuccess;
    return fixed2dblockdetail::launch<IIRFilterKernel<T, orderOf<Order>>>(
        stream, numSignals, numPages, blockX, blockY, out, finalState, b, a, in, initialState, numB, numA,
        signalLength, numSignals, sampleStride, numPages, sharedInitialState != 0);
}

void _forceInstantiation2_(detail::Opaque& opaque, IIRFilter*) {
    internal::instantiate2<IIRFilter>(opaque, internal::Floating{},
                                      iirfilter::Orders<1, 2, 3, 4, 5, 6, 7, 8, 9, 10>{});
}

}  // namespace gpuruntime

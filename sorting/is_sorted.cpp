#include <gpuruntime/sorting.hpp>

#include "atomics.hpp"
#include "frame/complex_order.hpp"
#include "frame/elementwise.hpp"
#include "frame/flags.hpp"
#include "frame/instantiation.hpp"
#include "math.hpp"

namespace gpuruntime {
namespace {

/// Non-zero while no violation has been seen.
GPU_DEVICE_VARIABLE(unsigned int, D_ISSORTED_FLAG);

/// Whether `v` may not follow `u`; NaN is the largest value, and may follow another.
template <class T, class = void>
struct FlagIfGreater {
    static GPU_DEVICE bool fires(T const& u, T const& v) {
        if constexpr (internal::isComplex<T>) {
            auto const mu = internal::magnitude(u), mv = internal::magnitude(v);
            if (mu < mv || backend::isNaN(mv)) return false;
            if (mu > mv || backend::isNaN(mu)) return true;
            return internal::compareEqualMagnitudes(u, v, backend::isInf(mv)) > 0;
        } else if constexpr (std::is_floating_point_v<T>) {
            return !backend::isNaN(v) && !(u <= v);
        } else {
            return u > v;
        }
    }
};

/// As `FlagIfGreater`, but equal values, and two NaNs, may not follow each other.
template <class T, class = void>
struct FlagIfGreaterOrEqual {
    static GPU_DEVICE bool fires(T const& u, T const& v) { return backend::isNaN(u) || u >= v; }
};

template <class T, class Flagger>
struct IsSortedKernel {
    static GPU_DEVICE void apply(elementwisedetail::BlockOfElements const& block, T const* data) {
        // The flag is read so that threads leave early after a violation; no order of reads and writes is
        // needed.
        if (backend::relaxedLoad(D_ISSORTED_FLAG) == 0) return;
        bool fired = false;
        block.forEach(0, block.n - 1,
                      [&](unsigned int i) { fired |= Flagger::fires(data[i], data[i + 1ul]); });
        if (fired) backend::atomicAnd(D_ISSORTED_FLAG, 0);
    }
};

/// A failed call reads as a sorted vector.
template <class Kernel, class T>
bool noneFlagged(CUstream_st* stream, T const* data, unsigned long n) {
    auto const flags = internal::flagsAfter<1>({&D_ISSORTED_FLAG}, internal::setFlag, stream,
                                               [&] { elementwisedetail::launch<Kernel>(stream, n, data); });
    return !flags || (*flags)[0] != 0;
}

}  // namespace

template <class T>
bool IsSortedVector::Invoker<T>::operator()(CUstream_st* stream, T const* data, unsigned long n) const {
    return noneFlagged<IsSortedKernel<T, FlagIfGreater<T>>>(stream, data, n);
}

template <class T>
bool IsStronglySortedVector::Invoker<T>::operator()(CUstream_st* stream, T const* data,
                                                    unsigned long n) const {
    return noneFlagged<IsSortedKernel<T, FlagIfGreaterOrEqual<T>>>(stream, data, n);
}

void _forceInstantiation_(detail::Opaque& opaque, IsSortedVector*) {
    internal::instantiate<IsSortedVector>(opaque, internal::Ordered{});
}

void _forceInstantiation_(detail::Opaque& opaque, IsStronglySortedVector*) {
    internal::instantiate<IsStronglySortedVector>(opaque, internal::FloatingReal{});
}

}  // namespace gpuruntime

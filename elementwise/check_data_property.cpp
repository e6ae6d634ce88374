#include <gpuruntime/predicates.hpp>

#include "atomics.hpp"
#include "elementwise/run_steps.hpp"
#include "frame/elementwise.hpp"
#include "frame/instantiation.hpp"
#include "run.hpp"

namespace gpuruntime {
namespace {

GPU_DEVICE_VARIABLE(unsigned int, dHasProperty);

/// Whether the test holds for any part of the run.
template <class Test>
struct CheckerOf {
    template <class T>
    static GPU_DEVICE bool isFoundIn(backend::Run run, T const* in, unsigned int /*count*/) {
        constexpr unsigned int numParts = sizeof(T) / sizeof(internal::Part<T>);
        backend::ElementsOf const from(run, in);
        return internal::testAny<Test>(numParts * run.size, internal::parts(from.data()));
    }
};

struct CheckerInf : CheckerOf<internal::IsInfinite> {};
struct CheckerNaN : CheckerOf<internal::IsNotANumber> {};
struct CheckerNotFinite : CheckerOf<internal::IsNotFinite> {};

template <class T>
GPU_STEP bool anyNotBelowItsNext(unsigned int size, T const* from) {
    return internal::holdsForAny<T>(size, [&](unsigned int k) { return from[k] >= from[k + 1]; });
}

struct CheckerNotStronglySortedAscending {
    template <class T>
    static GPU_DEVICE bool isFoundIn(backend::Run run, T const* in, unsigned int count) {
        unsigned int const numPairs = count - 1 - run.first;
        return anyNotBelowItsNext(run.size < numPairs ? run.size : numPairs, in + run.first);
    }
};

// All threads reach the flag: a check that finds something early goes on.
template <class T, class Checker>
struct CheckDataPropertyKernel {
    static GPU_DEVICE void apply(backend::Run run, T const* in, unsigned int count, Checker) {
        if (Checker::isFoundIn(run, in, count)) backend::atomicOr(dHasProperty, 1);
    }
};

template <class Checker, class T>
bool hasProperty(CUstream_st* stream, T const* in, unsigned long n) {
    unsigned int flag = 0;
    if (cudaMemcpyToSymbol(dHasProperty, &flag, sizeof flag) != cudaSuccess) return true;
    elementwisedetail::launch<CheckDataPropertyKernel<T, Checker>>(stream, n, in, n, Checker{});
    if (cudaMemcpyFromSymbol(&flag, dHasProperty, sizeof flag) != cudaSuccess) return true;
    return flag != 0;
}

}  // namespace

template <class T>
bool CheckInf::Invoker<T>::operator()(CUstream_st* stream, T const* in, unsigned long const& n) const {
    return hasProperty<CheckerInf>(stream, in, n);
}

template <class T>
bool CheckNaN::Invoker<T>::operator()(CUstream_st* stream, T const* in, unsigned long const& n) const {
    return hasProperty<CheckerNaN>(stream, in, n);
}

template <class T>
bool CheckNotFinite::Invoker<T>::operator()(CUstream_st* stream, T const* in, unsigned long const& n) const {
    return hasProperty<CheckerNotFinite>(stream, in, n);
}

template <class T>
bool CheckNotStronglySortedAscending::Invoker<T>::operator()(CUstream_st* stream, T const* in,
                                                             unsigned long const& n) const {
    return hasProperty<CheckerNotStronglySortedAscending>(stream, in, n);
}

void _forceInstantiation_(detail::Opaque& opaque, CheckInf*) {
    internal::instantiate<CheckInf>(opaque, internal::Floating{});
}

void _forceInstantiation_(detail::Opaque& opaque, CheckNaN*) {
    internal::instantiate<CheckNaN>(opaque, internal::Floating{});
}

void _forceInstantiation_(detail::Opaque& opaque, CheckNotFinite*) {
    internal::instantiate<CheckNotFinite>(opaque, internal::Floating{});
}

void _forceInstantiation_(detail::Opaque& opaque, CheckNotStronglySortedAscending*) {
    internal::instantiate<CheckNotStronglySortedAscending>(opaque, internal::FloatingReal{});
}

}  // namespace gpuruntime

#include <gpuruntime/predicates.hpp>

#include "elementwise/run_steps.hpp"
#include "frame/elementwise.hpp"
#include "frame/instantiation.hpp"
#include "run.hpp"

namespace gpuruntime {
namespace {

/// Stores whether the test holds for each element.
template <class Test, class T>
GPU_DEVICE void storeTested(backend::Run run, bool* out, T const* in) {
    backend::ElementsOf const from(run, internal::readable(in));
    backend::storeRun(run, out, [&](bool* to) { internal::testElements<Test>(run.size, to, from.data()); });
}

template <class T>
struct IsNaNKernel {
    static GPU_DEVICE void apply(backend::Run run, bool* out, T const* in) {
        storeTested<internal::IsNotANumber>(run, out, in);
    }
};

template <class T>
struct IsInfKernel {
    static GPU_DEVICE void apply(backend::Run run, bool* out, T const* in) {
        storeTested<internal::IsInfinite>(run, out, in);
    }
};

template <class T>
struct IsNaNOrInfKernel {
    static GPU_DEVICE void apply(backend::Run run, bool* out, T const* in) {
        storeTested<internal::IsNotFinite>(run, out, in);
    }
};

template <class T>
struct IsNonZeroKernel {
    static GPU_DEVICE void apply(backend::Run run, bool* out, T const* in) {
        storeTested<internal::IsOtherThanZero>(run, out, in);
    }
};

template <class T>
struct IsNeitherZeroNorNaNKernel {
    static GPU_DEVICE void apply(backend::Run run, bool* out, T const* in) {
        backend::ElementsOf const from(run, internal::readable(in));
        backend::storeRun(run, out, [&](bool* to) {
            internal::testElements<internal::IsOtherThanZero>(run.size, to, from.data());
            if constexpr (std::is_floating_point_v<internal::Part<T>>) {
                bool isNaN[backend::Run::capacity];
                internal::testElements<internal::IsNotANumber>(run.size, isNaN, from.data());
                internal::replaceWhere(run.size, to, isNaN, false);
            }
        });
    }
};

GPU_STEP void numberEach(unsigned int size, double* to, bool const* flags) {
    backend::forEachOf(size, [&](unsigned int k) { to[k] = static_cast<int>(flags[k]); });
}

/// Stores 1 where the test holds and 0 elsewhere.
template <class Test, class T>
GPU_DEVICE void storeNumbered(backend::Run run, double* out, T const* in) {
    backend::ElementsOf const from(run, internal::readable(in));
    bool flags[backend::Run::capacity];
    internal::testElements<Test>(run.size, flags, from.data());
    backend::storeRun(run, out, [&](double* to) { numberEach(run.size, to, flags); });
}

template <class Out, class T>
struct FlagNonZeroKernel {
    static GPU_DEVICE void apply(backend::Run run, Out* out, T const* in) {
        storeNumbered<internal::IsOtherThanZero>(run, out, in);
    }
};

struct IsBelowZero {
    template <class T>
    static GPU_DEVICE bool holds(T value) {
        if constexpr (std::is_signed_v<T>) {
            return value < 0;
        } else {
            return false;
        }
    }
};

template <class Out, class T>
struct FlagRealNegativeKernel {
    static GPU_DEVICE void apply(backend::Run run, Out* out, T const* in) {
        storeNumbered<IsBelowZero>(run, out, in);
    }
};

}  // namespace

template <class T>
void IsNaN::Invoker<T>::operator()(CUstream_st* stream, bool* out, T const* in, unsigned long n) const {
    elementwisedetail::launch<IsNaNKernel<T>>(stream, n, out, in);
}

template <class T>
void IsInf::Invoker<T>::operator()(CUstream_st* stream, bool* out, T const* in, unsigned long n) const {
    elementwisedetail::launch<IsInfKernel<T>>(stream, n, out, in);
}

template <class T>
void IsNaNOrInf::Invoker<T>::operator()(CUstream_st* stream, bool* out, T const* in, unsigned long n) const {
    elementwisedetail::launch<IsNaNOrInfKernel<T>>(stream, n, out, in);
}

template <class T>
void IsNonZero::Invoker<T>::operator()(CUstream_st* stream, bool* out, T const* in, unsigned long n) const {
    elementwisedetail::launch<IsNonZeroKernel<T>>(stream, n, out, in);
}

template <class T>
void IsNeitherZeroNorNaN::Invoker<T>::operator()(CUstream_st* stream, bool* out, T const* in,
                                                 unsigned long n) const {
    elementwisedetail::launch<IsNeitherZeroNorNaNKernel<T>>(stream, n, out, in);
}

template <class T>
void FlagNonZero::Invoker<T>::operator()(CUstream_st* stream, double* out, T const* in,
                                         unsigned long n) const {
    elementwisedetail::launch<FlagNonZeroKernel<double, T>>(stream, n, out, in);
}

template <class T>
void FlagNegative::Invoker<T>::operator()(CUstream_st* stream, double* out, T const* in,
                                          unsigned long n) const {
    elementwisedetail::launch<FlagRealNegativeKernel<double, T>>(stream, n, out, in);
}

void _forceInstantiation_(detail::Opaque& opaque, IsNaN*) {
    internal::instantiate<IsNaN>(opaque, internal::Floating{});
}

void _forceInstantiation_(detail::Opaque& opaque, IsInf*) {
    internal::instantiate<IsInf>(opaque, internal::Floating{});
}

void _forceInstantiation_(detail::Opaque& opaque, IsNaNOrInf*) {
    internal::instantiate<IsNaNOrInf>(opaque, internal::Floating{});
}

void _forceInstantiation_(detail::Opaque& opaque, IsNonZero*) {
    internal::instantiate<IsNonZero>(opaque, internal::All{});
}

void _forceInstantiation_(detail::Opaque& opaque, IsNeitherZeroNorNaN*) {
    internal::instantiate<IsNeitherZeroNorNaN>(opaque, internal::All{});
}

void _forceInstantiation_(detail::Opaque& opaque, FlagNonZero*) {
    internal::instantiate<FlagNonZero>(opaque, internal::All{});
}

void _forceInstantiation_(detail::Opaque& opaque, FlagNegative*) {
    internal::instantiate<FlagNegative>(opaque, internal::Real{});
}

}  // namespace gpuruntime

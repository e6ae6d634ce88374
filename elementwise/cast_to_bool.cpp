#include <gpuruntime/casts.hpp>

#include "elementwise/run_steps.hpp"
#include "frame/elementwise.hpp"
#include "frame/error_word.hpp"
#include "frame/instantiation.hpp"
#include "run.hpp"

namespace gpuruntime {
namespace {

GPU_DEVICE_VARIABLE(unsigned int, __KVX_PTX_ERROR_CODE);

/// A NaN was converted to logical.
constexpr unsigned int nanAsLogicalCode = 1046;

template <class T>
struct CastToBoolKernel {
    static GPU_DEVICE void apply(backend::Run run, bool* out, T const* in) {
        backend::ElementsOf const from(run, in);
        if constexpr (std::is_floating_point_v<T>) {
            if (internal::testAny<internal::IsNotANumber>(run.size, from.data())) {
                internal::reportError(__KVX_PTX_ERROR_CODE, nanAsLogicalCode);
            }
        }
        backend::storeRun(run, out, [&](bool* to) {
            internal::testElements<internal::IsOtherThanZero>(run.size, to, from.data());
        });
    }
};

template <class T>
struct CastToBoolAllowNaNKernel {
    static GPU_DEVICE void apply(backend::Run run, bool* out, T const* in, bool nanValue) {
        backend::ElementsOf const from(run, in);
        backend::storeRun(run, out, [&](bool* to) {
            internal::testElements<internal::IsOtherThanZero>(run.size, to, from.data());
            if constexpr (std::is_floating_point_v<internal::Part<T>>) {
                bool isNaN[backend::Run::capacity];
                internal::testElements<internal::IsNotANumber>(run.size, isNaN, from.data());
                internal::replaceWhere(run.size, to, isNaN, nanValue);
            }
        });
    }
};

}  // namespace

template <class T>
cudaError CastToBool::Invoker<T>::operator()(CUstream_st* stream, unsigned long n, bool* out,
                                             T const* in) const {
    cudaError const reset = internal::resetErrorWord(__KVX_PTX_ERROR_CODE, stream);
    if (reset != cudaSuccess) return reset;
    return elementwisedetail::launch<CastToBoolKernel<T>>(stream, n, out, in);
}

unsigned int CastToBool::getErrorFlag(CUstream_st* stream) const {
    return internal::readErrorWord(__KVX_PTX_ERROR_CODE, stream);
}

template <class T>
void CastToBoolAllowNaN::Invoker<T>::operator()(CUstream_st* stream, unsigned long n, bool* out, T const* in,
                                                bool nanValue) const {
    elementwisedetail::launch<CastToBoolAllowNaNKernel<T>>(stream, n, out, in, nanValue);
}

void _forceInstantiation_(detail::Opaque& opaque, CastToBool*) {
    internal::instantiate<CastToBool>(opaque, internal::RealNumeric{});
}

void _forceInstantiation_(detail::Opaque& opaque, CastToBoolAllowNaN*) {
    internal::instantiate<CastToBoolAllowNaN>(
        opaque, internal::Concatenate<internal::RealNumeric, internal::Complex>{});
}

}  // namespace gpuruntime

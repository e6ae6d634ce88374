#include <gpuruntime/arithmetic.hpp>

#include "atomics.hpp"
#include "elementwise/run_steps.hpp"
#include "frame/elementwise.hpp"
#include "frame/instantiation.hpp"
#include "run.hpp"

namespace gpuruntime {
namespace {

GPU_CONSTANT_VARIABLE(double, C_NORM_RESULT);

template <class T>
struct NormCorrectInfToNaNKernel {
    // The symbol is read and not the norm, so that no store is seen.
    static GPU_DEVICE void apply(backend::Run run, T const* in, double* norm) {
        constexpr unsigned int numParts = sizeof(T) / sizeof(internal::Part<T>);
        if (!backend::isInf(C_NORM_RESULT)) return;
        backend::ElementsOf const from(run, in);
        if (internal::testAny<internal::IsNotANumber>(numParts * run.size, internal::parts(from.data()))) {
            backend::storeShared(*norm, backend::withBits(0xfff8000000000000));
        }
    }
};

}  // namespace

template <class T>
cudaError NormCorrectInfNaN::Invoker<T>::operator()(CUstream_st* stream, double* norm, T const* in,
                                                    unsigned long n) const {
    cudaError const status =
        cudaMemcpyToSymbolAsync(C_NORM_RESULT, norm, sizeof(double), 0, cudaMemcpyDeviceToDevice, stream);
    if (status != cudaSuccess || n == 0) return status;
    return elementwisedetail::launch<NormCorrectInfToNaNKernel<T>>(stream, n, in, norm);
}

void _forceInstantiation_(detail::Opaque& opaque, NormCorrectInfNaN*) {
    internal::instantiate<NormCorrectInfNaN>(opaque, internal::Floating{});
}

}  // namespace gpuruntime

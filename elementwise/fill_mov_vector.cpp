#include <gpuruntime/fills.hpp>

#include "frame/convert.hpp"
#include "frame/elementwise.hpp"
#include "frame/instantiation.hpp"
#include "math.hpp"

namespace gpuruntime::movfun {
namespace {

template <class T>
struct FillMovVectorKernel {
    static GPU_DEVICE void apply(elementwisedetail::Position at, T* out, double const* positions,
                                 unsigned long length, unsigned long windowBefore, unsigned long windowAfter,
                                 T fill) {
        auto const index = internal::storedAs<unsigned long>(positions[at.i] - 1);
        if (index >= length) return;
        unsigned long const fromEnd = length - index;
        T value = out[at.i];
        if (index < windowBefore) value = backend::fma(static_cast<T>(windowBefore - index), fill, value);
        if (fromEnd <= windowAfter)
            value = backend::fma(static_cast<T>(windowAfter + 1 - fromEnd), fill, value);
        out[at.i] = value;
    }
};

}  // namespace

template <class T>
void FillMovVector::Invoker<T>::operator()(CUstream_st* stream, unsigned long n, T* out,
                                           double const* positions, unsigned long length,
                                           unsigned long windowBefore, unsigned long windowAfter,
                                           T fill) const {
    elementwisedetail::launch<FillMovVectorKernel<T>>(stream, n, out, positions, length, windowBefore,
                                                      windowAfter, fill);
}

void _forceInstantiation_(detail::Opaque& opaque, FillMovVector*) {
    internal::instantiate<FillMovVector>(opaque, internal::FloatingReal{});
}

}  // namespace gpuruntime::movfun

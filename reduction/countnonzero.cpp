#include <gpuruntime/reductions.hpp>

#include "frame/instantiation.hpp"
#include "reduction/operators.hpp"
#include "reduction/reduce.hpp"
#include "reduction/transforms.hpp"

namespace gpuruntime {

namespace {

template <class TOut, class T>
struct FlagNonZeroTransform {
    static GPU_DEVICE TOut apply(T value) {
        return reductiontransforms::IsNotZero<T>::apply(value) ? TOut(1) : TOut(0);
    }
};

}  // namespace

template <class T>
cudaError CountNonZero::Invoker<T>::operator()(CUstream_st* stream, double* out, T const* in,
                                               unsigned long numElements,
                                               unsigned long reductionLength) const {
    return internal::reduceSegments<FlagNonZeroTransform<double, T>, reductionoperators::Sum<double>>(
        stream, out, in, numElements, reductionLength);
}

void _forceInstantiation_(detail::Opaque& opaque, CountNonZero*) {
    internal::instantiate<CountNonZero>(opaque, internal::All{});
}

}  // namespace gpuruntime

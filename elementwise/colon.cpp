#include <gpuruntime/ranges.hpp>

#include "conversion.hpp"
#include "frame/convert.hpp"
#include "frame/elementwise.hpp"
#include "frame/instantiation.hpp"
#include "math.hpp"

namespace gpuruntime {
namespace {

// Counted from both ends, so that both are exact and the rounding errors meet in the middle, where an element
// in the very centre is computed by itself.
template <class T>
struct ColonKernel {
    static GPU_DEVICE void apply(elementwisedetail::BlockOfElements const& block, T* out, double first,
                                 double step, double last) {
        unsigned int const n = block.n, numBefore = n / 2, firstAfter = n - n / 2;
        block.forEach(0, numBefore, [&](unsigned int i) {
            out[i] = internal::storedAs<T>(first + backend::fromUint32(i) * step);
        });
        block.forEach(numBefore, firstAfter,
                      [&](unsigned int i) { out[i] = internal::storedAs<T>(centre(first, last)); });
        block.forEach(firstAfter, n, [&](unsigned int i) {
            out[i] = internal::storedAs<T>(last - backend::fromUint32(n - 1 - i) * step);
        });
    }

  private:
    /// With ends of one sign their sum may overflow, with two signs their difference.
    static GPU_DEVICE double centre(double first, double last) {
        bool const oneSign = (first >= 0 && last >= 0) || (first <= 0 && last <= 0);
        return oneSign ? backend::fma(last - first, 0.5, first) : (first + last) * 0.5;
    }
};

template <class T>
struct IntColonKernel {
    static GPU_DEVICE void apply(elementwisedetail::Position at, T* out, double first, double step) {
        out[at.i] = internal::storedAs<T>(backend::fma(backend::fromUint32(at.i), step, first));
    }
};

}  // namespace

template <class T>
void Colon::Invoker<T>::operator()(CUstream_st* stream, unsigned long n, T* out, double first, double step,
                                   double last) const {
    elementwisedetail::launch<ColonKernel<T>>(stream, n, out, first, step, last);
}

template <class T>
void IntColon::Invoker<T>::operator()(CUstream_st* stream, unsigned long n, T* out, double first,
                                      double step) const {
    elementwisedetail::launch<IntColonKernel<T>>(stream, n, out, first, step);
}

void _forceInstantiation_(detail::Opaque& opaque, Colon*) {
    internal::instantiate<Colon>(opaque, internal::RealNumeric{});
}

void _forceInstantiation_(detail::Opaque& opaque, IntColon*) {
    internal::instantiate<IntColon>(opaque, internal::RealNumeric{});
}

}  // namespace gpuruntime

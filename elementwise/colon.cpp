#include <gpuruntime/ranges.hpp>

#include "frame/convert.hpp"
#include "frame/elementwise.hpp"
#include "frame/instantiation.hpp"
#include "math.hpp"

namespace gpuruntime {
namespace {

// Counted from both ends, so that both are exact and the rounding errors meet in the middle.
template <class T>
struct ColonKernel {
    static GPU_DEVICE void apply(elementwisedetail::Position at, T* out, double first, double step,
                                 double last) {
        // Indices are exact in double precision, and one kind of arithmetic vectorises best.
        double const i = at.i, lastIndex = at.n - 1, half = (at.n - 1) >> 1;
        bool const lower = i <= half;
        double const steps = lower ? i : lastIndex - i;
        double const value = (lower ? first : last) + steps * (lower ? step : -step);
        // With ends of one sign their sum may overflow, with two signs their difference.
        bool const oneSign = (first >= 0 && last >= 0) || (first <= 0 && last <= 0);
        double const centre = oneSign ? backend::fma(last - first, 0.5, first) : (first + last) * 0.5;
        double const centreIndex = at.n % 2 == 1 ? half : -1;
        out[at.i] = internal::storedAs<T>(i == centreIndex ? centre : value);
    }
};

template <class T>
struct IntColonKernel {
    static GPU_DEVICE void apply(elementwisedetail::Position at, T* out, double first, double step) {
        out[at.i] = internal::storedAs<T>(backend::fma<double>(at.i, step, first));
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

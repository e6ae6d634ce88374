#include <gpuruntime/ranges.hpp>

#include "conversion.hpp"
#include "frame/convert.hpp"
#include "frame/elementwise.hpp"
#include "frame/instantiation.hpp"
#include "math.hpp"

namespace gpuruntime {
namespace {

/// Stores `value(i)` at `out[i]` for the block's elements in [`begin`, `end`). The values ascend or descend,
/// and their ends tell whether any has to saturate: conversions that do cost more than all the rest.
template <class T, class Value>
GPU_DEVICE void store(elementwisedetail::BlockOfElements const& block, T* out, unsigned int begin,
                      unsigned int end, Value value) {
    if (begin < end && internal::areStoredAsInt<T>(value(begin), value(end - 1))) {
        block.store(out, begin, end,
                    [=](unsigned int i) { return static_cast<T>(static_cast<int>(value(i))); });
    } else {
        block.store(out, begin, end, [=](unsigned int i) { return internal::storedAs<T>(value(i)); });
    }
}

// Counted from both ends, so that both are exact and the rounding errors meet in the middle, where an element
// in the very centre is computed by itself.
template <class T>
struct ColonKernel {
    static GPU_DEVICE void apply(elementwisedetail::BlockOfElements const& block, T* out, double first,
                                 double step, double last) {
        unsigned int const n = block.n, numBefore = n / 2, firstAfter = n - n / 2;
        store(block, out, 0, numBefore,
              [=](unsigned int i) { return first + backend::fromUint32(i) * step; });
        store(block, out, numBefore, firstAfter, [=](unsigned int) { return centre(first, last); });
        store(block, out, firstAfter, n,
              [=](unsigned int i) { return last - backend::fromUint32(n - 1 - i) * step; });
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
    static GPU_DEVICE void apply(elementwisedetail::BlockOfElements const& block, T* out, double first,
                                 double step) {
        store(block, out, 0, block.n,
              [=](unsigned int i) { return backend::fma(backend::fromUint32(i), step, first); });
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
    internal::instantiate<Colon>(opaque, internal::ConvertedReal{});
}

void _forceInstantiation_(detail::Opaque& opaque, IntColon*) {
    internal::instantiate<IntColon>(opaque, internal::ConvertedReal{});
}

}  // namespace gpuruntime

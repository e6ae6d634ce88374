#include <gpuruntime/arithmetic.hpp>

#include <algorithm>

#include "elementwise/arithmetic_types.hpp"
#include "frame/complex.hpp"
#include "frame/elementwise.hpp"
#include "frame/instantiation.hpp"
#include "frame/invariant_divisor.hpp"
#include "frame/saturation.hpp"
#include "run.hpp"

namespace gpuruntime {
namespace {

template <class T>
GPU_DEVICE T difference(T a, T b) {
    if constexpr (internal::isComplex<T>) {
        return {a.x - b.x, a.y - b.y};
    } else if constexpr (std::is_floating_point_v<T>) {
        return a - b;
    } else {
        return internal::saturatingDifference(a, b);
    }
}

/// Groups of `outLength` times `stride` elements of the output lie in the input `stride` farther apart.
struct DiffLayout {
    unsigned int stride, outLength;
    internal::InvariantDivisor byStride, byOutLength;

    DiffLayout(unsigned int stride, unsigned int outLength)
        : stride(stride), outLength(outLength), byStride(stride), byOutLength(outLength) {}

    GPU_DEVICE unsigned int groupOf(unsigned int i) const {
        return byOutLength.quotient(byStride.quotient(i));
    }
    /// Where the group after this one begins.
    GPU_DEVICE unsigned long endOf(unsigned int group) const { return (1ul + group) * outLength * stride; }
};

template <class T>
struct DiffKernel {
    static GPU_DEVICE void apply(backend::Run run, T* out, T const* in, DiffLayout layout) {
        backend::storeRun(run, out, [&](T* to) {
            for (unsigned int done = 0, size; done < run.size; done += size) {
                unsigned int const i = run.first + done, group = layout.groupOf(i);
                unsigned int const low = i + group * layout.stride, high = low + layout.stride;
                // As far as the run, the group and the range of positions go.
                unsigned long const left = std::min(layout.endOf(group) - i - 1, 1ul * std::min(~low, ~high));
                size = static_cast<unsigned int>(std::min<unsigned long>(run.size - done - 1, left)) + 1;
                backend::forEachOf(
                    size, [start = to + done, minuend = in + high, subtrahend = in + low](unsigned int k) {
                        start[k] = difference(minuend[k], subtrahend[k]);
                    });
            }
        });
    }
};

}  // namespace

template <class T>
void Diff::Invoker<T>::operator()(CUstream_st* stream, T* out, T const* in, unsigned long stride,
                                  unsigned long outLength, unsigned long n) const {
    DiffLayout const layout(static_cast<unsigned int>(stride), static_cast<unsigned int>(outLength));
    elementwisedetail::launch<DiffKernel<T>>(stream, n, out, in, layout);
}

void _forceInstantiation_(detail::Opaque& opaque, Diff*) {
    internal::instantiate<Diff>(opaque, internal::Subtracted{});
}

}  // namespace gpuruntime

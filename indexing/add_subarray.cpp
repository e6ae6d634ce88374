#include <gpuruntime/indices.hpp>

#include "frame/complex.hpp"
#include "frame/elementwise.hpp"
#include "frame/instantiation.hpp"

namespace gpuruntime {
namespace {

template <class T>
struct AddSubarrayKernel {
    static GPU_DEVICE void apply(elementwise2ddetail::BlockOfRows const& block, T* out, T const* in,
                                 unsigned int outStride) {
        block.forEachRow([&](backend::Row row, unsigned int y) {
            T const* const from = in + y * block.nx;
            T* const to = out + y * outStride;
            row.forEach([=](unsigned long x) { to[x] = sum(to[x], from[x]); });
        });
    }

  private:
    static GPU_DEVICE T sum(T a, T b) {
        if constexpr (internal::isComplex<T>) {
            return {a.x + b.x, a.y + b.y};
        } else {
            return a + b;
        }
    }
};

}  // namespace

template <class T>
int AddSubarrayInPlace::Invoker<T>::operator()(CUstream_st* stream, T* out, unsigned long const* outSizes,
                                               unsigned long numDims, T const* in,
                                               unsigned long const* inSizes,
                                               unsigned long /*numInDims*/) const {
    // Elements that lie behind one another: as many as the dimensions hold up to the one that differs.
    unsigned long inLead = 1, outLead = 1, d = 0;
    bool differs = false;
    for (; d < numDims && !differs; ++d) {
        inLead *= inSizes[d];
        outLead *= outSizes[d];
        differs = inSizes[d] != outSizes[d];
    }
    unsigned long inTail = 1;
    for (; d < numDims; ++d) inTail *= inSizes[d];
    if (inLead == 0 || inTail == 0) return cudaSuccess;
    return elementwise2ddetail::launch<AddSubarrayKernel<T>>(stream, inLead, inTail, out, in, outLead);
}

void _forceInstantiation_(detail::Opaque& opaque, AddSubarrayInPlace*) {
    internal::instantiate<AddSubarrayInPlace>(opaque, internal::Floating{});
}

}  // namespace gpuruntime

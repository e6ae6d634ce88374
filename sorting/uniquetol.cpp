#include <gpuruntime/grouping.hpp>

#include "frame/convert.hpp"
#include "frame/elementwise.hpp"
#include "frame/instantiation.hpp"
#include "math.hpp"

namespace gpuruntime {
namespace {

template <class T>
struct FindGroupsKernel {
    static GPU_DEVICE void apply(elementwisedetail::BlockOfElements const& block, bool* isGroupStart,
                                 T const* data, double tol) {
        block.store(isGroupStart, 0, 1, [](unsigned int) { return true; });
        block.store(isGroupStart, 1, block.n, [=](unsigned int i) {
            return backend::isNaN(data[i]) | (backend::abs(data[i] - data[i - 1]) > tol);
        });
    }
};

template <class T>
struct RefineGroupsKernel {
    static GPU_DEVICE void apply(elementwisedetail::Position at, unsigned long n, bool* isGroupStart,
                                 double const* groupStarts, T const* data, double tol) {
        auto const startOf = [=](unsigned int group) {
            return internal::storedAs<unsigned long>(groupStarts[group]) - 1;
        };
        unsigned long const begin = startOf(at.i), end = at.i + 1 < at.n ? startOf(at.i + 1) : n;
        T reference = data[begin];
        if (backend::isNaN(reference) || backend::abs(reference - data[end - 1]) <= tol) return;
        // The second element is within the tolerance, or the group would have been cut there.
        for (unsigned long i = begin + 2; i < end; ++i) {
            if (backend::abs(data[i] - reference) > tol) {
                isGroupStart[i] = true;
                reference = data[i];
            }
        }
    }
};

}  // namespace

template <class T>
cudaError FindGroupsUniquetol::Invoker<T>::operator()(CUstream_st* stream, unsigned long n,
                                                      bool* isGroupStart, T const* data, double tol) const {
    return elementwisedetail::launch<FindGroupsKernel<T>>(stream, n, isGroupStart, data, tol);
}

template <class T>
cudaError RefineGroupsUniquetol::Invoker<T>::operator()(CUstream_st* stream, unsigned long numGroups,
                                                        unsigned long n, bool* isGroupStart,
                                                        double const* groupStarts, T const* data,
                                                        double tol) const {
    return elementwisedetail::launch<RefineGroupsKernel<T>>(stream, numGroups, n, isGroupStart, groupStarts,
                                                            data, tol);
}

void _forceInstantiation_(detail::Opaque& opaque, FindGroupsUniquetol*) {
    internal::instantiate<FindGroupsUniquetol>(opaque, internal::FloatingReal{});
}

void _forceInstantiation_(detail::Opaque& opaque, RefineGroupsUniquetol*) {
    internal::instantiate<RefineGroupsUniquetol>(opaque, internal::FloatingReal{});
}

}  // namespace gpuruntime

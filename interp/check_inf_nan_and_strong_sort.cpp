#include <gpuruntime/grids.hpp>

#include "atomics.hpp"
#include "elementwise/run_steps.hpp"
#include "frame/elementwise.hpp"
#include "frame/instantiation.hpp"
#include "interp/grid_flag.hpp"
#include "run.hpp"

namespace gpuruntime {
namespace interp {
namespace {

/// The low half tells of pairs that do not ascend, the high half of elements that are not finite.
GPU_DEVICE_VARIABLE(unsigned int, dHasInfNaNOrNotStrictlyIncreasing);
constexpr unsigned int notFiniteShift = 16;

template <class T>
struct CheckInfNaNAndStrongSortKernel {
    static GPU_DEVICE void apply(backend::Run run, T const* grid, unsigned int n) {
        T const* const from = grid + run.first;
        unsigned int const numPairs = n - 1 - run.first;
        bool const isNotFinite = internal::testAny<internal::IsNotFinite>(run.size, from);
        bool const isNotAscending =
            internal::holdsForAny<T>(run.size < numPairs ? run.size : numPairs,
                                     [&](unsigned int k) { return from[k] >= from[k + 1]; });
        unsigned int const faults = (isNotFinite ? 1u << notFiniteShift : 0u) | (isNotAscending ? 1u : 0u);
        if (faults != 0) backend::atomicOr(dHasInfNaNOrNotStrictlyIncreasing, faults);
    }
};

}  // namespace
}  // namespace interp

template <class T>
GridFaults CheckInfNaNAndStrictlyIncreasing::Invoker<T>::operator()(CUstream_st* stream, T const* grid,
                                                                    unsigned long const& gridSize) const {
    auto const faults = interp::flagAfter(&interp::dHasInfNaNOrNotStrictlyIncreasing, 0, [&] {
        elementwisedetail::launch<interp::CheckInfNaNAndStrongSortKernel<T>>(stream, gridSize, grid,
                                                                             gridSize);
    });
    if (!faults) return {true, true};
    return {*faults >> interp::notFiniteShift != 0, (*faults & ((1u << interp::notFiniteShift) - 1)) != 0};
}

void _forceInstantiation_(detail::Opaque& opaque, CheckInfNaNAndStrictlyIncreasing*) {
    internal::instantiate<CheckInfNaNAndStrictlyIncreasing>(opaque, internal::FloatingReal{});
}

}  // namespace gpuruntime

#include <gpuruntime/grids.hpp>

#include <cmath>
#include <limits>

#include "atomics.hpp"
#include "elementwise/run_steps.hpp"
#include "frame/elementwise.hpp"
#include "frame/instantiation.hpp"
#include "interp/grid_flag.hpp"
#include "run.hpp"

namespace gpuruntime {
namespace interp {
namespace {

GPU_DEVICE_VARIABLE(unsigned int, dNotUniformIncreasing);

/// Comparisons with NaN say that it does not ascend evenly.
template <class T>
GPU_DEVICE bool isUneven(T x, T next, T afterNext, T tolerance) {
    T const d1 = x - next, d2 = next - afterNext;
    return !(backend::abs(d1 - d2) < tolerance) | !(d1 < 0) | !(d2 < 0);
}

template <class T>
struct CheckUniformIncreasingKernel {
    static GPU_DEVICE void apply(backend::Run run, T const* grid, unsigned int n, T tolerance) {
        if (run.first + 2ul >= n) return;
        T const* const from = grid + run.first;
        unsigned int const left = n - 2 - run.first;
        bool const isFound = internal::holdsForAny<T>(run.size < left ? run.size : left, [&](unsigned int k) {
            return isUneven(from[k], from[k + 1], from[k + 2], tolerance);
        });
        if (isFound) backend::atomicOr(dNotUniformIncreasing, 1);
    }
};

}  // namespace
}  // namespace interp

template <class T>
bool CheckUniformIncreasing::Invoker<T>::operator()(CUstream_st* stream, T const* grid,
                                                    unsigned long const& gridSize) const {
    T const n = static_cast<T>(gridSize), eps = std::numeric_limits<T>::epsilon();
    T const tolerance = std::fma(n, eps, n * eps);
    auto const isUneven = interp::flagAfter(&interp::dNotUniformIncreasing, 0, [&] {
        elementwisedetail::launch<interp::CheckUniformIncreasingKernel<T>>(stream, gridSize, grid, gridSize,
                                                                           tolerance);
    });
    return isUneven && *isUneven == 0;
}

void _forceInstantiation_(detail::Opaque& opaque, CheckUniformIncreasing*) {
    internal::instantiate<CheckUniformIncreasing>(opaque, internal::FloatingReal{});
}

}  // namespace gpuruntime

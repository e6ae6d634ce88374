#include <gpuruntime/matrix_properties.hpp>

#include <algorithm>

#include "atomics.hpp"
#include "frame/elementwise.hpp"
#include "frame/flags.hpp"
#include "frame/instantiation.hpp"
#include "matrix/elements.hpp"

namespace gpuruntime {
namespace {

using elementwise2ddetail::BlockOfRows;

/// 1 while a matrix is banded.
GPU_DEVICE_VARIABLE(unsigned int, D_ISBANDED_FLAG);

/// `a` + `b`, at most the largest number.
GPU_DEVICE unsigned int sumAtMost(unsigned int a, unsigned int b) { return a + std::min(b, ~a); }

/// The rows of column `y` that are more than `distance` below the diagonal, and those that are more than so
/// far above it.
GPU_DEVICE backend::Row farBelow(backend::Row row, unsigned int y, unsigned int distance, unsigned int nx) {
    return row.within(sumAtMost(sumAtMost(y, distance), 1), nx);
}
GPU_DEVICE backend::Row farAbove(backend::Row row, unsigned int y, unsigned int distance) {
    return row.within(0, y > distance ? y - distance : 0);
}

/// Raises `bandwidth` to the largest `distanceOf(x)` of a non-zero element in the row; most rows have none.
template <class T, class DistanceOf>
GPU_DEVICE void widen(unsigned int& bandwidth, backend::Row row, T const* column, DistanceOf distanceOf) {
    if (!internal::hasNonZero(row, column)) return;
    unsigned int farthest = 0;
    row.forEach([&](unsigned long x) {
        if (internal::isNonZero(column[x])) {
            farthest = std::max(farthest, distanceOf(static_cast<unsigned int>(x)));
        }
    });
    backend::atomicMax(bandwidth, farthest);
}

// Only what is farther than the bandwidths seen so far is read.
template <class T>
struct BandwidthKernel {
    static GPU_DEVICE void apply(BlockOfRows const& block, unsigned int* lower, unsigned int* upper,
                                 T const* in) {
        block.forEachRow([&](backend::Row row, unsigned int y) {
            T const* const column = in + y * block.nx;
            if (lower != nullptr) {
                widen(*lower, farBelow(row, y, backend::relaxedLoad(*lower), block.nx), column,
                      [=](unsigned int x) { return x - y; });
            }
            if (upper != nullptr) {
                widen(*upper, farAbove(row, y, backend::relaxedLoad(*upper)), column,
                      [=](unsigned int x) { return y - x; });
            }
        });
    }
};

template <class T>
struct IsBandedKernel {
    static GPU_DEVICE void apply(BlockOfRows const& block, T const* in, unsigned int lower,
                                 unsigned int upper) {
        if (backend::relaxedLoad(D_ISBANDED_FLAG) == 0) return;
        block.forEachRow([&](backend::Row row, unsigned int y) {
            T const* const column = in + y * block.nx;
            if (internal::hasNonZero(farBelow(row, y, lower, block.nx), column) ||
                internal::hasNonZero(farAbove(row, y, upper), column)) {
                backend::atomicCompareAndSwap(D_ISBANDED_FLAG, 1, 0);
            }
        });
    }
};

}  // namespace

template <class T>
void Bandwidth::Invoker<T>::operator()(CUstream_st* stream, unsigned int* lower, unsigned int* upper,
                                       T const* in, unsigned long rows, unsigned long columns) const {
    // The runtime may read the source after the call has returned.
    static unsigned int const zero = 0;
    for (unsigned int* const result : {lower, upper}) {
        if (result != nullptr &&
            cudaMemcpyAsync(result, &zero, sizeof zero, cudaMemcpyHostToDevice, stream) != cudaSuccess) {
            return;
        }
    }
    if (rows == 0 || columns == 0) return;
    elementwise2ddetail::launch<BandwidthKernel<T>>(stream, rows, columns, lower, upper, in);
}

template <class T>
bool IsBanded::Invoker<T>::operator()(CUstream_st* stream, T const* in, unsigned long rows,
                                      unsigned long columns, unsigned long lower, unsigned long upper) const {
    auto const flags = internal::flagsAfter<1>({&D_ISBANDED_FLAG}, internal::setFlag, stream, [&] {
        if (rows == 0 || columns == 0) return;
        elementwise2ddetail::launch<IsBandedKernel<T>>(stream, rows, columns, in, lower, upper);
    });
    return !flags || (*flags)[0] != 0;
}

void _forceInstantiation_(detail::Opaque& opaque, Bandwidth*) {
    internal::instantiate<Bandwidth>(opaque, internal::Floating{});
}

void _forceInstantiation_(detail::Opaque& opaque, IsBanded*) {
    internal::instantiate<IsBanded>(opaque, internal::Floating{});
}

}  // namespace gpuruntime

#pragma once

#include "backend/tap_sums.hpp"
#include "patch.hpp"

namespace gpuruntime::backend {

/// Calls `store(plane, x, y, sum, sumOfWeights)` for the sums at the positions of a patch.
template <class Source, class Store>
GPU_DEVICE void sumTaps(Patch const& patch, Source const& source, Store store) {
    if (!source.isReadable()) return;
    auto const sums = tapSumsAt(source, patch.x, patch.y);
    GPU_UNROLL for (unsigned int p = 0; p < sizeof sums.values / sizeof sums.values[0]; ++p) {
        store(p, patch.x, patch.y, sums.values[p], sums.weights);
    }
}

}  // namespace gpuruntime::backend

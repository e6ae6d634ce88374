#pragma once

#include "backend/tap_sums.hpp"
#include "patch.hpp"

namespace gpuruntime::backend {

/// Stores the sums at the positions (x, y) of a patch at `columnOf(plane, y)[x]`.
template <class Source, class ColumnOf>
GPU_DEVICE void sumTaps(Patch const& patch, Source const& source, bool /*isStreamed*/, ColumnOf columnOf) {
    if (!source.isReadable()) return;
    source.sumAt(patch.x, patch.y, [&](unsigned int p, auto sum) { columnOf(p, patch.y)[patch.x] = sum; });
}

}  // namespace gpuruntime::backend

#pragma once

#include "device.hpp"

namespace gpuruntime::backend {

/// Stores `value(i)` at `out[i]` for the indices `i` = `first` + `t` in [`begin`, `end`), `t` being the
/// threads, in an array of `n` elements; no barrier follows.
template <class T, class Value>
GPU_DEVICE void storeEach(Threads const& threads, T* out, unsigned int /*n*/, unsigned int first,
                          unsigned int begin, unsigned int end, Value value) {
    threads.forEachIndex(first, begin, end, [&](unsigned int i) { out[i] = value(i); });
}

}  // namespace gpuruntime::backend

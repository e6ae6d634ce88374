#pragma once

#include <immintrin.h>

#include "device.hpp"

namespace gpuruntime::backend {

/// Arrays of this many bytes are written past the caches: they would not stay there, and each line would be
/// read before it is overwritten.
inline constexpr unsigned long streamedSize = 1ul << 26;

/// Stores `value(i)` at `out[i]` for the indices `i` = `first` + `t` in [`begin`, `end`), `t` being the
/// threads, in an array of `n` elements; no barrier follows. The launch makes streamed stores visible.
template <class T, class Value>
GPU_DEVICE void storeEach(Threads const& threads, T* out, unsigned int n, unsigned int first,
                          unsigned int begin, unsigned int end, Value value) {
    constexpr unsigned int blockSize = 256, lineSize = 64;
    using Vector = __m256i;
    constexpr unsigned int numVectors = blockSize * sizeof(T) / sizeof(Vector);
    bool const isWholeBlock = threads.size() == blockSize && begin <= first && first < end &&
                              end - first >= blockSize &&
                              reinterpret_cast<unsigned long>(out + first) % lineSize == 0;
    if (n * sizeof(T) < streamedSize || !isWholeBlock) {
        threads.forEachIndex(first, begin, end, [&](unsigned int i) { out[i] = value(i); });
        return;
    }
    alignas(lineSize) T values[blockSize];
#pragma GCC ivdep
    for (unsigned int t = 0; t < blockSize; ++t) values[t] = value(first + t);
    auto const* const from = reinterpret_cast<Vector const*>(values);
    auto* const to = reinterpret_cast<Vector*>(out + first);
    for (unsigned int k = 0; k < numVectors; ++k) {
        _mm256_stream_si256(to + k, _mm256_load_si256(from + k));
    }
}

}  // namespace gpuruntime::backend

#pragma once

#include <immintrin.h>

#include "device.hpp"

namespace gpuruntime::backend {

/// Arrays of this many bytes are written past the caches: they would not stay there, and each line would be
/// read before it is overwritten.
inline constexpr unsigned long streamedSize = KVGPURUNTIME_STREAMED_SIZE;

inline constexpr unsigned int lineSize = 64;

/// Writes whole, aligned cache lines past the caches.
template <class T, unsigned int size>
GPU_DEVICE void streamLines(T* to, T const (&values)[size]) {
    using Vector = __m256i;
    constexpr unsigned int numVectors = size * sizeof(T) / sizeof(Vector);
    static_assert(size * sizeof(T) % lineSize == 0);
    auto const* const from = reinterpret_cast<Vector const*>(values);
    for (unsigned int k = 0; k < numVectors; ++k) {
        _mm256_stream_si256(reinterpret_cast<Vector*>(to) + k, _mm256_load_si256(from + k));
    }
}

/// Stores `value(i)` at `out[i]` for the indices `i` = `first` + `t` in [`begin`, `end`), `t` being the
/// threads, in an array of `n` elements; no barrier follows. The launch makes streamed stores visible.
template <class T, class Value>
GPU_DEVICE void storeEach(Threads const& threads, T* out, unsigned int n, unsigned int first,
                          unsigned int begin, unsigned int end, Value value) {
    constexpr unsigned int blockSize = 256;
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
    streamLines(out + first, values);
}

/// Whether `storeTile` writes whole tiles past the caches: rows of `X` elements from `to` on, `stride` apart,
/// in an array of `n` elements. Then there is no use in fetching what is to be overwritten.
template <unsigned int X, class T>
GPU_DEVICE bool isStreamedTile(T const* to, unsigned long stride, unsigned long n) {
    return X * sizeof(T) % lineSize == 0 && stride * sizeof(T) % lineSize == 0 &&
           reinterpret_cast<unsigned long>(to) % lineSize == 0 && n * sizeof(T) >= streamedSize;
}

/// Stores `value(t)` at `to[t.y * stride + t.x]` for the threads `t` of a tile of `X` by `Y` within the
/// limits, in an array of `n` elements; no barrier follows.
template <unsigned int X, unsigned int Y, class T, class Value>
GPU_DEVICE void storeTile(TileThreads const& threads, dim3 limit, T* to, unsigned long stride,
                          unsigned long n, Value value) {
    if constexpr (X * sizeof(T) % lineSize == 0) {
        bool const isWholeTile = threads.sizeX() == X && threads.sizeY() == Y && limit.x >= X && limit.y >= Y;
        if (isWholeTile && isStreamedTile<X>(to, stride, n)) {
            for (unsigned int y = 0; y < Y; ++y) {
                alignas(lineSize) T row[X];
#pragma GCC ivdep
                for (unsigned int x = 0; x < X; ++x) row[x] = value(Thread{x, y, 0});
                streamLines(to + y * stride, row);
            }
            return;
        }
    }
    threads.template forEach<X, Y>(limit, [&](Thread t) { to[t.y * stride + t.x] = value(t); });
}

}  // namespace gpuruntime::backend

#pragma once

#include <algorithm>
#include <cstring>

#include "device.hpp"

namespace gpuruntime::backend {

/// Copies `n` elements from position `first` of an array of `size` on, with zeros around it. Positions wrap
/// in 32 bits, so that there are some before 0.
template <class T>
GPU_DEVICE void copyPadded(T* to, unsigned long n, T const* in, unsigned int first, unsigned int size) {
    unsigned long const begin = first < size ? 0 : std::min<unsigned long>(n, -first);
    unsigned int const from = first + static_cast<unsigned int>(begin);
    unsigned long const end = std::min(n, begin + (from < size ? size - from : 0));
    for (unsigned long i = 0; i < begin; ++i) to[i] = T{};
#pragma GCC ivdep
    for (unsigned long i = begin; i < end; ++i) to[i] = in[from + (i - begin)];
    for (unsigned long i = end; i < n; ++i) to[i] = T{};
}

/// Whether a window of `width` by `height` from position `first` on lies within a matrix.
template <unsigned int width, unsigned int height>
GPU_DEVICE bool isInside(uint2 first, uint2 size) {
    return first.x < size.x && size.x - first.x >= width && first.y < size.y && size.y - first.y >= height;
}

/// Fills a tile of `width` by `height` with the matrix `in`, of extents `size` and with zeros around it, from
/// position `first` on; not the first `unused` lines.
template <unsigned int width, unsigned int height, class T>
GPU_DEVICE void loadPadded(T (&tile)[height][width], unsigned int unused, T const* in, uint2 first,
                           uint2 size) {
    bool const isWide = first.x < size.x && size.x - first.x >= width;
    T const zeros[width] = {};
    for (unsigned int y = unused; y < height; ++y) {
        unsigned int const inY = first.y + y;
        bool const isIn = inY < size.y;
        T const* const line = isIn ? in + 1ul * inY * size.x : zeros;
        if (isWide || !isIn) {
            T const* const from = isIn ? line + first.x : zeros;
#pragma GCC ivdep
            for (unsigned long x = 0; x < width; ++x) tile[y][x] = from[x];
        } else {
            copyPadded(tile[y], width, line, first.x, size.x);
        }
    }
}

/// A matrix with zeros around it: a window of `width` by `height` elements from `first` on, which is copied
/// once.
template <class T, unsigned int width, unsigned int numRows>
class PaddedWindow {
  public:
    static constexpr unsigned int height = numRows;

    GPU_DEVICE PaddedWindow(T const* in, uint2 first, uint2 size) {
        loadPadded(elements, 0, in, first, size);
    }

    GPU_DEVICE T at(unsigned int x, unsigned int y) const { return elements[y][x]; }

  private:
    alignas(64) T elements[height][width];
};

}  // namespace gpuruntime::backend

#pragma once

#include "device.hpp"

namespace gpuruntime::backend {

/// A matrix with zeros around it: a window of `width` by `height` elements from `first` on, of which each is
/// read when it is asked for.
template <class T, unsigned int width, unsigned int numRows>
class PaddedWindow {
  public:
    static constexpr unsigned int height = numRows;

    GPU_DEVICE PaddedWindow(T const* in, uint2 first, uint2 size) : in(in), first(first), size(size) {}

    GPU_DEVICE T at(unsigned int x, unsigned int y) const {
        unsigned int const inX = first.x + x, inY = first.y + y;
        return inX < size.x && inY < size.y ? __ldg(in + (inY * size.x + inX)) : T{};
    }

  private:
    T const* in;
    uint2 first, size;
};

}  // namespace gpuruntime::backend

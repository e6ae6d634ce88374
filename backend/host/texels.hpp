#pragma once

#include "backend/linear_texture.hpp"
#include "device.hpp"
#include "texture.hpp"

namespace gpuruntime::backend {

/// What a kernel sees of a texture: the elements from its beginning on. Here they are plain memory.
template <class T>
class Texels {
  public:
    explicit Texels(LinearTexture<T> const& texture)
        : elements(texture.object() == 0
                       ? nullptr
                       : static_cast<T const*>(hostdevice::textureOf(texture.object()).memory)) {}

    GPU_DEVICE T operator[](unsigned int i) const { return elements[i]; }

    /// Null if there is nothing to be read.
    GPU_DEVICE T const* address() const { return elements; }

  private:
    T const* elements;
};

}  // namespace gpuruntime::backend

#pragma once

#include "backend/linear_texture.hpp"
#include "device.hpp"

namespace gpuruntime::backend {

/// What a kernel sees of a texture: the elements from its beginning on.
template <class T>
class Texels {
  public:
    explicit Texels(LinearTexture<T> const& texture) : object(texture.object()) {}

    GPU_DEVICE T operator[](unsigned int i) const {
        if constexpr (sizeof(T) == sizeof(int2)) {
            int2 const halves = tex1Dfetch<int2>(object, static_cast<int>(i));
            return __hiloint2double(halves.y, halves.x);
        } else {
            return tex1Dfetch<T>(object, static_cast<int>(i));
        }
    }

    /// Null if there is nothing to be read; else not for use.
    GPU_DEVICE T const* address() const { return reinterpret_cast<T const*>(object); }

  private:
    cudaTextureObject_t object;
};

}  // namespace gpuruntime::backend

#pragma once

#include <cstddef>

#include "driver_types.h"

namespace gpuruntime::hostdevice {

/// What a texture object is the address of on this device.
struct Texture {
    void const* memory;
    std::size_t size;  ///< in bytes
};

/// A texture that has been created and not destroyed.
inline Texture const& textureOf(cudaTextureObject_t object) {
    return *reinterpret_cast<Texture const*>(object);
}

}  // namespace gpuruntime::hostdevice

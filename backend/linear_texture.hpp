#pragma once

#include <cuda_runtime_api.h>

#include <cstdint>
#include <type_traits>

namespace gpuruntime::backend {

/// An array that is bound to a texture: unnormalised coordinates, nearest elements, clamped addresses. No
/// two threads may use one at once.
template <class T>
class LinearTexture {
    static_assert(std::is_same_v<T, float> || std::is_same_v<T, double>);

  public:
    /// Binds `count` elements from `data` on; what was bound is unbound before. Textures begin at certain
    /// addresses: `offset`, unless it is null, becomes what is to be added to the index of an element.
    cudaError bind(unsigned long* offset, T const* data, unsigned long count) {
        cudaError const status = unbind();
        if (status != cudaSuccess) return status;
        auto const address = reinterpret_cast<std::uintptr_t>(data);
        unsigned long const before = count == 0 ? 0 : address % alignment;
        if (offset != nullptr) *offset = before / sizeof(T);
        if (count == 0) return cudaSuccess;
        cudaResourceDesc resource{};
        resource.resType = cudaResourceTypeLinear;
        resource.res.linear.devPtr = reinterpret_cast<void*>(address - before);
        resource.res.linear.desc = channels();
        resource.res.linear.sizeInBytes = before + count * sizeof(T);
        cudaTextureDesc texture{};
        texture.addressMode[0] = cudaAddressModeClamp;
        texture.filterMode = cudaFilterModePoint;
        texture.readMode = cudaReadModeElementType;
        return cudaCreateTextureObject(&object_, &resource, &texture, nullptr);
    }

    /// Without anything bound this does nothing.
    cudaError unbind() {
        if (object_ == 0) return cudaSuccess;
        cudaError const status = cudaDestroyTextureObject(object_);
        if (status == cudaSuccess) object_ = 0;
        return status;
    }

    /// 0 while nothing is bound, or an array without elements.
    cudaTextureObject_t object() const { return object_; }

  private:
    static constexpr std::uintptr_t alignment = 512;  // on every GPU there is

    /// A `double` is read as its two halves.
    static cudaChannelFormatDesc channels() {
        return std::is_same_v<T, float> ? cudaCreateChannelDesc(32, 0, 0, 0, cudaChannelFormatKindFloat)
                                        : cudaCreateChannelDesc(32, 32, 0, 0, cudaChannelFormatKindSigned);
    }

    cudaTextureObject_t object_ = 0;
};

}  // namespace gpuruntime::backend

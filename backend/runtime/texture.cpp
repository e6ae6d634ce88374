// Textures of linear memory.

#include "texture.hpp"

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>

#include "call.hpp"
#include "cuda_runtime_api.h"

namespace gpuruntime::hostdevice::detail {
namespace {

constexpr std::uintptr_t alignment = 512;

/// The textures that there are.
struct Textures {
    std::mutex mutex;
    std::map<cudaTextureObject_t, std::unique_ptr<Texture>> created;

    static Textures& instance() {
        static Textures textures;
        return textures;
    }
};

cudaError create(cudaTextureObject_t* object, cudaResourceDesc const* resource,
                 cudaTextureDesc const* texture, cudaResourceViewDesc const* view) {
    if (object == nullptr || resource == nullptr || texture == nullptr || view != nullptr ||
        resource->resType != cudaResourceTypeLinear) {
        return cudaErrorInvalidValue;
    }
    auto const& linear = resource->res.linear;
    bool const isAligned = reinterpret_cast<std::uintptr_t>(linear.devPtr) % alignment == 0;
    if (linear.devPtr == nullptr || linear.sizeInBytes == 0 || !isAligned) {
        return cudaErrorInvalidValue;
    }
    auto created = std::make_unique<Texture>(Texture{linear.devPtr, linear.sizeInBytes});
    auto const address = reinterpret_cast<cudaTextureObject_t>(created.get());
    Textures& textures = Textures::instance();
    std::lock_guard const lock(textures.mutex);
    textures.created[address] = std::move(created);
    *object = address;
    return cudaSuccess;
}

cudaError destroy(cudaTextureObject_t object) {
    Textures& textures = Textures::instance();
    std::lock_guard const lock(textures.mutex);
    return textures.created.erase(object) == 1 ? cudaSuccess : cudaErrorInvalidValue;
}

}  // namespace
}  // namespace gpuruntime::hostdevice::detail

using namespace gpuruntime::hostdevice::detail;

cudaChannelFormatDesc cudaCreateChannelDesc(int x, int y, int z, int w, cudaChannelFormatKind kind) {
    return {x, y, z, w, kind};
}

cudaError_t cudaCreateTextureObject(cudaTextureObject_t* object, cudaResourceDesc const* resource,
                                    cudaTextureDesc const* texture, cudaResourceViewDesc const* view) {
    std::size_t const bytes = resource == nullptr ? 0 : resource->res.linear.sizeInBytes;
    return runCall("cudaCreateTextureObject", {nullptr, bytes},
                   [=] { return create(object, resource, texture, view); });
}

cudaError_t cudaDestroyTextureObject(cudaTextureObject_t object) {
    return runCall("cudaDestroyTextureObject", {}, [=] { return destroy(object); });
}

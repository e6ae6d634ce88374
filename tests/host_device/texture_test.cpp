// Textures of linear memory.

#include "texture.hpp"

#include "host_device_fixture.hpp"

namespace {

using gpuruntime::hostdevice::Call;
using gpuruntime::hostdevice::failNextCall;
using gpuruntime::hostdevice::Recording;
using gpuruntime::hostdevice::textureOf;

class Textures : public HostDevice {
  protected:
    Textures() {
        resource.resType = cudaResourceTypeLinear;
        resource.res.linear.devPtr = memory;
        resource.res.linear.sizeInBytes = sizeof memory;
    }

    cudaError_t create() { return cudaCreateTextureObject(&object, &resource, &texture, nullptr); }

    alignas(512) float memory[300] = {};
    cudaResourceDesc resource{};
    cudaTextureDesc texture{};
    cudaTextureObject_t object = 0;
};

TEST_F(Textures, tellWhatTheyRead) {
    ASSERT_EQ(create(), cudaSuccess);
    EXPECT_EQ(textureOf(object).memory, memory);
    EXPECT_EQ(textureOf(object).size, sizeof memory);
    cudaTextureObject_t const first = object;
    ASSERT_EQ(create(), cudaSuccess);
    EXPECT_NE(object, first);
    EXPECT_EQ(cudaDestroyTextureObject(first), cudaSuccess);
    EXPECT_EQ(textureOf(object).memory, memory);
    EXPECT_EQ(cudaDestroyTextureObject(object), cudaSuccess);
}

TEST_F(Textures, areDestroyedOnce) {
    ASSERT_EQ(create(), cudaSuccess);
    EXPECT_EQ(cudaDestroyTextureObject(object), cudaSuccess);
    EXPECT_EQ(cudaDestroyTextureObject(object), cudaErrorInvalidValue);
    EXPECT_EQ(cudaDestroyTextureObject(0), cudaErrorInvalidValue);
}

TEST_F(Textures, needMemoryThatIsLinearAndAligned) {
    EXPECT_EQ(cudaCreateTextureObject(nullptr, &resource, &texture, nullptr), cudaErrorInvalidValue);
    EXPECT_EQ(cudaCreateTextureObject(&object, nullptr, &texture, nullptr), cudaErrorInvalidValue);
    EXPECT_EQ(cudaCreateTextureObject(&object, &resource, nullptr, nullptr), cudaErrorInvalidValue);
    auto const* const view = reinterpret_cast<cudaResourceViewDesc const*>(memory);
    EXPECT_EQ(cudaCreateTextureObject(&object, &resource, &texture, view), cudaErrorInvalidValue);
    cudaResourceDesc const right = resource;
    auto const expectInvalid = [&] {
        EXPECT_EQ(create(), cudaErrorInvalidValue);
        EXPECT_EQ(object, 0U);
        resource = right;
    };
    resource.resType = cudaResourceTypeArray;
    expectInvalid();
    resource.res.linear.devPtr = nullptr;
    expectInvalid();
    resource.res.linear.devPtr = memory + 64;
    expectInvalid();
    resource.res.linear.sizeInBytes = 0;
    expectInvalid();
}

TEST_F(Textures, areRecordedAndCanFail) {
    Recording const recording;
    failNextCall("cudaCreateTextureObject", cudaErrorInvalidTexture);
    EXPECT_EQ(create(), cudaErrorInvalidTexture);
    EXPECT_EQ(object, 0U);
    EXPECT_EQ(create(), cudaSuccess);
    failNextCall("cudaDestroyTextureObject", cudaErrorUnknown);
    EXPECT_EQ(cudaDestroyTextureObject(object), cudaErrorUnknown);
    EXPECT_EQ(cudaDestroyTextureObject(object), cudaSuccess);
    ASSERT_EQ(recording.calls().size(), 4U);
    Call const created = recording.calls()[1];
    EXPECT_EQ(created.name, "cudaCreateTextureObject");
    EXPECT_EQ(created.bytes, sizeof memory);
    EXPECT_EQ(recording.calls()[3].name, "cudaDestroyTextureObject");
}

TEST_F(Textures, channelsAreDescribed) {
    cudaChannelFormatDesc const halves = cudaCreateChannelDesc(32, 32, 0, 0, cudaChannelFormatKindSigned);
    EXPECT_EQ(halves.x, 32);
    EXPECT_EQ(halves.y, 32);
    EXPECT_EQ(halves.z, 0);
    EXPECT_EQ(halves.w, 0);
    EXPECT_EQ(halves.f, cudaChannelFormatKindSigned);
}

}  // namespace

// What the random families ask of the runtime, and what they do when it fails.

#include <gtest/gtest.h>
#include <gpuruntime/random.hpp>

#include <host_device.hpp>
#include <string>
#include <vector>

#include "tests/random/reference.hpp"
#include "tests/support/device_array.hpp"
#include "tests/support/device_limits.hpp"

namespace gpuruntime {
namespace {

using gpucommon::rand::MRG32K3AGenerator;
using gpucommon::rand::Philox4x32Generator;
using gpucommon::rand::ThreeFry4x64Generator;
using hostdevice::Recording;
using testing::DeviceArray;

std::vector<unsigned int> anyState{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17};

template <class G>
struct Expected;
template <>
struct Expected<MRG32K3AGenerator> {
    static constexpr char const* name = "gpucommon::rand::MRG32K3AGenerator";
    static constexpr std::size_t stateBytes = 24;
    static constexpr unsigned int blockSize = 128;
    static unsigned int grid(unsigned long /*n*/) {
        return static_cast<unsigned int>(6 * testing::currentProperties().multiProcessorCount);
    }
};
template <>
struct Expected<Philox4x32Generator> {
    static constexpr char const* name = "gpucommon::rand::Philox4x32Generator";
    static constexpr std::size_t stateBytes = 28;
    static constexpr unsigned int blockSize = 64;
    static unsigned int grid(unsigned long n) {
        return n == 0 ? 1 : static_cast<unsigned int>((n - 1) / 512 + 1);
    }
};
template <>
struct Expected<ThreeFry4x64Generator> : Expected<Philox4x32Generator> {
    static constexpr char const* name = "gpucommon::rand::ThreeFry4x64Generator";
    static constexpr std::size_t stateBytes = 68;
};

/// Calls `check` with each family of the generator, as a call on `n` elements of `float`, and with the name
/// of its kernel's functor.
template <class G, class F>
void forFamilies(F check) {
    std::string const arguments = std::string("<") + Expected<G>::name + ", float";
    check(
        [](CUstream_st* stream, float* out, unsigned long n) {
            return typename Rand<G>::template Invoker<float>()(stream, out, anyState.data(), n);
        },
        "RandKernel" + arguments + ">");
    check(
        [](CUstream_st* stream, float* out, unsigned long n) {
            return typename RandI<G>::template Invoker<float>()(stream, out, anyState.data(), 1, 6, n);
        },
        "RandiKernel" + arguments + ">");
    check(
        [](CUstream_st* stream, float* out, unsigned long n) {
            return typename RandNInversion<G>::template Invoker<float>()(stream, out, anyState.data(), n);
        },
        "RandnKernel" + arguments + ", gpucommon::rand::NormalConversionInversion<float>");
    if constexpr (!std::is_same_v<G, MRG32K3AGenerator>) {
        check(
            [](CUstream_st* stream, float* out, unsigned long n) {
                return typename RandNBoxMuller<G>::template Invoker<float>()(stream, out, anyState.data(), n);
            },
            "RandnKernel" + arguments + ", gpucommon::rand::NormalConversionBoxMuller<float>");
    }
}

template <class G>
class RandomOnHost : public ::testing::Test {
  protected:
    ~RandomOnHost() override { hostdevice::clearFailures(); }
};
using AllGenerators = ::testing::Types<testing::Of<MRG32K3AGenerator>, testing::Of<Philox4x32Generator>,
                                       testing::Of<ThreeFry4x64Generator>>;
TYPED_TEST_SUITE(RandomOnHost, AllGenerators, );

TYPED_TEST(RandomOnHost, CopiesTheStateAndLaunchesOneKernel) {
    using G = typename TypeParam::Generator;
    cudaStream_t stream = nullptr;
    ASSERT_EQ(cudaSuccess, cudaStreamCreate(&stream));
    forFamilies<G>([&](auto call, std::string const& functor) {
        for (unsigned long n : {0, 1, 512, 513, 5000}) {
            DeviceArray<float> out(n);
            Recording const recording;
            ASSERT_EQ(cudaSuccess, call(stream, out.data(), n));
            auto const calls = recording.calls();
            ASSERT_EQ(2u, calls.size());
            EXPECT_EQ("cudaMemcpyToSymbolAsync", calls[0].name);
            EXPECT_EQ("RNGInitialState", calls[0].symbol);
            EXPECT_EQ(Expected<G>::stateBytes, calls[0].bytes);
            EXPECT_EQ(stream, calls[0].stream);
            EXPECT_EQ("cudaLaunchKernel", calls[1].name);
            auto const launches = recording.launches();
            ASSERT_EQ(1u, launches.size());
            std::string const kernel =
                "gpuruntime::fixed1dblockdetail::singleStepKernel<gpuruntime::" + functor;
            EXPECT_NE(std::string::npos, launches[0].kernel.find(kernel)) << launches[0].kernel;
            EXPECT_EQ(stream, launches[0].stream);
            EXPECT_EQ(Expected<G>::blockSize, launches[0].block.x);
            EXPECT_EQ(1u, launches[0].block.y);
            EXPECT_EQ(Expected<G>::grid(n), launches[0].grid.x);
            EXPECT_EQ(1u, launches[0].grid.y);
        }
    });
    EXPECT_EQ(cudaSuccess, cudaStreamDestroy(stream));
}

TYPED_TEST(RandomOnHost, ReturnsTheStatusOfAFailedCopyAndLaunchesNothing) {
    using G = typename TypeParam::Generator;
    forFamilies<G>([&](auto call, auto const& /*functor*/) {
        DeviceArray<float> out(100);
        Recording const recording;
        hostdevice::failNextCall("*", cudaErrorInvalidValue);
        EXPECT_EQ(cudaErrorInvalidValue, call(nullptr, out.data(), 100));
        EXPECT_EQ(0u, hostdevice::clearFailures());
        EXPECT_EQ(1u, recording.calls().size());
        EXPECT_TRUE(recording.launches().empty());
        EXPECT_TRUE(out.untouched());
    });
}

TYPED_TEST(RandomOnHost, ReturnsTheStatusOfAFailedLaunch) {
    using G = typename TypeParam::Generator;
    forFamilies<G>([&](auto call, auto const& /*functor*/) {
        DeviceArray<float> out(100);
        Recording const recording;
        hostdevice::failNextCall("*", cudaErrorLaunchOutOfResources, 1);
        EXPECT_EQ(cudaErrorLaunchOutOfResources, call(nullptr, out.data(), 100));
        EXPECT_EQ(0u, hostdevice::clearFailures());
        EXPECT_EQ(2u, recording.calls().size());
        EXPECT_TRUE(out.untouched());
    });
}

TYPED_TEST(RandomOnHost, MakesNoThirdCall) {
    using G = typename TypeParam::Generator;
    forFamilies<G>([&](auto call, auto const& /*functor*/) {
        DeviceArray<float> out(100);
        hostdevice::failNextCall("*", cudaErrorInvalidValue, 2);
        EXPECT_EQ(cudaSuccess, call(nullptr, out.data(), 100));
        EXPECT_EQ(1u, hostdevice::clearFailures());
    });
}

TYPED_TEST(RandomOnHost, FailsAsTheLaunchDoesWhereNoGridIsAllowed) {
    using G = typename TypeParam::Generator;
    testing::GridLimits const limits(0);
    forFamilies<G>([&](auto call, auto const& /*functor*/) {
        DeviceArray<float> out(100);
        EXPECT_EQ(cudaErrorInvalidConfiguration, call(nullptr, out.data(), 100));
        EXPECT_TRUE(out.untouched());
    });
}

TEST(Mrg32k3aOnHost, CopiesTheStateAndLaunchesNothingWithoutMultiprocessors) {
    gpucommon::CUDADeviceProperties properties = testing::currentProperties();
    properties.multiProcessorCount = 0;
    internal::storeCurrentDeviceProperties(properties);
    DeviceArray<float> out(100);
    {
        Recording const recording;
        auto const call = Rand<MRG32K3AGenerator>::Invoker<float>();
        EXPECT_EQ(cudaSuccess, call(nullptr, out.data(), anyState.data(), 100));
        EXPECT_EQ(1u, recording.calls().size());
        EXPECT_TRUE(recording.launches().empty());
        hostdevice::failNextCall("cudaMemcpyToSymbolAsync", cudaErrorInvalidValue);
        EXPECT_EQ(cudaErrorInvalidValue, call(nullptr, out.data(), anyState.data(), 100));
    }
    EXPECT_TRUE(out.untouched());
    testing::storeCurrentProperties();
}

// Half as many blocks on devices of compute capability below 3.
TEST(Mrg32k3aOnHost, LaunchesAsWideAsTheDevice) {
    for (unsigned long count : {1, 5, 80}) {
        for (unsigned long major : {2, 3}) {
            gpucommon::CUDADeviceProperties properties = testing::currentProperties();
            properties.multiProcessorCount = count;
            properties.computeCapabilityMajor = major;
            internal::storeCurrentDeviceProperties(properties);
            DeviceArray<float> out(100);
            Recording const recording;
            EXPECT_EQ(cudaSuccess,
                      Rand<MRG32K3AGenerator>::Invoker<float>()(nullptr, out.data(), anyState.data(), 100));
            EXPECT_EQ(count * (major < 3 ? 3 : 6), recording.launches().at(0).grid.x);
        }
    }
    testing::storeCurrentProperties();
}

template <class G>
void expectLaunchShape(unsigned long n, dim3 grid, unsigned int blockSize) {
    forFamilies<G>([&](auto call, auto const& /*functor*/) {
        DeviceArray<float> out(n);
        Recording const recording;
        EXPECT_EQ(cudaSuccess, call(nullptr, out.data(), n));
        auto const launches = recording.launches();
        ASSERT_EQ(1u, launches.size());
        EXPECT_EQ(grid.x, launches[0].grid.x);
        EXPECT_EQ(grid.y, launches[0].grid.y);
        EXPECT_EQ(grid.z, launches[0].grid.z);
        EXPECT_EQ(blockSize, launches[0].block.x);
        EXPECT_EQ(1u, launches[0].block.y);
        EXPECT_EQ(1u, launches[0].block.z);
    });
}

// 20000 elements are 40 blocks of 512, here in 6 rows of 7.
TEST(CounterBasedOnHost, FoldAGridThatIsTooWide) {
    testing::GridLimits const limits(7);
    expectLaunchShape<Philox4x32Generator>(20000, {7, 6, 1}, 64);
    expectLaunchShape<ThreeFry4x64Generator>(20000, {7, 6, 1}, 64);
}

// Six blocks for each of 80 multiprocessors, here in 69 rows of 7.
TEST(Mrg32k3aOnHost, FoldsAGridThatIsTooWide) {
    gpucommon::CUDADeviceProperties properties = testing::currentProperties();
    properties.multiProcessorCount = 80;
    properties.maxGridDimX = 7;
    internal::storeCurrentDeviceProperties(properties);
    expectLaunchShape<MRG32K3AGenerator>(20000, {7, 69, 1}, 128);
    testing::storeCurrentProperties();
}

}  // namespace
}  // namespace gpuruntime

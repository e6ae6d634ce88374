// What the frames ask of the runtime, and what they do when it fails: seen through the host device.

#include <gtest/gtest.h>
#include <gpuruntime/current_device.hpp>
#include <host_device.hpp>

#include <functional>
#include <string>
#include <vector>

#include "frame/device_properties.hpp"
#include "frame/elementwise.hpp"
#include "frame/error_word.hpp"
#include "frame/fixed_block.hpp"
#include "tests/support/device_array.hpp"
#include "tests/support/device_limits.hpp"

namespace gpuruntime {
namespace {

using hostdevice::Recording;
using testing::DeviceArray;
using testing::GridLimits;
using Names = std::vector<std::string>;

struct Flat {
    static GPU_DEVICE void apply(elementwisedetail::Position at, int* out) { out[at.i] = 1; }
};
struct Plane {
    static GPU_DEVICE void apply(elementwise2ddetail::Position at, int* out) { out[at.y * at.nx + at.x] = 1; }
};
struct Volume {
    static GPU_DEVICE void apply(elementwise3ddetail::Position at, int* out) {
        out[(at.z * at.ny + at.y) * at.nx + at.x] = 1;
    }
};
template <class Iterator>
struct Block {
    static GPU_DEVICE void apply(Iterator const&, int* out) { out[0] = 1; }
};
using Block1D = Block<cuda::Fixed1DBlockIterator>;
using BlockAndGrid = Block<cuda::Fixed1DBlockAnd1DGridIterator>;
using NumBlocks = Block<cuda::FixedNumBlocksIterator>;
using Tile = Block<cuda::Fixed2DBlockIterator>;
using PagedTile = Block<cuda::Fixed2DBlockWithPagesIterator>;

// For grids of more blocks than the array has elements.
template <class At>
struct Idle {
    static GPU_DEVICE void apply(At const&, int*) {}
};

class FramesOnTheHostDevice : public ::testing::Test {
  protected:
    FramesOnTheHostDevice() { reset(); }
    ~FramesOnTheHostDevice() override { reset(); }

    static Names names(Recording const& recording) {
        Names result;
        for (auto const& call : recording.calls()) result.push_back(call.name);
        return result;
    }

    static std::vector<unsigned int> shape(hostdevice::Launch const& launch) {
        return {launch.grid.x, launch.grid.y, launch.grid.z, launch.block.x, launch.block.y, launch.block.z};
    }

    static bool isKernel(std::string const& name, std::string const& wanted) {
        return name.find(wanted) != std::string::npos;
    }

    // A small launch of each frame.
    std::vector<std::function<cudaError()>> launchesOfAllFrames() {
        return {
            [this] { return elementwisedetail::launch<Flat>(stream, 10, out.data()); },
            [this] { return elementwise2ddetail::launch<Plane>(stream, 10, 10, out.data()); },
            [this] { return elementwise3ddetail::launch<Volume>(stream, 10, 10, 10, out.data()); },
            [this] { return fixed1dblockdetail::launch<Block1D>(stream, 10, 64, out.data()); },
            [this] { return fixed1dblockand1dgriddetail::launch<BlockAndGrid>(stream, 64, 1, out.data()); },
            [this] { return fixednumblocksdetail::launch<NumBlocks>(stream, 1, out.data()); },
            [this] { return fixed2dblockdetail::launch<Tile>(stream, 16, 16, 16, 16, out.data()); },
            [this] {
                return fixed2dblockwithpagesdetail::launch<PagedTile>(stream, 16, 16, 1, 16, 16, out.data());
            }};
    }

    DeviceArray<int> out = DeviceArray<int>(100000);
    cudaStream_t const stream = cudaStreamLegacy;

  private:
    static void reset() {
        hostdevice::clearFailures();
        hostdevice::setLimits({});
        cudaGetLastError();
        testing::storeCurrentProperties();
    }
};
using Shape = std::vector<unsigned int>;

TEST_F(FramesOnTheHostDevice, FlatAsksForAttributesAndLaunches) {
    Recording const recording;
    EXPECT_EQ(cudaSuccess, elementwisedetail::launch<Flat>(stream, 1000, out.data()));
    EXPECT_EQ((Names{"cudaFuncGetAttributes", "cudaLaunchKernel"}), names(recording));
    ASSERT_EQ(1u, recording.launches().size());
    auto const launch = recording.launches()[0];
    EXPECT_TRUE(isKernel(launch.kernel, "gpuruntime::elementwisedetail::singleStepKernel<"));
    EXPECT_EQ((Shape{4, 1, 1, 256, 1, 1}), shape(launch));
    EXPECT_EQ(stream, launch.stream);
}

TEST_F(FramesOnTheHostDevice, FlatWithoutElementsCallsNothing) {
    Recording const recording;
    EXPECT_EQ(cudaSuccess, elementwisedetail::launch<Flat>(stream, 0, out.data()));
    EXPECT_TRUE(recording.calls().empty());
}

TEST_F(FramesOnTheHostDevice, FlatLaunchesAFullGridForACountOf2To32) {
    Recording const recording;
    EXPECT_EQ(cudaSuccess, elementwisedetail::launch<Flat>(stream, 1ul << 32, out.data()));
    ASSERT_EQ(1u, recording.launches().size());
    EXPECT_EQ((Shape{1u << 24, 1, 1, 256, 1, 1}), shape(recording.launches()[0]));
    EXPECT_TRUE(out.untouched());
}

TEST_F(FramesOnTheHostDevice, BlocksShrinkToWhatTheKernelAllows) {
    hostdevice::Limits limits;
    limits.kernelMaxThreadsPerBlock = 192;
    hostdevice::setLimits(limits);
    Recording const recording;
    elementwisedetail::launch<Flat>(stream, 1000, out.data());
    fixednumblocksdetail::launch<NumBlocks>(stream, 3, out.data());
    EXPECT_EQ((Shape{6, 1, 1, 192, 1, 1}), shape(recording.launches().at(0)));
    EXPECT_EQ((Shape{3, 1, 1, 192, 1, 1}), shape(recording.launches().at(1)));
}

TEST_F(FramesOnTheHostDevice, PlaneAsksForTheMultiStepKernelFirst) {
    Recording const recording;
    EXPECT_EQ(cudaSuccess, elementwise2ddetail::launch<Plane>(stream, 100, 50, out.data()));
    EXPECT_EQ((Names{"cudaFuncGetAttributes", "cudaFuncGetAttributes", "cudaLaunchKernel"}),
              names(recording));
    EXPECT_TRUE(isKernel(recording.calls()[0].symbol, "elementwise2ddetail::multiStepKernel<"));
    EXPECT_TRUE(isKernel(recording.calls()[1].symbol, "elementwise2ddetail::singleStepKernel<"));
    EXPECT_TRUE(isKernel(recording.launches()[0].kernel, "elementwise2ddetail::singleStepKernel<"));
    EXPECT_EQ((Shape{1, 25, 1, 100, 2, 1}), shape(recording.launches()[0]));
}

TEST_F(FramesOnTheHostDevice, SteppedPlaneTakesTheBlockOfTheMultiStepKernel) {
    hostdevice::Limits limits;
    limits.kernels = {{"elementwise2ddetail::multiStepKernel", 64}};
    hostdevice::setLimits(limits);
    GridLimits const grid(65535, 10);
    Recording const recording;
    EXPECT_EQ(cudaSuccess, elementwise2ddetail::launch<Plane>(stream, 100, 50, out.data()));
    EXPECT_TRUE(isKernel(recording.launches().at(0).kernel, "elementwise2ddetail::multiStepKernel<"));
    EXPECT_EQ((Shape{2, 10, 1, 64, 1, 1}), shape(recording.launches().at(0)));
}

TEST_F(FramesOnTheHostDevice, VolumeAsksForTheMultiStepKernelFirst) {
    {
        Recording const recording;
        EXPECT_EQ(cudaSuccess, elementwise3ddetail::launch<Volume>(stream, 10, 5, 9, out.data()));
        EXPECT_EQ((Names{"cudaFuncGetAttributes", "cudaFuncGetAttributes", "cudaLaunchKernel"}),
                  names(recording));
        EXPECT_TRUE(isKernel(recording.calls()[0].symbol, "elementwise3ddetail::multiStepKernel<"));
        EXPECT_TRUE(isKernel(recording.calls()[1].symbol, "elementwise3ddetail::singleStepKernel<"));
        EXPECT_EQ((Shape{1, 1, 2, 10, 5, 5}), shape(recording.launches().at(0)));
    }
    GridLimits const grid(65535, 65535, 1);
    Recording const recording;
    EXPECT_EQ(cudaSuccess, elementwise3ddetail::launch<Volume>(stream, 10, 5, 9, out.data()));
    EXPECT_TRUE(isKernel(recording.launches().at(0).kernel, "elementwise3ddetail::multiStepKernel<"));
}

TEST_F(FramesOnTheHostDevice, SteppedVolumeTakesTheBlockOfTheMultiStepKernel) {
    hostdevice::Limits limits;
    limits.kernels = {{"elementwise3ddetail::multiStepKernel", 50}};
    hostdevice::setLimits(limits);
    GridLimits const grid(65535, 65535, 1);
    Recording const recording;
    EXPECT_EQ(cudaSuccess, elementwise3ddetail::launch<Volume>(stream, 10, 5, 9, out.data()));
    EXPECT_TRUE(isKernel(recording.launches().at(0).kernel, "elementwise3ddetail::multiStepKernel<"));
    EXPECT_EQ((Shape{1, 1, 1, 10, 5, 1}), shape(recording.launches().at(0)));
}

TEST_F(FramesOnTheHostDevice, AGridOneBlockOverTheDevicesLimitTakesTheMultiStepKernel) {
    using IdlePlane = Idle<elementwise2ddetail::Position>;
    using IdlePages = Idle<cuda::Fixed2DBlockWithPagesIterator>;
    Recording const recording;
    EXPECT_EQ(cudaSuccess, elementwise2ddetail::launch<IdlePlane>(stream, 256, 65535, out.data()));
    EXPECT_EQ(cudaSuccess, elementwise2ddetail::launch<IdlePlane>(stream, 256, 65536, out.data()));
    EXPECT_EQ(cudaSuccess,
              fixed2dblockwithpagesdetail::launch<IdlePages>(stream, 16, 16, 65536, 16, 16, out.data()));
    auto const launches = recording.launches();
    ASSERT_EQ(3u, launches.size());
    EXPECT_TRUE(isKernel(launches[0].kernel, "elementwise2ddetail::singleStepKernel<"));
    EXPECT_EQ((Shape{1, 65535, 1, 256, 1, 1}), shape(launches[0]));
    EXPECT_TRUE(isKernel(launches[1].kernel, "elementwise2ddetail::multiStepKernel<"));
    EXPECT_EQ((Shape{1, 16384, 1, 256, 1, 1}), shape(launches[1]));
    EXPECT_TRUE(isKernel(launches[2].kernel, "fixed2dblockwithpagesdetail::multiStepKernel<"));
    EXPECT_EQ((Shape{1, 1, 32768, 16, 16, 1}), shape(launches[2]));
}

TEST_F(FramesOnTheHostDevice, LaunchesTakeNoDynamicSharedMemory) {
    hostdevice::Limits limits;
    limits.sharedMemPerBlock = 0;
    hostdevice::setLimits(limits);
    for (auto const& launch : launchesOfAllFrames()) EXPECT_EQ(cudaSuccess, launch());
}

TEST_F(FramesOnTheHostDevice, CalculatorsCallNothing) {
    cudaFuncAttributes attributes{};
    attributes.maxThreadsPerBlock = 1024;
    Recording const recording;
    internal::computeElementwiseShape(attributes, 1000);
    internal::computeElementwise2DShape(attributes, attributes, 100, 50);
    internal::computeElementwise3DShape(attributes, attributes, 10, 5, 9);
    internal::computeFixed1DBlockShape(100, 64);
    internal::computeFixed1DBlockAnd1DGridShape(attributes, 64, 3);
    internal::computeFixedNumBlocksShape(attributes, 3);
    internal::computeFixed2DBlockShape(16, 16, 16, 16);
    internal::computeFixed2DBlockWithPagesShape(16, 16, 2, 16, 16);
    EXPECT_TRUE(recording.calls().empty());
}

TEST_F(FramesOnTheHostDevice, FixedBlocksAskForAttributesOnlyInOneDimensionWithAGivenGrid) {
    Recording const recording;
    EXPECT_EQ(cudaSuccess, fixed1dblockdetail::launch<Block1D>(stream, 100, 64, out.data()));
    EXPECT_EQ(cudaSuccess, fixed2dblockdetail::launch<Tile>(stream, 16, 16, 16, 16, out.data()));
    EXPECT_EQ(cudaSuccess,
              fixed2dblockwithpagesdetail::launch<PagedTile>(stream, 16, 16, 2, 16, 16, out.data()));
    EXPECT_EQ((Names{"cudaLaunchKernel", "cudaLaunchKernel", "cudaLaunchKernel"}), names(recording));
    EXPECT_EQ(cudaSuccess, fixed1dblockand1dgriddetail::launch<BlockAndGrid>(stream, 64, 3, out.data()));
    EXPECT_EQ(cudaSuccess, fixednumblocksdetail::launch<NumBlocks>(stream, 3, out.data()));
    auto const all = names(recording);
    EXPECT_EQ(
        (Names{"cudaFuncGetAttributes", "cudaLaunchKernel", "cudaFuncGetAttributes", "cudaLaunchKernel"}),
        Names(all.begin() + 3, all.end()));
    auto const launches = recording.launches();
    ASSERT_EQ(5u, launches.size());
    EXPECT_EQ((Shape{2, 1, 1, 64, 1, 1}), shape(launches[0]));
    EXPECT_EQ((Shape{1, 1, 1, 16, 16, 1}), shape(launches[1]));
    EXPECT_EQ((Shape{1, 1, 2, 16, 16, 1}), shape(launches[2]));
    EXPECT_EQ((Shape{3, 1, 1, 64, 1, 1}), shape(launches[3]));
    EXPECT_EQ((Shape{3, 1, 1, 256, 1, 1}), shape(launches[4]));
}

TEST_F(FramesOnTheHostDevice, SteppedTilesAndPagesTakeTheMultiStepKernel) {
    GridLimits const grid(1, 65535, 1);
    Recording const recording;
    EXPECT_EQ(cudaSuccess, fixed2dblockdetail::launch<Tile>(stream, 32, 16, 16, 16, out.data()));
    EXPECT_EQ(cudaSuccess,
              fixed2dblockwithpagesdetail::launch<PagedTile>(stream, 16, 16, 2, 16, 16, out.data()));
    EXPECT_TRUE(isKernel(recording.launches().at(0).kernel, "fixed2dblockdetail::multiStepKernel<"));
    EXPECT_TRUE(isKernel(recording.launches().at(1).kernel, "fixed2dblockwithpagesdetail::multiStepKernel<"));
}

TEST_F(FramesOnTheHostDevice, ABlockTooLargeForTheKernelFailsAtTheLaunch) {
    hostdevice::Limits limits;
    limits.kernelMaxThreadsPerBlock = 128;
    hostdevice::setLimits(limits);
    EXPECT_EQ(cudaErrorLaunchOutOfResources,
              fixed2dblockdetail::launch<Tile>(stream, 1, 1, 16, 16, out.data()));
    EXPECT_EQ(cudaErrorInvalidConfiguration,
              fixed1dblockdetail::launch<Block1D>(stream, 1, 2048, out.data()));
    EXPECT_TRUE(out.untouched());
}

TEST_F(FramesOnTheHostDevice, EmptyGridsAreTheRuntimesError) {
    EXPECT_EQ(cudaErrorInvalidConfiguration,
              fixed1dblockand1dgriddetail::launch<BlockAndGrid>(stream, 64, 0, out.data()));
    EXPECT_EQ(cudaErrorInvalidConfiguration, fixednumblocksdetail::launch<NumBlocks>(stream, 0, out.data()));
    EXPECT_EQ(cudaErrorInvalidConfiguration,
              fixed2dblockwithpagesdetail::launch<PagedTile>(stream, 16, 16, 0, 16, 16, out.data()));
    EXPECT_TRUE(out.untouched());
}

TEST_F(FramesOnTheHostDevice, AFailedLaunchIsTheStatusAndRunsNothing) {
    auto const failing = [&](auto call) {
        hostdevice::failNextCall("cudaLaunchKernel", cudaErrorLaunchFailure);
        EXPECT_EQ(cudaErrorLaunchFailure, call());
        EXPECT_EQ(0u, hostdevice::clearFailures());
        EXPECT_TRUE(out.untouched());
    };
    for (auto const& launch : launchesOfAllFrames()) failing(launch);
    GridLimits const grid(1, 1, 1);
    failing([&] { return elementwise2ddetail::launch<Plane>(stream, 300, 10, out.data()); });
    failing([&] { return elementwise3ddetail::launch<Volume>(stream, 300, 10, 10, out.data()); });
    failing([&] { return fixed2dblockdetail::launch<Tile>(stream, 32, 16, 16, 16, out.data()); });
    failing([&] {
        return fixed2dblockwithpagesdetail::launch<PagedTile>(stream, 16, 16, 2, 16, 16, out.data());
    });
}

// Without attributes the kernel seems to allow no thread: the shape is empty, and the launch tells so.
TEST_F(FramesOnTheHostDevice, FailedAttributesAreIgnoredUntilTheLaunch) {
    hostdevice::failNextCall("cudaFuncGetAttributes", cudaErrorUnknown);
    Recording const recording;
    EXPECT_EQ(cudaErrorInvalidConfiguration, elementwisedetail::launch<Flat>(stream, 10, out.data()));
    EXPECT_EQ((Names{"cudaFuncGetAttributes", "cudaLaunchKernel"}), names(recording));
    EXPECT_TRUE(out.untouched());
}

TEST_F(FramesOnTheHostDevice, FailedAttributesAreIgnoredWhereTheShapeDoesNotReadThem) {
    hostdevice::failNextCall("cudaFuncGetAttributes", cudaErrorUnknown);
    EXPECT_EQ(cudaSuccess, fixed1dblockand1dgriddetail::launch<BlockAndGrid>(stream, 64, 1, out.data()));
    // The attributes of the multi-step kernel come first and matter only to a launch with steps.
    hostdevice::failNextCall("cudaFuncGetAttributes", cudaErrorUnknown);
    EXPECT_EQ(cudaSuccess, elementwise2ddetail::launch<Plane>(stream, 10, 10, out.data()));
}

// --- The error word ---

GPU_DEVICE_VARIABLE(unsigned int, __KVX_PTX_ERROR_CODE);

TEST_F(FramesOnTheHostDevice, ResettingTheErrorWordIsOneCopyOnTheStream) {
    Recording const recording;
    EXPECT_EQ(cudaSuccess, internal::resetErrorWord(__KVX_PTX_ERROR_CODE, stream));
    ASSERT_EQ(1u, recording.calls().size());
    auto const call = recording.calls()[0];
    EXPECT_EQ("cudaMemcpyToSymbolAsync", call.name);
    EXPECT_EQ("__KVX_PTX_ERROR_CODE", call.symbol);
    EXPECT_EQ(4u, call.bytes);
    EXPECT_EQ(stream, call.stream);
}

TEST_F(FramesOnTheHostDevice, ReadingTheErrorWordIsACopyAndAWait) {
    ASSERT_EQ(cudaSuccess, internal::resetErrorWord(__KVX_PTX_ERROR_CODE, stream));
    Recording const recording;
    EXPECT_EQ(1000u, internal::readErrorWord(__KVX_PTX_ERROR_CODE, stream));
    EXPECT_EQ((Names{"cudaMemcpyFromSymbolAsync", "cudaStreamSynchronize"}), names(recording));
    EXPECT_EQ("__KVX_PTX_ERROR_CODE", recording.calls()[0].symbol);
    EXPECT_EQ(4u, recording.calls()[0].bytes);
    EXPECT_EQ(stream, recording.calls()[0].stream);
    EXPECT_EQ(stream, recording.calls()[1].stream);
}

TEST_F(FramesOnTheHostDevice, AnErrorWordThatCannotBeReadIs1063) {
    ASSERT_EQ(cudaSuccess, internal::resetErrorWord(__KVX_PTX_ERROR_CODE, stream));
    {
        // The stream is waited for even so.
        hostdevice::failNextCall("cudaMemcpyFromSymbolAsync", cudaErrorUnknown);
        Recording const recording;
        EXPECT_EQ(1063u, internal::readErrorWord(__KVX_PTX_ERROR_CODE, stream));
        EXPECT_EQ((Names{"cudaMemcpyFromSymbolAsync", "cudaStreamSynchronize"}), names(recording));
    }
    hostdevice::failNextCall("cudaStreamSynchronize", cudaErrorUnknown);
    EXPECT_EQ(1063u, internal::readErrorWord(__KVX_PTX_ERROR_CODE, stream));
    EXPECT_EQ(1000u, internal::readErrorWord(__KVX_PTX_ERROR_CODE, stream));
}

TEST_F(FramesOnTheHostDevice, AFailedResetIsTheStatus) {
    hostdevice::failNextCall("cudaMemcpyToSymbolAsync", cudaErrorUnknown);
    EXPECT_EQ(cudaErrorUnknown, internal::resetErrorWord(__KVX_PTX_ERROR_CODE, stream));
}

TEST_F(FramesOnTheHostDevice, TheCurrentDeviceIsStoredAsTheRuntimeTellsOfIt) {
    hostdevice::Limits limits;
    limits.maxBlockDim = dim3(512, 256, 32);
    limits.maxGridDim = dim3(70, 60, 50);
    limits.multiProcessorCount = 11;
    hostdevice::setLimits(limits);
    EXPECT_EQ(cudaSuccess, useCurrentDevice());
    auto const stored = *internal::getCurrentDeviceProperties();
    hostdevice::setLimits({});
    testing::storeCurrentProperties();
    EXPECT_EQ(256u, stored.maxBlockDimY);
    EXPECT_EQ(32u, stored.maxBlockDimZ);
    EXPECT_EQ(70u, stored.maxGridDimX);
    EXPECT_EQ(60u, stored.maxGridDimY);
    EXPECT_EQ(50u, stored.maxGridDimZ);
    EXPECT_EQ(11u, stored.multiProcessorCount);
    EXPECT_EQ(6u, stored.computeCapabilityMajor);
}

TEST_F(FramesOnTheHostDevice, ADeviceThatTheRuntimeDoesNotTellOfIsNotStored) {
    auto const* const before = internal::getCurrentDeviceProperties();
    for (char const* failing : {"cudaGetDevice", "cudaGetDeviceProperties"}) {
        hostdevice::failNextCall(failing, cudaErrorUnknown);
        EXPECT_EQ(cudaErrorUnknown, useCurrentDevice()) << failing;
        EXPECT_EQ(before, internal::getCurrentDeviceProperties()) << failing;
    }
}

}  // namespace
}  // namespace gpuruntime

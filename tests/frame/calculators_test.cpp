#include <gtest/gtest.h>

#include <array>

#include "frame/device_properties.hpp"
#include "frame/shape.hpp"
#include "tests/support/device_limits.hpp"

namespace gpuruntime::internal {
namespace {

cudaFuncAttributes withMaxThreads(int maxThreads) {
    cudaFuncAttributes attributes{};
    attributes.maxThreadsPerBlock = maxThreads;
    return attributes;
}

using Shape = std::array<unsigned long, 6>;

Shape fields(LaunchShape const& s) { return {s.blockX, s.blockY, s.blockZ, s.gridX, s.gridY, s.gridZ}; }

std::array<unsigned long, 3> fields(BlockShape const& s) { return {s.blockX, s.blockY, s.blockZ}; }

// stepsY, stepsX, block, grid
std::array<unsigned long, 8> fields(SteppedLaunchShape2D const& s) {
    return {s.stepsY, s.stepsX, s.blockX, s.blockY, s.blockZ, s.gridX, s.gridY, s.gridZ};
}

// stepsZ, stepsY, stepsX, block, grid
std::array<unsigned long, 9> fields(SteppedLaunchShape3D const& s) {
    return {s.stepsZ, s.stepsY, s.stepsX, s.blockX, s.blockY, s.blockZ, s.gridX, s.gridY, s.gridZ};
}

using Stepped2D = std::array<unsigned long, 8>;
using Stepped3D = std::array<unsigned long, 9>;

// Limits that no device has, so that a test sees which limit a calculator reads.
class Calculators : public ::testing::Test {
  protected:
    static void store(unsigned long gridX, unsigned long gridY = 65535, unsigned long gridZ = 65535,
                      unsigned long blockY = 1024, unsigned long blockZ = 64) {
        gpucommon::CUDADeviceProperties properties{};
        properties.maxGridDimX = gridX;
        properties.maxGridDimY = gridY;
        properties.maxGridDimZ = gridZ;
        properties.maxBlockDimY = blockY;
        properties.maxBlockDimZ = blockZ;
        storeCurrentDeviceProperties(properties);
    }
    void SetUp() override { store(65535); }
    void TearDown() override { gpuruntime::testing::storeCurrentProperties(); }

    cudaFuncAttributes const full = withMaxThreads(1024);
};

TEST(DeviceProperties, AreThirteenUnsigned64BitFieldsCopiedWhole) {
    static_assert(sizeof(gpucommon::CUDADeviceProperties) == 13 * sizeof(unsigned long));
    gpucommon::CUDADeviceProperties const properties{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13};
    storeCurrentDeviceProperties(properties);
    auto const* stored = reinterpret_cast<unsigned long const*>(getCurrentDeviceProperties());
    for (unsigned long i = 0; i < 13; ++i) EXPECT_EQ(i + 1, stored[i]);
    EXPECT_NE(&properties, getCurrentDeviceProperties());
    EXPECT_EQ(2u, getCurrentDeviceProperties()->maxBlockDimY);
    EXPECT_EQ(3u, getCurrentDeviceProperties()->maxBlockDimZ);
    EXPECT_EQ(7u, getCurrentDeviceProperties()->maxGridDimX);
    EXPECT_EQ(8u, getCurrentDeviceProperties()->maxGridDimY);
    EXPECT_EQ(9u, getCurrentDeviceProperties()->maxGridDimZ);
    EXPECT_EQ(11u, getCurrentDeviceProperties()->multiProcessorCount);
    EXPECT_EQ(12u, getCurrentDeviceProperties()->computeCapabilityMajor);
    gpuruntime::testing::storeCurrentProperties();
}

TEST(DeviceProperties, AStoreReplacesTheRecord) {
    gpucommon::CUDADeviceProperties properties{};
    properties.maxGridDimX = 5;
    storeCurrentDeviceProperties(properties);
    properties.maxGridDimX = 6;
    EXPECT_EQ(5u, getCurrentDeviceProperties()->maxGridDimX);
    storeCurrentDeviceProperties(properties);
    EXPECT_EQ(6u, getCurrentDeviceProperties()->maxGridDimX);
    gpuruntime::testing::storeCurrentProperties();
}

TEST(DivideRoundUp, GivesNoBlockForAZeroDivisorAndOneForAZeroExtent) {
    EXPECT_EQ(0u, divideRoundUp(0, 0));
    EXPECT_EQ(0u, divideRoundUp(7, 0));
    EXPECT_EQ(1u, divideRoundUp(0, 7));
    EXPECT_EQ(1u, divideRoundUp(7, 7));
    EXPECT_EQ(2u, divideRoundUp(8, 7));
    EXPECT_EQ(~0ul, divideRoundUp(~0ul, 1));
}

TEST_F(Calculators, ElementwiseBlockHoldsAtMost256Threads) {
    EXPECT_EQ((Shape{256, 1, 1, 1, 1, 1}), fields(computeElementwiseShape(full, 1)));
    EXPECT_EQ((Shape{256, 1, 1, 1, 1, 1}), fields(computeElementwiseShape(full, 256)));
    EXPECT_EQ((Shape{256, 1, 1, 2, 1, 1}), fields(computeElementwiseShape(full, 257)));
}

TEST_F(Calculators, ElementwiseBlockIsLoweredByTheKernel) {
    EXPECT_EQ((Shape{192, 1, 1, 2, 1, 1}), fields(computeElementwiseShape(withMaxThreads(192), 193)));
}

TEST_F(Calculators, ElementwiseGridIsEmptyWithoutElementsOrThreads) {
    EXPECT_EQ((Shape{256, 1, 1, 0, 1, 1}), fields(computeElementwiseShape(full, 0)));
    EXPECT_EQ((Shape{0, 1, 1, 0, 1, 1}), fields(computeElementwiseShape(withMaxThreads(0), 100)));
}

TEST_F(Calculators, MaxThreadsIsWidenedWithItsSign) {
    EXPECT_EQ((Shape{256, 1, 1, 1, 1, 1}), fields(computeElementwiseShape(withMaxThreads(-1), 256)));
}

TEST_F(Calculators, AnOverlongGridIsFoldedIntoTwoDimensions) {
    EXPECT_EQ((Shape{256, 1, 1, 65535, 1, 1}), fields(computeElementwiseShape(full, 65535ul * 256)));
    EXPECT_EQ((Shape{256, 1, 1, 32768, 2, 1}), fields(computeElementwiseShape(full, 65535ul * 256 + 1)));
    // 65537 blocks in 2 * 32769: one spare block.
    EXPECT_EQ((Shape{256, 1, 1, 32769, 2, 1}), fields(computeElementwiseShape(full, (1ul << 24) + 1)));
}

TEST_F(Calculators, AFoldWithoutAGridLimitIsEmpty) {
    store(0);
    EXPECT_EQ((Shape{256, 1, 1, 0, 0, 1}), fields(computeElementwiseShape(full, 1)));
}

TEST_F(Calculators, Block2DHoldsWholeRows) {
    EXPECT_EQ((std::array<unsigned long, 3>{100, 2, 1}),
              fields(computeBlock2D(withMaxThreads(256), 100, 50)));
    EXPECT_EQ((std::array<unsigned long, 3>{64, 1, 1}), fields(computeBlock2D(withMaxThreads(64), 100, 50)));
    EXPECT_EQ((std::array<unsigned long, 3>{100, 1, 1}),
              fields(computeBlock2D(withMaxThreads(150), 100, 50)));
    EXPECT_EQ((std::array<unsigned long, 3>{3, 85, 1}), fields(computeBlock2D(full, 3, 50)));
    EXPECT_EQ((std::array<unsigned long, 3>{3, 85, 1}), fields(computeBlock2D(withMaxThreads(255), 3, 50)));
    EXPECT_EQ((std::array<unsigned long, 3>{3, 84, 1}), fields(computeBlock2D(withMaxThreads(254), 3, 50)));
    EXPECT_EQ((std::array<unsigned long, 3>{1, 256, 1}), fields(computeBlock2D(full, 1, 50)));
    EXPECT_EQ((std::array<unsigned long, 3>{255, 1, 1}), fields(computeBlock2D(full, 255, 50)));
    EXPECT_EQ((std::array<unsigned long, 3>{256, 1, 1}), fields(computeBlock2D(full, 256, 50)));
    EXPECT_EQ((std::array<unsigned long, 3>{256, 1, 1}), fields(computeBlock2D(full, 100000, 50)));
    EXPECT_EQ((std::array<unsigned long, 3>{128, 1, 1}),
              fields(computeBlock2D(withMaxThreads(128), 256, 50)));
}

// Extents that callers keep out are divisions by zero, which no calculator makes safe.
using CalculatorsDeathTest = Calculators;

TEST_F(CalculatorsDeathTest, Block2DDividesByAZeroExtent) {
    EXPECT_DEATH(computeBlock2D(full, 0, 5), "");
    EXPECT_DEATH(computeBlock2D(full, 256, 0), "");
}

TEST_F(CalculatorsDeathTest, Block3DDividesByAZeroExtent) {
    auto const& properties = *getCurrentDeviceProperties();
    EXPECT_DEATH(computeBlock3D(properties, full, 0, 5, 1), "");
    EXPECT_DEATH(computeBlock3D(properties, full, 5, 0, 1), "");
}

TEST_F(CalculatorsDeathTest, Fixed2DBlockDividesByAZeroBlock) {
    EXPECT_DEATH(computeFixed2DBlockShape(5, 5, 0, 8), "");
    EXPECT_DEATH(computeFixed2DBlockShape(5, 5, 8, 0), "");
    EXPECT_DEATH(computeFixed2DBlockWithPagesShape(5, 5, 1, 0, 8), "");
    EXPECT_DEATH(computeFixed2DBlockWithPagesShape(5, 5, 1, 8, 0), "");
}

TEST_F(Calculators, Block2DWithoutRowsIsThatOfShortRows) {
    EXPECT_EQ((std::array<unsigned long, 3>{100, 2, 1}), fields(computeBlock2D(full, 100, 0)));
    EXPECT_EQ((std::array<unsigned long, 3>{255, 1, 1}), fields(computeBlock2D(full, 255, 0)));
}

TEST_F(Calculators, Elementwise2DFitsInOneStep) {
    EXPECT_EQ((Stepped2D{1, 1, 100, 2, 1, 1, 25, 1}), fields(computeElementwise2DShape(full, full, 100, 50)));
}

TEST_F(Calculators, Elementwise2DTakesTheSingleStepKernelsBlockWhileItFits) {
    EXPECT_EQ((Stepped2D{1, 1, 100, 1, 1, 1, 50, 1}),
              fields(computeElementwise2DShape(withMaxThreads(150), withMaxThreads(64), 100, 50)));
}

TEST_F(Calculators, Elementwise2DStepsWithTheMultiStepKernelsBlock) {
    store(65535, 10);
    // The single-step block (100, 2) needs 25 rows of blocks; the multi-step block (64, 1) needs 50, in 5
    // steps.
    EXPECT_EQ((Stepped2D{5, 1, 64, 1, 1, 2, 10, 1}),
              fields(computeElementwise2DShape(full, withMaxThreads(64), 100, 50)));
}

TEST_F(Calculators, AGridOverItsLimitByOneBlockTakesFourSteps) {
    store(65535, 24);
    EXPECT_EQ((Stepped2D{4, 1, 100, 2, 1, 1, 7, 1}), fields(computeElementwise2DShape(full, full, 100, 50)));
    store(3, 65535);
    EXPECT_EQ((Stepped2D{1, 4, 256, 1, 1, 1, 50, 1}),
              fields(computeElementwise2DShape(full, full, 1000, 50)));
}

TEST_F(Calculators, Elementwise2DOfAVeryTallArray) {
    EXPECT_EQ((Stepped2D{8193, 1, 100, 2, 1, 1, 65529, 1}),
              fields(computeElementwise2DShape(full, full, 100, 1ul << 30)));
}

TEST_F(Calculators, Elementwise2DStepsBothDimensions) {
    store(2, 3);
    // 4 by 50 blocks
    EXPECT_EQ((Stepped2D{17, 4, 256, 1, 1, 1, 3, 1}),
              fields(computeElementwise2DShape(full, full, 1000, 50)));
}

TEST_F(Calculators, Block3DHoldsWholePlanes) {
    using Block = std::array<unsigned long, 3>;
    auto const block = [](int maxThreads, unsigned long nx, unsigned long ny) {
        return fields(computeBlock3D(*getCurrentDeviceProperties(), withMaxThreads(maxThreads), nx, ny, 9));
    };
    EXPECT_EQ((Block{256, 1, 1}), block(1024, 256, 5));
    EXPECT_EQ((Block{256, 1, 1}), block(1024, 1000, 5));
    EXPECT_EQ((Block{10, 25, 1}), block(1024, 10, 25));  // whole rows
    EXPECT_EQ((Block{10, 24, 1}), block(1024, 10, 24));  // 256 / 240 planes
    EXPECT_EQ((Block{10, 5, 5}), block(1024, 10, 5));    // 256 / 50 planes
    EXPECT_EQ((Block{1, 1, 64}), block(1024, 1, 1));     // the z limit
    EXPECT_EQ((Block{10, 5, 5}), block(250, 10, 5));
    EXPECT_EQ((Block{10, 5, 4}), block(249, 10, 5));
    EXPECT_EQ((Block{10, 5, 1}), block(50, 10, 5));
    EXPECT_EQ((Block{10, 4, 1}), block(49, 10, 5));
    EXPECT_EQ((Block{10, 1, 1}), block(10, 10, 5));
    EXPECT_EQ((Block{9, 1, 1}), block(9, 10, 5));
}

TEST_F(Calculators, Block3DHeedsTheBlockLimits) {
    using Block = std::array<unsigned long, 3>;
    store(65535, 65535, 65535, 3, 2);
    auto const block = [](int maxThreads, unsigned long nx, unsigned long ny) {
        return fields(computeBlock3D(*getCurrentDeviceProperties(), withMaxThreads(maxThreads), nx, ny, 9));
    };
    EXPECT_EQ((Block{10, 3, 1}), block(1024, 10, 25));
    EXPECT_EQ((Block{10, 2, 2}), block(1024, 10, 2));
    EXPECT_EQ((Block{10, 2, 1}), block(39, 10, 2));
    EXPECT_EQ((Block{2, 2, 2}), block(1024, 2, 2));
}

TEST_F(Calculators, Elementwise3DFitsInOneStep) {
    EXPECT_EQ((Stepped3D{1, 1, 1, 10, 5, 5, 1, 1, 2}),
              fields(computeElementwise3DShape(full, full, 10, 5, 9)));
}

TEST_F(Calculators, Elementwise3DRaisesAllStepsToFour) {
    store(65535, 65535, 1);
    EXPECT_EQ((Stepped3D{4, 1, 1, 10, 5, 5, 1, 1, 1}),
              fields(computeElementwise3DShape(full, full, 10, 5, 9)));
    store(65535, 2, 65535);
    EXPECT_EQ((Stepped3D{1, 4, 1, 10, 25, 1, 1, 1, 9}),
              fields(computeElementwise3DShape(full, full, 10, 75, 9)));
    store(1, 65535, 65535);
    EXPECT_EQ((Stepped3D{1, 1, 4, 256, 1, 1, 1, 5, 9}),
              fields(computeElementwise3DShape(full, full, 257, 5, 9)));
    store(65535, 65535, 2);
    EXPECT_EQ((Stepped3D{5, 1, 1, 256, 1, 1, 1, 1, 2}),
              fields(computeElementwise3DShape(full, full, 256, 1, 10)));
}

TEST_F(Calculators, Elementwise3DStepsWithTheMultiStepKernelsBlock) {
    store(65535, 65535, 1);
    EXPECT_EQ((Stepped3D{9, 1, 1, 10, 5, 1, 1, 1, 1}),
              fields(computeElementwise3DShape(full, withMaxThreads(50), 10, 5, 9)));
}

TEST_F(Calculators, Fixed1DBlockLaunchesOneBlockForAZeroCount) {
    EXPECT_EQ((Shape{128, 1, 1, 1, 1, 1}), fields(computeFixed1DBlockShape(0, 128)));
    EXPECT_EQ((Shape{128, 1, 1, 1, 1, 1}), fields(computeFixed1DBlockShape(128, 128)));
    EXPECT_EQ((Shape{128, 1, 1, 2, 1, 1}), fields(computeFixed1DBlockShape(129, 128)));
    EXPECT_EQ((Shape{0, 1, 1, 0, 1, 1}), fields(computeFixed1DBlockShape(5, 0)));
    EXPECT_EQ((Shape{2048, 1, 1, 1, 1, 1}), fields(computeFixed1DBlockShape(5, 2048)));
    store(3);
    EXPECT_EQ((Shape{1, 1, 1, 3, 3, 1}), fields(computeFixed1DBlockShape(7, 1)));
}

TEST_F(Calculators, Fixed1DBlockAnd1DGridFoldsTheBlocksAsGiven) {
    EXPECT_EQ((Shape{256, 1, 1, 0, 1, 1}), fields(computeFixed1DBlockAnd1DGridShape(full, 256, 0)));
    EXPECT_EQ((Shape{256, 1, 1, 3, 1, 1}),
              fields(computeFixed1DBlockAnd1DGridShape(withMaxThreads(1), 256, 3)));
    store(3);
    EXPECT_EQ((Shape{256, 1, 1, 2, 2, 1}), fields(computeFixed1DBlockAnd1DGridShape(full, 256, 4)));
}

TEST_F(Calculators, FixedNumBlocksTakesTheKernelsBlock) {
    EXPECT_EQ((Shape{256, 1, 1, 5, 1, 1}), fields(computeFixedNumBlocksShape(full, 5)));
    EXPECT_EQ((Shape{100, 1, 1, 0, 1, 1}), fields(computeFixedNumBlocksShape(withMaxThreads(100), 0)));
    store(3);
    EXPECT_EQ((Shape{100, 1, 1, 3, 2, 1}), fields(computeFixedNumBlocksShape(withMaxThreads(100), 5)));
}

TEST_F(Calculators, Fixed2DBlockKeepsTheGivenBlock) {
    EXPECT_EQ((Stepped2D{1, 1, 16, 16, 1, 1, 1, 1}), fields(computeFixed2DBlockShape(0, 0, 16, 16)));
    EXPECT_EQ((Stepped2D{1, 1, 0, 8, 1, 1, 3, 1}), fields(computeFixed2DBlockShape(0, 24, 0, 8)));
    EXPECT_EQ((Stepped2D{1, 1, 16, 8, 1, 2, 3, 1}), fields(computeFixed2DBlockShape(17, 24, 16, 8)));
    store(4, 2);
    EXPECT_EQ((Stepped2D{4, 1, 16, 8, 1, 2, 1, 1}), fields(computeFixed2DBlockShape(17, 24, 16, 8)));
    store(1, 3);
    EXPECT_EQ((Stepped2D{1, 5, 1, 1, 1, 1, 3, 1}), fields(computeFixed2DBlockShape(5, 3, 1, 1)));
}

TEST_F(Calculators, PagesAreNotRaisedToFourSteps) {
    EXPECT_EQ((Stepped3D{1, 1, 1, 16, 16, 1, 2, 1, 7}),
              fields(computeFixed2DBlockWithPagesShape(17, 0, 7, 16, 16)));
    EXPECT_EQ((Stepped3D{2, 1, 1, 16, 16, 1, 1, 1, 32768}),
              fields(computeFixed2DBlockWithPagesShape(16, 16, 65536, 16, 16)));
    store(1, 2, 3);
    // 2 by 3 blocks on 8 pages: x and y are raised, pages are not.
    EXPECT_EQ((Stepped3D{3, 4, 4, 16, 16, 1, 1, 1, 3}),
              fields(computeFixed2DBlockWithPagesShape(32, 48, 8, 16, 16)));
}

TEST_F(Calculators, PagesOfNoneAreAnEmptyGrid) {
    EXPECT_EQ((Stepped3D{1, 1, 1, 16, 16, 1, 1, 1, 0}),
              fields(computeFixed2DBlockWithPagesShape(16, 16, 0, 16, 16)));
}

}  // namespace
}  // namespace gpuruntime::internal

#include "frame/elementwise.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "atomics.hpp"
#include "tests/support/device_array.hpp"
#include "tests/support/device_limits.hpp"
#include "tests/support/values.hpp"

namespace gpuruntime {
namespace {

using testing::DeviceArray;
using testing::GridLimits;

// --- Flat ---

// Every visit adds, so an element that is visited twice or by the wrong thread shows.
struct AddIndexAndCount {
    static GPU_DEVICE void apply(elementwisedetail::Position at, unsigned int* out, unsigned int addend) {
        out[at.i] += at.i * 1000 + at.n + addend;
    }
};

std::vector<unsigned int> flatRun(unsigned long n, unsigned long extent) {
    DeviceArray<unsigned int> out(std::vector<unsigned int>(extent, 0));
    EXPECT_EQ(cudaSuccess, elementwisedetail::launch<AddIndexAndCount>(nullptr, n, out.data(), 7));
    return out.values();
}

std::vector<unsigned int> flatExpected(unsigned long n, unsigned long extent) {
    std::vector<unsigned int> expected(extent, 0);
    for (unsigned int i = 0; i < n && i < extent; ++i)
        expected[i] = i * 1000 + static_cast<unsigned int>(n) + 7;
    return expected;
}

TEST(FlatFrame, VisitsEachElementOnceAroundBlockSizes) {
    for (unsigned long n : testing::boundarySizes()) {
        testing::expectSameBits(flatExpected(n, n + 300), flatRun(n, n + 300));
    }
}

TEST(FlatFrame, VisitsNothingWithoutElements) {
    testing::expectSameBits(std::vector<unsigned int>(5, 0), flatRun(0, 5));
}

TEST(FlatFrame, SpareBlocksOfAFoldWriteNothing) {
    for (unsigned long limit : {1ul, 2ul, 3ul, 7ul}) {
        GridLimits const limits(limit);
        for (unsigned long n : {256ul, 257ul, 1000ul, 5000ul, 5377ul}) {
            testing::expectSameBits(flatExpected(n, n + 600), flatRun(n, n + 600));
        }
    }
}

TEST(FlatFrame, ACountOf2To32IsSeenAsZero) {
    testing::expectSameBits(std::vector<unsigned int>(5, 0), flatRun(1ul << 32, 5));
}

// Atomic, because indices wrap: the first block and the one 2^32 threads on store at the same places.
struct StoreCount {
    static GPU_DEVICE void apply(elementwisedetail::Position at, unsigned int* out) {
        backend::atomicCompareAndSwap(out[at.i], 0, at.n);
    }
};

TEST(FlatFrame, ACountAbove2To32IsSeenModulo2To32) {
    DeviceArray<unsigned int> out(std::vector<unsigned int>(300, 0));
    EXPECT_EQ(cudaSuccess, elementwisedetail::launch<StoreCount>(nullptr, (1ul << 32) + 5, out.data()));
    std::vector<unsigned int> expected(300, 0);
    std::fill_n(expected.begin(), 5, 5);
    testing::expectSameBits(expected, out.values());
}

TEST(FlatFrame, RunsOnAStreamOfTheCaller) {
    cudaStream_t stream = nullptr;
    ASSERT_EQ(cudaSuccess, cudaStreamCreate(&stream));
    DeviceArray<unsigned int> out(std::vector<unsigned int>(300, 0));
    EXPECT_EQ(cudaSuccess, elementwisedetail::launch<AddIndexAndCount>(stream, 300, out.data(), 7));
    EXPECT_EQ(cudaSuccess, cudaStreamSynchronize(stream));
    testing::expectSameBits(flatExpected(300, 300), out.values());
    EXPECT_EQ(cudaSuccess, cudaStreamDestroy(stream));
}

TEST(FlatFrame, LargeLaunchesAreSharedOutWithoutLoss) {
    unsigned long const n = 3000001;
    testing::expectSameBits(flatExpected(n, n + 10), flatRun(n, n + 10));
}

// --- Walks of the multi-step kernels ---

// The first thread positions that a block of the multi-step kernel takes in one dimension, one per step.
std::vector<unsigned long> positions(unsigned long block, unsigned long blockExtent, unsigned long stride,
                                     unsigned long steps) {
    std::vector<unsigned long> result;
    for (unsigned long step = 0; step < std::max(steps, 1ul); ++step) {
        result.push_back(block * blockExtent + step * stride);
    }
    return result;
}

// --- Two dimensions ---

struct Visit2D {
    static GPU_DEVICE void apply(elementwise2ddetail::Position at, unsigned int* visits) {
        visits[at.y * at.nx + at.x] += 1 + 10 * (at.ny % 7);
    }
};

std::vector<unsigned int> run2D(unsigned long nx, unsigned long ny) {
    DeviceArray<unsigned int> out(std::vector<unsigned int>(nx * ny, 0));
    EXPECT_EQ(cudaSuccess, elementwise2ddetail::launch<Visit2D>(nullptr, nx, ny, out.data()));
    return out.values();
}

std::vector<unsigned int> once2D(unsigned long nx, unsigned long ny) {
    return std::vector<unsigned int>(nx * ny, static_cast<unsigned int>(1 + 10 * (ny % 7)));
}

struct Extents2D {
    unsigned long nx, ny;
};

std::vector<Extents2D> const extents2D{{1, 1},    {1, 256},   {1, 257}, {3, 85},  {3, 86},
                                       {100, 50}, {255, 3},   {256, 3}, {257, 3}, {513, 40},
                                       {1000, 9}, {17, 1000}, {2, 129}, {128, 2}};

TEST(Frame2D, VisitsEachElementOnce) {
    for (auto [nx, ny] : extents2D) testing::expectSameBits(once2D(nx, ny), run2D(nx, ny));
}

TEST(Frame2D, SteppingOneDimensionCoversTheArray) {
    for (auto [nx, ny] : extents2D) {
        for (unsigned long limit : {1ul, 2ul, 3ul}) {
            {
                GridLimits const limits(2147483647, limit);
                testing::expectSameBits(once2D(nx, ny), run2D(nx, ny));
            }
            GridLimits const limits(limit, 65535);
            testing::expectSameBits(once2D(nx, ny), run2D(nx, ny));
        }
    }
}

TEST(Frame2D, SteppingBothDimensionsVisitsADiagonalOfTiles) {
    // 4 by 9 tiles of 256 by 1 on a device of 2 by 2: 4 steps of 1 block in x, 5 steps of 2 blocks in y.
    GridLimits const limits(2, 2);
    unsigned long const nx = 1000, ny = 9;
    std::vector<unsigned int> expected(nx * ny, 0);
    for (unsigned long blockY = 0; blockY < 2; ++blockY) {
        auto const xs = positions(0, 256, 256, 4 * 5);
        auto const ys = positions(blockY, 1, 2, 4 * 5);
        for (std::size_t step = 0; step < xs.size(); ++step) {
            for (unsigned long x = xs[step]; x < std::min(xs[step] + 256, nx); ++x) {
                if (ys[step] < ny) expected[ys[step] * nx + x] += 1 + 10 * (ny % 7);
            }
        }
    }
    EXPECT_EQ(0u, expected[300]) << "tiles off the diagonal stay unvisited";
    EXPECT_NE(0u, expected[1 * nx + 5]);
    testing::expectSameBits(expected, run2D(nx, ny));
}

// No launcher starts the multi-step kernel with fewer than two steps; the kernel visits its first position
// all the same.
TEST(Frame2D, AMultiStepKernelWithoutStepsVisitsOnce) {
    constexpr auto kernel = &elementwise2ddetail::multiStepKernel<Visit2D, unsigned int*>;
    for (unsigned int steps : {0u, 1u}) {
        DeviceArray<unsigned int> out(std::vector<unsigned int>(15, 0));
        internal::LaunchShape const shape{5, 3, 1, 1, 1, 1};
        EXPECT_EQ(cudaSuccess,
                  internal::launchKernel<kernel>(shape, nullptr, 15, 5, 3, 5, 3, steps, out.data()));
        testing::expectSameBits(once2D(5, 3), out.values());
    }
}

// --- Three dimensions ---

struct Visit3D {
    static GPU_DEVICE void apply(elementwise3ddetail::Position at, unsigned int* visits,
                                 unsigned int addend) {
        visits[(at.z * at.ny + at.y) * at.nx + at.x] += addend + at.nz;
    }
};

std::vector<unsigned int> run3D(unsigned long nx, unsigned long ny, unsigned long nz) {
    DeviceArray<unsigned int> out(std::vector<unsigned int>(nx * ny * nz, 0));
    EXPECT_EQ(cudaSuccess, elementwise3ddetail::launch<Visit3D>(nullptr, nx, ny, nz, out.data(), 5));
    return out.values();
}

std::vector<unsigned int> once3D(unsigned long nx, unsigned long ny, unsigned long nz) {
    return std::vector<unsigned int>(nx * ny * nz, static_cast<unsigned int>(5 + nz));
}

struct Extents3D {
    unsigned long nx, ny, nz;
};

std::vector<Extents3D> const extents3D{{1, 1, 1},   {1, 1, 300}, {10, 5, 9},  {10, 30, 3}, {256, 1, 1},
                                       {257, 3, 4}, {600, 2, 7}, {2, 200, 5}, {1, 300, 2}};

TEST(Frame3D, VisitsEachElementOnce) {
    for (auto [nx, ny, nz] : extents3D) testing::expectSameBits(once3D(nx, ny, nz), run3D(nx, ny, nz));
}

TEST(Frame3D, SteppingOneDimensionCoversTheArray) {
    for (auto [nx, ny, nz] : extents3D) {
        for (unsigned long limit : {1ul, 2ul, 3ul}) {
            {
                GridLimits const limits(limit, 65535, 65535);
                testing::expectSameBits(once3D(nx, ny, nz), run3D(nx, ny, nz));
            }
            {
                GridLimits const limits(2147483647, limit, 65535);
                testing::expectSameBits(once3D(nx, ny, nz), run3D(nx, ny, nz));
            }
            GridLimits const limits(2147483647, 65535, limit);
            testing::expectSameBits(once3D(nx, ny, nz), run3D(nx, ny, nz));
        }
    }
}

TEST(Frame3D, SteppingAllDimensionsVisitsADiagonalOfTiles) {
    // Tiles of 256 by 1 by 1, 2 by 3 by 5 of them, on a device of one block: 4 by 4 by 5 steps.
    GridLimits const limits(1, 1, 1);
    std::vector<unsigned int> expected(300ul * 3 * 5, 0);
    for (unsigned long step = 0; step < 80; ++step) {
        unsigned long const x0 = 256 * step;
        if (step >= 3 || x0 >= 300) break;
        for (unsigned long x = x0; x < std::min(x0 + 256, 300ul); ++x) {
            expected[(step * 3 + step) * 300 + x] += 5 + 5;
        }
    }
    testing::expectSameBits(expected, run3D(300, 3, 5));
}

TEST(Frame3D, AMultiStepKernelWithoutStepsVisitsOnce) {
    constexpr auto kernel = &elementwise3ddetail::multiStepKernel<Visit3D, unsigned int*, unsigned int>;
    for (unsigned int steps : {0u, 1u}) {
        DeviceArray<unsigned int> out(std::vector<unsigned int>(30, 0));
        internal::LaunchShape const shape{5, 3, 2, 1, 1, 1};
        EXPECT_EQ(cudaSuccess,
                  internal::launchKernel<kernel>(shape, nullptr, 30, 5, 3, 2, 5, 3, 2, steps, out.data(), 5));
        testing::expectSameBits(once3D(5, 3, 2), out.values());
    }
}

}  // namespace
}  // namespace gpuruntime

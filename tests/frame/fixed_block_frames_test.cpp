#include "frame/fixed_block.hpp"

#include <gtest/gtest.h>

#include <vector>

#include "tests/support/device_array.hpp"
#include "tests/support/device_limits.hpp"
#include "tests/support/values.hpp"

namespace gpuruntime {
namespace {

using testing::DeviceArray;
using testing::GridLimits;
using Words = std::vector<unsigned int>;

// --- One dimension ---

// Reverses runs of 64 elements through a shared tile: a thread writes what another one read.
struct ReverseRuns {
    static GPU_DEVICE void apply(cuda::Fixed1DBlockIterator const& block, unsigned int* out,
                                 unsigned int const* in, unsigned int n) {
        GPU_SHARED unsigned int tile[64];
        unsigned int const begin = block.blockIndex * 64;
        if (begin >= n) return;
        block.threads.phase([&](unsigned int t) { tile[t] = begin + t < n ? in[begin + t] : 0; });
        block.threads.forEach([&](unsigned int t) {
            if (begin + t < n) out[begin + t] = tile[63 - t] + 1000 * block.count;
        });
    }
};

Words ascending(unsigned long n) {
    Words values(n);
    for (unsigned int i = 0; i < n; ++i) values[i] = i + 1;
    return values;
}

void expectReversedRuns(unsigned long n) {
    Words const input = ascending(n);
    DeviceArray<unsigned int> in(input), out(n);
    EXPECT_EQ(cudaSuccess, fixed1dblockdetail::launch<ReverseRuns>(nullptr, n, 64, out.data(), in.data(), n));
    Words expected(n);
    for (unsigned long i = 0; i < n; ++i) {
        unsigned long const from = i / 64 * 64 + 63 - i % 64;
        expected[i] = (from < n ? input[from] : 0) + 1000 * static_cast<unsigned int>(n);
    }
    testing::expectSameBits(expected, out.values());
    testing::expectSameBits(input, in.values());
}

TEST(Fixed1DBlock, SharesATileBetweenPhases) {
    for (unsigned long n : testing::boundarySizes()) expectReversedRuns(n);
}

TEST(Fixed1DBlock, FoldsALongGrid) {
    GridLimits const limits(3);
    for (unsigned long n : testing::boundarySizes()) expectReversedRuns(n);
}

struct MarkBlocks {
    static GPU_DEVICE void apply(cuda::Fixed1DBlockIterator const& block, unsigned int* marks) {
        block.threads.forEach(1, [&](unsigned int) { marks[block.blockIndex] += 1 + block.count; });
    }
};

TEST(Fixed1DBlock, RunsOneBlockForACountOfZero) {
    DeviceArray<unsigned int> marks({0, 0});
    EXPECT_EQ(cudaSuccess, fixed1dblockdetail::launch<MarkBlocks>(nullptr, 0, 128, marks.data()));
    testing::expectSameBits(Words{1, 0}, marks.values());
}

TEST(Fixed1DBlock, HandsSpareBlocksOfAFoldToTheFunctor) {
    GridLimits const limits(3);
    // 7 blocks fold into 3 by 3.
    DeviceArray<unsigned int> marks(Words(10, 0));
    EXPECT_EQ(cudaSuccess, fixed1dblockdetail::launch<MarkBlocks>(nullptr, 7 * 32, 32, marks.data()));
    testing::expectSameBits(Words{225, 225, 225, 225, 225, 225, 225, 225, 225, 0}, marks.values());
}

struct NumberThreads {
    static GPU_DEVICE void apply(cuda::Fixed1DBlockIterator const& block, unsigned int* out,
                                 unsigned int* size) {
        block.threads.forEach([&](unsigned int t) { out[t] += t + 1; });
        block.threads.forEach(1, [&](unsigned int) { *size = block.threads.size(); });
    }
};

TEST(Fixed1DBlock, NumbersTheThreadsOfATwoDimensionalBlock) {
    constexpr auto kernel =
        &fixed1dblockdetail::singleStepKernel<NumberThreads, unsigned int*, unsigned int*>;
    DeviceArray<unsigned int> out(Words(32, 0)), size(1);
    internal::LaunchShape const shape{8, 4, 1, 1, 1, 1};
    EXPECT_EQ(cudaSuccess, internal::launchKernel<kernel>(shape, nullptr, 32, 32, out.data(), size.data()));
    testing::expectSameBits(ascending(32), out.values());
    testing::expectSameBits(Words{32}, size.values());
}

// --- One dimension, blocks and block size given ---

// A strided walk keeps each thread's order: a per-thread value folds its elements with a non-commutative
// step.
struct FoldPerThread {
    static constexpr unsigned int blockSize = 32;
    static GPU_DEVICE void apply(cuda::Fixed1DBlockAnd1DGridIterator const& block, unsigned int* out,
                                 unsigned int const* in, unsigned int n, unsigned int segment) {
        unsigned int const begin = block.blockIndex * segment;
        if (begin >= n) return;
        unsigned int const end = begin + segment < n ? begin + segment : n;
        backend::PerThread<unsigned int, blockSize> value;
        block.threads.forEach([&](unsigned int t) { value[t] = block.blockSize + block.numBlocks; });
        block.threads.walk<blockSize>(
            in, begin, end, [&](unsigned int t, unsigned int i) { value[t] = value[t] * 31 + in[i]; });
        block.threads.forEach([&](unsigned int t) { out[block.blockIndex * blockSize + t] = value[t]; });
    }
};

void expectFolds(unsigned long n, unsigned long segment) {
    unsigned long const blocks = (n - 1) / segment + 1;
    Words const input = ascending(n);
    DeviceArray<unsigned int> in(input), out(blocks * 32);
    EXPECT_EQ(cudaSuccess, fixed1dblockand1dgriddetail::launch<FoldPerThread>(nullptr, 32, blocks, out.data(),
                                                                              in.data(), n, segment));
    Words expected(blocks * 32, static_cast<unsigned int>(32 + blocks));
    for (unsigned long i = 0; i < n; ++i) {
        unsigned int& value = expected[i / segment * 32 + i % segment % 32];
        value = value * 31 + input[i];
    }
    testing::expectSameBits(expected, out.values());
}

TEST(Fixed1DBlockAnd1DGrid, WalksInEachThreadsOrder) {
    for (unsigned long n : testing::boundarySizes()) {
        for (unsigned long segment : {1ul, 31ul, 32ul, 33ul, 100ul, 1000ul}) expectFolds(n, segment);
    }
}

TEST(Fixed1DBlockAnd1DGrid, FoldsALongGrid) {
    GridLimits const limits(3);
    expectFolds(1000, 33);
}

TEST(Fixed1DBlockAnd1DGrid, AnEmptyGridIsTheRuntimesError) {
    DeviceArray<unsigned int> out(Words(32, 0));
    EXPECT_EQ(cudaErrorInvalidConfiguration, fixed1dblockand1dgriddetail::launch<FoldPerThread>(
                                                 nullptr, 32, 0, out.data(), out.data(), 0, 1));
    EXPECT_EQ(cudaErrorInvalidConfiguration, cudaGetLastError());
    testing::expectSameBits(Words(32, 0), out.values());
}

// --- A number of blocks ---

struct CountThreads {
    static GPU_DEVICE void apply(cuda::FixedNumBlocksIterator const& block, unsigned int* sizes) {
        if (block.blockIndex >= block.numBlocks) return;
        block.threads.forEach(1, [&](unsigned int) { sizes[block.blockIndex] += block.threads.size(); });
    }
};

TEST(FixedNumBlocks, GivesEachBlockUpTo256Threads) {
    DeviceArray<unsigned int> sizes(Words(6, 0));
    EXPECT_EQ(cudaSuccess, fixednumblocksdetail::launch<CountThreads>(nullptr, 5, sizes.data()));
    testing::expectSameBits(Words{256, 256, 256, 256, 256, 0}, sizes.values());
}

TEST(FixedNumBlocks, FoldsALongGrid) {
    GridLimits const limits(2);
    DeviceArray<unsigned int> sizes(Words(6, 0));
    EXPECT_EQ(cudaSuccess, fixednumblocksdetail::launch<CountThreads>(nullptr, 5, sizes.data()));
    testing::expectSameBits(Words{256, 256, 256, 256, 256, 0}, sizes.values());
}

// --- Two dimensions ---

// Transposes tiles of 4 by 8 in place of each other within the tile, so that every step reuses the shared
// tile that other threads read in the step before.
struct MirrorTiles {
    static constexpr unsigned int width = 4, height = 8;
    static GPU_DEVICE void apply(cuda::Fixed2DBlockIterator const& block, unsigned int* out,
                                 unsigned int const* in) {
        GPU_SHARED unsigned int tile[height][width];
        unsigned int const x0 = block.blockX * width, y0 = block.blockY * height;
        block.threads.phase([&](backend::Thread t) {
            bool const inside = x0 + t.x < block.nx && y0 + t.y < block.ny;
            tile[t.y][t.x] = inside ? in[(y0 + t.y) * block.nx + x0 + t.x] : 0;
        });
        block.threads.forEach([&](backend::Thread t) {
            if (x0 + t.x < block.nx && y0 + t.y < block.ny) {
                out[(y0 + t.y) * block.nx + x0 + t.x] += tile[height - 1 - t.y][width - 1 - t.x];
            }
        });
    }
};

Words allMirrored(Words const& in, unsigned long nx, unsigned long ny) {
    Words expected;
    for (unsigned long y = 0; y < ny; ++y) {
        for (unsigned long x = 0; x < nx; ++x) {
            unsigned long const fromX = x / 4 * 4 + 3 - x % 4, fromY = y / 8 * 8 + 7 - y % 8;
            expected.push_back(fromX < nx && fromY < ny ? in[fromY * nx + fromX] : 0);
        }
    }
    return expected;
}

void expectMirrored(unsigned long nx, unsigned long ny) {
    Words const input = ascending(nx * ny);
    DeviceArray<unsigned int> in(input), out(Words(nx * ny, 0));
    EXPECT_EQ(cudaSuccess,
              fixed2dblockdetail::launch<MirrorTiles>(nullptr, nx, ny, 4, 8, out.data(), in.data()));
    testing::expectSameBits(allMirrored(input, nx, ny), out.values());
}

TEST(Fixed2DBlock, VisitsEachTileOnce) {
    for (unsigned long nx : {1ul, 4ul, 5ul, 33ul}) {
        for (unsigned long ny : {1ul, 8ul, 9ul, 100ul}) expectMirrored(nx, ny);
    }
}

TEST(Fixed2DBlock, SteppingOneDimensionCoversTheArray) {
    for (unsigned long nx : {4ul, 5ul, 33ul}) {
        for (unsigned long ny : {8ul, 9ul, 100ul}) {
            for (unsigned long limit : {1ul, 2ul, 3ul}) {
                {
                    GridLimits const limits(limit, 65535);
                    expectMirrored(nx, ny);
                }
                GridLimits const limits(2147483647, limit);
                expectMirrored(nx, ny);
            }
        }
    }
}

// What a functor sees: the block's coordinates and the counts of blocks, one record a visit.
struct RecordVisits {
    static GPU_DEVICE void apply(cuda::Fixed2DBlockIterator const& block, unsigned int* visits,
                                 unsigned int* totals) {
        block.threads.forEach(dim3(1, 1, 1), [&](backend::Thread) {
            if (block.blockX < 16 && block.blockY < 16) visits[block.blockY * 16 + block.blockX] += 1;
            totals[0] = block.totalBlocksX;
            totals[1] = block.totalBlocksY;
            totals[2] = block.nx;
            totals[3] = block.ny;
        });
        block.threads.phase([](backend::Thread) {});
    }
};

TEST(Fixed2DBlock, ASingleStepLaunchTellsTheGridAsTheTotalOfBlocks) {
    DeviceArray<unsigned int> visits(Words(256, 0)), totals(4);
    EXPECT_EQ(cudaSuccess,
              fixed2dblockdetail::launch<RecordVisits>(nullptr, 5, 9, 4, 8, visits.data(), totals.data()));
    testing::expectSameBits(Words{2, 2, 5, 9}, totals.values());
}

TEST(Fixed2DBlock, SteppingBothDimensionsWalksADiagonalOfTiles) {
    // 5 by 6 tiles on a device of 2 by 2 blocks: 4 steps of 2 blocks in x, 4 steps of 2 blocks in y.
    GridLimits const limits(2, 2);
    DeviceArray<unsigned int> visits(Words(256, 0)), totals(4);
    EXPECT_EQ(cudaSuccess,
              fixed2dblockdetail::launch<RecordVisits>(nullptr, 20, 48, 4, 8, visits.data(), totals.data()));
    Words expected(256, 0);
    for (unsigned int y = 0; y < 2; ++y) {
        for (unsigned int x = 0; x < 2; ++x) {
            for (unsigned int step = 0; step < 16; ++step) {
                if (x + 2 * step < 16) expected[(y + 2 * step) * 16 + x + 2 * step] += 1;
            }
        }
    }
    testing::expectSameBits(expected, visits.values());
    testing::expectSameBits(Words{8, 8, 20, 48}, totals.values());
}

TEST(Fixed2DBlock, RoundedUpStepsReachPositionsPastTheArray) {
    // 5 blocks in x on a device of 2: 4 steps of 2, 8 in all.
    GridLimits const limits(2, 65535);
    DeviceArray<unsigned int> visits(Words(256, 0)), totals(4);
    EXPECT_EQ(cudaSuccess,
              fixed2dblockdetail::launch<RecordVisits>(nullptr, 20, 8, 4, 8, visits.data(), totals.data()));
    Words expected(256, 0);
    for (unsigned int x = 0; x < 8; ++x) expected[x] = 1;
    testing::expectSameBits(expected, visits.values());
    testing::expectSameBits(Words{8, 1, 20, 8}, totals.values());
}

TEST(Fixed2DBlock, AMultiStepKernelWithoutStepsAppliesOnce) {
    constexpr auto kernel = &fixed2dblockdetail::multiStepKernel<RecordVisits, unsigned int*, unsigned int*>;
    for (unsigned int steps : {0u, 1u}) {
        DeviceArray<unsigned int> visits(Words(256, 0)), totals(4);
        internal::LaunchShape const shape{4, 8, 1, 1, 1, 1};
        EXPECT_EQ(cudaSuccess, internal::launchKernel<kernel>(shape, nullptr, 32, 4, 8, 1, 1, 1, 1, steps,
                                                              visits.data(), totals.data()));
        EXPECT_EQ(1u, visits.values()[0]);
        EXPECT_EQ(0u, visits.values()[17]);
    }
}

// --- Pages ---

// Mirrors tiles of 4 by 4 on each page through a shared tile.
struct MirrorPages {
    static GPU_DEVICE void apply(cuda::Fixed2DBlockWithPagesIterator const& block, unsigned int* out,
                                 unsigned int const* in) {
        GPU_SHARED unsigned int tile[4][4];
        unsigned int const x0 = block.blockX * 4, y0 = block.blockY * 4;
        unsigned int const page = block.page * block.nx * block.ny;
        bool const exists = block.page < block.numPages;
        block.threads.phase([&](backend::Thread t) {
            bool const inside = exists && x0 + t.x < block.nx && y0 + t.y < block.ny;
            tile[t.y][t.x] = inside ? in[page + (y0 + t.y) * block.nx + x0 + t.x] : 0;
        });
        block.threads.forEach([&](backend::Thread t) {
            if (exists && x0 + t.x < block.nx && y0 + t.y < block.ny) {
                out[page + (y0 + t.y) * block.nx + x0 + t.x] += tile[3 - t.y][3 - t.x];
            }
        });
    }
};

void expectMirroredPages(unsigned long nx, unsigned long ny, unsigned long numPages) {
    Words const input = ascending(nx * ny * numPages);
    DeviceArray<unsigned int> in(input), out(Words(input.size(), 0));
    EXPECT_EQ(cudaSuccess, fixed2dblockwithpagesdetail::launch<MirrorPages>(nullptr, nx, ny, numPages, 4, 4,
                                                                            out.data(), in.data()));
    Words expected;
    for (unsigned long page = 0; page < numPages; ++page) {
        for (unsigned long y = 0; y < ny; ++y) {
            for (unsigned long x = 0; x < nx; ++x) {
                unsigned long const fromX = x / 4 * 4 + 3 - x % 4, fromY = y / 4 * 4 + 3 - y % 4;
                expected.push_back(fromX < nx && fromY < ny ? input[(page * ny + fromY) * nx + fromX] : 0);
            }
        }
    }
    testing::expectSameBits(expected, out.values());
}

TEST(Fixed2DBlockWithPages, VisitsEachTileOfEachPageOnce) {
    expectMirroredPages(1, 1, 1);
    expectMirroredPages(9, 5, 1);
    expectMirroredPages(9, 5, 7);
    expectMirroredPages(4, 8, 300);
}

TEST(Fixed2DBlockWithPages, SteppingPagesCoversThem) {
    for (unsigned long limit : {1ul, 2ul, 3ul, 5ul}) {
        GridLimits const limits(2147483647, 65535, limit);
        expectMirroredPages(9, 5, 7);
        expectMirroredPages(4, 4, 6);
    }
}

TEST(Fixed2DBlockWithPages, PagesAreAnOuterLoopAroundTheWalkOfOneDimension) {
    for (unsigned long limit : {1ul, 2ul}) {
        {
            GridLimits const limits(limit, 65535, 2);
            expectMirroredPages(33, 5, 7);
        }
        GridLimits const limits(2147483647, limit, 3);
        expectMirroredPages(9, 50, 7);
    }
}

struct RecordPages {
    static GPU_DEVICE void apply(cuda::Fixed2DBlockWithPagesIterator const& block, unsigned int* visits,
                                 unsigned int* seen) {
        block.threads.forEach(dim3(1, 1, 1), [&](backend::Thread) {
            if (block.page < 8 && block.blockX < 8 && block.blockY < 8) {
                visits[(block.page * 8 + block.blockY) * 8 + block.blockX] += 1;
            }
            seen[0] = block.totalBlocksX;
            seen[1] = block.totalBlocksY;
            seen[2] = block.numPages;
        });
        block.threads.phase([](backend::Thread) {});
    }
};

TEST(Fixed2DBlockWithPages, EachPageWalksItsDiagonalFromTheFirstBlock) {
    // 2 by 2 tiles on 3 pages, on a device of one block: 4 by 4 steps in the plane, 3 steps of one page.
    GridLimits const limits(1, 1, 1);
    DeviceArray<unsigned int> visits(Words(512, 0)), seen(3);
    EXPECT_EQ(cudaSuccess, fixed2dblockwithpagesdetail::launch<RecordPages>(nullptr, 8, 8, 3, 4, 4,
                                                                            visits.data(), seen.data()));
    Words expected(512, 0);
    for (unsigned int page = 0; page < 3; ++page) {
        for (unsigned int step = 0; step < 8; ++step) expected[(page * 8 + step) * 8 + step] = 1;
    }
    testing::expectSameBits(expected, visits.values());
    testing::expectSameBits(Words{4, 4, 3}, seen.values());
}

TEST(Fixed2DBlockWithPages, AMultiStepKernelWithoutStepsAppliesOnce) {
    constexpr auto kernel =
        &fixed2dblockwithpagesdetail::multiStepKernel<RecordPages, unsigned int*, unsigned int*>;
    Words once(512, 0);
    once[0] = 1;
    for (unsigned int stepsXY : {0u, 1u}) {
        for (unsigned int stepsZ : {0u, 1u}) {
            DeviceArray<unsigned int> visits(Words(512, 0)), seen(3);
            internal::LaunchShape const shape{4, 4, 1, 1, 1, 1};
            EXPECT_EQ(cudaSuccess,
                      internal::launchKernel<kernel>(shape, nullptr, 16, 4, 4, 1, 1, 1, 1, 1, 1, stepsXY,
                                                     stepsZ, visits.data(), seen.data()));
            testing::expectSameBits(once, visits.values());
        }
    }
}

}  // namespace
}  // namespace gpuruntime

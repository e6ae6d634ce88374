// Kernels that are wrong on purpose, a small one for each kind of report, and the right ones that look like
// them.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "atomics.hpp"
#include "block_fold.hpp"
#include "device.hpp"
#include "kernel_launch.hpp"
#include "reports.hpp"
#include "tests/support/device_array.hpp"

namespace gpuruntime::fibers {
namespace {

using testing::DeviceArray;

constexpr unsigned int numBlocks = 2, numThreads = 64;

GPU_CONSTANT_VARIABLE(int, limit);
GPU_DEVICE_VARIABLE(unsigned int, flag);

template <class Program>
GPU_KERNEL void kernel(int* data) {
    Program::run(data, threadIdx.x);
}

/// What running a program on an array of 0, 1 and so on is told. The results stand in `data`.
template <class Program>
std::vector<Report> reportsOf(int* data) {
    takeReports();
    void* arguments[] = {&data};
    EXPECT_EQ(cudaSuccess,
              backend::launch<&kernel<Program>>(dim3(numBlocks), dim3(numThreads), arguments, nullptr, 0));
    return takeReports();
}

DeviceArray<int> ascendingData() {
    std::vector<int> values(numBlocks * numThreads);
    for (std::size_t i = 0; i < values.size(); ++i) values[i] = static_cast<int>(i);
    return DeviceArray<int>(values);
}

template <class Program>
std::vector<Report> reportsOf() {
    DeviceArray<int> data(ascendingData());
    return reportsOf<Program>(data.data());
}

/// One kind of report, of the program's lines.
template <class Program>
void expectReport(std::string const& kind, std::string const& text, std::vector<int> const& lines) {
    auto const reports = reportsOf<Program>();
    ASSERT_EQ(1u, reports.size());
    Report const& report = reports[0];
    EXPECT_EQ(kind, report.kind);
    EXPECT_NE(std::string::npos, report.text.find(text)) << report.text;
    EXPECT_NE(std::string::npos, report.kernel.find("kernel<")) << report.kernel;
    for (int const line : lines) {
        std::string const place = "reports_test.cpp:" + std::to_string(line);
        bool const isTold = (report.place + " " + report.otherPlace).find(place) != std::string::npos;
        EXPECT_TRUE(isTold) << place << " is not in " << report.place << " and " << report.otherPlace;
    }
}

// --- Right ones. ---

struct Reversal {
    static GPU_DEVICE void run(int* data, unsigned int t) {
        __shared__ int tile[numThreads];
        int* const own = data + blockIdx.x * numThreads;
        tile[t] = own[t];
        __syncthreads();
        own[t] = tile[numThreads - 1 - t];
    }
};

TEST(Reports, AreNotMadeOfThreadsThatMeetAtBarriers) {
    DeviceArray<int> data(ascendingData());
    EXPECT_TRUE(reportsOf<Reversal>(data.data()).empty());
    EXPECT_EQ(63, data.values()[0]);
    EXPECT_EQ(64, data.values()[127]);
}

struct WarpNeighbours {
    static GPU_DEVICE void run(int* data, unsigned int t) {
        int* const own = data + blockIdx.x * numThreads;
        own[t] = static_cast<int>(__shfl_down_sync(~0u, t, 3));
    }
};

TEST(Reports, AreNotMadeOfAShuffleThatAllLanesMeet) {
    DeviceArray<int> data(ascendingData());
    EXPECT_TRUE(reportsOf<WarpNeighbours>(data.data()).empty());
    EXPECT_EQ(3, data.values()[0]);
    EXPECT_EQ(31, data.values()[28]);
    EXPECT_EQ(29, data.values()[29]);  // there is no lane 32
    EXPECT_EQ(35, data.values()[32]);
}

struct AtomicFlag {
    static GPU_DEVICE void run(int*, unsigned int t) {
        if (backend::relaxedLoad(flag) != 0) backend::atomicAnd(flag, ~(1u << t % 32));
        backend::atomicCompareAndSwap(flag, 0, t);
        backend::atomicAdd(flag, t);
    }
};

TEST(Reports, AreNotMadeOfAtomicAccesses) { EXPECT_TRUE(reportsOf<AtomicFlag>().empty()); }

struct ReadByAll {
    static GPU_DEVICE void run(int* data, unsigned int t) {
        int const first = data[0] + limit;
        if (first < 0) data[t] = first;
    }
};

TEST(Reports, AreNotMadeOfWhatAllRead) { EXPECT_TRUE(reportsOf<ReadByAll>().empty()); }

// --- Barriers and shuffles. ---

struct MissedBarrier {
    static constexpr int line = __LINE__ + 3;
    static GPU_DEVICE void run(int*, unsigned int t) {
        if (t == 3) return;
        __syncthreads();
    }
};

TEST(Reports, TellOfABarrierThatAThreadMisses) {
    expectReport<MissedBarrier>("barrier", "thread 3 ends without it", {MissedBarrier::line});
}

struct DifferentBarriers {
    static constexpr int line = __LINE__ + 4;
    static GPU_DEVICE void run(int* data, unsigned int t) {
        int* const own = data + blockIdx.x * numThreads;
        if (t < 32) {
            __syncthreads();
            own[t] = 0;
        } else {
            __syncthreads();
            own[t] = 1;
        }
    }
};

TEST(Reports, TellOfThreadsThatMeetAtDifferentBarriers) {
    expectReport<DifferentBarriers>("barrier", "different",
                                    {DifferentBarriers::line, DifferentBarriers::line + 3});
}

struct MissingLanes {
    static constexpr int line = __LINE__ + 3;
    static GPU_DEVICE void run(int*, unsigned int t) {
        if (t % 2 == 0) return;
        __shfl_down_sync(~0u, t, 1);
    }
};

TEST(Reports, TellOfLanesThatDoNotComeToAShuffle) {
    expectReport<MissingLanes>("shuffle", "wait for lanes 55555555", {MissingLanes::line});
}

struct DifferentMasks {
    static constexpr int line = __LINE__ + 2;
    static GPU_DEVICE void run(int*, unsigned int t) {
        __shfl_down_sync(t % 32 == 31 ? ~0u : ~1u | (t % 32 == 0), t, 1);
    }
};

TEST(Reports, TellOfDifferentMasks) {
    expectReport<DifferentMasks>("shuffle", "different masks", {DifferentMasks::line});
}

struct MaskWithoutItsCaller {
    static constexpr int line = __LINE__ + 1;
    static GPU_DEVICE void run(int*, unsigned int t) { __shfl_down_sync(0x0000ffff, t, 1); }
};

TEST(Reports, TellOfAMaskThatLeavesItsCallerOut) {
    expectReport<MaskWithoutItsCaller>("shuffle", "leaves out", {MaskWithoutItsCaller::line});
}

// --- Races. ---

struct MissingBarrier {
    static constexpr int line = __LINE__ + 5;
    static GPU_DEVICE void run(int* data, unsigned int t) {
        __shared__ int tile[numThreads];
        int* const own = data + blockIdx.x * numThreads;
        if (t == 0) tile[0] = tile[1] = 5;
        tile[t] = own[t];
        __syncthreads();
        own[t] = tile[t];
    }
};

TEST(Reports, TellOfTwoThreadsThatWriteOneValue) {
    expectReport<MissingBarrier>("race", "shared memory is written and written by threads",
                                 {MissingBarrier::line, MissingBarrier::line - 1});
}

struct ReadAndWritten {
    static constexpr int line = __LINE__ + 3;
    static GPU_DEVICE void run(int* data, unsigned int t) {
        int* const own = data + blockIdx.x * numThreads;
        if (t == 20) own[20] = own[40];
        if (t == 40) own[40] = 1000;
    }
};

// In descending order the write comes first.
TEST(Reports, TellOfAThreadThatReadsWhatAnotherWrites) {
    expectReport<ReadAndWritten>("race", "by threads", {ReadAndWritten::line, ReadAndWritten::line + 1});
}

struct BytesOfAWord {
    static GPU_DEVICE void run(int* data, unsigned int t) {
        auto* const own = reinterpret_cast<signed char*>(data) + blockIdx.x * numThreads;
        own[t] = static_cast<signed char>(t);
        if (t == 7) reinterpret_cast<signed char volatile*>(own)[8] = 99;
    }
};

TEST(Reports, TellBytesOfAWordApart) {
    expectReport<BytesOfAWord>("race", "global memory is written and written by threads", {});
}

struct BytesThenTheirWord {
    static GPU_DEVICE void run(int* data, unsigned int t) {
        auto* const own = reinterpret_cast<signed char*>(data + blockIdx.x * numThreads);
        if (t < 4) own[t] = static_cast<signed char>(t + 100);
        if (t == 4) data[blockIdx.x * numThreads] = 0;
    }
};

TEST(Reports, TellOfAWordThatIsWrittenOverItsBytes) {
    expectReport<BytesThenTheirWord>("race", "written and written", {});
}

struct TwoBlocks {
    static constexpr int line = __LINE__ + 2;
    static GPU_DEVICE void run(int* data, unsigned int t) {
        if (t == 9) data[0] = 10 + static_cast<int>(blockIdx.x);
    }
};

TEST(Reports, TellOfTwoBlocksThatWriteOneValue) {
    expectReport<TwoBlocks>("race", "two blocks", {TwoBlocks::line});
}

struct PlainBesideAtomic {
    static constexpr int line = __LINE__ + 2;
    static GPU_DEVICE void run(int*, unsigned int t) {
        if (t == 5) flag = 1000 + blockIdx.x;
        if (t == 6) backend::atomicAnd(flag, blockIdx.x);
    }
};

TEST(Reports, TellOfAPlainAccessBesideAtomicOnes) {
    expectReport<PlainBesideAtomic>("race", "written and written", {PlainBesideAtomic::line});
}

struct EqualWrites {
    static constexpr int line = __LINE__ + 1;
    static GPU_DEVICE void run(int* data, unsigned int) { data[0] = 7; }
};

TEST(Reports, TellRacesApartThatChangeNothing) {
    expectReport<EqualWrites>(harmlessRace, "written and written", {EqualWrites::line});
}

// --- Memory. ---

struct UnwrittenTile {
    static constexpr int line = __LINE__ + 5;
    static GPU_DEVICE void run(int* data, unsigned int t) {
        __shared__ int tile[numThreads];
        if (t < 63 && blockIdx.x == 1) tile[t] = 1;
        __syncthreads();
        data[blockIdx.x * numThreads + t] = blockIdx.x == 1 ? tile[t] : 0;
    }
};

TEST(Reports, TellOfSharedMemoryThatTheBlockHasNotWritten) {
    expectReport<UnwrittenTile>("unwritten", "shared memory", {UnwrittenTile::line});
}

struct TileOfTheBlockBefore {
    static GPU_DEVICE void run(int* data, unsigned int t) {
        __shared__ int tile[numThreads];
        int* const own = data + blockIdx.x * numThreads;
        // The block that runs first writes all.
        if (flag == 0) tile[t] = own[t];
        __syncthreads();
        own[t] = tile[t];
        __syncthreads();
        if (t == 0) flag = 1;
    }
};

TEST(Reports, TellOfSharedMemoryThatOnlyABlockBeforeHasWritten) {
    unsigned int const zero = 0;
    ASSERT_EQ(cudaSuccess, cudaMemcpyToSymbol(flag, &zero, sizeof zero));
    auto const reports = reportsOf<TileOfTheBlockBefore>();
    auto const isUnwritten = [](Report const& report) { return report.kind == "unwritten"; };
    EXPECT_EQ(1, std::count_if(reports.begin(), reports.end(), isUnwritten));
}

struct WrittenConstant {
    static constexpr int line = __LINE__ + 2;
    static GPU_DEVICE void run(int* data, unsigned int t) {
        if (t == 1) limit = data[0];
    }
};

TEST(Reports, TellOfConstantMemoryThatIsWritten) {
    expectReport<WrittenConstant>("memory", "constant memory", {WrittenConstant::line});
}

struct PastTheEnd {
    static constexpr int line = __LINE__ + 3;
    static GPU_DEVICE void run(int* data, unsigned int t) {
        int* const own = data + blockIdx.x * numThreads;
        own[t] = own[t == 63 && blockIdx.x == 1 ? 2000 : t];
    }
};

TEST(Reports, TellOfMemoryThatIsNotTheDevices) {
    expectReport<PastTheEnd>("memory", "neither the device's nor the thread's own", {PastTheEnd::line});
    std::vector<int> ofTheHost(numBlocks * numThreads);
    auto const reports = reportsOf<WarpNeighbours>(ofTheHost.data());
    ASSERT_EQ(1u, reports.size());
    EXPECT_EQ("memory", reports[0].kind);
    EXPECT_EQ(numBlocks * numThreads, reports[0].count);
}

struct VariableOfAnotherThread {
    static constexpr int line = __LINE__ + 7;
    static GPU_DEVICE void run(int* data, unsigned int t) {
        __shared__ int* pointer;
        int own = data[t];
        if (t == 0) pointer = &own;
        __syncthreads();
        int* const other = pointer;
        data[blockIdx.x * numThreads + t] = *other;
        __syncthreads();
    }
};

TEST(Reports, TellOfAVariableOfAnotherThread) {
    auto const reports = reportsOf<VariableOfAnotherThread>();
    auto const isMemory = [](Report const& report) { return report.kind == "memory"; };
    auto const found = std::find_if(reports.begin(), reports.end(), isMemory);
    ASSERT_NE(reports.end(), found);
    EXPECT_NE(std::string::npos, found->place.find(std::to_string(VariableOfAnotherThread::line)));
}

// --- The end. ---

TEST(Reports, MakeTheProcessFail) {
    auto const end = [](int* data, auto program) {
        void* arguments[] = {&data};
        backend::launch<&kernel<decltype(program)>>(dim3(numBlocks), dim3(numThreads), arguments, nullptr, 0);
        std::exit(EXIT_SUCCESS);
    };
    DeviceArray<int> data(ascendingData());
    EXPECT_EXIT(end(data.data(), TwoBlocks{}), ::testing::ExitedWithCode(EXIT_FAILURE), "race: .*two blocks");
    EXPECT_EXIT(end(data.data(), EqualWrites{}), ::testing::ExitedWithCode(EXIT_SUCCESS), "harmless race");
    EXPECT_EXIT(end(data.data(), Reversal{}), ::testing::ExitedWithCode(EXIT_SUCCESS), "^$");
}

}  // namespace
}  // namespace gpuruntime::fibers

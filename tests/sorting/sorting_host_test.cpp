// Failures, the order of runtime calls and numbers of threads, on the host device.

#include <gtest/gtest.h>
#include <tbb/task_arena.h>
#include <gpuruntime/sorting.hpp>

#include <functional>
#include <host_device.hpp>

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

#include "tests/sorting/reference.hpp"
#include "thrust.hpp"

namespace gpuruntime::testing {
namespace {

#ifdef __SANITIZE_ADDRESS__
/// What is allocated while it lives is not reported as a leak.
using LeakExpected = __lsan::ScopedDisabler;
#else
struct LeakExpected {};
#endif

using hostdevice::Call;
using hostdevice::Recording;

std::vector<std::string> names(std::vector<Call> const& calls) {
    std::vector<std::string> result;
    for (Call const& call : calls) result.push_back(call.name);
    return result;
}

/// Allocations that have not been released, in a recording of calls that succeeded.
long numLeft(std::vector<Call> const& calls) {
    long left = 0;
    for (Call const& call : calls) {
        if (call.status != cudaSuccess) continue;
        left += (call.name == "cudaMalloc") - (call.name == "cudaFree");
    }
    return left;
}

/// Fails each allocation of a sort in turn, and checks what each failure leaves. `numEmptyFrees` releases of
/// no memory end a sort that succeeds.
void failEachAllocation(
    std::function<void()> const& sort, std::function<void()> const& check = [] {}, long numEmptyFrees = 0) {
    for (unsigned int after = 0;; ++after) {
        ASSERT_LT(after, 1000u);
        hostdevice::failNextCall("cudaMalloc", cudaErrorMemoryAllocation, after);
        Recording const recording;
        bool thrown = false;
        try {
            sort();
        } catch (thrust::system::detail::bad_alloc const&) {
            thrown = true;
        }
        EXPECT_EQ(thrown ? 0 : -numEmptyFrees, numLeft(recording.calls()));
        EXPECT_EQ(thrown ? cudaErrorMemoryAllocation : cudaSuccess, cudaGetLastError());
        bool const reached = hostdevice::clearFailures() == 0;
        EXPECT_EQ(reached, thrown);
        check();
        if (::testing::Test::HasFailure()) return;
        if (!reached) {
            EXPECT_GT(after, 0u);
            return;
        }
    }
}

TEST(SortFailures, EveryFailedAllocationThrowsAndLeavesNothingBehind) {
    for (unsigned long n : {100ul, 70000ul}) {
        for (bool hasNaN : {false, true}) {
            Elements<double> const values = makeValues<double>(Pattern::special, n, hasNaN);
            DeviceArray<double> data(values), indices(runningIndices(n));
            DeviceArray<int> columnIds(std::vector<int>(n, 1));
            failEachAllocation([&] {
                data.set(values);
                SortVector::Invoker<double>()(data.data(), nullptr, n, true, hasNaN);
            });
            failEachAllocation([&] {
                data.set(values);
                SortVector::Invoker<double>()(data.data(), indices.data(), n, false, hasNaN);
            });
            failEachAllocation([&] {
                data.set(values);
                SortMatrix::Invoker<double>()(data.data(), columnIds.data(), n, true, hasNaN);
            });
            failEachAllocation([&] {
                data.set(values);
                SortMatrixIndex::Invoker<double>()(data.data(), indices.data(), columnIds.data(), n, true,
                                                   hasNaN);
            });
            failEachAllocation([&] { SimpleSort::Invoker<double>()(data.data(), n); });
        }
    }
}

/// Expects `indices` to hold 1 to n, and each element of `after` to be the one of `before` that its index
/// names.
template <class E>
void expectMovedBy(std::vector<double> indices, std::vector<E> const& before, std::vector<E> const& after) {
    std::vector<unsigned long> positions;
    for (double index : indices) positions.push_back(static_cast<unsigned long>(index) - 1);
    std::sort(indices.begin(), indices.end());
    ASSERT_TRUE(indices == runningIndices(before.size()));
    expectSameBits(permuted(before, positions), after);
}

/// The labels, each with the bits of its value, in an order of no meaning.
template <class T>
std::vector<std::pair<int, std::string>> labelled(std::vector<int> const& labels, Elements<T> const& values) {
    std::vector<std::pair<int, std::string>> pairs;
    for (std::size_t i = 0; i < labels.size(); ++i)
        pairs.emplace_back(labels[i], std::string(reinterpret_cast<char const*>(&values[i]), sizeof(T)));
    std::sort(pairs.begin(), pairs.end());
    return pairs;
}

/// Fails sorts whose ties are settled in several parts.
template <class T>
void expectNoValueLostFromVector(Pattern pattern) {
    unsigned long const n = 70000;
    DeviceArray<T> data(n);
    DeviceArray<double> indices(n);
    for (bool hasNaN : {false, true}) {
        auto const values = makeValues<T>(pattern, n, hasNaN);
        failEachAllocation(
            [&] {
                data.set(values);
                indices.set(runningIndices(n));
                SortVector::Invoker<T>()(data.data(), indices.data(), n, hasNaN, hasNaN);
            },
            [&] { expectMovedBy(indices.values(), values, data.values()); });
    }
}

/// Fails sorts of a matrix whose columns are taken apart.
template <class T>
void expectNoValueLostFromMatrix() {
    unsigned long const n = 3000;
    auto const values = makeValues<T>(Pattern::special, n, true);
    std::vector<int> labels;
    for (unsigned long i = 0; i < n; ++i) labels.push_back(static_cast<int>(i % 29));
    DeviceArray<T> data(values);
    DeviceArray<double> indices(runningIndices(n));
    DeviceArray<int> columnIds(labels);
    failEachAllocation(
        [&] {
            data.set(values);
            columnIds.set(labels);
            SortMatrix::Invoker<T>()(data.data(), columnIds.data(), n, true, true);
        },
        [&] { EXPECT_TRUE(labelled<T>(labels, values) == labelled<T>(columnIds.values(), data.values())); });
    failEachAllocation(
        [&] {
            data.set(values);
            indices.set(runningIndices(n));
            columnIds.set(labels);
            SortMatrixIndex::Invoker<T>()(data.data(), indices.data(), columnIds.data(), n, false, true);
        },
        [&] {
            expectMovedBy(indices.values(), values, data.values());
            expectMovedBy(indices.values(), labels, columnIds.values());
        });
}

TEST(SortFailures, AFailedSortLosesNoValue) {
    expectNoValueLostFromVector<double>(Pattern::special);
    expectNoValueLostFromVector<double2>(Pattern::few);
    expectNoValueLostFromMatrix<double>();
    expectNoValueLostFromMatrix<double2>();
}

TEST(SortFailures, AFailedSortOfRowsLosesNoRow) {
    unsigned long const numRows = 70000;
    DeviceArray<double> matrix(makeValues<double>(Pattern::few, numRows, true));
    std::vector<unsigned int> rows(numRows);
    std::iota(rows.rbegin(), rows.rend(), 1u);
    DeviceArray<unsigned int> rowIndices(rows);
    double const descending = -1;
    failEachAllocation(
        [&] {
            rowIndices.set(rows);
            EXPECT_EQ(cudaSuccess, SortrowsIndex::Invoker<double>()(matrix.data(), rowIndices.data(), numRows,
                                                                    1, &descending));
        },
        [&] {
            auto left = rowIndices.values();
            std::sort(left.begin(), left.end(), std::greater<>());
            EXPECT_TRUE(left == rows);
        },
        1);
}

TEST(SortFailures, SmallSortsTakeNoMemory) {
    DeviceArray<double> data{1}, indices{1};
    DeviceArray<int> columnIds{1};
    Recording const recording;
    SortVector::Invoker<double>()(data.data(), indices.data(), 1, true, false);
    SortMatrix::Invoker<double>()(data.data(), columnIds.data(), 0, true, false);
    SortMatrixIndex::Invoker<double>()(data.data(), indices.data(), columnIds.data(), 1, true, false);
    SimpleSort::Invoker<double>()(data.data(), 0);
    EXPECT_TRUE(recording.calls().empty());
}

TEST(Sorts, AnyNumberOfThreadsGivesTheSameResult) {
    // Enough for eight chunks besides the NaNs.
    unsigned long const n = 600001;
    for (Pattern pattern : {Pattern::random, Pattern::special, Pattern::few, Pattern::close}) {
        auto const values = makeValues<double>(pattern, n, true);
        auto const alone =
            permuted(values, sortedPositions<double>(values, true, true, Zeros::negativeFirst));
        auto const order = sortedPositions<double>(values, false, true, Zeros::equal);
        for (int numThreads : {1, 2, 3, 8}) {
            SCOPED_TRACE(numThreads);
            DeviceArray<double> data(values), carrying(values), indices(runningIndices(n));
            tbb::task_arena arena(numThreads);
            arena.execute([&] {
                SortVector::Invoker<double>()(data.data(), nullptr, n, true, true);
                SortVector::Invoker<double>()(carrying.data(), indices.data(), n, false, true);
            });
            expectSameBits(alone, data.values());
            expectSameBits(permuted(values, order), carrying.values());
            expectSameBits(permuted(runningIndices(n), order), indices.values());
        }
    }
}

// --- SortrowsIndex. ---

class SortRowsCalls : public ::testing::Test {
  protected:
    ~SortRowsCalls() override {
        EXPECT_EQ(0u, hostdevice::clearFailures());
        cudaGetLastError();
    }

    int sort(unsigned long numRows, std::vector<double> const& order) {
        return SortrowsIndex::Invoker<double>()(matrix.data(), rows.data(), numRows, order.size(),
                                                order.data());
    }

    /// A list that needs the overflow buffer.
    static std::vector<double> longOrder() { return std::vector<double>(1025, 1.0); }

    bool sorted() const { return rows.values() == std::vector<unsigned int>{4, 3, 2, 1}; }
    bool unsorted() const { return rows.values() == std::vector<unsigned int>{1, 2, 3, 4}; }

    DeviceArray<double> matrix{9, 8, 7, 6};
    DeviceArray<unsigned int> rows{1, 2, 3, 4};
};

TEST_F(SortRowsCalls, ScalarsThenTheListAreCopiedBeforeTheSort) {
    Recording const recording;
    EXPECT_EQ(cudaSuccess, sort(1, {1, -1}));
    auto const calls = recording.calls();
    ASSERT_EQ(5u, calls.size());
    std::vector<std::string> const symbols{"SortRowsNumRows", "SortRowsNumColsToSort",
                                           "SortRowsSortOrderSpecified", "SortRowsCols"};
    std::vector<std::size_t> const bytes{4, 4, 1, 16};
    for (std::size_t i = 0; i < symbols.size(); ++i) {
        EXPECT_EQ("cudaMemcpyToSymbol", calls[i].name);
        EXPECT_EQ(symbols[i], calls[i].symbol);
        EXPECT_EQ(bytes[i], calls[i].bytes);
    }
    EXPECT_EQ("cudaFree", calls[4].name);
}

TEST_F(SortRowsCalls, WithoutAListOnlyTheScalarsAreCopied) {
    Recording const recording;
    EXPECT_EQ(cudaSuccess, SortrowsIndex::Invoker<double>()(matrix.data(), rows.data(), 0, 1, nullptr));
    EXPECT_EQ((std::vector<std::string>{"cudaMemcpyToSymbol", "cudaMemcpyToSymbol", "cudaMemcpyToSymbol",
                                        "cudaFree"}),
              names(recording.calls()));
}

TEST_F(SortRowsCalls, ALongListGoesToABufferThatIsReleased) {
    Recording const recording;
    EXPECT_EQ(cudaSuccess, sort(1, longOrder()));
    auto const calls = recording.calls();
    EXPECT_EQ((std::vector<std::string>{"cudaMemcpyToSymbol", "cudaMemcpyToSymbol", "cudaMemcpyToSymbol",
                                        "cudaMemcpyToSymbol", "cudaMalloc", "cudaMemcpy", "cudaFree"}),
              names(calls));
    EXPECT_EQ(8192u, calls[3].bytes);
    EXPECT_EQ(8u, calls[4].bytes);
    EXPECT_EQ(8u, calls[5].bytes);
}

TEST_F(SortRowsCalls, AListOf1024NeedsNoBuffer) {
    {
        Recording const recording;
        EXPECT_EQ(cudaSuccess, sort(1, std::vector<double>(1024, 1.0)));
        auto const calls = recording.calls();
        EXPECT_EQ((std::vector<std::string>{"cudaMemcpyToSymbol", "cudaMemcpyToSymbol", "cudaMemcpyToSymbol",
                                            "cudaMemcpyToSymbol", "cudaFree"}),
                  names(calls));
        EXPECT_EQ(8192u, calls[3].bytes);
    }
    Recording const recording;
    EXPECT_EQ(cudaSuccess, sort(1, std::vector<double>(1100, 1.0)));
    auto const calls = recording.calls();
    ASSERT_EQ(7u, calls.size());
    EXPECT_EQ("cudaMalloc", calls[4].name);
    EXPECT_EQ(608u, calls[4].bytes);
    EXPECT_EQ("cudaMemcpy", calls[5].name);
    EXPECT_EQ(608u, calls[5].bytes);
}

TEST_F(SortRowsCalls, TheFirstFailedScalarIsTheStatusAndAllAreCopied) {
    for (unsigned int failing = 0; failing < 3; ++failing) {
        hostdevice::failNextCall("cudaMemcpyToSymbol", cudaErrorUnknown, failing);
        if (failing < 2) hostdevice::failNextCall("cudaMemcpyToSymbol", cudaErrorNotReady, 2);
        Recording const recording;
        EXPECT_EQ(cudaErrorUnknown, sort(4, {1}));
        EXPECT_EQ(3u, recording.calls().size());
        EXPECT_TRUE(unsorted());
    }
}

TEST_F(SortRowsCalls, AFailedListSkipsTheSortAndIsNotReported) {
    hostdevice::failNextCall("cudaMemcpyToSymbol", cudaErrorUnknown, 3);
    EXPECT_EQ(cudaSuccess, sort(4, {1}));
    EXPECT_TRUE(unsorted());
    hostdevice::failNextCall("cudaMemcpyToSymbol", cudaErrorUnknown, 3);
    EXPECT_EQ(cudaSuccess, sort(4, longOrder()));
    EXPECT_TRUE(unsorted());
    for (char const* call : {"cudaMalloc", "cudaMemcpy"}) {
        hostdevice::failNextCall(call, cudaErrorMemoryAllocation);
        Recording const recording;
        EXPECT_EQ(cudaSuccess, sort(4, longOrder()));
        EXPECT_EQ("cudaFree", recording.calls().back().name);
        EXPECT_EQ(0, numLeft(recording.calls()) + (std::string(call) == "cudaMalloc" ? 1 : 0));
    }
    EXPECT_TRUE(unsorted());
    EXPECT_EQ(cudaSuccess, sort(4, longOrder()));
    EXPECT_TRUE(sorted());
}

TEST_F(SortRowsCalls, TheStatusOfTheLastReleaseIsReported) {
    hostdevice::failNextCall("cudaFree", cudaErrorUnknown);
    EXPECT_EQ(cudaErrorUnknown, sort(1, {1}));
    // Also where the list could not be copied.
    hostdevice::failNextCall("cudaMemcpyToSymbol", cudaErrorNotReady, 3);
    hostdevice::failNextCall("cudaFree", cudaErrorUnknown);
    EXPECT_EQ(cudaErrorUnknown, sort(4, {1}));
    EXPECT_TRUE(unsorted());
}

TEST_F(SortRowsCalls, AnExceptionLeavesTheOverflowBufferAllocated) {
    hostdevice::failNextCall("cudaMalloc", cudaErrorMemoryAllocation, 1);
    Recording const recording;
    {
        [[maybe_unused]] LeakExpected const expected{};
        EXPECT_THROW(sort(4, longOrder()), thrust::system::detail::bad_alloc);
    }
    EXPECT_EQ(1, numLeft(recording.calls()));
    hostdevice::failNextCall("cudaMalloc", cudaErrorMemoryAllocation);
    EXPECT_THROW(sort(4, {1}), std::bad_alloc);
    EXPECT_EQ(1, numLeft(recording.calls()));
}

// --- IsSortedVector and IsStronglySortedVector. ---

using Verdict = std::function<bool(CUstream_st*, double const*, unsigned long)>;

class IsSortedCalls : public ::testing::Test {
  protected:
    ~IsSortedCalls() override {
        EXPECT_EQ(0u, hostdevice::clearFailures());
        cudaGetLastError();
    }

    std::vector<Verdict> const families{[](CUstream_st* stream, double const* data, unsigned long n) {
                                            return IsSortedVector::Invoker<double>()(stream, data, n);
                                        },
                                        [](CUstream_st* stream, double const* data, unsigned long n) {
                                            return IsStronglySortedVector::Invoker<double>()(stream, data, n);
                                        }};
    DeviceArray<double> data{2, 1, 3};
};

TEST_F(IsSortedCalls, TheFlagGoesOutAndComesBackOnTheCallersStream) {
    cudaStream_t stream;
    ASSERT_EQ(cudaSuccess, cudaStreamCreate(&stream));
    for (Verdict const& family : families) {
        Recording const recording;
        EXPECT_FALSE(family(stream, data.data(), 3));
        auto const calls = recording.calls();
        EXPECT_EQ(
            (std::vector<std::string>{"cudaMemcpyToSymbolAsync", "cudaFuncGetAttributes", "cudaLaunchKernel",
                                      "cudaMemcpyFromSymbolAsync", "cudaStreamSynchronize"}),
            names(calls));
        for (std::size_t i : {0u, 3u}) {
            EXPECT_EQ("D_ISSORTED_FLAG", calls[i].symbol);
            EXPECT_EQ(4u, calls[i].bytes);
        }
        for (std::size_t i : {0u, 2u, 3u, 4u}) EXPECT_EQ(stream, calls[i].stream);
        EXPECT_NE(std::string::npos, recording.launches()[0].kernel.find("IsSortedKernel"));
    }
    EXPECT_EQ(cudaSuccess, cudaStreamDestroy(stream));
}

TEST_F(IsSortedCalls, NothingIsNotLaunched) {
    for (Verdict const& family : families) {
        Recording const recording;
        EXPECT_TRUE(family(nullptr, data.data(), 0));
        EXPECT_EQ((std::vector<std::string>{"cudaMemcpyToSymbolAsync", "cudaMemcpyFromSymbolAsync",
                                            "cudaStreamSynchronize"}),
                  names(recording.calls()));
    }
}

TEST_F(IsSortedCalls, OneElementIsLaunched) {
    for (Verdict const& family : families) {
        Recording const recording;
        EXPECT_TRUE(family(nullptr, data.data(), 1));
        auto const launches = recording.launches();
        ASSERT_EQ(1u, launches.size());
        dim3 const grid = launches[0].grid, block = launches[0].block;
        EXPECT_EQ((std::vector<unsigned int>{1, 1, 1}), (std::vector<unsigned int>{grid.x, grid.y, grid.z}));
        EXPECT_EQ((std::vector<unsigned int>{256, 1, 1}),
                  (std::vector<unsigned int>{block.x, block.y, block.z}));
    }
}

TEST_F(IsSortedCalls, AFailedCallReadsAsSorted) {
    struct Failure {
        char const* call;
        std::size_t numCalls;
    };
    for (Verdict const& family : families) {
        for (Failure const& failure :
             {Failure{"cudaMemcpyToSymbolAsync", 1}, Failure{"cudaMemcpyFromSymbolAsync", 4},
              Failure{"cudaStreamSynchronize", 5}, Failure{"cudaLaunchKernel", 5}}) {
            hostdevice::failNextCall(failure.call, cudaErrorUnknown);
            Recording const recording;
            EXPECT_TRUE(family(nullptr, data.data(), 3)) << failure.call;
            EXPECT_EQ(failure.numCalls, recording.calls().size()) << failure.call;
        }
        EXPECT_FALSE(family(nullptr, data.data(), 3));
    }
}

}  // namespace
}  // namespace gpuruntime::testing

#include <tbb/task_arena.h>
#include <gpuruntime/accumulation.hpp>
#include <gpuruntime/reductions.hpp>

#include <algorithm>
#include <functional>
#include <host_device.hpp>
#include <limits>
#include <string>

#include "tests/reduction/shapes.hpp"
#include "tests/support/device_array.hpp"

namespace gpuruntime::testing {
namespace {

using hostdevice::Recording;

/// A call of one family, on 400 elements at most.
struct Case {
    std::string name;
    std::function<cudaError(CUstream_st*, unsigned long length, unsigned long stride)> call;
};

class ReductionCalls : public ::testing::Test {
  protected:
    static constexpr unsigned long size = 400;

    ReductionCalls() {
        addReduction<SumNative>("SumNative", out);
        addReduction<SumAsDouble>("SumAsDouble", out);
        addReduction<ProdNative>("ProdNative", out);
        addReduction<ProdAsDouble>("ProdAsDouble", out);
        addReduction<All>("All", flags);
        addReduction<Any>("Any", flags);
        addReduction<Max>("Max", out);
        addReduction<Min>("Min", out);
        addReduction<MaxUniqueTol>("MaxUniqueTol", out);
        addIndexed<MaxWithIndex>("MaxWithIndex");
        addIndexed<MinWithIndex>("MinWithIndex");
        addContiguous<CountNonZero>("CountNonZero", out);
        addContiguous<HasInf>("HasInf", flags);
        addContiguous<HasNaN>("HasNaN", flags);
        addContiguous<HasNaNOrInf>("HasNaNOrInf", flags);
        addScan<CumSum, CumSumAdjust>("CumSum");
        addScan<CumProd, CumProdAdjust>("CumProd");
        addScan<CumMax, CumMaxAdjust>("CumMax");
        addScan<CumMin, CumMinAdjust>("CumMin");
    }

    ~ReductionCalls() override { EXPECT_EQ(0u, hostdevice::clearFailures()); }

    static bool isScan(Case const& c) { return c.name.rfind("Cum", 0) == 0; }
    static bool takesStride(Case const& c) { return c.name.rfind("Has", 0) != 0 && c.name != "CountNonZero"; }

    bool nothingWritten() const { return out.untouched() && outIndex.untouched() && flags.untouched(); }

    std::vector<Case> cases;
    DeviceArray<double> in = DeviceArray<double>(Elements<double>(size, 2.0));
    DeviceArray<double> out = DeviceArray<double>(size), outIndex = DeviceArray<double>(size);
    DeviceArray<bool> flags = DeviceArray<bool>(size);

  private:
    template <class Family, class Output>
    void addReduction(char const* name, Output& output) {
        cases.push_back(
            {name, [this, &output](CUstream_st* stream, unsigned long length, unsigned long stride) {
                 return typename Family::template Invoker<double>()(stream, output.data(), in.data(), size,
                                                                    length, stride, true);
             }});
    }

    template <class Family>
    void addIndexed(char const* name) {
        cases.push_back({name, [this](CUstream_st* stream, unsigned long length, unsigned long stride) {
                             return typename Family::template Invoker<double>()(
                                 stream, out.data(), outIndex.data(), in.data(), size, length, 1, stride,
                                 true);
                         }});
    }

    template <class Family, class Output>
    void addContiguous(char const* name, Output& output) {
        cases.push_back({name, [this, &output](CUstream_st* stream, unsigned long length, unsigned long) {
                             return typename Family::template Invoker<double>()(stream, output.data(),
                                                                                in.data(), size, length);
                         }});
    }

    template <class Family, class AdjustFamily>
    void addScan(std::string const& name) {
        cases.push_back({name, [this](CUstream_st* stream, unsigned long length, unsigned long stride) {
                             return typename Family::template Invoker<double>()(stream, out.data(), in.data(),
                                                                                size, length, stride);
                         }});
        cases.push_back(
            {name + "Adjust", [this](CUstream_st* stream, unsigned long length, unsigned long stride) {
                 return typename AdjustFamily::template Invoker<double>()(stream, out.data(), in.data(), size,
                                                                          length, 2, stride);
             }});
    }
};

std::vector<std::string> namesOf(std::vector<hostdevice::Call> const& calls) {
    std::vector<std::string> names;
    for (auto const& call : calls) names.push_back(call.name);
    return names;
}

using Names = std::vector<std::string>;

TEST_F(ReductionCalls, AskForAttributesBeforeABlockPerSegmentAndLaunchOnce) {
    cudaStream_t stream;
    ASSERT_EQ(cudaSuccess, cudaStreamCreate(&stream));
    for (Case const& c : cases) {
        SCOPED_TRACE(c.name);
        {
            Recording recording;
            EXPECT_EQ(cudaSuccess, c.call(stream, 200, 1));
            EXPECT_EQ((Names{"cudaFuncGetAttributes", "cudaLaunchKernel"}), namesOf(recording.calls()));
            ASSERT_EQ(1u, recording.launches().size());
            EXPECT_EQ(stream, recording.launches()[0].stream);
            EXPECT_EQ(2u, recording.launches()[0].grid.x);
        }
        if (!takesStride(c)) continue;
        Recording recording;
        EXPECT_EQ(cudaSuccess, c.call(stream, 2, 5));
        EXPECT_EQ(Names{"cudaLaunchKernel"}, namesOf(recording.calls()));
        EXPECT_EQ(40u, recording.launches()[0].grid.y);
        EXPECT_EQ(stream, recording.launches()[0].stream);
    }
    EXPECT_EQ(cudaSuccess, cudaStreamDestroy(stream));
}

TEST_F(ReductionCalls, ReturnTheStatusOfAFailedLaunchAndWriteNothing) {
    for (Case const& c : cases) {
        SCOPED_TRACE(c.name);
        hostdevice::failNextCall("cudaLaunchKernel", cudaErrorLaunchOutOfResources);
        EXPECT_EQ(cudaErrorLaunchOutOfResources, c.call(nullptr, 200, 1));
        hostdevice::failNextCall("cudaLaunchKernel", cudaErrorInvalidValue);
        EXPECT_EQ(cudaErrorInvalidValue, c.call(nullptr, 4, 1));
        if (!takesStride(c)) continue;
        hostdevice::failNextCall("cudaLaunchKernel", cudaErrorInvalidConfiguration);
        EXPECT_EQ(cudaErrorInvalidConfiguration, c.call(nullptr, 2, 5));
    }
    EXPECT_TRUE(nothingWritten());
    expectSameBits(Elements<double>(size, 2.0), in.values());
    cudaGetLastError();
}

TEST_F(ReductionCalls, DoNotMindFailedAttributes) {
    for (Case const& c : cases) {
        SCOPED_TRACE(c.name);
        Recording recording;
        hostdevice::failNextCall("cudaFuncGetAttributes", cudaErrorInvalidDeviceFunction);
        EXPECT_EQ(cudaSuccess, c.call(nullptr, 200, 1));
        EXPECT_EQ(1u, recording.launches().size());
    }
    cudaGetLastError();
}

TEST_F(ReductionCalls, LaunchNothingForAnExtentOfZero) {
    Recording recording;
    for (Case const& c : cases) {
        SCOPED_TRACE(c.name);
        if (!isScan(c)) {
            EXPECT_EQ(cudaSuccess, c.call(nullptr, 0, 1));
        }
        if (!takesStride(c)) continue;
        EXPECT_EQ(cudaSuccess, c.call(nullptr, 0, 2));
        EXPECT_EQ(cudaSuccess, c.call(nullptr, 2, 0));
        EXPECT_EQ(cudaSuccess, c.call(nullptr, size, 2));  // no whole slice
    }
    EXPECT_TRUE(recording.calls().empty());
    EXPECT_TRUE(nothingWritten());
}

TEST_F(ReductionCalls, OfAnEmptyArrayLaunchOneBlockThatWritesNothing) {
    Recording recording;
    EXPECT_EQ(cudaSuccess, SumNative::Invoker<double>()(nullptr, out.data(), in.data(), 0, 4, 1, true));
    EXPECT_EQ(cudaSuccess, SumNative::Invoker<double>()(nullptr, out.data(), in.data(), 0, 200, 1, true));
    EXPECT_EQ(cudaSuccess, CumSum::Invoker<double>()(nullptr, out.data(), in.data(), 0, 0, 1));
    EXPECT_EQ(cudaSuccess, CumSumAdjust::Invoker<double>()(nullptr, out.data(), in.data(), 0, 0, 2, 1));
    ASSERT_EQ(4u, recording.launches().size());
    for (auto const& launch : recording.launches()) {
        EXPECT_EQ(1u, launch.grid.x * launch.grid.y);
    }
    EXPECT_TRUE(nothingWritten());
}

TEST_F(ReductionCalls, OfIndexFormsScansAndAdjustmentsTakeTheirOwnKernels) {
    struct {
        char const* name;
        unsigned long length, stride;
        char const* kernel;
        dim3 grid, block;
    } const expectations[] = {
        {"MaxWithIndex", 128, 1, "SegmentedIndexReduceSmallKernel", {1, 2}, {128, 2}},
        {"MaxWithIndex", 129, 1, "SegmentedIndexReduceKernel", {4, 1}, {256, 1}},
        {"MaxWithIndex", 1, 300, "StridedIndexReduceKernel", {2, 1}, {256, 1}},
        {"CumSum", 4, 1, "SegmentedAccumulateKernel", {100, 1}, {128, 1}},
        {"CumSum", 1, 300, "StridedAccumulateKernel", {3, 1}, {128, 1}},
        {"CumSumAdjust", 4, 1, "SegmentedAdjustKernel", {100, 1}, {128, 1}},
        {"CumSumAdjust", 1, 300, "StridedAdjustKernel", {3, 1}, {128, 1}},
    };
    for (auto const& expected : expectations) {
        SCOPED_TRACE(expected.kernel);
        auto const isMeant = [&](Case const& c) { return c.name == expected.name; };
        Recording recording;
        EXPECT_EQ(cudaSuccess, std::find_if(cases.begin(), cases.end(), isMeant)
                                   ->call(nullptr, expected.length, expected.stride));
        ASSERT_EQ(1u, recording.launches().size());
        auto const launch = recording.launches()[0];
        EXPECT_NE(std::string::npos, launch.kernel.find(expected.kernel)) << launch.kernel;
        EXPECT_EQ(expected.grid.x, launch.grid.x);
        EXPECT_EQ(expected.grid.y, launch.grid.y);
        EXPECT_EQ(expected.block.x, launch.block.x);
        EXPECT_EQ(expected.block.y, launch.block.y);
    }
}

/// The one launch of a sum of 400 elements.
hostdevice::Launch launchOf(unsigned long length, unsigned long stride = 1) {
    DeviceArray<double> in(Elements<double>(400, 1.0)), out(400);
    Recording recording;
    EXPECT_EQ(cudaSuccess,
              SumNative::Invoker<double>()(nullptr, out.data(), in.data(), 400, length, stride, true));
    return recording.launches().at(0);
}

TEST(ReductionDispatch, SharesABlockAmongSegmentsOfUpTo128) {
    struct {
        unsigned long length;
        unsigned int threadsX, segmentsPerBlock;
    } const expectations[] = {{1, 1, 256}, {2, 2, 128}, {3, 4, 64},   {4, 4, 64},
                              {5, 8, 32},  {64, 64, 4}, {65, 128, 2}, {128, 128, 2}};
    for (auto const& expected : expectations) {
        auto const launch = launchOf(expected.length);
        EXPECT_NE(std::string::npos, launch.kernel.find("SegmentedReduceSmallKernel")) << launch.kernel;
        EXPECT_EQ(expected.threadsX, launch.block.x) << expected.length;
        EXPECT_EQ(expected.segmentsPerBlock, launch.block.y) << expected.length;
        unsigned long const segments = (400 + expected.length - 1) / expected.length;
        EXPECT_EQ((segments + expected.segmentsPerBlock - 1) / expected.segmentsPerBlock, launch.grid.y);
        EXPECT_EQ(1u, launch.grid.x);
    }
}

TEST(ReductionDispatch, GivesLongerSegmentsABlockEach) {
    auto const launch = launchOf(129);
    EXPECT_NE(std::string::npos, launch.kernel.find("SegmentedReduceKernel")) << launch.kernel;
    EXPECT_EQ(256u, launch.block.x);
    EXPECT_EQ(4u, launch.grid.x);
}

TEST(ReductionDispatch, GivesEachResultAlongAStrideAThread) {
    auto const launch = launchOf(4, 5);
    EXPECT_NE(std::string::npos, launch.kernel.find("StridedReduceKernel")) << launch.kernel;
    EXPECT_EQ(256u, launch.block.x);
    EXPECT_EQ(1u, launch.grid.x);
    EXPECT_EQ(20u, launch.grid.y);
}

template <class T>
void expectNoCast() {
    DeviceArray<T> in(Elements<T>(2)), out(1);
    Recording recording;
    EXPECT_EQ(cudaSuccess, SumAsDouble::Invoker<T>()(nullptr, out.data(), in.data(), 2, 2, 1, true));
    EXPECT_EQ(cudaSuccess, ProdAsDouble::Invoker<T>()(nullptr, out.data(), in.data(), 2, 2, 1, true));
    ASSERT_EQ(2u, recording.launches().size());
    for (auto const& launch : recording.launches()) {
        EXPECT_EQ(std::string::npos, launch.kernel.find("Cast")) << launch.kernel;
        EXPECT_NE(std::string::npos, launch.kernel.find("NoOp")) << launch.kernel;
    }
}

TEST(ReductionDispatch, TakesTheNativeFamilyWhereNoCastIsNeeded) {
    expectNoCast<double>();
    expectNoCast<double2>();
}

TEST(ReductionDispatch, OfIntegersHasAKernelForEachMode) {
    DeviceArray<int> in({1, 2}), out(1);
    for (bool includeNaN : {false, true}) {
        Recording recording;
        EXPECT_EQ(cudaSuccess,
                  SumNative::Invoker<int>()(nullptr, out.data(), in.data(), 2, 2, 1, includeNaN));
        EXPECT_EQ(cudaSuccess, Max::Invoker<int>()(nullptr, out.data(), in.data(), 2, 2, 1, includeNaN));
        ASSERT_EQ(2u, recording.launches().size());
        std::string const sum = recording.launches()[0].kernel, max = recording.launches()[1].kernel;
        EXPECT_NE(std::string::npos, sum.find(includeNaN ? "NoOp" : "NaNAsZero")) << sum;
        EXPECT_EQ(includeNaN, max.find("MaxWithNaNs") != std::string::npos) << max;
    }
}

// Division by 0 gives what a GPU gives, and no fault: a group then takes in every segment.
TEST(ReductionDispatch, DoesNotTrapOnGroupsOfNone) {
    DeviceArray<double> in(Elements<double>(400, 1.0)), out(4), outIndex(2);
    EXPECT_EQ(cudaSuccess, MaxWithIndex::Invoker<double>()(nullptr, out.data(), outIndex.data(), in.data(),
                                                           400, 200, 0, 1, true));
    expectSameBits({1.0, 201.0}, outIndex.values());
}

/// Whatever the families make of one vector, as bytes.
template <class T>
class OfOneVector {
  public:
    explicit OfOneVector(Elements<T> const& elements) : n(elements.size()), in(elements) {
        for (bool includeNaN : {true, false}) {
            add<SumNative, T>(includeNaN);
            add<SumAsDouble, detail::AsDouble<T>>(includeNaN);
            add<ProdNative, T>(includeNaN);
            add<ProdAsDouble, detail::AsDouble<T>>(includeNaN);
            add<All, bool>(includeNaN);
            add<Any, bool>(includeNaN);
            if constexpr (hasOrder) {
                add<Max, T>(includeNaN);
                add<Min, T>(includeNaN);
                addWithIndex<MaxWithIndex>(includeNaN);
                addWithIndex<MinWithIndex>(includeNaN);
            }
        }
        addContiguous<CountNonZero, double>();
        if constexpr (std::is_floating_point_v<internal::Part<T>>) {
            addContiguous<HasNaN, bool>();
            addContiguous<HasInf, bool>();
            addContiguous<HasNaNOrInf, bool>();
        }
    }

    std::vector<unsigned char> bytes;

  private:
    static constexpr bool hasOrder =
        !internal::isComplex<T> || std::is_floating_point_v<internal::Part<T>>;  // not of integer pairs

    template <class Family, class TOut>
    void add(bool includeNaN) {
        DeviceArray<TOut> out(1);
        EXPECT_EQ(cudaSuccess, typename Family::template Invoker<T>()(nullptr, out.data(), in.data(), n, n, 1,
                                                                      includeNaN));
        append(out.data());
    }

    template <class Family>
    void addWithIndex(bool includeNaN) {
        DeviceArray<T> out(1);
        DeviceArray<double> outIndex(1);
        EXPECT_EQ(cudaSuccess, typename Family::template Invoker<T>()(nullptr, out.data(), outIndex.data(),
                                                                      in.data(), n, n, 1, 1, includeNaN));
        append(out.data());
        append(outIndex.data());
    }

    template <class Family, class TOut>
    void addContiguous() {
        DeviceArray<TOut> out(1);
        EXPECT_EQ(cudaSuccess, typename Family::template Invoker<T>()(nullptr, out.data(), in.data(), n, n));
        append(out.data());
    }

    template <class V>
    void append(V const* value) {
        auto const* const first = reinterpret_cast<unsigned char const*>(value);
        bytes.insert(bytes.end(), first, first + sizeof(V));
    }

    unsigned long n;
    DeviceArray<T> in;
};

template <class T>
class OneVector : public ::testing::Test {};
TYPED_TEST_SUITE(OneVector, TestTypes<internal::All>);

// So long a vector is shared out among the threads, though one block reduces it.
TYPED_TEST(OneVector, AnyNumberOfThreadsGivesTheSameResult) {
    unsigned long const n = 700001;
    for (Elements<TypeParam> const& elements : reductionInputs<TypeParam>(n)) {
        std::vector<std::vector<unsigned char>> results;
        for (int numThreads : {1, 2, 3, 8}) {
            tbb::task_arena arena(numThreads);
            arena.execute([&] { results.push_back(OfOneVector<TypeParam>(elements).bytes); });
        }
        for (auto const& result : results) EXPECT_TRUE(result == results[0]);
    }
}

template <class T>
class LongVector : public ::testing::Test {};
TYPED_TEST_SUITE(LongVector, TestTypes<internal::Floating>);

// Wherever it stands, the one element that counts is found.
TYPED_TEST(LongVector, NoElementIsPassedOver) {
    using T = TypeParam;
    unsigned long const n = 300001;
    DeviceArray<bool> flags(3);
    DeviceArray<double> count(1);
    for (unsigned long at : {0ul, 255ul, 256ul, n / 2, n / 2 + 1, n - 257, n - 2, n - 1}) {
        SCOPED_TRACE(at);
        Elements<T> elements(n);
        auto const infinity = std::numeric_limits<internal::Part<T>>::infinity();
        if constexpr (internal::isComplex<T>) {
            elements[at].y = infinity;
        } else {
            elements[at] = infinity;
        }
        DeviceArray<T> in(elements);
        EXPECT_EQ(cudaSuccess, Any::Invoker<T>()(nullptr, flags.data(), in.data(), n, n, 1, true));
        EXPECT_EQ(cudaSuccess, HasInf::Invoker<T>()(nullptr, flags.data() + 1, in.data(), n, n));
        EXPECT_EQ(cudaSuccess, HasNaN::Invoker<T>()(nullptr, flags.data() + 2, in.data(), n, n));
        EXPECT_EQ(cudaSuccess, CountNonZero::Invoker<T>()(nullptr, count.data(), in.data(), n, n));
        expectSameBits({true, true, false}, flags.values());
        expectSameBits({1.0}, count.values());
    }
}

}  // namespace
}  // namespace gpuruntime::testing

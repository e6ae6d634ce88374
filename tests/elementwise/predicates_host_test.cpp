// What predicates ask of the runtime, and what they leave behind when it fails.

#include <gtest/gtest.h>
#include <gpuruntime/predicates.hpp>
#include <host_device.hpp>

#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "tests/support/device_array.hpp"
#include "thrust.hpp"

namespace gpuruntime {
namespace {

using testing::DeviceArray;

// One element more than a block has threads.
constexpr unsigned long size = 257;

struct Family {
    std::string kernel;
    std::function<void(unsigned long n, void* out, double const* in, CUstream_st* stream)> call;
};

template <class Predicate, class Out>
auto callOf() {
    return [](unsigned long n, void* out, double const* in, CUstream_st* stream) {
        typename Predicate::template Invoker<double>()(stream, static_cast<Out*>(out), in, n);
    };
}

std::vector<Family> const families{
    {"IsNaNKernel<double>", callOf<IsNaN, bool>()},
    {"IsInfKernel<double>", callOf<IsInf, bool>()},
    {"IsNaNOrInfKernel<double>", callOf<IsNaNOrInf, bool>()},
    {"IsNonZeroKernel<double>", callOf<IsNonZero, bool>()},
    {"IsNeitherZeroNorNaNKernel<double>", callOf<IsNeitherZeroNorNaN, bool>()},
    {"FlagNonZeroKernel<double, double>", callOf<FlagNonZero, double>()},
    {"FlagRealNegativeKernel<double, double>", callOf<FlagNegative, double>()},
    {"ElementwiseCompareKernel<double, double>",
     [](auto n, void* out, auto* in, auto* stream) {
         ElementwiseCompare::Invoker<double, double>()(stream, n, static_cast<bool*>(out), in, in, false,
                                                       false);
     }},
    {"ElementwiseNotEqualKernel<double, double>",
     [](auto n, void* out, auto* in, auto* stream) {
         ElementwiseCompare::Invoker<double, double>()(stream, n, static_cast<bool*>(out), in, in, false,
                                                       true);
     }},
    // The kernel of two types is the same either way around.
    {"ElementwiseCompareKernel<float, double>", [](auto n, void* out, auto* in, auto* stream) {
         auto const* const numbers = reinterpret_cast<float const*>(in);
         ElementwiseCompare::Invoker<double, float>()(stream, n, static_cast<bool*>(out), in, numbers, false,
                                                      false);
     }}};

class Predicates : public ::testing::TestWithParam<Family> {
  protected:
    Predicates() : in(std::vector<double>(size, 1)), out(size) {}
    ~Predicates() override {
        hostdevice::clearFailures();
        cudaGetLastError();
    }

    DeviceArray<double> in, out;
};

TEST_P(Predicates, LaunchTheirKernelOnceOnTheCallersStream) {
    cudaStream_t stream = nullptr;
    ASSERT_EQ(cudaSuccess, cudaStreamCreate(&stream));
    {
        hostdevice::Recording const recording;
        GetParam().call(size, out.data(), in.data(), stream);
        auto const calls = recording.calls();
        ASSERT_EQ(2u, calls.size());
        EXPECT_EQ("cudaFuncGetAttributes", calls[0].name);
        EXPECT_EQ("cudaLaunchKernel", calls[1].name);
        EXPECT_EQ(stream, calls[1].stream);
        auto const launch = recording.launches().at(0);
        EXPECT_NE(std::string::npos, launch.kernel.find("elementwisedetail::singleStepKernel<"));
        EXPECT_NE(std::string::npos, launch.kernel.find(GetParam().kernel)) << launch.kernel;
        EXPECT_EQ(2u, launch.grid.x);
        EXPECT_EQ(256u, launch.block.x);
    }
    EXPECT_FALSE(out.untouched());
    EXPECT_EQ(cudaSuccess, cudaStreamDestroy(stream));
}

TEST_P(Predicates, CallNothingWithoutElements) {
    hostdevice::Recording const recording;
    GetParam().call(0, out.data(), in.data(), nullptr);
    EXPECT_TRUE(recording.calls().empty());
}

TEST_P(Predicates, LeaveEveryFailureToTheRuntimesLastError) {
    for (char const* call : {"cudaFuncGetAttributes", "cudaLaunchKernel"}) {
        hostdevice::failNextCall(call, cudaErrorUnknown);
        GetParam().call(size, out.data(), in.data(), nullptr);
        EXPECT_EQ(0u, hostdevice::clearFailures());
        EXPECT_NE(cudaSuccess, cudaGetLastError());
        EXPECT_TRUE(out.untouched());
    }
}

INSTANTIATE_TEST_SUITE_P(All, Predicates, ::testing::ValuesIn(families),
                         [](auto const& info) { return "Family" + std::to_string(info.index); });

struct Check {
    std::string checker;
    std::function<bool(CUstream_st* stream, double const* in, unsigned long n)> call;
};

template <class Family>
Check checkOf(std::string const& checker) {
    return {checker, [](CUstream_st* stream, double const* in, unsigned long n) {
                return typename Family::template Invoker<double>()(stream, in, n);
            }};
}

class Checks : public ::testing::TestWithParam<Check> {
  protected:
    // Every check holds for these, and for none of the others.
    Checks() : with(size), without(size) {
        std::vector<double> values(size);
        for (unsigned long i = 0; i < size; ++i) values[i] = static_cast<double>(i);
        without.set(values);
        values[1] = std::numeric_limits<double>::infinity();
        values[200] = std::numeric_limits<double>::quiet_NaN();
        with.set(values);
    }
    ~Checks() override {
        hostdevice::clearFailures();
        cudaGetLastError();
    }

    bool call(DeviceArray<double>& in, unsigned long n = size) {
        return GetParam().call(nullptr, in.data(), n);
    }

    DeviceArray<double> with, without;
};

TEST_P(Checks, SetTheFlagLaunchAndReadTheFlag) {
    cudaStream_t stream = nullptr;
    ASSERT_EQ(cudaSuccess, cudaStreamCreate(&stream));
    {
        hostdevice::Recording const recording;
        EXPECT_TRUE(GetParam().call(stream, with.data(), size));
        auto const calls = recording.calls();
        ASSERT_EQ(4u, calls.size());
        EXPECT_EQ("cudaMemcpyToSymbol", calls[0].name);
        EXPECT_EQ("dHasProperty", calls[0].symbol);
        EXPECT_EQ(4u, calls[0].bytes);
        EXPECT_EQ("cudaFuncGetAttributes", calls[1].name);
        EXPECT_EQ("cudaLaunchKernel", calls[2].name);
        EXPECT_EQ(stream, calls[2].stream);
        EXPECT_EQ("cudaMemcpyFromSymbol", calls[3].name);
        EXPECT_EQ("dHasProperty", calls[3].symbol);
        EXPECT_EQ(4u, calls[3].bytes);
        auto const launch = recording.launches().at(0);
        EXPECT_NE(std::string::npos, launch.kernel.find("CheckDataPropertyKernel<double, "));
        EXPECT_NE(std::string::npos, launch.kernel.find(GetParam().checker)) << launch.kernel;
        EXPECT_EQ(2u, launch.grid.x);
    }
    EXPECT_FALSE(call(without));
    EXPECT_EQ(cudaSuccess, cudaStreamDestroy(stream));
}

TEST_P(Checks, OfNothingSetAndReadTheFlagAlone) {
    hostdevice::Recording const recording;
    EXPECT_FALSE(call(with, 0));
    auto const calls = recording.calls();
    ASSERT_EQ(2u, calls.size());
    EXPECT_EQ("cudaMemcpyToSymbol", calls[0].name);
    EXPECT_EQ("cudaMemcpyFromSymbol", calls[1].name);
}

TEST_P(Checks, HoldWhereTheFlagCannotBeSetOrRead) {
    hostdevice::failNextCall("cudaMemcpyToSymbol", cudaErrorUnknown);
    {
        hostdevice::Recording const recording;
        EXPECT_TRUE(call(without));
        EXPECT_EQ(1u, recording.calls().size());
    }
    hostdevice::failNextCall("cudaMemcpyFromSymbol", cudaErrorUnknown);
    EXPECT_TRUE(call(without));
}

TEST_P(Checks, DoNotHoldAfterAFailedLaunchUnlessTheReadFailsToo) {
    for (char const* failing : {"cudaLaunchKernel", "cudaFuncGetAttributes"}) {
        hostdevice::failNextCall(failing, cudaErrorUnknown);
        EXPECT_FALSE(call(with)) << failing;
    }
    hostdevice::failNextCall("cudaLaunchKernel", cudaErrorUnknown);
    hostdevice::failNextCall("cudaMemcpyFromSymbol", cudaErrorUnknown);
    EXPECT_TRUE(call(with));
}

INSTANTIATE_TEST_SUITE_P(
    All, Checks,
    ::testing::Values(checkOf<CheckInf>("CheckerInf"), checkOf<CheckNaN>("CheckerNaN"),
                      checkOf<CheckNotFinite>("CheckerNotFinite"),
                      checkOf<CheckNotStronglySortedAscending>("CheckerNotStronglySortedAscending")),
    [](auto const& info) { return info.param.checker; });

TEST(CheckValidFindMax, ThrowsWithoutTemporaryMemoryAndReleasesWhatItHad) {
    if (THRUST_DEVICE_SYSTEM == THRUST_DEVICE_SYSTEM_CPP) {
        GTEST_SKIP() << "fibers: Thrust's serial reduction needs no temporary memory";
    }
    for (unsigned long n : {0ul, 1ul, 100000ul}) {
        DeviceArray<double> in(std::vector<double>(n, 2));
        CheckValidFindMax::Invoker<double> const validMax;
        hostdevice::failNextCall("cudaMalloc", cudaErrorMemoryAllocation);
        EXPECT_THROW(validMax(in.data(), n), thrust::system::detail::bad_alloc);
        EXPECT_EQ(cudaErrorMemoryAllocation, cudaGetLastError());

        hostdevice::Recording const recording;
        EXPECT_TRUE(validMax(in.data(), n).first);
        auto const calls = recording.calls();
        ASSERT_EQ(2u, calls.size());
        EXPECT_EQ("cudaMalloc", calls[0].name);
        EXPECT_EQ("cudaFree", calls[1].name);
    }
}

}  // namespace
}  // namespace gpuruntime

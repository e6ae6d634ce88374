// What casts ask of the runtime, and what they leave behind when it fails.

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <gpuruntime/casts.hpp>
#include <host_device.hpp>

#include <functional>
#include <string>
#include <vector>

#include "tests/support/device_array.hpp"

namespace gpuruntime {
namespace {

using testing::DeviceArray;

// One element more than a block has threads.
constexpr unsigned long size = 257;

struct Family {
    std::string kernel;
    std::function<void(unsigned long n, void* out, double const* in, CUstream_st* stream)> call;
};

std::vector<Family> const silentFamilies{
    {"CastKernel<float, double>",
     [](auto n, void* out, auto* in, auto* stream) {
         CastToReal::Invoker<float, double>()(stream, n, static_cast<float*>(out), in);
     }},
    {"CastKernel<float2, double>",
     [](auto n, void* out, auto* in, auto* stream) {
         CastToComplex::Invoker<float2, double>()(stream, n, static_cast<float2*>(out), in);
     }},
    {"CastBlockKernel<double, double>",
     [](auto n, void* out, auto* in, auto* stream) {
         CastBlockToReal::Invoker<double, double>()(stream, n, static_cast<double*>(out), in, 0, 1, 1);
     }},
    {"CastBlockKernel<float2, double>",
     [](auto n, void* out, auto* in, auto* stream) {
         CastBlockToComplex::Invoker<float2, double>()(stream, n, static_cast<float2*>(out), in, 0, 1, 1);
     }},
    {"CastToBoolAllowNaNKernel<double>", [](auto n, void* out, auto* in, auto* stream) {
         CastToBoolAllowNaN::Invoker<double>()(stream, n, static_cast<bool*>(out), in, true);
     }}};

class Casts : public ::testing::TestWithParam<Family> {
  protected:
    Casts() : in(std::vector<double>(size, 1)), out(size) { reset(); }
    ~Casts() override { reset(); }

    static void reset() {
        hostdevice::clearFailures();
        cudaGetLastError();
    }

    DeviceArray<double> in, out;
};

void expectLaunch(hostdevice::Recording const& recording, std::string const& kernel) {
    ASSERT_EQ(1u, recording.launches().size());
    auto const launch = recording.launches()[0];
    EXPECT_NE(std::string::npos, launch.kernel.find("elementwisedetail::singleStepKernel<"));
    EXPECT_NE(std::string::npos, launch.kernel.find(kernel)) << launch.kernel;
    EXPECT_EQ(2u, launch.grid.x);
    EXPECT_EQ(256u, launch.block.x);
}

TEST_P(Casts, LaunchTheirKernelOnceOnTheCallersStream) {
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
        expectLaunch(recording, GetParam().kernel);
    }
    EXPECT_FALSE(out.untouched());
    EXPECT_EQ(cudaSuccess, cudaStreamDestroy(stream));
}

TEST_P(Casts, CallNothingWithoutElements) {
    hostdevice::Recording const recording;
    GetParam().call(0, out.data(), in.data(), nullptr);
    EXPECT_TRUE(recording.calls().empty());
}

TEST_P(Casts, LeaveEveryFailureToTheRuntimesLastError) {
    for (char const* call : {"cudaFuncGetAttributes", "cudaLaunchKernel"}) {
        hostdevice::failNextCall(call, cudaErrorUnknown);
        GetParam().call(size, out.data(), in.data(), nullptr);
        EXPECT_EQ(0u, hostdevice::clearFailures());
        EXPECT_NE(cudaSuccess, cudaGetLastError());
        EXPECT_TRUE(out.untouched());
    }
}

INSTANTIATE_TEST_SUITE_P(All, Casts, ::testing::ValuesIn(silentFamilies),
                         [](auto const& info) { return "Family" + std::to_string(info.index); });

template <class Family, class T>
void expectACopy() {
    DeviceArray<T> in(5), out(5);
    cudaStream_t stream = nullptr;
    ASSERT_EQ(cudaSuccess, cudaStreamCreate(&stream));
    typename Family::template Invoker<T, T> const cast;
    {
        hostdevice::Recording const recording;
        EXPECT_EQ(cudaSuccess, cast(stream, 5, out.data(), in.data()));
        EXPECT_EQ(cudaSuccess, cast(stream, 0, out.data(), in.data()));
        auto const calls = recording.calls();
        ASSERT_EQ(2u, calls.size());
        EXPECT_EQ("cudaMemcpyAsync", calls[0].name);
        EXPECT_EQ(stream, calls[0].stream);
        EXPECT_EQ(5 * sizeof(T), calls[0].bytes);
        EXPECT_EQ(0u, calls[1].bytes);
    }
    testing::expectSameBits(in.values(), out.values());
    hostdevice::failNextCall("cudaMemcpyAsync", cudaErrorLaunchFailure);
    EXPECT_EQ(cudaErrorLaunchFailure, cast(stream, 5, out.data(), in.data()));
    EXPECT_EQ(cudaSuccess, cudaStreamDestroy(stream));
    cudaGetLastError();
}

TEST(CastsOfOneType, AreCopiesWithTheirStatus) {
    expectACopy<CastToReal, signed char>();
    expectACopy<CastToReal, double>();
    expectACopy<CastToComplex, char2>();
    expectACopy<CastToComplex, double2>();
}

class CastToBoolCall : public ::testing::Test {
  protected:
    CastToBoolCall() : in(std::vector<double>(size, 1)), out(size) {}
    ~CastToBoolCall() override {
        hostdevice::clearFailures();
        cudaGetLastError();
    }

    cudaError call(unsigned long n, CUstream_st* stream = nullptr) {
        return CastToBool::Invoker<double>()(stream, n, out.data(), in.data());
    }

    DeviceArray<double> in;
    DeviceArray<bool> out;
};

TEST_F(CastToBoolCall, ResetsTheWordThenLaunches) {
    cudaStream_t stream = nullptr;
    ASSERT_EQ(cudaSuccess, cudaStreamCreate(&stream));
    {
        hostdevice::Recording const recording;
        EXPECT_EQ(cudaSuccess, call(size, stream));
        auto const calls = recording.calls();
        ASSERT_EQ(3u, calls.size());
        EXPECT_EQ("cudaMemcpyToSymbolAsync", calls[0].name);
        EXPECT_EQ("__KVX_PTX_ERROR_CODE", calls[0].symbol);
        EXPECT_EQ(4u, calls[0].bytes);
        EXPECT_EQ(stream, calls[0].stream);
        EXPECT_EQ("cudaFuncGetAttributes", calls[1].name);
        EXPECT_EQ("cudaLaunchKernel", calls[2].name);
        EXPECT_EQ(stream, calls[2].stream);
        expectLaunch(recording, "CastToBoolKernel<double>");
    }
    EXPECT_EQ(cudaSuccess, cudaStreamDestroy(stream));
}

TEST_F(CastToBoolCall, WithoutElementsOnlyResetsTheWord) {
    hostdevice::Recording const recording;
    EXPECT_EQ(cudaSuccess, call(0));
    ASSERT_EQ(1u, recording.calls().size());
    EXPECT_EQ("cudaMemcpyToSymbolAsync", recording.calls()[0].name);
}

TEST_F(CastToBoolCall, GivesTheStatusOfTheStepThatFailed) {
    hostdevice::failNextCall("cudaMemcpyToSymbolAsync", cudaErrorInvalidSymbol);
    {
        hostdevice::Recording const recording;
        EXPECT_EQ(cudaErrorInvalidSymbol, call(size));
        EXPECT_EQ(1u, recording.calls().size());
    }
    hostdevice::failNextCall("cudaFuncGetAttributes", cudaErrorUnknown);
    EXPECT_NE(cudaSuccess, call(size));
    hostdevice::failNextCall("cudaLaunchKernel", cudaErrorLaunchFailure);
    EXPECT_EQ(cudaErrorLaunchFailure, call(size));
    EXPECT_TRUE(out.untouched());
}

TEST_F(CastToBoolCall, LeavesAFailedResetsWordAsItWas) {
    DeviceArray<double> bad({std::numeric_limits<double>::quiet_NaN()});
    EXPECT_EQ(cudaSuccess, CastToBool::Invoker<double>()(nullptr, 1, out.data(), bad.data()));
    hostdevice::failNextCall("cudaMemcpyToSymbolAsync", cudaErrorInvalidSymbol);
    EXPECT_EQ(cudaErrorInvalidSymbol, call(size));
    EXPECT_EQ(1046u, CastToBool().getErrorFlag(nullptr));
}

TEST_F(CastToBoolCall, ReadsTheWordOnTheCallersStreamAndWaitsForIt) {
    cudaStream_t stream = nullptr;
    ASSERT_EQ(cudaSuccess, cudaStreamCreate(&stream));
    EXPECT_EQ(cudaSuccess, call(size, stream));
    {
        hostdevice::Recording const recording;
        EXPECT_EQ(1000u, CastToBool().getErrorFlag(stream));
        auto const calls = recording.calls();
        ASSERT_EQ(2u, calls.size());
        EXPECT_EQ("cudaMemcpyFromSymbolAsync", calls[0].name);
        EXPECT_EQ("__KVX_PTX_ERROR_CODE", calls[0].symbol);
        EXPECT_EQ(4u, calls[0].bytes);
        EXPECT_EQ(stream, calls[0].stream);
        EXPECT_EQ("cudaStreamSynchronize", calls[1].name);
        EXPECT_EQ(stream, calls[1].stream);
    }
    EXPECT_EQ(cudaSuccess, cudaStreamDestroy(stream));
}

TEST_F(CastToBoolCall, TellsWhenTheWordCannotBeReadAndWaitsAllTheSame) {
    EXPECT_EQ(cudaSuccess, call(size));
    for (char const* failing : {"cudaMemcpyFromSymbolAsync", "cudaStreamSynchronize"}) {
        hostdevice::Recording const recording;
        hostdevice::failNextCall(failing, cudaErrorUnknown);
        EXPECT_EQ(1063u, CastToBool().getErrorFlag(nullptr)) << failing;
        EXPECT_EQ(2u, recording.calls().size());
    }
    EXPECT_EQ(1000u, CastToBool().getErrorFlag(nullptr));
}

// Of the four gibibytes only the pages at both ends are used.
TEST(BlockCastPositions, WrapAt2To32WithinABlock) {
    unsigned long const reach = 1ul << 32, n = 512, before = 300;
    void* const memory =
        mmap(nullptr, reach, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    ASSERT_NE(MAP_FAILED, memory);
    auto* const out = static_cast<signed char*>(memory);
    DeviceArray<double> in(std::vector<double>(n, 7));
    CastBlockToReal::Invoker<signed char, double>()(nullptr, n, out, in.data(), reach - before, 0, n);
    EXPECT_EQ(cudaSuccess, cudaGetLastError());
    EXPECT_EQ(0, out[reach - before - 1]);
    for (unsigned long i = 0; i < before; ++i) ASSERT_EQ(7, out[reach - before + i]) << i;
    for (unsigned long i = 0; i < n - before; ++i) ASSERT_EQ(7, out[i]) << i;
    EXPECT_EQ(0, out[n - before]);
    munmap(memory, reach);
}

}  // namespace
}  // namespace gpuruntime

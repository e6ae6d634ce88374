// What the families of complex arrays ask of the runtime, and what they leave behind when it fails.

#include <gtest/gtest.h>
#include <gpuruntime/complex.hpp>
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
    std::function<void(unsigned long n, double* out, double const* in, CUstream_st* stream)> call;
};

double2* pairs(double* data) { return reinterpret_cast<double2*>(data); }
double2 const* pairs(double const* data) { return reinterpret_cast<double2 const*>(data); }

std::vector<Family> const families{
    {"ComplexifyPtrPtrKernel<long unsigned int>",
     [](auto n, auto* out, auto* in, auto* stream) {
         ComplexifyPtrPtr::Invoker<double>()(stream, pairs(out), in, in, n);
     }},
    {"ComplexifyPtrScalarKernel<long unsigned int>",
     [](auto n, auto* out, auto* in, auto* stream) {
         ComplexifyPtrScalar::Invoker<double>()(stream, pairs(out), in, 1, n);
     }},
    {"ComplexifyScalarPtrKernel<long unsigned int>",
     [](auto n, auto* out, auto* in, auto* stream) {
         ComplexifyScalarPtr::Invoker<double>()(stream, pairs(out), 1, in, n);
     }},
    {"DecomplexifyKernel<long unsigned int>",
     [](auto n, auto* out, auto* in, auto* stream) {
         Decomplexify::Invoker<double2>()(stream, out, out + size, pairs(in), n);
     }},
    {"RealKernel<long unsigned int>",
     [](auto n, auto* out, auto* in, auto* stream) { Real::Invoker<double2>()(stream, out, pairs(in), n); }},
    {"ImagKernel<long unsigned int>",
     [](auto n, auto* out, auto* in, auto* stream) { Imag::Invoker<double2>()(stream, out, pairs(in), n); }},
    {"ConjKernel<double2>", [](auto n, auto* out, auto* in,
                               auto* stream) { Conj::Invoker<double2>()(stream, pairs(out), pairs(in), n); }},
    {"CopyPad<double>",
     [](auto n, auto* out, auto* in, auto* stream) {
         ComplexCopyPad::Invoker<double>()(stream, pairs(out), n, 1, in, n, 1);
     }},
    {"CopyPad<double2>", [](auto n, auto* out, auto* in, auto* stream) {
         ComplexCopyPad::Invoker<double2>()(stream, pairs(out), 1, n, pairs(in), 1, n);
     }}};

class ComplexCalls : public ::testing::TestWithParam<Family> {
  protected:
    ComplexCalls() : in(std::vector<double>(2 * size, 1)), out(2 * size) {}
    ~ComplexCalls() override {
        hostdevice::clearFailures();
        cudaGetLastError();
    }

    DeviceArray<double> in, out;
};

TEST_P(ComplexCalls, LaunchTheirKernelOnceOnTheCallersStream) {
    cudaStream_t stream = nullptr;
    ASSERT_EQ(cudaSuccess, cudaStreamCreate(&stream));
    {
        hostdevice::Recording const recording;
        GetParam().call(size, out.data(), in.data(), stream);
        ASSERT_EQ(1u, recording.launches().size());
        EXPECT_EQ(stream, recording.calls().back().stream);
        EXPECT_NE(std::string::npos, recording.launches()[0].kernel.find(GetParam().kernel))
            << recording.launches()[0].kernel;
    }
    EXPECT_FALSE(out.untouched());
    EXPECT_EQ(cudaSuccess, cudaStreamDestroy(stream));
}

TEST_P(ComplexCalls, CallNothingWithoutElements) {
    hostdevice::Recording const recording;
    GetParam().call(0, out.data(), in.data(), nullptr);
    EXPECT_TRUE(recording.calls().empty());
}

TEST_P(ComplexCalls, LeaveEveryFailureToTheRuntimesLastError) {
    hostdevice::failNextCall("cudaLaunchKernel", cudaErrorUnknown);
    GetParam().call(size, out.data(), in.data(), nullptr);
    EXPECT_EQ(0u, hostdevice::clearFailures());
    EXPECT_EQ(cudaErrorUnknown, cudaGetLastError());
    EXPECT_TRUE(out.untouched());
}

INSTANTIATE_TEST_SUITE_P(All, ComplexCalls, ::testing::ValuesIn(families),
                         [](auto const& info) { return "Family" + std::to_string(info.index); });

}  // namespace
}  // namespace gpuruntime

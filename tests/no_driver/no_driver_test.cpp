// The cuda library on a machine without a driver: calls come back with the runtime's status, or do nothing
// where they return nothing.

#include <cuda_runtime.h>
#include <gtest/gtest.h>
#include <gpuruntime/device_properties.hpp>
#include <gpuruntime/fills.hpp>
#include <gpuruntime/ranges.hpp>
#include <gpuruntime/reductions.hpp>
#include <gpuruntime/version.hpp>

namespace gpuruntime {
namespace {

class WithoutADriver : public ::testing::Test {
  protected:
    WithoutADriver() {
        gpucommon::CUDADeviceProperties properties{};
        properties.maxGridDimX = properties.maxGridDimY = properties.maxGridDimZ = 65535;
        properties.multiProcessorCount = 1;
        properties.computeCapabilityMajor = 9;
        internal::storeCurrentDeviceProperties(properties);
        int devices = 0;
        EXPECT_NE(cudaSuccess, cudaGetDeviceCount(&devices));
        cudaGetLastError();
    }
    double* const nowhere = nullptr;
};

TEST_F(WithoutADriver, OperatorsThatReturnNothingDoNothing) {
    Colon::Invoker<double>()(nullptr, 10, nowhere, 0, 1, 9);
    EXPECT_NE(cudaSuccess, cudaGetLastError());
    IntColon::Invoker<double>()(nullptr, 10, nowhere, 0, 1);
    EXPECT_NE(cudaSuccess, cudaGetLastError());
    Linspace::Invoker<double>()(nullptr, 10, nowhere, 0, 1);
    EXPECT_NE(cudaSuccess, cudaGetLastError());
    Logspace::Invoker<double>()(nullptr, 10, nowhere, 0, 1);
    EXPECT_NE(cudaSuccess, cudaGetLastError());
    Eye::Invoker<double>()(nullptr, 10, nowhere, 10);
    EXPECT_NE(cudaSuccess, cudaGetLastError());
    GenericOnes::Invoker<unsigned long>()(nullptr, 10, nullptr, 1);
    EXPECT_NE(cudaSuccess, cudaGetLastError());
    FillArrayWithRunningIndex::Invoker<double>()(nullptr, 10, nowhere, 2, 3, 0);
    EXPECT_NE(cudaSuccess, cudaGetLastError());
    movfun::FillMovVector::Invoker<double>()(nullptr, 10, nowhere, nowhere, 10, 2, 1, 1);
    EXPECT_NE(cudaSuccess, cudaGetLastError());
}

TEST_F(WithoutADriver, OperatorsThatReturnAStatusReturnTheRuntimes) {
    EXPECT_NE(cudaSuccess, SumNative::Invoker<double>()(nullptr, nowhere, nowhere, 10, 10, 1, true));
}

TEST_F(WithoutADriver, TheVersionIsToBeRead) {
    EXPECT_STREQ("1.0.0.0", libkvgpuruntime_version);
    EXPECT_STREQ("bin/nxlin64/libkvgpuruntime.so", libkvgpuruntime_relative_path);
}

}  // namespace
}  // namespace gpuruntime

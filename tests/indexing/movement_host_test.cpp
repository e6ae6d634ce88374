// What replication, rotation, diagonals and triangles ask of the runtime, and what is left when it fails.

#include <gtest/gtest.h>
#include <gpuruntime/movement.hpp>
#include <host_device.hpp>

#include <functional>
#include <string>
#include <vector>

#include "tests/support/device_array.hpp"

namespace gpuruntime {
namespace {

using testing::DeviceArray;

class MovementCalls : public ::testing::Test {
  protected:
    MovementCalls()
        : in(testing::Elements<double>(36, 1.0)), out(36), starts({0, 2, 4}), columns({0, 1, 0, 1}) {
        EXPECT_EQ(cudaSuccess, cudaStreamCreate(&stream));
        reset();
    }
    ~MovementCalls() override {
        reset();
        EXPECT_EQ(cudaSuccess, cudaStreamDestroy(stream));
    }

    struct Call {
        std::string kernel;
        unsigned int attributeCalls;  ///< of the frame
        std::function<void()> run;
    };

    /// One call of each family on the stream, with the kernel that it launches.
    std::vector<Call> calls() {
        CUstream_st* const on = stream;
        double *to = out.data(), *from = in.data();
        int *s = starts.data(), *c = columns.data();
        return {
            {"RepmatColumnVectorKernel<long unsigned int>", 2,
             [=] { RepmatColumnVector::Invoker<double>()(on, to, from, 3, 4); }},
            {"RepmatRowVectorKernel<long unsigned int>", 2,
             [=] { RepmatRowVector::Invoker<double>()(on, to, from, 3, 4, 2); }},
            {"RepmatMatrixRowsKernel<long unsigned int>", 2,
             [=] { RepmatMatrixRows::Invoker<double>()(on, to, from, 3, 4, 2); }},
            {"Rot90Kernel<long unsigned int, 16, true>", 0,
             [=] { Rot90::Invoker<double>()(on, to, from, 3, 4, 2, true); }},
            {"Rot90Kernel<long unsigned int, 16, false>", 0,
             [=] { Rot90::Invoker<double>()(on, to, from, 3, 4, 2, false); }},
            {"DiagVecToMatKernel<long unsigned int>", 1,
             [=] { DiagVecToMat::Invoker<double>()(on, to, from, 6, 0, 6); }},
            {"DiagMatToVecKernel<long unsigned int>", 1,
             [=] { DiagMatToVec::Invoker<double>()(on, to, from, 6, 0, 6); }},
            {"TrilTriu<long unsigned int, false>", 2, [=] { TriLower::Invoker<double>()(on, to, 0, 6, 6); }},
            {"TrilTriu<long unsigned int, true>", 2, [=] { TriUpper::Invoker<double>()(on, to, 0, 6, 6); }},
            {"TrilOneDiag<long unsigned int>", 2,
             [=] { TriLowerOneOnDiag::Invoker<double>()(on, to, 0, 6, 6); }},
            {"TrilTriuSparse<double, false>", 1,
             [=] { TriLowerSparse::Invoker<double>()(on, s, c, to, 2, 4, 0); }},
            {"TrilTriuSparse<double, true>", 1,
             [=] { TriUpperSparse::Invoker<double>()(on, s, c, to, 2, 4, 0); }},
        };
    }

    DeviceArray<double> in, out;
    DeviceArray<int> starts, columns;
    cudaStream_t stream = nullptr;

  private:
    static void reset() {
        hostdevice::clearFailures();
        cudaGetLastError();
    }
};

TEST_F(MovementCalls, EachIsOneLaunchOfTheSizesKernelOnTheStream) {
    for (Call const& call : calls()) {
        SCOPED_TRACE(call.kernel);
        hostdevice::Recording const recording;
        call.run();
        ASSERT_EQ(1u, recording.launches().size());
        EXPECT_EQ(call.attributeCalls + 1, recording.calls().size());
        std::string const launched = recording.launches()[0].kernel;
        EXPECT_NE(std::string::npos, launched.find(call.kernel)) << launched;
        EXPECT_NE(std::string::npos, launched.find("singleStepKernel")) << launched;
        EXPECT_EQ(stream, recording.launches()[0].stream);
    }
}

TEST_F(MovementCalls, AFailedLaunchWritesNothingAndLeavesItsError) {
    for (Call const& call : calls()) {
        SCOPED_TRACE(call.kernel);
        hostdevice::failNextCall("cudaLaunchKernel", cudaErrorLaunchOutOfResources);
        call.run();
        EXPECT_EQ(cudaErrorLaunchOutOfResources, cudaGetLastError());
        EXPECT_EQ(0u, hostdevice::clearFailures());
    }
    EXPECT_TRUE(out.untouched());
}

TEST_F(MovementCalls, NothingIsCalledWithoutElements) {
    hostdevice::Recording const recording;
    RepmatColumnVector::Invoker<double>()(nullptr, out.data(), in.data(), 0, 4);
    RepmatRowVector::Invoker<double>()(nullptr, out.data(), in.data(), 3, 0, 4);
    RepmatMatrixRows::Invoker<double>()(nullptr, out.data(), in.data(), 3, 4, 0);
    Rot90::Invoker<double>()(nullptr, out.data(), in.data(), 3, 4, 0, true);
    Rot90::Invoker<double>()(nullptr, out.data(), in.data(), 0, 4, 1, false);
    DiagVecToMat::Invoker<double>()(nullptr, out.data(), in.data(), 3, 0, 0);
    DiagMatToVec::Invoker<double>()(nullptr, out.data(), in.data(), 3, 0, 0);
    TriLower::Invoker<double>()(nullptr, out.data(), 0, 0, 3);
    TriUpper::Invoker<double>()(nullptr, out.data(), 0, 3, 0);
    TriLowerOneOnDiag::Invoker<double>()(nullptr, out.data(), 0, 0, 0);
    TriLowerSparse::Invoker<double>()(nullptr, starts.data(), columns.data(), out.data(), 2, 0, 0);
    TriUpperSparse::Invoker<double>()(nullptr, starts.data(), columns.data(), out.data(), 2, 0, 0);
    EXPECT_TRUE(recording.calls().empty());
}

TEST_F(MovementCalls, Rot90TakesAGridOfTilesAndPages) {
    hostdevice::Recording const recording;
    DeviceArray<double> large(17 * 40 * 3), turned(17 * 40 * 3);
    Rot90::Invoker<double>()(nullptr, turned.data(), large.data(), 17, 40, 3, true);
    ASSERT_EQ(1u, recording.launches().size());
    hostdevice::Launch const launch = recording.launches()[0];
    EXPECT_EQ(2u, launch.grid.x);
    EXPECT_EQ(3u, launch.grid.y);
    EXPECT_EQ(3u, launch.grid.z);
    EXPECT_EQ(16u, launch.block.x);
    EXPECT_EQ(16u, launch.block.y);
}

}  // namespace
}  // namespace gpuruntime

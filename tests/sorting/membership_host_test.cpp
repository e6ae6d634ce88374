// What membership asks of the runtime, and what is left when it fails.

#include <gtest/gtest.h>
#include <gpuruntime/membership.hpp>
#include <host_device.hpp>

#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "tests/support/device_array.hpp"
#include "thrust.hpp"

namespace gpuruntime {
namespace {

using testing::DeviceArray;

class MembershipCalls : public ::testing::Test {
  protected:
    MembershipCalls()
        : a({1, NAN, 5}),
          set({1, 2, 5, 7}),
          setLocations({1, 2, 3, 4}),
          locations(3),
          complexA({{1, 1}, {2, 2}, {NAN, 0}}),
          complexSet({{2, 2}, {2, 1}, {-3, 0}}),
          isMember(3) {
        EXPECT_EQ(cudaSuccess, cudaStreamCreate(&stream));
        reset();
    }
    ~MembershipCalls() override {
        reset();
        EXPECT_EQ(cudaSuccess, cudaStreamDestroy(stream));
    }

    struct Call {
        std::string name;
        std::function<void(unsigned long n)> run;
        std::vector<std::string> kernels;
    };

    std::vector<Call> calls() {
        return {{"without locations",
                 [&](unsigned long n) {
                     IsMember1Arg::Invoker<double>()(a.data(), n, set.data(), 4, isMember.data(), 0);
                 },
                 {}},
                {"with locations",
                 [&](unsigned long n) {
                     IsMember2Arg::Invoker<double>()(stream, a.data(), n, set.data(), 4, setLocations.data(),
                                                     isMember.data(), locations.data(), 0);
                 },
                 {"FindLocBKernel<double, gpuruntime::{anonymous}::EqualWithoutTol<double>"}},
                {"with a tolerance",
                 [&](unsigned long n) {
                     IsMember2Arg::Invoker<double>()(stream, a.data(), n, set.data(), 4, setLocations.data(),
                                                     isMember.data(), locations.data(), 0.5);
                 },
                 {"FindLocBKernel<double, gpuruntime::{anonymous}::EqualWithTol<double>"}},
                {"complex without locations",
                 [&](unsigned long n) {
                     IsMember1ArgCmplx::Invoker<double2>()(stream, complexA.data(), n, complexSet.data(), 3,
                                                           isMember.data());
                 },
                 {"StripOutRealKernel", "SearchKernel"}},
                {"complex with locations",
                 [&](unsigned long n) {
                     IsMember2ArgCmplx::Invoker<double2>()(stream, complexA.data(), n, complexSet.data(), 3,
                                                           isMember.data(), locations.data());
                 },
                 {"StripOutRealKernel", "SearchKernel"}}};
    }

    static void reset() {
        hostdevice::clearFailures();
        cudaGetLastError();
    }

    DeviceArray<double> a, set, setLocations, locations;
    DeviceArray<double2> complexA, complexSet;
    DeviceArray<bool> isMember;
    cudaStream_t stream = nullptr;
};

/// How many blocks of memory were taken and not given back.
long leftAllocated(hostdevice::Recording const& recording) {
    long count = 0;
    for (auto const& call : recording.calls()) {
        if (call.status != cudaSuccess) continue;
        if (call.name == "cudaMalloc") ++count;
        if (call.name == "cudaFree") --count;
    }
    return count;
}

TEST_F(MembershipCalls, KernelsRunOnTheStreamAndTemporaryMemoryIsGivenBack) {
    for (Call const& call : calls()) {
        SCOPED_TRACE(call.name);
        hostdevice::Recording const recording;
        call.run(3);
        std::vector<std::string> ours;
        for (auto const& launch : recording.launches()) {
            if (launch.kernel.find("gpuruntime") != std::string::npos && launch.stream == stream) {
                ours.push_back(launch.kernel);
            }
        }
        ASSERT_EQ(call.kernels.size(), ours.size());
        for (unsigned long k = 0; k < ours.size(); ++k) {
            EXPECT_NE(std::string::npos, ours[k].find(call.kernels[k])) << ours[k];
        }
        EXPECT_EQ(0, leftAllocated(recording));
    }
}

TEST_F(MembershipCalls, WithoutQueriesNothingIsWritten) {
    for (Call const& call : calls()) call.run(0);
    EXPECT_TRUE(isMember.untouched());
    EXPECT_TRUE(locations.untouched());
}

TEST_F(MembershipCalls, OfNothingInNothingNoKernelRuns) {
    hostdevice::Recording const recording;
    IsMember2ArgCmplx::Invoker<double2>()(stream, complexA.data(), 0, complexSet.data(), 0, isMember.data(),
                                          locations.data());
    EXPECT_TRUE(recording.launches().empty());
}

TEST_F(MembershipCalls, AFailedLaunchIsLeftToTheRuntime) {
    auto const all = calls();
    for (unsigned long c = 1; c < all.size(); ++c) {
        SCOPED_TRACE(all[c].name);
        auto const last = static_cast<unsigned int>(all[c].kernels.size()) - 1;
        hostdevice::failNextCall("cudaLaunchKernel", cudaErrorLaunchOutOfResources, last);
        all[c].run(3);
        EXPECT_EQ(cudaErrorLaunchOutOfResources, cudaGetLastError());
    }
    EXPECT_TRUE(isMember.untouched());
    EXPECT_TRUE(locations.untouched());
}

/// Without the queries' NaN there is nothing to allocate.
TEST_F(MembershipCalls, QueriesThatAreNumbersNeedNoMemory) {
    a.set({1, 3, 5});
    hostdevice::Recording const recording;
    IsMember1Arg::Invoker<double>()(a.data(), 3, set.data(), 4, isMember.data(), 0);
    EXPECT_EQ(0, leftAllocated(recording));
    for (auto const& call : recording.calls()) EXPECT_NE("cudaMalloc", call.name);
}

class SortFailures : public MembershipCalls {};

TEST_F(SortFailures, EachFailedAllocationThrowsAndLeavesNoneAllocated) {
    for (Call const& call : calls()) {
        SCOPED_TRACE(call.name);
        for (unsigned int failing = 0;; ++failing) {
            ASSERT_LT(failing, 100u);
            hostdevice::failNextCall("cudaMalloc", cudaErrorMemoryAllocation, failing);
            hostdevice::Recording const recording;
            bool hasThrown = false;
            try {
                call.run(3);
            } catch (thrust::system::detail::bad_alloc const&) {
                hasThrown = true;
            }
            EXPECT_EQ(0, leftAllocated(recording));
            bool const isOver = hostdevice::clearFailures() != 0;
            EXPECT_EQ(!isOver, hasThrown);
            if (isOver) {
                EXPECT_GT(failing, 0u);
                break;
            }
        }
    }
}

}  // namespace
}  // namespace gpuruntime

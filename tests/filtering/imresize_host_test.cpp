// What Imresize asks of the runtime, and what it leaves undone when it fails.

#include <gtest/gtest.h>
#include <gpuruntime/imresize.hpp>
#include <host_device.hpp>

#include <algorithm>
#include <limits>
#include <string>
#include <vector>

#include "tests/support/device_array.hpp"

namespace gpuruntime {
namespace {

using testing::DeviceArray;

class ImresizeCalls : public ::testing::Test {
  protected:
    ~ImresizeCalls() override {
        EXPECT_EQ(0u, hostdevice::clearFailures());
        EXPECT_EQ(cudaSuccess, unbind<double>());
        cudaGetLastError();
    }

    static constexpr unsigned long rows = 300, cols = 5, plane = rows * cols, maxPlanes = 8;

    cudaError call(unsigned long numPlanes, double scaleRows = 1, double scaleCols = 1) {
        return Imresize::Invoker<double>()(nullptr, out.data(), in.data(), rows, cols, rows, cols, numPlanes,
                                           scaleRows, scaleCols);
    }

    static std::vector<std::string> names(hostdevice::Recording const& recording) {
        std::vector<std::string> names;
        for (auto const& call : recording.calls()) names.push_back(call.name);
        return names;
    }

    /// How many planes have been written, and nothing after them.
    unsigned long numWritten() const {
        std::vector<double> const values = out.values();
        unsigned long n = 0;
        while (n < values.size() && values[n] == 1) ++n;
        EXPECT_EQ(0u, n % plane);
        EXPECT_EQ(0, std::count(values.begin() + static_cast<long>(n), values.end(), 1.0));
        return n / plane;
    }

    DeviceArray<double> in{std::vector<double>(plane * maxPlanes, 1)},
        out = DeviceArray<double>(plane * maxPlanes);
};

TEST_F(ImresizeCalls, LaunchThreePlanesAtOnceAndTheRestOneByOne) {
    for (unsigned long numPlanes = 0; numPlanes <= maxPlanes; ++numPlanes) {
        hostdevice::Recording const recording;
        EXPECT_EQ(cudaSuccess, call(numPlanes));
        auto const calls = names(recording);
        auto const launches = recording.launches();
        EXPECT_EQ(numPlanes, numWritten());
        ASSERT_EQ(numPlanes / 3 + numPlanes % 3, launches.size());
        for (unsigned long i = 0; i < launches.size(); ++i) {
            std::string const planes = i < numPlanes / 3 ? "<double, 3>" : "<double, 1>";
            EXPECT_NE(std::string::npos, launches[i].kernel.find("ExpandOnlyKernel" + planes))
                << launches[i].kernel;
            EXPECT_EQ(2u, launches[i].grid.x);
            EXPECT_EQ(5u, launches[i].grid.y);
            EXPECT_EQ(256u, launches[i].block.x);
            EXPECT_EQ(1u, launches[i].block.y);
        }
        if (numPlanes == 0) continue;
        EXPECT_EQ("cudaCreateTextureObject", calls.front());
        EXPECT_EQ("cudaDestroyTextureObject", calls.back());
    }
}

TEST_F(ImresizeCalls, ChooseTheKernelByBothScales) {
    struct Choice {
        double scaleRows, scaleCols;
        char const* kernel;
    };
    double const nan = std::numeric_limits<double>::quiet_NaN();
    for (Choice const& choice : {Choice{1, 1, "ExpandOnlyKernel"}, Choice{2, 1, "ExpandOnlyKernel"},
                                 Choice{0.9, 0.5, "ReduceOnlyKernel"}, Choice{1, 0.5, "GeneralKernel"},
                                 Choice{0.5, 1, "GeneralKernel"}, Choice{0.5, 3, "GeneralKernel"},
                                 Choice{nan, 0.5, "GeneralKernel"}}) {
        hostdevice::Recording const recording;
        EXPECT_EQ(cudaSuccess, call(1, choice.scaleRows, choice.scaleCols));
        ASSERT_EQ(1u, recording.launches().size());
        EXPECT_NE(std::string::npos, recording.launches()[0].kernel.find(choice.kernel))
            << recording.launches()[0].kernel;
    }
}

TEST_F(ImresizeCalls, BindAndUnbindThoughNothingIsLaunched) {
    hostdevice::Recording const recording;
    EXPECT_EQ(cudaSuccess,
              (Imresize::Invoker<double>()(nullptr, out.data(), in.data(), 2, 2, 0, 2, 1, 1, 1)));
    EXPECT_EQ((std::vector<std::string>{"cudaCreateTextureObject", "cudaDestroyTextureObject"}),
              names(recording));
}

TEST_F(ImresizeCalls, ThatCannotBindLaunchNothing) {
    hostdevice::failNextCall("cudaCreateTextureObject", cudaErrorInvalidTexture);
    hostdevice::Recording const recording;
    EXPECT_EQ(cudaErrorInvalidTexture, call(5));
    EXPECT_EQ(1u, recording.calls().size());
    EXPECT_TRUE(out.untouched());
}

TEST_F(ImresizeCalls, EndWithTheFirstLaunchThatFails) {
    unsigned long const written[] = {0, 3, 6, 7};  // before the launches of 3, 3, 1 and 1 planes
    for (unsigned int n = 0; n < 4; ++n) {
        EXPECT_EQ(cudaSuccess, cudaMemset(out.data(), 0, plane * maxPlanes * sizeof(double)));
        hostdevice::failNextCall("cudaLaunchKernel", cudaErrorLaunchOutOfResources, n);
        hostdevice::Recording const recording;
        EXPECT_EQ(cudaErrorLaunchOutOfResources, call(8));
        EXPECT_EQ(n + 1, recording.launches().size());
        EXPECT_EQ("cudaDestroyTextureObject", names(recording).back());
        EXPECT_EQ(written[n], numWritten());
    }
}

TEST_F(ImresizeCalls, ReturnTheStatusOfUnbinding) {
    hostdevice::failNextCall("cudaDestroyTextureObject", cudaErrorUnknown);
    EXPECT_EQ(cudaErrorUnknown, call(2));
    EXPECT_EQ(2u, numWritten());
    // What is still bound is unbound before the next is bound; if that fails again, nothing is launched.
    hostdevice::failNextCall("cudaDestroyTextureObject", cudaErrorNotPermitted);
    hostdevice::Recording const recording;
    EXPECT_EQ(cudaErrorNotPermitted, call(3));
    EXPECT_EQ(1u, recording.calls().size());
    EXPECT_EQ(cudaSuccess, call(3));
    EXPECT_EQ(3u, numWritten());
}

TEST_F(ImresizeCalls, TellOfTheLaunchBeforeUnbinding) {
    hostdevice::failNextCall("cudaLaunchKernel", cudaErrorLaunchFailure);
    hostdevice::failNextCall("cudaDestroyTextureObject", cudaErrorUnknown);
    EXPECT_EQ(cudaErrorLaunchFailure, call(1));
}

TEST_F(ImresizeCalls, WithoutAnInputToReadAreAFault) {
    EXPECT_EQ(cudaErrorIllegalAddress,
              (Imresize::Invoker<double>()(nullptr, out.data(), in.data(), 0, 4, 2, 2, 1, 1, 1)));
    EXPECT_TRUE(out.untouched());
}

TEST_F(ImresizeCalls, TexturesOfBothTypesAreApart) {
    DeviceArray<float> floats{1, 2, 3};
    unsigned long offset;
    hostdevice::Recording const recording;
    EXPECT_EQ(cudaSuccess, bind<float>(&offset, floats.data(), 3));
    EXPECT_EQ(cudaSuccess, call(1));
    auto const first = names(recording);
    EXPECT_EQ(1, std::count(first.begin(), first.end(), "cudaDestroyTextureObject"));
    EXPECT_EQ(cudaSuccess, bind<float>(&offset, floats.data() + 1, 2));
    EXPECT_EQ(cudaSuccess, unbind<float>());
    auto const calls = names(recording);
    EXPECT_EQ(3, std::count(calls.begin(), calls.end(), "cudaCreateTextureObject"));
    EXPECT_EQ(3, std::count(calls.begin(), calls.end(), "cudaDestroyTextureObject"));
}

}  // namespace
}  // namespace gpuruntime

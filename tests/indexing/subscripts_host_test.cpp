// What reading and writing selections asks of the runtime, and what is left behind when it fails.

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <gpuruntime/subscripts.hpp>
#include <host_device.hpp>

#include <algorithm>
#include <string>

#include "tests/indexing/subscript_operators.hpp"
#include "tests/support/device_array.hpp"

namespace gpuruntime {
namespace {

using testing::DeviceArray;
using testing::SelectionArguments;
using testing::SelectionOperators;
using testing::SlotKind;

class SubscriptCalls : public ::testing::Test {
  protected:
    SubscriptCalls() : vector({1, 2, 3}), in(arrayBytes), out(arrayBytes) {
        EXPECT_EQ(cudaSuccess, cudaStreamCreate(&stream));
        reset();
    }
    ~SubscriptCalls() override {
        reset();
        EXPECT_EQ(cudaSuccess, cudaStreamDestroy(stream));
    }

    /// Three of each dimension on the stream, whether by a vector or by a progression.
    SelectionArguments arguments() {
        SelectionArguments result;
        result.stream = stream;
        result.numel = 3;
        for (unsigned long d = 0; d < 3; ++d) {
            result.dims[d] = 3;
            result.slots[d] = {vector.data(), {1, 1}, 3};
        }
        return result;
    }

    static constexpr unsigned long arrayBytes = 27 * sizeof(double2);
    DeviceArray<double> vector;
    DeviceArray<unsigned char> in, out;
    cudaStream_t stream = nullptr;

  private:
    static void reset() {
        hostdevice::clearFailures();
        cudaGetLastError();
    }
};

std::string kernelName(char const* family, SelectionOperators const& operators, std::string const& source) {
    std::string name =
        family + std::to_string(operators.kinds.size()) + "DKernel<" + operators.carrier + source;
    for (SlotKind const kind : operators.kinds) {
        name += kind == SlotKind::vector ? ", const double*" : ", double2";
    }
    return name + ">";
}

TEST_F(SubscriptCalls, LaunchTheKernelOfTheElementSizeAndTheSlots) {
    double2 const value{};
    for (SelectionOperators const& operators : testing::selectionOperators()) {
        SCOPED_TRACE(operators.name);
        hostdevice::Recording const recording;
        operators.read(arguments(), out.data(), in.data());
        operators.write(arguments(), out.data(), in.data());
        operators.writeValue(arguments(), out.data(), &value);
        ASSERT_EQ(3u, recording.launches().size());
        std::string const kernels[] = {
            kernelName("Subsref", operators, ""),
            kernelName("Subsasgn", operators, ", const " + operators.carrier + "*"),
            kernelName("Subsasgn", operators, ", " + operators.carrier)};
        for (unsigned long i = 0; i < 3; ++i) {
            std::string const launched = recording.launches()[i].kernel;
            EXPECT_NE(std::string::npos, launched.find(kernels[i])) << launched << "\nnot " << kernels[i];
            EXPECT_NE(std::string::npos, launched.find("singleStepKernel")) << launched;
            EXPECT_EQ(stream, recording.launches()[i].stream);
        }
    }
}

TEST_F(SubscriptCalls, NothingIsCalledForACountOfNone) {
    double2 const value{};
    for (SelectionOperators const& operators : testing::selectionOperatorsOfEachCarrier()) {
        SCOPED_TRACE(operators.name);
        for (unsigned long d = 0; d < operators.kinds.size(); ++d) {
            SelectionArguments call = arguments();
            call.slots[d].count = 0;
            if (operators.kinds.size() == 1) call.numel = 0;
            hostdevice::Recording const recording;
            operators.read(call, out.data(), in.data());
            operators.write(call, out.data(), in.data());
            operators.writeValue(call, out.data(), &value);
            EXPECT_TRUE(recording.calls().empty());
        }
    }
    EXPECT_TRUE(out.untouched());
}

TEST_F(SubscriptCalls, CountsOfAbsentDimensionsAreNotRead) {
    double2 const value{};
    for (SelectionOperators const& operators : testing::selectionOperatorsOfEachCarrier()) {
        SCOPED_TRACE(operators.name);
        SelectionArguments call = arguments();
        if (operators.kinds.size() > 1) call.numel = 0;
        for (unsigned long d = operators.kinds.size() == 1 ? 0 : operators.kinds.size(); d < 3; ++d) {
            call.slots[d].count = 0;
        }
        hostdevice::Recording const recording;
        operators.read(call, out.data(), in.data());
        operators.write(call, out.data(), in.data());
        operators.writeValue(call, out.data(), &value);
        EXPECT_EQ(3u, recording.launches().size());
    }
}

TEST_F(SubscriptCalls, AFailedLaunchWritesNothingAndLeavesItsError) {
    double2 const value{};
    for (SelectionOperators const& operators : testing::selectionOperatorsOfEachCarrier()) {
        SCOPED_TRACE(operators.name);
        for (auto const call : {operators.read, operators.write, operators.writeValue}) {
            hostdevice::failNextCall("cudaLaunchKernel", cudaErrorLaunchOutOfResources);
            call(arguments(), out.data(),
                 call == operators.writeValue ? static_cast<void const*>(&value) : in.data());
            EXPECT_EQ(cudaErrorLaunchOutOfResources, cudaGetLastError());
            EXPECT_EQ(0u, hostdevice::clearFailures());
        }
    }
    EXPECT_TRUE(out.untouched());
}

TEST_F(SubscriptCalls, TheRuntimesAnswerOnTheKernelIsNotChecked) {
    // Without attributes there is no block size to divide by: nothing can be launched, and that is the error.
    hostdevice::failNextCall("cudaFuncGetAttributes", cudaErrorUnknown);
    SelectionOperators const operators = testing::selectionOperatorsOfEachCarrier()[0];
    ASSERT_EQ(1u, operators.kinds.size());
    operators.read(arguments(), out.data(), in.data());
    EXPECT_EQ(cudaErrorInvalidConfiguration, cudaGetLastError());
    EXPECT_TRUE(out.untouched());
}

TEST(SubscriptOffsets, WrapAt2To32AmongElementsBesideEachOther) {
    constexpr unsigned long wrap = 1ul << 32, beforeWrap = 3, n = 600, room = 4096;
    void* const memory = mmap(nullptr, wrap + room, PROT_READ | PROT_WRITE,
                              MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (memory == MAP_FAILED) GTEST_SKIP() << "no address space of 4 GiB";
    auto* const array = static_cast<bool*>(memory);
    // The last elements before the wrap, and then those from the array's begin on.
    double2 const slot{-2, 1};
    SubsasgnScalar3D<double2, void*, void*>::Invoker<bool>()(nullptr, n, array, true, 0, 0, slot, 0, 0,
                                                             nullptr, 0, 0, nullptr);
    DeviceArray<bool> out(n);
    Subsref3D<double2, void*, void*>::Invoker<bool>()(nullptr, n, out.data(), array, 0, 0, slot, 0, 0,
                                                      nullptr, 0, 0, nullptr);
    testing::expectSameBits(testing::Elements<bool>(n, true), out.values());
    auto const written = [=](unsigned long begin) {
        return std::count(array + begin, array + begin + room, true);
    };
    EXPECT_EQ(static_cast<long>(n - beforeWrap), written(0));
    EXPECT_EQ(static_cast<long>(beforeWrap), written(wrap - room));
    EXPECT_EQ(0, written(wrap));
    EXPECT_EQ(0, munmap(memory, wrap + room));
}

}  // namespace
}  // namespace gpuruntime

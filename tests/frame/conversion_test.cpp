#include "conversion.hpp"

#include <gtest/gtest.h>

#include <vector>

#include "frame/elementwise.hpp"
#include "tests/support/device_array.hpp"

namespace gpuruntime {
namespace {

using testing::DeviceArray;

struct FromUint32Kernel {
    static GPU_DEVICE void apply(elementwisedetail::Position at, double* out, unsigned int const* in) {
        out[at.i] = backend::fromUint32(in[at.i]);
    }
};

TEST(Conversion, UnsignedIntegersAreExactInDouble) {
    DeviceArray<unsigned int> in({0u, 1u, 2147483647u, 2147483648u, 4294967295u});
    DeviceArray<double> out(in.size());
    EXPECT_EQ(cudaSuccess,
              elementwisedetail::launch<FromUint32Kernel>(nullptr, in.size(), out.data(), in.data()));
    testing::expectSameBits(std::vector<double>{0, 1, 2147483647, 2147483648, 4294967295}, out.values());
}

}  // namespace
}  // namespace gpuruntime

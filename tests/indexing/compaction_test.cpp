// The whole compaction as an engine drives it: flags, their running count, and the positions.

#include <gpuruntime/accumulation.hpp>
#include <gpuruntime/find.hpp>
#include <gpuruntime/predicates.hpp>

#include <gtest/gtest.h>

#include <vector>

#include "tests/support/device_array.hpp"
#include "tests/support/values.hpp"

namespace gpuruntime {
namespace {

using testing::DeviceArray;

/// The positions of the values that are not 0, by the running count of their flags.
std::vector<double> positionsOfNonZeros(testing::Elements<double> const& values, unsigned long limit,
                                        FindFirstLast mode) {
    unsigned long const n = values.size();
    DeviceArray<double> in(values), scan(n), total(1), positions(limit);
    FlagNonZero::Invoker<double>()(nullptr, scan.data(), in.data(), n);
    EXPECT_EQ(cudaSuccess, CumSum::Invoker<double>()(nullptr, total.data(), scan.data(), n, n, 1));
    EXPECT_EQ(0,
              Find1D::Invoker<double>()(nullptr, positions.data(), in.data(), scan.data(), limit, n, mode));
    return positions.values();
}

TEST(Compaction, FindsWhatAPlainLoopFinds) {
    for (unsigned long const n : {1ul, 255ul, 256ul, 257ul, 5000ul, 100003ul}) {
        SCOPED_TRACE(n);
        // Special values, among them zeros and NaN, and plain zeros.
        auto values = testing::mixedValues<double>(n, 5, n);
        for (unsigned long i = 1; i < n; i += 3) values[i] = 0;
        std::vector<double> expected;
        for (unsigned long i = 0; i < n; ++i) {
            if (values[i] != 0) expected.push_back(static_cast<double>(i + 1));
        }
        testing::expectSameBits(expected, positionsOfNonZeros(values, expected.size(), FindFirst));
        unsigned long const half = expected.size() / 2;
        auto const middle = static_cast<long>(half);
        testing::expectSameBits({expected.begin(), expected.begin() + middle},
                                positionsOfNonZeros(values, half, FindFirst));
        testing::expectSameBits({expected.end() - middle, expected.end()},
                                positionsOfNonZeros(values, half, FindLast));
    }
}

}  // namespace
}  // namespace gpuruntime

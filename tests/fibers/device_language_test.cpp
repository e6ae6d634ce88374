// What a GPU's instructions give where C++ leaves it open, and the orders in which threads run.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <string>
#include <vector>

#include "conversion.hpp"
#include "device_language.hpp"
#include "math.hpp"
#include "order.hpp"

namespace gpuruntime::fibers {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

TEST(Conversions, GoTowardZero) {
    EXPECT_EQ(2, __double2int_rz(2.9));
    EXPECT_EQ(-2, __double2int_rz(-2.9));
    EXPECT_EQ(2u, __double2uint_rz(2.9));
    EXPECT_EQ(0u, __double2uint_rz(-0.9));
    EXPECT_EQ(-2251799813685249, __double2ll_rz(-2251799813685249.5));
    EXPECT_EQ(0x8000000000000800ull, __double2ull_rz(0x1.0000000000001p63));
}

TEST(Conversions, Saturate) {
    EXPECT_EQ(2147483647, __double2int_rz(2147483647.5));
    EXPECT_EQ(2147483647, __double2int_rz(infinity));
    EXPECT_EQ(-2147483647 - 1, __double2int_rz(-2147483649.0));
    EXPECT_EQ(4294967295u, __double2uint_rz(0x1p32));
    EXPECT_EQ(0u, __double2uint_rz(-infinity));
    EXPECT_EQ(std::numeric_limits<long long>::max(), __double2ll_rz(0x1p63));
    EXPECT_EQ(std::numeric_limits<long long>::min(), __double2ll_rz(-infinity));
    EXPECT_EQ(std::numeric_limits<long long>::max() - 1023, __double2ll_rz(0x1.fffffffffffffp62));
    EXPECT_EQ(std::numeric_limits<unsigned long long>::max(), __double2ull_rz(0x1p64));
    EXPECT_EQ(0ull, __double2ull_rz(-1));
}

TEST(Conversions, OfFloatSaturateAsWell) {
    EXPECT_EQ(-2, __float2int_rz(-2.9f));
    EXPECT_EQ(2147483647, __float2int_rz(0x1p31f));
    EXPECT_EQ(0u, __float2uint_rz(-1.5f));
    EXPECT_EQ(std::numeric_limits<long long>::max(), __float2ll_rz(HUGE_VALF));
    EXPECT_EQ(std::numeric_limits<unsigned long long>::max(), __float2ull_rz(0x1p64f));
}

TEST(Conversions, OfNaNGiveTheHighestBitOrZero) {
    float const nanFloat = static_cast<float>(nan);
    EXPECT_EQ(0, __float2int_rz(nanFloat));
    EXPECT_EQ(0u, __float2uint_rz(nanFloat));
    EXPECT_EQ(std::numeric_limits<long long>::min(), __float2ll_rz(nanFloat));
    EXPECT_EQ(0x8000000000000000ull, __float2ull_rz(nanFloat));
    EXPECT_EQ(-2147483647 - 1, __double2int_rz(nan));
    EXPECT_EQ(0x80000000u, __double2uint_rz(nan));
    EXPECT_EQ(std::numeric_limits<long long>::min(), __double2ll_rz(nan));
    EXPECT_EQ(0x8000000000000000ull, __double2ull_rz(nan));
}

template <class T>
void expectExtremes() {
    // Not known to the compiler, which might fold them.
    T volatile const zero = 0, one = 1, notANumber = static_cast<T>(nan);
    T const negative = -zero;
    EXPECT_FALSE(std::signbit(backend::fmax<T>(zero, negative)));
    EXPECT_FALSE(std::signbit(backend::fmax<T>(negative, zero)));
    EXPECT_TRUE(std::signbit(backend::fmin<T>(zero, negative)));
    EXPECT_TRUE(std::signbit(backend::fmin<T>(negative, zero)));
    EXPECT_EQ(T(1), backend::fmax<T>(notANumber, one));
    EXPECT_EQ(T(1), backend::fmin<T>(one, notANumber));
    EXPECT_NE(backend::fmin<T>(notANumber, notANumber), backend::fmin<T>(notANumber, notANumber));
    EXPECT_EQ(T(1), backend::fmax<T>(zero, one));
    EXPECT_EQ(T(0), backend::fmin<T>(zero, one));
}

TEST(Extremes, TellZerosApartAndPassOverNaN) {
    expectExtremes<float>();
    expectExtremes<double>();
}

// By way of double precision the sum would be rounded twice, and become 0x1.46c5e4p1.
TEST(FusedOperations, OfFloatRoundOnce) {
    float volatile const a = 0x1.c2dp0f, b = 0x1.732p0f, c = 0x1p-60f;
    EXPECT_EQ(0x1.46c5e6p1f, backend::fma<float>(a, b, c));
}

std::vector<unsigned int> arranged(char const* order) {
    char const* const chosen = std::getenv("KVGPU_ORDER");
    std::string const before = chosen == nullptr ? "ascending" : chosen;
    setenv("KVGPU_ORDER", order, 1);
    Order drawn;
    setenv("KVGPU_ORDER", before.c_str(), 1);
    std::vector<unsigned int> numbers(200);
    drawn.arrange(numbers);
    drawn.arrange(numbers);
    return numbers;
}

TEST(Orders, HoldEachNumberOnce) {
    auto const ascending = arranged("ascending");
    EXPECT_TRUE(std::is_sorted(ascending.begin(), ascending.end()));
    auto const descending = arranged("descending");
    EXPECT_TRUE(std::equal(ascending.begin(), ascending.end(), descending.rbegin()));
    auto const shuffled = arranged("shuffled:3");
    EXPECT_TRUE(std::is_permutation(ascending.begin(), ascending.end(), shuffled.begin()));
    EXPECT_NE(ascending, shuffled);
    EXPECT_EQ(shuffled, arranged("shuffled:3"));
    EXPECT_NE(shuffled, arranged("shuffled:4"));
    EXPECT_DEATH(arranged("sideways"), "no order");
}

}  // namespace
}  // namespace gpuruntime::fibers

// Layout and numbers of the runtime's types, on which compiled callers rely.

#include <cuda_runtime.h>
#include <gtest/gtest.h>

#include <type_traits>

namespace {

template <typename Pair, typename Part>
void expectPairOf() {
    static_assert(std::is_same_v<decltype(Pair::x), Part> && std::is_same_v<decltype(Pair::y), Part>);
    static_assert(std::is_trivial_v<Pair>);
    EXPECT_EQ(sizeof(Pair), 2 * sizeof(Part));
    EXPECT_EQ(alignof(Pair), 2 * sizeof(Part));
}

TEST(Types, pairIsAlignedToItsSize) {
    expectPairOf<char2, signed char>();
    expectPairOf<uchar2, unsigned char>();
    expectPairOf<short2, short>();
    expectPairOf<ushort2, unsigned short>();
    expectPairOf<int2, int>();
    expectPairOf<uint2, unsigned int>();
    expectPairOf<long2, long>();
    expectPairOf<ulong2, unsigned long>();
    expectPairOf<longlong2, long long>();
    expectPairOf<ulonglong2, unsigned long long>();
    expectPairOf<float2, float>();
    expectPairOf<double2, double>();
}

TEST(Types, extentThatIsNotGivenIsOne) {
    dim3 const none;
    dim3 const one = 7;
    EXPECT_EQ(none.x, 1U);
    EXPECT_EQ(none.y, 1U);
    EXPECT_EQ(none.z, 1U);
    EXPECT_EQ(one.x, 7U);
    EXPECT_EQ(one.y, 1U);
    EXPECT_EQ(one.z, 1U);
    EXPECT_EQ(sizeof(dim3), 12U);
    EXPECT_EQ(alignof(dim3), 4U);
}

TEST(Types, makersPutPartsInOrder) {
    double2 const complex = make_double2(1.5, -2.5);
    EXPECT_EQ(complex.x, 1.5);
    EXPECT_EQ(complex.y, -2.5);
    char2 const small = make_char2(-128, 127);
    EXPECT_EQ(small.x, -128);
    EXPECT_EQ(small.y, 127);
    uint3 const position = make_uint3(1, 2, 3);
    EXPECT_EQ(position.x, 1U);
    EXPECT_EQ(position.y, 2U);
    EXPECT_EQ(position.z, 3U);
}

TEST(Types, enumeratorsHaveTheRuntimesNumbers) {
    EXPECT_EQ(cudaSuccess, 0);
    EXPECT_EQ(cudaErrorInvalidValue, 1);
    EXPECT_EQ(cudaErrorMemoryAllocation, 2);
    EXPECT_EQ(cudaErrorInvalidConfiguration, 9);
    EXPECT_EQ(cudaErrorInvalidSymbol, 13);
    EXPECT_EQ(cudaErrorInvalidMemcpyDirection, 21);
    EXPECT_EQ(cudaErrorInsufficientDriver, 35);
    EXPECT_EQ(cudaErrorInvalidDeviceFunction, 98);
    EXPECT_EQ(cudaErrorNoDevice, 100);
    EXPECT_EQ(cudaErrorInvalidDevice, 101);
    EXPECT_EQ(cudaErrorInvalidResourceHandle, 400);
    EXPECT_EQ(cudaErrorIllegalAddress, 700);
    EXPECT_EQ(cudaErrorLaunchOutOfResources, 701);
    EXPECT_EQ(cudaErrorLaunchFailure, 719);
    EXPECT_EQ(cudaErrorUnknown, 999);
    EXPECT_EQ(cudaMemcpyHostToHost, 0);
    EXPECT_EQ(cudaMemcpyHostToDevice, 1);
    EXPECT_EQ(cudaMemcpyDeviceToHost, 2);
    EXPECT_EQ(cudaMemcpyDeviceToDevice, 3);
    EXPECT_EQ(cudaMemcpyDefault, 4);
}

}  // namespace

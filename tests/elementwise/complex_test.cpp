#include <gpuruntime/complex.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "tests/support/bytes.hpp"
#include "tests/support/device_array.hpp"
#include "tests/support/device_limits.hpp"
#include "tests/support/large.hpp"
#include "tests/support/test_types.hpp"
#include "tests/support/values.hpp"

namespace gpuruntime {
namespace {

using testing::Bytes;
using testing::DeviceArray;
using testing::Elements;
using testing::expectSameBits;

// --- Joining and taking apart ---

/// The operators of a type of parts, by bytes.
struct PartOperators {
    unsigned long partSize;
    void (*ofBoth)(void* out, void const* re, void const* im, unsigned long n);
    void (*withIm)(void* out, void const* re, void const* im, unsigned long n);
    void (*withRe)(void* out, void const* re, void const* im, unsigned long n);
    void (*apart)(void* re, void* im, void const* in, unsigned long n);
    void (*real)(void* out, void const* in, unsigned long n);
    void (*imag)(void* out, void const* in, unsigned long n);
};

template <class T>
T valueAt(void const* address) {
    T value;
    std::memcpy(&value, address, sizeof value);
    return value;
}

template <class T>
PartOperators operatorsOf() {
    using C = ComplexOf<T>;
    return {sizeof(T),
            [](void* out, void const* re, void const* im, unsigned long n) {
                ComplexifyPtrPtr::Invoker<T>()(nullptr, static_cast<C*>(out), static_cast<T const*>(re),
                                               static_cast<T const*>(im), n);
            },
            [](void* out, void const* re, void const* im, unsigned long n) {
                ComplexifyPtrScalar::Invoker<T>()(nullptr, static_cast<C*>(out), static_cast<T const*>(re),
                                                  valueAt<T>(im), n);
            },
            [](void* out, void const* re, void const* im, unsigned long n) {
                ComplexifyScalarPtr::Invoker<T>()(nullptr, static_cast<C*>(out), valueAt<T>(re),
                                                  static_cast<T const*>(im), n);
            },
            [](void* re, void* im, void const* in, unsigned long n) {
                Decomplexify::Invoker<C>()(nullptr, static_cast<T*>(re), static_cast<T*>(im),
                                           static_cast<C const*>(in), n);
            },
            [](void* out, void const* in, unsigned long n) {
                Real::Invoker<C>()(nullptr, static_cast<T*>(out), static_cast<C const*>(in), n);
            },
            [](void* out, void const* in, unsigned long n) {
                Imag::Invoker<C>()(nullptr, static_cast<T*>(out), static_cast<C const*>(in), n);
            }};
}

template <class... T>
std::vector<PartOperators> operatorsOfEach(internal::TypeList<T...>) {
    return {operatorsOf<T>()...};
}

// Complex types of a sampled build have parts of these types.
template <class T>
inline constexpr bool isPartBuilt = internal::isBuilt<T>&& internal::isBuilt<ComplexOf<T>>;
template <class... T>
internal::Concatenate<std::conditional_t<isPartBuilt<T>, internal::TypeList<T>, internal::TypeList<>>...>
    partsBuilt(internal::TypeList<T...>);

std::vector<PartOperators> allOperators() {
    return operatorsOfEach(decltype(partsBuilt(internal::RealNumeric{})){});
}

/// Pairs of the elements of two arrays; one of a single element goes with all of the other.
Bytes joined(unsigned long partSize, Bytes const& re, Bytes const& im, unsigned long n) {
    Bytes pairs(2 * n * partSize);
    for (unsigned long i = 0; i < n; ++i) {
        testing::copyElement(partSize, pairs, 2 * i, re, re.size() == partSize ? 0 : i);
        testing::copyElement(partSize, pairs, 2 * i + 1, im, im.size() == partSize ? 0 : i);
    }
    return pairs;
}

void expectJoinedAndTakenApart(PartOperators const& of, unsigned long n) {
    SCOPED_TRACE(::testing::Message() << n << " with parts of " << of.partSize);
    Bytes const re = testing::randomElements(of.partSize, false, n, n + 1);
    Bytes const im = testing::randomElements(of.partSize, false, n, n + 2);
    Bytes const scalar = testing::randomElements(of.partSize, false, 1, n + 3);
    Bytes const pairs = joined(of.partSize, re, im, n);
    DeviceArray<unsigned char> deviceRe(re), deviceIm(im);
    auto const expectJoined = [&](Bytes const& expected, auto join) {
        DeviceArray<unsigned char> out(pairs.size());
        join(out.data());
        testing::expectSameBytes(expected, out.values());
    };
    expectJoined(pairs, [&](void* out) { of.ofBoth(out, deviceRe.data(), deviceIm.data(), n); });
    expectJoined(joined(of.partSize, re, scalar, n),
                 [&](void* out) { of.withIm(out, deviceRe.data(), scalar.data(), n); });
    expectJoined(joined(of.partSize, scalar, im, n),
                 [&](void* out) { of.withRe(out, scalar.data(), deviceIm.data(), n); });
    testing::expectSameBytes(re, deviceRe.values());
    testing::expectSameBytes(im, deviceIm.values());

    DeviceArray<unsigned char> in(pairs), bothRe(re.size()), bothIm(re.size()), real(re.size()),
        imag(re.size());
    of.apart(bothRe.data(), bothIm.data(), in.data(), n);
    of.real(real.data(), in.data(), n);
    of.imag(imag.data(), in.data(), n);
    testing::expectSameBytes(re, bothRe.values());
    testing::expectSameBytes(im, bothIm.values());
    testing::expectSameBytes(re, real.values());
    testing::expectSameBytes(im, imag.values());
    testing::expectSameBytes(pairs, in.values());
    EXPECT_EQ(cudaSuccess, cudaGetLastError());
}

TEST(ComplexParts, MoveBitForBitForAllTypes) {
    for (PartOperators const& of : allOperators()) {
        for (unsigned long n : testing::boundarySizes()) expectJoinedAndTakenApart(of, n);
        testing::GridLimits const limits(2);
        expectJoinedAndTakenApart(of, 1300);
    }
}

TEST(ComplexParts, OfLargeArraysMoveToo) {
    expectJoinedAndTakenApart(operatorsOf<double>(), testing::largeCount<double>() + 300);
}

TEST(ComplexParts, WriteNothingWithoutElements) {
    DeviceArray<unsigned char> in(64), out(64), other(64);
    unsigned long const scalar = 7;
    for (PartOperators const& of : allOperators()) {
        of.ofBoth(out.data(), in.data(), in.data(), 0);
        of.withIm(out.data(), in.data(), &scalar, 0);
        of.withRe(out.data(), &scalar, in.data(), 0);
        of.apart(out.data(), other.data(), in.data(), 0);
        of.real(out.data(), in.data(), 0);
        of.imag(out.data(), in.data(), 0);
    }
    EXPECT_TRUE(out.untouched());
    EXPECT_TRUE(other.untouched());
}

template <class P>
P withBits(std::conditional_t<sizeof(P) == 4, unsigned int, unsigned long> bits) {
    return valueAt<P>(&bits);
}

TEST(ComplexParts, KeepASignallingNaNAndAZerosSign) {
    float const signalling = withBits<float>(0x7f812345);
    DeviceArray<float> re{signalling, -0.0f}, im{1, 2};
    DeviceArray<float2> out(2);
    ComplexifyPtrPtr::Invoker<float>()(nullptr, out.data(), re.data(), im.data(), 2);
    expectSameBits({{signalling, 1}, {-0.0f, 2}}, out.values());
    ComplexifyScalarPtr::Invoker<float>()(nullptr, out.data(), signalling, im.data(), 2);
    expectSameBits({{signalling, 1}, {signalling, 2}}, out.values());
    ComplexifyPtrScalar::Invoker<float>()(nullptr, out.data(), re.data(), -0.0f, 2);
    expectSameBits({{signalling, -0.0f}, {-0.0f, -0.0f}}, out.values());
}

TEST(ComplexParts, OfIntegersAreTakenAsStored) {
    DeviceArray<char2> in{{-128, 127}, {5, -1}};
    DeviceArray<signed char> out(2);
    Real::Invoker<char2>()(nullptr, out.data(), in.data(), 2);
    expectSameBits({-128, 5}, out.values());
    Imag::Invoker<char2>()(nullptr, out.data(), in.data(), 2);
    expectSameBits({127, -1}, out.values());
}

// --- Conj ---

template <class C>
class ConjOf : public ::testing::Test {};
TYPED_TEST_SUITE(ConjOf, testing::TestTypes<internal::FloatingComplex>);

TYPED_TEST(ConjOf, FlipsTheSignOfTheImaginaryPart) {
    using C = TypeParam;
    auto const expectConjugated = [](Elements<C> values) {
        DeviceArray<C> in(values), out(values.size());
        Conj::Invoker<C>()(nullptr, out.data(), in.data(), values.size());
        expectSameBits(values, in.values());
        Conj::Invoker<C>()(nullptr, in.data(), in.data(), values.size());
        for (C& value : values) value.y = std::copysign(value.y, std::signbit(value.y) ? 1 : -1);
        expectSameBits(values, out.values());
        expectSameBits(values, in.values());
    };
    expectConjugated(testing::specialValues<C>());
    for (unsigned long n : testing::boundarySizes()) expectConjugated(testing::randomValues<C>(n));
    expectConjugated(testing::randomValues<C>(testing::largeCount<C>() + 3));
    testing::GridLimits const limits(3);
    expectConjugated(testing::randomValues<C>(2000));
}

TEST(Conj, GivesTheLiteralValues) {
    double const quiet = withBits<double>(0x7ff8000000012345),
                 negative = withBits<double>(0xfff8000000012345);
    DeviceArray<double2> values{{1, 0}, {-0.0, -2}, {3, quiet}};
    Conj::Invoker<double2>()(nullptr, values.data(), values.data(), 3);
    expectSameBits({{1, -0.0}, {-0.0, 2}, {3, negative}}, values.values());
}

// --- ComplexCopyPad ---

struct Extent {
    unsigned long rows, columns;
};

template <class T>
void expectPadded(Extent to, Extent from) {
    using C = ComplexOf<T>;
    SCOPED_TRACE(::testing::Message()
                 << to.rows << " by " << to.columns << " from " << from.rows << " by " << from.columns);
    auto const values = testing::mixedValues<T>(from.rows * from.columns);
    Elements<C> expected(to.rows * to.columns, C{0, 0});
    for (unsigned long y = 0; y < std::min(to.columns, from.columns); ++y) {
        for (unsigned long x = 0; x < std::min(to.rows, from.rows); ++x) {
            T const value = values[y * from.rows + x];
            if constexpr (internal::isComplex<T>) {
                expected[y * to.rows + x] = value;
            } else {
                expected[y * to.rows + x].x = value;
            }
        }
    }
    DeviceArray<T> in(values);
    DeviceArray<C> out(expected.size());
    ComplexCopyPad::Invoker<T>()(nullptr, out.data(), to.rows, to.columns, in.data(), from.rows,
                                 from.columns);
    expectSameBits(expected, out.values());
    expectSameBits(values, in.values());
    EXPECT_EQ(cudaSuccess, cudaGetLastError());
}

template <class T>
class ComplexCopyPadOf : public ::testing::Test {};
TYPED_TEST_SUITE(ComplexCopyPadOf, testing::TestTypes<internal::Floating>);

TYPED_TEST(ComplexCopyPadOf, PadsAndCrops) {
    std::vector<Extent> const extents{{0, 0},   {0, 3},  {3, 0},   {1, 1},   {2, 3},    {15, 17},
                                      {16, 16}, {33, 5}, {255, 3}, {256, 4}, {257, 40}, {1000, 2}};
    for (Extent const& to : extents) {
        for (Extent const& from : extents) expectPadded<TypeParam>(to, from);
    }
    unsigned long const side = testing::largeSide<ComplexOf<TypeParam>>();
    expectPadded<TypeParam>({side + 5, side + 1}, {side / 2, side});
    expectPadded<TypeParam>({side + 5, side + 1}, {side + 9, side - 7});
}

TYPED_TEST(ComplexCopyPadOf, StepsWhereTheGridExceedsALimit) {
    for (Extent const& limit : {Extent{1, 65535}, Extent{3, 65535}, Extent{65535, 1}, Extent{65535, 3}}) {
        testing::GridLimits const limits(limit.rows, limit.columns);
        expectPadded<TypeParam>({700, 60}, {650, 70});
        expectPadded<TypeParam>({60, 700}, {70, 650});
    }
}

TEST(ComplexCopyPad, GivesTheLiteralValues) {
    DeviceArray<double> in{1, 3, 2, 4};
    DeviceArray<double2> out(3);
    ComplexCopyPad::Invoker<double>()(nullptr, out.data(), 3, 1, in.data(), 2, 2);
    expectSameBits({{1, 0}, {3, 0}, {0, 0}}, out.values());
}

}  // namespace
}  // namespace gpuruntime

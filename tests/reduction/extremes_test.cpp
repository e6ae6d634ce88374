#include <gpuruntime/reductions.hpp>

#include "tests/reduction/shapes.hpp"
#include "tests/support/device_array.hpp"

namespace gpuruntime::testing {
namespace {

template <class T>
using MaxOfNumbers = reference::Extremum<T, 1, false>;
template <class T>
using MaxWithNaNs = reference::Extremum<T, 1, true>;
template <class T>
using MinOfNumbers = reference::Extremum<T, -1, false>;
template <class T>
using MinWithNaNs = reference::Extremum<T, -1, true>;

/// The inputs of all reductions, and ones full of ties: few magnitudes at several angles, and NaN now and
/// then.
template <class T>
std::vector<Elements<T>> extremumInputs(unsigned long n) {
    auto inputs = reductionInputs<T>(n);
    if constexpr (std::is_floating_point_v<internal::Part<T>>) {
        using P = internal::Part<T>;
        P const parts[] = {3, 4, -3, -4, 5, 0, -P(0), -5};
        Elements<T> ties(n);
        for (unsigned long i = 0; i < n; ++i) {
            unsigned long const pick = i * 2654435761u >> 7;
            P const first = pick % 61 == 0 ? std::numeric_limits<P>::quiet_NaN() : parts[pick % 8];
            if constexpr (internal::isComplex<T>) {
                ties[i] = {first, parts[pick / 8 % 8]};
            } else {
                ties[i] = first;
            }
        }
        inputs.push_back(ties);
    }
    return inputs;
}

template <class Family, class T, class Operator>
void expectReference(bool includeNaN) {
    for (Shape const& shape : reductionShapes()) {
        for (Elements<T> const& in : extremumInputs<T>(shape.numElements)) {
            SCOPED_TRACE(::testing::Message() << shape.numElements << " elements, length "
                                              << shape.reductionLength << ", stride " << shape.stride);
            DeviceArray<T> input(in), out(shape.numResults());
            ASSERT_EQ(cudaSuccess, typename Family::template Invoker<T>()(
                                       nullptr, out.data(), input.data(), shape.numElements,
                                       shape.reductionLength, shape.stride, includeNaN));
            expectSameValues(reference::reduce<T, Operator, T>(in, shape, [](T value) { return value; }),
                             out.values());
            expectSameBits(in, input.values());
            if (::testing::Test::HasFatalFailure()) return;
        }
    }
}

template <class Family, class T, class Operator>
void expectIndexReference(bool includeNaN) {
    for (Shape const& shape : reductionShapes()) {
        for (Elements<T> const& in : extremumInputs<T>(shape.numElements)) {
            for (unsigned long segmentsPerGroup : {1ul, 3ul}) {
                SCOPED_TRACE(::testing::Message()
                             << shape.numElements << " elements, length " << shape.reductionLength
                             << ", stride " << shape.stride << ", groups of " << segmentsPerGroup);
                DeviceArray<T> input(in), out(shape.numResults());
                DeviceArray<double> outIndex(shape.numResults());
                ASSERT_EQ(cudaSuccess,
                          typename Family::template Invoker<T>()(
                              nullptr, out.data(), outIndex.data(), input.data(), shape.numElements,
                              shape.reductionLength, segmentsPerGroup, shape.stride, includeNaN));
                Elements<T> expected;
                Elements<double> expectedIndex;
                reference::reduceWithIndex<Operator, T>(in, shape, segmentsPerGroup, expected, expectedIndex);
                expectSameBits(expectedIndex, outIndex.values());
                expectSameBits(expected, out.values());
                expectSameBits(in, input.values());
                if (::testing::Test::HasFatalFailure()) return;
            }
        }
    }
}

template <class T>
class Extremes : public ::testing::Test {};
TYPED_TEST_SUITE(Extremes, TestTypes<internal::Ordered>);

TYPED_TEST(Extremes, MaxEqualsTheReference) {
    expectReference<Max, TypeParam, MaxOfNumbers<TypeParam>>(false);
    expectReference<Max, TypeParam, MaxWithNaNs<TypeParam>>(true);
}

TYPED_TEST(Extremes, MinEqualsTheReference) {
    expectReference<Min, TypeParam, MinOfNumbers<TypeParam>>(false);
    expectReference<Min, TypeParam, MinWithNaNs<TypeParam>>(true);
}

TYPED_TEST(Extremes, MaxWithIndexEqualsTheReference) {
    expectIndexReference<MaxWithIndex, TypeParam, MaxOfNumbers<TypeParam>>(false);
    expectIndexReference<MaxWithIndex, TypeParam, MaxWithNaNs<TypeParam>>(true);
}

TYPED_TEST(Extremes, MinWithIndexEqualsTheReference) {
    expectIndexReference<MinWithIndex, TypeParam, MinOfNumbers<TypeParam>>(false);
    expectIndexReference<MinWithIndex, TypeParam, MinWithNaNs<TypeParam>>(true);
}

/// Of `length` values `stride` apart, all alike but for a larger one at `position` and its equal at the end.
template <class T>
void expectPosition(unsigned long length, unsigned long stride, unsigned long position) {
    if constexpr (internal::isBuilt<T>) {
        SCOPED_TRACE(::testing::Message()
                     << "length " << length << ", stride " << stride << ", position " << position);
        Elements<T> in(length * stride, 1);
        for (unsigned long column = 0; column < stride; ++column) {
            in[position * stride + column] = in[(length - 1) * stride + column] = 2;
        }
        DeviceArray<T> input(in), out(stride);
        DeviceArray<double> outIndex(stride);
        ASSERT_EQ(cudaSuccess, MaxWithIndex::Invoker<T>()(nullptr, out.data(), outIndex.data(), input.data(),
                                                          in.size(), length, 1, stride, true));
        expectSameBits(Elements<T>(stride, 2), out.values());
        expectSameBits(Elements<double>(stride, static_cast<double>(position + 1)), outIndex.values());
    }
}

// The threads count in numbers as wide as the values, of 255 and of 65535 rows at most.
TEST(MaxWithIndex, TellsPositionsBeyondWhatAValueOfTheTypeCounts) {
    for (unsigned long position : {0, 1, 255, 256, 257, 600, 699}) {
        expectPosition<unsigned char>(700, 3, position);
    }
    unsigned long const stretch = 255 * 256;
    for (unsigned long position : {0ul, 255ul, 256ul, stretch + 255, stretch + 256, stretch + 257,
                                   2 * stretch + 255, 2 * stretch + 256, 2 * stretch + 300}) {
        expectPosition<signed char>(2 * stretch + 301, 1, position);
    }
    for (unsigned long position : {0, 65535, 65536, 65537, 69999}) {
        expectPosition<short>(70000, 2, position);
    }
    for (unsigned long position : {65535ul * 256 + 255, 65535ul * 256 + 256, 65535ul * 256 + 300}) {
        expectPosition<unsigned short>(65535 * 256 + 301, 1, position);
    }
}

template <class T>
class Tolerances : public ::testing::Test {};
TYPED_TEST_SUITE(Tolerances, TestTypes<internal::FloatingReal>);

TYPED_TEST(Tolerances, MaxUniqueTolEqualsTheReference) {
    expectReference<MaxUniqueTol, TypeParam, reference::MaxUniqueTol<TypeParam>>(false);
    expectReference<MaxUniqueTol, TypeParam, reference::MaxUniqueTol<TypeParam>>(true);
}

}  // namespace
}  // namespace gpuruntime::testing

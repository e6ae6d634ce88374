#include <gpuruntime/reductions.hpp>

#include <cmath>
#include <limits>

#include "tests/reduction/shapes.hpp"
#include "tests/support/device_array.hpp"

namespace gpuruntime::testing {
namespace {

template <class T>
bool isNaN(T value) {
    if constexpr (internal::isComplex<T>) {
        return value.x != value.x || value.y != value.y;
    } else {
        return value != value;
    }
}

template <class TOut, class T>
TOut widened(T value) {
    if constexpr (internal::isComplex<T>) {
        return {static_cast<internal::Part<TOut>>(value.x), static_cast<internal::Part<TOut>>(value.y)};
    } else {
        return static_cast<TOut>(value);
    }
}

/// `Family` against the reference of `Operator`, in both modes, at every shape, on every input.
template <class Family, class TOut, class T, template <class> class Operator>
void expectReference() {
    using Op = Operator<TOut>;
    for (Shape const& shape : reductionShapes()) {
        for (Elements<T> const& in : reductionInputs<T>(shape.numElements)) {
            for (bool includeNaN : {true, false}) {
                SCOPED_TRACE(::testing::Message()
                             << shape.numElements << " elements, length " << shape.reductionLength
                             << ", stride " << shape.stride << ", NaN " << includeNaN);
                DeviceArray<T> input(in);
                DeviceArray<TOut> out(shape.numResults());
                ASSERT_EQ(cudaSuccess, typename Family::template Invoker<T>()(
                                           nullptr, out.data(), input.data(), shape.numElements,
                                           shape.reductionLength, shape.stride, includeNaN));
                auto const expected = reference::reduce<TOut, Op, T>(in, shape, [&](T value) {
                    return !includeNaN && isNaN(value) ? Op::identity() : widened<TOut>(value);
                });
                expectSameValues(expected, out.values());
                expectSameBits(in, input.values());
                if (::testing::Test::HasFatalFailure()) return;
            }
        }
    }
}

template <class T>
class SumsAndProducts : public ::testing::Test {};
TYPED_TEST_SUITE(SumsAndProducts, TestTypes<internal::All>);

TYPED_TEST(SumsAndProducts, SumNativeEqualsTheReference) {
    expectReference<SumNative, TypeParam, TypeParam, reference::Sum>();
}

TYPED_TEST(SumsAndProducts, SumAsDoubleEqualsTheReference) {
    expectReference<SumAsDouble, detail::AsDouble<TypeParam>, TypeParam, reference::Sum>();
}

TYPED_TEST(SumsAndProducts, ProdNativeEqualsTheReference) {
    expectReference<ProdNative, TypeParam, TypeParam, reference::Prod>();
}

TYPED_TEST(SumsAndProducts, ProdAsDoubleEqualsTheReference) {
    expectReference<ProdAsDouble, detail::AsDouble<TypeParam>, TypeParam, reference::Prod>();
}

template <class T>
class Saturation : public ::testing::Test {};
TYPED_TEST_SUITE(Saturation, TestTypes<internal::Integers>);

/// The powers of two, the roots of those between, and the ends of the range, each with its neighbours and of
/// both signs.
template <class T>
Elements<T> integersAroundBounds() {
    using Limits = std::numeric_limits<T>;
    Elements<T> values{Limits::min(), Limits::max(), T(0)};
    for (int bit = 0; bit < Limits::digits; ++bit) {
        auto const power = 1ul << bit;
        auto const root = static_cast<unsigned long>(std::sqrt(2.0 * static_cast<double>(power)));
        for (unsigned long value : {power - 1, power, power + 1, root, root + 1}) {
            values.push_back(static_cast<T>(value));
            values.push_back(static_cast<T>(-value));
        }
    }
    return values;
}

/// Columns of two elements, one for each pair, so that each result is one combination.
template <class Family, class T, template <class> class Operator>
void expectPairsCombine() {
    Elements<T> const values = integersAroundBounds<T>();
    Elements<T> first, second, expected;
    for (T a : values) {
        for (T b : values) {
            first.push_back(a);
            second.push_back(b);
            expected.push_back(Operator<T>::combine(a, b));
        }
    }
    unsigned long const columns = first.size();
    first.insert(first.end(), second.begin(), second.end());
    DeviceArray<T> in(first), out(columns);
    ASSERT_EQ(cudaSuccess, typename Family::template Invoker<T>()(nullptr, out.data(), in.data(),
                                                                  first.size(), 2, columns, true));
    expectSameValues(expected, out.values());
}

TYPED_TEST(Saturation, OfSumsBeginsAtTheEndsOfTheRange) {
    expectPairsCombine<SumNative, TypeParam, reference::Sum>();
}

TYPED_TEST(Saturation, OfProductsBeginsAtTheEndsOfTheRange) {
    expectPairsCombine<ProdNative, TypeParam, reference::Prod>();
}

}  // namespace
}  // namespace gpuruntime::testing

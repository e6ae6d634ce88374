#include <gpuruntime/reductions.hpp>

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

}  // namespace
}  // namespace gpuruntime::testing

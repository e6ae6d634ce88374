#include <gpuruntime/reductions.hpp>

#include "tests/reduction/shapes.hpp"
#include "tests/support/device_array.hpp"

namespace gpuruntime::testing {
namespace {

template <class T, class Test>
bool anyPart(T value, Test test) {
    if constexpr (internal::isComplex<T>) {
        return test(value.x) || test(value.y);
    } else {
        return test(value);
    }
}

template <class T>
bool isNonZero(T value) {
    return anyPart(value, [](auto part) { return part != 0; });
}

template <class T>
bool isNaN(T value) {
    return anyPart(value, [](auto part) { return part != part; });
}

template <class T>
bool isInf(T value) {
    return anyPart(value, [](auto part) { return std::isinf(part); });
}

/// A call of `Family` with the arguments that it takes.
template <class Family, class TOut, class T>
cudaError call(TOut* out, T const* in, Shape const& shape, bool includeNaN) {
    using Invoker = typename Family::template Invoker<T>;
    if constexpr (std::is_invocable_v<Invoker, CUstream_st*, TOut*, T const*, unsigned long, unsigned long>) {
        return Invoker()(nullptr, out, in, shape.numElements, shape.reductionLength);
    } else {
        return Invoker()(nullptr, out, in, shape.numElements, shape.reductionLength, shape.stride,
                         includeNaN);
    }
}

/// `Family` against the reference of `Operator` after `transform`, at every shape that it takes, on every
/// input and on arrays of mostly zeros.
template <class Family, class TOut, class T, class Operator, class Transform>
void expectReference(Transform transform, bool takesStride) {
    for (Shape const& shape : reductionShapes()) {
        if (shape.stride != 1 && !takesStride) continue;
        auto inputs = reductionInputs<T>(shape.numElements);
        Elements<T> sparse(shape.numElements, T{});
        for (std::size_t i = shape.numElements / 2; i < sparse.size(); i += 400) sparse[i] = inputs[1][i];
        inputs.push_back(sparse);
        for (Elements<T> const& in : inputs) {
            for (bool includeNaN : {true, false}) {
                SCOPED_TRACE(::testing::Message() << shape.numElements << " elements, length "
                                                  << shape.reductionLength << ", stride " << shape.stride);
                DeviceArray<T> input(in);
                DeviceArray<TOut> out(shape.numResults());
                ASSERT_EQ(cudaSuccess, (call<Family, TOut, T>(out.data(), input.data(), shape, includeNaN)));
                expectSameBits(reference::reduce<TOut, Operator, T>(in, shape, transform), out.values());
                expectSameBits(in, input.values());
                if (::testing::Test::HasFatalFailure()) return;
            }
        }
    }
}

template <class T>
class Flags : public ::testing::Test {};
TYPED_TEST_SUITE(Flags, TestTypes<internal::All>);

TYPED_TEST(Flags, AllEqualsTheReference) {
    expectReference<All, bool, TypeParam, reference::And>(&isNonZero<TypeParam>, true);
}

TYPED_TEST(Flags, AnyEqualsTheReference) {
    expectReference<Any, bool, TypeParam, reference::Or>(
        [](TypeParam value) { return isNonZero(value) && !isNaN(value); }, true);
}

TYPED_TEST(Flags, CountNonZeroEqualsTheReference) {
    expectReference<CountNonZero, double, TypeParam, reference::Sum<double>>(
        [](TypeParam value) { return isNonZero(value) ? 1.0 : 0.0; }, false);
}

template <class T>
class FloatingFlags : public ::testing::Test {};
TYPED_TEST_SUITE(FloatingFlags, TestTypes<internal::Floating>);

TYPED_TEST(FloatingFlags, HasInfEqualsTheReference) {
    expectReference<HasInf, bool, TypeParam, reference::Or>(&isInf<TypeParam>, false);
}

TYPED_TEST(FloatingFlags, HasNaNEqualsTheReference) {
    expectReference<HasNaN, bool, TypeParam, reference::Or>(&isNaN<TypeParam>, false);
}

TYPED_TEST(FloatingFlags, HasNaNOrInfEqualsTheReference) {
    expectReference<HasNaNOrInf, bool, TypeParam, reference::Or>(
        [](TypeParam value) { return isNaN(value) || isInf(value); }, false);
}

}  // namespace
}  // namespace gpuruntime::testing

#include "elementwise/guarded_product.hpp"

#include <cuda_runtime.h>
#include <gtest/gtest.h>

#include <limits>

#include "frame/elementwise.hpp"
#include "tests/elementwise/guarded_product_reference.hpp"
#include "tests/support/device_array.hpp"
#include "tests/support/values.hpp"

namespace gpuruntime::testing {
namespace {

template <class T>
struct GuardedProductKernel {
    static GPU_DEVICE void apply(elementwisedetail::Position at, T* out, T const* a, T const* b) {
        out[at.i] = internal::guardedProduct(a[at.i], b[at.i]);
    }
};

template <class T>
Elements<T> products(Elements<T> const& a, Elements<T> const& b) {
    DeviceArray<T> out(a.size()), left(a), right(b);
    EXPECT_EQ(cudaSuccess, elementwisedetail::launch<GuardedProductKernel<T>>(nullptr, a.size(), out.data(),
                                                                              left.data(), right.data()));
    return out.values();
}

template <class T>
T product(T a, T b) {
    return products<T>({a}, {b})[0];
}

template <class T>
class GuardedProduct : public ::testing::Test {
  public:
    using P = internal::Part<T>;
    static constexpr P inf = std::numeric_limits<P>::infinity();
    static constexpr P nan = std::numeric_limits<P>::quiet_NaN();

    static void expectProduct(T expected, T a, T b) { expectSameValues<T>({expected}, {product(a, b)}); }
};

using Complex = ::testing::Types<float2, double2>;
TYPED_TEST_SUITE(GuardedProduct, Complex);

TYPED_TEST(GuardedProduct, OfRealValuesTakesTheImaginaryPartOfTheFirst) {
    this->expectProduct({6, 0}, {2, 0}, {3, 0});
    this->expectProduct({6, -0.0}, {2, -0.0}, {3, 0});
    this->expectProduct({this->inf, 0}, {this->inf, 0}, {1, 0});
    this->expectProduct({this->nan, 0}, {this->inf, 0}, {0, 0});
}

TYPED_TEST(GuardedProduct, OfFiniteValuesIsThePlainFormula) { this->expectProduct({-5, 10}, {1, 2}, {3, 4}); }

TYPED_TEST(GuardedProduct, KeepsInfinities) {
    this->expectProduct({this->inf, this->inf}, {this->inf, this->inf}, {1, 0});
    this->expectProduct({this->inf, 1}, {this->inf, 1}, {1, 0});
    this->expectProduct({-this->inf, this->inf}, {this->inf, this->inf}, {0, 1});
}

TYPED_TEST(GuardedProduct, IsNaNWhereAPartIsNaN) {
    this->expectProduct({this->nan, this->nan}, {this->nan, 1}, {1, 1});
    this->expectProduct({this->nan, this->nan}, {1, 2}, {3, this->nan});
}

TYPED_TEST(GuardedProduct, RecomputesAPartThatIsNaNByOverflow) {
    using P = typename TestFixture::P;
    P const large = std::numeric_limits<P>::max() / 2;
    this->expectProduct({this->inf, 0}, {large, large}, {large, -large});
    this->expectProduct({0, this->inf}, {large, large}, {large, large});
}

TYPED_TEST(GuardedProduct, EqualsTheReferenceOnEveryPairOfSpecialValues) {
    Elements<TypeParam> const special = specialValues<TypeParam>();
    Elements<TypeParam> a, b, expected;
    for (TypeParam x : special) {
        for (TypeParam y : special) {
            a.push_back(x);
            b.push_back(y);
            expected.push_back(reference::guardedProduct(x, y));
        }
    }
    expectSameValues(expected, products<TypeParam>(a, b));
}

TYPED_TEST(GuardedProduct, EqualsTheReferenceOnRandomValues) {
    auto const a = mixedValues<TypeParam>(5000, 7, 1), b = mixedValues<TypeParam>(5000, 5, 2);
    Elements<TypeParam> expected;
    for (std::size_t i = 0; i < a.size(); ++i) expected.push_back(reference::guardedProduct(a[i], b[i]));
    expectSameValues(expected, products<TypeParam>(a, b));
}

}  // namespace
}  // namespace gpuruntime::testing

#include <gpuruntime/matrix_properties.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "tests/support/device_array.hpp"
#include "tests/support/device_limits.hpp"
#include "tests/support/test_types.hpp"
#include "tests/support/values.hpp"

namespace gpuruntime {
namespace {

using testing::DeviceArray;
using testing::Elements;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

template <class T>
T real(double value) {
    if constexpr (internal::isComplex<T>) {
        return {static_cast<internal::Part<T>>(value), 0};
    } else {
        return static_cast<T>(value);
    }
}

template <class T>
bool isNonZero(T value) {
    if constexpr (internal::isComplex<T>) {
        return !(value.x == 0 && value.y == 0);
    } else {
        return !(value == 0);
    }
}

/// Values that count as other than 0, in turn.
template <class T>
T nonZero(unsigned long i) {
    if constexpr (internal::isComplex<T>) {
        using P = internal::Part<T>;
        T const values[] = {{1, 0},
                            {0, -1},
                            {0, static_cast<P>(nan)},
                            {static_cast<P>(nan), 0},
                            {0, std::numeric_limits<P>::denorm_min()}};
        return values[i % 5];
    } else {
        T const values[] = {1, -2, static_cast<T>(nan), std::numeric_limits<T>::denorm_min()};
        return values[i % 4];
    }
}

/// A column-major matrix.
template <class T>
struct Matrix {
    unsigned long rows, columns;
    Elements<T> values;

    Matrix(unsigned long rows, unsigned long columns) : rows(rows), columns(columns), values(rows * columns) {
        // Zeros of both signs.
        for (unsigned long i = 0; i < values.size(); ++i) values[i] = real<T>(i % 3 == 0 ? -0.0 : 0.0);
    }
    auto& at(unsigned long x, unsigned long y) { return values[y * rows + x]; }
};

struct Widths {
    unsigned int lower = 0, upper = 0;
};

template <class T>
Widths widthsOf(Matrix<T>& matrix) {
    Widths widths;
    for (unsigned int y = 0; y < matrix.columns; ++y) {
        for (unsigned int x = 0; x < matrix.rows; ++x) {
            if (!isNonZero(matrix.at(x, y))) continue;
            if (x > y) widths.lower = std::max(widths.lower, x - y);
            if (x < y) widths.upper = std::max(widths.upper, y - x);
        }
    }
    return widths;
}

/// All that follows from the widths, asked of the library.
template <class T>
void expectProperties(Matrix<T> matrix) {
    SCOPED_TRACE(::testing::Message() << matrix.rows << " by " << matrix.columns);
    Widths const expected = widthsOf(matrix);
    DeviceArray<T> in(matrix.values);
    unsigned long const rows = matrix.rows, columns = matrix.columns;

    DeviceArray<unsigned int> lower{77}, upper{77};
    Bandwidth::Invoker<T>()(nullptr, lower.data(), upper.data(), in.data(), rows, columns);
    testing::expectSameBits({expected.lower}, lower.values());
    testing::expectSameBits({expected.upper}, upper.values());
    DeviceArray<unsigned int> alone{77};
    Bandwidth::Invoker<T>()(nullptr, alone.data(), nullptr, in.data(), rows, columns);
    testing::expectSameBits({expected.lower}, alone.values());
    Bandwidth::Invoker<T>()(nullptr, nullptr, alone.data(), in.data(), rows, columns);
    testing::expectSameBits({expected.upper}, alone.values());
    Bandwidth::Invoker<T>()(nullptr, nullptr, nullptr, in.data(), rows, columns);

    for (unsigned long l :
         {0ul, expected.lower - 1ul, 0ul + expected.lower, 1ul + expected.lower, 0xfffffffful}) {
        for (unsigned long u :
             {0ul, expected.upper - 1ul, 0ul + expected.upper, 1ul + expected.upper, 0xfffffffful}) {
            if (l > 0xfffffffful || u > 0xfffffffful) continue;
            EXPECT_EQ(expected.lower <= l && expected.upper <= u,
                      IsBanded::Invoker<T>()(nullptr, in.data(), rows, columns, l, u));
        }
    }
    EXPECT_EQ(expected.upper == 0, IsTril::Invoker<T>()(nullptr, in.data(), rows, columns));
    EXPECT_EQ(expected.lower == 0, IsTriu::Invoker<T>()(nullptr, in.data(), rows, columns));
    EXPECT_EQ((expected.upper == 0 ? 1u : 0u) + (expected.lower == 0 ? 2u : 0u),
              GetFillPattern::Invoker<T>()(nullptr, in.data(), rows, columns));
    EXPECT_EQ(cudaSuccess, cudaGetLastError());
    testing::expectSameBits(matrix.values, in.values());
}

/// Matrices with a diagonal and none, one or two elements beside it, at every place or at some.
template <class T>
void expectPropertiesOf(unsigned long rows, unsigned long columns, unsigned long step) {
    Matrix<T> diagonal(rows, columns);
    for (unsigned long k = 0; k < std::min(rows, columns); ++k) diagonal.at(k, k) = nonZero<T>(k);
    expectProperties(diagonal);
    expectProperties(Matrix<T>(rows, columns));
    unsigned long const size = rows * columns;
    for (unsigned long i = 0; i < size; i += step) {
        Matrix<T> matrix = diagonal;
        matrix.values[i] = nonZero<T>(i);
        if (i % 2 == 0) expectProperties(matrix);
        matrix.values[(i * 7 + 3) % size] = nonZero<T>(i + 1);
        expectProperties(matrix);
    }
    Matrix<T> full(rows, columns);
    for (unsigned long i = 0; i < size; ++i) full.values[i] = nonZero<T>(i);
    expectProperties(full);
}

template <class T>
class MatrixOf : public ::testing::Test {};
TYPED_TEST_SUITE(MatrixOf, testing::TestTypes<internal::Floating>);

TYPED_TEST(MatrixOf, HasThePropertiesThatItsElementsGiveIt) {
    using T = TypeParam;
    for (unsigned long rows : {1ul, 2ul, 5ul}) {
        for (unsigned long columns : {1ul, 2ul, 6ul}) expectPropertiesOf<T>(rows, columns, 1);
    }
    expectPropertiesOf<T>(15, 17, 5);
    expectPropertiesOf<T>(257, 9, 397);
    expectPropertiesOf<T>(9, 257, 397);
    expectPropertiesOf<T>(300, 300, 29989);
}

TYPED_TEST(MatrixOf, HasThemWhereTheGridExceedsALimit) {
    using T = TypeParam;
    for (unsigned long limit : {1ul, 3ul}) {
        testing::GridLimits const limits(limit);
        expectPropertiesOf<T>(700, 30, 6007);
    }
    for (unsigned long limit : {1ul, 3ul}) {
        testing::GridLimits const limits(65535, limit);
        expectPropertiesOf<T>(100, 100, 3001);
    }
}

TYPED_TEST(MatrixOf, HasAllOfThemWithoutElements) {
    using T = TypeParam;
    DeviceArray<T> in(1);
    DeviceArray<unsigned int> lower{7}, upper{7};
    for (unsigned long rows : {0ul, 3ul}) {
        unsigned long const columns = 3 - rows;
        EXPECT_TRUE(IsBanded::Invoker<T>()(nullptr, in.data(), rows, columns, 0, 0));
        EXPECT_TRUE(IsTril::Invoker<T>()(nullptr, in.data(), rows, columns));
        EXPECT_TRUE(IsTriu::Invoker<T>()(nullptr, in.data(), rows, columns));
        EXPECT_TRUE(IsSymmetric::Invoker<T>()(nullptr, in.data(), rows, columns, true, true));
        EXPECT_EQ(3u, GetFillPattern::Invoker<T>()(nullptr, in.data(), rows, columns));
        Bandwidth::Invoker<T>()(nullptr, lower.data(), upper.data(), in.data(), rows, columns);
        testing::expectSameBits({0u}, lower.values());
        testing::expectSameBits({0u}, upper.values());
    }
}

TEST(Matrix, GivesTheLiteralValues) {
    Matrix<double> one(6, 4);
    one.at(5, 2) = 1;
    DeviceArray<double> in(one.values);
    DeviceArray<unsigned int> lower(1), upper(1);
    Bandwidth::Invoker<double>()(nullptr, lower.data(), upper.data(), in.data(), 6, 4);
    testing::expectSameBits({3u}, lower.values());
    testing::expectSameBits({0u}, upper.values());

    DeviceArray<double> wide{0, 0, 0, 0, 0, 1};  // row 1, column 2 of 2 by 3
    EXPECT_FALSE(IsTril::Invoker<double>()(nullptr, wide.data(), 2, 3));
    EXPECT_TRUE(IsTriu::Invoker<double>()(nullptr, wide.data(), 2, 3));
    DeviceArray<double> lowerTriangle{1, 2, 0, 3}, full{1, 2, 3, 4}, upperTriangle{1, 0, 3, 4},
        diagonal{1, 0, 0, 4};
    EXPECT_EQ(1u, GetFillPattern::Invoker<double>()(nullptr, lowerTriangle.data(), 2, 2));
    EXPECT_EQ(0u, GetFillPattern::Invoker<double>()(nullptr, full.data(), 2, 2));
    EXPECT_EQ(2u, GetFillPattern::Invoker<double>()(nullptr, upperTriangle.data(), 2, 2));
    EXPECT_EQ(3u, GetFillPattern::Invoker<double>()(nullptr, diagonal.data(), 2, 2));
    EXPECT_TRUE(IsBanded::Invoker<double>()(nullptr, diagonal.data(), 2, 2, 0, 0));
}

// --- IsSymmetric ---

template <class T>
T mirrored(T value, bool conjugate, bool skew) {
    if constexpr (internal::isComplex<T>) {
        if (conjugate) value.y = -value.y;
        return skew ? T{-value.x, -value.y} : value;
    } else {
        return skew ? -value : value;
    }
}

template <>
bool mirrored(bool value, bool, bool) {
    return value;
}

template <class T>
bool areEqual(T a, T b) {
    if constexpr (internal::isComplex<T>) {
        return a.x == b.x && a.y == b.y;
    } else {
        return a == b;
    }
}

/// Element by element: the lower triangle against the upper one.
template <class T>
bool isSymmetric(Matrix<T>& matrix, bool conjugate, bool skew) {
    for (unsigned long y = 0; y < matrix.columns; ++y) {
        for (unsigned long x = y; x < matrix.rows; ++x) {
            T const own = matrix.at(x, y), mirror = matrix.at(y, x);
            if (!areEqual(own, mirrored(mirror, conjugate, skew))) return false;
            if (std::is_same_v<T, bool> && skew && isNonZero(own)) return false;
        }
    }
    return true;
}

template <class T>
bool expectSymmetry(Matrix<T> matrix) {
    DeviceArray<T> in(matrix.values);
    bool isAny = false;
    for (bool conjugate : {false, true}) {
        for (bool skew : {false, true}) {
            bool const expected = isSymmetric(matrix, conjugate, skew);
            isAny |= expected;
            EXPECT_EQ(expected, IsSymmetric::Invoker<T>()(nullptr, in.data(), matrix.rows, matrix.columns,
                                                          conjugate, skew))
                << matrix.rows << ", " << conjugate << ", " << skew;
        }
    }
    EXPECT_EQ(cudaSuccess, cudaGetLastError());
    testing::expectSameBits(matrix.values, in.values());
    return isAny;
}

template <class T>
class SymmetryOf : public ::testing::Test {};
TYPED_TEST_SUITE(SymmetryOf, testing::TestTypes<internal::FloatingWithBool>);

/// A matrix that is symmetric in the asked sense.
template <class T>
Matrix<T> symmetricMatrix(unsigned long n, bool conjugate, bool skew) {
    Matrix<T> matrix(n, n);
    auto const values = testing::randomValues<T>(n * n);
    for (unsigned long y = 0; y < n; ++y) {
        for (unsigned long x = y + 1; x < n; ++x) {
            T const value = std::is_same_v<T, bool> && skew ? T{} : T(values[y * n + x]);
            matrix.at(x, y) = value;
            matrix.at(y, x) = mirrored(value, conjugate, skew);
        }
        if constexpr (internal::isComplex<T>) {
            if (!skew || conjugate)
                matrix.at(y, y) = skew ? T{0, values[y].y} : T{values[y].x, conjugate ? 0 : values[y].y};
        } else {
            if (!skew) matrix.at(y, y) = values[y];
        }
    }
    return matrix;
}

template <class T>
void expectSymmetryAround(unsigned long n, unsigned long step) {
    for (bool conjugate : {false, true}) {
        for (bool skew : {false, true}) {
            Matrix<T> const matrix = symmetricMatrix<T>(n, conjugate, skew);
            EXPECT_TRUE(expectSymmetry(matrix));
            for (unsigned long i = 0; i < n * n; i += step) {
                for (T const& value :
                     {T(testing::specialValues<T>()[i % testing::specialValues<T>().size()]), T{}}) {
                    Matrix<T> changed = matrix;
                    changed.values[i] = value;
                    expectSymmetry(changed);
                }
            }
        }
    }
}

TYPED_TEST(SymmetryOf, HoldsWhereEveryElementEqualsItsMirrorImage) {
    using T = TypeParam;
    for (unsigned long n : {1ul, 2ul, 5ul}) expectSymmetryAround<T>(n, 1);
    expectSymmetryAround<T>(16, 17);
    expectSymmetryAround<T>(17, 11);
    expectSymmetryAround<T>(257, 19973);
    testing::GridLimits const limits(1);
    expectSymmetryAround<T>(300, 40009);
}

TEST(IsSymmetric, GivesTheLiteralValues) {
    auto const isSymmetric = [](std::vector<double2> const& values, bool conjugate, bool skew) {
        DeviceArray<double2> in(values);
        unsigned long const n = values.size() == 1 ? 1 : 2;
        return IsSymmetric::Invoker<double2>()(nullptr, in.data(), n, n, conjugate, skew);
    };
    EXPECT_TRUE(isSymmetric({{1, 0}, {0, 1}, {0, 1}, {1, 0}}, false, false));
    EXPECT_FALSE(isSymmetric({{1, 0}, {0, 1}, {0, 1}, {1, 0}}, true, false));
    EXPECT_TRUE(isSymmetric({{1, 0}, {0, 1}, {0, -1}, {1, 0}}, true, false));
    EXPECT_FALSE(isSymmetric({{1, 1}}, true, false));
    EXPECT_FALSE(isSymmetric({{1, 0}}, false, true));
    EXPECT_TRUE(isSymmetric({{0, 1}}, true, true));
    EXPECT_FALSE(isSymmetric({{nan, 0}}, false, false));
    DeviceArray<double> number{nan}, one{1};
    EXPECT_FALSE(IsSymmetric::Invoker<double>()(nullptr, number.data(), 1, 1, false, false));
    EXPECT_FALSE(IsSymmetric::Invoker<double>()(nullptr, one.data(), 1, 1, true, true));
    EXPECT_TRUE(IsSymmetric::Invoker<double>()(nullptr, one.data(), 1, 1, true, false));
    DeviceArray<bool> logicals{true, true, true, false};
    EXPECT_TRUE(IsSymmetric::Invoker<bool>()(nullptr, logicals.data(), 2, 2, true, false));
    EXPECT_FALSE(IsSymmetric::Invoker<bool>()(nullptr, logicals.data(), 2, 2, false, true));
}

// --- GetSparseFillPattern ---

template <class T>
struct Sparse {
    std::vector<int> starts{0}, rows;
    Elements<T> values;

    /// The next column, by the rows of its elements; those of the value 0 are stored all the same.
    void add(std::vector<int> const& rowsOfColumn, bool isZero = false) {
        for (int const row : rowsOfColumn) {
            rows.push_back(row);
            values.push_back(isZero ? real<T>(-0.0) : nonZero<T>(rows.size()));
        }
        starts.push_back(static_cast<int>(rows.size()));
    }

    void expectPattern() {
        unsigned int expected = 3;
        for (unsigned long c = 0; c + 1 < starts.size(); ++c) {
            for (int i = starts[c]; i < starts[c + 1]; ++i) {
                auto const k = static_cast<unsigned long>(i);
                if (!isNonZero(values[k])) continue;
                if (rows[k] < static_cast<int>(c)) expected &= ~1u;
                if (rows[k] > static_cast<int>(c)) expected &= ~2u;
            }
        }
        DeviceArray<int> columnStarts(starts), rowIndices(rows);
        DeviceArray<T> stored(values);
        EXPECT_EQ(expected,
                  GetSparseFillPattern::Invoker<T>()(nullptr, columnStarts.data(), rowIndices.data(),
                                                     stored.data(), starts.size() - 1, rows.size()));
        EXPECT_EQ(cudaSuccess, cudaGetLastError());
        testing::expectSameBits(values, stored.values());
    }
};

template <class T>
class SparseMatrixOf : public ::testing::Test {};
using SparseTypes = ::testing::Types<double, double2>;
TYPED_TEST_SUITE(SparseMatrixOf, SparseTypes);

TYPED_TEST(SparseMatrixOf, HasThePatternOfItsNonZeroElements) {
    using T = TypeParam;
    Sparse<T>().expectPattern();
    // A diagonal, and beside it one more element in each column in turn, below, above, or stored as 0.
    for (int extra : {-1, 0, 3, 20, 39}) {
        for (int const row : {0, 39}) {
            for (bool isZero : {false, true}) {
                Sparse<T> matrix;
                for (int c = 0; c < 40; ++c) {
                    matrix.add({c});
                    if (c == extra) {
                        matrix.starts.pop_back();
                        matrix.add({row}, isZero);
                    }
                }
                matrix.expectPattern();
            }
        }
    }
}

TYPED_TEST(SparseMatrixOf, FindsTheColumnsOfUnevenlyFilledOnes) {
    using T = TypeParam;
    // All in the last column, on the diagonal or beside it; all in the first; empty columns between.
    for (int const count : {1, 2, 300, 1000}) {
        for (int const shift : {-1, 0, 1}) {
            Sparse<T> last;
            for (int c = 0; c < 99; ++c) last.add({});
            last.add(std::vector<int>(static_cast<unsigned long>(count), 99 + shift));
            last.expectPattern();
            Sparse<T> first;
            first.add(std::vector<int>(static_cast<unsigned long>(count), std::max(shift, 0)));
            for (int c = 0; c < 99; ++c) first.add({});
            first.expectPattern();
            Sparse<T> scattered;
            for (int c = 0; c < 500; ++c) {
                auto const size = c % 7 == 3 ? count / 100 + 1 : 0;
                scattered.add(std::vector<int>(static_cast<unsigned long>(size), c + (c == 402 ? shift : 0)));
            }
            scattered.expectPattern();
            testing::GridLimits const limits(1);
            scattered.expectPattern();
        }
    }
}

TEST(GetSparseFillPattern, OfStoredZerosClaimsBoth) {
    DeviceArray<int> starts{0, 2, 4}, rows{0, 1, 0, 1};
    DeviceArray<double> values{1, 0, 0, 1};
    EXPECT_EQ(3u, GetSparseFillPattern::Invoker<double>()(nullptr, starts.data(), rows.data(), values.data(),
                                                          2, 4));
}

}  // namespace
}  // namespace gpuruntime

#include <gpuruntime/indices.hpp>

#include <gtest/gtest.h>

#include <cmath>
#include <numeric>
#include <random>
#include <string>
#include <typeinfo>
#include <vector>

#include "frame/complex.hpp"
#include "frame/type_lists.hpp"
#include "tests/support/bytes.hpp"
#include "tests/support/device_array.hpp"
#include "tests/support/device_limits.hpp"
#include "tests/support/values.hpp"

namespace gpuruntime {
namespace {

using testing::Bytes;
using testing::DeviceArray;
using testing::expectSameBits;
using testing::expectSameBytes;
using testing::expectSameValues;
using Doubles = std::vector<double>;

double const nan = std::nan("");
double const infinity = INFINITY;

/// Whole subscripts of a dimension, among which every seventh is a special value or has a fraction.
Doubles subscripts(unsigned long n, unsigned long extent, unsigned long seed) {
    std::mt19937_64 engine(seed);
    Doubles const special{0,         -1,    2.5,  nan,    -nan,         infinity,
                          -infinity, 1e300, -0.0, 1e-310, 4294967296.0, 0.75};
    Doubles values;
    for (unsigned long i = 0; i < n; ++i) {
        values.push_back(i % 7 == 3 ? special[engine() % special.size()]
                                    : static_cast<double>(1 + engine() % extent));
    }
    return values;
}

std::vector<unsigned long> const sizes{1, 2, 31, 255, 256, 257, 1000, 70000};

// --- Subscripts to indices ---

Doubles joined(Doubles const& rows, Doubles const& cols, double numRows) {
    Doubles out;
    for (unsigned long i = 0; i < rows.size(); ++i) out.push_back(std::fma(numRows, cols[i] - 1, rows[i]));
    return out;
}

Doubles joined(Doubles const& rows, Doubles const& cols, Doubles const& pages, double numRows,
               double numCols) {
    Doubles out;
    for (unsigned long i = 0; i < rows.size(); ++i) {
        out.push_back(std::fma(numRows, std::fma(numCols, pages[i] - 1, cols[i] - 1), rows[i]));
    }
    return out;
}

struct SubscriptArrays {
    Doubles rowValues, colValues, pageValues;
    DeviceArray<double> rows, cols, pages, out;

    SubscriptArrays(Doubles const& r, Doubles const& c, Doubles const& p = {})
        : rowValues(r), colValues(c), pageValues(p), rows(r), cols(c), pages(p), out(r.size()) {}

    void expectUnchanged() const {
        expectSameBits(rowValues, rows.values());
        expectSameBits(colValues, cols.values());
        expectSameBits(pageValues, pages.values());
    }
};

TEST(Sub2Ind, OfManySizesAndSpecialValues) {
    for (unsigned long const n : sizes) {
        SCOPED_TRACE(n);
        for (unsigned long const numRows : {1ul, 7ul, 4294967295ul, 0ul}) {
            SubscriptArrays a(subscripts(n, 7, 1), subscripts(n, 9, 2), subscripts(n, 5, 3));
            Sub2Ind2D::Invoker<double>()(nullptr, n, a.out.data(), a.rows.data(), a.cols.data(), numRows);
            expectSameValues(joined(a.rowValues, a.colValues, static_cast<double>(numRows)), a.out.values());
            Sub2Ind3D::Invoker<double>()(nullptr, n, a.out.data(), a.rows.data(), a.cols.data(),
                                         a.pages.data(), numRows, 9);
            expectSameValues(joined(a.rowValues, a.colValues, a.pageValues, static_cast<double>(numRows), 9),
                             a.out.values());
            a.expectUnchanged();
        }
    }
}

/// Runs both checked families on subscripts in 3 by 4 by 5, and returns the words that they leave.
std::pair<unsigned int, unsigned int> checkedWords(Doubles const& rows, Doubles const& cols,
                                                   Doubles const& pages) {
    SubscriptArrays a(rows, cols, pages);
    unsigned long const n = rows.size();
    EXPECT_EQ(
        0, Sub2Ind2DChecked::Invoker<double>()(nullptr, n, a.out.data(), a.rows.data(), a.cols.data(), 3, 4));
    unsigned int const flat = Sub2Ind2DChecked().getErrorFlag(nullptr);
    expectSameValues(joined(rows, cols, 3), a.out.values());
    EXPECT_EQ(0, Sub2Ind3DChecked::Invoker<double>()(nullptr, n, a.out.data(), a.rows.data(), a.cols.data(),
                                                     a.pages.data(), 3, 4, 5));
    unsigned int const spatial = Sub2Ind3DChecked().getErrorFlag(nullptr);
    expectSameValues(joined(rows, cols, pages, 3, 4), a.out.values());
    a.expectUnchanged();
    return {flat, spatial};
}

TEST(Sub2IndChecked, ReportsEachSubscriptThatIsTooLarge) {
    using Words = std::pair<unsigned int, unsigned int>;
    EXPECT_EQ(Words(1000, 1000), checkedWords({1, 3}, {1, 4}, {1, 5}));
    EXPECT_EQ(Words(1057, 1057), checkedWords({1, 4}, {1, 1}, {1, 1}));
    EXPECT_EQ(Words(1057, 1057), checkedWords({1, 3}, {1, 5}, {1, 1}));
    EXPECT_EQ(Words(1000, 1057), checkedWords({1, 3}, {1, 4}, {1, 6}));
    EXPECT_EQ(Words(1057, 1057), checkedWords({3.5, 1}, {1, 1}, {1, 1}));
}

TEST(Sub2IndChecked, ReportsSmallSubscriptsOnlyThroughTheIndex) {
    using Words = std::pair<unsigned int, unsigned int>;
    EXPECT_EQ(Words(1057, 1057), checkedWords({0}, {1}, {1}));
    EXPECT_EQ(Words(1000, 1000), checkedWords({0}, {2}, {1}));
    EXPECT_EQ(Words(1057, 1000), checkedWords({1}, {0}, {2}));
    EXPECT_EQ(Words(1057, 1057), checkedWords({0.5}, {1}, {1}));
    EXPECT_EQ(Words(1000, 1000), checkedWords({1.5}, {1}, {1}));
    EXPECT_EQ(Words(1000, 1057), checkedWords({1}, {1}, {0}));
}

TEST(Sub2IndChecked, PassesNaN) {
    using Words = std::pair<unsigned int, unsigned int>;
    EXPECT_EQ(Words(1000, 1000), checkedWords({nan, 1}, {1, nan}, {1, -nan}));
    EXPECT_EQ(Words(1057, 1057), checkedWords({nan}, {infinity}, {1}));
}

TEST(Sub2IndChecked, FindsOneBadElementAnywhere) {
    unsigned long const n = 1000;
    for (unsigned long const bad : {0ul, 1ul, 255ul, 256ul, 511ul, 998ul, 999ul}) {
        Doubles rows(n, 2), ones(n, 1);
        rows[bad] = 4;
        EXPECT_EQ(std::make_pair(1057u, 1057u), checkedWords(rows, ones, ones)) << bad;
    }
    EXPECT_EQ(std::make_pair(1000u, 1000u), checkedWords(Doubles(n, 2), Doubles(n, 1), Doubles(n, 1)));
}

TEST(Sub2IndChecked, ResetsTheWordWithoutElementsToo) {
    EXPECT_EQ(1057u, checkedWords({9}, {1}, {1}).first);
    EXPECT_EQ(0, Sub2Ind2DChecked::Invoker<double>()(nullptr, 0, nullptr, nullptr, nullptr, 3, 4));
    EXPECT_EQ(1000u, Sub2Ind2DChecked().getErrorFlag(nullptr));
    EXPECT_EQ(1057u, checkedWords({9}, {1}, {1}).second);
    EXPECT_EQ(0,
              Sub2Ind3DChecked::Invoker<double>()(nullptr, 0, nullptr, nullptr, nullptr, nullptr, 3, 4, 5));
    EXPECT_EQ(1000u, Sub2Ind3DChecked().getErrorFlag(nullptr));
}

TEST(Sub2Ind, OfTheDocumentedExamples) {
    SubscriptArrays a({2, 2.5}, {1, 4}, {2, 2});
    Sub2Ind2D::Invoker<double>()(nullptr, 2, a.out.data(), a.rows.data(), a.cols.data(), 3);
    expectSameBits({2, 11.5}, a.out.values());
    SubscriptArrays b({2}, {3}, {2});
    Sub2Ind3D::Invoker<double>()(nullptr, 1, b.out.data(), b.rows.data(), b.cols.data(), b.pages.data(), 3,
                                 4);
    expectSameBits({20}, b.out.values());
}

TEST(Sub2Ind, TakesExtentsModulo2ToThe32) {
    unsigned long const three = (1ul << 32) + 3, four = (1ul << 32) + 4, five = (1ul << 32) + 5;
    SubscriptArrays a({2, 3}, {3, 4}, {2, 5});
    Sub2Ind2D::Invoker<double>()(nullptr, 2, a.out.data(), a.rows.data(), a.cols.data(), three);
    expectSameBits({8, 12}, a.out.values());
    Sub2Ind3D::Invoker<double>()(nullptr, 2, a.out.data(), a.rows.data(), a.cols.data(), a.pages.data(),
                                 three, four);
    expectSameBits({20, 60}, a.out.values());
    for (unsigned int d = 0; d < 3; ++d) {
        // One subscript exceeds the extent that is left.
        SubscriptArrays one({d == 0 ? 4.0 : 1}, {d == 1 ? 5.0 : 1}, {d == 2 ? 6.0 : 1});
        EXPECT_EQ(0,
                  Sub2Ind3DChecked::Invoker<double>()(nullptr, 1, one.out.data(), one.rows.data(),
                                                      one.cols.data(), one.pages.data(), three, four, five));
        EXPECT_EQ(1057u, Sub2Ind3DChecked().getErrorFlag(nullptr));
    }
}

// --- Indices to subscripts ---

unsigned int truncated(double value) {
    if (!(value >= 1)) return 0;
    return value >= 4294967296.0 ? 4294967295u : static_cast<unsigned int>(value);
}

/// As the GPU divides.
unsigned int quotient(unsigned int dividend, unsigned int divisor) {
    return divisor == 0 ? 4294967295u : dividend / divisor;
}

TEST(Ind2Sub, OfManySizesAndSpecialValues) {
    for (unsigned long const n : sizes) {
        for (unsigned int const numRows : {1u, 2u, 7u, 640u, 4294967295u, 0u}) {
            for (unsigned int const numCols : {1u, 3u, 1u << 20}) {
                SCOPED_TRACE(::testing::Message() << n << ": " << numRows << ", " << numCols);
                Doubles const ind = subscripts(n, 5000, n + numRows);
                Doubles rows2, cols2, rows3, cols3, pages3;
                unsigned int const pageSize = numRows * numCols;
                for (double const index : ind) {
                    unsigned int const q = quotient(truncated(index - 1), numRows);
                    cols2.push_back(static_cast<double>(q) + 1);
                    rows2.push_back(index - static_cast<double>(numRows) * static_cast<double>(q));
                    unsigned int const page = quotient(truncated(index - 1), pageSize);
                    double const inPage = index - static_cast<double>(pageSize) * static_cast<double>(page);
                    unsigned int const col = quotient(truncated(inPage - 1), numRows);
                    rows3.push_back(inPage - static_cast<double>(numRows) * static_cast<double>(col));
                    cols3.push_back(static_cast<double>(col) + 1);
                    pages3.push_back(static_cast<double>(page) + 1);
                }
                DeviceArray<double> in(ind), rows(n), cols(n), pages(n);
                Ind2Sub2D::Invoker<double>()(nullptr, n, rows.data(), cols.data(), in.data(), numRows);
                expectSameValues(rows2, rows.values());
                expectSameValues(cols2, cols.values());
                Ind2Sub3D::Invoker<double>()(nullptr, n, rows.data(), cols.data(), pages.data(), in.data(),
                                             numRows, numCols);
                expectSameValues(rows3, rows.values());
                expectSameValues(cols3, cols.values());
                expectSameValues(pages3, pages.values());
                expectSameBits(ind, in.values());
            }
        }
    }
}

TEST(Ind2Sub, OfTheDocumentedExamples) {
    DeviceArray<double> in({3, 2.5}), rows(2), cols(2), one({20}), row(1), col(1), page(1);
    Ind2Sub2D::Invoker<double>()(nullptr, 2, rows.data(), cols.data(), in.data(), 2);
    expectSameBits({1, 2.5}, rows.values());
    expectSameBits({2, 1}, cols.values());
    Ind2Sub3D::Invoker<double>()(nullptr, 1, row.data(), col.data(), page.data(), one.data(), 3, 4);
    expectSameBits({2}, row.values());
    expectSameBits({3}, col.values());
    expectSameBits({2}, page.values());
}

TEST(Ind2Sub, TakesExtentsModulo2ToThe32) {
    unsigned long const three = (1ul << 32) + 3, four = (1ul << 32) + 4;
    DeviceArray<double> in({20}), row(1), col(1), page(1);
    Ind2Sub2D::Invoker<double>()(nullptr, 1, row.data(), col.data(), in.data(), three);
    expectSameBits({2}, row.values());
    expectSameBits({7}, col.values());
    Ind2Sub3D::Invoker<double>()(nullptr, 1, row.data(), col.data(), page.data(), in.data(), three, four);
    expectSameBits({2}, row.values());
    expectSameBits({3}, col.values());
    expectSameBits({2}, page.values());
}

// --- Validation ---

testing::Elements<bool> validated(Doubles const& values) {
    DeviceArray<double> in(values);
    DeviceArray<bool> out(values.size());
    IndexValidation::Invoker<double>()(nullptr, values.size(), out.data(), in.data());
    expectSameBits(values, in.values());
    return out.values();
}

TEST(IndexValidation, OfEachKindOfValue) {
    expectSameBits({false, false, false, true, false, false, false},
                   validated({0, -1, 0.5, 1, 1.5, nan, infinity}));
    double const twoTo52 = 4503599627370496.0;
    expectSameBits({true, true, true, false, true, true},
                   validated({twoTo52, twoTo52 + 1, twoTo52 * 2, twoTo52 - 0.5, twoTo52 - 1, 1e308}));
    expectSameBits({false, false, false, false, false, true},
                   validated({-nan, -infinity, -0.0, 0.9999999999999999, 1.0000000000000002, 2}));
}

TEST(IndexValidation, OfManySizes) {
    for (unsigned long const n : sizes) {
        Doubles const values = subscripts(n, 100, n);
        testing::Elements<bool> expected;
        for (double const value : values) {
            expected.push_back(value >= 1 && value <= 1.7976931348623157e308 && value == std::round(value));
        }
        expectSameBits(expected, validated(values));
    }
}

TEST(Indices, FoldWhereTheGridExceedsALimit) {
    // There and back through every element of 700 blocks in two directions.
    testing::GridLimits const limits(30);
    unsigned long const n = 700 * 256 - 5;
    Doubles ind(n);
    std::iota(ind.begin(), ind.end(), 1.0);
    DeviceArray<double> in(ind), rows(n), cols(n), pages(n), out(n);
    DeviceArray<bool> valid(n);
    Ind2Sub2D::Invoker<double>()(nullptr, n, rows.data(), cols.data(), in.data(), 31);
    EXPECT_EQ(0, Sub2Ind2DChecked::Invoker<double>()(nullptr, n, out.data(), rows.data(), cols.data(), 31,
                                                     n / 31 + 1));
    expectSameBits(ind, out.values());
    EXPECT_EQ(1000u, Sub2Ind2DChecked().getErrorFlag(nullptr));
    Ind2Sub3D::Invoker<double>()(nullptr, n, rows.data(), cols.data(), pages.data(), in.data(), 31, 17);
    EXPECT_EQ(0, Sub2Ind3DChecked::Invoker<double>()(nullptr, n, out.data(), rows.data(), cols.data(),
                                                     pages.data(), 31, 17, n / (31 * 17)));
    expectSameBits(ind, out.values());
    EXPECT_EQ(1057u, Sub2Ind3DChecked().getErrorFlag(nullptr)) << "the last page is one too many";
    IndexValidation::Invoker<double>()(nullptr, n, valid.data(), in.data());
    expectSameBits(testing::Elements<bool>(n, true), valid.values());
}

// --- Selection ---

/// The selecting families for one element type, as functions on bytes.
struct Selector {
    using Call = void (*)(unsigned long n, void* out, void const* in, double const* selection,
                          unsigned long leadingDim);
    std::string name;
    unsigned long elementSize;
    bool isBool;
    Call fromColumns, fromRows;
};

template <class Family, class T>
void select(unsigned long n, void* out, void const* in, double const* selection, unsigned long leadingDim) {
    typename Family::template Invoker<T>()(nullptr, n, static_cast<T*>(out), static_cast<T const*>(in),
                                           selection, leadingDim);
}

template <class... T>
std::vector<Selector> selectorsOf(internal::TypeList<T...>) {
    return {{typeid(T).name(), sizeof(T), std::is_same_v<T, bool>, &select<SelectFromColumns, T>,
             &select<SelectFromRows, T>}...};
}

void expectSelected(Selector const& s, unsigned long rows, unsigned long cols) {
    SCOPED_TRACE(::testing::Message() << s.name << ": " << rows << " by " << cols);
    Bytes const matrix = testing::randomElements(s.elementSize, s.isBool, rows * cols, 7);
    std::mt19937_64 engine(rows);
    for (bool const fromColumns : {true, false}) {
        unsigned long const n = fromColumns ? cols : rows;
        Doubles selection;
        Bytes expected(n * s.elementSize);
        for (unsigned long i = 0; i < n; ++i) {
            unsigned long const chosen = engine() % (fromColumns ? rows : cols);
            selection.push_back(static_cast<double>(chosen + 1) + (i % 3 == 0 ? 0.9 : 0));
            testing::copyElement(s.elementSize, expected, i, matrix,
                                 fromColumns ? i * rows + chosen : chosen * rows + i);
        }
        DeviceArray<unsigned char> in(matrix), out(expected.size());
        DeviceArray<double> chosen(selection);
        (fromColumns ? s.fromColumns : s.fromRows)(n, out.data(), in.data(), chosen.data(), rows);
        expectSameBytes(expected, out.values());
        expectSameBytes(matrix, in.values());
        expectSameBits(selection, chosen.values());
    }
}

TEST(Selection, OfEveryTypeAndManyExtents) {
    for (Selector const& s : selectorsOf(internal::All{})) {
        expectSelected(s, 1, 1);
        expectSelected(s, 1, 300);
        expectSelected(s, 300, 1);
        expectSelected(s, 255, 257);
        expectSelected(s, 40, 1000);
        testing::GridLimits const limits(2);
        expectSelected(s, 700, 600);
    }
}

TEST(Selection, OffsetsWrap) {
    // 0 and NaN saturate to 0: one before the column, or a column before the first.
    DeviceArray<double> in({1, 2, 3, 4, 5, 6}), out(3), selection({1, 0, nan});
    SelectFromColumns::Invoker<double>()(nullptr, 3, out.data(), in.data(), selection.data(), 2);
    expectSameBits({1, 2, 4}, out.values());
    SelectFromRows::Invoker<double>()(nullptr, 3, out.data(), in.data(), selection.data(), 1);
    expectSameBits({1, 1, 2}, out.values());
}

TEST(Selection, TakesTheLeadingDimensionModulo2ToThe32) {
    unsigned long const leadingDim = (1ul << 32) + 3;
    DeviceArray<double> in({1, 2, 3, 4, 5, 6}), selection({2, 1}), out(2);
    SelectFromColumns::Invoker<double>()(nullptr, 2, out.data(), in.data(), selection.data(), leadingDim);
    expectSameBits({2, 4}, out.values());
    SelectFromRows::Invoker<double>()(nullptr, 2, out.data(), in.data(), selection.data(), leadingDim);
    expectSameBits({4, 2}, out.values());
}

TEST(Selection, OfTheDocumentedExamples) {
    DeviceArray<double> in({1, 2, 3, 4, 5, 6}), rows({3, 1}), cols({2, 1, 2}), two(2), three(3);
    SelectFromColumns::Invoker<double>()(nullptr, 2, two.data(), in.data(), rows.data(), 3);
    SelectFromRows::Invoker<double>()(nullptr, 3, three.data(), in.data(), cols.data(), 3);
    expectSameBits({3, 4}, two.values());
    expectSameBits({4, 2, 6}, three.values());
}

// --- Adding a block ---

using Extents = std::vector<unsigned long>;

unsigned long product(Extents const& extents) {
    return std::accumulate(extents.begin(), extents.end(), 1ul, std::multiplies<>());
}

template <class T>
T sum(T a, T b) {
    if constexpr (internal::isComplex<T>) {
        return {a.x + b.x, a.y + b.y};
    } else {
        return a + b;
    }
}

/// `in` is the leading block of `out`, element by element.
template <class T>
void expectAdded(Extents const& outSizes, Extents const& inSizes) {
    SCOPED_TRACE(::testing::PrintToString(inSizes) + " into " + ::testing::PrintToString(outSizes));
    auto const array = testing::mixedValues<T>(product(outSizes)),
               added = testing::mixedValues<T>(product(inSizes), 3, 9);
    auto expected = array;
    Extents at(inSizes.size(), 0);
    for (T const& value : added) {
        unsigned long offset = 0, stride = 1;
        for (unsigned long d = 0; d < at.size(); ++d) {
            offset += at[d] * stride;
            stride *= outSizes[d];
        }
        expected[offset] = sum(expected[offset], value);
        for (unsigned long d = 0; d < at.size() && ++at[d] == inSizes[d]; ++d) at[d] = 0;
    }
    DeviceArray<T> out(array), in(added);
    EXPECT_EQ(0, AddSubarrayInPlace::Invoker<T>()(nullptr, out.data(), outSizes.data(), outSizes.size(),
                                                  in.data(), inSizes.data(), inSizes.size()));
    expectSameValues(expected, out.values());
    expectSameBits(added, in.values());
}

template <class T>
void expectAddedInManyShapes() {
    expectAdded<T>({5, 4}, {3, 4});
    expectAdded<T>({5, 4}, {5, 2});
    expectAdded<T>({5, 4}, {5, 4});
    expectAdded<T>({7, 5, 3}, {7, 2, 3});
    expectAdded<T>({7, 5, 3}, {7, 5, 1});
    expectAdded<T>({7, 5, 3, 2}, {1, 5, 3, 2});
    expectAdded<T>({600, 40}, {511, 40});
    expectAdded<T>({600, 40}, {600, 39});
    expectAdded<T>({9}, {4});
    expectAdded<T>({}, {});  // one element
    expectAdded<T>({1, 1, 1}, {1, 1, 1});
    for (Extents const& limit : {Extents{1, 65535}, Extents{65535, 1}, Extents{65535, 3}}) {
        testing::GridLimits const limits(limit[0], limit[1]);
        expectAdded<T>({600, 2}, {550, 2});
        expectAdded<T>({6, 900}, {5, 900});
    }
}

TEST(AddSubarrayInPlace, OfManyShapes) {
    expectAddedInManyShapes<float>();
    expectAddedInManyShapes<double>();
    expectAddedInManyShapes<float2>();
    expectAddedInManyShapes<double2>();
}

TEST(AddSubarrayInPlace, WithoutElementsDoesNothing) {
    DeviceArray<double> out(12), in(12);
    for (Extents const& inSizes : {Extents{0, 4}, Extents{3, 0}, Extents{0, 0}}) {
        Extents const outSizes{3, 4};
        EXPECT_EQ(0, AddSubarrayInPlace::Invoker<double>()(nullptr, out.data(), outSizes.data(), 2, in.data(),
                                                           inSizes.data(), 2));
    }
    EXPECT_TRUE(out.untouched());
    EXPECT_EQ(cudaSuccess, cudaGetLastError());
}

TEST(AddSubarrayInPlace, MultipliesTheDimensionsAfterTheFirstThatDiffersAsTheyStand) {
    // Two differ: what follows the first lies densely, four runs of two, three apart.
    Extents const outSizes{3, 3, 2}, inSizes{2, 2, 2};
    DeviceArray<double> out(Doubles(18, 0.0)), in({1, 2, 3, 4, 5, 6, 7, 8});
    EXPECT_EQ(0, AddSubarrayInPlace::Invoker<double>()(nullptr, out.data(), outSizes.data(), 3, in.data(),
                                                       inSizes.data(), 3));
    expectSameBits({1, 2, 0, 3, 4, 0, 5, 6, 0, 7, 8, 0, 0, 0, 0, 0, 0, 0}, out.values());
}

TEST(AddSubarrayInPlace, WalksOnlyTheFirstNumDims) {
    Extents const outSizes{3, 2}, inSizes{2, 2, 7};
    DeviceArray<double> out({0, 0, 0, 0, 0, 0}), in({1, 2, 3, 4});
    EXPECT_EQ(0, AddSubarrayInPlace::Invoker<double>()(nullptr, out.data(), outSizes.data(), 2, in.data(),
                                                       inSizes.data(), 3));
    expectSameBits({1, 2, 0, 3, 4, 0}, out.values());
}

}  // namespace
}  // namespace gpuruntime

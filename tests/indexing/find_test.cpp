#include <gpuruntime/find.hpp>

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "frame/complex.hpp"
#include "frame/type_lists.hpp"
#include "tests/support/device_array.hpp"
#include "tests/support/device_limits.hpp"
#include "tests/support/test_types.hpp"
#include "tests/support/values.hpp"

namespace gpuruntime {
namespace {

using testing::DeviceArray;
using testing::Elements;
using testing::expectSameBits;
using Doubles = std::vector<double>;

template <class T>
bool isNonZero(T const& value) {
    if constexpr (internal::isComplex<T>) {
        return isNonZero(value.x) || isNonZero(value.y);
    } else {
        return !(value == T(0));
    }
}

/// The running count of the elements that are not zero.
template <class E>
Doubles scanOf(std::vector<E> const& values) {
    Doubles scan;
    double count = 0;
    for (E const& value : values) scan.push_back(count += isNonZero(value) ? 1 : 0);
    return scan;
}

/// What a plain loop finds, the wanted part of it.
template <class E>
struct Found {
    Doubles positions, rows, columns;
    std::vector<E> values;

    Found(std::vector<E> const& array, unsigned long numRows, unsigned long limit, FindFirstLast mode) {
        for (unsigned long i = 0; i < array.size(); ++i) {
            if (!isNonZero(array[i])) continue;
            positions.push_back(static_cast<double>(i + 1));
            rows.push_back(static_cast<double>(i % numRows + 1));
            columns.push_back(static_cast<double>(i / numRows + 1));
            values.push_back(array[i]);
        }
        unsigned long const dropped = positions.size() - limit;
        for (Doubles* part : {&positions, &rows, &columns}) drop(*part, dropped, mode);
        drop(values, dropped, mode);
    }

  private:
    template <class V>
    static void drop(std::vector<V>& values, unsigned long count, FindFirstLast mode) {
        auto const n = static_cast<long>(count);
        if (mode == FindFirst) {
            values.erase(values.end() - n, values.end());
        } else {
            values.erase(values.begin(), values.begin() + n);
        }
    }
};

/// As many elements as asked for, of which about one in `spacing` is not zero.
template <class T>
Elements<T> sparseValues(unsigned long n, unsigned long spacing, unsigned long seed) {
    auto values = testing::mixedValues<T>(n, 3, seed);
    std::mt19937_64 engine(seed);
    for (auto& value : values) {
        if (engine() % spacing != 0) value = T{};
    }
    return values;
}

template <class T>
void expectFound(Elements<T> const& array, unsigned long numRows, unsigned long limit, FindFirstLast mode) {
    unsigned long const n = array.size(), numCols = n / numRows;
    SCOPED_TRACE(::testing::Message()
                 << numRows << " by " << numCols << ", " << limit << " of mode " << mode);
    Found const expected(array, numRows, limit, mode);
    Doubles const scan = scanOf(array);
    DeviceArray<T> in(array), values(limit);
    DeviceArray<double> scanned(scan), positions(limit), rows(limit), columns(limit), rows2(limit),
        columns2(limit);
    EXPECT_EQ(0, Find1D::Invoker<T>()(nullptr, positions.data(), in.data(), scanned.data(), limit, n, mode));
    Find2D::Invoker<T>()(nullptr, rows.data(), columns.data(), in.data(), scanned.data(), limit, numRows,
                         numCols, mode);
    Find2DWithValue::Invoker<T>()(nullptr, rows2.data(), columns2.data(), values.data(), in.data(),
                                  scanned.data(), limit, numRows, numCols, mode);
    expectSameBits(expected.positions, positions.values());
    expectSameBits(expected.rows, rows.values());
    expectSameBits(expected.columns, columns.values());
    expectSameBits(expected.rows, rows2.values());
    expectSameBits(expected.columns, columns2.values());
    expectSameBits(expected.values, values.values());
    expectSameBits(array, in.values());
    expectSameBits(scan, scanned.values());
}

/// Of all, the most but one, a few and none of the hits.
template <class T>
void expectFoundWithEachLimit(Elements<T> const& array, unsigned long numRows) {
    auto const total = static_cast<unsigned long>(scanOf(array).back());
    for (unsigned long const limit : {total, total - 1, (total + 1) / 2, 2ul, 1ul, 0ul}) {
        if (limit > total) continue;
        for (FindFirstLast const mode : {FindFirst, FindLast}) expectFound<T>(array, numRows, limit, mode);
    }
}

template <class T>
class FindOf : public ::testing::Test {};
TYPED_TEST_SUITE(FindOf, testing::TestTypes<internal::All>);

TYPED_TEST(FindOf, OfManyExtentsAndDensities) {
    struct Extents {
        unsigned long rows, cols;
    };
    for (Extents const e : {Extents{1, 1}, Extents{1, 300}, Extents{300, 1}, Extents{15, 17}, Extents{16, 16},
                            Extents{255, 3}, Extents{256, 3}, Extents{257, 3}, Extents{700, 40}}) {
        for (unsigned long const spacing : {1ul, 2ul, 40ul}) {
            expectFoundWithEachLimit<TypeParam>(sparseValues<TypeParam>(e.rows * e.cols, spacing, e.rows),
                                                e.rows);
        }
    }
}

TYPED_TEST(FindOf, EverySpecialValueIsTestedByItsType) {
    auto const special = testing::specialValues<TypeParam>();
    expectFoundWithEachLimit<TypeParam>(special, special.size());
}

TYPED_TEST(FindOf, FoldsAndStepsWhereTheGridExceedsALimit) {
    for (auto const& [x, y] : {std::pair{1ul, 65535ul}, std::pair{2ul, 65535ul}, std::pair{65535ul, 1ul},
                               std::pair{65535ul, 3ul}}) {
        testing::GridLimits const limits(x, y);
        expectFoundWithEachLimit<TypeParam>(sparseValues<TypeParam>(1300 * 3, 2, x), x < 65535 ? 1300 : 3);
    }
}

TEST(Find, OfOneColumnAndOneRow) {
    expectFoundWithEachLimit<float>(sparseValues<float>(70000, 2, 1), 70000);
    expectFoundWithEachLimit<float>(sparseValues<float>(70000, 2, 1), 1);
}

/// Positions in a vector with hits where `hits` says; what is not written is -1.
Doubles positionsOf(Elements<bool> const& hits, unsigned long limit, FindFirstLast mode, unsigned long room) {
    DeviceArray<bool> in(hits);
    DeviceArray<double> scan(scanOf(hits)), positions(Doubles(room, -1));
    Find1D::Invoker<bool>()(nullptr, positions.data(), in.data(), scan.data(), limit, hits.size(), mode);
    return positions.values();
}

TEST(Find1D, OfTheDocumentedExample) {
    Elements<bool> const hits{false, false, true, false, true, false, false, false, true};
    expectSameBits({3, 5}, positionsOf(hits, 2, FindFirst, 2));
    expectSameBits({5, 9}, positionsOf(hits, 2, FindLast, 2));
    expectSameBits({3, 5, 9}, positionsOf(hits, 3, FindFirst, 3));
    expectSameBits({3, 5, 9}, positionsOf(hits, 3, FindLast, 3));
}

TEST(Find1D, WritesNothingWhereThereIsNothing) {
    expectSameBits({-1, -1}, positionsOf({false, false, false}, 0, FindFirst, 2));
    expectSameBits({-1, -1}, positionsOf({false, false, false}, 0, FindLast, 2));
}

TEST(Find1D, WithALimitAboveTheTotal) {
    Elements<bool> const hits{true, false, true};
    expectSameBits({1, 3, -1}, positionsOf(hits, 3, FindFirst, 3));
    expectSameBits({-1, -1, -1}, positionsOf(hits, 3, FindLast, 3));
}

TEST(Find1D, TakesTheLimitModulo2ToThe32) {
    Elements<bool> const hits{false, false, true, false, true, false, false, false, true};
    unsigned long const wrap = 1ul << 32;
    expectSameBits({3, 5, -1}, positionsOf(hits, wrap + 2, FindFirst, 3));
    expectSameBits({5, 9, -1}, positionsOf(hits, wrap + 2, FindLast, 3));
    expectSameBits({-1, -1, -1}, positionsOf(hits, wrap, FindFirst, 3));
    expectSameBits({-1, -1, -1}, positionsOf(hits, wrap, FindLast, 3));
}

TEST(Find1D, TruncatesTheCounts) {
    auto const positionsBy = [](Doubles const& counts, unsigned long limit, FindFirstLast mode) {
        DeviceArray<float> in(Elements<float>(counts.size(), 1.0f));
        DeviceArray<double> scan(counts), positions(Doubles(2, -1));
        Find1D::Invoker<float>()(nullptr, positions.data(), in.data(), scan.data(), limit, counts.size(),
                                 mode);
        return positions.values();
    };
    expectSameBits({1, 2}, positionsBy({1.9, 2.5}, 2, FindFirst));
    expectSameBits({1, 2}, positionsBy({1.9, 2.5}, 2, FindLast));
    expectSameBits({1, -1}, positionsBy({1.9, 2.5}, 1, FindFirst));
    expectSameBits({2, -1}, positionsBy({1.9, 2.5}, 1, FindLast));
    // One less than a count below 1 saturates to the first place.
    expectSameBits({1, -1}, positionsBy({0.5}, 1, FindFirst));
}

TEST(Find, AnySetBitOfALogicalIsAHit) {
    DeviceArray<unsigned char> in({0, 1, 2, 128, 0, 255});
    DeviceArray<double> scan({0, 1, 2, 3, 3, 4}), positions(4);
    EXPECT_EQ(0, Find1D::Invoker<bool>()(nullptr, positions.data(), reinterpret_cast<bool*>(in.data()),
                                         scan.data(), 4, 6, FindFirst));
    expectSameBits({2, 3, 4, 6}, positions.values());
}

TEST(Find, OfNaNAndZeros) {
    float const nan = std::nanf("");
    DeviceArray<float2> in({{0, nan}, {-0.0f, 0}, {-nan, 0}, {0, 1}});
    DeviceArray<double> scan({1, 1, 2, 3}), positions(3);
    EXPECT_EQ(0,
              Find1D::Invoker<float2>()(nullptr, positions.data(), in.data(), scan.data(), 3, 4, FindFirst));
    expectSameBits({1, 3, 4}, positions.values());
}

TEST(Find2D, OfTheDocumentedExamples) {
    DeviceArray<double> in({0, 5, 6, 0}), scan({0, 1, 2, 2}), rows(2), columns(2), values(2);
    Find2D::Invoker<double>()(nullptr, rows.data(), columns.data(), in.data(), scan.data(), 2, 2, 2,
                              FindFirst);
    expectSameBits({2, 1}, rows.values());
    expectSameBits({1, 2}, columns.values());
    Find2DWithValue::Invoker<double>()(nullptr, rows.data(), columns.data(), values.data(), in.data(),
                                       scan.data(), 2, 2, 2, FindLast);
    expectSameBits({2, 1}, rows.values());
    expectSameBits({1, 2}, columns.values());
    expectSameBits({5, 6}, values.values());
}

TEST(Find, OfAnotherModeOrOfNothingLaunchesNothing) {
    DeviceArray<double> in({1, 2}), scan({1, 2}), rows(2), columns(2), values(2);
    auto const none = static_cast<FindFirstLast>(2);
    EXPECT_EQ(2, Find1D::Invoker<double>()(nullptr, rows.data(), in.data(), scan.data(), 2, 2, none));
    EXPECT_EQ(0, Find1D::Invoker<double>()(nullptr, rows.data(), in.data(), scan.data(), 2, 0, FindFirst));
    EXPECT_EQ(1, Find1D::Invoker<double>()(nullptr, rows.data(), in.data(), scan.data(), 2, 0, FindLast));
    auto const both = [&](unsigned long numRows, unsigned long numCols, FindFirstLast mode) {
        Find2D::Invoker<double>()(nullptr, rows.data(), columns.data(), in.data(), scan.data(), 2, numRows,
                                  numCols, mode);
        Find2DWithValue::Invoker<double>()(nullptr, rows.data(), columns.data(), values.data(), in.data(),
                                           scan.data(), 2, numRows, numCols, mode);
    };
    both(2, 1, none);
    both(2, 0, FindFirst);
    both(0, 2, FindLast);
    EXPECT_TRUE(rows.untouched());
    EXPECT_TRUE(columns.untouched());
    EXPECT_TRUE(values.untouched());
    EXPECT_EQ(cudaSuccess, cudaGetLastError());
}

TEST(FindSparse, OfManySizes) {
    testing::GridLimits const limits(2);  // by which the largest folds
    std::mt19937_64 engine(3);
    for (unsigned long const nnz : {1ul, 255ul, 256ul, 257ul, 1000ul}) {
        std::vector<int> rows, cols;
        for (unsigned long i = 0; i < nnz; ++i) {
            rows.push_back(static_cast<int>(engine() % 5000));
            cols.push_back(static_cast<int>(engine() % 5000));
        }
        rows[0] = 2147483647;  // the positions wrap at 32 bits, unsigned, and the subscripts, signed
        Doubles positions, rowPositions, colPositions;
        for (unsigned long i = 0; i < nnz; ++i) {
            auto const row = static_cast<unsigned int>(rows[i]), col = static_cast<unsigned int>(cols[i]);
            positions.push_back(static_cast<double>(col * 1000003u + row + 1));
            rowPositions.push_back(i == 0 ? -2147483648.0 : static_cast<double>(rows[i] + 1));
            colPositions.push_back(static_cast<double>(cols[i] + 1));
        }
        DeviceArray<int> r(rows), c(cols);
        DeviceArray<double> linear(nnz), rowsOut(nnz), colsOut(nnz);
        FindSparse1DConvertCoordsHelper::Invoker()(nullptr, linear.data(), r.data(), c.data(), nnz, 1000003);
        FindSparse2DRectifyCoordsHelper::Invoker()(nullptr, rowsOut.data(), colsOut.data(), r.data(),
                                                   c.data(), nnz);
        expectSameBits(positions, linear.values());
        expectSameBits(rowPositions, rowsOut.values());
        expectSameBits(colPositions, colsOut.values());
        expectSameBits(rows, r.values());
        expectSameBits(cols, c.values());
    }
}

TEST(FindSparse, OfTheDocumentedExamples) {
    DeviceArray<int> row({1}), col({2});
    DeviceArray<double> position(1), rowPosition(1), colPosition(1);
    FindSparse1DConvertCoordsHelper::Invoker()(nullptr, position.data(), row.data(), col.data(), 1, 3);
    FindSparse2DRectifyCoordsHelper::Invoker()(nullptr, rowPosition.data(), colPosition.data(), row.data(),
                                               col.data(), 1);
    expectSameBits({8}, position.values());
    expectSameBits({2}, rowPosition.values());
    expectSameBits({3}, colPosition.values());
    FindSparse1DConvertCoordsHelper::Invoker()(nullptr, position.data(), row.data(), col.data(), 1,
                                               (1ul << 32) + 4);
    expectSameBits({10}, position.values());
}

}  // namespace
}  // namespace gpuruntime

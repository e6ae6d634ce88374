#include <gtest/gtest.h>
#include <gpuruntime/sorting.hpp>

#include "tests/sorting/reference.hpp"

namespace gpuruntime::testing {
namespace {

double const nan = std::numeric_limits<double>::quiet_NaN();

/// Negative, zero or positive for two elements, where NaN is above every number.
template <class T>
int compareElements(T const& x, T const& y) {
    if (isNaN(x) != isNaN(y)) return isNaN(x) ? 1 : -1;
    return isNaN(x) ? 0 : compare(x, y, Zeros::equal);
}

std::vector<unsigned int> rowNumbers(unsigned long numRows) {
    std::vector<unsigned int> rows(numRows);
    std::iota(rows.begin(), rows.end(), 1u);
    return rows;
}

template <class T>
std::vector<unsigned int> sortedRows(Elements<T> const& matrix, unsigned long numRows,
                                     std::vector<double> const& sortOrder) {
    auto rows = rowNumbers(numRows);
    std::stable_sort(rows.begin(), rows.end(), [&](unsigned int a, unsigned int b) {
        for (double entry : sortOrder) {
            auto const column = static_cast<unsigned long>(std::abs(entry)) - 1;
            int const verdict =
                compareElements<T>(matrix[column * numRows + a - 1], matrix[column * numRows + b - 1]);
            if (verdict != 0) return entry > 0 ? verdict < 0 : verdict > 0;
        }
        return false;
    });
    return rows;
}

/// Sorts `rows` on the device.
template <class T>
std::vector<unsigned int> deviceSort(Elements<T> const& matrix, std::vector<unsigned int> const& rows,
                                     unsigned long numColsToSort, double const* sortOrder) {
    DeviceArray<T> data(matrix);
    DeviceArray<unsigned int> rowIndices(rows);
    EXPECT_EQ(cudaSuccess, SortrowsIndex::Invoker<T>()(data.data(), rowIndices.data(), rows.size(),
                                                       numColsToSort, sortOrder));
    expectSameBits(matrix, data.values());
    return rowIndices.values();
}

template <class T>
std::vector<unsigned int> deviceSort(Elements<T> const& matrix, unsigned long numRows,
                                     std::vector<double> const& sortOrder) {
    return deviceSort<T>(matrix, rowNumbers(numRows), sortOrder.size(), sortOrder.data());
}

template <class T>
class SortRows : public ::testing::Test {};
TYPED_TEST_SUITE(SortRows, SortedTypes);

TYPED_TEST(SortRows, EveryPatternAndDirection) {
    std::vector<std::vector<double>> const orders{{1}, {-1}, {1, 2, 3}, {3, -1}, {-2, -3, 1}, {2, -2}};
    for (unsigned long numRows : {1ul, 2ul, 31ul, 33ul, 257ul, 2000ul, 70001ul}) {
        for (Pattern pattern : allPatterns()) {
            for (bool hasNaN : {false, true}) {
                auto const matrix = makeValues<TypeParam>(pattern, 3 * numRows, hasNaN);
                for (auto const& order : orders) {
                    if (numRows > 10000 && order.size() != 3) continue;
                    SCOPED_TRACE("rows " + std::to_string(numRows) + ", pattern " +
                                 std::to_string(static_cast<int>(pattern)) + ", order of " +
                                 std::to_string(order.size()) + " from " + std::to_string(order[0]));
                    expectSameBits(sortedRows<TypeParam>(matrix, numRows, order),
                                   deviceSort<TypeParam>(matrix, numRows, order));
                    if (this->HasFatalFailure()) return;
                }
            }
        }
    }
}

TYPED_TEST(SortRows, WithoutAListTheFirstColumnsAscend) {
    unsigned long const numRows = 1000;
    auto const matrix = makeValues<TypeParam>(Pattern::few, 4 * numRows, true);
    expectSameBits(sortedRows<TypeParam>(matrix, numRows, {1, 2, 3}),
                   deviceSort<TypeParam>(matrix, rowNumbers(numRows), 3, nullptr));
}

TYPED_TEST(SortRows, RowsOfManyEqualColumnsStandByTheLast) {
    // As many columns as constant memory lists, one fewer and one more.
    for (unsigned long numColumns : {1023ul, 1024ul, 1025ul, 1100ul}) {
        unsigned long const numRows = 100;
        Elements<TypeParam> matrix = makeValues<TypeParam>(Pattern::equal, numRows * numColumns, false);
        auto const last = makeValues<TypeParam>(Pattern::random, numRows, false);
        std::copy(last.begin(), last.end(), matrix.end() - static_cast<long>(numRows));
        std::vector<double> order(numColumns);
        std::iota(order.begin(), order.end(), 1.0);
        order.back() = -order.back();
        SCOPED_TRACE(numColumns);
        expectSameBits(sortedRows<TypeParam>(matrix, numRows, order),
                       deviceSort<TypeParam>(matrix, numRows, order));
    }
}

TYPED_TEST(SortRows, WithoutColumnsTheRowNumbersAscend) {
    auto const matrix = makeValues<TypeParam>(Pattern::random, 6, false);
    double const unused = 1;
    expectSameBits<unsigned int>({1, 2, 3, 4, 5, 6},
                                 deviceSort<TypeParam>(matrix, {3, 1, 2, 6, 5, 4}, 0, &unused));
    expectSameBits<unsigned int>({1, 2, 3, 4, 5, 6},
                                 deviceSort<TypeParam>(matrix, {3, 1, 2, 6, 5, 4}, 0, nullptr));
}

TEST(SortRows, DocumentedExample) {
    std::vector<double> const matrix{2, 1, 2, 1, 2, 1, 5, 6, 7, 6, 8, 9};
    expectSameBits<unsigned int>({6, 2, 4, 5, 3, 1}, deviceSort<double>(matrix, 6, {1, -2}));
}

TEST(SortRows, TheFractionOfAnEntryIsCutOff) {
    std::vector<long> const matrix{1, 2, 3, 30, 10, 20};
    expectSameBits<unsigned int>({2, 3, 1}, deviceSort<long>(matrix, 3, {2.7}));
    expectSameBits<unsigned int>({1, 3, 2}, deviceSort<long>(matrix, 3, {-2.7}));
}

TEST(SortRows, RowsThatDifferOnlyInLateColumns) {
    // Column k marks row 20 - k, which comes after all rows that no column up to k marks; the last column
    // turns the unmarked rows round.
    unsigned int const numRows = 200, numColumns = 20;
    std::vector<double> matrix(numRows * numColumns, 0.0), order(numColumns);
    for (unsigned int k = 1; k < numColumns; ++k) matrix[(k - 1) * numRows + (numColumns - k) - 1] = 1;
    for (unsigned int row = 1; row <= numRows; ++row)
        matrix[(numColumns - 1) * numRows + row - 1] = 200.0 - row;
    std::iota(order.begin(), order.end(), 1.0);
    std::vector<unsigned int> expected;
    for (unsigned int row = 200; row >= 20; --row) expected.push_back(row);
    for (unsigned int row = 1; row <= 19; ++row) expected.push_back(row);
    expectSameBits(expected, deviceSort<double>(matrix, numRows, order));
}

TEST(SortRows, WithoutAListTheFirstColumnsMayBeMoreThanConstantMemoryLists) {
    unsigned long const numColumns = 1100;
    std::vector<long> matrix(3 * (numColumns - 1), 7);
    matrix.insert(matrix.end(), {3, 1, 2});
    expectSameBits<unsigned int>({2, 3, 1}, deviceSort<long>(matrix, {1, 2, 3}, numColumns, nullptr));
}

TEST(SortRows, RowsThatTieStandByNumberInBothDirectionsHoweverTheyCameIn) {
    std::vector<long> const matrix{5, 5, 5, 5};
    for (double entry : {1.0, -1.0}) {
        expectSameBits<unsigned int>({1, 2, 3, 4}, deviceSort<long>(matrix, {4, 2, 3, 1}, 1, &entry));
    }
}

TEST(SortRows, NaNIsLastAscendingAndFirstDescendingAndTiesWithNaN) {
    std::vector<double> const matrix{nan, 1, -nan, 2, 8, 9, 7, 6};
    expectSameBits<unsigned int>({2, 4, 3, 1}, deviceSort<double>(matrix, 4, {1, 2}));
    expectSameBits<unsigned int>({3, 1, 4, 2}, deviceSort<double>(matrix, 4, {-1, 2}));
}

TEST(SortRows, BothZerosTie) {
    std::vector<double> const matrix{0, -0.0, 0, 3, 2, 1};
    expectSameBits<unsigned int>({3, 2, 1}, deviceSort<double>(matrix, 3, {1, 2}));
    expectSameBits<unsigned int>({1, 2, 3}, deviceSort<double>(matrix, 3, {1}));
}

TEST(SortRows, ComplexValuesWithNaNComeAfterAllOthers) {
    double const inf = std::numeric_limits<double>::infinity();
    std::vector<double2> const matrix{{inf, nan}, {inf, 0}, {nan, 0}, {1, 0}, {1, 0}, {0, 0}, {0, 0}, {0, 0}};
    expectSameBits<unsigned int>({4, 2, 3, 1}, deviceSort<double2>(matrix, 4, {1, 2}));
    expectSameBits<unsigned int>({3, 1, 2, 4}, deviceSort<double2>(matrix, 4, {-1, 2}));
}

TEST(SortRows, UnsignedAndSignedColumnsCompareInTheirOwnType) {
    std::vector<long> const matrix{-1, 1, 0};
    std::vector<unsigned long> const unsignedMatrix{~0ul, 1, 0};
    expectSameBits<unsigned int>({1, 3, 2}, deviceSort<long>(matrix, 3, {1}));
    expectSameBits<unsigned int>({3, 2, 1}, deviceSort<unsigned long>(unsignedMatrix, 3, {1}));
}

}  // namespace
}  // namespace gpuruntime::testing

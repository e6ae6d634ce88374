#include <gtest/gtest.h>
#include <gpuruntime/sorting.hpp>

#include "tests/sorting/reference.hpp"

namespace gpuruntime::testing {
namespace {

constexpr double inf = std::numeric_limits<double>::infinity();
double const nan = std::numeric_limits<double>::quiet_NaN();

// --- Every instance against the reference. ---

template <class T>
class Sorts : public ::testing::Test {};
TYPED_TEST_SUITE(Sorts, SortedTypes);

TYPED_TEST(Sorts, VectorAloneGoesByBitPattern) {
    forEachCase([](unsigned long n, Pattern pattern, bool ascending, bool hasNaN) {
        auto const values = makeValues<TypeParam>(pattern, n, hasNaN);
        DeviceArray<TypeParam> data(values);
        SortVector::Invoker<TypeParam>()(data.data(), nullptr, n, ascending, hasNaN);
        auto const order = sortedPositions<TypeParam>(values, ascending, hasNaN, Zeros::negativeFirst);
        expectSameBits(permuted(values, order), data.values());
    });
}

TYPED_TEST(Sorts, VectorCarriesIndicesAndKeepsTheOrderOfEqualValues) {
    forEachCase([](unsigned long n, Pattern pattern, bool ascending, bool hasNaN) {
        auto const values = makeValues<TypeParam>(pattern, n, hasNaN);
        DeviceArray<TypeParam> data(values);
        DeviceArray<double> indices(runningIndices(n));
        SortVector::Invoker<TypeParam>()(data.data(), indices.data(), n, ascending, hasNaN);
        auto const order = sortedPositions<TypeParam>(values, ascending, hasNaN, Zeros::equal);
        expectSameBits(permuted(values, order), data.values());
        expectSameBits(permuted(runningIndices(n), order), indices.values());
    });
}

/// Labels of `n` elements in columns of `length`, as they stand in a matrix; `shuffled` takes them apart, and
/// makes some negative.
std::vector<int> columnLabels(unsigned long n, unsigned long length, bool shuffled) {
    std::vector<int> labels;
    for (unsigned long i = 0; i < n; ++i) labels.push_back(static_cast<int>(i / length));
    if (shuffled) {
        for (int& label : labels) label = 7 - 3 * label;
        std::shuffle(labels.begin(), labels.end(), std::mt19937_64(n));
    }
    return labels;
}

/// The permutation of the sort of all columns: the whole array first, then by label.
template <class T>
std::vector<unsigned long> columnPositions(Elements<T> const& values, std::vector<int> const& labels,
                                           bool ascending, bool hasNaN, Zeros zeros) {
    auto order = sortedPositions<T>(values, ascending, hasNaN, zeros);
    std::stable_sort(order.begin(), order.end(),
                     [&](unsigned long a, unsigned long b) { return labels[a] < labels[b]; });
    return order;
}

TYPED_TEST(Sorts, MatrixSortsEachColumn) {
    forEachCase([](unsigned long n, Pattern pattern, bool ascending, bool hasNaN) {
        for (bool shuffled : {false, true}) {
            auto const values = makeValues<TypeParam>(pattern, n, hasNaN);
            auto const labels = columnLabels(n, n < 60000 ? 37 : 66000, shuffled);
            DeviceArray<TypeParam> data(values);
            DeviceArray<int> columnIds(labels);
            SortMatrix::Invoker<TypeParam>()(data.data(), columnIds.data(), n, ascending, hasNaN);
            auto const order =
                columnPositions<TypeParam>(values, labels, ascending, hasNaN, Zeros::negativeFirst);
            expectSameBits(permuted(values, order), data.values());
            expectSameBits(permuted(labels, order), columnIds.values());
        }
    });
}

TYPED_TEST(Sorts, MatrixCarriesIndices) {
    forEachCase([](unsigned long n, Pattern pattern, bool ascending, bool hasNaN) {
        for (bool shuffled : {false, true}) {
            auto const values = makeValues<TypeParam>(pattern, n, hasNaN);
            auto const labels = columnLabels(n, n < 60000 ? 37 : 66000, shuffled);
            DeviceArray<TypeParam> data(values);
            DeviceArray<double> indices(runningIndices(n));
            DeviceArray<int> columnIds(labels);
            SortMatrixIndex::Invoker<TypeParam>()(data.data(), indices.data(), columnIds.data(), n, ascending,
                                                  hasNaN);
            auto const order = columnPositions<TypeParam>(values, labels, ascending, hasNaN, Zeros::equal);
            expectSameBits(permuted(values, order), data.values());
            expectSameBits(permuted(runningIndices(n), order), indices.values());
            expectSameBits(permuted(labels, order), columnIds.values());
        }
    });
}

TEST(SimpleSort, SortsDoublesByBitPattern) {
    forEachCase([](unsigned long n, Pattern pattern, bool, bool) {
        auto const values = makeValues<double>(pattern, n, false);
        DeviceArray<double> data(values);
        SimpleSort::Invoker<double>()(data.data(), n);
        auto const order = sortedPositions<double>(values, true, false, Zeros::negativeFirst);
        expectSameBits(permuted(values, order), data.values());
    });
}

// --- The examples of the contract. ---

struct Result {
    std::vector<double> data, indices;
};

Result sortedVector(std::vector<double> const& values, bool ascending, bool hasNaN) {
    DeviceArray<double> data(values), indices(runningIndices(values.size()));
    SortVector::Invoker<double>()(data.data(), indices.data(), values.size(), ascending, hasNaN);
    return {data.values(), indices.values()};
}

std::vector<double> sortedAlone(std::vector<double> const& values, bool ascending, bool hasNaN = false) {
    DeviceArray<double> data(values);
    SortVector::Invoker<double>()(data.data(), nullptr, values.size(), ascending, hasNaN);
    return data.values();
}

TEST(SortVector, DocumentedExample) {
    std::vector<double> const values{3, nan, 1, 2, 1, 0};
    Result const up = sortedVector(values, true, true);
    expectSameBits<double>({0, 1, 1, 2, 3, nan}, up.data);
    expectSameBits<double>({6, 3, 5, 4, 1, 2}, up.indices);
    Result const down = sortedVector(values, false, true);
    expectSameBits<double>({nan, 3, 2, 1, 1, 0}, down.data);
    expectSameBits<double>({2, 1, 4, 3, 5, 6}, down.indices);
}

TEST(SortMatrix, DocumentedExample) {
    DeviceArray<long> data{3, 1, 2, 6, 5, 4};
    DeviceArray<int> columnIds{0, 0, 0, 1, 1, 1};
    SortMatrix::Invoker<long>()(data.data(), columnIds.data(), 6, true, false);
    expectSameBits<long>({1, 2, 3, 4, 5, 6}, data.values());
    expectSameBits<int>({0, 0, 0, 1, 1, 1}, columnIds.values());
}

TEST(SortMatrixIndex, DocumentedExample) {
    DeviceArray<double> data{3, 1, 2, 6, 5, 4}, indices{1, 2, 3, 1, 2, 3};
    DeviceArray<int> columnIds{0, 0, 0, 1, 1, 1};
    SortMatrixIndex::Invoker<double>()(data.data(), indices.data(), columnIds.data(), 6, false, false);
    expectSameBits<double>({3, 2, 1, 6, 5, 4}, data.values());
    expectSameBits<double>({1, 3, 2, 1, 2, 3}, indices.values());
}

TEST(SimpleSort, DocumentedExample) {
    DeviceArray<double> data{3, -1, 2, -0.0, 0, 1};
    SimpleSort::Invoker<double>()(data.data(), 6);
    expectSameBits<double>({-1, -0.0, 0, 1, 2, 3}, data.values());
}

TEST(SimpleSort, PlacesNaNBeyondTheInfinityOfItsSign) {
    DeviceArray<double> data{nan, inf, 1, -inf, -nan};
    SimpleSort::Invoker<double>()(data.data(), 5);
    expectSameBits<double>({-nan, -inf, 1, inf, nan}, data.values());
}

// --- Single rules. ---

TEST(SortVector, NegativeZeroComesFirstWithoutIndicesOnly) {
    expectSameBits<double>({-1, -0.0, -0.0, 0, 0, 1}, sortedAlone({0, -0.0, 1, 0, -0.0, -1}, true));
    expectSameBits<double>({1, 0, 0, -0.0, -0.0, -1}, sortedAlone({0, -0.0, 1, 0, -0.0, -1}, false));
    expectSameBits<double>({-1, 0, -0.0, 0, -0.0, 1},
                           sortedVector({0, -0.0, 1, 0, -0.0, -1}, true, false).data);
    expectSameBits<double>({1, 0, -0.0, 0, -0.0, -1},
                           sortedVector({0, -0.0, 1, 0, -0.0, -1}, false, false).data);
}

TEST(SortVector, WithoutNaNHandlingANaNGoesByItsBits) {
    expectSameBits<double>({-nan, -inf, 1, inf, nan}, sortedAlone({inf, -nan, 1, nan, -inf}, true));
    expectSameBits<double>({nan, inf, 1, -inf, -nan}, sortedAlone({inf, -nan, 1, nan, -inf}, false));
}

TEST(SortVector, EqualValuesKeepAscendingIndicesInBothDirections) {
    expectSameBits<double>({2, 4, 1, 3, 5}, sortedVector({7, 1, 7, 1, 7}, true, false).indices);
    expectSameBits<double>({1, 3, 5, 2, 4}, sortedVector({7, 1, 7, 1, 7}, false, false).indices);
}

TEST(SortVector, NaNsKeepTheirOrderAtTheEndOrTheStart) {
    double const a = nanWithPayload(1), b = nanWithPayload(2), c = nanWithPayload(3);
    expectSameBits<double>({-inf, 2, 5, c, a, b}, sortedAlone({c, 5, a, -inf, b, 2}, true, true));
    expectSameBits<double>({c, a, b, 5, 2, -inf}, sortedAlone({c, 5, a, -inf, b, 2}, false, true));
    expectSameBits<double>({4, 6, 2, 1, 3, 5}, sortedVector({c, 5, a, -inf, b, 2}, true, true).indices);
    expectSameBits<double>({a, b, c}, sortedAlone({a, b, c}, true, true));
    expectSameBits<double>({a, b, c}, sortedAlone({a, b, c}, false, true));
}

TEST(SortVector, NothingAndOneElementStay) {
    DeviceArray<double> data{5}, indices{9};
    SortVector::Invoker<double>()(data.data(), indices.data(), 0, true, true);
    SortVector::Invoker<double>()(data.data(), indices.data(), 1, false, true);
    SortVector::Invoker<double>()(data.data(), nullptr, 1, true, true);
    expectSameBits<double>({5}, data.values());
    expectSameBits<double>({9}, indices.values());
}

TEST(SortMatrix, NaNOfOneColumnStaysInIt) {
    for (bool ascending : {true, false}) {
        DeviceArray<double> data{4, 3, nan, 1, 2, 0};
        DeviceArray<int> columnIds{1, 1, 1, 2, 2, 2};
        SortMatrix::Invoker<double>()(data.data(), columnIds.data(), 6, ascending, true);
        std::vector<double> const up{3, 4, nan, 0, 1, 2}, down{nan, 4, 3, 2, 1, 0};
        expectSameBits(ascending ? up : down, data.values());
        expectSameBits<int>({1, 1, 1, 2, 2, 2}, columnIds.values());
    }
}

TEST(SortMatrix, WithoutNaNHandlingANaNGoesByItsBits) {
    for (bool ascending : {true, false}) {
        DeviceArray<double> data{inf, -nan, 1, nan, -inf, nan, 2, -nan};
        DeviceArray<int> columnIds{1, 1, 1, 1, 1, 2, 2, 2};
        SortMatrix::Invoker<double>()(data.data(), columnIds.data(), 8, ascending, false);
        std::vector<double> const up{-nan, -inf, 1, inf, nan, -nan, 2, nan};
        std::vector<double> const down{nan, inf, 1, -inf, -nan, nan, 2, -nan};
        expectSameBits(ascending ? up : down, data.values());
        expectSameBits<int>({1, 1, 1, 1, 1, 2, 2, 2}, columnIds.values());
    }
}

TEST(SortMatrix, LabelsAreOrderedToTheEndsOfTheirRange) {
    constexpr int lowest = std::numeric_limits<int>::min(), highest = std::numeric_limits<int>::max();
    DeviceArray<long> data{1, 2, 3, 4};
    DeviceArray<int> columnIds{highest, 0, lowest, -1};
    SortMatrix::Invoker<long>()(data.data(), columnIds.data(), 4, true, false);
    expectSameBits<long>({3, 4, 2, 1}, data.values());
    expectSameBits<int>({lowest, -1, 0, highest}, columnIds.values());
}

/// The order in which the sort puts values, ascending, as their first positions.
std::vector<double> complexOrder(Elements<double2> const& values, bool ascending = true) {
    DeviceArray<double2> data(values);
    DeviceArray<double> indices(runningIndices(values.size()));
    SortVector::Invoker<double2>()(data.data(), indices.data(), values.size(), ascending, false);
    return indices.values();
}

TEST(ComplexSort, EqualMagnitudesGoByPhase) {
    expectSameBits<double>({2, 1}, complexOrder({{-1, 0}, {1, 0}}));
    // The angles are pi, 0, -pi, -pi/2 and pi/2.
    expectSameBits<double>({3, 4, 2, 5, 1}, complexOrder({{-1, 0}, {1, 0}, {-1, -0.0}, {0, -1}, {0, 1}}));
    expectSameBits<double>({1, 5, 2, 4, 3},
                           complexOrder({{-1, 0}, {1, 0}, {-1, -0.0}, {0, -1}, {0, 1}}, false));
    // Magnitude 5 each, and angles of 0.93, 0, -0.64 and 0.64.
    expectSameBits<double>({3, 2, 4, 1}, complexOrder({{3, 4}, {5, 0}, {4, -3}, {4, 3}}));
}

TEST(ComplexSort, OverflowingMagnitudesAreComparedAtHalfTheValue) {
    expectSameBits<double>({2, 3, 1},
                           complexOrder({{1.7e308, 1.7e308}, {1.3e308, 1.3e308}, {1.5e308, -1.5e308}}));
    expectSameBits<double>(
        {1, 3, 2}, complexOrder({{1.7e308, 1.7e308}, {1.3e308, 1.3e308}, {1.5e308, -1.5e308}}, false));
}

TEST(ComplexSort, RoundedTiesGoByTheSmallerPart) {
    // The magnitudes all round to 1.
    expectSameBits<double>({3, 1, 2}, complexOrder({{1, 1e-20}, {1, -1e-10}, {1, 0}}));
    expectSameBits<double>({2, 1, 3}, complexOrder({{1, 1e-20}, {1, -1e-10}, {1, 0}}, false));
    // The larger part may be the real or the imaginary one.
    expectSameBits<double>({2, 1}, complexOrder({{1e-10, 1}, {-1, 1e-20}}));
}

TEST(ComplexSort, InfiniteValuesGoByPhase) {
    // Angles pi/4, -pi/4, 3 pi/4.
    expectSameBits<double>({2, 1, 3}, complexOrder({{inf, inf}, {inf, -inf}, {-inf, inf}}));
    // Angles 0, pi/2, pi.
    expectSameBits<double>({2, 3, 1}, complexOrder({{-inf, 0}, {inf, 0}, {0, inf}}));
}

TEST(ComplexSort, AValueIsNaNIfEitherPartIs) {
    Elements<double2> const values{{nan, 1}, {2, 0}, {inf, nan}, {1, 0}, {0, nan}};
    for (bool ascending : {true, false}) {
        DeviceArray<double2> data(values);
        DeviceArray<double> indices(runningIndices(5));
        SortVector::Invoker<double2>()(data.data(), indices.data(), 5, ascending, true);
        std::vector<double> const up{4, 2, 1, 3, 5}, down{1, 3, 5, 2, 4};
        expectSameBits(ascending ? up : down, indices.values());
    }
}

TEST(ComplexSort, LongRunsOfOneMagnitudeAreSorted) {
    // All of magnitude exactly 5, in 12 directions, so that many values tie in magnitude and some are equal.
    std::vector<double2> const directions{{3, 4},  {4, 3},  {5, 0},  {0, 5},  {-3, 4},  {-4, 3},
                                          {-5, 0}, {0, -5}, {3, -4}, {4, -3}, {-3, -4}, {-4, -3}};
    Elements<double2> values;
    std::mt19937_64 engine(3);
    for (int i = 0; i < 150000; ++i) values.push_back(directions[engine() % directions.size()]);
    auto const order = sortedPositions<double2>(values, true, false, Zeros::equal);
    expectSameBits(permuted(runningIndices(values.size()), order), complexOrder(values));
}

TEST(SortVector, IntegersComeOutTheSameWhetherNaNsAreExpectedOrNot) {
    auto const values = makeValues<long>(Pattern::few, 1000, false);
    DeviceArray<long> expecting(values), notExpecting(values);
    SortVector::Invoker<long>()(expecting.data(), nullptr, 1000, true, true);
    SortVector::Invoker<long>()(notExpecting.data(), nullptr, 1000, true, false);
    expectSameBits(notExpecting.values(), expecting.values());
}

}  // namespace
}  // namespace gpuruntime::testing

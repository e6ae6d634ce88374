#include <gpuruntime/grids.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>

#include "frame/type_lists.hpp"
#include "tests/interp/grid_reference.hpp"
#include "tests/support/device_array.hpp"
#include "tests/support/device_limits.hpp"
#include "tests/support/test_types.hpp"

namespace gpuruntime {
namespace {

using testing::DeviceArray;
using testing::expectSameBits;
using Bins = std::vector<long>;
using Extents = std::vector<unsigned long>;

template <class T>
class GridsOf : public ::testing::Test {};
TYPED_TEST_SUITE(GridsOf, testing::TestTypes<internal::FloatingReal>);

// --- Search ---

template <class T>
Bins plainBins(std::vector<T> const& grid, std::vector<T> const& queries) {
    Bins bins;
    for (T const q : queries) bins.push_back(testing::plainBin(grid, q));
    return bins;
}

template <class T>
void expectFound(std::vector<T> const& grid, std::vector<T> const& queries) {
    SCOPED_TRACE(::testing::Message() << queries.size() << " queries on " << grid.size() << " points");
    unsigned long const offset = 16;
    DeviceArray<T> points(grid), in(queries);
    DeviceArray<long> bins(Bins(offset + queries.size() + 1, 7));
    IndexSearch::Invoker<T>()(nullptr, bins.data(), offset, points.data(), in.data(), grid.size(),
                              queries.size());
    Bins expected = plainBins(grid, queries);
    expected.insert(expected.begin(), offset, 7);
    expected.push_back(7);
    expectSameBits(expected, bins.values());
    expectSameBits(queries, in.values());
    expectSameBits(grid, points.values());
}

template <class T>
void expectFoundInColonGrid(unsigned long gridSize, std::vector<T> const& queries) {
    SCOPED_TRACE(::testing::Message() << queries.size() << " queries on " << gridSize << " points");
    DeviceArray<T> in(queries);
    DeviceArray<long> bins(Bins(3 + queries.size(), 7));
    IndexSearch_ColonGrid::Invoker<T>()(nullptr, bins.data(), 3, in.data(), gridSize, queries.size());
    Bins expected = plainBins(testing::colonGrid<T>(gridSize), queries);
    expected.insert(expected.begin(), 3, 7);
    expectSameBits(expected, bins.values());
    expectSameBits(queries, in.values());
}

TYPED_TEST(GridsOf, AreSearchedAroundEachPointOfSmallOnes) {
    using T = TypeParam;
    for (unsigned long n = 2; n <= 6; ++n) {
        for (unsigned long seed = 1; seed <= 5; ++seed) {
            auto const grid = testing::unevenGrid<T>(n, seed);
            expectFound(grid, testing::queriesAround(grid));
        }
        auto const even = testing::colonGrid<T>(n);
        expectFound(even, testing::queriesAround(even));
        expectFoundInColonGrid(n, testing::queriesAround(even));
    }
    T const infinity = std::numeric_limits<T>::infinity();
    for (auto const& grid :
         {std::vector<T>{-1, 1e-6f, 1e-5f, 1, 1e6}, std::vector<T>{0, T(1) / 1024, 5, 6, 7, 8, 9, 1000},
          std::vector<T>{0, 100, 101, 102, 103, 104},
          std::vector<T>{std::numeric_limits<T>::lowest(), -1, 0, 1, std::numeric_limits<T>::max()},
          std::vector<T>{-infinity, 0, 1, infinity}}) {
        expectFound(grid, testing::queriesAround(grid));
    }
}

TYPED_TEST(GridsOf, AreSearchedInAnyOrderOfQueries) {
    using T = TypeParam;
    for (unsigned long const gridSize : {2ul, 3ul, 10ul, 100ul, 5000ul}) {
        auto const uneven = testing::unevenGrid<T>(gridSize, gridSize);
        auto const even = testing::colonGrid<T>(gridSize);
        for (bool const sorted : {false, true}) {
            expectFound(uneven, testing::randomQueries(uneven, 3000, sorted));
            expectFound(even, testing::randomQueries(even, 3000, sorted));
            expectFoundInColonGrid(gridSize, testing::randomQueries(even, 3000, sorted));
        }
    }
}

/// Many queries are where they would be if all distances were the same, and some are not.
TYPED_TEST(GridsOf, AreSearchedWhereMostDistancesAreTheSame) {
    using T = TypeParam;
    auto grid = testing::colonGrid<T>(500);
    for (unsigned long i = 20; i + 20 < grid.size(); i += 37) grid[i] += T(0.5);
    for (bool const sorted : {false, true}) {
        expectFound(grid, testing::randomQueries(grid, 3000, sorted));
        expectFound({grid.begin(), grid.begin() + 30}, testing::randomQueries(grid, 3000, sorted));
    }
    expectFound<T>({1, 2, 3, T(3.25), T(3.5), T(3.75)}, {T(3.75), T(1.5), T(2.5), T(3.75), 1});
}

TYPED_TEST(GridsOf, AreSearchedForVectorsOfSortedQueries) {
    auto const grid = testing::unevenGrid<TypeParam>(900);
    auto queries = testing::randomQueries(grid, 250, true);
    queries.erase(std::remove_if(queries.begin(), queries.end(), [](auto q) { return std::isnan(q); }),
                  queries.end());
    queries.resize(192);
    queries.insert(queries.end(), queries.begin(), queries.end());
    expectFound(grid, queries);
}

TYPED_TEST(GridsOf, AreSearchedForAsManyQueriesAsFillBlocks) {
    using T = TypeParam;
    auto const grid = testing::unevenGrid<T>(40);
    for (unsigned long const edge : {1ul, 5ul, 6ul, 192ul, 256ul, 576ul, 580ul, 1152ul, 1728ul, 2304ul}) {
        for (unsigned long n = edge - 1; n <= edge + 1; ++n) {
            expectFound(grid, testing::randomQueries(grid, n, n % 2 == 0));
            expectFoundInColonGrid(40, testing::randomQueries(testing::colonGrid<T>(40), n, false));
        }
    }
}

TYPED_TEST(GridsOf, AreSearchedByFoldedGridsOfBlocks) {
    using T = TypeParam;
    auto const grid = testing::unevenGrid<T>(40);
    for (unsigned long const limit : {1ul, 2ul, 3ul}) {
        testing::GridLimits const limits(limit);
        expectFound(grid, testing::randomQueries(grid, 4 * 1152 + 100, false));
        expectFoundInColonGrid(40, testing::randomQueries(testing::colonGrid<T>(40), 1900, false));
    }
}

TYPED_TEST(GridsOf, AreSearchedForNothing) {
    expectFound(std::vector<TypeParam>{1, 2}, {});
    expectFoundInColonGrid<TypeParam>(2, {});
}

TEST(Grids, AreSearchedAsInTheExample) {
    DeviceArray<double> grid({1, 2, 4}), queries({0, 1, 2, 3, 4, 5, NAN});
    DeviceArray<long> bins(7);
    IndexSearch::Invoker<double>()(nullptr, bins.data(), 0, grid.data(), queries.data(), 3, 7);
    expectSameBits(Bins{-1, 0, 1, 1, 1, -10, -20}, bins.values());
}

TEST(Grids, OfColonHaveTheLastPointInTheLastInterval) {
    float const infinity = std::numeric_limits<float>::infinity();
    DeviceArray<float> queries({1, 5, 4.5f, 0.5f, 5.5f, infinity, -infinity, NAN});
    DeviceArray<long> bins(8);
    IndexSearch_ColonGrid::Invoker<float>()(nullptr, bins.data(), 0, queries.data(), 5, 8);
    expectSameBits(Bins{0, 3, 3, -1, -10, -10, -1, -20}, bins.values());
}

/// 2^24 + 2 points, of which a `float` query can be the last but one only by a neighbour.
TEST(Grids, OfColonMayBeLargerThanQueriesAreExact) {
    unsigned long const n = (1ul << 24) + 2;
    DeviceArray<float> queries({16777215.0f, 16777216.0f, 16777218.0f, 16777220.0f});
    DeviceArray<long> bins(4);
    IndexSearch_ColonGrid::Invoker<float>()(nullptr, bins.data(), 0, queries.data(), n, 4);
    expectSameBits(Bins{16777214, 16777215, 16777216, -10}, bins.values());
    // The number of points as a `float` is 2^24, which is also what the position before it is, less one.
    IndexSearch_ColonGrid::Invoker<float>()(nullptr, bins.data(), 0, queries.data(), n - 1, 4);
    expectSameBits(Bins{16777214, 16777215, -10, -10}, bins.values());
}

// --- Vectors of arrays ---

unsigned long product(Extents const& dims) {
    return std::accumulate(dims.begin(), dims.end(), 1ul, std::multiplies<>());
}

/// The subscript along `whichDim` of element `i`.
unsigned long subscriptOf(unsigned long i, Extents const& dims, unsigned long whichDim) {
    for (unsigned long d = 0; d < whichDim; ++d) i /= dims[d];
    return i % dims[whichDim];
}

template <class T>
std::vector<T> repeatedAlongOthers(std::vector<T> const& vector, Extents const& dims,
                                   unsigned long whichDim) {
    std::vector<T> array;
    for (unsigned long i = 0; i < product(dims); ++i) array.push_back(vector[subscriptOf(i, dims, whichDim)]);
    return array;
}

std::vector<Extents> const shapes{{1},          {7},          {600},           {4, 3},          {1, 5},
                                  {300, 3},     {3, 300},     {2, 3, 4},       {260, 2, 3},     {5, 1, 130},
                                  {2, 3, 4, 5}, {1, 2, 1, 2}, {3, 2, 4, 2, 6}, {2, 2, 2, 2, 50}};

TYPED_TEST(GridsOf, BecomeTheirVectors) {
    using T = TypeParam;
    for (Extents const& dims : shapes) {
        auto const array = testing::mixedValues<T>(product(dims));
        DeviceArray<T> data(array);
        for (unsigned long whichDim = 0; whichDim < dims.size(); ++whichDim) {
            unsigned long stride = 1;
            for (unsigned long d = 0; d < whichDim; ++d) stride *= dims[d];
            std::vector<T> expected;
            for (unsigned long k = 0; k < dims[whichDim]; ++k) expected.push_back(array[k * stride]);
            DeviceArray<T> out(dims[whichDim]);
            CopyToVector::Invoker<T>()(nullptr, out.data(), data.data(), whichDim, dims.data(), dims.size(),
                                       array.size());
            expectSameBits(expected, out.values());
        }
        expectSameBits(array, data.values());
    }
}

TYPED_TEST(GridsOf, BecomeVectorsNoLongerThanTheyAre) {
    using T = TypeParam;
    DeviceArray<T> data({1, 2, 3, 4, 5, 6, 7}), out({9, 9, 9});
    Extents const dims{3, 3};
    CopyToVector::Invoker<T>()(nullptr, out.data(), data.data(), 1, dims.data(), 2, 6);
    expectSameBits(std::vector<T>{1, 4, 9}, out.values());
}

template <class T>
bool isCartesian(DeviceArray<T>& array, DeviceArray<T>& vector, Extents const& dims, unsigned long whichDim) {
    return VerifyNDCartesianGrid::Invoker<T>()(nullptr, array.data(), vector.data(), whichDim, dims.data(),
                                               dims.size());
}

TYPED_TEST(GridsOf, AreVerifiedElementByElement) {
    using T = TypeParam;
    for (Extents const& dims : shapes) {
        for (unsigned long whichDim = 0; whichDim < dims.size(); ++whichDim) {
            SCOPED_TRACE(::testing::PrintToString(dims) + " along " + std::to_string(whichDim));
            auto vector = testing::unevenGrid<T>(dims[whichDim]);
            vector[0] = -T(0);
            auto array = repeatedAlongOthers(vector, dims, whichDim);
            for (unsigned long i = 0; i < array.size(); i += 2) array[i] += 0;  // +0 equals -0
            DeviceArray<T> gridVector(vector), gridArray(array);
            EXPECT_TRUE(isCartesian(gridArray, gridVector, dims, whichDim));
            unsigned long const step = array.size() / 5 + 1;
            for (unsigned long i = 0; i < array.size() + step; i += step) {
                auto wrong = array;
                unsigned long const at = std::min(i, array.size() - 1);
                for (T const value : {std::numeric_limits<T>::quiet_NaN(), array[at] + 1}) {
                    wrong[at] = value;
                    gridArray.set(wrong);
                    EXPECT_FALSE(isCartesian(gridArray, gridVector, dims, whichDim)) << at;
                }
            }
        }
    }
}

TYPED_TEST(GridsOf, AreVerifiedInSteps) {
    using T = TypeParam;
    for (auto const& [x, y, z] : {std::tuple{1ul, 65535ul, 65535ul}, std::tuple{65535ul, 1ul, 65535ul},
                                  std::tuple{65535ul, 65535ul, 1ul}, std::tuple{2ul, 65535ul, 65535ul}}) {
        testing::GridLimits const limits(x, y, z);
        for (Extents const& dims : {Extents{1030, 3}, {3, 1030}, {520, 2, 3}, {3, 520, 4}, {40, 3, 2, 6}}) {
            for (unsigned long whichDim = 0; whichDim < dims.size(); ++whichDim) {
                auto const vector = testing::unevenGrid<T>(dims[whichDim]);
                auto array = repeatedAlongOthers(vector, dims, whichDim);
                DeviceArray<T> gridVector(vector), gridArray(array);
                EXPECT_TRUE(isCartesian(gridArray, gridVector, dims, whichDim));
                array.back() = 1000;
                gridArray.set(array);
                EXPECT_FALSE(isCartesian(gridArray, gridVector, dims, whichDim));
            }
        }
    }
}

TYPED_TEST(GridsOf, WithoutElementsAreCartesian) {
    DeviceArray<TypeParam> nothing(0);
    for (Extents const& dims : {Extents{0}, {0, 3}, {3, 0}, {2, 0, 3}, {0, 1, 1}, {1, 1, 0}, {1, 2, 0, 4}}) {
        EXPECT_TRUE(isCartesian(nothing, nothing, dims, 0));
    }
}

// --- Checks of vectors ---

template <class T>
void expectFaults(bool hasInfOrNaN, bool isNotStrictlyIncreasing, std::vector<T> const& grid) {
    SCOPED_TRACE(grid.size());
    DeviceArray<T> points(grid);
    GridFaults const faults =
        CheckInfNaNAndStrictlyIncreasing::Invoker<T>()(nullptr, points.data(), grid.size());
    EXPECT_EQ(hasInfOrNaN, faults.hasInfOrNaN);
    EXPECT_EQ(isNotStrictlyIncreasing, faults.isNotStrictlyIncreasing);
    expectSameBits(grid, points.values());
}

TYPED_TEST(GridsOf, HaveInfNaNOrAStepDown) {
    using T = TypeParam;
    T const infinity = std::numeric_limits<T>::infinity(), nan = std::numeric_limits<T>::quiet_NaN();
    expectFaults<T>(false, false, {});
    expectFaults<T>(false, false, {5});
    expectFaults<T>(true, false, {nan});
    expectFaults<T>(false, true, {1, 1});
    expectFaults<T>(false, true, {-T(0), T(0)});
    expectFaults<T>(false, false, {0, std::numeric_limits<T>::denorm_min()});
    expectFaults<T>(true, false, {-infinity, 0, infinity});
    expectFaults<T>(true, true, {infinity, infinity});
    expectFaults<T>(true, false, {1, nan, 0});
    expectFaults<T>(true, true, {1, std::copysign(nan, T(-1)), 3, 2});
    for (unsigned long const n : testing::boundarySizes()) {
        auto const grid = testing::unevenGrid<T>(n);
        expectFaults<T>(false, false, grid);
        for (unsigned long const at : {0ul, n / 2, n - 1}) {
            auto wrong = grid;
            wrong[at] = at == n - 1 ? infinity : nan;
            expectFaults(true, false, wrong);
            if (at == 0) continue;
            wrong[at] = wrong[at - 1];
            expectFaults(false, true, wrong);
        }
    }
}

template <class T>
bool ascendsEvenly(std::vector<T> const& grid) {
    DeviceArray<T> points(grid);
    bool const result = CheckUniformIncreasing::Invoker<T>()(nullptr, points.data(), grid.size());
    expectSameBits(grid, points.values());
    return result;
}

TYPED_TEST(GridsOf, AscendEvenly) {
    using T = TypeParam;
    for (unsigned long const n : testing::boundarySizes()) {
        if (n < 3) continue;
        SCOPED_TRACE(n);
        auto const even = testing::colonGrid<T>(n);
        EXPECT_TRUE(ascendsEvenly(even));
        EXPECT_FALSE(ascendsEvenly(std::vector<T>(even.rbegin(), even.rend())));
        for (unsigned long const at : {0ul, n / 2, n - 1}) {
            auto wrong = even;
            for (T const value : {std::numeric_limits<T>::quiet_NaN(), wrong[at] + T(0.25),
                                  std::numeric_limits<T>::infinity()}) {
                wrong[at] = value;
                EXPECT_FALSE(ascendsEvenly(wrong)) << at;
            }
        }
    }
    EXPECT_FALSE(ascendsEvenly(std::vector<T>{1, 1, 1}));
    EXPECT_FALSE(ascendsEvenly(std::vector<T>{1, 1, 2}));
    EXPECT_FALSE(ascendsEvenly(std::vector<T>{1, 2, 2}));
}

/// Of four points the tolerance is 8 eps.
TYPED_TEST(GridsOf, AscendEvenlyWithinATolerance) {
    using T = TypeParam;
    T const eps = std::numeric_limits<T>::epsilon();
    for (bool const narrows : {false, true}) {
        T const sign = narrows ? T(-1) : T(1);
        EXPECT_TRUE(ascendsEvenly(std::vector<T>{-2, -1, sign * 7 * eps, 1 + sign * 14 * eps}));
        EXPECT_FALSE(ascendsEvenly(std::vector<T>{-2, -1, sign * 8 * eps, 1 + sign * 16 * eps}));
    }
}

}  // namespace
}  // namespace gpuruntime

#include <gpuruntime/grids.hpp>
#include <gpuruntime/interpolation.hpp>

#include <gtest/gtest.h>

#include "tests/interp/interpolation_reference.hpp"
#include "tests/support/device_array.hpp"
#include "tests/support/device_limits.hpp"

namespace gpuruntime {
namespace {

using testing::Axis;
using testing::DeviceArray;
using testing::expectSameBits;
using testing::expectSameValues;
using testing::Rule;

template <class V, class G>
constexpr unsigned long runLength = sizeof(V) == 4 && sizeof(G) == 4 ? 7
                                    : sizeof(V) == 16                ? 3
                                                                     : 5;
template <class V, class G>
constexpr unsigned long blockSize = sizeof(V) == 4 && sizeof(G) == 4 ? 256
                                    : sizeof(V) == 16                ? 160
                                                                     : 192;

template <class V, class G>
V plainResult(Axis<G> const& axis, V const* values, G q, Rule<V> const& rule) {
    long const bin = testing::plainBin(axis.points, q);
    auto const line = [&](long i) { return values[i]; };
    if (rule.method == InterpType::Cubic && bin >= 0) return testing::plainCubic<V>(axis, bin, q, line);
    return testing::plainStage(axis, bin, q, rule, line);
}

/// With the memory that threads have of their last query.
template <class V, class G>
std::vector<V> plainResultsOfRuns(Axis<G> const& axis, std::vector<V> const& values,
                                  std::vector<G> const& queries, Rule<V> const& rule) {
    std::vector<V> results;
    long lastBin = -2;
    for (unsigned long i = 0; i < queries.size(); ++i) {
        if (i % runLength<V, G> == 0) lastBin = -2;
        long const bin = testing::plainBin(axis.points, queries[i]);
        bool const isKept = rule.method == InterpType::Cubic && bin == lastBin &&
                            (bin == BIN_BELOW_GRID || bin == BIN_ABOVE_GRID);
        results.push_back(isKept ? rule.extrapValue : plainResult(axis, values.data(), queries[i], rule));
        if (bin != BIN_NAN_QUERY) lastBin = bin;
    }
    return results;
}

template <class V, class G>
std::vector<V> resultsOf(Axis<G> const& axis, std::vector<V> const& values, std::vector<G> const& queries,
                         Rule<V> const& rule) {
    DeviceArray<G> in(queries), points(axis.points);
    DeviceArray<V> line(values), out(queries.size());
    unsigned long const n = values.size();
    if (axis.isColon) {
        Interp1d_ColonGrid::Invoker<G, V>()(nullptr, out.data(), line.data(), in.data(), n, queries.size(),
                                            rule.method, rule.extrap, rule.extrapValue);
    } else {
        Interp1dFull::Invoker<G, V>()(nullptr, out.data(), points.data(), line.data(), in.data(), n,
                                      queries.size(), rule.method, rule.extrap, rule.extrapValue);
    }
    expectSameBits(queries, in.values());
    expectSameBits(values, line.values());
    expectSameBits(axis.points, points.values());
    return out.values();
}

template <class V, class G>
void expectInterpolated(Axis<G> const& axis, std::vector<V> const& values, std::vector<G> const& queries,
                        Rule<V> const& rule) {
    SCOPED_TRACE(::testing::Message() << queries.size() << " queries on " << values.size()
                                      << " points, method " << unsigned(rule.method) << ", extrapolation "
                                      << unsigned(rule.extrap) << (axis.isColon ? ", colon grid" : ""));
    std::vector<V> expected;
    if (axis.isColon) {
        for (G const q : queries) expected.push_back(plainResult(axis, values.data(), q, rule));
    } else {
        expected = plainResultsOfRuns(axis, values, queries, rule);
    }
    expectSameValues(expected, resultsOf(axis, values, queries, rule));
}

/// Of as many columns as fill some steps and more, with bins as the search finds them.
template <class V, class G>
void expectColumnsInterpolated(Axis<G> const& axis, unsigned long numColumns, std::vector<G> const& queries,
                               Rule<V> const& rule) {
    unsigned long const n = axis.points.size(), numQueries = queries.size();
    SCOPED_TRACE(::testing::Message() << numQueries << " queries on " << numColumns << " columns of " << n
                                      << " points, method " << unsigned(rule.method));
    auto const values = testing::mixedValues<V>(n * numColumns, 4);
    std::vector<long> bins;
    for (G const q : queries) bins.push_back(testing::plainBin(axis.points, q));
    std::vector<V> expected;
    for (unsigned long c = 0; c < numColumns; ++c) {
        for (G const q : queries) expected.push_back(plainResult(axis, values.data() + c * n, q, rule));
    }
    DeviceArray<G> in(queries), points(axis.points);
    DeviceArray<V> columns(values), out(expected.size());
    DeviceArray<long> binArray(bins);
    Interp1dNdValFull::Invoker<G, V>()(nullptr, out.data(), points.data(), columns.data(), in.data(),
                                       binArray.data(), numQueries, n, values.size(), rule.method,
                                       rule.extrap, rule.extrapValue);
    expectSameValues(expected, out.values());
    expectSameBits(bins, binArray.values());
    expectSameBits(values, columns.values());
}

template <class Types>
class Interp1dOf : public ::testing::Test {};
TYPED_TEST_SUITE(Interp1dOf, testing::AllInterpTypes);

TYPED_TEST(Interp1dOf, AroundEachPointOfSmallGrids) {
    using G = typename TypeParam::G;
    using V = typename TypeParam::V;
    for (unsigned long n = 2; n <= 6; ++n) {
        auto const uneven = testing::fullAxis(testing::unevenGrid<G>(n, n));
        auto const even = testing::fullAxis(testing::colonGrid<G>(n)), colon = testing::colonAxis<G>(n);
        for (auto const& rule : testing::allRules<V>()) {
            if (n == 2 && rule.method == InterpType::Cubic) continue;
            auto const values = testing::randomValues<V>(n), special = testing::mixedValues<V>(n, 2, n);
            for (auto const& axis : {uneven, even, colon}) {
                auto const queries = testing::queriesAround(axis.points);
                expectInterpolated(axis, values, queries, rule);
                expectInterpolated(axis, special, queries, rule);
                if (!axis.isColon) expectColumnsInterpolated(axis, 2, queries, rule);
            }
        }
    }
}

TYPED_TEST(Interp1dOf, InAnyOrderOfQueries) {
    using G = typename TypeParam::G;
    using V = typename TypeParam::V;
    for (unsigned long const n : {3ul, 50ul, 3000ul}) {
        auto const axis = testing::fullAxis(testing::unevenGrid<G>(n, n));
        auto const colon = testing::colonAxis<G>(n);
        auto const values = testing::mixedValues<V>(n);
        for (auto const& rule : testing::fewRules<V>()) {
            for (bool const sorted : {false, true}) {
                auto const queries = testing::randomQueries(axis.points, 2500, sorted);
                expectInterpolated(axis, values, queries, rule);
                expectInterpolated(colon, values, testing::randomQueries(colon.points, 2500, sorted), rule);
                expectColumnsInterpolated(axis, 3, testing::randomQueries(axis.points, 300, sorted), rule);
            }
        }
    }
}

TYPED_TEST(Interp1dOf, OfAsManyQueriesAsFillTiles) {
    using G = typename TypeParam::G;
    using V = typename TypeParam::V;
    auto const axis = testing::fullAxis(testing::unevenGrid<G>(20));
    auto const colon = testing::colonAxis<G>(20);
    auto const values = testing::mixedValues<V>(20);
    constexpr unsigned long run = runLength<V, G>, block = blockSize<V, G>;
    for (unsigned long const edge : {1ul, run, block, run * block, 2 * run * block}) {
        for (unsigned long n = edge - 1; n <= edge + 1; ++n) {
            for (auto const& rule : testing::fewRules<V>()) {
                expectInterpolated(axis, values, testing::randomQueries(axis.points, n, n % 2 == 0), rule);
                expectInterpolated(colon, values, testing::randomQueries(colon.points, n, false), rule);
            }
        }
    }
}

TYPED_TEST(Interp1dOf, OfFoldedAndSteppedGridsOfBlocks) {
    using G = typename TypeParam::G;
    using V = typename TypeParam::V;
    auto const axis = testing::fullAxis(testing::unevenGrid<G>(20));
    auto const colon = testing::colonAxis<G>(20);
    auto const values = testing::mixedValues<V>(20);
    for (auto const& [x, y] : {std::tuple{1ul, 65535ul}, std::tuple{2ul, 65535ul}, std::tuple{65535ul, 1ul},
                               std::tuple{65535ul, 2ul}}) {
        testing::GridLimits const limits(x, y);
        for (auto const& rule : testing::fewRules<V>()) {
            auto const queries = testing::randomQueries(axis.points, 4000, false);
            if (y > 2) {
                expectInterpolated(axis, values, queries, rule);
                expectInterpolated(colon, values, testing::randomQueries(colon.points, 4000, false), rule);
            }
            expectColumnsInterpolated(axis, 90, {queries.begin(), queries.begin() + 140}, rule);
        }
    }
}

TYPED_TEST(Interp1dOf, OfAsManyColumnsAsFillSteps) {
    using G = typename TypeParam::G;
    using V = typename TypeParam::V;
    auto const axis = testing::fullAxis(testing::unevenGrid<G>(7));
    for (unsigned long const numColumns :
         {0ul, 1ul, 3ul, 4ul, 5ul, 9ul, 10ul, 11ul, 39ul, 40ul, 41ul, 85ul}) {
        for (unsigned long const numQueries : {0ul, 1ul, 63ul, 64ul, 65ul, 130ul}) {
            auto const queries = testing::randomQueries(axis.points, numQueries, false);
            for (auto const& rule : testing::fewRules<V>())
                expectColumnsInterpolated(axis, numColumns, queries, rule);
        }
    }
}

TYPED_TEST(Interp1dOf, OfColumnsTakesTheBinsOfTheSearch) {
    using G = typename TypeParam::G;
    using V = typename TypeParam::V;
    unsigned long const n = 30, numColumns = 3, numQueries = 150;
    auto const axis = testing::fullAxis(testing::unevenGrid<G>(n));
    auto const values = testing::randomValues<V>(n * numColumns);
    for (bool const sorted : {false, true}) {
        auto const queries = testing::randomQueries(axis.points, numQueries, sorted);
        for (auto const& rule : testing::fewRules<V>()) {
            std::vector<V> expected;
            for (unsigned long c = 0; c < numColumns; ++c) {
                for (G const q : queries)
                    expected.push_back(plainResult(axis, values.data() + c * n, q, rule));
            }
            DeviceArray<G> points(axis.points), in(queries);
            DeviceArray<V> columns(values), out(expected.size());
            DeviceArray<long> bins(numQueries);
            IndexSearch::Invoker<G>()(nullptr, bins.data(), 0, points.data(), in.data(), n, numQueries);
            Interp1dNdValFull::Invoker<G, V>()(nullptr, out.data(), points.data(), columns.data(), in.data(),
                                               bins.data(), numQueries, n, values.size(), rule.method,
                                               rule.extrap, rule.extrapValue);
            expectSameValues(expected, out.values());
        }
    }
}

TYPED_TEST(Interp1dOf, IsTheSameForSortedAndShuffledQueries) {
    using G = typename TypeParam::G;
    using V = typename TypeParam::V;
    auto const axis = testing::fullAxis(testing::unevenGrid<G>(30));
    auto const values = testing::randomValues<V>(30);
    auto const queries = testing::queriesAround(axis.points);
    for (auto const& rule : testing::allRules<V>()) {
        if (rule.method == InterpType::Cubic) continue;
        auto const forward = resultsOf(axis, values, queries, rule);
        auto backward = resultsOf(axis, values, {queries.rbegin(), queries.rend()}, rule);
        expectSameBits(forward, {backward.rbegin(), backward.rend()});
    }
}

TYPED_TEST(Interp1dOf, IsExactAtPointsWhateverIsBesideThem) {
    using G = typename TypeParam::G;
    using V = typename TypeParam::V;
    auto const axis = testing::fullAxis(testing::unevenGrid<G>(9));
    auto const colon = testing::colonAxis<G>(9);
    for (V const infinite : testing::specialValues<V>()) {
        auto values = testing::randomValues<V>(9);
        for (unsigned long i = 1; i < 9; i += 2) values[i] = infinite;
        for (InterpType const method : {InterpType::Linear, InterpType::Nearest}) {
            Rule<V> const rule{method, InterpType::Linear, V{}};
            expectSameBits(values, resultsOf(axis, values, axis.points, rule));
            expectSameBits(values, resultsOf(colon, values, colon.points, rule));
        }
    }
}

TYPED_TEST(Interp1dOf, OfNaNIsNegativeNaN) {
    using G = typename TypeParam::G;
    using V = typename TypeParam::V;
    G const nan = std::numeric_limits<G>::quiet_NaN();
    for (auto const& axis : {testing::fullAxis(testing::unevenGrid<G>(5)), testing::colonAxis<G>(5)}) {
        for (auto const& rule : testing::allRules<V>()) {
            std::vector<V> const expected(2, testing::negativeNaN<V>());
            expectSameBits(expected, resultsOf<V, G>(axis, testing::randomValues<V>(5), {nan, -nan}, rule));
        }
    }
}

/// A bin that the search does not give.
TYPED_TEST(Interp1dOf, OfOtherBinsIsZero) {
    using G = typename TypeParam::G;
    using V = typename TypeParam::V;
    DeviceArray<G> grid({1, 2, 4}), queries({2, 2, 2, 2});
    DeviceArray<V> values(testing::randomValues<V>(3)), out(4);
    DeviceArray<long> bins({-2, -11, 2, -1000000});
    for (auto const& rule : testing::allRules<V>()) {
        Interp1dNdValFull::Invoker<G, V>()(nullptr, out.data(), grid.data(), values.data(), queries.data(),
                                           bins.data(), 4, 3, 3, rule.method, rule.extrap, rule.extrapValue);
        expectSameBits(std::vector<V>(4), out.values());
    }
}

/// What may be asked without a grid.
TYPED_TEST(Interp1dOf, OfColumnsNeedsNoGridForNaNAndOutside) {
    using G = typename TypeParam::G;
    using V = typename TypeParam::V;
    DeviceArray<G> queries({0, 9, std::numeric_limits<G>::quiet_NaN()});
    auto const values = testing::randomValues<V>(8);
    V const extrapValue = testing::randomValues<V>(1, 5)[0], nan = testing::negativeNaN<V>();
    DeviceArray<V> columns(values), out(6);
    DeviceArray<long> bins({BIN_BELOW_GRID, BIN_ABOVE_GRID, BIN_NAN_QUERY});
    for (InterpType const method : {InterpType::Linear, InterpType::Cubic}) {
        auto const expect = [&](InterpType extrap, std::vector<V> const& expected) {
            Interp1dNdVal_ColonGrid::Invoker<G, V>()(nullptr, out.data(), columns.data(), queries.data(),
                                                     bins.data(), 3, 4, 8, method, extrap, extrapValue);
            expectSameBits(expected, out.values());
        };
        expect(InterpType::Nearest, {values[0], values[3], nan, values[4], values[7], nan});
        expect(InterpType::ExtrapValue, {extrapValue, extrapValue, nan, extrapValue, extrapValue, nan});
    }
}

TEST(Interp1d, GivesTheNumbersOfTheExample) {
    std::vector<double> const results =
        resultsOf<double, double>(testing::fullAxis<double>({1, 2, 4}), {10, 20, 40}, {0, 1, 1.5, 4, 3},
                                  {InterpType::Linear, InterpType::ExtrapValue, -1});
    expectSameBits(std::vector<double>{-1, 10, 15, 40, 30}, results);
}

TEST(Interp1d, NearestTakesTheUpperOfTwo) {
    Rule<float> const rule{InterpType::Nearest, InterpType::Nearest, 0};
    for (auto const& axis : {testing::fullAxis<float>({1, 2, 3}), testing::colonAxis<float>(3)}) {
        expectSameBits(std::vector<float>{10, 20, 20, 30, 30, 10},
                       resultsOf<float, float>(axis, {10, 20, 30}, {1.25f, 1.5f, 2.25f, 2.5f, 9, -9}, rule));
    }
}

/// Cubic convolution of squares is exact, up to the edges.
TEST(Interp1d, CubicKeepsSquares) {
    Rule<double> const rule{InterpType::Cubic, InterpType::Nearest, 0};
    for (auto const& axis : {testing::fullAxis<double>({1, 2, 3, 4}), testing::colonAxis<double>(4)}) {
        expectSameBits(std::vector<double>{1, 2.25, 6.25, 12.25, 16, 10.5625},
                       resultsOf<double, double>(axis, {1, 4, 9, 16}, {1, 1.5, 2.5, 3.5, 4, 3.25}, rule));
    }
}

/// Of queries beyond the same end that one thread meets in a row.
TEST(Interp1d, CubicGoesByTheExtrapolationOnceInARow) {
    auto const axis = testing::fullAxis<double>({1, 2, 3, 4});
    std::vector<double> const values{1, 2, 3, 4}, queries{5, 6, 7, NAN, 8, 9, 0, 3, -1, -2};
    double const nan = testing::negativeNaN<double>(), e = -7;
    expectSameBits(
        std::vector<double>{5, e, e, nan, e, 9, 0, 3, -1, e},
        resultsOf<double, double>(axis, values, queries, {InterpType::Cubic, InterpType::Linear, e}));
    // Five queries are a run, of which the second begins with 9.
    expectSameBits(
        std::vector<double>{4, e, e, nan, e, 4, 1, 3, 1, e},
        resultsOf<double, double>(axis, values, queries, {InterpType::Cubic, InterpType::Nearest, e}));
    expectSameBits(
        std::vector<double>{0, e, e, nan, e, 0, 0, 3, 0, e},
        resultsOf<double, double>(axis, values, queries, {InterpType::Cubic, InterpType::Cubic, e}));
}

}  // namespace
}  // namespace gpuruntime

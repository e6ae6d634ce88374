#include <gpuruntime/grids.hpp>
#include <gpuruntime/interpolation.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <numeric>

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
using Extents = std::vector<unsigned long>;

/// The value at a point, from one-dimensional stages of the dimensions below `numDims`.
template <class V, class G>
V nested(std::vector<Axis<G>> const& axes, unsigned long numDims, std::vector<G> const& point,
         V const* values, Rule<V> const& rule) {
    if (numDims == 0) return *values;
    unsigned long stride = 1;
    for (unsigned long d = 0; d + 1 < numDims; ++d) stride *= axes[d].points.size();
    G const q = point[numDims - 1];
    auto const& axis = axes[numDims - 1];
    return testing::plainStage(axis, testing::plainBin(axis.points, q), q, rule, [&](long i) {
        return nested(axes, numDims - 1, point, values + static_cast<unsigned long>(i) * stride, rule);
    });
}

template <class V, class G>
V plainCubic2d(std::vector<Axis<G>> const& axes, std::vector<G> const& point, V const* values,
               Rule<V> const& rule) {
    long const bx = testing::plainBin(axes[0].points, point[0]),
               by = testing::plainBin(axes[1].points, point[1]);
    auto const isOutside = [](long bin) { return bin == BIN_BELOW_GRID || bin == BIN_ABOVE_GRID; };
    if (by == BIN_NAN_QUERY) return testing::negativeNaN<V>();
    if (isOutside(bx) || isOutside(by)) return rule.extrapValue;
    if (bx == BIN_NAN_QUERY) return testing::negativeNaN<V>();
    return testing::plainCubic<V>(axes[1], by, point[1], [&](long j) {
        V const* const row = values + static_cast<unsigned long>(j) * axes[0].points.size();
        return testing::plainCubic<V>(axes[0], bx, point[0], [&](long i) { return row[i]; });
    });
}

template <class V, class G>
V plainResult(std::vector<Axis<G>> const& axes, std::vector<G> const& point, std::vector<V> const& values,
              Rule<V> const& rule) {
    if (axes.size() == 2 && rule.method == InterpType::Cubic) {
        return plainCubic2d(axes, point, values.data(), rule);
    }
    return nested(axes, axes.size(), point, values.data(), rule);
}

unsigned long roundUp16(unsigned long n) { return std::max(16ul, (n + 15) / 16 * 16); }

/// The grid, the values and the queries on the device, as the families take them.
template <class V, class G>
struct Call {
    std::vector<Axis<G>> axes;
    Extents gridSizes;
    std::vector<std::unique_ptr<DeviceArray<G>>> grids, queries;
    G const *gridPointers[5]{}, *queryPointers[5]{};
    DeviceArray<V> values;
    Rule<V> rule;

    Call(std::vector<Axis<G>> const& axes, std::vector<V> const& values,
         std::vector<std::vector<G>> const& queryVectors, Rule<V> const& rule)
        : axes(axes), values(values), rule(rule) {
        for (unsigned long d = 0; d < axes.size(); ++d) {
            gridSizes.push_back(axes[d].points.size());
            grids.push_back(std::make_unique<DeviceArray<G>>(axes[d].points));
            queries.push_back(std::make_unique<DeviceArray<G>>(queryVectors[d]));
            gridPointers[d] = grids[d]->data();
            queryPointers[d] = queries[d]->data();
        }
    }

    /// By the family of the number of dimensions, or by that of any number.
    void compact(V* out, long const* bins, Extents const& querySizes, bool byAny) {
        unsigned long const numDims = axes.size();
        auto const &g = gridPointers, &q = queryPointers;
        auto const call = [&](auto family, auto... arguments) {
            family(nullptr, out, arguments..., bins, querySizes.data(), numDims, gridSizes.data(), numDims,
                   rule.extrapValue, rule.method, rule.extrap);
        };
        bool const isColon = axes[0].isColon;
        V const* const v = values.data();
        if (byAny || numDims > 3 || numDims == 1) {
            if (isColon) {
                Interpnd_CompactQuery_ColonGrid::Invoker<G, V>()(
                    nullptr, out, v, queryPointers, bins, querySizes.data(), numDims, gridSizes.data(),
                    numDims, rule.extrapValue, rule.method, rule.extrap, numDims);
            } else {
                Interpnd_CompactQuery::Invoker<G, V>()(nullptr, out, gridPointers, v, queryPointers, bins,
                                                       querySizes.data(), numDims, gridSizes.data(), numDims,
                                                       rule.extrapValue, rule.method, rule.extrap, numDims);
            }
        } else if (numDims == 2) {
            if (isColon) {
                call(Interp2d_CompactQuery_ColonGrid::Invoker<G, V>(), v, q[0], q[1]);
            } else {
                call(Interp2d_CompactQuery::Invoker<G, V>(), g[0], g[1], v, q[0], q[1]);
            }
        } else if (isColon) {
            call(Interp3d_CompactQuery_ColonGrid::Invoker<G, V>(), v, q[0], q[1], q[2]);
        } else {
            call(Interp3d_CompactQuery::Invoker<G, V>(), g[0], g[1], g[2], v, q[0], q[1], q[2]);
        }
    }

    void nonCompact(V* out, unsigned long numQueries, bool byAny) {
        unsigned long const numDims = axes.size();
        auto const &g = gridPointers, &q = queryPointers;
        auto const call = [&](auto family, auto... arguments) {
            family(nullptr, out, arguments..., gridSizes.data(), numDims, numQueries, rule.extrapValue,
                   rule.method, rule.extrap);
        };
        bool const isColon = axes[0].isColon;
        V const* const v = values.data();
        if (byAny || numDims > 3 || numDims == 1) {
            if (isColon) {
                Interpnd_NonCompactQuery_ColonGrid::Invoker<G, V>()(
                    nullptr, out, v, queryPointers, gridSizes.data(), numDims, numQueries, rule.extrapValue,
                    rule.method, rule.extrap, numDims);
            } else {
                Interpnd_NonCompactQuery::Invoker<G, V>()(
                    nullptr, out, gridPointers, v, queryPointers, gridSizes.data(), numDims, numQueries,
                    rule.extrapValue, rule.method, rule.extrap, numDims);
            }
        } else if (numDims == 2) {
            if (isColon) {
                call(Interp2d_NonCompactQuery_ColonGrid::Invoker<G, V>(), v, q[0], q[1]);
            } else {
                call(Interp2d_NonCompactQuery::Invoker<G, V>(), g[0], g[1], v, q[0], q[1]);
            }
        } else if (isColon) {
            call(Interp3d_NonCompactQuery_ColonGrid::Invoker<G, V>(), v, q[0], q[1], q[2]);
        } else {
            call(Interp3d_NonCompactQuery::Invoker<G, V>(), g[0], g[1], g[2], v, q[0], q[1], q[2]);
        }
    }
};

unsigned long product(Extents const& sizes) {
    return std::accumulate(sizes.begin(), sizes.end(), 1ul, std::multiplies<>());
}

/// The product of the vectors: one coordinate array for each dimension.
template <class G>
std::vector<std::vector<G>> pointsOf(std::vector<std::vector<G>> const& vectors) {
    std::vector<std::vector<G>> points(vectors.size());
    unsigned long repeats = 1, numPoints = 1;
    for (auto const& vector : vectors) numPoints *= vector.size();
    for (unsigned long d = 0; d < vectors.size(); repeats *= vectors[d].size(), ++d) {
        for (unsigned long i = 0; i < numPoints; ++i) {
            points[d].push_back(vectors[d][i / repeats % vectors[d].size()]);
        }
    }
    return points;
}

template <class V, class G>
std::vector<V> plainResults(std::vector<Axis<G>> const& axes, std::vector<std::vector<G>> const& points,
                            std::vector<V> const& values, Rule<V> const& rule) {
    std::vector<V> results;
    for (unsigned long i = 0; i < points[0].size(); ++i) {
        std::vector<G> point;
        for (auto const& coordinates : points) point.push_back(coordinates[i]);
        results.push_back(plainResult(axes, point, values, rule));
    }
    return results;
}

/// The bins of each dimension in its section.
template <class G>
std::vector<long> plainBins(std::vector<Axis<G>> const& axes, std::vector<std::vector<G>> const& vectors) {
    std::vector<long> bins;
    for (unsigned long d = 0; d < axes.size(); ++d) {
        unsigned long const end = bins.size() + roundUp16(vectors[d].size());
        for (G const q : vectors[d]) bins.push_back(testing::plainBin(axes[d].points, q));
        bins.resize(end, -12345);
    }
    return bins;
}

template <class G>
Extents sizesOf(std::vector<std::vector<G>> const& vectors) {
    Extents sizes;
    for (auto const& vector : vectors) sizes.push_back(vector.size());
    return sizes;
}

/// Both forms at the product of the vectors.
template <class V, class G>
void expectInterpolated(std::vector<Axis<G>> const& axes, std::vector<V> const& values,
                        std::vector<std::vector<G>> const& vectors, Rule<V> const& rule) {
    SCOPED_TRACE(::testing::Message()
                 << axes.size() << " dimensions, method " << unsigned(rule.method) << ", extrapolation "
                 << unsigned(rule.extrap) << (axes[0].isColon ? ", colon grid" : ""));
    auto const points = pointsOf(vectors);
    auto const expected = plainResults(axes, points, values, rule);
    DeviceArray<long> bins(plainBins(axes, vectors));
    for (bool const byAny : {false, true}) {
        if (byAny && axes.size() > 3) continue;
        Call<V, G> compact(axes, values, vectors, rule), nonCompact(axes, values, points, rule);
        DeviceArray<V> out(expected.size()), outOfPoints(expected.size());
        compact.compact(out.data(), bins.data(), sizesOf(vectors), byAny);
        expectSameValues(expected, out.values());
        nonCompact.nonCompact(outOfPoints.data(), expected.size(), byAny);
        expectSameValues(expected, outOfPoints.values());
    }
}

/// Grids of these sizes, uneven ones that differ, or those of colons.
template <class G>
std::vector<Axis<G>> axesOf(Extents const& sizes, bool isColon) {
    std::vector<Axis<G>> axes;
    for (unsigned long d = 0; d < sizes.size(); ++d) {
        axes.push_back(isColon ? testing::colonAxis<G>(sizes[d])
                               : testing::fullAxis(testing::unevenGrid<G>(sizes[d], d + 1)));
    }
    return axes;
}

/// So many queries for each dimension.
template <class G>
std::vector<std::vector<G>> vectorsFor(std::vector<Axis<G>> const& axes, Extents const& sizes) {
    std::vector<std::vector<G>> vectors;
    for (unsigned long d = 0; d < axes.size(); ++d) {
        auto queries = testing::randomQueries(axes[d].points, sizes[d], d % 2 == 0, d + 7);
        if (sizes[d] > 3) {
            queries[1] = axes[d].points.front() - 1;
            queries[2] = axes[d].points.back() + 1;
            queries[3] = std::numeric_limits<G>::quiet_NaN();
        }
        vectors.push_back(queries);
    }
    return vectors;
}

template <class Types>
class InterpNd : public ::testing::Test {
  protected:
    using G = typename Types::G;
    using V = typename Types::V;

    static void expectAll(Extents const& gridSizes, Extents const& querySizes,
                          std::vector<Rule<V>> const& rules) {
        auto const values = testing::mixedValues<V>(product(gridSizes), 9);
        for (bool const isColon : {false, true}) {
            auto const axes = axesOf<G>(gridSizes, isColon);
            auto const vectors = vectorsFor(axes, querySizes);
            for (auto const& rule : rules) expectInterpolated(axes, values, vectors, rule);
        }
    }
};
TYPED_TEST_SUITE(InterpNd, testing::AllInterpTypes);

TYPED_TEST(InterpNd, AroundEachPointOfSmallMatrices) {
    using G = typename TypeParam::G;
    using V = typename TypeParam::V;
    for (Extents const& sizes : {Extents{2, 2}, {2, 3}, {3, 3}, {4, 3}, {6, 5}}) {
        for (bool const isColon : {false, true}) {
            auto const axes = axesOf<G>(sizes, isColon);
            std::vector<std::vector<G>> vectors;
            for (auto const& axis : axes) {
                auto queries = testing::queriesAround(axis.points);
                vectors.push_back({queries.begin() + 14, queries.end()});
            }
            auto const values = testing::randomValues<V>(product(sizes));
            for (auto const& rule : testing::fewRules<V>()) {
                if (rule.method == InterpType::Cubic && *std::min_element(sizes.begin(), sizes.end()) < 3)
                    continue;
                expectInterpolated(axes, values, vectors, rule);
            }
        }
    }
}

TYPED_TEST(InterpNd, ByEveryRule) {
    auto const rules = testing::allRules<typename TypeParam::V>();
    this->expectAll({5, 4}, {12, 9}, rules);
    this->expectAll({3, 4, 3}, {7, 6, 5}, rules);
    this->expectAll({3, 2, 3, 4}, {5, 4, 6, 4}, rules);
    this->expectAll({2, 3, 2, 3, 2}, {5, 4, 4, 4, 5}, rules);
}

TYPED_TEST(InterpNd, OfSectionsOfManySizes) {
    auto const rules = testing::fewRules<typename TypeParam::V>();
    for (Extents const& sizes : {Extents{1, 300}, {300, 1}, {15, 17}, {16, 16}, {257, 3}}) {
        this->expectAll({9, 7}, sizes, rules);
    }
    for (Extents const& sizes : {Extents{1, 2, 90}, {17, 16, 2}, {33, 1, 15}}) {
        this->expectAll({4, 3, 5}, sizes, rules);
    }
    for (Extents const& sizes :
         {Extents{17, 1, 16, 2}, {1, 33, 2, 15}, {2, 3, 4, 1, 17}, {16, 1, 17, 2, 3}}) {
        Extents gridSizes{3, 4, 2, 5, 3};
        gridSizes.resize(sizes.size());
        this->expectAll(gridSizes, sizes, rules);
    }
}

TYPED_TEST(InterpNd, OfAsManyQueriesAsFillTiles) {
    auto const rules = testing::fewRules<typename TypeParam::V>();
    for (unsigned long const edge : {1ul, 128ul, 1280ul}) {
        for (unsigned long n = edge - 1; n <= edge + 1; ++n) {
            this->expectAll({3, 4}, {n, 1}, rules);
            this->expectAll({3, 4, 3}, {1, n, 1}, rules);
            this->expectAll({3, 2, 3, 2}, {1, 1, 1, n}, rules);
        }
    }
}

TYPED_TEST(InterpNd, OfFoldedAndSteppedGridsOfBlocks) {
    auto const rules = testing::fewRules<typename TypeParam::V>();
    for (auto const& [x, y, z] : {std::tuple{1ul, 65535ul, 65535ul}, std::tuple{65535ul, 1ul, 65535ul},
                                  std::tuple{65535ul, 65535ul, 1ul}}) {
        testing::GridLimits const limits(x, y, z);
        this->expectAll({3, 4}, {300, 5}, rules);
        this->expectAll({3, 4, 3}, {40, 10, 4}, rules);
        this->expectAll({3, 2, 3, 2}, {10, 10, 7, 4}, rules);
    }
}

/// Grids and queries of two to five dimensions, as many as fill batches and runs.
struct Sizes {
    Extents grid, query;
};
std::vector<Sizes> const sizesByDimensions{{{9, 7}, {70, 5}},
                                           {{4, 3, 5}, {66, 3, 4}},
                                           {{3, 2, 4, 3}, {5, 6, 4, 7}},
                                           {{2, 3, 2, 3, 2}, {4, 3, 5, 4, 5}}};

TYPED_TEST(InterpNd, OfWhatWasSearchedForOnTheDevice) {
    using G = typename TypeParam::G;
    using V = typename TypeParam::V;
    for (auto const& [gridSizes, querySizes] : sizesByDimensions) {
        auto const values = testing::randomValues<V>(product(gridSizes));
        for (bool const isColon : {false, true}) {
            auto const axes = axesOf<G>(gridSizes, isColon);
            auto const vectors = vectorsFor(axes, querySizes);
            auto const plain = plainBins(axes, vectors);
            for (auto const& rule : testing::fewRules<V>()) {
                Call<V, G> call(axes, values, vectors, rule);
                DeviceArray<long> bins(std::vector<long>(plain.size(), -12345));
                for (unsigned long d = 0, offset = 0; d < axes.size(); ++d) {
                    if (isColon) {
                        IndexSearch_ColonGrid::Invoker<G>()(
                            nullptr, bins.data(), offset, call.queryPointers[d], gridSizes[d], querySizes[d]);
                    } else {
                        IndexSearch::Invoker<G>()(nullptr, bins.data(), offset, call.gridPointers[d],
                                                  call.queryPointers[d], gridSizes[d], querySizes[d]);
                    }
                    offset += roundUp16(querySizes[d]);
                }
                expectSameBits(plain, bins.values());
                DeviceArray<V> out(product(querySizes));
                call.compact(out.data(), bins.data(), querySizes, false);
                expectSameValues(plainResults(axes, pointsOf(vectors), values, rule), out.values());
            }
        }
    }
}

/// The order counts nowhere, not even for cubics: no query takes over anything from the one before.
TYPED_TEST(InterpNd, IsTheSameForSortedAndShuffledQueries) {
    using G = typename TypeParam::G;
    using V = typename TypeParam::V;
    unsigned long const n = 700;
    std::vector<unsigned long> order(n);
    std::iota(order.begin(), order.end(), 0);
    std::shuffle(order.begin(), order.end(), std::mt19937_64(3));
    for (auto const& [gridSizes, querySizes] : sizesByDimensions) {
        auto const values = testing::randomValues<V>(product(gridSizes));
        for (bool const isColon : {false, true}) {
            auto const axes = axesOf<G>(gridSizes, isColon);
            std::vector<std::vector<G>> sorted, shuffled;
            for (auto const& axis : axes) {
                sorted.push_back(testing::randomQueries(axis.points, n, true, sorted.size() + 1));
                shuffled.emplace_back();
                for (unsigned long const i : order) shuffled.back().push_back(sorted.back()[i]);
            }
            for (auto const& rule : testing::fewRules<V>()) {
                DeviceArray<V> out(n), outOfShuffled(n);
                Call<V, G>(axes, values, sorted, rule).nonCompact(out.data(), n, false);
                Call<V, G>(axes, values, shuffled, rule).nonCompact(outOfShuffled.data(), n, false);
                auto const results = out.values();
                std::vector<V> expected;
                for (unsigned long const i : order) expected.push_back(results[i]);
                expectSameBits(expected, outOfShuffled.values());
            }
        }
    }
}

TYPED_TEST(InterpNd, OfReversedVectorsIsReversed) {
    using G = typename TypeParam::G;
    using V = typename TypeParam::V;
    for (auto const& [gridSizes, querySizes] : sizesByDimensions) {
        auto const values = testing::randomValues<V>(product(gridSizes));
        for (bool const isColon : {false, true}) {
            auto const axes = axesOf<G>(gridSizes, isColon);
            auto const vectors = vectorsFor(axes, querySizes);
            auto reversed = vectors;
            for (auto& vector : reversed) std::reverse(vector.begin(), vector.end());
            for (auto const& rule : testing::fewRules<V>()) {
                DeviceArray<V> out(product(querySizes)), outOfReversed(product(querySizes));
                DeviceArray<long> bins(plainBins(axes, vectors)), binsOfReversed(plainBins(axes, reversed));
                Call<V, G>(axes, values, vectors, rule).compact(out.data(), bins.data(), querySizes, false);
                Call<V, G>(axes, values, reversed, rule)
                    .compact(outOfReversed.data(), binsOfReversed.data(), querySizes, false);
                auto const results = out.values();
                expectSameBits({results.rbegin(), results.rend()}, outOfReversed.values());
            }
        }
    }
}

/// In one dimension the cubic on a full grid goes by the extrapolation once in a row of queries beyond the
/// same end, on that of colons each time.
TEST(InterpolationNd, CubicsInOneDimensionGoByTheOrderBeyondTheEnds) {
    double const e = -7;
    auto const expect = [&](bool isColon, std::vector<double> const& queries,
                            std::vector<double> const& expected) {
        auto axes = std::vector<Axis<double>>{testing::colonAxis<double>(4)};
        axes[0].isColon = isColon;
        Call<double, double> call(axes, {1, 2, 3, 4}, {queries}, {InterpType::Cubic, InterpType::Linear, e});
        DeviceArray<double> out(queries.size());
        call.nonCompact(out.data(), queries.size(), true);
        expectSameBits(expected, out.values());
    };
    expect(false, {-1, 0, 5, 6}, {-1, e, 5, e});
    expect(false, {0, 5, -1, 6}, {0, 5, -1, 6});
    expect(true, {-1, 0, 5, 6}, {-1, 0, 5, 6});
}

/// On one dimension the compact form searches by itself.
TYPED_TEST(InterpNd, OfOneDimensionIsInterp1d) {
    using G = typename TypeParam::G;
    using V = typename TypeParam::V;
    Rule<V> const rule{InterpType::Linear, InterpType::Nearest, V{}};
    for (bool const isColon : {false, true}) {
        auto const axes = axesOf<G>({9}, isColon);
        auto const vectors = vectorsFor(axes, {40});
        auto const values = testing::randomValues<V>(9);
        std::vector<V> expected;
        for (G const q : vectors[0]) expected.push_back(plainResult(axes, {q}, values, rule));
        for (unsigned long const numDims : {0ul, 1ul}) {
            Call<V, G> call(axes, values, vectors, rule);
            unsigned long const querySizes[] = {8, 5}, gridSizes[] = {9};
            DeviceArray<V> compact(40), nonCompact(40);
            if (isColon) {
                Interpnd_CompactQuery_ColonGrid::Invoker<G, V>()(
                    nullptr, compact.data(), call.values.data(), call.queryPointers, nullptr, querySizes, 2,
                    gridSizes, 1, rule.extrapValue, rule.method, rule.extrap, numDims);
                Interpnd_NonCompactQuery_ColonGrid::Invoker<G, V>()(
                    nullptr, nonCompact.data(), call.values.data(), call.queryPointers, gridSizes, 1, 40ul,
                    rule.extrapValue, rule.method, rule.extrap, numDims);
            } else {
                Interpnd_CompactQuery::Invoker<G, V>()(nullptr, compact.data(), call.gridPointers,
                                                       call.values.data(), call.queryPointers, nullptr,
                                                       querySizes, 2, gridSizes, 1, rule.extrapValue,
                                                       rule.method, rule.extrap, numDims);
                Interpnd_NonCompactQuery::Invoker<G, V>()(
                    nullptr, nonCompact.data(), call.gridPointers, call.values.data(), call.queryPointers,
                    gridSizes, 1, 40ul, rule.extrapValue, rule.method, rule.extrap, numDims);
            }
            expectSameBits(expected, compact.values());
            expectSameBits(expected, nonCompact.values());
        }
    }
}

/// The outermost dimension that is outside or NaN decides.
TEST(InterpolationNd, OfNaNGoesByTheHighestDimension) {
    double const nan = NAN, e = -7;
    auto const expect = [&](InterpType method, std::vector<std::vector<double>> const& points,
                            std::vector<double> const& expected) {
        Extents const gridSizes(points.size(), 3);
        std::vector<double> const values(product(gridSizes), 1);
        Call<double, double> call(axesOf<double>(gridSizes, true), values, points,
                                  {method, InterpType::ExtrapValue, e});
        DeviceArray<double> out(expected.size());
        call.nonCompact(out.data(), expected.size(), false);
        expectSameBits(expected, out.values());
    };
    double const n = testing::negativeNaN<double>();
    for (InterpType const method : {InterpType::Linear, InterpType::Nearest, InterpType::Cubic}) {
        expect(method, {{nan, 0, 9}, {0, nan, nan}}, {e, n, n});
        if (method == InterpType::Cubic) continue;
        expect(method, {{nan, 0, 1}, {1, nan, nan}, {0, 9, nan}}, {e, e, n});
        expect(method, {{nan, 0, 1}, {1, nan, 1}, {0, 9, 1}, {9, 9, nan}}, {e, e, n});
        expect(method, {{nan, 0, 1}, {1, nan, 1}, {0, 9, 1}, {nan, nan, 1}, {0, 9, nan}}, {e, e, n});
    }
}

/// Products of quadratic polynomials are exact, up to the edges.
TEST(InterpolationNd, CubicKeepsProductsOfSquares) {
    std::vector<double> values;
    for (double y = 1; y <= 4; ++y) {
        for (double x = 1; x <= 4; ++x) values.push_back(x * x * y * y);
    }
    std::vector<double> const q{1, 1.5, 2.5, 3.5, 4};
    for (bool const isColon : {false, true}) {
        std::vector<Axis<double>> axes(2, testing::colonAxis<double>(4));
        for (auto& axis : axes) axis.isColon = isColon;
        Call<double, double> call(axes, values, {q, q}, {InterpType::Cubic, InterpType::Linear, 0});
        DeviceArray<double> out(5);
        call.nonCompact(out.data(), 5, true);
        std::vector<double> expected;
        for (double const x : q) expected.push_back(x * x * x * x);
        expectSameBits(expected, out.values());
    }
}

}  // namespace
}  // namespace gpuruntime

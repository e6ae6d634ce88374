#include <gpuruntime/interpolation.hpp>

#include <algorithm>
#include <cmath>
#include <memory>

#include "comparison.hpp"

namespace gpuruntime::comparison {
namespace {

/// The grid of one dimension with queries, most of them within it.
template <class G>
struct Dimension {
    Elements<G> points, queries;
    std::vector<long> bins;

    Dimension(Case& call, unsigned long gridSize, unsigned long numQueries, bool isColon) {
        G at = isColon ? G(1) : static_cast<G>(call.real(-100, 100));
        for (unsigned long i = 0; i < gridSize; ++i) {
            points.push_back(at);
            at += isColon ? G(1) : static_cast<G>(std::abs(call.real(-1, 1)) + 0.125);
        }
        bool const isSorted = call.flag();
        for (unsigned long i = 0; i < numQueries; ++i) {
            queries.push_back(static_cast<G>(call.real(double(points[0]) - 2, double(points.back()) + 2)));
        }
        if (isSorted) std::sort(queries.begin(), queries.end());
        for (G& q : queries) {
            if (call.number(1, 1000000) == 1) q = call.values<G>(1)[0];
        }
        for (G const q : queries) {
            long const above = std::upper_bound(points.begin(), points.end(), q) - points.begin();
            bins.push_back(q != q              ? BIN_NAN_QUERY
                           : q < points[0]     ? BIN_BELOW_GRID
                           : q > points.back() ? BIN_ABOVE_GRID
                                               : std::min<long>(above - 1, long(gridSize) - 2));
        }
    }
};

struct Rule {
    InterpType method, extrap;

    explicit Rule(Case& call)
        : method(InterpType(call.number(1, 4) - 1)), extrap(InterpType(call.number(1, 4) - 1)) {}
};

template <class Family, class Types>
struct Vectors {
    using G = typename Types::First;
    using V = typename Types::Second;

    static void run(Case& call) {
        constexpr bool isColon = std::is_same_v<Family, Interp1d_ColonGrid>;
        unsigned long const gridSize = call.number(3, 2000), n = call.number(1, 5000);
        Dimension<G> const dimension(call, gridSize, n, isColon);
        Rule const rule(call);
        V const extrapValue = call.values<V>(1)[0];
        DeviceArray<G> points(dimension.points), queries(dimension.queries);
        if constexpr (std::is_same_v<Family, Interp1dNdValFull>) {
            unsigned long const numColumns = call.number(1, 100);
            DeviceArray<V> values(call.values<V>(gridSize * numColumns)), out(n * numColumns);
            DeviceArray<long> bins(dimension.bins);
            Interp1dNdValFull::Invoker<G, V>()(nullptr, out.data(), points.data(), values.data(),
                                               queries.data(), bins.data(), n, gridSize,
                                               gridSize * numColumns, rule.method, rule.extrap, extrapValue);
            call.result(out);
        } else {
            DeviceArray<V> values(call.values<V>(gridSize)), out(n);
            if constexpr (isColon) {
                Interp1d_ColonGrid::Invoker<G, V>()(nullptr, out.data(), values.data(), queries.data(),
                                                    gridSize, n, rule.method, rule.extrap, extrapValue);
            } else {
                Interp1dFull::Invoker<G, V>()(nullptr, out.data(), points.data(), values.data(),
                                              queries.data(), gridSize, n, rule.method, rule.extrap,
                                              extrapValue);
            }
            call.result(out);
        }
    }
};

/// Two to five dimensions, by the families of any number, which call those of two and three.
template <class Family, class Types>
struct Arrays {
    using G = typename Types::First;
    using V = typename Types::Second;

    static void run(Case& call) {
        constexpr bool isColon = std::is_same_v<Family, Interpnd_CompactQuery_ColonGrid> ||
                                 std::is_same_v<Family, Interpnd_NonCompactQuery_ColonGrid>;
        constexpr bool isCompact = std::is_same_v<Family, Interpnd_CompactQuery> ||
                                   std::is_same_v<Family, Interpnd_CompactQuery_ColonGrid>;
        unsigned long const numDims = call.number(2, 5), numPoints = call.number(1, 4000);
        unsigned long gridSizes[5], querySizes[5], numValues = 1, numProducts = 1;
        std::vector<std::unique_ptr<DeviceArray<G>>> arrays;
        G const *grids[5]{}, *queries[5]{};
        std::vector<long> bins;
        for (unsigned long d = 0; d < numDims; ++d) {
            numValues *= gridSizes[d] = call.number(3, numDims < 4 ? 20 : 7);
            numProducts *= querySizes[d] = call.number(1, numDims < 4 ? 30 : 8);
            Dimension<G> const dimension(call, gridSizes[d], isCompact ? querySizes[d] : numPoints, isColon);
            arrays.push_back(std::make_unique<DeviceArray<G>>(dimension.points));
            grids[d] = arrays.back()->data();
            arrays.push_back(std::make_unique<DeviceArray<G>>(dimension.queries));
            queries[d] = arrays.back()->data();
            bins.insert(bins.end(), dimension.bins.begin(), dimension.bins.end());
            bins.resize((bins.size() + 15) / 16 * 16);
        }
        Rule const rule(call);
        V const extrapValue = call.values<V>(1)[0];
        DeviceArray<V> values(call.values<V>(numValues)), out(isCompact ? numProducts : numPoints);
        DeviceArray<long> binArray(bins);
        typename Family::template Invoker<G, V> const family;
        auto const interpolate = [&](auto... last) {
            if constexpr (isColon) {
                family(nullptr, out.data(), values.data(), queries, last..., extrapValue, rule.method,
                       rule.extrap, numDims);
            } else {
                family(nullptr, out.data(), grids, values.data(), queries, last..., extrapValue, rule.method,
                       rule.extrap, numDims);
            }
        };
        if constexpr (isCompact) {
            interpolate(binArray.data(), querySizes, numDims, gridSizes, numDims);
        } else {
            interpolate(gridSizes, numDims, numPoints);
        }
        call.result(out);
    }
};

using TypePairs = Pairs<internal::FloatingReal, internal::Floating>;

bool const areAdded = [] {
    addCases<Vectors, Interp1dFull>(TypePairs{});
    addCases<Vectors, Interp1d_ColonGrid>(TypePairs{});
    addCases<Vectors, Interp1dNdValFull>(TypePairs{});
    addCases<Arrays, Interpnd_CompactQuery>(TypePairs{});
    addCases<Arrays, Interpnd_CompactQuery_ColonGrid>(TypePairs{});
    addCases<Arrays, Interpnd_NonCompactQuery>(TypePairs{});
    addCases<Arrays, Interpnd_NonCompactQuery_ColonGrid>(TypePairs{});
    return true;
}();

}  // namespace
}  // namespace gpuruntime::comparison

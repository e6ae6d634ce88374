#include <gpuruntime/interpolation.hpp>

#include <algorithm>
#include <cmath>

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

using TypePairs = Pairs<internal::FloatingReal, internal::Floating>;

bool const areAdded = [] {
    addCases<Vectors, Interp1dFull>(TypePairs{});
    addCases<Vectors, Interp1d_ColonGrid>(TypePairs{});
    addCases<Vectors, Interp1dNdValFull>(TypePairs{});
    return true;
}();

}  // namespace
}  // namespace gpuruntime::comparison

#pragma once

#include <type_traits>

#include "device.hpp"
#include "interp/method.hpp"
#include "interp/stage.hpp"
#include "load.hpp"
#include "math.hpp"

/// Cubic convolution on an even grid with the parameter -1/2. R. G. Keys, "Cubic convolution interpolation
/// for digital image processing", IEEE Transactions on Acoustics, Speech, and Signal Processing 29 (1981).
namespace gpuruntime::interp {

/// Twice the weights of four values, for a position between the middle ones.
template <class G>
struct CubicWeights {
    G w0, w1, w2, w3;

    GPU_DEVICE explicit CubicWeights(G t)
        : w0(t * backend::fma(t, 2 - t, G(-1))),
          w1(backend::fma(t * t, backend::fma(G(3), t, G(-5)), G(2))),
          w2(t * backend::fma(t, backend::fma(G(-3), t, G(4)), G(1))),
          w3(t * t * (t - 1)) {}
};

/// The values around an interval: p1 and p2 are those of its ends.
template <class V>
struct CubicNeighbours {
    V p0, p1, p2, p3;
};

/// `valueAt(i)` is asked for the points that there are. Beyond an edge the third difference is 0, which keeps
/// the third order.
template <class V, class ValueAt>
GPU_DEVICE CubicNeighbours<V> neighboursOf(unsigned int bin, unsigned int n, ValueAt valueAt) {
    auto const beyond = [](V edge, V next, V afterNext) {
        V const difference = eachPart(edge, next, [](auto a, auto b) GPU_INLINE { return a - b; });
        return eachPart(difference, afterNext, [](auto d, auto a) GPU_INLINE { return 3 * d + a; });
    };
    bool const hasBefore = bin > 0, hasAfter = bin < n - 2;
    V const p1 = valueAt(bin), p2 = valueAt(bin + 1);
    V const after = hasAfter ? valueAt(bin + 2) : V{};
    V const p0 = hasBefore ? valueAt(bin - 1) : beyond(p1, p2, after);
    return {p0, p1, p2, hasAfter ? after : beyond(p2, p1, p0)};
}

/// The sum is made in the wider type, but of `double` values and `float` weights the outer two products are
/// made in `float`.
template <class P, class G>
GPU_DEVICE P weightedSum(P p0, P p1, P p2, P p3, CubicWeights<G> const& w) {
    using Wide = std::conditional_t<(sizeof(P) > sizeof(G)), P, G>;
    auto const ofInner = [](P p, G weight)
                             GPU_INLINE { return static_cast<Wide>(p) * static_cast<Wide>(weight); };
    auto const ofOuter = [](P p, G weight) GPU_INLINE {
        if constexpr (sizeof(P) > sizeof(G)) {
            return static_cast<Wide>(static_cast<G>(p) * weight);
        } else {
            return static_cast<Wide>(p) * static_cast<Wide>(weight);
        }
    };
    Wide sum = ofInner(p1, w.w1);
    sum = sum + ofOuter(p0, w.w0);
    sum = sum + ofInner(p2, w.w2);
    sum = sum + ofOuter(p3, w.w3);
    return static_cast<P>(Wide(0.5) * sum);
}

template <class V, class G>
GPU_DEVICE V evalCubic1d(CubicNeighbours<V> const& p, CubicWeights<G> const& weights) {
    if constexpr (internal::isComplex<V>) {
        return {weightedSum(p.p0.x, p.p1.x, p.p2.x, p.p3.x, weights),
                weightedSum(p.p0.y, p.p1.y, p.p2.y, p.p3.y, weights)};
    } else {
        return weightedSum(p.p0, p.p1, p.p2, p.p3, weights);
    }
}

/// Whether the bin is an interval of a grid of `n` points.
GPU_DEVICE bool isInside(long bin, unsigned int n) { return bin >= 0 && bin <= n - 2l; }

template <class V>
GPU_DEVICE CubicNeighbours<V> neighboursIn(V const* values, unsigned int bin, unsigned int n) {
    return neighboursOf<V>(bin, n,
                           [=](unsigned int i) GPU_INLINE { return backend::loadReadOnly(values + i); });
}

/// The result at a query along a line of values, by the kind of method.
template <unsigned int M, class Grid, class G, class V>
GPU_DEVICE V resultAt(Grid const& grid, V const* values, G q, long bin, InterpType method, InterpType extrap,
                      Constants<V> const& constants) {
    if constexpr (M == cubicMethod) {
        if (isInside(bin, grid.n)) {
            auto const lower = static_cast<unsigned int>(bin);
            return evalCubic1d(neighboursIn(values, lower, grid.n),
                               CubicWeights<G>(grid.evenPositionOf(q, lower)));
        }
    }
    return interpStage1d(placeOf(grid, q, bin, method, extrap), values, constants);
}

}  // namespace gpuruntime::interp

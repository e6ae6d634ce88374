#pragma once

#include <gpuruntime/interp_type.hpp>

#include <cmath>
#include <cstring>
#include <vector>

#include "frame/complex.hpp"
#include "tests/interp/grid_reference.hpp"
#include "tests/support/device_array.hpp"

/// Interpolation written down step by step: each operation is rounded in a statement of its own, and values
/// along a line are asked for one by one.
namespace gpuruntime::testing {

/// Types of coordinates and values.
template <class Coordinate, class Value>
struct InterpTypes {
    using G = Coordinate;
    using V = Value;
};

using AllInterpTypes =
    ::testing::Types<InterpTypes<float, float>, InterpTypes<float, double>, InterpTypes<float, float2>,
                     InterpTypes<float, double2>, InterpTypes<double, float>, InterpTypes<double, double>,
                     InterpTypes<double, float2>, InterpTypes<double, double2>>;

/// A full grid, or that of colons with as many points.
template <class G>
struct Axis {
    std::vector<G> points;
    bool isColon = false;

    long last() const { return static_cast<long>(points.size()) - 2; }
};

template <class G>
Axis<G> fullAxis(std::vector<G> const& points) {
    return {points, false};
}

template <class G>
Axis<G> colonAxis(unsigned long n) {
    return {colonGrid<G>(n), true};
}

/// A method and what holds outside.
template <class V>
struct Rule {
    InterpType method, extrap;
    V extrapValue;
};

template <class V, class Function, class... Values>
V byParts(Function function, Values... values) {
    if constexpr (internal::isComplex<V>) {
        return {function(values.x...), function(values.y...)};
    } else {
        return function(values...);
    }
}

inline float plainBlend(float low, float high, float t) {
    double const rest = 1.0 - double(t), product = double(low) * rest;
    float const a = float(product);
    return std::fma(high, t, a);
}
inline float plainBlend(float low, float high, double t) {
    double const rest = 1.0 - t, ofLow = double(low) * rest, ofHigh = double(high) * t;
    float const a = float(ofLow), b = float(ofHigh);
    return a + b;
}
template <class T>
double plainBlend(double low, double high, T t) {
    double const rest = 1.0 - double(t), a = low * rest;
    return std::fma(high, double(t), a);
}

template <class V, class T>
V plainLinear(V low, V high, T t) {
    if (t == 0) return low;
    if (t == 1) return high;
    return byParts<V>([&](auto l, auto h) { return plainBlend(l, h, t); }, low, high);
}

template <class V, class G>
V plainLinear(Axis<G> const& axis, long bin, G q, V low, V high) {
    if (axis.isColon) return plainLinear(low, high, double(q) - double(bin + 1));
    G const x0 = axis.points[bin], x1 = axis.points[bin + 1];
    G const width = x1 - x0, reciprocal = 1 / width, distance = q - x0;
    return plainLinear(low, high, distance * reciprocal);
}

template <class V>
V negativeNaN() {
    using P = internal::Part<V>;
    P const nan = std::copysign(std::numeric_limits<P>::quiet_NaN(), P(-1));
    if constexpr (internal::isComplex<V>) {
        return {nan, nan};
    } else {
        return nan;
    }
}

/// The result along a line of values `v(i)`.
template <class V, class G, class Line>
V plainStage(Axis<G> const& axis, long bin, G q, Rule<V> const& rule, Line v) {
    if (bin >= 0) {
        switch (rule.method) {
            case InterpType::Linear:
                return plainLinear(axis, bin, q, v(bin), v(bin + 1));
            case InterpType::Nearest: {
                G const toLower = q - axis.points[bin], toUpper = axis.points[bin + 1] - q;
                return v(toUpper <= toLower ? bin + 1 : bin);
            }
            default:
                return V{};
        }
    }
    if (bin == BIN_NAN_QUERY) return negativeNaN<V>();
    bool const isBelow = bin == BIN_BELOW_GRID;
    switch (rule.extrap) {
        case InterpType::Linear: {
            long const interval = isBelow ? 0 : axis.last();
            return plainLinear(axis, interval, q, v(interval), v(interval + 1));
        }
        case InterpType::Nearest:
            return v(isBelow ? 0 : axis.last() + 1);
        case InterpType::ExtrapValue:
            return rule.extrapValue;
        default:
            return V{};
    }
}

template <class P, class G>
P plainCubicSum(P p0, P p1, P p2, P p3, G w0, G w1, G w2, G w3) {
    if constexpr (sizeof(P) == sizeof(double) && sizeof(G) == sizeof(float)) {
        float const outer0 = float(p0) * w0, outer3 = float(p3) * w3;
        double sum = p1 * double(w1);
        sum = sum + double(outer0);
        double const inner2 = p2 * double(w2);
        sum = sum + inner2;
        sum = sum + double(outer3);
        return 0.5 * sum;
    } else {
        using Wide = decltype(P() + G());
        Wide const a = Wide(p1) * Wide(w1), b = Wide(p0) * Wide(w0), c = Wide(p2) * Wide(w2),
                   d = Wide(p3) * Wide(w3);
        Wide sum = a + b;
        sum = sum + c;
        sum = sum + d;
        return P(Wide(0.5) * sum);
    }
}

/// Within the grid.
template <class V, class G, class Line>
V plainCubic(Axis<G> const& axis, long bin, G q, Line v) {
    G t = q - axis.points[bin];
    if (!axis.isColon) {
        G const width = axis.points[1] - axis.points[0];
        t = t / width;
    }
    G const square = t * t;
    G const w0 = t * std::fma(t, G(2) - t, G(-1));
    G const w1 = std::fma(square, std::fma(G(3), t, G(-5)), G(2));
    G const w2 = t * std::fma(t, std::fma(-t, G(3), G(4)), G(1));
    G const w3 = square * (t - 1);
    V const p1 = v(bin), p2 = v(bin + 1);
    V p0{}, p3{};
    auto const beyond = [](auto a, auto b, auto c) {
        auto const difference = a - b, three = 3 * difference;
        return three + c;
    };
    if (bin < axis.last()) p3 = v(bin + 2);
    p0 = bin > 0 ? v(bin - 1) : byParts<V>(beyond, p1, p2, p3);
    if (bin >= axis.last()) p3 = byParts<V>(beyond, p2, p1, p0);
    return byParts<V>(
        [&](auto a, auto b, auto c, auto d) { return plainCubicSum(a, b, c, d, w0, w1, w2, w3); }, p0, p1, p2,
        p3);
}

/// The rules with methods and extrapolations that mean something and with those that do not.
template <class V>
std::vector<Rule<V>> allRules() {
    std::vector<Rule<V>> rules;
    for (unsigned int const method : {0u, 1u, 2u, 3u, 4u}) {
        for (unsigned int const extrap : {0u, 1u, 2u, 3u, 0xffffffffu}) {
            V extrapValue = randomValues<V>(1, 11)[0];
            rules.push_back({InterpType(method), InterpType(extrap), extrapValue});
        }
    }
    return rules;
}

/// Rules of each method once.
template <class V>
std::vector<Rule<V>> fewRules() {
    V const extrapValue = randomValues<V>(1, 11)[0];
    return {{InterpType::Linear, InterpType::Linear, extrapValue},
            {InterpType::Linear, InterpType::ExtrapValue, extrapValue},
            {InterpType::Nearest, InterpType::Nearest, extrapValue},
            {InterpType::Cubic, InterpType::Linear, extrapValue},
            {InterpType::Cubic, InterpType::Nearest, extrapValue}};
}

}  // namespace gpuruntime::testing

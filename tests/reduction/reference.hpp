#pragma once

#include <array>
#include <cmath>
#include <limits>
#include <optional>
#include <type_traits>
#include <vector>

#include "frame/complex.hpp"
#include "tests/elementwise/guarded_product_reference.hpp"
#include "tests/support/elements.hpp"
#include "tests/support/rounded.hpp"

/// Plain models of the reductions and scans, thread by thread and step by step, in the order that is
/// promised.
namespace gpuruntime::testing::reference {

using internal::isComplex;
using internal::Part;

template <class T>
constexpr bool isFloating = std::is_floating_point_v<Part<T>>;

template <class T>
T clamped(__int128 value) {
    using Limits = std::numeric_limits<T>;
    if (value < Limits::min()) return Limits::min();
    return value > Limits::max() ? Limits::max() : static_cast<T>(value);
}

template <class T>
struct Sum {
    static constexpr bool absentStaysOut = false;
    static T identity() { return T{}; }
    static T combine(T a, T b) {
        using P = Part<T>;
        if constexpr (std::is_same_v<T, bool>) {
            return a || b;
        } else if constexpr (std::is_floating_point_v<T>) {
            return a + b;
        } else if constexpr (!isComplex<T>) {
            return clamped<T>(static_cast<__int128>(a) + b);
        } else if constexpr (isFloating<T>) {
            return {a.x + b.x, a.y + b.y};
        } else {
            return {static_cast<P>(static_cast<unsigned long>(a.x) + static_cast<unsigned long>(b.x)),
                    static_cast<P>(static_cast<unsigned long>(a.y) + static_cast<unsigned long>(b.y))};
        }
    }
};

template <class T>
struct Prod {
    static constexpr bool absentStaysOut = false;
    static T identity() {
        if constexpr (isComplex<T>) {
            return {1, 0};
        } else {
            return T(1);
        }
    }
    static T combine(T a, T b) {
        using P = Part<T>;
        if constexpr (std::is_same_v<T, bool>) {
            return a && b;
        } else if constexpr (std::is_floating_point_v<T>) {
            return a * b;
        } else if constexpr (!isComplex<T> && sizeof(T) == 8) {
            return static_cast<T>(static_cast<unsigned __int128>(a) * static_cast<unsigned __int128>(b));
        } else if constexpr (!isComplex<T>) {
            return clamped<T>(static_cast<__int128>(a) * b);
        } else if constexpr (isFloating<T>) {
            return guardedProduct(a, b);
        } else {
            auto const ax = static_cast<unsigned long>(a.x), ay = static_cast<unsigned long>(a.y);
            auto const bx = static_cast<unsigned long>(b.x), by = static_cast<unsigned long>(b.y);
            return {static_cast<P>(ax * bx - ay * by), static_cast<P>(ax * by + ay * bx)};
        }
    }
};

/// `sign` is 1 for the maximum and -1 for the minimum.
template <class T, int sign, bool nanWins>
struct Extremum {
    static constexpr bool absentStaysOut = isComplex<T> && nanWins;

    static T identity() {
        using P = Part<T>;
        using Limits = std::numeric_limits<P>;
        if constexpr (isComplex<T>) {
            return {Limits::quiet_NaN(), Limits::quiet_NaN()};
        } else if constexpr (isFloating<T>) {
            return nanWins ? -sign * Limits::infinity() : Limits::quiet_NaN();
        } else {
            return sign > 0 ? Limits::min() : Limits::max();
        }
    }

    static bool isNaN(T value) {
        if constexpr (isComplex<T>) {
            return std::isnan(roundedHypot(value.x, value.y));
        } else if constexpr (isFloating<T>) {
            return std::isnan(value);
        } else {
            return false;
        }
    }

    template <class N>
    static bool above(N a, N b) {
        return sign > 0 ? a > b : a < b;
    }

    static bool strictlyBetter(T a, T b) {
        if constexpr (!isComplex<T>) {
            return above(a, b);
        } else {
            using P = Part<T>;
            P const ma = roundedHypot(a.x, a.y), mb = roundedHypot(b.x, b.y);
            if (ma != mb) return above(ma, mb);
            if (std::isinf(ma)) {
                P const ha = halved(a), hb = halved(b);
                if (above(ha, hb)) return true;
                if (above(hb, ha)) return false;
            }
            P const hiA = std::fmax(std::fabs(a.x), std::fabs(a.y)),
                    loA = std::fmin(std::fabs(a.x), std::fabs(a.y));
            P const hiB = std::fmax(std::fabs(b.x), std::fabs(b.y)),
                    loB = std::fmin(std::fabs(b.x), std::fabs(b.y));
            if (hiA == hiB && loA != loB) return above(loA, loB);
            return above(roundedAtan2(a.y, a.x), roundedAtan2(b.y, b.x));
        }
    }

    /// Whether the second of two values, in the order of their positions, survives.
    static bool takesSecond(T first, T second) {
        if (strictlyBetter(first, second) || isNaN(nanWins ? first : second)) return false;
        return strictlyBetter(second, first) || isNaN(nanWins ? second : first);
    }

    static T combine(T a, T b) {
        if constexpr (!isFloating<T> || isComplex<T>) {
            return takesSecond(a, b) ? b : a;
        } else if constexpr (nanWins) {
            if (above(b, a) || std::isnan(b)) return b;
            return above(a, b) || std::isnan(a) ? a : b;
        } else {
            if (std::isnan(a)) return b;
            if (std::isnan(b) || above(a, b)) return a;
            if (above(b, a)) return b;
            return std::signbit(a) == (sign < 0) ? a : b;  // +0 is above -0
        }
    }

  private:
    template <class C>
    static Part<C> halved(C value) {
        auto const x = value.x / 2, y = value.y / 2;
        return std::isnan(x) || std::isnan(y) ? std::numeric_limits<Part<C>>::quiet_NaN()
                                              : roundedHypot(x, y);
    }
};

template <class T>
struct MaxUniqueTol {
    static constexpr bool absentStaysOut = false;
    static T identity() { return std::numeric_limits<T>::quiet_NaN(); }
    static T combine(T a, T b) {
        T const x = std::isinf(a) ? 0 : std::fabs(a), y = std::isinf(b) ? 0 : std::fabs(b);
        return std::fmax(x, y);
    }
};

struct And {
    static constexpr bool absentStaysOut = false;
    static bool identity() { return true; }
    static bool combine(bool a, bool b) { return a && b; }
};

struct Or {
    static constexpr bool absentStaysOut = false;
    static bool identity() { return false; }
    static bool combine(bool a, bool b) { return a || b; }
};

/// A value and the position it came from, as the index forms carry them along.
template <class T>
struct Located {
    T value;
    unsigned long position;
};

template <class T, class Operator>
struct LocatedOperator {
    static constexpr bool absentStaysOut = Operator::absentStaysOut;
    static Located<T> identity() { return {Operator::identity(), ~0ul}; }
    static Located<T> combine(Located<T> a, Located<T> b) {
        bool const ordered = a.position < b.position;
        Located<T> const first = ordered ? a : b, second = ordered ? b : a;
        return Operator::takesSecond(first.value, second.value) ? second : first;
    }
};

/// The lanes of a block; a lane that stays out holds nothing.
template <class V>
using Lanes = std::array<std::optional<V>, 256>;

template <class V, class Operator>
std::optional<V> combined(std::optional<V> a, std::optional<V> b) {
    return a && b ? std::optional<V>(Operator::combine(*a, *b)) : a;
}

template <class V, class Operator>
std::optional<V> absent() {
    return Operator::absentStaysOut ? std::optional<V>() : std::optional<V>(Operator::identity());
}

/// Every lane's elements, 256 apart, in sequence.
template <class V, class Operator, class Element>
Lanes<V> lanesOf(unsigned long length, Element element) {
    Lanes<V> lanes;
    for (unsigned long t = 0; t < 256; ++t) {
        lanes[t] = t < length ? std::optional<V>(element(t)) : absent<V, Operator>();
        for (unsigned long i = t + 256; i < length; i += 256)
            lanes[t] = Operator::combine(*lanes[t], element(i));
    }
    return lanes;
}

/// A block for the segment: warps shuffle down, and their results are folded in order.
template <class V, class Operator, class Element>
V segmentedByWarps(unsigned long length, Element element) {
    Lanes<V> lanes = lanesOf<V, Operator>(length, element);
    for (unsigned long offset = 1; offset <= 16; offset *= 2) {
        Lanes<V> const before = lanes;
        for (unsigned long t = 0; t < 256; ++t) {
            if (t % 32 + offset < 32) lanes[t] = combined<V, Operator>(before[t], before[t + offset]);
        }
    }
    std::optional<V> result = lanes[0];
    for (unsigned long warp = 1; warp < 8; ++warp) result = combined<V, Operator>(result, lanes[32 * warp]);
    return *result;
}

/// A block for the segment, whose halves are folded.
template <class V, class Operator, class Element>
V segmentedByHalves(unsigned long length, Element element) {
    Lanes<V> lanes = lanesOf<V, Operator>(length, element);
    for (unsigned long s = 128; s > 0; s /= 2) {
        for (unsigned long t = 0; t < s; ++t) lanes[t] = combined<V, Operator>(lanes[t], lanes[t + s]);
    }
    return *lanes[0];
}

/// A row of a block for the segment: the least power of two of threads that takes in `reductionLength`.
template <class V, class Operator, class Element>
V small(unsigned long length, unsigned long reductionLength, Element element) {
    unsigned long threadsX = 1;
    while (threadsX < reductionLength) threadsX *= 2;
    Lanes<V> lanes;
    for (unsigned long t = 0; t < threadsX; ++t) {
        lanes[t] = t < length ? std::optional<V>(element(t)) : absent<V, Operator>();
    }
    for (unsigned long s = threadsX / 2; s > 0; s /= 2) {
        for (unsigned long t = 0; t < s; ++t) lanes[t] = combined<V, Operator>(lanes[t], lanes[t + s]);
    }
    return *lanes[0];
}

template <class V, class Operator, class Element>
V sequential(unsigned long length, Element element) {
    V value = element(0);
    for (unsigned long k = 1; k < length; ++k) value = Operator::combine(value, element(k));
    return value;
}

/// An array's extents as the reductions take them.
struct Shape {
    unsigned long numElements, reductionLength, stride;

    unsigned long numResults() const {
        return stride == 1 ? (numElements + reductionLength - 1) / reductionLength
                           : numElements / reductionLength;
    }
    /// The index of element `k` of result `r`.
    unsigned long index(unsigned long r, unsigned long k) const {
        return (r / stride * reductionLength + k) * stride + r % stride;
    }
    /// The number of elements of result `r`.
    unsigned long length(unsigned long r) const {
        unsigned long const left = stride == 1 ? numElements - r * reductionLength : reductionLength;
        return left < reductionLength ? left : reductionLength;
    }
};

template <class TOut, class Operator, class T, class Transform>
Elements<TOut> reduce(Elements<T> const& in, Shape const& shape, Transform transform) {
    Elements<TOut> out;
    for (unsigned long r = 0; r < shape.numResults(); ++r) {
        auto const element = [&](unsigned long k) -> TOut { return transform(T(in[shape.index(r, k)])); };
        if (shape.stride != 1) {
            out.push_back(sequential<TOut, Operator>(shape.length(r), element));
        } else if (shape.reductionLength > 128) {
            out.push_back(segmentedByWarps<TOut, Operator>(shape.length(r), element));
        } else {
            out.push_back(small<TOut, Operator>(shape.length(r), shape.reductionLength, element));
        }
    }
    return out;
}

template <class Operator, class T>
void reduceWithIndex(Elements<T> const& in, Shape const& shape, unsigned long segmentsPerGroup,
                     Elements<T>& out, std::vector<double>& outIndex) {
    using V = Located<T>;
    using Op = LocatedOperator<T, Operator>;
    for (unsigned long r = 0; r < shape.numResults(); ++r) {
        auto const element = [&](unsigned long k) { return V{T(in[shape.index(r, k)]), k}; };
        bool const isSmall = shape.stride == 1 && shape.reductionLength <= 128;
        V const found = shape.stride != 1 ? sequential<V, Op>(shape.length(r), element)
                        : isSmall         ? small<V, Op>(shape.length(r), shape.reductionLength, element)
                                          : segmentedByHalves<V, Op>(shape.length(r), element);
        unsigned long const offset =
            isSmall ? 0 : r / shape.stride % segmentsPerGroup * shape.reductionLength;
        out.push_back(found.value);
        outIndex.push_back(static_cast<double>(offset + found.position + 1));
    }
}

/// The scan of one contiguous segment by tiles of 256.
template <class T, class Operator>
T scanSegment(Elements<T>& data, unsigned long begin, unsigned long end) {
    T carry = Operator::identity();
    for (unsigned long tileBegin = begin; tileBegin < end; tileBegin += 256) {
        unsigned long const tileEnd = tileBegin + 256 < end ? tileBegin + 256 : end;
        std::array<T, 256> shared;
        for (unsigned long i = 0; i < 256; ++i) {
            shared[i] = tileBegin + i < tileEnd ? T(data[tileBegin + i]) : Operator::identity();
        }
        if (tileBegin > begin) shared[0] = Operator::combine(carry, shared[0]);
        for (unsigned long d = 1; d <= 128; d *= 2) {
            for (unsigned long t = 0; t < 128 / d; ++t) {
                unsigned long const a = (2 * t + 1) * d - 1, b = (2 * t + 2) * d - 1;
                shared[b] = Operator::combine(shared[a], shared[b]);
            }
        }
        carry = shared[255];
        shared[255] = Operator::identity();
        for (unsigned long d = 128; d > 0; d /= 2) {
            for (unsigned long t = 0; t < 128 / d; ++t) {
                unsigned long const a = (2 * t + 1) * d - 1, b = (2 * t + 2) * d - 1;
                T const x = shared[a];
                shared[a] = shared[b];
                shared[b] = Operator::combine(x, shared[b]);
            }
        }
        for (unsigned long i = tileBegin == begin ? 2 : 1; tileBegin + i < tileEnd; ++i) {
            data[tileBegin + i - 1] = shared[i];
        }
        data[tileEnd - 1] = carry;
    }
    return carry;
}

/// Scans `data` and returns the totals.
template <class T, class Operator>
Elements<T> scan(Elements<T>& data, Shape const& shape) {
    Elements<T> totals;
    for (unsigned long r = 0; r < shape.numResults(); ++r) {
        if (shape.stride == 1) {
            unsigned long const begin = r * shape.reductionLength;
            totals.push_back(scanSegment<T, Operator>(data, begin, begin + shape.length(r)));
            continue;
        }
        T value = data[shape.index(r, 0)];
        for (unsigned long k = 1; k < shape.reductionLength; ++k) {
            value = Operator::combine(value, data[shape.index(r, k)]);
            data[shape.index(r, k)] = value;
        }
        totals.push_back(value);
    }
    return totals;
}

template <class T, class Operator>
void adjust(Elements<T> const& totals, Elements<T>& data, Shape const& shape,
            unsigned long segmentsPerGroup) {
    for (unsigned long r = 0; r < shape.numResults(); ++r) {
        if (r / shape.stride % segmentsPerGroup == 0) continue;
        T const before = totals[r - shape.stride];
        for (unsigned long k = 0; k < shape.length(r); ++k) {
            auto& element = data[shape.index(r, k)];
            element =
                shape.stride == 1 ? Operator::combine(element, before) : Operator::combine(before, element);
        }
    }
}

}  // namespace gpuruntime::testing::reference

#pragma once

#include <algorithm>
#include <cmath>
#include <numeric>
#include <random>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "frame/complex.hpp"
#include "tests/support/device_array.hpp"
#include "tests/support/rounded.hpp"
#include "tests/support/sampled.hpp"
#include "tests/support/values.hpp"

/// The orders as plain comparisons on the host, and data that strains them.
namespace gpuruntime::testing {

template <class T>
bool isNaN(T const& x) {
    if constexpr (internal::isComplex<T>) {
        return x.x != x.x || x.y != x.y;
    } else {
        return x != x;
    }
}

/// Negative, zero or positive as `x` comes before `y`, ties with it or comes after: by magnitude, overflow
/// resolved at half the value, then by the smaller part where the larger is the same, then by angle. Beside
/// an infinity, a part that is NaN counts as neither the larger nor the smaller.
template <class T>
int compareByMagnitude(T const& x, T const& y) {
    auto mx = roundedHypot(x.x, x.y), my = roundedHypot(y.x, y.y);
    using P = decltype(mx);
    auto const halved = [](T const& v) {
        return isNaN(v) ? P(NAN) : roundedHypot(v.x * P(0.5), v.y * P(0.5));
    };
    if (mx < my) return -1;
    if (my < mx) return 1;
    if (my == P(INFINITY)) {
        mx = halved(x);
        my = halved(y);
        if (mx < my) return -1;
        if (my < mx) return 1;
    }
    auto const smaller = [](T const& v) { return std::fmin(std::abs(v.x), std::abs(v.y)); };
    auto const larger = [](T const& v) { return std::fmax(std::abs(v.x), std::abs(v.y)); };
    if (larger(x) == larger(y) && smaller(x) < smaller(y)) return -1;
    if (larger(x) == larger(y) && smaller(y) < smaller(x)) return 1;
    P const angleX = roundedAtan2(x.y, x.x), angleY = roundedAtan2(y.y, y.x);
    return angleX < angleY ? -1 : angleY < angleX ? 1 : 0;
}

enum class Zeros { equal, negativeFirst };

template <class T>
int compare(T const& x, T const& y, Zeros zeros) {
    if constexpr (internal::isComplex<T>) {
        return compareByMagnitude(x, y);
    } else if constexpr (std::is_floating_point_v<T>) {
        if (x == 0 && y == 0 && zeros == Zeros::negativeFirst) {
            return static_cast<int>(std::signbit(y)) - static_cast<int>(std::signbit(x));
        }
        return x < y ? -1 : y < x ? 1 : 0;
    } else {
        return x < y ? -1 : y < x ? 1 : 0;
    }
}

inline std::vector<unsigned long> identity(unsigned long n) {
    std::vector<unsigned long> positions(n);
    std::iota(positions.begin(), positions.end(), 0ul);
    return positions;
}

/// The permutation that places NaN and sorts the rest.
template <class T>
std::vector<unsigned long> sortedPositions(Elements<T> const& data, bool ascending, bool hasNaN,
                                           Zeros zeros) {
    auto positions = identity(data.size());
    auto begin = positions.begin(), end = positions.end();
    if (hasNaN && ascending) {
        end = std::stable_partition(begin, end, [&](unsigned long i) { return !isNaN(data[i]); });
    } else if (hasNaN) {
        begin = std::stable_partition(begin, end, [&](unsigned long i) { return isNaN(data[i]); });
    }
    std::stable_sort(begin, end, [&](unsigned long a, unsigned long b) {
        int const verdict = compare(data[a], data[b], zeros);
        return ascending ? verdict < 0 : verdict > 0;
    });
    return positions;
}

template <class E>
std::vector<E> permuted(std::vector<E> const& values, std::vector<unsigned long> const& positions) {
    std::vector<E> result;
    for (unsigned long position : positions) result.push_back(values[position]);
    return result;
}

/// 1 to `n`.
inline std::vector<double> runningIndices(unsigned long n) {
    std::vector<double> indices(n);
    std::iota(indices.begin(), indices.end(), 1.0);
    return indices;
}

/// Values for the sorts. NaNs stand among them only with `hasNaN`, several of each sign and with payloads, so
/// that one out of its order is seen.
enum class Pattern { random, special, few, equal, ascending, descending, close };

inline std::vector<Pattern> allPatterns() {
    return {Pattern::random,    Pattern::special,    Pattern::few,  Pattern::equal,
            Pattern::ascending, Pattern::descending, Pattern::close};
}

/// NaN number `i`, of alternating sign.
inline double nanWithPayload(unsigned long i) {
    unsigned long const bits = 0x7ff8000000000000 | (i & 0xffffff) << 4 | (i & 1) << 63;
    double nan;
    std::memcpy(&nan, &bits, sizeof nan);
    return nan;
}

template <class T>
T withNaN(T value, unsigned long i) {
    if constexpr (internal::isComplex<T>) {
        (i % 3 == 0 ? value.x : value.y) = nanWithPayload(i);
        return value;
    } else {
        return nanWithPayload(i);
    }
}

template <class T>
T oneOf(Pattern pattern, unsigned long i, unsigned long n, std::mt19937_64& engine) {
    using P = internal::Part<T>;
    // Parts of at most 4 give no two complex values of one magnitude whose larger parts differ.
    P const small =
        std::is_signed_v<P> ? static_cast<P>(static_cast<long>(engine() % 9) - 4) : P(engine() % 9);
    P part = 0;
    switch (pattern) {
        case Pattern::random:
            part = randomReal<P>(engine);
            break;
        case Pattern::special:
            break;
        case Pattern::few:
            part = small;
            break;
        case Pattern::equal:
            part = P(3);
            break;
        case Pattern::ascending:
            part = static_cast<P>(i);
            break;
        case Pattern::descending:
            part = static_cast<P>(n - i);
            break;
        case Pattern::close:
            // Neighbouring numbers beside a few far away.
            if constexpr (std::is_floating_point_v<P>) {
                part = i % 1000 == 7   ? P(-1e300)
                       : i % 1000 == 9 ? P(1e300)
                                       : 1 + engine() % 5000 * P(0x1p-52);
            } else {
                part = i % 1000 == 7 ? std::numeric_limits<P>::max() : P(engine() % 5000);
            }
            break;
    }
    if constexpr (internal::isComplex<T>) {
        switch (pattern) {
            case Pattern::random:
                return {part, randomReal<P>(engine)};
            case Pattern::few:
                return {part, static_cast<P>(static_cast<long>(engine() % 9) - 4)};
            case Pattern::close:
                return {P(0), part};
            default:
                return {part, P(0)};
        }
    } else {
        return part;
    }
}

template <class T>
Elements<T> makeValues(Pattern pattern, unsigned long n, bool hasNaN) {
    std::mt19937_64 engine(n + 17 * static_cast<unsigned long>(pattern));
    Elements<T> special;
    for (auto const& value : specialValues<T>()) {
        if (!isNaN(value)) special.push_back(value);
    }
    Elements<T> values;
    values.reserve(n);
    for (unsigned long i = 0; i < n; ++i) {
        T value = pattern == Pattern::special ? special[engine() % special.size()]
                                              : oneOf<T>(pattern, i, n, engine);
        if constexpr (std::is_floating_point_v<internal::Part<T>>) {
            if (hasNaN && engine() % 5 == 0) value = withNaN(value, i);
        }
        values.push_back(value);
    }
    return values;
}

/// Sizes at which insertion, blocks and tiles end, and above which a sort shares out its work.
inline std::vector<unsigned long> sortSizes() {
    return {0, 1, 2, 3, 31, 32, 33, 34, 255, 256, 257, 1000, 5000, 32768, 65535, 65536, 100003};
}

/// Calls `f(n, pattern, ascending, hasNaN)` for each pattern at each size; large sizes take half the
/// combinations.
template <class F>
void forEachCase(F const& f) {
    struct Case {
        unsigned long n;
        Pattern pattern;
        bool ascending, hasNaN;
    };
    std::vector<Case> cases;
    for (unsigned long n : sortSizes()) {
        for (Pattern pattern : allPatterns()) {
            for (bool ascending : {true, false}) {
                for (bool hasNaN : {true, false}) {
                    if (n <= 10000 || ascending == hasNaN) cases.push_back({n, pattern, ascending, hasNaN});
                }
            }
        }
    }
    for (auto const& [n, pattern, ascending, hasNaN] : sampled(cases)) {
        SCOPED_TRACE("n " + std::to_string(n) + ", pattern " + std::to_string(static_cast<int>(pattern)) +
                     (ascending ? ", ascending" : ", descending") + (hasNaN ? ", with NaN" : ""));
        f(n, pattern, ascending, hasNaN);
        if (::testing::Test::HasFatalFailure()) return;
    }
}

using SortedTypes = ::testing::Types<long, unsigned long, double, double2>;

}  // namespace gpuruntime::testing

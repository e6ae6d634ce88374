#pragma once

#include <gpuruntime/random.hpp>

#include <array>
#include <cmath>
#include <limits>
#include <random>
#include <type_traits>
#include <vector>

/// The generators and distributions once more, one element after another, as plain as they can be written.
namespace gpuruntime::testing {

using State = std::vector<unsigned int>;
using Wide = unsigned __int128;

/// `state`'s words from `first` on as numbers of two words each, high word first.
inline std::array<unsigned long, 4> longsAt(State const& state, std::size_t first) {
    std::array<unsigned long, 4> values{};
    for (std::size_t i = 0; i < 4; ++i) {
        values[i] = static_cast<unsigned long>(state[first + 2 * i]) << 32 | state[first + 2 * i + 1];
    }
    return values;
}

/// Adds one to a number of several words, least significant first.
template <class Words>
void increment(Words& words) {
    for (auto& word : words) {
        if (++word != 0) return;
    }
}

inline std::array<unsigned int, 4> philoxBlock(std::array<unsigned int, 4> r,
                                               std::array<unsigned int, 2> key) {
    for (int round = 0; round < 10; ++round) {
        unsigned long const p = 0xD2511F53ul * r[0], q = 0xCD9E8D57ul * r[2];
        r = {static_cast<unsigned int>(q >> 32) ^ r[1] ^ key[0], static_cast<unsigned int>(q),
             static_cast<unsigned int>(p >> 32) ^ r[3] ^ key[1], static_cast<unsigned int>(p)};
        key[0] += 0x9E3779B9;
        key[1] += 0xBB67AE85;
    }
    return r;
}

inline std::array<unsigned long, 4> threefryBlock(std::array<unsigned long, 4> x,
                                                  std::array<unsigned long, 4> const& k) {
    unsigned long const key[5] = {k[0], k[1], k[2], k[3], k[0] ^ k[1] ^ k[2] ^ k[3] ^ 0x1BD11BDAA9FC1A22};
    int const rotations[8][2] = {{14, 16}, {52, 57}, {23, 40}, {5, 37},
                                 {25, 33}, {46, 12}, {58, 22}, {32, 32}};
    auto const mix = [&](std::size_t a, std::size_t b, int rotation) {
        x[a] += x[b];
        x[b] = (x[b] << rotation | x[b] >> (64 - rotation)) ^ x[a];
    };
    for (std::size_t i = 0; i < 4; ++i) x[i] += key[i];
    for (unsigned long round = 0; round < 20; ++round) {
        bool const even = round % 2 == 0;
        mix(0, even ? 1 : 3, rotations[round % 8][0]);
        mix(2, even ? 3 : 1, rotations[round % 8][1]);
        if (round % 4 == 3) {
            unsigned long const s = round / 4 + 1;
            for (std::size_t i = 0; i < 4; ++i) x[i] += key[(s + i) % 5];
            x[3] += s;
        }
    }
    return x;
}

/// MRG32k3a, one step after another.
class Mrg32k3aSequence {
  public:
    static constexpr unsigned long m1 = 4294967087, m2 = 4294944443;

    explicit Mrg32k3aSequence(State const& state)
        : x{state[0], state[1], state[2]}, y{state[3], state[4], state[5]} {}

    unsigned long next() {
        unsigned long const newX = (1403580 * x[1] % m1 + (m1 - 810728) * x[0] % m1) % m1;
        unsigned long const newY = (527612 * y[2] % m2 + (m2 - 1370589) * y[0] % m2) % m2;
        x = {x[1], x[2], newX};
        y = {y[1], y[2], newY};
        return newX >= newY ? newX - newY : newX + m1 - newY;
    }

    State state() const {
        State words;
        for (unsigned long word : x) words.push_back(static_cast<unsigned int>(word));
        for (unsigned long word : y) words.push_back(static_cast<unsigned int>(word));
        return words;
    }

  private:
    std::array<unsigned long, 3> x, y;
};

/// A generator as a type argument of tests, which must be complete types.
template <class G>
struct Of {
    using Generator = G;
};

inline double uniformOf53Bits(unsigned long v) {
    double const c = std::ldexp(1.0, -53) - std::ldexp(1.0, -106);
    return std::fma(static_cast<double>(v), c, c);
}

/// What differs between generators: `randomState`, `uniforms` (the values of whole blocks, from the state on,
/// where the first `used` belong to elements before the stream) and `advanced`, the state after `n` elements.
template <class G>
struct Reference;

template <>
struct Reference<gpucommon::rand::MRG32K3AGenerator> {
    static constexpr unsigned int placesPerBlock = 1;

    static State randomState(unsigned long seed) {
        std::mt19937_64 engine(seed);
        State state;
        for (int i = 0; i < 6; ++i) {
            state.push_back(
                static_cast<unsigned int>(engine() % (i < 3 ? Mrg32k3aSequence::m1 : Mrg32k3aSequence::m2)));
        }
        return state;
    }

    static unsigned int used(State const&) { return 0; }

    static std::vector<double> uniforms(State const& state, std::size_t n) {
        double const norm = 2.328306549295728e-10;
        Mrg32k3aSequence sequence(state);
        std::vector<double> values;
        for (std::size_t i = 0; i < n; ++i) {
            double const high = static_cast<double>(sequence.next()) * norm;
            double const low = static_cast<double>(sequence.next()) * norm * std::ldexp(1.0, -24);
            double const sum = high + low;
            values.push_back(sum < 1.0 ? sum : sum - 1.0);
        }
        return values;
    }

    static State advanced(State const& state, std::size_t n) {
        Mrg32k3aSequence sequence(state);
        for (std::size_t i = 0; i < 2 * n; ++i) sequence.next();
        return sequence.state();
    }
};

template <>
struct Reference<gpucommon::rand::Philox4x32Generator> {
    static constexpr unsigned int placesPerBlock = 2;

    static State randomState(unsigned long seed) {
        std::mt19937 engine(static_cast<unsigned int>(seed));
        State state(7);
        for (auto& word : state) word = static_cast<unsigned int>(engine());
        return state;
    }

    static unsigned int used(State const& state) { return state[6] % 2; }

    static std::vector<double> uniforms(State const& state, std::size_t n) {
        std::array<unsigned int, 4> counter{state[2], state[3], state[4], state[5]};
        std::vector<double> values;
        while (values.size() < n) {
            auto const w = philoxBlock(counter, {state[0], state[1]});
            values.push_back(uniformOf53Bits(static_cast<unsigned long>(w[0]) << 21 ^ w[1]));
            values.push_back(uniformOf53Bits(static_cast<unsigned long>(w[2]) << 21 ^ w[3]));
            increment(counter);
        }
        return values;
    }

    static State advanced(State state, std::size_t n) {
        std::size_t const position = n + used(state);
        std::array<unsigned int, 4> counter{state[2], state[3], state[4], state[5]};
        for (std::size_t i = 0; i < position / 2; ++i) increment(counter);
        for (std::size_t i = 0; i < 4; ++i) state[2 + i] = counter[i];
        state[6] = static_cast<unsigned int>(position % 2);
        return state;
    }
};

template <>
struct Reference<gpucommon::rand::ThreeFry4x64Generator> {
    static constexpr unsigned int placesPerBlock = 4;

    static State randomState(unsigned long seed) {
        std::mt19937 engine(static_cast<unsigned int>(seed));
        State state(17);
        for (auto& word : state) word = static_cast<unsigned int>(engine());
        return state;
    }

    static unsigned int used(State const& state) { return state[16] % 4; }

    static std::vector<double> uniforms(State const& state, std::size_t n) {
        auto counter = longsAt(state, 8);
        std::vector<double> values;
        while (values.size() < n) {
            for (unsigned long word : threefryBlock(counter, longsAt(state, 0))) {
                values.push_back(uniformOf53Bits(word >> 11));
            }
            increment(counter);
        }
        return values;
    }

    static State advanced(State state, std::size_t n) {
        std::size_t const position = n + used(state);
        auto counter = longsAt(state, 8);
        for (std::size_t i = 0; i < position / 4; ++i) increment(counter);
        for (std::size_t i = 0; i < 4; ++i) {
            state[8 + 2 * i] = static_cast<unsigned int>(counter[i] >> 32);
            state[9 + 2 * i] = static_cast<unsigned int>(counter[i]);
        }
        state[16] = static_cast<unsigned int>(position % 4);
        return state;
    }
};

/// The uniform values of `n` elements.
template <class G>
std::vector<double> streamOf(State const& state, std::size_t n) {
    auto const used = static_cast<std::ptrdiff_t>(Reference<G>::used(state));
    std::vector<double> const values = Reference<G>::uniforms(state, n + static_cast<std::size_t>(used));
    return std::vector<double>(values.begin() + used, values.begin() + used + static_cast<std::ptrdiff_t>(n));
}

/// Rounds half away from zero and saturates; NaN gives 0.
template <class T>
T saturated(double v) {
    using Limits = std::numeric_limits<T>;
    if (std::isnan(v)) return 0;
    if (std::fabs(v) < 0x1p52)
        v = std::copysign(std::fabs(v) < 0.5 ? 0.0 : std::trunc(std::fabs(v) + 0.5), v);
    // Both comparisons are exact: the bounds are powers of two or below 2^53.
    if (v >= std::ldexp(1.0, Limits::digits)) return Limits::max();
    if (v <= static_cast<double>(Limits::min())) return Limits::min();
    return static_cast<T>(v);
}

template <class T>
T integerElement(double u, double lowest, double highest) {
    double const v = std::floor(((highest - lowest) + 1.0) * u) + lowest;
    if constexpr (std::is_floating_point_v<T>) {
        return static_cast<T>(v);
    } else {
        return saturated<T>(v);
    }
}

/// -sqrt(2) erfcinv(2 u) to about 64 bits, by Halley's method on the smaller tail.
inline long double inverseNormal(double u) {
    if (u == 0) return -std::numeric_limits<long double>::infinity();
    if (u > 0.5) return -inverseNormal(1 - u);  // exact
    long double const y = 2 * static_cast<long double>(u);
    bool const isMiddle = u > 0.1;  // where erfc would lose the digits of a small x
    long double x = isMiddle ? 0.886L * (1 - y) : std::sqrt(-std::log(y));
    for (int i = 0; i < 8; ++i) {
        long double const excess = isMiddle ? (1 - y) - std::erf(x) : std::erfc(x) - y;
        long double const step = excess * std::sqrt(std::acos(-1.0L)) / 2 * std::exp(x * x);
        x += step / (1 - x * step);
    }
    return -std::sqrt(2.0L) * x;
}

/// The pair of normal values of two uniform values, to about 64 bits but for the angle, which is rounded.
inline std::array<long double, 2> boxMuller(double u1, double u2) {
    long double const r = std::sqrt(-2 * std::log(static_cast<long double>(u1)));
    long double const theta = u2 * 0x1.921fb54442d18p+2;
    return {r * std::cos(theta), r * std::sin(theta)};
}

template <class G>
std::vector<long double> inverseNormals(State const& state, std::size_t n) {
    std::vector<long double> values;
    for (double u : streamOf<G>(state, n)) values.push_back(inverseNormal(u));
    return values;
}

template <class G>
std::vector<long double> boxMullerNormals(State const& state, std::size_t n) {
    std::size_t const used = Reference<G>::used(state);
    std::vector<double> const uniform = Reference<G>::uniforms(state, n + used);
    std::vector<long double> values;
    for (std::size_t i = 0; i < uniform.size(); i += 2) {
        for (long double value : boxMuller(uniform[i], uniform[i + 1])) values.push_back(value);
    }
    auto const first = values.begin() + static_cast<std::ptrdiff_t>(used);
    return std::vector<long double>(first, first + static_cast<std::ptrdiff_t>(n));
}

}  // namespace gpuruntime::testing

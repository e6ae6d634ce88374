#pragma once

#include "device.hpp"

/// The powers of the transition matrices by which MRG32k3a skips ahead, computed when the unit is built.
namespace gpucommon::rand::mrg32k3a {

/// One of the two recurrences, as its modulus, 2^32 - `complement`, and its matrix on (oldest, middle,
/// newest).
struct FirstComponent {
    static constexpr unsigned long complement = 209;
    static constexpr unsigned long modulus = 0x100000000 - complement;
    static constexpr unsigned long middleFactor = 1403580;
    static constexpr unsigned long oldestFactor = 810728;  // taken away
};
struct SecondComponent {
    static constexpr unsigned long complement = 22853;
    static constexpr unsigned long modulus = 0x100000000 - complement;
    static constexpr unsigned long newestFactor = 527612;
    static constexpr unsigned long oldestFactor = 1370589;  // taken away
};

struct Matrix {
    unsigned long at[3][3];
};

template <class Component>
constexpr Matrix transition();
template <>
constexpr Matrix transition<FirstComponent>() {
    using C = FirstComponent;
    return {{{0, 1, 0}, {0, 0, 1}, {C::modulus - C::oldestFactor, C::middleFactor, 0}}};
}
template <>
constexpr Matrix transition<SecondComponent>() {
    using C = SecondComponent;
    return {{{0, 1, 0}, {0, 0, 1}, {C::modulus - C::oldestFactor, 0, C::newestFactor}}};
}

constexpr Matrix product(Matrix const& a, Matrix const& b, unsigned long modulus) {
    Matrix result{};
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 3; ++column) {
            unsigned long sum = 0;
            for (int k = 0; k < 3; ++k) sum += a.at[row][k] * b.at[k][column] % modulus;
            result.at[row][column] = sum % modulus;
        }
    }
    return result;
}

/// The transition's power 2^`exponent`.
template <class Component>
constexpr Matrix squared(int exponent) {
    Matrix result = transition<Component>();
    for (int i = 0; i < exponent; ++i) result = product(result, result, Component::modulus);
    return result;
}

/// Powers of a transition repeat two of their nine values. Seven words hold the rest, in an order of its own
/// for each component.
struct PowerWords {
    unsigned int word[7];
};

template <class Component>
constexpr PowerWords packed(Matrix const& m);
template <>
constexpr PowerWords packed<FirstComponent>(Matrix const& m) {
    auto const word = [&](int row, int column) { return static_cast<unsigned int>(m.at[row][column]); };
    return {{word(0, 0), word(1, 0), word(2, 0), word(0, 1), word(1, 1), word(2, 1), word(0, 2)}};
}
template <>
constexpr PowerWords packed<SecondComponent>(Matrix const& m) {
    auto const word = [&](int row, int column) { return static_cast<unsigned int>(m.at[row][column]); };
    return {{word(2, 0), word(0, 1), word(0, 0), word(1, 0), word(0, 2), word(1, 2), word(2, 2)}};
}

template <class Component>
constexpr Matrix unpacked(PowerWords const& power);
template <>
constexpr GPU_HOST_DEVICE Matrix unpacked<FirstComponent>(PowerWords const& power) {
    auto const& w = power.word;
    return {{{w[0], w[3], w[6]}, {w[1], w[4], w[3]}, {w[2], w[5], w[4]}}};
}
template <>
constexpr GPU_HOST_DEVICE Matrix unpacked<SecondComponent>(PowerWords const& power) {
    auto const& w = power.word;
    return {{{w[2], w[1], w[4]}, {w[3], w[2], w[5]}, {w[0], w[3], w[6]}}};
}

/// A skip is a number in base 8, of ten digits and a leading one: one entry for each digit but 0 at each
/// level.
inline constexpr int numLevels = 11, digitsPerLevel = 7;
inline constexpr int numPowers = (numLevels - 1) * digitsPerLevel + 1;

struct LevelStarts {
    unsigned int at[numLevels];
};
struct Powers {
    PowerWords entry[numPowers];
};

constexpr LevelStarts levelStarts() {
    LevelStarts starts{};
    for (int level = 0; level < numLevels; ++level) starts.at[level] = 1u << (3 * level);
    return starts;
}

/// Entry e is the transition to the power 2^`log2Unit` * (e mod 7 + 1) * 8^(e / 7).
template <class Component>
constexpr Powers powers(int log2Unit) {
    Powers table{};
    Matrix unit = squared<Component>(log2Unit);
    Matrix current = unit;
    for (int e = 0; e < numPowers; ++e) {
        table.entry[e] = packed<Component>(current);
        current = product(current, unit, Component::modulus);
        // After the seventh digit, the product is the next level's first.
        if (e % digitsPerLevel == digitsPerLevel - 1) unit = current;
    }
    return table;
}

/// An element takes two steps; a sub-stream is 2^76 steps long.
inline constexpr int log2StepsPerElement = 1, log2StepsPerSubstream = 76;

constexpr bool operator==(PowerWords const& a, PowerWords const& b) {
    for (int i = 0; i < 7; ++i) {
        if (a.word[i] != b.word[i]) return false;
    }
    return true;
}

}  // namespace gpucommon::rand::mrg32k3a

GPU_CONSTANT_TABLE(gpucommon::rand::mrg32k3a::LevelStarts, MRG32K3A_LEVELSTARTS,
                   gpucommon::rand::mrg32k3a::levelStarts());
GPU_CONSTANT_TABLE(gpucommon::rand::mrg32k3a::Powers, MRG32K3A_TRANSITION1,
                   gpucommon::rand::mrg32k3a::powers<gpucommon::rand::mrg32k3a::FirstComponent>(
                       gpucommon::rand::mrg32k3a::log2StepsPerElement));
GPU_CONSTANT_TABLE(gpucommon::rand::mrg32k3a::Powers, MRG32K3A_TRANSITION2,
                   gpucommon::rand::mrg32k3a::powers<gpucommon::rand::mrg32k3a::SecondComponent>(
                       gpucommon::rand::mrg32k3a::log2StepsPerElement));
// No kernel reads the last two: engines that hand out sub-streams find them on the device.
GPU_CONSTANT_TABLE(gpucommon::rand::mrg32k3a::Powers, MRG32K3A_SUBSTREAMTRANSITION1,
                   gpucommon::rand::mrg32k3a::powers<gpucommon::rand::mrg32k3a::FirstComponent>(
                       gpucommon::rand::mrg32k3a::log2StepsPerSubstream));
GPU_CONSTANT_TABLE(gpucommon::rand::mrg32k3a::Powers, MRG32K3A_SUBSTREAMTRANSITION2,
                   gpucommon::rand::mrg32k3a::powers<gpucommon::rand::mrg32k3a::SecondComponent>(
                       gpucommon::rand::mrg32k3a::log2StepsPerSubstream));

namespace gpucommon::rand::mrg32k3a {

// Known entries. The sub-stream's is printed in L'Ecuyer and others, "An object-oriented random-number
// package with many long streams and substreams", Operations Research 50, 2002.
static_assert(powers<FirstComponent>(log2StepsPerElement).entry[0] ==
              PowerWords{{0, 4294156359, 0, 0, 1403580, 4294156359, 1}});
static_assert(powers<FirstComponent>(log2StepsPerElement).entry[70] ==
              PowerWords{{35689930, 673810920, 3808868984, 1378151623, 948843427, 927013635, 951629713}});
static_assert(powers<SecondComponent>(log2StepsPerElement).entry[0] ==
              PowerWords{{2706407399, 0, 0, 4293573854, 1, 527612, 3497978192}});
static_assert(powers<FirstComponent>(log2StepsPerSubstream).entry[0] ==
              PowerWords{{82758667, 3672831523, 3672091415, 1871391091, 69195019, 3528743235, 4127413238}});

}  // namespace gpucommon::rand::mrg32k3a

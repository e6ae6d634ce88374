#pragma once

#include <gpuruntime/random.hpp>

#include "lanes.hpp"
#include "random/mrg32k3a_tables.hpp"
#include "random/state.hpp"

namespace gpucommon::rand {
namespace mrg32k3a {

/// A 64-bit value modulo the component's modulus, 2^32 - c: 2^32 counts as c, twice, and what is left is
/// below twice the modulus.
template <class Component, class Value>
GPU_DEVICE Value reduced(Value value) {
    using gpuruntime::backend::wideProduct;
    Value const mask = Value{} + 0xffffffff, complement = Value{} + Component::complement;
    value = wideProduct(value >> 32, complement) + (value & mask);
    value = wideProduct(value >> 32, complement) + (value & mask);
    Value const raised = value + complement;
    return ((raised >> 32) == 0 ? value : raised) & mask;
}

/// One component's last three values, oldest first.
struct Triple {
    unsigned int value[3];
};

template <class Component>
GPU_DEVICE Triple product(Matrix const& matrix, Triple const& column) {
    Triple result;
    for (int row = 0; row < 3; ++row) {
        unsigned long sum = 0;
        for (int k = 0; k < 3; ++k) {
            sum += reduced<Component>(matrix.at[row][k] * column.value[k]);
        }
        result.value[row] = static_cast<unsigned int>(reduced<Component>(sum));
    }
    return result;
}

/// The component `numElements` elements later. The matrices are powers of one, so their order is free, and
/// each is applied to the state at once rather than multiplied with the others first.
template <class Component>
GPU_DEVICE Triple skipped(Triple state, unsigned int numElements, Powers const& table) {
    constexpr int log2Leading = 30;
    constexpr Matrix leading = squared<Component>(log2Leading + log2StepsPerElement);
    for (unsigned int i = numElements >> log2Leading; i > 0; --i) state = product<Component>(leading, state);
    unsigned int left = numElements % (1u << log2Leading);
    for (int level = log2Leading / 3 - 1; level >= 0; --level) {
        unsigned int const start = MRG32K3A_LEVELSTARTS.at[level];
        if (left < start) continue;
        unsigned int const digit = left / start;
        PowerWords const& power = table.entry[level * digitsPerLevel + static_cast<int>(digit) - 1];
        state = product<Component>(unpacked<Component>(power), state);
        left -= digit * start;
    }
    return state;
}

}  // namespace mrg32k3a

/// MRG32k3a, for neighbouring lanes at once; the state's values stand oldest first.
struct MRG32K3AGenerator {
    using WordLanes = gpuruntime::backend::WordLanes;

    static constexpr bool isCounterBased = false;
    static constexpr unsigned long stateBytes = 6 * sizeof(unsigned int);

    WordLanes x0, x1, x2;
    WordLanes y0, y1, y2;

    /// The generators of which lane i stands before element `start` + i * `stride`.
    static GPU_DEVICE MRG32K3AGenerator load(unsigned int start, unsigned int stride) {
        using namespace mrg32k3a;
        using gpuruntime::backend::setLane;
        auto const& word = RNGInitialState.word;
        MRG32K3AGenerator generator{};
        for (unsigned int lane = 0; lane < gpuruntime::backend::laneCount; ++lane) {
            unsigned int const element = start + lane * stride;
            Triple const x =
                skipped<FirstComponent>({{word[0], word[1], word[2]}}, element, MRG32K3A_TRANSITION1);
            Triple const y =
                skipped<SecondComponent>({{word[3], word[4], word[5]}}, element, MRG32K3A_TRANSITION2);
            setLane(generator.x0, lane, x.value[0]);
            setLane(generator.x1, lane, x.value[1]);
            setLane(generator.x2, lane, x.value[2]);
            setLane(generator.y0, lane, y.value[0]);
            setLane(generator.y1, lane, y.value[1]);
            setLane(generator.y2, lane, y.value[2]);
        }
        return generator;
    }

    /// Takes a step, and gives the combined value, from 0 to m1 - 1. The terms that are taken away are kept
    /// from turning the sums negative by a multiple of the modulus above them.
    GPU_DEVICE WordLanes next() {
        using namespace mrg32k3a;
        using gpuruntime::backend::wideProduct;
        using gpuruntime::backend::wordLanes;
        using X = FirstComponent;
        using Y = SecondComponent;
        WordLanes const x3 =
            reduced<X>(wideProduct(x1, wordLanes(X::middleFactor)) -
                       wideProduct(x0, wordLanes(X::oldestFactor)) + (X::oldestFactor + 1) * X::modulus);
        WordLanes const y3 =
            reduced<Y>(wideProduct(y2, wordLanes(Y::newestFactor)) -
                       wideProduct(y0, wordLanes(Y::oldestFactor)) + (Y::oldestFactor + 1) * Y::modulus);
        x0 = x1;
        x1 = x2;
        x2 = x3;
        y0 = y1;
        y1 = y2;
        y2 = y3;
        WordLanes const difference = x3 - y3;
        return (difference >> 63) == 0 ? difference : difference + X::modulus;
    }
};

}  // namespace gpucommon::rand

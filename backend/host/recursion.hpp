#pragma once

#include <algorithm>
#include <cstring>

#include "backend/signals.hpp"
#include "device.hpp"
#include "frame/complex.hpp"
#include "lane_rows.hpp"
#include "lanes.hpp"
#include "parallel.hpp"

/// Recursions along signals, each serial in itself: on this device a lane of a vector has one.
namespace gpuruntime::backend {

/// Values of `lanes` signals, one from each; of complex ones the parts apart.
template <class T>
struct SignalValues {
    using P = internal::Part<T>;
    using Vector = typename LanesOf<P>::type;
    using Rows = LaneRows<sizeof(P)>;

    struct Parts {
        Vector x, y;
    };

    static constexpr bool isComplex = internal::isComplex<T>;
    using Values = std::conditional_t<isComplex, Parts, Vector>;

    static constexpr unsigned int lanes = sizeof(Vector) / sizeof(P);

    /// Of neighbouring memory. Which signal has which lane is up to this: `store` is its inverse.
    static GPU_DEVICE Values load(T const* from) {
        Vector parts[sizeof(T) / sizeof(P)];
        std::memcpy(parts, from, sizeof parts);
        if constexpr (isComplex) {
            return {shuffled(parts[0], parts[1], [](unsigned int g) { return 2 * g; }),
                    shuffled(parts[0], parts[1], [](unsigned int g) { return 2 * g + 1; })};
        } else {
            return parts[0];
        }
    }

    static GPU_DEVICE void store(T* to, Values values) {
        if constexpr (isComplex) {
            Vector const parts[2] = {
                shuffled(values.x, values.y, [](unsigned int g) { return g % 2 * lanes + g / 2; }),
                shuffled(values.x, values.y, [](unsigned int g) { return g % 2 * lanes + (g + lanes) / 2; })};
            std::memcpy(to, parts, sizeof parts);
        } else {
            std::memcpy(to, &values, sizeof values);
        }
    }

  private:
    template <class From>
    static GPU_DEVICE Vector shuffled(Vector a, Vector b, From from) {
        using Row = typename Rows::Row;
        return reinterpret_cast<Vector>(
            Rows::shuffle(reinterpret_cast<Row>(a), reinterpret_cast<Row>(b), from));
    }
};

/// The same value for every signal that is worked on at once. To subtract 0 leaves -0 what it is.
template <class Values, class T>
GPU_DEVICE Values forEverySignal(T value) {
    if constexpr (internal::isComplex<T>) {
        return {value.x - decltype(Values::x){}, value.y - decltype(Values::y){}};
    } else {
        return value - Values{};
    }
}

namespace detail {

/// A few samples of as many signals as a vector has lanes.
template <class T>
struct Samples {
    static constexpr unsigned int lanes = SignalValues<T>::lanes;

    /// So many of each signal: whole cache lines, and few enough that the steps of several groups of
    /// signals are under way at once, since each waits for the one before.
    static constexpr unsigned int capacity = 16;

    alignas(32) T values[capacity][lanes];

    /// Reads `n` samples of `count` signals from `in` on.
    GPU_DEVICE void read(T const* in, Signals<T> const& signals, unsigned int count, unsigned int n) {
        unsigned long const signalStride = signals.signalStride, sampleStride = signals.sampleStride;
        if (count == lanes && signalStride == 1) {
            for (unsigned int k = 0; k < n; ++k)
                std::memcpy(values[k], in + k * sampleStride, sizeof values[k]);
        } else if (count == lanes && n == capacity) {
            eachRows([&](Row(&rows)[capacity], unsigned int first) {
                Rows::load(rows, in + first * signalStride, signals.signalStride);
                for (unsigned int k = 0; k < capacity; ++k)
                    std::memcpy(values[k] + first, &rows[k], sizeof(Row));
            });
        } else {
            std::memset(values, 0, sizeof values);
            for (unsigned int c = 0; c < count; ++c) {
                for (unsigned int k = 0; k < n; ++k) values[k][c] = in[c * signalStride + k * sampleStride];
            }
        }
    }

    GPU_DEVICE void write(T* out, Signals<T> const& signals, unsigned int count, unsigned int n) const {
        unsigned long const signalStride = signals.signalStride, sampleStride = signals.sampleStride;
        if (count == lanes && signalStride == 1) {
            for (unsigned int k = 0; k < n; ++k)
                std::memcpy(out + k * sampleStride, values[k], sizeof values[k]);
        } else if (count == lanes && n == capacity) {
            eachRows([&](Row(&rows)[capacity], unsigned int first) {
                for (unsigned int k = 0; k < capacity; ++k)
                    std::memcpy(&rows[k], values[k] + first, sizeof(Row));
                Rows::store(rows, out + first * signalStride, signals.signalStride);
            });
        } else {
            for (unsigned int c = 0; c < count; ++c) {
                for (unsigned int k = 0; k < n; ++k) out[c * signalStride + k * sampleStride] = values[k][c];
            }
        }
    }

  private:
    using Rows = LaneRows<sizeof(T)>;
    using Row = typename Rows::Row;

    /// Calls `f(rows, first)` for the signals from `first` on that a row of the machine's vectors holds.
    template <class F>
    static GPU_DEVICE void eachRows(F f) {
        unrolled<lanes / Rows::lanes>([&](auto r) {
            Row rows[capacity];
            f(rows, r * Rows::lanes);
        });
    }
};

}  // namespace detail

/// Stores out(n) = `step`(in(n), z) along each signal, z being its `order` state values. `Step` is a
/// template over what holds the values of the signals that are worked on at once.
template <unsigned int order, template <class> class Step, class T>
GPU_DEVICE void recur(TileThreads const& threads, Signals<T> const& signals, States<T> const& states,
                      Step<T> const& one) {
    using Lanes = SignalValues<T>;
    using Values = typename Lanes::Values;
    constexpr unsigned int lanes = Lanes::lanes, blockSize = 64, capacity = detail::Samples<T>::capacity;
    unsigned int count = std::min({signals.count, threads.sizeX(), blockSize});
    if (count % lanes == 1) recurAlong<order>(signals, states, --count, one);

    alignas(32) T z[blockSize / lanes][order][lanes] = {};
    auto const forEachState = [&](auto f) {
        for (unsigned int c = 0; c < count; ++c) {
            for (unsigned int k = 0; k < order; ++k) f(z[c / lanes][k][c % lanes], c, k);
        }
    };
    if (states.initial != nullptr) {
        forEachState([&](T& value, unsigned long c, unsigned int k) {
            value = states.initial[c * states.initialStride + k];
        });
    }
    Step<Values> const step(one);
    unsigned int const numGroups = (count + lanes - 1) / lanes;
    // Of contiguous signals each is a stream of its own, and the hardware foresees few at once: two groups of
    // them go to their end before others begin. Long signals are shared out: they may be a block alone.
    bool const areLong = 1ul * count * signals.length >= (1ul << 18);
    unsigned int const numTogether = signals.signalStride != 1 ? 2
                                     : areLong                 ? (numGroups + 1) / 2
                                                               : numGroups;
    auto const run = [&](unsigned long part) __attribute__((noinline)) {
        unsigned int const begin = static_cast<unsigned int>(part) * numTogether;
        unsigned int const end = std::min(begin + numTogether, numGroups);
        for (unsigned int n = 0; n < signals.length; n += std::min(capacity, signals.length - n)) {
            unsigned int const numSamples = std::min(capacity, signals.length - n);
            for (unsigned int g = begin; g < end; ++g) {
                unsigned int const numSignals = std::min(lanes, count - g * lanes);
                unsigned long const first =
                    1ul * g * lanes * signals.signalStride + 1ul * n * signals.sampleStride;
                detail::Samples<T> samples;
                samples.read(signals.in + first, signals, numSignals, numSamples);
                Values state[order];
                unrolled<order>([&](auto k) { state[k] = Lanes::load(z[g][k]); });
                for (unsigned int k = 0; k < numSamples; ++k) {
                    Lanes::store(samples.values[k], step(Lanes::load(samples.values[k]), state));
                }
                unrolled<order>([&](auto k) { Lanes::store(z[g][k], state[k]); });
                samples.write(signals.out + first, signals, numSignals, numSamples);
            }
        }
    };
    unsigned int const numParts = numGroups == 0 ? 0 : (numGroups - 1) / numTogether + 1;
    if (areLong) {
        eachInParallel(numParts, run);
    } else {
        for (unsigned int part = 0; part < numParts; ++part) run(part);
    }
    if (states.final != nullptr) {
        forEachState([&](T value, unsigned long c, unsigned int k) { states.final[c * order + k] = value; });
    }
}

}  // namespace gpuruntime::backend

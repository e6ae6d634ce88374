#pragma once

#include <gpuruntime/convolution.hpp>

#include <cmath>
#include <functional>
#include <random>
#include <vector>

#include "filtering/tap_counts.hpp"
#include "tests/support/device_array.hpp"
#include "tests/support/values.hpp"

/// What convolutions are to give, thread by thread and tap by tap.
namespace gpuruntime::testing {

template <class P>
P fusedStep(P tap, P element, P sum) {
    return std::fma(tap, element, sum);
}
inline float2 fusedStep(float2 tap, float2 element, float2 sum) {
    float2 step{std::fma(tap.x, element.x, sum.x), std::fma(tap.x, element.y, sum.y)};
    return {std::fma(-tap.y, element.y, step.x), std::fma(tap.y, element.x, step.y)};
}
inline double2 fusedStep(double2 tap, double2 element, double2 sum) {
    double2 step{std::fma(tap.x, element.x, sum.x), std::fma(tap.x, element.y, sum.y)};
    return {std::fma(-tap.y, element.y, step.x), std::fma(tap.y, element.x, step.y)};
}

template <class P>
P plus(P a, P b) {
    return a + b;
}
inline float2 plus(float2 a, float2 b) { return {a.x + b.x, a.y + b.y}; }
inline double2 plus(double2 a, double2 b) { return {a.x + b.x, a.y + b.y}; }

/// Blocks along one dimension: how many there are, or the starts and strides of a stepped walk.
struct Walk {
    unsigned long grid, steps;

    /// `positions` in blocks of `size`, one for none, on a device with at most `limit` blocks.
    Walk(unsigned long positions, unsigned long size, unsigned long limit)
        : grid(positions == 0 ? 1 : (positions + size - 1) / size), steps((grid + limit - 1) / limit) {}

    void step() {
        if (steps > 1 && steps < 4) steps = 4;
        grid = (grid + steps - 1) / steps;
    }
};

struct Block {
    unsigned long x, y;
};

/// The blocks of 2-D tiles that a launch visits, in an order in which none is visited after it was written.
inline std::vector<Block> visitedBlocks(unsigned long nx, unsigned long ny, unsigned long sizeX,
                                        unsigned long sizeY, unsigned long limitX, unsigned long limitY) {
    Walk x(nx, sizeX, limitX), y(ny, sizeY, limitY);
    if (x.grid > limitX || y.grid > limitY) {
        x.step();
        y.step();
    } else {
        x.steps = y.steps = 1;
    }
    std::vector<Block> blocks;
    for (unsigned long step = 0; step < x.steps * y.steps; ++step) {
        for (unsigned long by = 0; by < y.grid; ++by) {
            for (unsigned long bx = 0; bx < x.grid; ++bx) {
                blocks.push_back(
                    {bx + (x.steps > 1 ? step * x.grid : 0), by + (y.steps > 1 ? step * y.grid : 0)});
            }
        }
    }
    return blocks;
}

/// An operator of `T` by its constant.
template <class T, class Call>
struct Instance {
    unsigned int constant;
    std::function<Call> call;
};

template <class Family, class T, class Call, class... C>
std::vector<Instance<T, Call>> instancesOf(internal::TypeList<C...>) {
    return {{C::value, typename Family::template Invoker<T, C>()}...};
}

/// One value for each type of complex and real elements.
template <class T>
T valueOf(double x) {
    if constexpr (internal::isComplex<T>) {
        return {static_cast<internal::Part<T>>(x), 0};
    } else {
        return static_cast<T>(x);
    }
}

template <class T>
Elements<T> valuesOf(std::vector<double> const& values) {
    Elements<T> result;
    for (double const x : values) result.push_back(valueOf<T>(x));
    return result;
}

/// Random arguments, one after another.
template <class T>
class Arguments {
  public:
    explicit Arguments(unsigned long seed) : seed(seed) {}

    Elements<T> values(std::size_t n) { return randomValues<T>(n, ++seed); }

    unsigned long below(unsigned long n) { return std::mt19937_64(++seed)() % n; }

  private:
    unsigned long seed;
};

/// Small whole numbers, whose products and sums are exact in any order.
template <class T>
Elements<T> wholeValues(std::size_t n, unsigned long seed) {
    Elements<T> values = randomValues<T>(n, seed);
    for (T& value : values) {
        if constexpr (internal::isComplex<T>) {
            value = {std::trunc(value.x / 100), std::trunc(value.y / 100)};
        } else {
            value = std::trunc(value / 100);
        }
    }
    return values;
}

}  // namespace gpuruntime::testing

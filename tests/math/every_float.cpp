// Goes through every `float` argument of the functions of one variable, and prints how many results are not
// the correctly rounded ones and the largest error. Takes minutes. Where the C library's `double` function
// leaves no doubt about the nearest `float` it is the reference, and elsewhere MPFR.

#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <mutex>

#include "tests/math/functions.hpp"

namespace gpuruntime::testing {
namespace {

double almostErfcInverse(double y) {
    if (!(y > 0 && y < 2)) return y == 0 ? INFINITY : y == 2 ? -INFINITY : NAN;
    // From the value itself, whose error a step of Newton's method squares.
    long double const x = backend::erfcInverse(y);
    bool const isMiddle = std::fabs(x) < 1;
    long double const excess = isMiddle ? (1 - y) - std::erf(x) : std::erfc(x) - y;
    return static_cast<double>(x + excess * (std::sqrt(std::acos(-1.0L)) / 2) * std::exp(x * x));
}

struct Totals {
    unsigned long notNearest = 0;
    double largest = 0;
    float at = 0;
};

template <class F>
Totals totalsOf(double (*almost)(double), unsigned long begin, unsigned long end) {
    Totals totals;
    for (unsigned long bits = begin; bits < end; ++bits) {
        unsigned int const word = static_cast<unsigned int>(bits);
        float x;
        std::memcpy(&x, &word, sizeof x);
        float const actual = F::of(x, 0.0f);
        double const reference = almost(x);
        float const low = static_cast<float>(reference * (1 - 0x1p-48)),
                    high = static_cast<float>(reference * (1 + 0x1p-48));
        if ((low == high && actual == low) || (actual != actual && reference != reference)) continue;
        Multiple exact;
        F::exact(exact, Multiple(x), Multiple(0.0));
        double const error = ulpsApart<float>(exact, actual);
        if (!(error <= 0.5)) ++totals.notNearest;
        if (!(error <= totals.largest)) {
            totals.largest = error;
            totals.at = x;
        }
    }
    return totals;
}

template <class F>
void report(char const* name, double (*almost)(double)) {
    constexpr unsigned long all = 1ul << 32;
    std::mutex access;
    Totals totals;
    tbb::parallel_for(tbb::blocked_range<unsigned long>(0, all, 1ul << 20), [&](auto const& range) {
        Totals const part = totalsOf<F>(almost, range.begin(), range.end());
        std::lock_guard const lock(access);
        totals.notNearest += part.notNearest;
        if (!(part.largest <= totals.largest)) {
            totals.largest = part.largest;
            totals.at = part.at;
        }
    });
    std::printf("%-12s %6lu not correctly rounded, largest error %.7f ulp at %a\n", name, totals.notNearest,
                totals.largest, static_cast<double>(totals.at));
    std::fflush(stdout);
}

}  // namespace
}  // namespace gpuruntime::testing

int main() {
    using namespace gpuruntime::testing;
    report<Exp>("exp", [](double x) { return std::exp(x); });
    report<Log>("log", [](double x) { return std::log(x); });
    report<Sin>("sin", [](double x) { return std::sin(x); });
    report<Cos>("cos", [](double x) { return std::cos(x); });
    report<ErfcInverse>("erfcInverse", almostErfcInverse);
}

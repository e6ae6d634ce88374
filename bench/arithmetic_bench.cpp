// Arithmetic: bytes read and written per second. `Copy`, a plain loop that reads and writes on all cores, is
// the roof of what writes elsewhere; `InPlace`, one that adds to what it reads, that of what works in place.

#include <benchmark/benchmark.h>
#include <gpuruntime/arithmetic.hpp>

#include <cmath>
#include <vector>

#include "bench/pairs.hpp"
#include "bench/support.hpp"
#include "elementwise/arithmetic_types.hpp"
#include "frame/complex.hpp"

namespace gpuruntime {
namespace {

using bench::add;
using bench::DeviceMemory;
using bench::largeBytes;
using bench::measure;

template <class T>
T number(double value) {
    if constexpr (internal::isComplex<T>) {
        return {static_cast<internal::Part<T>>(value), static_cast<internal::Part<T>>(value / 3)};
    } else {
        return static_cast<T>(value);
    }
}

template <class T>
std::vector<T> numbers(unsigned long n) {
    std::vector<T> values(n);
    for (unsigned long i = 0; i < n; ++i) values[i] = number<T>(static_cast<double>(i % 100 + 1));
    return values;
}

/// `call(data, n)` on an array in place.
template <class T, class Call>
void addInPlace(std::string const& name, Call call) {
    add(bench::nameOf<T>(name), [call](benchmark::State& state) {
        DeviceMemory<T> data(numbers<T>(largeBytes / sizeof(T)));
        measure(state, 2 * largeBytes, [&] { call(data.data(), largeBytes / sizeof(T)); });
    });
}

template <class T>
void addMultiplied() {
    addInPlace<T>("TimesInplace", [](T* data, unsigned long n) {
        TimesInplace::Invoker<T>()(nullptr, data, number<T>(1), n);
    });
    addInPlace<T>("ReciprocalTimesInplace", [](T* data, unsigned long n) {
        ReciprocalTimesInplace::Invoker<T>()(nullptr, data, number<T>(100), n);
    });
}

template <class T>
void addFloating() {
    addInPlace<T>("ScaleInplace", [](T* data, unsigned long n) {
        ScaleInplace::Invoker<T>()(nullptr, data, number<T>(1), n);
    });
    addInPlace<T>("NormalizeInplace",
                  [](T* data, unsigned long n) { NormalizeInplace::Invoker<T>()(nullptr, data, 1, 2, n); });
    addInPlace<T>("MulAddByDoubleInplace", [](T* data, unsigned long n) {
        MulAddByDoubleInplace::Invoker<T>()(nullptr, data, 0.5, 2, n);
    });
    constexpr unsigned long n = largeBytes / sizeof(T), bytes = n * (sizeof(T) + sizeof(Magnitude<T>));
    add(bench::nameOf<T>("Abs"), [](benchmark::State& state) {
        DeviceMemory<T> in(numbers<T>(n));
        DeviceMemory<Magnitude<T>> out(n);
        measure(state, bytes, [&] { Abs::Invoker<T>()(nullptr, out.data(), in.data(), n); });
    });
    add(bench::nameOf<T>("AbsPower"), [](benchmark::State& state) {
        DeviceMemory<T> in(numbers<T>(n));
        DeviceMemory<Magnitude<T>> out(n);
        measure(state, bytes, [&] { AbsPower::Invoker<T>()(nullptr, out.data(), in.data(), 1.7, n); });
    });
    add(bench::nameOf<T>("NormCorrectInfNaN"), [](benchmark::State& state) {
        DeviceMemory<T> in(numbers<T>(n));
        DeviceMemory<double> norm(std::vector<double>{HUGE_VAL});
        measure(state, largeBytes,
                [&] { NormCorrectInfNaN::Invoker<T>()(nullptr, norm.data(), in.data(), n); });
    });
    add(bench::nameOf<T>("MPowerMatrixScalar"), [](benchmark::State& state) {
        unsigned long const side = 2000;
        DeviceMemory<T> vectors(numbers<T>(side * side)), values(numbers<T>(side)), out(side * side);
        measure(state, 2 * side * side * sizeof(T), [&] {
            MPowerMatrixScalar::Invoker<T>()(nullptr, out.data(), vectors.data(), values.data(), number<T>(2),
                                             side);
        });
    });
}

template <class T>
void addDiff() {
    auto const addAlong = [](std::string const& name, unsigned long stride) {
        add(bench::nameOf<T>("Diff") + "/" + name, [stride](benchmark::State& state) {
            unsigned long const length = 2000, others = largeBytes / sizeof(T) / length;
            unsigned long const numIn = length * others, extent = stride == 1 ? length : others;
            unsigned long const numOut = numIn / extent * (extent - 1);
            DeviceMemory<T> in(numbers<T>(numIn)), out(numOut);
            measure(state, (numIn + numOut) * sizeof(T),
                    [&] { Diff::Invoker<T>()(nullptr, out.data(), in.data(), stride, extent - 1, numOut); });
        });
    };
    addAlong("columns", 1);
    addAlong("rows", 2000);
}

void addToAll(benchmark::State& state) {
    unsigned long const n = largeBytes / sizeof(double);
    DeviceMemory<double> memory(n);
    measure(state, 2 * largeBytes, [&, data = memory.data()] {
        bench::onAllCores(n, [=](unsigned long first, unsigned long last) {
            for (unsigned long i = first; i < last; ++i) data[i] += 1;
        });
    });
}

int const registered = [] {
    add("Copy", bench::copy);
    add("InPlace", addToAll);
    bench::forEachType(internal::Multiplied{}, [](auto type) { addMultiplied<decltype(type)>(); });
    bench::forEachType(internal::Floating{}, [](auto type) { addFloating<decltype(type)>(); });
    bench::forEachType(internal::Subtracted{}, [](auto type) { addDiff<decltype(type)>(); });
    addInPlace<double>("NanToZeroInplace", [](double* data, unsigned long n) {
        NanToZeroInplace::Invoker<double>()(nullptr, data, n);
    });
    addInPlace<double2>("NanToZeroInplace", [](double2* data, unsigned long n) {
        NanToZeroInplace::Invoker<double2>()(nullptr, data, n);
    });
    return 0;
}();

}  // namespace
}  // namespace gpuruntime

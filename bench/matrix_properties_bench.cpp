// Properties of square matrices that have them: bytes of the matrix per second, although some read but half
// of it. `Read`, a plain loop on all cores, is the roof. Those named "Not" find a counter-example in the
// first column.

#include <benchmark/benchmark.h>
#include <gpuruntime/matrix_properties.hpp>

#include <vector>

#include "bench/pairs.hpp"
#include "bench/support.hpp"

namespace gpuruntime {
namespace {

using bench::add;
using bench::DeviceMemory;
using bench::measure;

constexpr unsigned long n = 8000;

/// A matrix of zeros, with an element below the diagonal and one above it if `isFull`.
template <class T>
std::vector<T> matrix(bool isFull) {
    std::vector<T> values(n * n);
    if (isFull) {
        values[1] = 1;
        values[n] = 1;
    }
    return values;
}

template <class T, class Ask>
void addProperty(std::string const& name, double share, Ask ask) {
    for (bool isFull : {false, true}) {
        add((isFull ? "Not" : "") + bench::nameOf<T>(name), [=](benchmark::State& state) {
            DeviceMemory<T> in(matrix<T>(isFull));
            measure(state, static_cast<unsigned long>(share * n * n * sizeof(T)),
                    [&] { benchmark::DoNotOptimize(ask(in.data())); });
        });
    }
}

template <class T>
void addAll() {
    addProperty<T>("IsSymmetric", 1,
                   [](T const* in) { return IsSymmetric::Invoker<T>()(nullptr, in, n, n, true, true); });
    addProperty<T>("IsTril", 0.5, [](T const* in) { return IsTril::Invoker<T>()(nullptr, in, n, n); });
    addProperty<T>("IsTriu", 0.5, [](T const* in) { return IsTriu::Invoker<T>()(nullptr, in, n, n); });
    addProperty<T>("IsBanded", 1,
                   [](T const* in) { return IsBanded::Invoker<T>()(nullptr, in, n, n, 0, 0); });
    addProperty<T>("GetFillPattern", 1,
                   [](T const* in) { return GetFillPattern::Invoker<T>()(nullptr, in, n, n); });
    add(bench::nameOf<T>("Bandwidth"), [](benchmark::State& state) {
        DeviceMemory<T> in(matrix<T>(false));
        DeviceMemory<unsigned int> lower(1), upper(1);
        measure(state, n * n * sizeof(T),
                [&] { Bandwidth::Invoker<T>()(nullptr, lower.data(), upper.data(), in.data(), n, n); });
    });
}

int const registered = [] {
    add("Read", bench::read);
    addAll<float>();
    addAll<double>();
    return 0;
}();

}  // namespace
}  // namespace gpuruntime

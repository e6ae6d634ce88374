// Recursive filters of many signals, contiguous or interleaved, and of one: bytes read and written per
// second. `Copy`, a plain loop that reads and writes on all cores, is the roof. Names have the order, the
// layout and the number of signals.

#include <benchmark/benchmark.h>
#include <gpuruntime/iir_filter.hpp>

#include <string>

#include "bench/pairs.hpp"
#include "bench/support.hpp"

namespace gpuruntime {
namespace {

using bench::add;
using bench::DeviceMemory;
using bench::measure;

template <class T>
T real(double value) {
    if constexpr (internal::isOneOf<T, float2, double2>) {
        return {static_cast<decltype(T::x)>(value), 0};
    } else {
        return static_cast<T>(value);
    }
}

/// Filters with poles well inside the unit circle.
template <class T, int K>
void addFilter(bool isInterleaved, unsigned int numSignals, unsigned int numSamples) {
    std::string const name = bench::nameOf<T>("IIRFilter") + "/" + std::to_string(K) +
                             (isInterleaved ? "/interleaved/" : "/contiguous/") + std::to_string(numSignals);
    add(name, [=](benchmark::State& state) {
        std::vector<T> denominator(K + 1, real<T>(0.05)), samples(numSamples);
        denominator[0] = real<T>(1);
        for (unsigned int i = 0; i < numSamples; ++i) samples[i] = real<T>(i % 127);
        DeviceMemory<T> a(denominator), b(std::vector<T>(K + 1, real<T>(0.1))), in(samples), out(numSamples);
        measure(state, 2 * numSamples * sizeof(T), [&] {
            IIRFilter::Invoker<T, mpl_::integral_c<int, K>>()(
                nullptr, out.data(), nullptr, b.data(), a.data(), in.data(), nullptr, K + 1, K + 1,
                numSamples / numSignals, numSignals, isInterleaved ? numSignals : 1, 1, 0);
        });
    });
}

template <class T>
void addFilters() {
    constexpr unsigned int many = 1u << 22;
    for (bool const isInterleaved : {false, true}) {
        for (unsigned int const numSignals : {64u, 128u, 4096u}) {
            addFilter<T, 2>(isInterleaved, numSignals, many);
            addFilter<T, 4>(isInterleaved, numSignals, many);
            addFilter<T, 10>(isInterleaved, numSignals, many);
        }
    }
    addFilter<T, 2>(false, 1, many / 4);
    addFilter<T, 10>(false, 1, many / 4);
}

int const registered = [] {
    add("Copy", bench::copy);
    bench::forEachType(internal::Floating{}, [](auto type) { addFilters<decltype(type)>(); });
    return 0;
}();

}  // namespace
}  // namespace gpuruntime

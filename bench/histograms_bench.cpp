// Histograms of normally distributed values: bytes of values per second.

#include <benchmark/benchmark.h>
#include <gpuruntime/histograms.hpp>

#include <cmath>
#include <random>
#include <vector>

#include "bench/support.hpp"

namespace gpuruntime {
namespace {

using bench::DeviceMemory;

constexpr unsigned long numValues = 1ul << 24;
constexpr double end = 4;  ///< edges lie between its negative and it, which nearly all values do

template <class T>
std::vector<T> normalValues() {
    std::vector<T> values(numValues);
    std::mt19937_64 engine(1);
    std::normal_distribution<double> normal;
    for (T& value : values) value = static_cast<T>(normal(engine));
    return values;
}

/// `call(counts, values)` on `numColumns` columns.
template <class T, class Call>
void run(benchmark::State& state, unsigned long numBins, unsigned long numColumns, Call call) {
    DeviceMemory<T> values(normalValues<T>());
    DeviceMemory<unsigned int> counts(numBins * numColumns);
    for (auto _ : state) {
        call(counts.data(), values.data());
        bench::finish();
    }
    state.SetBytesProcessed(static_cast<long>(state.iterations() * numValues * sizeof(T)));
}

/// Of so many bins and columns.
template <class T>
void ByRange(benchmark::State& state) {
    auto const numBins = static_cast<unsigned long>(state.range(0)),
               numColumns = static_cast<unsigned long>(state.range(1));
    T const ends[] = {T(-end), T(end)};
    run<T>(state, numBins, numColumns, [&](unsigned int* counts, T const* values) {
        HistCColonForm::Invoker<T>()(nullptr, counts, nullptr, values, ends, numBins, numColumns,
                                     numValues / numColumns, 1);
    });
}

/// Uneven edges: squares, with their sign.
template <class T>
void ByList(benchmark::State& state) {
    auto const numBins = static_cast<unsigned long>(state.range(0)),
               numColumns = static_cast<unsigned long>(state.range(1));
    std::vector<T> edges(numBins);
    for (unsigned long e = 0; e < numBins; ++e) {
        double const even = 2.0 * static_cast<double>(e) / static_cast<double>(numBins - 1) - 1;
        edges[e] = static_cast<T>(end * even * std::abs(even));
    }
    DeviceMemory<T> list(edges);
    run<T>(state, numBins, numColumns, [&](unsigned int* counts, T const* values) {
        HistCGeneralForm::Invoker<T>()(nullptr, counts, nullptr, values, list.data(), numBins, numColumns,
                                       numValues / numColumns, 1);
    });
}

BENCHMARK(ByRange<double>)
    ->Args({101, 1})
    ->Args({1001, 1})
    ->Args({100001, 1})
    ->Args({101, 64})
    ->UseRealTime();
BENCHMARK(ByRange<float>)->Args({101, 1})->UseRealTime();
BENCHMARK(ByList<double>)->Args({101, 1})->Args({1001, 1})->Args({100001, 1})->Args({101, 64})->UseRealTime();
BENCHMARK(ByList<float>)->Args({101, 1})->UseRealTime();

}  // namespace
}  // namespace gpuruntime

// Sorts: bytes of keys, with indices also of these, per second. Unsorted content is copied in before each
// sort, outside the timing.

#include <benchmark/benchmark.h>
#include <gpuruntime/sorting.hpp>

#include <numeric>
#include <random>
#include <vector>

#include "bench/support.hpp"

namespace gpuruntime {
namespace {

using bench::DeviceMemory;

std::vector<double> randomDoubles(unsigned long n) {
    std::vector<double> values(n);
    std::mt19937_64 engine(1);
    std::normal_distribution<double> normal;
    for (double& value : values) value = normal(engine);
    return values;
}

template <class T>
std::vector<T> randomKeys(unsigned long n) {
    std::vector<T> keys(n);
    std::mt19937_64 engine(1);
    for (T& key : keys) key = static_cast<T>(engine());
    return keys;
}
template <>
std::vector<double> randomKeys(unsigned long n) {
    return randomDoubles(n);
}
template <>
std::vector<double2> randomKeys(unsigned long n) {
    std::vector<double> const parts = randomDoubles(2 * n);
    std::vector<double2> keys(n);
    for (unsigned long i = 0; i < n; ++i) keys[i] = {parts[2 * i], parts[2 * i + 1]};
    return keys;
}

template <class T>
void copyIn(DeviceMemory<T>& to, std::vector<T> const& from) {
    bench::check(cudaMemcpy(to.data(), from.data(), from.size() * sizeof(T), cudaMemcpyHostToDevice));
}

/// Times `sort` alone; `prepare` undoes it.
template <class Prepare, class Sort>
void run(benchmark::State& state, unsigned long bytes, Prepare prepare, Sort sort) {
    for (auto _ : state) {
        state.PauseTiming();
        prepare();
        bench::finish();
        state.ResumeTiming();
        sort();
        bench::finish();
    }
    state.SetBytesProcessed(static_cast<long>(state.iterations() * bytes));
}

template <class T>
void SortVectorOf(benchmark::State& state) {
    auto const n = static_cast<unsigned long>(state.range(0));
    auto const keys = randomKeys<T>(n);
    DeviceMemory<T> data(n);
    run(
        state, n * sizeof(T), [&] { copyIn(data, keys); },
        [&] { SortVector::Invoker<T>()(data.data(), nullptr, n, true, true); });
}

template <class T>
void SortVectorWithIndexOf(benchmark::State& state) {
    auto const n = static_cast<unsigned long>(state.range(0));
    auto const keys = randomKeys<T>(n);
    std::vector<double> running(n);
    std::iota(running.begin(), running.end(), 1.0);
    DeviceMemory<T> data(n);
    DeviceMemory<double> indices(n);
    run(
        state, n * (sizeof(T) + sizeof(double)),
        [&] {
            copyIn(data, keys);
            copyIn(indices, running);
        },
        [&] { SortVector::Invoker<T>()(data.data(), indices.data(), n, true, true); });
}

constexpr unsigned long numColumns = 1000;

std::vector<int> columnLabels(unsigned long n) {
    std::vector<int> labels(n);
    for (unsigned long i = 0; i < n; ++i) labels[i] = static_cast<int>(i / (n / numColumns));
    return labels;
}

void SortMatrixColumns(benchmark::State& state) {
    auto const n = static_cast<unsigned long>(state.range(0));
    auto const keys = randomDoubles(n);
    DeviceMemory<double> data(n);
    DeviceMemory<int> columnIds(columnLabels(n));
    run(
        state, n * sizeof(double), [&] { copyIn(data, keys); },
        [&] { SortMatrix::Invoker<double>()(data.data(), columnIds.data(), n, true, true); });
}

void SortMatrixColumnsWithIndex(benchmark::State& state) {
    auto const n = static_cast<unsigned long>(state.range(0));
    auto const keys = randomDoubles(n);
    DeviceMemory<double> data(n), indices(n);
    DeviceMemory<int> columnIds(columnLabels(n));
    run(
        state, 2 * n * sizeof(double), [&] { copyIn(data, keys); },
        [&] {
            SortMatrixIndex::Invoker<double>()(data.data(), indices.data(), columnIds.data(), n, true, true);
        });
}

/// Two columns, of which the first has ten different values.
void SortRowsByTwoColumns(benchmark::State& state) {
    auto const numRows = static_cast<unsigned long>(state.range(0));
    auto matrix = randomDoubles(2 * numRows);
    for (unsigned long row = 0; row < numRows; ++row) matrix[row] = static_cast<double>(row * 7919 % 10);
    std::vector<unsigned int> running(numRows);
    std::iota(running.begin(), running.end(), 1u);
    DeviceMemory<double> data(matrix);
    DeviceMemory<unsigned int> rows(numRows);
    double const order[] = {1, -2};
    run(
        state, numRows * 2 * sizeof(double), [&] { copyIn(rows, running); },
        [&] { SortrowsIndex::Invoker<double>()(data.data(), rows.data(), numRows, 2, order); });
}

void IsSortedOf(benchmark::State& state) {
    auto const n = static_cast<unsigned long>(state.range(0));
    std::vector<double> values(n);
    std::iota(values.begin(), values.end(), 0.0);
    DeviceMemory<double> data(values);
    for (auto _ : state) benchmark::DoNotOptimize(IsSortedVector::Invoker<double>()(nullptr, data.data(), n));
    state.SetBytesProcessed(static_cast<long>(state.iterations() * n * sizeof(double)));
}

constexpr long million = 1 << 20, sixteenMillion = 1 << 24;

BENCHMARK(SortVectorOf<double>)->Arg(1000)->Arg(million)->Arg(sixteenMillion)->UseRealTime();
BENCHMARK(SortVectorOf<long>)->Arg(million)->UseRealTime();
BENCHMARK(SortVectorOf<double2>)->Arg(million)->UseRealTime();
BENCHMARK(SortVectorWithIndexOf<double>)->Arg(1000)->Arg(million)->Arg(sixteenMillion)->UseRealTime();
BENCHMARK(SortVectorWithIndexOf<double2>)->Arg(million)->UseRealTime();
BENCHMARK(SortMatrixColumns)->Arg(1000 * numColumns)->UseRealTime();
BENCHMARK(SortMatrixColumnsWithIndex)->Arg(1000 * numColumns)->UseRealTime();
BENCHMARK(SortRowsByTwoColumns)->Arg(million)->UseRealTime();
BENCHMARK(IsSortedOf)->Arg(sixteenMillion)->UseRealTime();

}  // namespace
}  // namespace gpuruntime

// Search and interpolation: queries, or results, per second.

#include <benchmark/benchmark.h>
#include <gpuruntime/grids.hpp>
#include <gpuruntime/interpolation.hpp>

#include <random>
#include <vector>

#include "bench/support.hpp"

namespace gpuruntime {
namespace {

using bench::DeviceMemory;

constexpr unsigned long numQueries = 1ul << 22;
constexpr InterpType linear = InterpType::Linear, outside = InterpType::ExtrapValue;

/// Uneven distances, or all the same.
template <class T>
std::vector<T> gridOf(unsigned long n, bool even) {
    std::vector<T> grid(n);
    for (unsigned long i = 0; i < n; ++i) {
        double const at = static_cast<double>(i) / static_cast<double>(n - 1);
        grid[i] = static_cast<T>(even ? at : at * (1 + at) / 2);
    }
    return grid;
}

/// Queries between the ends, random; in ascending order there is one in each of `n` equal parts.
template <class T>
std::vector<T> queriesIn(double low, double high, unsigned long n, bool sorted, unsigned long seed = 1) {
    std::vector<T> queries(n);
    std::minstd_rand engine(static_cast<unsigned int>(seed));
    std::uniform_real_distribution<double> uniform(0, 1);
    for (unsigned long i = 0; i < n; ++i) {
        double const at = uniform(engine);
        double const share = sorted ? (static_cast<double>(i) + at) / static_cast<double>(n) : at;
        queries[i] = static_cast<T>(low + (high - low) * share);
    }
    return queries;
}

void count(benchmark::State& state, unsigned long results) {
    state.SetItemsProcessed(static_cast<long>(state.iterations() * results));
}

/// Points of the grid, whether it is even, whether the queries are sorted.
template <class T>
void Vector(benchmark::State& state) {
    auto const n = static_cast<unsigned long>(state.range(0));
    DeviceMemory<T> grid(gridOf<T>(n, state.range(1) != 0)), values(gridOf<T>(n, false)), out(numQueries),
        queries(queriesIn<T>(0, 1, numQueries, state.range(2) != 0));
    for (auto _ : state) {
        Interp1dFull::Invoker<T, T>()(nullptr, out.data(), grid.data(), values.data(), queries.data(), n,
                                      numQueries, linear, outside, T(0));
        bench::finish();
    }
    count(state, numQueries);
}

template <class T>
void Search(benchmark::State& state) {
    auto const n = static_cast<unsigned long>(state.range(0));
    DeviceMemory<T> grid(gridOf<T>(n, state.range(1) != 0)),
        queries(queriesIn<T>(0, 1, numQueries, state.range(2) != 0));
    DeviceMemory<long> bins(numQueries);
    for (auto _ : state) {
        IndexSearch::Invoker<T>()(nullptr, bins.data(), 0, grid.data(), queries.data(), n, numQueries);
        bench::finish();
    }
    count(state, numQueries);
}

template <class T>
void Columns(benchmark::State& state) {
    unsigned long const n = 1000, columns = 256, numRows = 8192;
    DeviceMemory<T> grid(gridOf<T>(n, false)), values(queriesIn<T>(0, 1, n * columns, false)),
        out(numRows * columns), queries(queriesIn<T>(0, 1, numRows, true));
    DeviceMemory<long> bins(numRows);
    for (auto _ : state) {
        IndexSearch::Invoker<T>()(nullptr, bins.data(), 0, grid.data(), queries.data(), n, numRows);
        Interp1dNdValFull::Invoker<T, T>()(nullptr, out.data(), grid.data(), values.data(), queries.data(),
                                           bins.data(), numRows, n, n * columns, linear, outside, T(0));
        bench::finish();
    }
    count(state, numRows * columns);
}

/// In two or three dimensions, on uneven grids or on those of colons.
template <class T, unsigned int numDims>
void Points(benchmark::State& state) {
    unsigned long const n = numDims == 2 ? 1024 : 128, sizes[] = {n, n, n};
    bool const isColon = state.range(0) != 0;
    DeviceMemory<T> values(queriesIn<T>(0, 1, numDims == 2 ? n * n : n * n * n, false)), out(numQueries),
        grid(gridOf<T>(n, false));
    double const low = isColon ? 1 : 0, high = isColon ? static_cast<double>(n) : 1;
    DeviceMemory<T> x(queriesIn<T>(low, high, numQueries, false, 1)),
        y(queriesIn<T>(low, high, numQueries, false, 2)), z(queriesIn<T>(low, high, numQueries, false, 3));
    T const *queries[] = {x.data(), y.data(), z.data()}, *grids[] = {grid.data(), grid.data(), grid.data()};
    for (auto _ : state) {
        if (isColon) {
            Interpnd_NonCompactQuery_ColonGrid::Invoker<T, T>()(nullptr, out.data(), values.data(), queries,
                                                                sizes, numDims, numQueries, T(0), linear,
                                                                outside, numDims);
        } else {
            Interpnd_NonCompactQuery::Invoker<T, T>()(nullptr, out.data(), grids, values.data(), queries,
                                                      sizes, numDims, numQueries, T(0), linear, outside,
                                                      numDims);
        }
        bench::finish();
    }
    count(state, numQueries);
}

/// A matrix made twice as large in each direction, from the search on.
template <class T>
void Enlarged(benchmark::State& state) {
    unsigned long const n = 1024, m = 2 * n, gridSizes[] = {n, n}, querySizes[] = {m, m};
    auto const method = static_cast<InterpType>(state.range(0));
    std::vector<T> at(m);
    for (unsigned long i = 0; i < m; ++i) {
        at[i] = static_cast<T>(1 + static_cast<double>(i) * static_cast<double>(n - 1) /
                                       static_cast<double>(m - 1));
    }
    DeviceMemory<T> values(queriesIn<T>(0, 1, n * n, false)), out(m * m), queries(at);
    DeviceMemory<long> bins(2 * m);
    for (auto _ : state) {
        for (unsigned long const offset : {0ul, m}) {
            IndexSearch_ColonGrid::Invoker<T>()(nullptr, bins.data(), offset, queries.data(), n, m);
        }
        Interp2d_CompactQuery_ColonGrid::Invoker<T, T>()(nullptr, out.data(), values.data(), queries.data(),
                                                         queries.data(), bins.data(), querySizes, 2,
                                                         gridSizes, 2, T(0), method, outside);
        bench::finish();
    }
    count(state, m * m);
}

/// What searches are measured by: as many bytes as their queries and their bins.
void Copy(benchmark::State& state) {
    DeviceMemory<double> from(numQueries), to(numQueries);
    for (auto _ : state) {
        bench::check(
            cudaMemcpy(to.data(), from.data(), numQueries * sizeof(double), cudaMemcpyDeviceToDevice));
        bench::finish();
    }
    count(state, numQueries);
}

/// What a matrix made larger is measured by: as many bytes as it has, and a quarter of them copied.
void Write(benchmark::State& state) {
    unsigned long const n = 1ul << 20;
    DeviceMemory<double> values(n), to(4 * n);
    for (auto _ : state) {
        bench::check(cudaMemcpy(to.data(), values.data(), n * sizeof(double), cudaMemcpyDeviceToDevice));
        bench::check(cudaMemset(to.data() + n, 0, 3 * n * sizeof(double)));
        bench::finish();
    }
    count(state, 4 * n);
}

void onGrids(benchmark::internal::Benchmark* benchmark) {
    for (long const n : {1000, 1000000}) {
        for (long const even : {0, 1}) {
            for (long const sorted : {0, 1}) benchmark->Args({n, even, sorted});
        }
    }
    benchmark->UseRealTime();
}

BENCHMARK(Vector<double>)->Apply(onGrids);
BENCHMARK(Vector<float>)->Args({1000, 0, 1})->UseRealTime();
BENCHMARK(Search<double>)->Apply(onGrids);
BENCHMARK(Columns<double>)->UseRealTime();
BENCHMARK(Points<double, 2>)->Arg(0)->Arg(1)->UseRealTime();
BENCHMARK(Points<float, 2>)->Arg(1)->UseRealTime();
BENCHMARK(Points<double, 3>)->Arg(0)->Arg(1)->UseRealTime();
BENCHMARK(Copy)->UseRealTime();
BENCHMARK(Write)->UseRealTime();
BENCHMARK(Enlarged<double>)->Arg(0)->Arg(2)->UseRealTime();
BENCHMARK(Enlarged<float>)->Arg(0)->Arg(2)->UseRealTime();

}  // namespace
}  // namespace gpuruntime

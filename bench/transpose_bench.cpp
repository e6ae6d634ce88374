// Transposition and permutation: bytes read and written per second. `Copy` is the roof.

#include <benchmark/benchmark.h>
#include <gpuruntime/permute.hpp>
#include <gpuruntime/transpose.hpp>

#include <cstring>
#include <thread>
#include <vector>

#include "bench/support.hpp"

namespace gpuruntime {
namespace {

using bench::DeviceMemory;
using Extents = std::vector<unsigned long>;

constexpr unsigned long largeBytes = 256ul << 20;

template <class T, class Call>
void move(benchmark::State& state, unsigned long n, Call call) {
    DeviceMemory<T> in(n), out(n);
    for (auto _ : state) {
        call(out.data(), in.data());
        bench::finish();
    }
    state.SetBytesProcessed(static_cast<long>(2 * state.iterations() * n * sizeof(T)));
}

// On the host device all cores, each over its own part.
void Copy(benchmark::State& state) {
    constexpr unsigned long n = largeBytes;
    move<unsigned char>(state, n, [](unsigned char* out, unsigned char const* in) {
        unsigned long const parts = std::thread::hardware_concurrency();
        std::vector<std::thread> threads;
        for (unsigned long p = 0; p < parts; ++p) {
            threads.emplace_back([=] { std::memcpy(out + n / parts * p, in + n / parts * p, n / parts); });
        }
        for (std::thread& thread : threads) thread.join();
    });
}

// Arguments: rows, columns.
template <class T>
void TransposeOf(benchmark::State& state) {
    auto const rows = static_cast<unsigned long>(state.range(0)),
               cols = static_cast<unsigned long>(state.range(1));
    move<T>(state, rows * cols,
            [=](T* out, T const* in) { typename Transpose::Invoker<T>()(nullptr, out, in, rows, cols); });
}

template <class T>
void CTransposeOf(benchmark::State& state) {
    auto const rows = static_cast<unsigned long>(state.range(0)),
               cols = static_cast<unsigned long>(state.range(1));
    move<T>(state, rows * cols,
            [=](T* out, T const* in) { typename CTranspose::Invoker<T>()(nullptr, out, in, rows, cols); });
}

template <class T>
void TransposeInPlaceOf(benchmark::State& state) {
    auto const edge = static_cast<unsigned long>(state.range(0));
    DeviceMemory<T> data(edge * edge);
    for (auto _ : state) {
        typename Transpose::Invoker<T>()(nullptr, data.data(), data.data(), edge, edge);
        bench::finish();
    }
    state.SetBytesProcessed(static_cast<long>(2 * state.iterations() * edge * edge * sizeof(T)));
}

template <class T>
void permute(benchmark::State& state, Extents const& inSizes, Extents const& order) {
    unsigned long n = 1;
    for (unsigned long extent : inSizes) n *= extent;
    Extents outSizes;
    for (unsigned long dimension : order) outSizes.push_back(inSizes[dimension - 1]);
    move<T>(state, n, [&](T* out, T const* in) {
        typename Permute::Invoker<T>()(nullptr, out, outSizes.size(), outSizes.data(), in, inSizes.size(),
                                       inSizes.data(), order.size(), order.data());
    });
}

void matrices(benchmark::internal::Benchmark* bench) {
    bench->Args({5000, 5000})->Args({4096, 4096})->Args({100, 250000})->Args({250000, 100})->UseRealTime();
}

BENCHMARK(Copy)->UseRealTime();
BENCHMARK(TransposeOf<unsigned char>)->Apply(matrices);
BENCHMARK(TransposeOf<short>)->Apply(matrices);
BENCHMARK(TransposeOf<float>)->Apply(matrices);
BENCHMARK(TransposeOf<double>)->Apply(matrices);
BENCHMARK(TransposeOf<double2>)->Apply(matrices);
BENCHMARK(CTransposeOf<float2>)->Args({5000, 5000})->UseRealTime();
BENCHMARK(CTransposeOf<double2>)->Args({5000, 5000})->UseRealTime();
BENCHMARK(TransposeInPlaceOf<float>)->Arg(5000)->UseRealTime();
BENCHMARK(TransposeInPlaceOf<double>)->Arg(5000)->UseRealTime();

// Named by type, order and extents.
template <class T>
void registerPermute(char const* name, Extents const& inSizes, Extents const& order) {
    benchmark::RegisterBenchmark(name, [=](benchmark::State& state) {
        permute<T>(state, inSizes, order);
    })->UseRealTime();
}

[[maybe_unused]] bool const permutesRegistered = [] {
    registerPermute<double>("PermuteOf<double>/123/300x300x300", {300, 300, 300}, {1, 2, 3});
    registerPermute<double>("PermuteOf<double>/132/300x300x300", {300, 300, 300}, {1, 3, 2});
    registerPermute<double>("PermuteOf<double>/213/300x300x300", {300, 300, 300}, {2, 1, 3});
    registerPermute<double>("PermuteOf<double>/231/300x300x300", {300, 300, 300}, {2, 3, 1});
    registerPermute<double>("PermuteOf<double>/312/300x300x300", {300, 300, 300}, {3, 1, 2});
    registerPermute<double>("PermuteOf<double>/321/300x300x300", {300, 300, 300}, {3, 2, 1});
    registerPermute<float>("PermuteOf<float>/321/300x300x300", {300, 300, 300}, {3, 2, 1});
    registerPermute<double>("PermuteOf<double>/132/3x3000x3000", {3, 3000, 3000}, {1, 3, 2});
    registerPermute<double>("PermuteOf<double>/321/3x3000x3000", {3, 3000, 3000}, {3, 2, 1});
    registerPermute<float>("PermuteOf<float>/4213/64x64x64x64", {64, 64, 64, 64}, {4, 2, 1, 3});
    return true;
}();

}  // namespace
}  // namespace gpuruntime

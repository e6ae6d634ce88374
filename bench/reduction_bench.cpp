// Reductions and scans: bytes read, and for scans also written, per second. `Read` and `Copy` are the roofs.

#include <benchmark/benchmark.h>
#include <gpuruntime/accumulation.hpp>
#include <gpuruntime/reductions.hpp>

#include <cstring>
#include <random>
#include <thread>
#include <type_traits>
#include <vector>

#include "bench/support.hpp"

namespace gpuruntime {
namespace {

using bench::DeviceMemory;

constexpr unsigned long largeBytes = 256ul << 20;

/// Runs `f(part, parts)` on all cores.
template <class F>
void onAllCores(F f) {
    unsigned long const parts = std::thread::hardware_concurrency();
    std::vector<std::thread> threads;
    for (unsigned long part = 0; part < parts; ++part) threads.emplace_back([=] { f(part, parts); });
    for (std::thread& thread : threads) thread.join();
}

// A host loop that only reads, whatever the device.
void Read(benchmark::State& state) {
    constexpr unsigned long n = largeBytes / sizeof(unsigned long);
    std::vector<unsigned long> const in(n, 1);
    for (auto _ : state) {
        onAllCores([&](unsigned long part, unsigned long parts) {
            unsigned long bits = 0;
            for (unsigned long i = n / parts * part; i < n / parts * (part + 1); ++i) bits |= in[i];
            benchmark::DoNotOptimize(bits);
        });
    }
    state.SetBytesProcessed(static_cast<long>(state.iterations() * largeBytes));
}

void Copy(benchmark::State& state) {
    std::vector<char> const in(largeBytes, 1);
    std::vector<char> out(largeBytes, 2);
    for (auto _ : state) {
        onAllCores([&](unsigned long part, unsigned long parts) {
            std::memcpy(out.data() + largeBytes / parts * part, in.data() + largeBytes / parts * part,
                        largeBytes / parts);
        });
    }
    state.SetBytesProcessed(static_cast<long>(2 * state.iterations() * largeBytes));
}

/// Small random values, so that few sums saturate.
template <class T>
std::vector<T> values(unsigned long n) {
    std::mt19937_64 engine(1);
    std::vector<T> result(n);
    for (T& value : result) {
        unsigned long const bits = engine();
        if constexpr (std::is_arithmetic_v<T>) {
            value = static_cast<T>(bits % 3);
            if constexpr (std::is_floating_point_v<T>)
                value = static_cast<T>(bits >> 11) * static_cast<T>(0x1p-53);
        } else {
            using P = decltype(value.x);
            value.x = static_cast<P>(static_cast<double>(bits >> 32) * 0x1p-32);
            value.y = static_cast<P>(static_cast<double>(bits & 0xffffffff) * 0x1p-32);
        }
    }
    return result;
}

struct Extents {
    unsigned long numElements, reductionLength, stride;

    /// Arguments: the stride, the reduced length, the rest.
    explicit Extents(benchmark::State const& state)
        : numElements(static_cast<unsigned long>(state.range(0) * state.range(1) * state.range(2))),
          reductionLength(static_cast<unsigned long>(state.range(1))),
          stride(static_cast<unsigned long>(state.range(0))) {}

    unsigned long numResults() const { return numElements / reductionLength; }
};

template <class Family, class T, class TOut = T>
void Reduce(benchmark::State& state) {
    Extents const at(state);
    DeviceMemory<T> in(values<T>(at.numElements));
    DeviceMemory<TOut> out(at.numResults());
    for (auto _ : state) {
        bench::check(typename Family::template Invoker<T>()(nullptr, out.data(), in.data(), at.numElements,
                                                            at.reductionLength, at.stride,
                                                            state.range(3) != 0));
        bench::finish();
    }
    state.SetBytesProcessed(static_cast<long>(state.iterations() * at.numElements * sizeof(T)));
}

template <class Family, class T, class TOut>
void ReduceContiguous(benchmark::State& state) {
    Extents const at(state);
    DeviceMemory<T> in(values<T>(at.numElements));
    DeviceMemory<TOut> out(at.numResults());
    for (auto _ : state) {
        bench::check(typename Family::template Invoker<T>()(nullptr, out.data(), in.data(), at.numElements,
                                                            at.reductionLength));
        bench::finish();
    }
    state.SetBytesProcessed(static_cast<long>(state.iterations() * at.numElements * sizeof(T)));
}

template <class Family, class T>
void ReduceWithIndex(benchmark::State& state) {
    Extents const at(state);
    DeviceMemory<T> in(values<T>(at.numElements)), out(at.numResults());
    DeviceMemory<double> outIndex(at.numResults());
    for (auto _ : state) {
        bench::check(typename Family::template Invoker<T>()(nullptr, out.data(), outIndex.data(), in.data(),
                                                            at.numElements, at.reductionLength, 1, at.stride,
                                                            state.range(3) != 0));
        bench::finish();
    }
    state.SetBytesProcessed(static_cast<long>(state.iterations() * at.numElements * sizeof(T)));
}

/// In place: the values grow from run to run, which costs integers and floating values nothing.
template <class Family, class T>
void Scan(benchmark::State& state) {
    Extents const at(state);
    DeviceMemory<T> data(at.numElements), totals(at.numResults());
    for (auto _ : state) {
        bench::check(typename Family::template Invoker<T>()(nullptr, totals.data(), data.data(),
                                                            at.numElements, at.reductionLength, at.stride));
        bench::finish();
    }
    state.SetBytesProcessed(static_cast<long>(2 * state.iterations() * at.numElements * sizeof(T)));
}

constexpr long n = 32 << 20;

/// One vector, 64 columns, rows, short segments, and short rows; then rows and columns of a small array.
void shapes(benchmark::internal::Benchmark* benchmark, long includeNaN) {
    benchmark->ArgNames({"stride", "length", "outer", "nan"})->Unit(benchmark::kMicrosecond)->UseRealTime();
    benchmark->Args({1, n / 4, 1, includeNaN});
    benchmark->Args({1, n / 4 / 64, 64, includeNaN});
    benchmark->Args({n / 4 / 64, 64, 1, includeNaN});
}

void Kept(benchmark::internal::Benchmark* benchmark) { shapes(benchmark, 1); }
void Omitted(benchmark::internal::Benchmark* benchmark) { shapes(benchmark, 0); }

/// Where the work of a segment is small beside what surrounds it.
void Short(benchmark::internal::Benchmark* benchmark) {
    benchmark->ArgNames({"stride", "length", "outer", "nan"})->Unit(benchmark::kMicrosecond)->UseRealTime();
    for (long length : {1, 3, 16, 100, 150}) benchmark->Args({1, length, n / 4 / length, 1});
    for (long stride : {3, 100}) benchmark->Args({stride, 1000, n / 4 / 1000 / stride, 1});
    benchmark->Args({1, 1000, 1, 1});
}

BENCHMARK(Read)->UseRealTime();
BENCHMARK(Copy)->UseRealTime();

BENCHMARK_TEMPLATE(Reduce, SumNative, signed char)->Apply(Kept);
BENCHMARK_TEMPLATE(Reduce, SumNative, unsigned char)->Apply(Kept);
BENCHMARK_TEMPLATE(Reduce, SumNative, short)->Apply(Kept);
BENCHMARK_TEMPLATE(Reduce, SumNative, int)->Apply(Kept);
BENCHMARK_TEMPLATE(Reduce, SumNative, unsigned int)->Apply(Kept);
BENCHMARK_TEMPLATE(Reduce, SumNative, long)->Apply(Kept);
BENCHMARK_TEMPLATE(Reduce, SumNative, unsigned long)->Apply(Kept);
BENCHMARK_TEMPLATE(Reduce, SumNative, float)->Apply(Kept);
BENCHMARK_TEMPLATE(Reduce, SumNative, double)->Apply(Kept)->Apply(Omitted)->Apply(Short);
BENCHMARK_TEMPLATE(Reduce, SumNative, float2)->Apply(Kept);
BENCHMARK_TEMPLATE(Reduce, SumNative, double2)->Apply(Kept)->Apply(Omitted);
BENCHMARK_TEMPLATE(Reduce, SumAsDouble, signed char, double)->Apply(Kept);
BENCHMARK_TEMPLATE(Reduce, SumAsDouble, int, double)->Apply(Kept);
BENCHMARK_TEMPLATE(Reduce, SumAsDouble, float, double)->Apply(Kept);
BENCHMARK_TEMPLATE(Reduce, ProdNative, int)->Apply(Kept);
BENCHMARK_TEMPLATE(Reduce, ProdNative, long)->Apply(Kept);
BENCHMARK_TEMPLATE(Reduce, ProdNative, double)->Apply(Kept);
BENCHMARK_TEMPLATE(Reduce, ProdNative, double2)->Apply(Kept);
BENCHMARK_TEMPLATE(Reduce, All, double, bool)->Apply(Kept);
BENCHMARK_TEMPLATE(Reduce, Any, double, bool)->Apply(Kept);
BENCHMARK_TEMPLATE(ReduceContiguous, CountNonZero, double, double)->Args({1, n / 256, 64})->UseRealTime();
BENCHMARK_TEMPLATE(ReduceContiguous, HasNaN, double, bool)->Args({1, n / 256, 64})->UseRealTime();
BENCHMARK_TEMPLATE(Reduce, Max, signed char)->Apply(Kept);
BENCHMARK_TEMPLATE(Reduce, Max, int)->Apply(Kept);
BENCHMARK_TEMPLATE(Reduce, Max, long)->Apply(Kept);
BENCHMARK_TEMPLATE(Reduce, Max, float)->Apply(Kept)->Apply(Omitted);
BENCHMARK_TEMPLATE(Reduce, Max, double)->Apply(Kept)->Apply(Omitted);
BENCHMARK_TEMPLATE(Reduce, Max, double2)->Apply(Kept)->Apply(Omitted);
BENCHMARK_TEMPLATE(ReduceWithIndex, MaxWithIndex, int)->Apply(Kept);
BENCHMARK_TEMPLATE(ReduceWithIndex, MaxWithIndex, float)->Apply(Kept);
BENCHMARK_TEMPLATE(ReduceWithIndex, MaxWithIndex, double)->Apply(Kept)->Apply(Omitted)->Apply(Short);
BENCHMARK_TEMPLATE(ReduceWithIndex, MaxWithIndex, double2)->Apply(Kept);

BENCHMARK_TEMPLATE(Scan, CumSum, signed char)->Apply(Kept);
BENCHMARK_TEMPLATE(Scan, CumSum, int)->Apply(Kept);
BENCHMARK_TEMPLATE(Scan, CumSum, long)->Apply(Kept);
BENCHMARK_TEMPLATE(Scan, CumSum, float)->Apply(Kept);
BENCHMARK_TEMPLATE(Scan, CumSum, double)->Apply(Kept)->Apply(Short);
BENCHMARK_TEMPLATE(Scan, CumSum, double2)->Apply(Kept);
BENCHMARK_TEMPLATE(Scan, CumProd, double)->Apply(Kept);
BENCHMARK_TEMPLATE(Scan, CumProd, double2)->Apply(Kept);
BENCHMARK_TEMPLATE(Scan, CumMax, double)->Apply(Kept);
BENCHMARK_TEMPLATE(Scan, CumMax, double2)->Apply(Kept);

}  // namespace
}  // namespace gpuruntime

// Reductions and scans: bytes read, and for scans also written, per second. `Read` and `Copy` are the roofs.

#include <benchmark/benchmark.h>
#include <gpuruntime/accumulation.hpp>
#include <gpuruntime/reductions.hpp>

#include <cstring>
#include <random>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "bench/support.hpp"

namespace gpuruntime {
namespace {

using bench::DeviceMemory;

constexpr unsigned long largeBytes = 256ul << 20;

// A host loop that only reads, whatever the device.
void Read(benchmark::State& state) {
    constexpr unsigned long n = largeBytes / sizeof(unsigned long);
    std::vector<unsigned long> const in(n, 1);
    for (auto _ : state) {
        bench::onAllCores([&](unsigned long part, unsigned long parts) {
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
        bench::onAllCores([&](unsigned long part, unsigned long parts) {
            std::memcpy(out.data() + largeBytes / parts * part, in.data() + largeBytes / parts * part,
                        largeBytes / parts);
        });
    }
    state.SetBytesProcessed(static_cast<long>(2 * state.iterations() * largeBytes));
}

/// Small random integers, so that few sums saturate; floating values of magnitudes near 1, so that products
/// stay in range, and of any angle in the right half plane.
template <class T>
std::vector<T> values(unsigned long n) {
    std::mt19937_64 engine(1);
    std::vector<T> result(n);
    for (T& value : result) {
        unsigned long const bits = engine();
        double const u = static_cast<double>(bits & 0xffffffff) * 0x1p-31 - 1, magnitude = 1 + u / 1024;
        if constexpr (std::is_integral_v<T>) {
            value = static_cast<T>(bits % 3);
        } else if constexpr (std::is_floating_point_v<T>) {
            value = static_cast<T>(magnitude);
        } else {
            using P = decltype(value.x);
            double const t = static_cast<double>(bits >> 32) * 0x1p-31 - 1;  // the tangent of half the angle
            value.x = static_cast<P>(magnitude * (1 - t * t) / (1 + t * t));
            value.y = static_cast<P>(magnitude * 2 * t / (1 + t * t));
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

/// In place, over zeros, which stay what they are in every family. Complex values, on which the work depends,
/// begin each run anew, outside of the timing: their running products would leave the range.
template <class Family, class T>
void Scan(benchmark::State& state) {
    constexpr bool beginsAnew = !std::is_arithmetic_v<T>;
    Extents const at(state);
    DeviceMemory<T> start(values<T>(beginsAnew ? at.numElements : 1));
    DeviceMemory<T> data(at.numElements), totals(at.numResults());
    for (auto _ : state) {
        if (beginsAnew) {
            state.PauseTiming();
            bench::check(
                cudaMemcpy(data.data(), start.data(), at.numElements * sizeof(T), cudaMemcpyDeviceToDevice));
            bench::finish();
            state.ResumeTiming();
        }
        bench::check(typename Family::template Invoker<T>()(nullptr, totals.data(), data.data(),
                                                            at.numElements, at.reductionLength, at.stride));
        bench::finish();
    }
    state.SetBytesProcessed(static_cast<long>(2 * state.iterations() * at.numElements * sizeof(T)));
}

constexpr long n = 32 << 20;

using Benchmark = benchmark::internal::Benchmark;

void setUp(Benchmark* benchmark) {
    benchmark->ArgNames({"stride", "length", "outer", "nan"})->Unit(benchmark::kMicrosecond)->UseRealTime();
}

/// 64 columns.
void Columns(Benchmark* benchmark) {
    setUp(benchmark);
    benchmark->Args({1, n / 4 / 64, 64, 1});
}

/// One vector, 64 columns, rows.
void shapes(Benchmark* benchmark, long includeNaN) {
    setUp(benchmark);
    benchmark->Args({1, n / 4, 1, includeNaN});
    benchmark->Args({1, n / 4 / 64, 64, includeNaN});
    benchmark->Args({n / 4 / 64, 64, 1, includeNaN});
}

void Kept(Benchmark* benchmark) { shapes(benchmark, 1); }
void Omitted(Benchmark* benchmark) { shapes(benchmark, 0); }

/// Where the work of a segment is small beside what surrounds it.
void Short(Benchmark* benchmark) {
    setUp(benchmark);
    for (long length : {1, 3, 16, 100, 150}) benchmark->Args({1, length, n / 4 / length, 1});
    for (long stride : {3, 100}) benchmark->Args({stride, 1000, n / 4 / 1000 / stride, 1});
    benchmark->Args({1, 1000, 1, 1});
}

/// Registers what every type is measured with, named as BENCHMARK_TEMPLATE would.
template <class T>
void addType(std::string const& type) {
    auto const add = [&](char const* name, void (*function)(benchmark::State&),
                         void (*arguments)(Benchmark*)) {
        benchmark::RegisterBenchmark((name + (", " + type) + ">").c_str(), function)->Apply(arguments);
    };
    add("Reduce<SumNative", Reduce<SumNative, T>, Kept);
    add("Reduce<ProdNative", Reduce<ProdNative, T>, Kept);
    add("Reduce<Max", Reduce<Max, T>, Kept);
    add("Reduce<Min", Reduce<Min, T>, Columns);
    add("ReduceWithIndex<MaxWithIndex", ReduceWithIndex<MaxWithIndex, T>, Kept);
    add("ReduceWithIndex<MinWithIndex", ReduceWithIndex<MinWithIndex, T>, Columns);
    add("Scan<CumSum", Scan<CumSum, T>, Kept);
    add("Scan<CumProd", Scan<CumProd, T>, Kept);
    add("Scan<CumMax", Scan<CumMax, T>, Kept);
    add("Scan<CumMin", Scan<CumMin, T>, Columns);
}

BENCHMARK(Read)->UseRealTime();
BENCHMARK(Copy)->UseRealTime();

bool const typesAdded = [] {
    addType<signed char>("signed char");
    addType<unsigned char>("unsigned char");
    addType<short>("short");
    addType<int>("int");
    addType<unsigned int>("unsigned int");
    addType<long>("long");
    addType<unsigned long>("unsigned long");
    addType<float>("float");
    addType<double>("double");
    addType<float2>("float2");
    addType<double2>("double2");
    return true;
}();

BENCHMARK_TEMPLATE(Reduce, SumNative, double)->Apply(Omitted)->Apply(Short);
BENCHMARK_TEMPLATE(Reduce, SumNative, double2)->Apply(Omitted);
BENCHMARK_TEMPLATE(Reduce, SumAsDouble, signed char, double)->Apply(Kept);
BENCHMARK_TEMPLATE(Reduce, SumAsDouble, int, double)->Apply(Kept);
BENCHMARK_TEMPLATE(Reduce, SumAsDouble, float, double)->Apply(Kept);
BENCHMARK_TEMPLATE(Reduce, ProdAsDouble, int, double)->Apply(Columns);
BENCHMARK_TEMPLATE(Reduce, All, double, bool)->Apply(Kept);
BENCHMARK_TEMPLATE(Reduce, Any, double, bool)->Apply(Kept);
BENCHMARK_TEMPLATE(ReduceContiguous, CountNonZero, double, double)->Args({1, n / 256, 64})->UseRealTime();
BENCHMARK_TEMPLATE(ReduceContiguous, HasNaN, double, bool)->Args({1, n / 256, 64})->UseRealTime();
BENCHMARK_TEMPLATE(Reduce, Max, float)->Apply(Omitted);
BENCHMARK_TEMPLATE(Reduce, Max, double)->Apply(Omitted);
BENCHMARK_TEMPLATE(Reduce, Max, double2)->Apply(Omitted);
BENCHMARK_TEMPLATE(ReduceWithIndex, MaxWithIndex, double)->Apply(Omitted)->Apply(Short);
BENCHMARK_TEMPLATE(Scan, CumSum, double)->Apply(Short);

}  // namespace
}  // namespace gpuruntime

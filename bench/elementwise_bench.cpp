// Ranges and fills: bytes written per second. `Memset` is the roof, `SmallColon` the cost of a call.

#include <benchmark/benchmark.h>
#include <gpuruntime/fills.hpp>
#include <gpuruntime/ranges.hpp>

#include <cstring>
#include <thread>
#include <vector>

#include "bench/support.hpp"

namespace gpuruntime {
namespace {

using bench::DeviceMemory;

constexpr unsigned long large = 32ul << 20;

template <class T, class Call>
void fill(benchmark::State& state, unsigned long n, Call call) {
    DeviceMemory<T> out(n);
    for (auto _ : state) {
        call(n, out.data());
        bench::finish();
    }
    state.SetBytesProcessed(static_cast<long>(state.iterations() * n * sizeof(T)));
}

// All cores, each over its own part.
void Memset(benchmark::State& state) {
    fill<double>(state, large, [](unsigned long n, double* out) {
        unsigned long const parts = std::thread::hardware_concurrency();
        std::vector<std::thread> threads;
        for (unsigned long p = 0; p < parts; ++p) {
            threads.emplace_back([=] { std::memset(out + n / parts * p, 1, n / parts * sizeof(double)); });
        }
        for (std::thread& thread : threads) thread.join();
    });
}

template <class T>
void ColonOf(benchmark::State& state) {
    fill<T>(state, large,
            [](unsigned long n, T* out) { Colon::Invoker<T>()(nullptr, n, out, 0, 1, double(n - 1)); });
}

template <class T>
void IntColonOf(benchmark::State& state) {
    fill<T>(state, large, [](unsigned long n, T* out) { IntColon::Invoker<T>()(nullptr, n, out, 1, 1); });
}

template <class T>
void LinspaceOf(benchmark::State& state) {
    fill<T>(state, large,
            [](unsigned long n, T* out) { Linspace::Invoker<T>()(nullptr, n, out, T(0), T(1)); });
}

void LogspaceOfDouble(benchmark::State& state) {
    fill<double>(state, large / 8,
                 [](unsigned long n, double* out) { Logspace::Invoker<double>()(nullptr, n, out, 0, 1); });
}

void GenericOnesOf8Bytes(benchmark::State& state) {
    fill<unsigned long>(state, large, [](unsigned long n, unsigned long* out) {
        GenericOnes::Invoker<unsigned long>()(nullptr, n, out, 42);
    });
}

void GenericOnesOf16Bytes(benchmark::State& state) {
    fill<ulonglong2>(state, large / 2, [](unsigned long n, ulonglong2* out) {
        GenericOnes::Invoker<ulonglong2>()(nullptr, n, out, ulonglong2{1, 2});
    });
}

template <class T>
void RunningIndexOf(benchmark::State& state) {
    fill<T>(state, large, [](unsigned long n, T* out) {
        FillArrayWithRunningIndex::Invoker<T>()(nullptr, n, out, 1000, 77, T(1));
    });
}

void SmallColon(benchmark::State& state) {
    fill<double>(state, 1000,
                 [](unsigned long n, double* out) { Colon::Invoker<double>()(nullptr, n, out, 0, 1, 999); });
}

BENCHMARK(Memset)->UseRealTime();
BENCHMARK(ColonOf<double>)->UseRealTime();
BENCHMARK(ColonOf<float>)->UseRealTime();
BENCHMARK(ColonOf<int>)->UseRealTime();
BENCHMARK(ColonOf<long>)->UseRealTime();
BENCHMARK(ColonOf<unsigned char>)->UseRealTime();
BENCHMARK(IntColonOf<double>)->UseRealTime();
BENCHMARK(LinspaceOf<double>)->UseRealTime();
BENCHMARK(LinspaceOf<float>)->UseRealTime();
BENCHMARK(LogspaceOfDouble)->UseRealTime();
BENCHMARK(GenericOnesOf8Bytes)->UseRealTime();
BENCHMARK(GenericOnesOf16Bytes)->UseRealTime();
BENCHMARK(RunningIndexOf<int>)->UseRealTime();
BENCHMARK(RunningIndexOf<double>)->UseRealTime();
BENCHMARK(SmallColon)->UseRealTime();

}  // namespace
}  // namespace gpuruntime

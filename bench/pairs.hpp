#pragma once

#include <benchmark/benchmark.h>

#include <string>
#include <thread>
#include <vector>

#include "bench/support.hpp"
#include "frame/type_lists.hpp"

/// Benchmarks over pairs of element types, by the types' names, and the loops that they are compared with.
namespace gpuruntime::bench {

template <class T>
inline constexpr char const* typeName = nullptr;
#define KVGPU_TYPE_NAME(type) \
    template <>               \
    inline constexpr char const* typeName<type> = #type
KVGPU_TYPE_NAME(bool);
KVGPU_TYPE_NAME(signed char);
KVGPU_TYPE_NAME(unsigned char);
KVGPU_TYPE_NAME(short);
KVGPU_TYPE_NAME(unsigned short);
KVGPU_TYPE_NAME(int);
KVGPU_TYPE_NAME(unsigned int);
KVGPU_TYPE_NAME(long);
KVGPU_TYPE_NAME(unsigned long);
KVGPU_TYPE_NAME(float);
KVGPU_TYPE_NAME(double);
KVGPU_TYPE_NAME(char2);
KVGPU_TYPE_NAME(uchar2);
KVGPU_TYPE_NAME(short2);
KVGPU_TYPE_NAME(ushort2);
KVGPU_TYPE_NAME(int2);
KVGPU_TYPE_NAME(uint2);
KVGPU_TYPE_NAME(long2);
KVGPU_TYPE_NAME(ulong2);
KVGPU_TYPE_NAME(float2);
KVGPU_TYPE_NAME(double2);
#undef KVGPU_TYPE_NAME

/// "family<T, ...>".
template <class... T>
std::string nameOf(std::string family) {
    char const* separator = "<";
    ((family += std::string(separator) + typeName<T>, separator = ", "), ...);
    return family + ">";
}

/// Calls `f` with a value of each type of a list.
template <class... T, class F>
void forEachType(internal::TypeList<T...>, F f) {
    (f(T{}), ...);
}

template <class Function>
void add(std::string const& name, Function function) {
    benchmark::RegisterBenchmark(name.c_str(), function)->UseRealTime();
}

/// The largest array of a call has this many bytes.
inline constexpr unsigned long largeBytes = 64ul << 20;

/// Times `call()`, which reads and writes so many bytes.
template <class Call>
void measure(benchmark::State& state, unsigned long numBytes, Call call) {
    for (auto _ : state) {
        call();
        finish();
    }
    state.SetBytesProcessed(static_cast<long>(state.iterations() * numBytes));
}

/// Calls `f(first, last)` for a part of `n` elements on each core.
template <class F>
void onAllCores(unsigned long n, F f) {
    unsigned long const parts = std::thread::hardware_concurrency();
    std::vector<std::thread> threads;
    for (unsigned long p = 0; p < parts; ++p) threads.emplace_back(f, n / parts * p, n / parts * (p + 1));
    for (std::thread& thread : threads) thread.join();
}

/// A plain loop that reads and writes.
inline void copy(benchmark::State& state) {
    unsigned long const n = largeBytes / sizeof(double);
    DeviceMemory<double> in(n), out(n);
    measure(state, 2 * largeBytes, [&, from = in.data(), to = out.data()] {
        onAllCores(n, [=](unsigned long first, unsigned long last) {
            for (unsigned long i = first; i < last; ++i) to[i] = from[i];
        });
    });
}

/// A plain loop that reads.
inline void read(benchmark::State& state) {
    unsigned long const n = largeBytes / sizeof(unsigned long);
    DeviceMemory<unsigned long> in(n);
    measure(state, largeBytes, [&, from = in.data()] {
        onAllCores(n, [=](unsigned long first, unsigned long last) {
            unsigned long sum = 0;
            for (unsigned long i = first; i < last; ++i) sum += from[i];
            benchmark::DoNotOptimize(sum);
        });
    });
}

}  // namespace gpuruntime::bench

// Random numbers: bytes written per second, for each generator and distribution.

#include <benchmark/benchmark.h>
#include <gpuruntime/random.hpp>

#include <vector>

#include "bench/support.hpp"

namespace gpuruntime {
namespace {

using bench::DeviceMemory;
using Mrg32k3a = gpucommon::rand::MRG32K3AGenerator;
using Philox = gpucommon::rand::Philox4x32Generator;
using ThreeFry = gpucommon::rand::ThreeFry4x64Generator;

constexpr unsigned long large = 16ul << 20;

/// Words that are a state of any generator: small ones, so below the moduli, and sub-position 0.
std::vector<unsigned int> anyState() { return {1, 2, 3, 4, 5, 6, 0, 8, 9, 10, 11, 12, 13, 14, 15, 16, 0}; }

template <class T, class Call>
void fill(benchmark::State& state, Call call) {
    DeviceMemory<T> out(large);
    std::vector<unsigned int> words = anyState();
    for (auto _ : state) {
        bench::check(call(out.data(), words.data()));
        bench::finish();
    }
    state.SetBytesProcessed(static_cast<long>(state.iterations() * large * sizeof(T)));
    state.SetItemsProcessed(static_cast<long>(state.iterations() * large));
}

template <class G, class T>
void Uniform(benchmark::State& state) {
    fill<T>(state, [](T* out, unsigned int* words) {
        return typename Rand<G>::template Invoker<T>()(nullptr, out, words, large);
    });
}

template <class G, class T>
void Integers(benchmark::State& state) {
    fill<T>(state, [](T* out, unsigned int* words) {
        return typename RandI<G>::template Invoker<T>()(nullptr, out, words, 0, 99, large);
    });
}

template <class G, class T>
void NormalByInversion(benchmark::State& state) {
    fill<T>(state, [](T* out, unsigned int* words) {
        return typename RandNInversion<G>::template Invoker<T>()(nullptr, out, words, large);
    });
}

template <class G, class T>
void NormalOfBoxMuller(benchmark::State& state) {
    fill<T>(state, [](T* out, unsigned int* words) {
        return typename RandNBoxMuller<G>::template Invoker<T>()(nullptr, out, words, large);
    });
}

BENCHMARK(Uniform<Philox, double>)->UseRealTime();
BENCHMARK(Uniform<Philox, float>)->UseRealTime();
BENCHMARK(Integers<Philox, signed char>)->UseRealTime();
BENCHMARK(Integers<Philox, int>)->UseRealTime();
BENCHMARK(Integers<Philox, long>)->UseRealTime();
BENCHMARK(NormalByInversion<Philox, double>)->UseRealTime();
BENCHMARK(NormalByInversion<Philox, float>)->UseRealTime();
BENCHMARK(NormalOfBoxMuller<Philox, double>)->UseRealTime();
BENCHMARK(NormalOfBoxMuller<Philox, float>)->UseRealTime();
BENCHMARK(Uniform<ThreeFry, double>)->UseRealTime();
BENCHMARK(Uniform<ThreeFry, float>)->UseRealTime();
BENCHMARK(Integers<ThreeFry, signed char>)->UseRealTime();
BENCHMARK(Integers<ThreeFry, int>)->UseRealTime();
BENCHMARK(Integers<ThreeFry, long>)->UseRealTime();
BENCHMARK(NormalByInversion<ThreeFry, double>)->UseRealTime();
BENCHMARK(NormalByInversion<ThreeFry, float>)->UseRealTime();
BENCHMARK(NormalOfBoxMuller<ThreeFry, double>)->UseRealTime();
BENCHMARK(NormalOfBoxMuller<ThreeFry, float>)->UseRealTime();
BENCHMARK(Uniform<Mrg32k3a, double>)->UseRealTime();
BENCHMARK(Uniform<Mrg32k3a, float>)->UseRealTime();
BENCHMARK(Integers<Mrg32k3a, signed char>)->UseRealTime();
BENCHMARK(Integers<Mrg32k3a, int>)->UseRealTime();
BENCHMARK(Integers<Mrg32k3a, long>)->UseRealTime();
BENCHMARK(NormalByInversion<Mrg32k3a, double>)->UseRealTime();
BENCHMARK(NormalByInversion<Mrg32k3a, float>)->UseRealTime();

}  // namespace
}  // namespace gpuruntime

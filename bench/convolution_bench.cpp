// Convolutions: fused steps (a product of real numbers and its addition) and bytes read and written, each per
// second. `Peak` and `Copy` are the roofs, and a label tells the percentage of the first.

#include <benchmark/benchmark.h>
#include <gpuruntime/convolution.hpp>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "bench/support.hpp"
#include "frame/complex.hpp"

namespace gpuruntime {
namespace {

using bench::DeviceMemory;
using convolutioncommon::KernelType;

constexpr unsigned long vectorLength = 1ul << 23, width = 1920, height = 1080;

/// Fused steps in chains enough to hide their latency; returns how many.
template <class P>
unsigned long fusedSteps(unsigned long rounds) {
    constexpr unsigned int lanes = 32 / sizeof(P), chains = 12;
    P sums[chains][lanes] = {};
    P const a = P(0.5) + sums[0][0], b = 1;
    for (unsigned long round = 0; round < rounds; ++round) {
#pragma GCC unroll 12
        for (unsigned int chain = 0; chain < chains; ++chain) {
            for (unsigned int lane = 0; lane < lanes; ++lane) {
                sums[chain][lane] = std::fma(sums[chain][lane], a, b);
            }
        }
    }
    benchmark::DoNotOptimize(sums);
    return rounds * chains * lanes;
}

/// Fused steps per second of all cores: the best of several runs.
template <class P>
double peak() {
    static double const best = [] {
        double rate = 0;
        for (int run = 0; run < 10; ++run) {
            constexpr unsigned long rounds = 4000000;
            auto const start = std::chrono::steady_clock::now();
            bench::onAllCores([](unsigned long, unsigned long) { fusedSteps<P>(rounds); });
            std::chrono::duration<double> const took = std::chrono::steady_clock::now() - start;
            unsigned long const steps = std::thread::hardware_concurrency() * fusedSteps<P>(1) * rounds;
            rate = std::max(rate, static_cast<double>(steps) / took.count());
        }
        return rate;
    }();
    return best;
}

template <class P>
void Peak(benchmark::State& state) {
    constexpr unsigned long rounds = 1000000;
    for (auto _ : state) bench::onAllCores([](unsigned long, unsigned long) { fusedSteps<P>(rounds); });
    state.SetLabel(std::to_string(static_cast<int>(peak<P>() / 1e9)) + " billions of fused steps a second");
}

/// Copying as many bytes as a convolution of `n` elements reads and writes.
void Copy(benchmark::State& state) {
    auto const size = static_cast<unsigned long>(state.range(0));
    std::vector<char> const in(size, 1);
    std::vector<char> out(size, 2);
    for (auto _ : state) {
        bench::onAllCores([&](unsigned long part, unsigned long parts) {
            std::memcpy(out.data() + size / parts * part, in.data() + size / parts * part, size / parts);
        });
    }
    state.SetBytesProcessed(static_cast<long>(2 * size) * state.iterations());
}

/// `n` results of `numTaps` taps in `T` have been made in each iteration.
template <class T>
void report(benchmark::State& state, unsigned long n, unsigned long numTaps) {
    using P = internal::Part<T>;
    unsigned long const stepsForTap = internal::isComplex<T> ? 4 : 1;
    state.SetBytesProcessed(static_cast<long>(2 * n * sizeof(T)) * state.iterations());
    state.counters["steps"] = benchmark::Counter(static_cast<double>(n * numTaps * stepsForTap),
                                                 benchmark::Counter::kIsIterationInvariantRate);
    state.counters["peak"] = benchmark::Counter(static_cast<double>(n * numTaps * stepsForTap) / peak<P>(),
                                                benchmark::Counter::kIsIterationInvariantRate);
}

template <class T>
std::vector<T> values(unsigned long n) {
    std::vector<T> result(n);
    auto* const parts = reinterpret_cast<internal::Part<T>*>(result.data());
    for (unsigned long i = 0; i < n * sizeof(T) / sizeof *parts; ++i) {
        parts[i] = static_cast<internal::Part<T>>(i % 17) - 8;
    }
    return result;
}

template <class T, int N>
void Vector(benchmark::State& state) {
    DeviceMemory<T> in(values<T>(vectorLength)), filter(values<T>(N)), out(vectorLength + N - 1);
    conv::OffsetsAndSzs const sizes{0, vectorLength + N - 1, vectorLength, 0, 0, 0, true};
    for (auto _ : state) {
        bench::check(ConvolutionVector::Invoker<T, mpl_::integral_c<int, N>>()(nullptr, out.data(), in.data(),
                                                                               filter.data(), sizes));
        bench::finish();
    }
    report<T>(state, vectorLength, N);
}

/// The middle part of the result, as large as the input.
template <class T, int N>
void convolveMatrix(T* out, T const* in, T const* filter, KernelType type) {
    unsigned long const extents[] = {width, height};
    convn::OffsetsAndSzs sizes{};
    sizes.extentDim0 = width;
    sizes.extentDim1 = height;
    bool const isColumn = type == KernelType::Column;
    (isColumn ? sizes.startDim0 : sizes.startDim1) = N / 2;
    sizes.outTrimDim0 = sizes.startDim0;
    sizes.outTrimDim1 = sizes.startDim1;
    sizes.interiorEndDim0 = width + sizes.startDim0;
    sizes.interiorEndDim1 = height + sizes.startDim1;
    sizes.firstPiece = true;
    bench::check(ConvolutionMatrix::Invoker<T, mpl_::integral_c<int, N>>()(nullptr, out, in, filter, extents,
                                                                           extents, sizes, 2ul, type));
}

template <class T, int N, KernelType type>
void Matrix(benchmark::State& state) {
    DeviceMemory<T> in(values<T>(width * height)), filter(values<T>(N)), out(width * height);
    for (auto _ : state) {
        convolveMatrix<T, N>(out.data(), in.data(), filter.data(), type);
        bench::finish();
    }
    report<T>(state, width * height, N);
}

template <class T, int N>
void Separable(benchmark::State& state) {
    DeviceMemory<T> in(values<T>(width * height)), filter(values<T>(N)), between(width * height),
        out(width * height);
    for (auto _ : state) {
        convolveMatrix<T, N>(between.data(), in.data(), filter.data(), KernelType::Row);
        convolveMatrix<T, N>(out.data(), between.data(), filter.data(), KernelType::Column);
        bench::finish();
    }
    report<T>(state, width * height, 2 * N);
}

template <class T, unsigned long S>
void Square(benchmark::State& state) {
    DeviceMemory<T> in(values<T>(width * height)), filter(values<T>(S * S)), out(width * height);
    unsigned long const extents[] = {width, height}, offsets[] = {S / 2, S / 2};
    for (auto _ : state) {
        bench::check(ConvolutionSquare::Invoker<T, mpl_::size_t<S>>()(
            nullptr, out.data(), in.data(), filter.data(), extents, extents, 2, offsets, {}));
        bench::finish();
    }
    report<T>(state, width * height, S * S);
}

BENCHMARK_TEMPLATE(Peak, float)->UseRealTime();
BENCHMARK_TEMPLATE(Peak, double)->UseRealTime();
BENCHMARK(Copy)->Arg(vectorLength * 4)->Arg(vectorLength * 8)->Arg(width* height * 4)->UseRealTime();

#define KVGPU_VECTORS(T, N) BENCHMARK_TEMPLATE(Vector, T, N)->UseRealTime();
KVGPU_VECTORS(float, 1)
KVGPU_VECTORS(float, 3)
KVGPU_VECTORS(float, 5)
KVGPU_VECTORS(float, 16)
KVGPU_VECTORS(float, 32)
KVGPU_VECTORS(float, 128)
KVGPU_VECTORS(double, 1)
KVGPU_VECTORS(double, 3)
KVGPU_VECTORS(double, 16)
KVGPU_VECTORS(double, 64)
KVGPU_VECTORS(float2, 12)
KVGPU_VECTORS(double2, 12)

#define KVGPU_MATRICES(T, N)                                             \
    BENCHMARK_TEMPLATE(Matrix, T, N, KernelType::Column)->UseRealTime(); \
    BENCHMARK_TEMPLATE(Matrix, T, N, KernelType::Row)->UseRealTime();
KVGPU_MATRICES(float, 1)
KVGPU_MATRICES(float, 3)
KVGPU_MATRICES(float, 16)
KVGPU_MATRICES(float, 64)
KVGPU_MATRICES(double, 3)
KVGPU_MATRICES(double, 16)
KVGPU_MATRICES(double, 64)
KVGPU_MATRICES(float2, 12)

#define KVGPU_SEPARABLE(T, N) BENCHMARK_TEMPLATE(Separable, T, N)->UseRealTime();
KVGPU_SEPARABLE(float, 3)
KVGPU_SEPARABLE(float, 5)
KVGPU_SEPARABLE(float, 9)
KVGPU_SEPARABLE(float, 15)
KVGPU_SEPARABLE(double, 5)
KVGPU_SEPARABLE(double, 15)

#define KVGPU_SQUARE(T, S) BENCHMARK_TEMPLATE(Square, T, S)->UseRealTime();
KVGPU_SQUARE(float, 3)
KVGPU_SQUARE(float, 5)
KVGPU_SQUARE(float, 7)
KVGPU_SQUARE(float, 9)
KVGPU_SQUARE(double, 3)
KVGPU_SQUARE(double, 9)
KVGPU_SQUARE(float2, 5)

}  // namespace
}  // namespace gpuruntime

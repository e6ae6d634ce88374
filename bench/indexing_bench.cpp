// Data movement, selections, index conversion and compaction: bytes read and written per second, but for
// replication, triangles and scalars, bytes written. `Copy` and `Fill` are the roofs.

#include <benchmark/benchmark.h>
#include <gpuruntime/accumulation.hpp>
#include <gpuruntime/find.hpp>
#include <gpuruntime/indices.hpp>
#include <gpuruntime/movement.hpp>
#include <gpuruntime/subscripts.hpp>

#include <algorithm>
#include <cstring>
#include <numeric>
#include <random>
#include <thread>
#include <vector>

#include "bench/support.hpp"

namespace gpuruntime {
namespace {

using bench::DeviceMemory;
using Vector = double const*;
using Colon = double2;

constexpr unsigned long largeBytes = 128ul << 20;

template <class Call>
void measure(benchmark::State& state, unsigned long bytes, Call call) {
    for (auto _ : state) {
        call();
        bench::finish();
    }
    state.SetBytesProcessed(static_cast<long>(state.iterations() * bytes));
}

// On the host device all cores, each over its own part.
template <class F>
void onAllCores(unsigned long n, F f) {
    unsigned long const parts = std::thread::hardware_concurrency();
    std::vector<std::thread> threads;
    for (unsigned long p = 0; p < parts; ++p) threads.emplace_back([=] { f(n / parts * p, n / parts); });
    for (std::thread& thread : threads) thread.join();
}

void Copy(benchmark::State& state) {
    DeviceMemory<unsigned char> in(largeBytes), out(largeBytes);
    measure(state, 2 * largeBytes, [&] {
        onAllCores(largeBytes, [to = out.data(), from = in.data()](unsigned long first, unsigned long n) {
            std::memcpy(to + first, from + first, n);
        });
    });
}

void Fill(benchmark::State& state) {
    DeviceMemory<unsigned char> out(largeBytes);
    measure(state, largeBytes, [&] {
        onAllCores(largeBytes, [to = out.data()](unsigned long first, unsigned long n) {
            std::memset(to + first, 1, n);
        });
    });
}

// --- Movement. Arguments: extents as the operators take them. ---

template <class Family, class T>
void Repmat(benchmark::State& state) {
    auto const a = static_cast<unsigned long>(state.range(0)), b = static_cast<unsigned long>(state.range(1)),
               c = static_cast<unsigned long>(state.range(2));
    DeviceMemory<T> in(a * b), out(a * b * c);
    measure(state, a * b * c * sizeof(T),
            [&] { typename Family::template Invoker<T>()(nullptr, out.data(), in.data(), a, b, c); });
}

template <class T>
void RepmatColumn(benchmark::State& state) {
    auto const length = static_cast<unsigned long>(state.range(0)),
               copies = static_cast<unsigned long>(state.range(1));
    DeviceMemory<T> in(length), out(length * copies);
    measure(state, length * copies * sizeof(T),
            [&] { RepmatColumnVector::Invoker<T>()(nullptr, out.data(), in.data(), length, copies); });
}

template <class T>
void Turn(benchmark::State& state) {
    auto const rows = static_cast<unsigned long>(state.range(0)),
               cols = static_cast<unsigned long>(state.range(1)),
               pages = static_cast<unsigned long>(state.range(2));
    DeviceMemory<T> in(rows * cols * pages), out(rows * cols * pages);
    measure(state, 2 * rows * cols * pages * sizeof(T),
            [&] { Rot90::Invoker<T>()(nullptr, out.data(), in.data(), rows, cols, pages, true); });
}

template <class Family, class T>
void Triangle(benchmark::State& state) {
    auto const edge = static_cast<unsigned long>(state.range(0));
    DeviceMemory<T> data(edge * edge);
    measure(state, edge * (edge - 1) / 2 * sizeof(T),
            [&] { typename Family::template Invoker<T>()(nullptr, data.data(), 0, edge, edge); });
}

template <class T>
void Diagonal(benchmark::State& state) {
    auto const edge = static_cast<unsigned long>(state.range(0));
    DeviceMemory<T> matrix(edge * edge), vector(edge);
    measure(state, 2 * edge * sizeof(T),
            [&] { DiagMatToVec::Invoker<T>()(nullptr, vector.data(), matrix.data(), edge, 0, edge); });
}

// --- Selections ---

enum class Order { unit, strided, sorted, random };

/// The slot of a dimension: `count` of `extent` positions, all if `unit`, every second else.
struct Slot {
    Slot(Order order, unsigned long extent)
        : count(order == Order::unit ? extent : extent / 2), indices(indicesOf(order, count)) {
        colon = {1, order == Order::unit ? 1.0 : 2.0};
    }

    static std::vector<double> indicesOf(Order order, unsigned long count) {
        std::vector<double> values(count);
        std::iota(values.begin(), values.end(), 0.0);
        std::mt19937_64 engine(1);
        if (order == Order::random) std::shuffle(values.begin(), values.end(), engine);
        for (double& value : values) value = 1 + value * (order == Order::unit ? 1 : 2);
        return values;
    }

    void pass(Vector& slot) { slot = indices.data(); }
    void pass(Colon& slot) const { slot = colon; }
    void pass(void*& slot) const { slot = nullptr; }

    unsigned long count;
    double2 colon;
    DeviceMemory<double> indices;
};

/// What a family takes after its arrays.
template <class S1, class S2, class S3, class Call>
void select(benchmark::State& state, unsigned long elementSize, Order order, Order others, Call call) {
    constexpr bool is2D = !std::is_same_v<S2, void*>, is3D = !std::is_same_v<S3, void*>;
    unsigned long const n = largeBytes / elementSize;
    unsigned long const dim3 = is3D ? 20 : 1, dim2 = is2D ? static_cast<unsigned long>(state.range(0)) : 1;
    unsigned long const dim1 = n / dim2 / dim3;
    Slot one(order, dim1), two(others, dim2), three(others, dim3);
    unsigned long const count2 = is2D ? two.count : 1, count3 = is3D ? three.count : 1;
    S1 s1;
    S2 s2;
    S3 s3;
    one.pass(s1);
    two.pass(s2);
    three.pass(s3);
    unsigned long const selected = one.count * count2 * count3;
    measure(state, 2 * selected * elementSize,
            [&] { call(selected, dim1, one.count, s1, dim2, count2, s2, dim3, count3, s3); });
}

template <class T, Order order, class S1, class S2 = void*, class S3 = void*>
void Read(benchmark::State& state) {
    DeviceMemory<T> in(largeBytes / sizeof(T)), out(largeBytes / sizeof(T));
    select<S1, S2, S3>(state, sizeof(T), order, Order::unit, [&](unsigned long numel, auto... slots) {
        typename Subsref3D<S1, S2, S3>::template Invoker<T>()(nullptr, numel, out.data(), in.data(),
                                                              slots...);
    });
}

template <class T, Order order, class S1, class S2 = void*, class S3 = void*>
void Write(benchmark::State& state) {
    DeviceMemory<T> in(largeBytes / sizeof(T)), out(largeBytes / sizeof(T));
    select<S1, S2, S3>(state, sizeof(T), order, Order::unit, [&](unsigned long numel, auto... slots) {
        typename Subsasgn3D<S1, S2, S3>::template Invoker<T>()(nullptr, numel, out.data(), in.data(),
                                                               slots...);
    });
}

// --- Index conversion. Argument: elements. ---

void Join3D(benchmark::State& state) {
    auto const n = static_cast<unsigned long>(state.range(0));
    DeviceMemory<double> rows(std::vector<double>(n, 3)), cols(std::vector<double>(n, 3)),
        pages(std::vector<double>(n, 3)), out(n);
    measure(state, 4 * n * sizeof(double), [&] {
        Sub2Ind3D::Invoker<double>()(nullptr, n, out.data(), rows.data(), cols.data(), pages.data(), 640,
                                     480);
    });
}

void Join2D(benchmark::State& state) {
    auto const n = static_cast<unsigned long>(state.range(0));
    DeviceMemory<double> rows(std::vector<double>(n, 3)), cols(std::vector<double>(n, 3)), out(n);
    measure(state, 3 * n * sizeof(double), [&] {
        Sub2Ind2DChecked::Invoker<double>()(nullptr, n, out.data(), rows.data(), cols.data(), 640, 480);
    });
}

void Split2D(benchmark::State& state) {
    auto const n = static_cast<unsigned long>(state.range(0));
    DeviceMemory<double> ind(Slot::indicesOf(Order::unit, n)), rows(n), cols(n);
    measure(state, 3 * n * sizeof(double),
            [&] { Ind2Sub2D::Invoker<double>()(nullptr, n, rows.data(), cols.data(), ind.data(), 640); });
}

void Split3D(benchmark::State& state) {
    auto const n = static_cast<unsigned long>(state.range(0));
    DeviceMemory<double> ind(Slot::indicesOf(Order::unit, n)), rows(n), cols(n), pages(n);
    measure(state, 4 * n * sizeof(double), [&] {
        Ind2Sub3D::Invoker<double>()(nullptr, n, rows.data(), cols.data(), pages.data(), ind.data(), 640,
                                     480);
    });
}

// --- Compaction: running count and positions, of flags that are there. Arguments: elements, hits in 100. ---

struct Flags {
    std::vector<double> values;
    unsigned long count = 0;

    explicit Flags(benchmark::State const& state) : values(static_cast<unsigned long>(state.range(0))) {
        std::mt19937_64 engine(1);
        for (double& value : values) {
            value = engine() % 100 < static_cast<unsigned long>(state.range(1)) ? 1 : 0;
            count += value != 0;
        }
    }
};

void Compact1D(benchmark::State& state) {
    Flags const flags(state);
    unsigned long const n = flags.values.size();
    DeviceMemory<double> in(flags.values), scan(n), total(1), positions(flags.count);
    measure(state, 4 * n * sizeof(double), [&] {
        cudaMemcpyAsync(scan.data(), in.data(), n * sizeof(double), cudaMemcpyDeviceToDevice, nullptr);
        CumSum::Invoker<double>()(nullptr, total.data(), scan.data(), n, n, 1);
        Find1D::Invoker<double>()(nullptr, positions.data(), in.data(), scan.data(), flags.count, n,
                                  FindFirst);
    });
}

void Compact2D(benchmark::State& state) {
    Flags const flags(state);
    unsigned long const n = flags.values.size(), rows = 1000;
    DeviceMemory<double> in(flags.values), scan(n), total(1), rowsFound(flags.count),
        columnsFound(flags.count);
    measure(state, 4 * n * sizeof(double), [&] {
        cudaMemcpyAsync(scan.data(), in.data(), n * sizeof(double), cudaMemcpyDeviceToDevice, nullptr);
        CumSum::Invoker<double>()(nullptr, total.data(), scan.data(), n, n, 1);
        Find2D::Invoker<double>()(nullptr, rowsFound.data(), columnsFound.data(), in.data(), scan.data(),
                                  flags.count, rows, n / rows, FindFirst);
    });
}

void FindAlone(benchmark::State& state) {
    Flags const flags(state);
    unsigned long const n = flags.values.size();
    std::vector<double> counts(n);
    std::partial_sum(flags.values.begin(), flags.values.end(), counts.begin());
    DeviceMemory<double> in(flags.values), scan(counts), positions(flags.count);
    measure(state, 2 * n * sizeof(double), [&] {
        Find1D::Invoker<double>()(nullptr, positions.data(), in.data(), scan.data(), flags.count, n,
                                  FindFirst);
    });
}

BENCHMARK(Copy)->UseRealTime();
BENCHMARK(Fill)->UseRealTime();

BENCHMARK(RepmatColumn<unsigned char>)->Args({10000, 13000})->Args({3, 40000000})->UseRealTime();
BENCHMARK(RepmatColumn<double>)->Args({10001, 1600})->Args({100, 160000})->Args({3, 5000000})->UseRealTime();
BENCHMARK(Repmat<RepmatRowVector, double>)->Args({4000, 1000, 4})->Args({4000000, 2, 2})->UseRealTime();
BENCHMARK(Repmat<RepmatMatrixRows, float>)->Args({5000, 1000, 7})->Args({3, 1000000, 10})->UseRealTime();
BENCHMARK(Turn<unsigned char>)->Args({11001, 11000, 1})->UseRealTime();
BENCHMARK(Turn<float>)->Args({5000, 5000, 1})->Args({512, 512, 100})->UseRealTime();
BENCHMARK(Turn<double>)->Args({4000, 4001, 1})->UseRealTime();
BENCHMARK(Turn<double2>)->Args({3000, 3000, 1})->UseRealTime();
BENCHMARK(Triangle<TriLower, unsigned char>)->Arg(16000)->UseRealTime();
BENCHMARK(Triangle<TriLower, double>)->Arg(5000)->UseRealTime();
BENCHMARK(Triangle<TriLowerOneOnDiag, float>)->Arg(7001)->UseRealTime();
BENCHMARK(Diagonal<double>)->Arg(5000)->UseRealTime();

#define KVGPU_SELECT(family, T)                                                            \
    BENCHMARK(family<T, Order::unit, Colon>)->UseRealTime();                               \
    BENCHMARK(family<T, Order::unit, Colon, Colon>)->Arg(1000)->Arg(30000)->UseRealTime(); \
    BENCHMARK(family<T, Order::unit, Colon, Vector>)->Arg(1000)->UseRealTime();            \
    BENCHMARK(family<T, Order::unit, Colon, Colon, Colon>)->Arg(200)->UseRealTime();       \
    BENCHMARK(family<T, Order::strided, Colon>)->UseRealTime();                            \
    BENCHMARK(family<T, Order::strided, Colon, Colon>)->Arg(1000)->UseRealTime();          \
    BENCHMARK(family<T, Order::sorted, Vector>)->UseRealTime();                            \
    BENCHMARK(family<T, Order::sorted, Vector, Vector>)->Arg(1000)->UseRealTime();         \
    BENCHMARK(family<T, Order::random, Vector>)->UseRealTime();

KVGPU_SELECT(Read, unsigned char)
KVGPU_SELECT(Read, short)
KVGPU_SELECT(Read, float)
KVGPU_SELECT(Read, double)
KVGPU_SELECT(Read, double2)
KVGPU_SELECT(Write, unsigned char)
KVGPU_SELECT(Write, double)
KVGPU_SELECT(Write, double2)

BENCHMARK(Join2D)->Arg(10000000)->UseRealTime();
BENCHMARK(Join3D)->Arg(10000000)->UseRealTime();
BENCHMARK(Split2D)->Arg(10000000)->UseRealTime();
BENCHMARK(Split3D)->Arg(10000000)->UseRealTime();
BENCHMARK(FindAlone)->Args({10000000, 1})->Args({10000000, 50})->UseRealTime();
BENCHMARK(Compact1D)->Args({10000000, 1})->Args({10000000, 50})->UseRealTime();
BENCHMARK(Compact2D)->Args({10000000, 1})->Args({10000000, 50})->UseRealTime();

}  // namespace
}  // namespace gpuruntime

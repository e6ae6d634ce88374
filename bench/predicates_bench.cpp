// Predicates over all types and comparisons over all pairs: bytes read and written per second. `Copy`, a
// plain loop that reads and writes on all cores, is the roof; for whole-array checks it is `Read`.

#include <benchmark/benchmark.h>
#include <gpuruntime/predicates.hpp>

#include <algorithm>
#include <vector>

#include "bench/pairs.hpp"
#include "bench/support.hpp"

namespace gpuruntime {
namespace {

using bench::add;
using bench::DeviceMemory;
using bench::largeBytes;
using bench::measure;

template <class A, class B>
void addComparison() {
    add(bench::nameOf<A, B>("Compare"), [](benchmark::State& state) {
        unsigned long const n = largeBytes / std::max(sizeof(A), sizeof(B));
        DeviceMemory<A> a(n);
        DeviceMemory<B> b(n);
        DeviceMemory<bool> out(n);
        measure(state, n * (sizeof(A) + sizeof(B) + 1), [&] {
            ElementwiseCompare::Invoker<A, B>()(nullptr, n, out.data(), a.data(), b.data(), false, false);
        });
    });
}

template <class Family, class Out, class List>
void addPredicates(std::string const& name, List types) {
    bench::forEachType(types, [&](auto type) {
        using T = decltype(type);
        add(bench::nameOf<T>(name), [](benchmark::State& state) {
            unsigned long const n = largeBytes / std::max(sizeof(T), sizeof(Out));
            DeviceMemory<T> in(n);
            DeviceMemory<Out> out(n);
            measure(state, n * (sizeof(T) + sizeof(Out)),
                    [&] { typename Family::template Invoker<T>()(nullptr, out.data(), in.data(), n); });
        });
    });
}

template <class Family, class List>
void addChecks(std::string const& name, List types) {
    bench::forEachType(types, [&](auto type) {
        using T = decltype(type);
        add(bench::nameOf<T>(name), [](benchmark::State& state) {
            unsigned long const n = largeBytes / sizeof(T);
            DeviceMemory<T> in(n);
            measure(state, largeBytes, [&] {
                benchmark::DoNotOptimize(typename Family::template Invoker<T>()(nullptr, in.data(), n));
            });
        });
    });
}

int const registered = [] {
    add("Copy", bench::copy);
    add("Read", bench::read);
    bench::forEachType(internal::All{}, [](auto a) {
        bench::forEachType(internal::All{}, [](auto b) { addComparison<decltype(a), decltype(b)>(); });
    });
    addPredicates<IsNaN, bool>("IsNaN", internal::Floating{});
    addPredicates<IsInf, bool>("IsInf", internal::Floating{});
    addPredicates<IsNaNOrInf, bool>("IsNaNOrInf", internal::Floating{});
    addPredicates<IsNonZero, bool>("IsNonZero", internal::All{});
    addPredicates<IsNeitherZeroNorNaN, bool>("IsNeitherZeroNorNaN", internal::All{});
    addPredicates<FlagNonZero, double>("FlagNonZero", internal::All{});
    addPredicates<FlagNegative, double>("FlagNegative", internal::Real{});
    addChecks<CheckInf>("CheckInf", internal::Floating{});
    addChecks<CheckNaN>("CheckNaN", internal::Floating{});
    addChecks<CheckNotFinite>("CheckNotFinite", internal::Floating{});
    addChecks<CheckNotStronglySortedAscending>("CheckNotStronglySortedAscending", internal::FloatingReal{});
    add("CheckValidFindMax<double>", [](benchmark::State& state) {
        unsigned long const n = largeBytes / sizeof(double);
        DeviceMemory<double> in(std::vector<double>(n, 3));
        measure(state, largeBytes,
                [&] { benchmark::DoNotOptimize(CheckValidFindMax::Invoker<double>()(in.data(), n)); });
    });
    return 0;
}();

}  // namespace
}  // namespace gpuruntime

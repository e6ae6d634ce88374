// Casts over all pairs of types: bytes read and written per second. `Copy` is the roof, a plain loop that
// reads and writes on all cores.

#include <benchmark/benchmark.h>
#include <gpuruntime/casts.hpp>

#include <algorithm>
#include <string>
#include <type_traits>

#include "bench/pairs.hpp"
#include "bench/support.hpp"

namespace gpuruntime {
namespace {

using bench::add;
using bench::DeviceMemory;
using bench::largeBytes;
using bench::measure;

/// Times `call(n, out, in)`.
template <class Target, class Source, class Call>
void measureCast(benchmark::State& state, Call call) {
    unsigned long const n = largeBytes / std::max(sizeof(Target), sizeof(Source));
    DeviceMemory<Source> in(n);
    DeviceMemory<Target> out(n);
    measure(state, n * (sizeof(Target) + sizeof(Source)), [&] { call(n, out.data(), in.data()); });
}

template <class Family, class Target, class Source>
void addPair(std::string const& name) {
    add(bench::nameOf<Target, Source>(name), [](benchmark::State& state) {
        measureCast<Target, Source>(state, [](unsigned long n, Target* out, Source const* in) {
            static_cast<void>(typename Family::template Invoker<Target, Source>()(nullptr, n, out, in));
        });
    });
}

/// Blocks that lie one element apart.
template <class Target, class Source>
void addBlocks(unsigned long length) {
    add(bench::nameOf<Target, Source>("CastBlock") + "/" + std::to_string(length),
        [length](benchmark::State& state) {
            unsigned long const n = largeBytes / std::max(sizeof(Target), sizeof(Source));
            DeviceMemory<Source> in(n);
            DeviceMemory<Target> out(n / length * (length + 1) + length);
            measure(state, n * (sizeof(Target) + sizeof(Source)), [&] {
                CastBlockToReal::Invoker<Target, Source>()(nullptr, n, out.data(), in.data(), 0, length + 1,
                                                           length);
            });
        });
}

int const registered = [] {
    add("Copy", bench::copy);
    bench::forEachType(internal::RealNumeric{}, [](auto target) {
        bench::forEachType(internal::Real{}, [](auto source) {
            addPair<CastToReal, decltype(target), decltype(source)>("Cast");
        });
    });
    bench::forEachType(internal::Complex{}, [](auto target) {
        bench::forEachType(internal::All{}, [](auto source) {
            addPair<CastToComplex, decltype(target), decltype(source)>("Cast");
        });
    });
    // Once more, to be compared with what rounds, saturates and knows NaN as these do.
    bench::forEachType(internal::RealNumeric{}, [](auto target) {
        using Target = decltype(target);
        if constexpr (std::is_integral_v<Target>) {
            addPair<CastToReal, Target, float>("SameRule");
            addPair<CastToReal, Target, double>("SameRule");
        }
    });
    for (unsigned long length : {1ul, 10ul, 1000ul}) {
        addBlocks<double, double>(length);
        addBlocks<int, double>(length);
        addBlocks<signed char, signed char>(length);
    }
    bench::forEachType(internal::RealNumeric{}, [](auto source) {
        using Source = decltype(source);
        add(bench::nameOf<Source>("CastToBool"), [](benchmark::State& state) {
            measureCast<bool, Source>(state, [](unsigned long n, bool* out, Source const* in) {
                bench::check(CastToBool::Invoker<Source>()(nullptr, n, out, in));
            });
        });
    });
    bench::forEachType(internal::Concatenate<internal::RealNumeric, internal::Complex>{}, [](auto source) {
        using Source = decltype(source);
        add(bench::nameOf<Source>("CastToBoolAllowNaN"), [](benchmark::State& state) {
            measureCast<bool, Source>(state, [](unsigned long n, bool* out, Source const* in) {
                CastToBoolAllowNaN::Invoker<Source>()(nullptr, n, out, in, false);
            });
        });
    });
    return 0;
}();

}  // namespace
}  // namespace gpuruntime

// Complex arrays put together and taken apart: bytes read and written per second. `Copy`, a plain loop that
// reads and writes on all cores, is the roof.

#include <benchmark/benchmark.h>
#include <gpuruntime/complex.hpp>

#include "bench/pairs.hpp"
#include "bench/support.hpp"

namespace gpuruntime {
namespace {

using bench::add;
using bench::DeviceMemory;
using bench::largeBytes;
using bench::measure;

template <class T>
void addParts() {
    using C = ComplexOf<T>;
    constexpr unsigned long n = largeBytes / sizeof(C);
    add(bench::nameOf<T>("ComplexifyPtrPtr"), [](benchmark::State& state) {
        DeviceMemory<T> re(n), im(n);
        DeviceMemory<C> out(n);
        measure(state, 2 * largeBytes,
                [&] { ComplexifyPtrPtr::Invoker<T>()(nullptr, out.data(), re.data(), im.data(), n); });
    });
    add(bench::nameOf<T>("ComplexifyPtrScalar"), [](benchmark::State& state) {
        DeviceMemory<T> re(n);
        DeviceMemory<C> out(n);
        measure(state, largeBytes * 3 / 2,
                [&] { ComplexifyPtrScalar::Invoker<T>()(nullptr, out.data(), re.data(), T(3), n); });
    });
    add(bench::nameOf<T>("ComplexifyScalarPtr"), [](benchmark::State& state) {
        DeviceMemory<T> im(n);
        DeviceMemory<C> out(n);
        measure(state, largeBytes * 3 / 2,
                [&] { ComplexifyScalarPtr::Invoker<T>()(nullptr, out.data(), T(3), im.data(), n); });
    });
    add(bench::nameOf<C>("Decomplexify"), [](benchmark::State& state) {
        DeviceMemory<T> re(n), im(n);
        DeviceMemory<C> in(n);
        measure(state, 2 * largeBytes,
                [&] { Decomplexify::Invoker<C>()(nullptr, re.data(), im.data(), in.data(), n); });
    });
    add(bench::nameOf<C>("Real"), [](benchmark::State& state) {
        DeviceMemory<T> out(n);
        DeviceMemory<C> in(n);
        measure(state, largeBytes * 3 / 2, [&] { Real::Invoker<C>()(nullptr, out.data(), in.data(), n); });
    });
    add(bench::nameOf<C>("Imag"), [](benchmark::State& state) {
        DeviceMemory<T> out(n);
        DeviceMemory<C> in(n);
        measure(state, largeBytes * 3 / 2, [&] { Imag::Invoker<C>()(nullptr, out.data(), in.data(), n); });
    });
}

template <class C>
void addConj() {
    add(bench::nameOf<C>("Conj"), [](benchmark::State& state) {
        unsigned long const n = largeBytes / sizeof(C);
        DeviceMemory<C> in(n), out(n);
        measure(state, 2 * largeBytes, [&] { Conj::Invoker<C>()(nullptr, out.data(), in.data(), n); });
    });
}

template <class T>
void addPad() {
    add(bench::nameOf<T>("ComplexCopyPad"), [](benchmark::State& state) {
        unsigned long const rows = 2000, columns = largeBytes / sizeof(ComplexOf<T>) / rows;
        DeviceMemory<T> in(rows * columns);
        DeviceMemory<ComplexOf<T>> out(rows * columns);
        measure(state, rows * columns * sizeof(ComplexOf<T>) + (rows - 500) * columns * sizeof(T), [&] {
            ComplexCopyPad::Invoker<T>()(nullptr, out.data(), rows, columns, in.data(), rows - 500, columns);
        });
    });
}

int const registered = [] {
    add("Copy", bench::copy);
    bench::forEachType(internal::RealNumeric{}, [](auto type) { addParts<decltype(type)>(); });
    bench::forEachType(internal::FloatingComplex{}, [](auto type) { addConj<decltype(type)>(); });
    bench::forEachType(internal::Floating{}, [](auto type) { addPad<decltype(type)>(); });
    return 0;
}();

}  // namespace
}  // namespace gpuruntime

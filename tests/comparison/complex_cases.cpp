#include <gpuruntime/complex.hpp>

#include "comparison.hpp"

namespace gpuruntime::comparison {
namespace {

template <class Family, class T>
struct OfTwoArrays {
    static void run(Case& call) {
        unsigned long const n = call.number(0, 3000);
        DeviceArray<T> re(call.values<T>(n)), im(call.values<T>(n));
        DeviceArray<ComplexOf<T>> out(n);
        typename Family::template Invoker<T>()(nullptr, out.data(), re.data(), im.data(), n);
        call.result(out);
    }
};

template <class T>
T valueOf(Case& call) {
    return call.values<T>(1)[0];
}

template <class Family, class T>
struct WithScalar {
    static void run(Case& call) {
        DeviceArray<T> array(call.values<T>(call.number(0, 3000)));
        DeviceArray<ComplexOf<T>> out(array.size());
        if constexpr (std::is_same_v<Family, ComplexifyPtrScalar>) {
            ComplexifyPtrScalar::Invoker<T>()(nullptr, out.data(), array.data(), valueOf<T>(call),
                                              out.size());
        } else {
            ComplexifyScalarPtr::Invoker<T>()(nullptr, out.data(), valueOf<T>(call), array.data(),
                                              out.size());
        }
        call.result(out);
    }
};

template <class Family, class C>
struct IntoParts {
    static void run(Case& call) {
        DeviceArray<C> in(call.values<C>(call.number(0, 3000)));
        DeviceArray<internal::Part<C>> re(in.size()), im(in.size());
        Decomplexify::Invoker<C>()(nullptr, re.data(), im.data(), in.data(), in.size());
        call.result(re);
        call.result(im);
    }
};

template <class Family, class C>
struct OfOneArray {
    using Invoker = typename Family::template Invoker<C>;

    static void run(Case& call) {
        DeviceArray<C> in(call.values<C>(call.number(0, 3000)));
        DeviceArray<decltype(outOf(&Invoker::operator()))> out(in.size());
        Invoker()(nullptr, out.data(), in.data(), in.size());
        call.result(out);
    }
};

template <class Family, class T>
struct Padded {
    static void run(Case& call) {
        unsigned long const inRows = call.number(0, 80), inColumns = call.number(0, 60);
        unsigned long const outRows = call.number(0, 600), outColumns = call.number(0, 60);
        DeviceArray<T> in(call.values<T>(inRows * inColumns));
        DeviceArray<ComplexOf<T>> out(outRows * outColumns);
        ComplexCopyPad::Invoker<T>()(nullptr, out.data(), outRows, outColumns, in.data(), inRows, inColumns);
        call.result(out);
    }
};

bool const areAdded = [] {
    addCases<OfTwoArrays, ComplexifyPtrPtr>(internal::RealNumeric{});
    addCases<WithScalar, ComplexifyPtrScalar>(internal::RealNumeric{});
    addCases<WithScalar, ComplexifyScalarPtr>(internal::RealNumeric{});
    addCases<IntoParts, Decomplexify>(internal::Complex{});
    addCases<OfOneArray, Real>(internal::Complex{});
    addCases<OfOneArray, Imag>(internal::Complex{});
    addCases<OfOneArray, Conj>(internal::FloatingComplex{});
    addCases<Padded, ComplexCopyPad>(internal::Floating{});
    return true;
}();

}  // namespace
}  // namespace gpuruntime::comparison

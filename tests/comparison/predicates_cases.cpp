#include <gpuruntime/predicates.hpp>

#include "comparison.hpp"

namespace gpuruntime::comparison {
namespace {

template <class Family, class Types>
struct Comparison {
    using A = typename Types::First;
    using B = typename Types::Second;

    static void run(Case& call) {
        unsigned long const n = call.number(0, 3000);
        DeviceArray<A> a(call.values<A>(n));
        DeviceArray<B> b(call.values<B>(n));
        DeviceArray<bool> out(n);
        bool const nanEqual = call.flag(), negate = call.flag();
        typename Family::template Invoker<A, B>()(nullptr, n, out.data(), a.data(), b.data(), nanEqual,
                                                  negate);
        call.result(out);
    }
};

template <class Family, class T>
struct Predicate {
    using Invoker = typename Family::template Invoker<T>;

    static void run(Case& call) {
        DeviceArray<T> in(call.values<T>(call.number(0, 3000)));
        DeviceArray<decltype(outOf(&Invoker::operator()))> out(in.size());
        Invoker()(nullptr, out.data(), in.data(), in.size());
        call.result(out);
    }
};

/// Of whole numbers that ascend, but perhaps for one.
template <class T>
Elements<T> almostAscending(Case& call) {
    Elements<T> values(call.number(0, 3000));
    for (unsigned long i = 0; i < values.size(); ++i) {
        auto const number = static_cast<internal::Part<T>>(i + 1);
        if constexpr (internal::isComplex<T>) {
            values[i] = {number, number};
        } else {
            values[i] = number;
        }
    }
    if (!values.empty() && call.flag()) values[call.word() % values.size()] = call.values<T>(1)[0];
    return values;
}

template <class Family, class T>
struct Check {
    static void run(Case& call) {
        DeviceArray<T> in(almostAscending<T>(call));
        call.result(typename Family::template Invoker<T>()(nullptr, in.data(), in.size()));
    }
};

template <class Family, class T>
struct IndexCheck {
    static void run(Case& call) {
        DeviceArray<T> in(almostAscending<T>(call));
        auto const [isValid, largest] = typename Family::template Invoker<T>()(in.data(), in.size());
        call.result(isValid);
        call.result(DeviceArray<double>({largest}));
    }
};

bool const areAdded = [] {
    addCases<Comparison, ElementwiseCompare>(Pairs<internal::All, internal::All>{});
    addCases<Predicate, IsNaN>(internal::Floating{});
    addCases<Predicate, IsInf>(internal::Floating{});
    addCases<Predicate, IsNaNOrInf>(internal::Floating{});
    addCases<Predicate, IsNonZero>(internal::All{});
    addCases<Predicate, IsNeitherZeroNorNaN>(internal::All{});
    addCases<Predicate, FlagNonZero>(internal::All{});
    addCases<Predicate, FlagNegative>(internal::Real{});
    addCases<Check, CheckInf>(internal::Floating{});
    addCases<Check, CheckNaN>(internal::Floating{});
    addCases<Check, CheckNotFinite>(internal::Floating{});
    addCases<Check, CheckNotStronglySortedAscending>(internal::FloatingReal{});
    addCases<IndexCheck, CheckValidFindMax>(internal::TypeList<double>{});
    return true;
}();

}  // namespace
}  // namespace gpuruntime::comparison

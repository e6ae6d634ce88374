#include <gpuruntime/membership.hpp>

#include <algorithm>
#include <numeric>

#include "comparison.hpp"

namespace gpuruntime::comparison {
namespace {

/// A sorted set, some of whose elements are queries.
template <class T>
Elements<double> setAmong(Case& call, Elements<T> const& queries) {
    Elements<double> set = call.values<double>(call.number(0, 3000));
    for (double& element : set) {
        if (!queries.empty() && call.flag()) {
            element = static_cast<double>(queries[call.word() % queries.size()]);
        }
    }
    auto const numbers = std::partition(set.begin(), set.end(), [](double x) { return x == x; });
    std::sort(set.begin(), numbers);
    return set;
}

template <class Family, class T>
struct RealMembership {
    static void run(Case& call) {
        auto const queries = call.values<T>(call.number(0, 3000));
        Elements<double> const set = setAmong<T>(call, queries);
        Elements<double> places(set.size());
        std::iota(places.begin(), places.end(), 1.0);
        double const tol = call.real(-10, 10);
        DeviceArray<T> a(queries);
        DeviceArray<double> sorted(set), setLocations(places), locations(queries.size());
        DeviceArray<bool> isMember(queries.size());
        if constexpr (std::is_same_v<Family, IsMember1Arg>) {
            typename Family::template Invoker<T>()(a.data(), queries.size(), sorted.data(), set.size(),
                                                   isMember.data(), tol);
        } else {
            typename Family::template Invoker<T>()(nullptr, a.data(), queries.size(), sorted.data(),
                                                   set.size(), setLocations.data(), isMember.data(),
                                                   locations.data(), tol);
        }
        call.result(isMember);
        call.result(locations);
    }
};

template <class Family, class T>
struct ComplexMembership {
    static void run(Case& call) {
        auto const queries = call.values<double2>(call.number(0, 3000));
        auto set = call.values<double2>(call.number(0, 3000));
        for (double2& element : set) {
            if (!queries.empty() && call.flag()) element = queries[call.word() % queries.size()];
        }
        DeviceArray<double2> a(queries), elements(set);
        DeviceArray<double> locations(queries.size());
        DeviceArray<bool> isMember(queries.size());
        if constexpr (std::is_same_v<Family, IsMember1ArgCmplx>) {
            typename Family::template Invoker<T>()(nullptr, a.data(), queries.size(), elements.data(),
                                                   set.size(), isMember.data());
        } else {
            typename Family::template Invoker<T>()(nullptr, a.data(), queries.size(), elements.data(),
                                                   set.size(), isMember.data(), locations.data());
        }
        call.result(isMember);
        call.result(locations);
    }
};

bool const areAdded = [] {
    using Real = internal::Built<bool, signed char, int, float, double>;
    addCases<RealMembership, IsMember1Arg>(Real{});
    addCases<RealMembership, IsMember2Arg>(Real{});
    addCases<ComplexMembership, IsMember1ArgCmplx>(internal::FloatingComplex{});
    addCases<ComplexMembership, IsMember2ArgCmplx>(internal::FloatingComplex{});
    return true;
}();

}  // namespace
}  // namespace gpuruntime::comparison

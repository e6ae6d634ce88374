#include <gpuruntime/fills.hpp>
#include <gpuruntime/ranges.hpp>

#include "comparison.hpp"

namespace gpuruntime::comparison {
namespace {

template <class Family, class T>
struct Diagonal {
    static void run(Case& call) {
        unsigned long const n = call.number(0, 100), leadingDimension = n + call.number(0, 50);
        DeviceArray<T> out(n * (leadingDimension + 1));
        typename Family::template Invoker<T>()(nullptr, n, out.data(), leadingDimension);
        call.result(out);
    }
};

template <class Family, class T>
struct Fill {
    static void run(Case& call) {
        DeviceArray<T> out(call.number(0, 5000));
        typename Family::template Invoker<T>()(nullptr, out.size(), out.data(), call.values<T>(1)[0]);
        call.result(out);
    }
};

template <class Family, class T>
struct RunningIndex {
    static void run(Case& call) {
        DeviceArray<T> out(call.number(0, 5000));
        unsigned long const repeatEach = call.number(1, 1000), numRuns = call.number(1, 1000);
        typename Family::template Invoker<T>()(nullptr, out.size(), out.data(), repeatEach, numRuns,
                                               static_cast<T>(call.real(-10, 10)));
        call.result(out);
    }
};

template <class Family, class T>
struct MovingWindow {
    static void run(Case& call) {
        unsigned long const n = call.number(0, 3000);
        DeviceArray<T> out(call.values<T>(n));
        Elements<double> ends(n);
        for (double& position : ends) position = call.real(-5, 1000);
        DeviceArray<double> positions(ends);
        unsigned long const length = call.number(1, 1000), before = call.number(0, 300),
                            after = call.number(0, 300);
        typename Family::template Invoker<T>()(nullptr, n, out.data(), positions.data(), length, before,
                                               after, static_cast<T>(call.real(-3, 3)));
        call.result(out);
    }
};

template <class Family, class T>
struct Range {
    static void run(Case& call) {
        DeviceArray<T> out(call.number(0, 5000));
        double const first = call.real(-300, 300), step = call.real(-10, 10);
        typename Family::template Invoker<T> const family;
        if constexpr (std::is_same_v<Family, Colon>) {
            family(nullptr, out.size(), out.data(), first, step,
                   first + step * static_cast<double>(out.size()));
        } else {
            family(nullptr, out.size(), out.data(), first, step);
        }
        call.result(out);
    }
};

/// Between ends that are seldom large: they may be exponents.
template <class Family, class T>
struct Spaced {
    static void run(Case& call) {
        DeviceArray<T> out(call.number(0, 5000));
        Elements<T> ends = call.values<T>(2);
        if (call.number(0, 9) > 0) {
            for (T& end : ends) end = drawn(call);
        }
        typename Family::template Invoker<T>()(nullptr, out.size(), out.data(), ends[0], ends[1]);
        call.result(out);
    }

    static T drawn(Case& call) {
        using P = internal::Part<T>;
        P const real = static_cast<P>(call.real(-40, 40));
        if constexpr (internal::isComplex<T>) {
            return {real, call.flag() ? P(0) : static_cast<P>(call.real(-40, 40))};
        } else {
            return real;
        }
    }
};

bool const areAdded = [] {
    addCases<Diagonal, Eye>(internal::All{});
    addCases<Fill, GenericOnes>(internal::TypeList<unsigned long, ulonglong2>{});
    addCases<RunningIndex, FillArrayWithRunningIndex>(internal::TypeList<int, double>{});
    addCases<MovingWindow, movfun::FillMovVector>(internal::FloatingReal{});
    addCases<Range, Colon>(internal::ConvertedReal{});
    addCases<Range, IntColon>(internal::ConvertedReal{});
    addCases<Spaced, Linspace>(internal::Floating{});
    addCases<Spaced, Logspace>(internal::Floating{});
    return true;
}();

}  // namespace
}  // namespace gpuruntime::comparison

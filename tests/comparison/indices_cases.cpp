#include <gpuruntime/indices.hpp>

#include <algorithm>

#include "comparison.hpp"

namespace gpuruntime::comparison {
namespace {

/// `n` indices from `low` to `high`, often whole ones.
Elements<double> indices(Case& call, unsigned long n, double low, double high) {
    Elements<double> values(n);
    for (double& value : values) value = call.real(low, high);
    return values;
}

/// Subscripts, some of which may lie outside.
template <class Family, class T>
struct Linear {
    static void run(Case& call) {
        unsigned long const n = call.number(0, 3000), rows = call.number(1, 1000),
                            cols = call.number(1, 1000), pages = call.number(1, 1000);
        bool const isInside = call.flag();
        auto const drawn = [&](unsigned long extent) {
            return indices(call, n, isInside ? 1 : -1, static_cast<double>(extent + (isInside ? 0 : 2)));
        };
        DeviceArray<T> r(drawn(rows)), c(drawn(cols)), p(drawn(pages)), out(n);
        typename Family::template Invoker<T> const family;
        if constexpr (std::is_same_v<Family, Sub2Ind2D>) {
            family(nullptr, n, out.data(), r.data(), c.data(), rows);
        } else if constexpr (std::is_same_v<Family, Sub2Ind3D>) {
            family(nullptr, n, out.data(), r.data(), c.data(), p.data(), rows, cols);
        } else {
            if constexpr (std::is_same_v<Family, Sub2Ind2DChecked>) {
                family(nullptr, n, out.data(), r.data(), c.data(), rows, cols);
            } else {
                family(nullptr, n, out.data(), r.data(), c.data(), p.data(), rows, cols, pages);
            }
            call.result(Family().getErrorFlag(nullptr));
        }
        call.result(out);
    }
};

template <class Family, class T>
struct Subscripts {
    static void run(Case& call) {
        unsigned long const n = call.number(0, 3000), rows = call.number(1, 1000),
                            cols = call.number(1, 1000);
        DeviceArray<T> ind(indices(call, n, 1, 1e9)), r(n), c(n), p(n);
        typename Family::template Invoker<T> const family;
        if constexpr (std::is_same_v<Family, Ind2Sub2D>) {
            family(nullptr, n, r.data(), c.data(), ind.data(), rows);
        } else {
            family(nullptr, n, r.data(), c.data(), p.data(), ind.data(), rows, cols);
        }
        call.result(r);
        call.result(c);
        call.result(p);
    }
};

template <class Family, class T>
struct Choice {
    static void run(Case& call) {
        bool const fromRows = std::is_same_v<Family, SelectFromRows>;
        unsigned long const rows = call.number(1, 200), cols = call.number(1, 50), n = fromRows ? rows : cols;
        DeviceArray<T> in(call.values<T>(rows * cols)), out(n);
        DeviceArray<double> selection(indices(call, n, 1, static_cast<double>(fromRows ? cols : rows)));
        typename Family::template Invoker<T>()(nullptr, n, out.data(), in.data(), selection.data(), rows);
        call.result(out);
    }
};

template <class Family, class T>
struct Validation {
    static void run(Case& call) {
        DeviceArray<T> ind(call.values<T>(call.number(0, 3000)));
        DeviceArray<bool> out(ind.size());
        typename Family::template Invoker<T>()(nullptr, ind.size(), out.data(), ind.data());
        call.result(out);
    }
};

template <class Family, class T>
struct Addition {
    static void run(Case& call) {
        std::vector<unsigned long> outSizes(call.number(1, 4));
        unsigned long numOut = 1;
        for (unsigned long& size : outSizes) numOut *= size = call.number(1, 15);
        std::vector<unsigned long> inSizes = outSizes;
        unsigned long& shorter = inSizes[call.word() % inSizes.size()];
        unsigned long numIn = numOut / shorter;
        shorter = call.number(1, shorter);
        numIn *= shorter;
        DeviceArray<T> in(call.values<T>(numIn)), out(call.values<T>(numOut));
        call.result(static_cast<unsigned long>(
            typename Family::template Invoker<T>()(nullptr, out.data(), outSizes.data(), outSizes.size(),
                                                   in.data(), inSizes.data(), inSizes.size())));
        call.result(out);
    }
};

bool const areAdded = [] {
    using Double = internal::TypeList<double>;
    addCases<Linear, Sub2Ind2D>(Double{});
    addCases<Linear, Sub2Ind3D>(Double{});
    addCases<Linear, Sub2Ind2DChecked>(Double{});
    addCases<Linear, Sub2Ind3DChecked>(Double{});
    addCases<Subscripts, Ind2Sub2D>(Double{});
    addCases<Subscripts, Ind2Sub3D>(Double{});
    addCases<Choice, SelectFromColumns>(internal::All{});
    addCases<Choice, SelectFromRows>(internal::All{});
    addCases<Validation, IndexValidation>(Double{});
    addCases<Addition, AddSubarrayInPlace>(internal::Floating{});
    return true;
}();

}  // namespace
}  // namespace gpuruntime::comparison

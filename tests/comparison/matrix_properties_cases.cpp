#include <gpuruntime/matrix_properties.hpp>

#include "comparison.hpp"

namespace gpuruntime::comparison {
namespace {

struct Extent {
    unsigned long rows, columns;
};

Extent extent(Case& call) { return {call.number(0, 600), call.number(0, 60)}; }

/// A value that is often 0, and other than 0 now and then.
template <class T>
T mostlyZero(Case& call, bool isZero) {
    if (isZero) return T{};
    return call.values<T>(1)[0];
}

/// A matrix with few elements far from the diagonal, perhaps none.
template <class T>
Elements<T> narrowMatrix(Case& call, Extent const& e) {
    unsigned long const lower = call.number(0, 700), upper = call.number(0, 70);
    unsigned int const rarely = call.word() % 50 + 1;
    Elements<T> values(e.rows * e.columns);
    for (unsigned long y = 0; y < e.columns; ++y) {
        for (unsigned long x = 0; x < e.rows; ++x) {
            bool const isNear = x <= y + lower && y <= x + upper;
            values[y * e.rows + x] = mostlyZero<T>(call, !isNear || call.word() % rarely != 0);
        }
    }
    return values;
}

template <class Family, class T>
struct OfDense {
    static void run(Case& call) {
        Extent const e = extent(call);
        DeviceArray<T> in(narrowMatrix<T>(call, e));
        if constexpr (std::is_same_v<Family, IsBanded>) {
            call.result(IsBanded::Invoker<T>()(nullptr, in.data(), e.rows, e.columns, call.number(0, 600),
                                               call.number(0, 60)));
        } else {
            call.result(typename Family::template Invoker<T>()(nullptr, in.data(), e.rows, e.columns));
        }
    }
};

template <class Family, class T>
struct Widths {
    static void run(Case& call) {
        Extent const e = extent(call);
        DeviceArray<T> in(narrowMatrix<T>(call, e));
        DeviceArray<unsigned int> lower(1), upper(1);
        Bandwidth::Invoker<T>()(nullptr, lower.data(), upper.data(), in.data(), e.rows, e.columns);
        call.result(lower);
        call.result(upper);
    }
};

template <class Family, class T>
struct Symmetry {
    static void run(Case& call) {
        unsigned long const n = call.number(0, 300);
        auto values = narrowMatrix<T>(call, {n, n});
        for (unsigned long y = 0; y < n; ++y) {
            for (unsigned long x = 0; x < y; ++x) values[y * n + x] = values[x * n + y];
        }
        if (n > 0 && call.flag()) values[call.word() % values.size()] = call.values<T>(1)[0];
        DeviceArray<T> in(values);
        call.result(IsSymmetric::Invoker<T>()(nullptr, in.data(), n, n, call.flag(), call.flag()));
    }
};

template <class Family, class T>
struct OfSparse {
    static void run(Case& call) {
        std::vector<int> starts{0}, rows;
        unsigned long const numColumns = call.number(1, 300);
        for (unsigned long c = 0; c < numColumns; ++c) {
            for (unsigned long left = call.flag() ? 0 : call.number(0, 12); left > 0; --left) {
                rows.push_back(static_cast<int>(call.flag() ? c : call.word() % 300));
            }
            starts.push_back(static_cast<int>(rows.size()));
        }
        DeviceArray<int> columnStarts(starts), rowIndices(rows);
        Elements<T> stored(rows.size());
        for (T& value : stored) value = mostlyZero<T>(call, call.word() % 100 != 0);
        DeviceArray<T> values(stored);
        call.result(GetSparseFillPattern::Invoker<T>()(nullptr, columnStarts.data(), rowIndices.data(),
                                                       values.data(), numColumns, rows.size()));
    }
};

bool const areAdded = [] {
    addCases<Widths, Bandwidth>(internal::Floating{});
    addCases<OfDense, IsBanded>(internal::Floating{});
    addCases<OfDense, IsTril>(internal::Floating{});
    addCases<OfDense, IsTriu>(internal::Floating{});
    addCases<OfDense, GetFillPattern>(internal::Floating{});
    addCases<Symmetry, IsSymmetric>(internal::FloatingWithBool{});
    addCases<OfSparse, GetSparseFillPattern>(internal::TypeList<double, double2>{});
    return true;
}();

}  // namespace
}  // namespace gpuruntime::comparison

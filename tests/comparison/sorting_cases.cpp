#include <gpuruntime/sorting.hpp>

#include <algorithm>
#include <numeric>

#include "comparison.hpp"

namespace gpuruntime::comparison {
namespace {

template <class T>
bool isNaN(T const& value) {
    if constexpr (internal::isComplex<T>) {
        return value.x != value.x || value.y != value.y;
    } else {
        return value != value;
    }
}

/// What every sort takes.
template <class T>
struct Unsorted {
    DeviceArray<T> data;
    DeviceArray<double> indices;
    DeviceArray<int> labels;
    bool ascending, hasNaN;

    explicit Unsorted(Case& call) : Unsorted(call, call.values<T>(call.number(0, 5000))) {}

    Unsorted(Case& call, Elements<T> const& values)
        : data(values),
          indices(counted(values.size())),
          labels(labelsOf(call, values.size())),
          ascending(call.flag()),
          hasNaN(call.flag() || std::any_of(values.begin(), values.end(), isNaN<T>)) {}

    static Elements<double> counted(unsigned long n) {
        Elements<double> numbers(n);
        std::iota(numbers.begin(), numbers.end(), 1.0);
        return numbers;
    }

    static Elements<int> labelsOf(Case& call, unsigned long n) {
        unsigned long const numLabels = call.number(1, 100);
        Elements<int> labels(n);
        for (int& label : labels) label = static_cast<int>(call.word() % numLabels);
        return labels;
    }
};

template <class Family, class T>
struct VectorSort {
    static void run(Case& call) {
        Unsorted<T> array(call);
        double* const indices = call.flag() ? array.indices.data() : nullptr;
        typename Family::template Invoker<T>()(array.data.data(), indices, array.data.size(), array.ascending,
                                               array.hasNaN);
        call.result(array.data);
        call.result(array.indices);
    }
};

template <class Family, class T>
struct PlainSort {
    static void run(Case& call) {
        DeviceArray<T> data(call.values<T>(call.number(0, 5000)));
        typename Family::template Invoker<T>()(data.data(), data.size());
        call.result(data);
    }
};

template <class Family, class T>
struct ColumnSort {
    static void run(Case& call) {
        Unsorted<T> array(call);
        typename Family::template Invoker<T> const family;
        if constexpr (std::is_same_v<Family, SortMatrixIndex>) {
            family(array.data.data(), array.indices.data(), array.labels.data(), array.data.size(),
                   array.ascending, array.hasNaN);
        } else {
            family(array.data.data(), array.labels.data(), array.data.size(), array.ascending, array.hasNaN);
        }
        call.result(array.data);
        call.result(array.indices);
        call.result(array.labels);
    }
};

template <class Family, class T>
struct RowSort {
    static void run(Case& call) {
        unsigned long const rows = call.number(0, 500), cols = call.number(1, 6);
        DeviceArray<T> data(call.values<T>(rows * cols));
        Elements<unsigned int> numbers(rows);
        std::iota(numbers.begin(), numbers.end(), 1u);
        DeviceArray<unsigned int> rowIndices(numbers);
        std::vector<double> sortOrder(call.number(1, cols));
        for (double& column : sortOrder) {
            column = static_cast<double>(1 + call.word() % cols) * (call.flag() ? 1 : -1);
        }
        call.result(static_cast<unsigned long>(
            typename Family::template Invoker<T>()(data.data(), rowIndices.data(), rows, sortOrder.size(),
                                                   call.flag() ? sortOrder.data() : nullptr)));
        call.result(rowIndices);
    }
};

/// Of values that ascend, but perhaps for one.
template <class Family, class T>
struct OrderTest {
    static void run(Case& call) {
        Elements<T> values(call.number(0, 3000));
        for (unsigned long i = 0; i < values.size(); ++i) values[i] = ascending(i);
        if (!values.empty() && call.flag()) values[call.word() % values.size()] = call.values<T>(1)[0];
        DeviceArray<T> data(values);
        call.result(typename Family::template Invoker<T>()(nullptr, data.data(), data.size()));
    }

    static T ascending(unsigned long i) {
        using P = internal::Part<T>;
        P const value = static_cast<P>(std::is_floating_point_v<P> ? i : i / 32);
        if constexpr (internal::isComplex<T>) {
            return {value, value};
        } else {
            return value;
        }
    }
};

bool const areAdded = [] {
    using Sorted = internal::TypeList<long, unsigned long, double, double2>;
    addCases<VectorSort, SortVector>(Sorted{});
    addCases<PlainSort, SimpleSort>(internal::TypeList<double>{});
    addCases<ColumnSort, SortMatrix>(Sorted{});
    addCases<ColumnSort, SortMatrixIndex>(Sorted{});
    addCases<RowSort, SortrowsIndex>(Sorted{});
    addCases<OrderTest, IsSortedVector>(internal::Ordered{});
    addCases<OrderTest, IsStronglySortedVector>(internal::FloatingReal{});
    return true;
}();

}  // namespace
}  // namespace gpuruntime::comparison

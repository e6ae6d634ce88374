#include <gpuruntime/grids.hpp>

#include <algorithm>
#include <cmath>

#include "comparison.hpp"

namespace gpuruntime::comparison {
namespace {

/// A grid, of which every value stands for itself or one near it.
template <class T>
Elements<T> ascending(Case& call, unsigned long n) {
    Elements<T> grid;
    T at = static_cast<T>(call.real(-100, 100));
    for (unsigned long i = 0; i < n; ++i) {
        grid.push_back(at);
        at += static_cast<T>(std::abs(call.real(-1, 1)) + 0.125);
    }
    return grid;
}

template <class Family, class T>
struct Search {
    static void run(Case& call) {
        unsigned long const gridSize = call.number(2, 2000), n = call.number(1, 5000);
        DeviceArray<T> const grid(ascending<T>(call, gridSize));
        Elements<T> queries = call.values<T>(n);
        if (call.flag())
            std::sort(queries.begin(), queries.end(), [](T a, T b) { return a < b || (b != b && a == a); });
        DeviceArray<T> points(grid.values()), in(queries);
        DeviceArray<long> bins(n);
        if constexpr (std::is_same_v<Family, IndexSearch>) {
            IndexSearch::Invoker<T>()(nullptr, bins.data(), 0, points.data(), in.data(), gridSize, n);
        } else {
            IndexSearch_ColonGrid::Invoker<T>()(nullptr, bins.data(), 0, in.data(), gridSize, n);
        }
        call.result(bins);
    }
};

template <class Family, class T>
struct Extents {
    static void run(Case& call) {
        unsigned long const numDims = call.number(1, 5), whichDim = call.number(0, numDims - 1);
        unsigned long dims[5] = {1, 1, 1, 1, 1}, total = 1;
        for (unsigned long d = 0; d < numDims; ++d) total *= dims[d] = call.number(1, 9);
        DeviceArray<T> vector(ascending<T>(call, dims[whichDim]));
        if constexpr (std::is_same_v<Family, CopyToVector>) {
            DeviceArray<T> data(call.values<T>(total)), out(dims[whichDim]);
            CopyToVector::Invoker<T>()(nullptr, out.data(), data.data(), whichDim, dims, numDims, total);
            call.result(out);
        } else {
            Elements<T> array;
            auto const values = vector.values();
            unsigned long stride = 1;
            for (unsigned long d = 0; d < whichDim; ++d) stride *= dims[d];
            for (unsigned long i = 0; i < total; ++i) array.push_back(values[i / stride % dims[whichDim]]);
            if (call.flag()) array[call.number(0, total - 1)] += 1;
            DeviceArray<T> in(array);
            call.result(static_cast<unsigned long>(VerifyNDCartesianGrid::Invoker<T>()(
                nullptr, in.data(), vector.data(), whichDim, dims, numDims)));
        }
    }
};

template <class Family, class T>
struct Check {
    static void run(Case& call) {
        unsigned long const n = call.number(3, 2000);
        Elements<T> grid = ascending<T>(call, n);
        if (call.flag()) {
            for (unsigned long i = 0; i < n; ++i) grid[i] = static_cast<T>(i);
        }
        if (call.flag()) grid[call.number(0, n - 1)] = call.values<T>(1)[0];
        DeviceArray<T> in(grid);
        if constexpr (std::is_same_v<Family, CheckUniformIncreasing>) {
            call.result(
                static_cast<unsigned long>(CheckUniformIncreasing::Invoker<T>()(nullptr, in.data(), n)));
        } else {
            GridFaults const faults = CheckInfNaNAndStrictlyIncreasing::Invoker<T>()(nullptr, in.data(), n);
            call.result((faults.hasInfOrNaN ? 2ul : 0ul) + (faults.isNotStrictlyIncreasing ? 1ul : 0ul));
        }
    }
};

bool const areAdded = [] {
    addCases<Search, IndexSearch>(internal::FloatingReal{});
    addCases<Search, IndexSearch_ColonGrid>(internal::FloatingReal{});
    addCases<Extents, CopyToVector>(internal::FloatingReal{});
    addCases<Extents, VerifyNDCartesianGrid>(internal::FloatingReal{});
    addCases<Check, CheckInfNaNAndStrictlyIncreasing>(internal::FloatingReal{});
    addCases<Check, CheckUniformIncreasing>(internal::FloatingReal{});
    return true;
}();

}  // namespace
}  // namespace gpuruntime::comparison

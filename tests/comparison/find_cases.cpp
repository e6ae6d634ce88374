#include <gpuruntime/find.hpp>

#include "comparison.hpp"

namespace gpuruntime::comparison {
namespace {

/// Values, many of them zeros, and how many up to each are none.
template <class T>
struct Hits {
    Elements<T> values;
    Elements<double> scan;

    Hits(Case& call, unsigned long n) : values(call.values<T>(n)) {
        double count = 0;
        unsigned int const spacing = 1 + call.word() % 20;
        for (auto& value : values) {
            if (call.word() % spacing != 0) value = T{};
            count += isHit(value);
            scan.push_back(count);
        }
    }

    unsigned long count() const { return scan.empty() ? 0 : static_cast<unsigned long>(scan.back()); }

    static bool isHit(T const& value) {
        if constexpr (internal::isComplex<T>) {
            return value.x != 0 || value.y != 0;
        } else {
            return value != 0;
        }
    }
};

template <class Family, class T>
struct Search {
    static void run(Case& call) {
        unsigned long const rows = call.number(0, 300), cols = call.number(0, 5000 / (rows + 1));
        Hits<T> const hits(call, rows * cols);
        unsigned long const limit = call.number(0, hits.count());
        FindFirstLast const mode = call.flag() ? FindFirst : FindLast;
        DeviceArray<T> in(hits.values), values(limit);
        DeviceArray<double> scan(hits.scan), positions(limit), columns(limit);
        typename Family::template Invoker<T> const family;
        if constexpr (std::is_same_v<Family, Find1D>) {
            call.result(static_cast<unsigned long>(
                family(nullptr, positions.data(), in.data(), scan.data(), limit, rows * cols, mode)));
        } else if constexpr (std::is_same_v<Family, Find2D>) {
            family(nullptr, positions.data(), columns.data(), in.data(), scan.data(), limit, rows, cols,
                   mode);
        } else {
            family(nullptr, positions.data(), columns.data(), values.data(), in.data(), scan.data(), limit,
                   rows, cols, mode);
        }
        call.result(positions);
        call.result(columns);
        call.result(values);
    }
};

template <class Family, class Index>
struct SparseSearch {
    static void run(Case& call) {
        unsigned long const nnz = call.number(0, 3000), numRows = call.number(1, 1000);
        Elements<Index> rowValues(nnz), colValues(nnz);
        for (Index& row : rowValues) row = static_cast<Index>(call.word() % numRows);
        for (Index& col : colValues) col = static_cast<Index>(call.word() % 1000);
        DeviceArray<Index> rows(rowValues), cols(colValues);
        DeviceArray<double> positions(nnz), columns(nnz);
        typename Family::Invoker const family;
        if constexpr (std::is_same_v<Family, FindSparse1DConvertCoordsHelper>) {
            family(nullptr, positions.data(), rows.data(), cols.data(), nnz, numRows);
        } else {
            family(nullptr, positions.data(), columns.data(), rows.data(), cols.data(), nnz);
        }
        call.result(positions);
        call.result(columns);
    }
};

bool const areAdded = [] {
    addCases<Search, Find1D>(internal::All{});
    addCases<Search, Find2D>(internal::All{});
    addCases<Search, Find2DWithValue>(internal::All{});
    addCases<SparseSearch, FindSparse1DConvertCoordsHelper>(internal::TypeList<int>{});
    addCases<SparseSearch, FindSparse2DRectifyCoordsHelper>(internal::TypeList<int>{});
    return true;
}();

}  // namespace
}  // namespace gpuruntime::comparison

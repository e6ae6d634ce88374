#include <gpuruntime/movement.hpp>

#include "comparison.hpp"

namespace gpuruntime::comparison {
namespace {

template <class Family, class T>
struct Tiling {
    static void run(Case& call) {
        unsigned long const length = call.number(0, 300), columns = call.number(0, 20),
                            copies = call.number(0, 20);
        typename Family::template Invoker<T> const family;
        if constexpr (std::is_same_v<Family, RepmatColumnVector>) {
            DeviceArray<T> in(call.values<T>(length)), out(length * copies);
            family(nullptr, out.data(), in.data(), length, copies);
            call.result(out);
        } else {
            bool const isVector = std::is_same_v<Family, RepmatRowVector>;
            DeviceArray<T> in(call.values<T>(isVector ? length : length * columns)),
                out(length * columns * copies);
            family(nullptr, out.data(), in.data(), length, columns, copies);
            call.result(out);
        }
    }
};

template <class Family, class T>
struct Turn {
    static void run(Case& call) {
        unsigned long const rows = call.number(0, 200), cols = call.number(0, 5000 / (rows + 1));
        unsigned long const pages = call.number(1, 4), n = rows * cols * pages;
        DeviceArray<T> in(call.values<T>(n)), out(n);
        typename Family::template Invoker<T>()(nullptr, out.data(), in.data(), rows, cols, pages,
                                               call.flag());
        call.result(out);
    }
};

/// The number of a diagonal that may lie outside the matrix.
long diagonal(Case& call, unsigned long rows, unsigned long cols) {
    auto const distance = static_cast<long>(call.number(0, rows + cols));
    return call.flag() ? distance : -distance;
}

template <class Family, class T>
struct Diagonal {
    static void run(Case& call) {
        unsigned long const leadingDim = call.number(1, 100), length = call.number(0, 100);
        long const k = diagonal(call, 20, 20);
        unsigned long const matrixSize =
            (length + static_cast<unsigned long>(std::abs(k))) * (leadingDim + 1);
        bool const isToVector = std::is_same_v<Family, DiagMatToVec>;
        DeviceArray<T> in(call.values<T>(isToVector ? matrixSize : length));
        DeviceArray<T> out(isToVector ? length : matrixSize);
        typename Family::template Invoker<T>()(nullptr, out.data(), in.data(), leadingDim, k, length);
        call.result(out);
    }
};

template <class Family, class T>
struct Triangle {
    static void run(Case& call) {
        unsigned long const rows = call.number(0, 200), cols = call.number(0, 10000 / (rows + 1));
        DeviceArray<T> data(call.values<T>(rows * cols));
        typename Family::template Invoker<T>()(nullptr, data.data(), diagonal(call, rows, cols), rows, cols);
        call.result(data);
    }
};

template <class Family, class T>
struct SparseTriangle {
    static void run(Case& call) {
        unsigned long const numRows = call.number(1, 300);
        Elements<int> starts{0}, columns;
        for (unsigned long row = 0; row < numRows; ++row) {
            for (unsigned long left = call.number(0, 20); left > 0; --left) {
                columns.push_back(static_cast<int>(call.word() % 300));
            }
            starts.push_back(static_cast<int>(columns.size()));
        }
        DeviceArray<int> rowStarts(starts), columnIndices(columns);
        DeviceArray<T> values(call.values<T>(columns.size()));
        typename Family::template Invoker<T>()(nullptr, rowStarts.data(), columnIndices.data(), values.data(),
                                               numRows, columns.size(), diagonal(call, 300, 300));
        call.result(values);
    }
};

bool const areAdded = [] {
    addCases<Tiling, RepmatColumnVector>(internal::All{});
    addCases<Tiling, RepmatRowVector>(internal::All{});
    addCases<Tiling, RepmatMatrixRows>(internal::All{});
    addCases<Turn, Rot90>(internal::All{});
    addCases<Diagonal, DiagVecToMat>(internal::All{});
    addCases<Diagonal, DiagMatToVec>(internal::All{});
    addCases<Triangle, TriLower>(internal::All{});
    addCases<Triangle, TriUpper>(internal::All{});
    addCases<Triangle, TriLowerOneOnDiag>(internal::All{});
    addCases<SparseTriangle, TriLowerSparse>(internal::TypeList<double, double2>{});
    addCases<SparseTriangle, TriUpperSparse>(internal::TypeList<double, double2>{});
    return true;
}();

}  // namespace
}  // namespace gpuruntime::comparison

#include <gpuruntime/sorting.hpp>

#include <algorithm>

#include "conversion.hpp"
#include "frame/instantiation.hpp"
#include "sort.hpp"
#include "sorting/value_sort.hpp"

namespace gpuruntime {
namespace {

/// Entries of the column list that constant memory holds, where all threads of a warp read the same one at
/// once.
constexpr unsigned int maxConstantColumns = 1024;
using ConstantColumns = double[maxConstantColumns];

GPU_CONSTANT_VARIABLE(unsigned int, SortRowsNumRows);
GPU_CONSTANT_VARIABLE(unsigned int, SortRowsNumColsToSort);
GPU_CONSTANT_VARIABLE(unsigned int, SortRowsSortOrderSpecified);
GPU_CONSTANT_VARIABLE(ConstantColumns, SortRowsCols);

/// Negative if `x` is less than `y`, positive if it is greater. NaN is greater than every number, and equal
/// to itself unless the order of complex values tells two of them apart.
template <class T>
GPU_DEVICE int compareValues(T const& x, T const& y) {
    if constexpr (std::is_floating_point_v<internal::Part<T>>) {
        bool const nanX = isNanVal<T>{}(x), nanY = isNanVal<T>{}(y);
        if (nanX != nanY) return nanX ? 1 : -1;
    }
    if constexpr (internal::isComplex<T>) {
        return internal::compareComplex(x, y);
    } else {
        return x < y ? -1 : y < x ? 1 : 0;
    }
}

}  // namespace

/// Orders row numbers, 1-based, by the listed columns of the matrix and at last by themselves.
template <class T>
class CompareRows {
  public:
    static constexpr bool isRadix = false;
    static constexpr bool ranksDecide = !internal::isComplex<T>, ranksAreKeys = false;

    /// `overflow` holds the entries of the column list that constant memory does not.
    CompareRows(T const* data, double const* overflow) : data(data), overflow(overflow) {}

    GPU_DEVICE_CALL bool operator()(unsigned int a, unsigned int b) const {
        if (a == b) return false;
        for (unsigned int k = 0; k < SortRowsNumColsToSort; ++k) {
            Column const column = columnAt(k);
            int const verdict = compareValues(element(a, column.number), element(b, column.number));
            if (verdict != 0) return column.ascending ? verdict < 0 : verdict > 0;
        }
        return a < b;
    }

    /// Each column has a direction of its own.
    CompareRows inEitherDirection() const { return *this; }

    /// A rank for each column and one for the row number; in complex matrices only for the first column.
    GPU_DEVICE unsigned long numRanks() const { return ranksDecide ? SortRowsNumColsToSort + 1ul : 1; }

    GPU_DEVICE unsigned long rank(unsigned int row, unsigned long level) const {
        if (level == SortRowsNumColsToSort) return row;
        Column const column = columnAt(static_cast<unsigned int>(level));
        T const value = element(row, column.number);
        unsigned long rank = internal::rankOfEqualZeros(value);
        if constexpr (std::is_floating_point_v<internal::Part<T>>) {
            if (isNanVal<T>{}(value)) rank = ~0ul;
        }
        return column.ascending ? rank : ~rank;
    }

  private:
    struct Column {
        unsigned int number;
        bool ascending;
    };

    GPU_DEVICE Column columnAt(unsigned int k) const {
        if (SortRowsSortOrderSpecified == 0) return {k + 1, true};
        double const entry = k < maxConstantColumns ? SortRowsCols[k] : overflow[k - maxConstantColumns];
        return {backend::toUint32(backend::abs(entry)), entry > 0};
    }

    GPU_DEVICE T element(unsigned int row, unsigned int column) const {
        return data[SortRowsNumRows * (column - 1) + row - 1];
    }

    T const* data;
    double const* overflow;
};

namespace {

/// Copies the three scalars, all of them whatever fails; returns the first failure.
cudaError copyShape(unsigned long numRows, unsigned long numColsToSort, bool sortOrderSpecified) {
    auto const rows = static_cast<unsigned int>(numRows);
    auto const columns = static_cast<unsigned int>(numColsToSort);
    cudaError const copied[] = {
        cudaMemcpyToSymbol(SortRowsNumRows, &rows, sizeof rows),
        cudaMemcpyToSymbol(SortRowsNumColsToSort, &columns, sizeof columns),
        cudaMemcpyToSymbol(SortRowsSortOrderSpecified, &sortOrderSpecified, sizeof sortOrderSpecified)};
    for (cudaError status : copied) {
        if (status != cudaSuccess) return status;
    }
    return cudaSuccess;
}

/// Copies the column list to constant memory, and what does not fit there to a new buffer.
cudaError copyColumns(double const* sortOrder, unsigned long numColsToSort, double*& overflow) {
    unsigned long const numConstant = std::min<unsigned long>(numColsToSort, maxConstantColumns);
    cudaError status = cudaMemcpyToSymbol(SortRowsCols, sortOrder, numConstant * sizeof(double));
    if (status != cudaSuccess || numColsToSort <= maxConstantColumns) return status;
    unsigned long const overflowBytes = (numColsToSort - numConstant) * sizeof(double);
    status = cudaMalloc(&overflow, overflowBytes);
    if (status != cudaSuccess) return status;
    return cudaMemcpy(overflow, sortOrder + numConstant, overflowBytes, cudaMemcpyHostToDevice);
}

}  // namespace

template <class T>
int SortrowsIndex::Invoker<T>::operator()(T const* data, unsigned int* rowIndices, unsigned long numRows,
                                          unsigned long numColsToSort, double const* sortOrder) const {
    cudaError const status = copyShape(numRows, numColsToSort, sortOrder != nullptr);
    if (status != cudaSuccess) return status;
    double* overflow = nullptr;
    if (sortOrder == nullptr || copyColumns(sortOrder, numColsToSort, overflow) == cudaSuccess) {
        backend::stableSort(CompareRows<T>(data, overflow), numRows, rowIndices);
    }
    return cudaFree(overflow);
}

void _forceInstantiation_(detail::Opaque& opaque, SortrowsIndex*) {
    internal::instantiate<SortrowsIndex>(opaque, internal::SortedTypes{});
}

}  // namespace gpuruntime

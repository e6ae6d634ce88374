#include <gpuruntime/movement.hpp>

#include "frame/complex.hpp"
#include "frame/elementwise.hpp"
#include "frame/instantiation.hpp"
#include "indexing/carrier.hpp"
#include "indexing/compressed.hpp"

namespace gpuruntime {
namespace {

// Zero is zero in every type's bits, and one comes as an argument: so these move bytes, too.

/// The rows of column `y` that are above the `k`-th diagonal, and those that are up to it, begin at 0 and end
/// here.
struct DiagonalRow {
    unsigned int above, upTo;

    GPU_DEVICE DiagonalRow(unsigned int y, int k) {
        auto const row = static_cast<int>(y - static_cast<unsigned int>(k));
        above = row > 0 ? static_cast<unsigned int>(row) : 0;
        upTo = row >= 0 ? static_cast<unsigned int>(row) + 1 : 0;
    }
};

template <class T, bool upper>
struct TrilTriu {
    static GPU_DEVICE void apply(elementwise2ddetail::BlockOfRows const& block, T* data, int k) {
        block.forEachRow([&](backend::Row row, unsigned int y) {
            DiagonalRow const diagonal(y, k);
            backend::Row const cleared =
                upper ? row.within(diagonal.upTo, block.nx) : row.within(0, diagonal.above);
            backend::fillRow(cleared, data + y * block.nx, T{}, block.isStreamed<T>());
        });
    }
};

template <class T>
struct TrilOneDiag {
    static GPU_DEVICE void apply(elementwise2ddetail::BlockOfRows const& block, T* data, int k, T one) {
        block.forEachRow([&](backend::Row row, unsigned int y) {
            DiagonalRow const diagonal(y, k);
            T* const column = data + y * block.nx;
            backend::fillRow(row.within(0, diagonal.above), column, T{}, block.isStreamed<T>());
            row.within(diagonal.above, diagonal.upTo).forEach([&](unsigned long x) { column[x] = one; });
        });
    }
};

template <class T, bool upper>
struct TrilTriuSparse {
    static GPU_DEVICE void apply(elementwisedetail::Position at, int const* rowStarts,
                                 int const* columnIndices, T* values, unsigned int numRows, long k) {
        long const row = internal::compressedIndexOf(rowStarts, numRows, at.i, at.n),
                   diagonalRow = columnIndices[at.i] - k;
        if (upper ? row > diagonalRow : row < diagonalRow) values[at.i] = T{};
    }
};

// One body for all types of a size.

template <bool upper, class T>
__attribute__((noinline)) void clearTriangle(CUstream_st* stream, T* data, long k, unsigned long rows,
                                             unsigned long cols) {
    if (rows == 0 || cols == 0) return;
    elementwise2ddetail::launch<TrilTriu<T, upper>>(stream, rows, cols, data, k);
}

template <class T>
__attribute__((noinline)) void clearTriangleWithOnes(CUstream_st* stream, T* data, long k, unsigned long rows,
                                                     unsigned long cols, T one) {
    if (rows == 0 || cols == 0) return;
    elementwise2ddetail::launch<TrilOneDiag<T>>(stream, rows, cols, data, k, one);
}

}  // namespace

template <class T>
void TriLower::Invoker<T>::operator()(CUstream_st* stream, T* data, long k, unsigned long rows,
                                      unsigned long cols) const {
    clearTriangle<false>(stream, internal::carried(data), k, rows, cols);
}

template <class T>
void TriUpper::Invoker<T>::operator()(CUstream_st* stream, T* data, long k, unsigned long rows,
                                      unsigned long cols) const {
    clearTriangle<true>(stream, internal::carried(data), k, rows, cols);
}

template <class T>
void TriLowerOneOnDiag::Invoker<T>::operator()(CUstream_st* stream, T* data, long k, unsigned long rows,
                                               unsigned long cols) const {
    T one{};
    if constexpr (internal::isComplex<T>) {
        one.x = 1;
    } else {
        one = T(1);
    }
    clearTriangleWithOnes(stream, internal::carried(data), k, rows, cols, internal::carriedValue(one));
}

template <class T>
void TriLowerSparse::Invoker<T>::operator()(CUstream_st* stream, int const* rowStarts,
                                            int const* columnIndices, T* values, unsigned long numRows,
                                            unsigned long nnz, long k) const {
    elementwisedetail::launch<TrilTriuSparse<T, false>>(stream, nnz, rowStarts, columnIndices, values,
                                                        numRows, k);
}

template <class T>
void TriUpperSparse::Invoker<T>::operator()(CUstream_st* stream, int const* rowStarts,
                                            int const* columnIndices, T* values, unsigned long numRows,
                                            unsigned long nnz, long k) const {
    elementwisedetail::launch<TrilTriuSparse<T, true>>(stream, nnz, rowStarts, columnIndices, values, numRows,
                                                       k);
}

void _forceInstantiation_(detail::Opaque& opaque, TriLower*) {
    internal::instantiate<TriLower>(opaque, internal::All{});
}

void _forceInstantiation_(detail::Opaque& opaque, TriUpper*) {
    internal::instantiate<TriUpper>(opaque, internal::All{});
}

void _forceInstantiation_(detail::Opaque& opaque, TriLowerOneOnDiag*) {
    internal::instantiate<TriLowerOneOnDiag>(opaque, internal::All{});
}

void _forceInstantiation_(detail::Opaque& opaque, TriLowerSparse*) {
    internal::instantiate<TriLowerSparse>(opaque, internal::TypeList<double, double2>{});
}

void _forceInstantiation_(detail::Opaque& opaque, TriUpperSparse*) {
    internal::instantiate<TriUpperSparse>(opaque, internal::TypeList<double, double2>{});
}

}  // namespace gpuruntime

#include <gpuruntime/matrix_properties.hpp>

#include "atomics.hpp"
#include "frame/elementwise.hpp"
#include "frame/flags.hpp"
#include "frame/instantiation.hpp"
#include "indexing/compressed.hpp"
#include "matrix/elements.hpp"

namespace gpuruntime {
namespace {

using elementwise2ddetail::BlockOfRows;

/// 0 while a matrix is triangular.
GPU_DEVICE_VARIABLE(unsigned int, D_INT_FLAG);
/// 1 while nothing non-zero was seen there.
GPU_DEVICE_VARIABLE(unsigned int, UPPER_IS_ALL_ZERO_FLAG);
GPU_DEVICE_VARIABLE(unsigned int, LOWER_IS_ALL_ZERO_FLAG);

/// The part of a row above the diagonal element of column `y`, and that below it.
GPU_DEVICE backend::Row above(backend::Row row, unsigned int y) { return row.within(0, y); }
GPU_DEVICE backend::Row below(backend::Row row, unsigned int y, unsigned int nx) {
    return row.within(y + 1, nx);
}

template <class T>
struct IsTrilKernel {
    static GPU_DEVICE void apply(BlockOfRows const& block, T const* in) {
        if (backend::relaxedLoad(D_INT_FLAG) != 0) return;
        block.forEachRow([&](backend::Row row, unsigned int y) {
            if (internal::hasNonZero(above(row, y), in + y * block.nx)) backend::atomicOr(D_INT_FLAG, 1);
        });
    }
};

template <class T>
struct IsTriuKernel {
    static GPU_DEVICE void apply(BlockOfRows const& block, T const* in) {
        if (backend::relaxedLoad(D_INT_FLAG) != 0) return;
        block.forEachRow([&](backend::Row row, unsigned int y) {
            if (internal::hasNonZero(below(row, y, block.nx), in + y * block.nx)) {
                backend::atomicOr(D_INT_FLAG, 1);
            }
        });
    }
};

/// Clears the flag if there is a non-zero element, which is looked for only where nobody has found one.
template <class T>
GPU_DEVICE void clearIfNonZero(unsigned int& isAllZero, backend::Row row, T const* column) {
    if (backend::relaxedLoad(isAllZero) != 0 && internal::hasNonZero(row, column)) {
        backend::atomicAnd(isAllZero, 0);
    }
}

template <class T>
struct FillPatternKernel {
    static GPU_DEVICE void apply(BlockOfRows const& block, T const* in) {
        block.forEachRow([&](backend::Row row, unsigned int y) {
            T const* const column = in + y * block.nx;
            clearIfNonZero(UPPER_IS_ALL_ZERO_FLAG, above(row, y), column);
            clearIfNonZero(LOWER_IS_ALL_ZERO_FLAG, below(row, y, block.nx), column);
        });
    }
};

template <class T>
struct SparseFillPatternKernel {
    static GPU_DEVICE void apply(elementwisedetail::Position at, int const* columnStarts,
                                 int const* rowIndices, T const* values, unsigned int numColumns) {
        bool const isUpperOpen = backend::relaxedLoad(UPPER_IS_ALL_ZERO_FLAG) != 0;
        bool const isLowerOpen = backend::relaxedLoad(LOWER_IS_ALL_ZERO_FLAG) != 0;
        if ((!isUpperOpen && !isLowerOpen) || !internal::isNonZero(values[at.i])) return;
        int const row = rowIndices[at.i],
                  column = internal::compressedIndexOf(columnStarts, numColumns, at.i, at.n);
        if (row < column) backend::atomicAnd(UPPER_IS_ALL_ZERO_FLAG, 0);
        if (row > column) backend::atomicAnd(LOWER_IS_ALL_ZERO_FLAG, 0);
    }
};

template <class Kernel, class T>
bool isTriangular(CUstream_st* stream, T const* in, unsigned long rows, unsigned long columns) {
    auto const flags = internal::flagsAfter<1>({&D_INT_FLAG}, internal::clearFlag, stream, [&] {
        if (rows != 0 && columns != 0) elementwise2ddetail::launch<Kernel>(stream, rows, columns, in);
    });
    return !flags || (*flags)[0] == 0;
}

/// Of the two triangles, one bit each.
template <class Launch>
unsigned int fillPattern(CUstream_st* stream, Launch launch) {
    auto const flags = internal::flagsAfter<2>({&UPPER_IS_ALL_ZERO_FLAG, &LOWER_IS_ALL_ZERO_FLAG},
                                               internal::setFlag, stream, launch);
    return flags ? (*flags)[0] + 2 * (*flags)[1] : 0;
}

}  // namespace

template <class T>
bool IsTril::Invoker<T>::operator()(CUstream_st* stream, T const* in, unsigned long rows,
                                    unsigned long columns) const {
    return isTriangular<IsTrilKernel<T>>(stream, in, rows, columns);
}

template <class T>
bool IsTriu::Invoker<T>::operator()(CUstream_st* stream, T const* in, unsigned long rows,
                                    unsigned long columns) const {
    return isTriangular<IsTriuKernel<T>>(stream, in, rows, columns);
}

template <class T>
unsigned int GetFillPattern::Invoker<T>::operator()(CUstream_st* stream, T const* in, unsigned long rows,
                                                    unsigned long columns) const {
    return fillPattern(stream, [&] {
        if (rows != 0 && columns != 0) {
            elementwise2ddetail::launch<FillPatternKernel<T>>(stream, rows, columns, in);
        }
    });
}

template <class T>
unsigned int GetSparseFillPattern::Invoker<T>::operator()(CUstream_st* stream, int const* columnStarts,
                                                          int const* rowIndices, T const* values,
                                                          unsigned long numColumns,
                                                          unsigned long nonZeros) const {
    return fillPattern(stream, [&] {
        elementwisedetail::launch<SparseFillPatternKernel<T>>(stream, nonZeros, columnStarts, rowIndices,
                                                              values, numColumns);
    });
}

void _forceInstantiation_(detail::Opaque& opaque, IsTril*) {
    internal::instantiate<IsTril>(opaque, internal::Floating{});
}

void _forceInstantiation_(detail::Opaque& opaque, IsTriu*) {
    internal::instantiate<IsTriu>(opaque, internal::Floating{});
}

void _forceInstantiation_(detail::Opaque& opaque, GetFillPattern*) {
    internal::instantiate<GetFillPattern>(opaque, internal::Floating{});
}

void _forceInstantiation_(detail::Opaque& opaque, GetSparseFillPattern*) {
    internal::instantiate<GetSparseFillPattern>(opaque, internal::TypeList<double, double2>{});
}

}  // namespace gpuruntime

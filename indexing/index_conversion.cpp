#include <gpuruntime/indices.hpp>

#include "conversion.hpp"
#include "frame/convert.hpp"
#include "frame/elementwise.hpp"
#include "frame/error_word.hpp"
#include "frame/instantiation.hpp"
#include "frame/invariant_divisor.hpp"
#include "math.hpp"

namespace gpuruntime {
namespace {

GPU_DEVICE_VARIABLE(unsigned int, __KVX_PTX_ERROR_CODE);

constexpr unsigned int outOfRangeCode = 1057;

/// Of zero-based subscripts along a dimension of `extent` and the next one.
GPU_DEVICE double joined(unsigned int extent, double next, double first) {
    return backend::fma(backend::fromUint32(extent), next, first);
}

template <class T>
struct Sub2Ind2DKernel {
    static GPU_DEVICE void apply(elementwisedetail::BlockOfElements const& block, T* out, T const* rows,
                                 T const* cols, unsigned int numRows) {
        block.store(out, 0, block.n, [=](unsigned int i) { return joined(numRows, cols[i] - 1, rows[i]); });
    }
};

template <class T>
struct Sub2Ind3DKernel {
    static GPU_DEVICE void apply(elementwisedetail::BlockOfElements const& block, T* out, T const* rows,
                                 T const* cols, T const* pages, unsigned int numRows, unsigned int numCols) {
        block.store(out, 0, block.n, [=](unsigned int i) {
            return joined(numRows, joined(numCols, pages[i] - 1, cols[i] - 1), rows[i]);
        });
    }
};

/// Reports if `isOutOfRange(i)` of any element of the block.
template <class IsOutOfRange>
GPU_DEVICE void report(elementwisedetail::BlockOfElements const& block, IsOutOfRange isOutOfRange) {
    unsigned int any = 0;
    block.forEach(0, block.n, [&](unsigned int i) { any |= isOutOfRange(i); });
    if (any != 0) internal::reportError(__KVX_PTX_ERROR_CODE, outOfRangeCode);
}

template <class T>
struct Sub2Ind2DCheckedKernel {
    static GPU_DEVICE void apply(elementwisedetail::BlockOfElements const& block, T* out, T const* rows,
                                 T const* cols, unsigned int numRows, unsigned int numCols) {
        double const lastRow = backend::fromUint32(numRows), lastCol = backend::fromUint32(numCols);
        report(block, [=](unsigned int i) {
            return (joined(numRows, cols[i] - 1, rows[i]) < 1) | (rows[i] > lastRow) | (cols[i] > lastCol);
        });
        Sub2Ind2DKernel<T>::apply(block, out, rows, cols, numRows);
    }
};

template <class T>
struct Sub2Ind3DCheckedKernel {
    static GPU_DEVICE void apply(elementwisedetail::BlockOfElements const& block, T* out, T const* rows,
                                 T const* cols, T const* pages, unsigned int numRows, unsigned int numCols,
                                 unsigned int numPages) {
        double const lastRow = backend::fromUint32(numRows), lastCol = backend::fromUint32(numCols),
                     lastPage = backend::fromUint32(numPages);
        report(block, [=](unsigned int i) {
            double const index = joined(numRows, joined(numCols, pages[i] - 1, cols[i] - 1), rows[i]);
            return (index < 1) | (rows[i] > lastRow) | (cols[i] > lastCol) | (pages[i] > lastPage);
        });
        Sub2Ind3DKernel<T>::apply(block, out, rows, cols, pages, numRows, numCols);
    }
};

/// The subscript along the last dimension, zero-based: `stride` elements lie between its positions.
GPU_DEVICE unsigned int subscriptOf(double index, internal::InvariantDivisor stride) {
    return stride.quotient(internal::storedAs<unsigned int>(index - 1));
}

template <class T>
struct Ind2Sub2DKernel {
    static GPU_DEVICE void apply(elementwisedetail::BlockOfElements const& block, T* rows, T* cols,
                                 T const* ind, unsigned int numRows, internal::InvariantDivisor byRows) {
        double const height = backend::fromUint32(numRows);
        block.forEach(0, block.n, [=](unsigned int i) {
            double const index = ind[i], col = backend::fromUint32(subscriptOf(index, byRows));
            rows[i] = index - height * col;
            cols[i] = col + 1;
        });
    }
};

template <class T>
struct Ind2Sub3DKernel {
    static GPU_DEVICE void apply(elementwisedetail::BlockOfElements const& block, T* rows, T* cols, T* pages,
                                 T const* ind, unsigned int numRows, unsigned int numCols,
                                 internal::InvariantDivisor byRows, internal::InvariantDivisor byPage) {
        double const height = backend::fromUint32(numRows), pageSize = backend::fromUint32(numRows * numCols);
        block.forEach(0, block.n, [=](unsigned int i) {
            double const index = ind[i], page = backend::fromUint32(subscriptOf(index, byPage));
            double const inPage = index - pageSize * page,
                         col = backend::fromUint32(subscriptOf(inPage, byRows));
            rows[i] = inPage - height * col;
            cols[i] = col + 1;
            pages[i] = page + 1;
        });
    }
};

struct IndexValidationKernel {
    static GPU_DEVICE void apply(elementwisedetail::BlockOfElements const& block, bool* isValid,
                                 double const* ind) {
        block.store(isValid, 0, block.n, [=](unsigned int i) {
            double const index = ind[i];
            // Also false for NaN, and for infinity, whose difference with itself is none.
            return (index >= 1) & (backend::floor(index) - index == 0);
        });
    }
};

}  // namespace

template <class T>
void Sub2Ind2D::Invoker<T>::operator()(CUstream_st* stream, unsigned long n, T* out, T const* rows,
                                       T const* cols, unsigned long numRows) const {
    elementwisedetail::launch<Sub2Ind2DKernel<T>>(stream, n, out, rows, cols, numRows);
}

template <class T>
void Sub2Ind3D::Invoker<T>::operator()(CUstream_st* stream, unsigned long n, T* out, T const* rows,
                                       T const* cols, T const* pages, unsigned long numRows,
                                       unsigned long numCols) const {
    elementwisedetail::launch<Sub2Ind3DKernel<T>>(stream, n, out, rows, cols, pages, numRows, numCols);
}

template <class T>
int Sub2Ind2DChecked::Invoker<T>::operator()(CUstream_st* stream, unsigned long n, T* out, T const* rows,
                                             T const* cols, unsigned long numRows,
                                             unsigned long numCols) const {
    cudaError const status = internal::resetErrorWord(__KVX_PTX_ERROR_CODE, stream);
    if (status != cudaSuccess) return status;
    return elementwisedetail::launch<Sub2Ind2DCheckedKernel<T>>(stream, n, out, rows, cols, numRows, numCols);
}

template <class T>
int Sub2Ind3DChecked::Invoker<T>::operator()(CUstream_st* stream, unsigned long n, T* out, T const* rows,
                                             T const* cols, T const* pages, unsigned long numRows,
                                             unsigned long numCols, unsigned long numPages) const {
    cudaError const status = internal::resetErrorWord(__KVX_PTX_ERROR_CODE, stream);
    if (status != cudaSuccess) return status;
    return elementwisedetail::launch<Sub2Ind3DCheckedKernel<T>>(stream, n, out, rows, cols, pages, numRows,
                                                                numCols, numPages);
}

unsigned int Sub2Ind2DChecked::getErrorFlag(CUstream_st* stream) const {
    return internal::readErrorWord(__KVX_PTX_ERROR_CODE, stream);
}

unsigned int Sub2Ind3DChecked::getErrorFlag(CUstream_st* stream) const {
    return internal::readErrorWord(__KVX_PTX_ERROR_CODE, stream);
}

template <class T>
void Ind2Sub2D::Invoker<T>::operator()(CUstream_st* stream, unsigned long n, T* rows, T* cols, T const* ind,
                                       unsigned long numRows) const {
    internal::InvariantDivisor const byRows(static_cast<unsigned int>(numRows));
    elementwisedetail::launch<Ind2Sub2DKernel<T>>(stream, n, rows, cols, ind, numRows, byRows);
}

template <class T>
void Ind2Sub3D::Invoker<T>::operator()(CUstream_st* stream, unsigned long n, T* rows, T* cols, T* pages,
                                       T const* ind, unsigned long numRows, unsigned long numCols) const {
    internal::InvariantDivisor const byRows(static_cast<unsigned int>(numRows)),
        byPage(static_cast<unsigned int>(numRows * numCols));
    elementwisedetail::launch<Ind2Sub3DKernel<T>>(stream, n, rows, cols, pages, ind, numRows, numCols, byRows,
                                                  byPage);
}

template <class T>
void IndexValidation::Invoker<T>::operator()(CUstream_st* stream, unsigned long n, bool* isValid,
                                             T const* ind) const {
    elementwisedetail::launch<IndexValidationKernel>(stream, n, isValid, ind);
}

void _forceInstantiation_(detail::Opaque& opaque, Sub2Ind2D*) {
    internal::instantiate<Sub2Ind2D>(opaque, internal::TypeList<double>{});
}

void _forceInstantiation_(detail::Opaque& opaque, Sub2Ind3D*) {
    internal::instantiate<Sub2Ind3D>(opaque, internal::TypeList<double>{});
}

void _forceInstantiation_(detail::Opaque& opaque, Sub2Ind2DChecked*) {
    internal::instantiate<Sub2Ind2DChecked>(opaque, internal::TypeList<double>{});
}

void _forceInstantiation_(detail::Opaque& opaque, Sub2Ind3DChecked*) {
    internal::instantiate<Sub2Ind3DChecked>(opaque, internal::TypeList<double>{});
}

void _forceInstantiation_(detail::Opaque& opaque, Ind2Sub2D*) {
    internal::instantiate<Ind2Sub2D>(opaque, internal::TypeList<double>{});
}

void _forceInstantiation_(detail::Opaque& opaque, Ind2Sub3D*) {
    internal::instantiate<Ind2Sub3D>(opaque, internal::TypeList<double>{});
}

void _forceInstantiation_(detail::Opaque& opaque, IndexValidation*) {
    internal::instantiate<IndexValidation>(opaque, internal::TypeList<double>{});
}

}  // namespace gpuruntime

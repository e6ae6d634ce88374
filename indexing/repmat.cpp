#include <gpuruntime/movement.hpp>

#include "frame/elementwise.hpp"
#include "frame/instantiation.hpp"
#include "indexing/carrier.hpp"

namespace gpuruntime {
namespace {

// What is written is one dense array, row by row.

template <class T>
struct RepmatColumnVectorKernel {
    static GPU_DEVICE void apply(elementwise2ddetail::BlockOfRows const& block, T* out, T const* in) {
        block.forEachRow([&](backend::Row row, unsigned int y) {
            backend::copyRow(row, out + y * block.nx, in, block.isStreamed<T>());
        });
    }
};

template <class T>
struct RepmatRowVectorKernel {
    static GPU_DEVICE void apply(elementwise3ddetail::BlockOfRows const& block, T* out, T const* in) {
        block.forEachRow([&](backend::Row row, unsigned int y, unsigned int z) {
            backend::fillRow(row, out + (z * block.ny + y) * block.nx, in[y], block.isStreamed<T>());
        });
    }
};

template <class T>
struct RepmatMatrixRowsKernel {
    static GPU_DEVICE void apply(elementwise3ddetail::BlockOfRows const& block, T* out, T const* in) {
        block.forEachRow([&](backend::Row row, unsigned int y, unsigned int z) {
            backend::copyRow(row, out + (z * block.ny + y) * block.nx, in + z * block.nx,
                             block.isStreamed<T>());
        });
    }
};

// One body for all types of a size.

template <class T>
__attribute__((noinline)) void repmatColumnVector(CUstream_st* stream, T* out, T const* in,
                                                  unsigned long length, unsigned long copies) {
    if (length == 0 || copies == 0) return;
    elementwise2ddetail::launch<RepmatColumnVectorKernel<T>>(stream, length, copies, out, in);
}

/// A kernel of three extents.
template <template <class> class Kernel, class T>
__attribute__((noinline)) void repmat(CUstream_st* stream, T* out, T const* in, unsigned long nx,
                                      unsigned long ny, unsigned long nz) {
    if (nx == 0 || ny == 0 || nz == 0) return;
    elementwise3ddetail::launch<Kernel<T>>(stream, nx, ny, nz, out, in);
}

}  // namespace

template <class T>
void RepmatColumnVector::Invoker<T>::operator()(CUstream_st* stream, T* out, T const* in,
                                                unsigned long length, unsigned long copies) const {
    repmatColumnVector(stream, internal::carried(out), internal::carried(in), length, copies);
}

template <class T>
void RepmatRowVector::Invoker<T>::operator()(CUstream_st* stream, T* out, T const* in, unsigned long length,
                                             unsigned long rowCopies, unsigned long columnCopies) const {
    repmat<RepmatRowVectorKernel>(stream, internal::carried(out), internal::carried(in), rowCopies, length,
                                  columnCopies);
}

template <class T>
void RepmatMatrixRows::Invoker<T>::operator()(CUstream_st* stream, T* out, T const* in, unsigned long rows,
                                              unsigned long cols, unsigned long copies) const {
    repmat<RepmatMatrixRowsKernel>(stream, internal::carried(out), internal::carried(in), rows, copies, cols);
}

void _forceInstantiation_(detail::Opaque& opaque, RepmatColumnVector*) {
    internal::instantiate<RepmatColumnVector>(opaque, internal::All{});
}

void _forceInstantiation_(detail::Opaque& opaque, RepmatRowVector*) {
    internal::instantiate<RepmatRowVector>(opaque, internal::All{});
}

void _forceInstantiation_(detail::Opaque& opaque, RepmatMatrixRows*) {
    internal::instantiate<RepmatMatrixRows>(opaque, internal::All{});
}

}  // namespace gpuruntime

#include <gpuruntime/indices.hpp>

#include "frame/elementwise.hpp"
#include "frame/instantiation.hpp"
#include "indexing/carrier.hpp"
#include "indexing/selection.hpp"

namespace gpuruntime {
namespace {

// Each column, or row, is a step along a progression, to which the selection adds.

template <class T>
struct SelectFromColumnsKernel {
    static GPU_DEVICE void apply(elementwisedetail::BlockOfElements const& block, T* out, T const* in,
                                 double const* selection, unsigned int leadingDim) {
        internal::IndexVector const rows{selection};
        backend::storeRow(block.row(), out, block.isStreamed<T>(), [=](unsigned int, unsigned long i) {
            auto const col = static_cast<unsigned int>(i);
            return in[col * leadingDim + rows.at(col)];
        });
    }
};

template <class T>
struct SelectFromRowsKernel {
    static GPU_DEVICE void apply(elementwisedetail::BlockOfElements const& block, T* out, T const* in,
                                 double const* selection, unsigned int leadingDim) {
        internal::IndexVector const cols{selection};
        backend::storeRow(block.row(), out, block.isStreamed<T>(), [=](unsigned int, unsigned long i) {
            auto const row = static_cast<unsigned int>(i);
            return in[cols.at(row) * leadingDim + row];
        });
    }
};

/// One body for all types of a size.
template <template <class> class Kernel, class T>
__attribute__((noinline)) void select(CUstream_st* stream, unsigned long n, T* out, T const* in,
                                      double const* selection, unsigned long leadingDim) {
    elementwisedetail::launch<Kernel<T>>(stream, n, out, in, selection, leadingDim);
}

}  // namespace

template <class T>
void SelectFromColumns::Invoker<T>::operator()(CUstream_st* stream, unsigned long n, T* out, T const* in,
                                               double const* selection, unsigned long leadingDim) const {
    select<SelectFromColumnsKernel>(stream, n, internal::carried(out), internal::carried(in), selection,
                                    leadingDim);
}

template <class T>
void SelectFromRows::Invoker<T>::operator()(CUstream_st* stream, unsigned long n, T* out, T const* in,
                                            double const* selection, unsigned long leadingDim) const {
    select<SelectFromRowsKernel>(stream, n, internal::carried(out), internal::carried(in), selection,
                                 leadingDim);
}

void _forceInstantiation_(detail::Opaque& opaque, SelectFromColumns*) {
    internal::instantiate<SelectFromColumns>(opaque, internal::All{});
}

void _forceInstantiation_(detail::Opaque& opaque, SelectFromRows*) {
    internal::instantiate<SelectFromRows>(opaque, internal::All{});
}

}  // namespace gpuruntime

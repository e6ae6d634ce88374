#include <gpuruntime/complex.hpp>

#include "frame/complex.hpp"
#include "frame/elementwise.hpp"
#include "frame/instantiation.hpp"

namespace gpuruntime {
namespace {

template <class T>
struct CopyPad {
    using C = ComplexOf<T>;

    static GPU_DEVICE void apply(elementwise2ddetail::BlockOfRows const& block, C* out, T const* in,
                                 unsigned int inRows, unsigned int inColumns) {
        bool const isStreamed = block.isStreamed<C>();
        block.forEachRow([&](backend::Row row, unsigned int y) {
            C* const to = out + y * block.nx;
            unsigned int const numCopied = y < inColumns ? inRows : 0;
            copy(row.within(0, numCopied), to, in + y * inRows, isStreamed);
            backend::fillRow(row.within(numCopied, block.nx), to, C{}, isStreamed);
        });
    }

  private:
    static GPU_DEVICE void copy(backend::Row row, C* to, T const* from, bool isStreamed) {
        if constexpr (internal::isComplex<T>) {
            backend::copyRow(row, to, from, isStreamed);
        } else {
            backend::storeRow(row, to, isStreamed, [=](unsigned int, unsigned long x) {
                return C{from[x], 0};
            });
        }
    }
};

}  // namespace

template <class T>
void ComplexCopyPad::Invoker<T>::operator()(CUstream_st* stream, ComplexOf<T>* out, unsigned long outRows,
                                            unsigned long outColumns, T const* in, unsigned long inRows,
                                            unsigned long inColumns) const {
    if (outRows == 0 || outColumns == 0) return;
    elementwise2ddetail::launch<CopyPad<T>>(stream, outRows, outColumns, out, in, inRows, inColumns);
}

void _forceInstantiation_(detail::Opaque& opaque, ComplexCopyPad*) {
    internal::instantiate<ComplexCopyPad>(opaque, internal::Floating{});
}

}  // namespace gpuruntime

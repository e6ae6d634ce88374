#include <gpuruntime/matrix_properties.hpp>

#include "atomics.hpp"
#include "frame/convert.hpp"
#include "frame/elementwise.hpp"
#include "frame/flags.hpp"
#include "frame/instantiation.hpp"
#include "matrix/elements.hpp"

namespace gpuruntime {
namespace {

/// 0 while every element equals its mirror image.
GPU_DEVICE_VARIABLE(unsigned int, D_NOSYMMETRIC_FLAG);

/// Whether an element differs from its mirror image as that has to be. NaN differs from everything.
template <class T>
GPU_DEVICE bool differs(T own, T mirror, bool conjugate, bool skew) {
    if constexpr (internal::isComplex<T>) {
        return (own.x != (skew ? -mirror.x : mirror.x)) |
               (own.y != (skew != conjugate ? -mirror.y : mirror.y));
    } else if constexpr (std::is_same_v<T, internal::LogicalByte>) {
        return (own.byte != mirror.byte) | (skew & (own.byte == 1));
    } else {
        return own != (skew ? -mirror : mirror);
    }
}

template <class T>
struct IsSymmetricKernel {
    static GPU_DEVICE void apply(elementwise2ddetail::BlockOfRows const& block, T const* in, bool conjugate,
                                 bool skew) {
        if (backend::relaxedLoad(D_NOSYMMETRIC_FLAG) != 0) return;
        auto const* const elements = internal::readable(in);
        block.forEachRow([&](backend::Row row, unsigned int y) {
            auto const* const column = elements + y * block.nx;
            bool const isFound =
                internal::holdsForAny<T>(row.within(y, block.nx), [&](unsigned long x) GPU_INLINE {
                    auto const mirrored = static_cast<unsigned int>(x) * block.nx + y;
                    return differs(column[x], elements[mirrored], conjugate, skew);
                });
            if (isFound) backend::atomicOr(D_NOSYMMETRIC_FLAG, 1);
        });
    }
};

}  // namespace

template <class T>
bool IsSymmetric::Invoker<T>::operator()(CUstream_st* stream, T const* in, unsigned long rows,
                                         unsigned long columns, bool conjugate, bool skew) const {
    auto const flags = internal::flagsAfter<1>({&D_NOSYMMETRIC_FLAG}, internal::clearFlag, stream, [&] {
        if (rows == 0 || columns == 0) return;
        elementwise2ddetail::launch<IsSymmetricKernel<T>>(stream, rows, columns, in, conjugate, skew);
    });
    return !flags || (*flags)[0] == 0;
}

void _forceInstantiation_(detail::Opaque& opaque, IsSymmetric*) {
    internal::instantiate<IsSymmetric>(opaque, internal::FloatingWithBool{});
}

}  // namespace gpuruntime

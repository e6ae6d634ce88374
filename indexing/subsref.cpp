#include <gpuruntime/subscripts.hpp>

#include "frame/instantiation.hpp"
#include "indexing/carrier.hpp"
#include "indexing/subscript_kernels.hpp"

namespace gpuruntime {
namespace {

template <class T, class I1>
struct Subsref1DKernel {
    static GPU_DEVICE void apply(elementwisedetail::BlockOfElements const& block, T* out, T const* in,
                                 I1 slot1) {
        internal::forEachSelectedRow(block, internal::GatherRow<T>{out, in, block.isStreamed<T>()}, slot1);
    }
};

template <class T, class I1, class I2>
struct Subsref2DKernel {
    static GPU_DEVICE void apply(elementwise2ddetail::BlockOfRows const& block, T* out, T const* in,
                                 unsigned int dim1, I1 slot1, I2 slot2) {
        internal::forEachSelectedRow(block, internal::GatherRow<T>{out, in, block.isStreamed<T>()}, dim1,
                                     slot1, slot2);
    }
};

template <class T, class I1, class I2, class I3>
struct Subsref3DKernel {
    static GPU_DEVICE void apply(elementwise3ddetail::BlockOfRows const& block, T* out, T const* in,
                                 unsigned int dim1, I1 slot1, unsigned int dim2, I2 slot2, I3 slot3) {
        internal::forEachSelectedRow(block, internal::GatherRow<T>{out, in, block.isStreamed<T>()}, dim1,
                                     slot1, dim2, slot2, slot3);
    }
};

template <class T>
struct SubsrefKernels {
    template <class I1>
    using Rank1 = Subsref1DKernel<T, I1>;
    template <class I1, class I2>
    using Rank2 = Subsref2DKernel<T, I1, I2>;
    template <class I1, class I2, class I3>
    using Rank3 = Subsref3DKernel<T, I1, I2, I3>;
};

/// One body for all types of a size.
template <class T, class S1, class S2, class S3>
__attribute__((noinline)) void subsref(CUstream_st* stream, unsigned long numel, T* out, T const* in,
                                       internal::Slots<S1, S2, S3> slots) {
    internal::launchSelection<SubsrefKernels<T>>(stream, numel, out, in, slots);
}

}  // namespace

template <class S1, class S2, class S3>
template <class T>
void Subsref3D<S1, S2, S3>::Invoker<T>::operator()(CUstream_st* stream, unsigned long numel, T* out,
                                                   T const* in, unsigned long dim1, unsigned long count1,
                                                   S1 slot1, unsigned long dim2, unsigned long count2,
                                                   S2 slot2, unsigned long /*dim3*/, unsigned long count3,
                                                   S3 slot3) const {
    subsref<internal::Carrier<T>, S1, S2, S3>(stream, numel, internal::carried(out), internal::carried(in),
                                              {dim1, count1, slot1, dim2, count2, slot2, count3, slot3});
}

void _forceInstantiation_(detail::Opaque& opaque, Subsref3D<double const*, void*, void*>*) {
    internal::instantiate<Subsref3D<double const*, void*, void*>>(opaque, internal::All{});
}
void _forceInstantiation_(detail::Opaque& opaque, Subsref3D<double const*, double const*, void*>*) {
    internal::instantiate<Subsref3D<double const*, double const*, void*>>(opaque, internal::All{});
}
void _forceInstantiation_(detail::Opaque& opaque, Subsref3D<double const*, double2, void*>*) {
    internal::instantiate<Subsref3D<double const*, double2, void*>>(opaque, internal::All{});
}
void _forceInstantiation_(detail::Opaque& opaque, Subsref3D<double const*, double const*, double const*>*) {
    internal::instantiate<Subsref3D<double const*, double const*, double const*>>(opaque, internal::All{});
}
void _forceInstantiation_(detail::Opaque& opaque, Subsref3D<double const*, double const*, double2>*) {
    internal::instantiate<Subsref3D<double const*, double const*, double2>>(opaque, internal::All{});
}
void _forceInstantiation_(detail::Opaque& opaque, Subsref3D<double const*, double2, double const*>*) {
    internal::instantiate<Subsref3D<double const*, double2, double const*>>(opaque, internal::All{});
}
void _forceInstantiation_(detail::Opaque& opaque, Subsref3D<double const*, double2, double2>*) {
    internal::instantiate<Subsref3D<double const*, double2, double2>>(opaque, internal::All{});
}
void _forceInstantiation_(detail::Opaque& opaque, Subsref3D<double2, void*, void*>*) {
    internal::instantiate<Subsref3D<double2, void*, void*>>(opaque, internal::All{});
}
void _forceInstantiation_(detail::Opaque& opaque, Subsref3D<double2, double const*, void*>*) {
    internal::instantiate<Subsref3D<double2, double const*, void*>>(opaque, internal::All{});
}
void _forceInstantiation_(detail::Opaque& opaque, Subsref3D<double2, double2, void*>*) {
    internal::instantiate<Subsref3D<double2, double2, void*>>(opaque, internal::All{});
}
void _forceInstantiation_(detail::Opaque& opaque, Subsref3D<double2, double const*, double const*>*) {
    internal::instantiate<Subsref3D<double2, double const*, double const*>>(opaque, internal::All{});
}
void _forceInstantiation_(detail::Opaque& opaque, Subsref3D<double2, double const*, double2>*) {
    internal::instantiate<Subsref3D<double2, double const*, double2>>(opaque, internal::All{});
}
void _forceInstantiation_(detail::Opaque& opaque, Subsref3D<double2, double2, double const*>*) {
    internal::instantiate<Subsref3D<double2, double2, double const*>>(opaque, internal::All{});
}
void _forceInstantiation_(detail::Opaque& opaque, Subsref3D<double2, double2, double2>*) {
    internal::instantiate<Subsref3D<double2, double2, double2>>(opaque, internal::All{});
}

}  // namespace gpuruntime

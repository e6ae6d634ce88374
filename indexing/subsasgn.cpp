#include <gpuruntime/subscripts.hpp>

#include "frame/instantiation.hpp"
#include "indexing/carrier.hpp"
#include "indexing/subsasgn_kernels.hpp"

namespace gpuruntime {

template <class S1, class S2, class S3>
template <class T>
void Subsasgn3D<S1, S2, S3>::Invoker<T>::operator()(CUstream_st* stream, unsigned long numel, T* out,
                                                    T const* in, unsigned long dim1, unsigned long count1,
                                                    S1 slot1, unsigned long dim2, unsigned long count2,
                                                    S2 slot2, unsigned long /*dim3*/, unsigned long count3,
                                                    S3 slot3) const {
    using V = internal::Carrier<T> const*;
    internal::subsasgn<internal::Carrier<T>, V, S1, S2, S3>(
        stream, numel, internal::carried(out), internal::carried(in),
        {dim1, count1, slot1, dim2, count2, slot2, count3, slot3});
}

void _forceInstantiation_(detail::Opaque& opaque, Subsasgn3D<double const*, void*, void*>*) {
    internal::instantiate<Subsasgn3D<double const*, void*, void*>>(opaque, internal::All{});
}
void _forceInstantiation_(detail::Opaque& opaque, Subsasgn3D<double const*, double const*, void*>*) {
    internal::instantiate<Subsasgn3D<double const*, double const*, void*>>(opaque, internal::All{});
}
void _forceInstantiation_(detail::Opaque& opaque, Subsasgn3D<double const*, double2, void*>*) {
    internal::instantiate<Subsasgn3D<double const*, double2, void*>>(opaque, internal::All{});
}
void _forceInstantiation_(detail::Opaque& opaque, Subsasgn3D<double const*, double const*, double const*>*) {
    internal::instantiate<Subsasgn3D<double const*, double const*, double const*>>(opaque, internal::All{});
}
void _forceInstantiation_(detail::Opaque& opaque, Subsasgn3D<double const*, double const*, double2>*) {
    internal::instantiate<Subsasgn3D<double const*, double const*, double2>>(opaque, internal::All{});
}
void _forceInstantiation_(detail::Opaque& opaque, Subsasgn3D<double const*, double2, double const*>*) {
    internal::instantiate<Subsasgn3D<double const*, double2, double const*>>(opaque, internal::All{});
}
void _forceInstantiation_(detail::Opaque& opaque, Subsasgn3D<double const*, double2, double2>*) {
    internal::instantiate<Subsasgn3D<double const*, double2, double2>>(opaque, internal::All{});
}
void _forceInstantiation_(detail::Opaque& opaque, Subsasgn3D<double2, void*, void*>*) {
    internal::instantiate<Subsasgn3D<double2, void*, void*>>(opaque, internal::All{});
}
void _forceInstantiation_(detail::Opaque& opaque, Subsasgn3D<double2, double const*, void*>*) {
    internal::instantiate<Subsasgn3D<double2, double const*, void*>>(opaque, internal::All{});
}
void _forceInstantiation_(detail::Opaque& opaque, Subsasgn3D<double2, double2, void*>*) {
    internal::instantiate<Subsasgn3D<double2, double2, void*>>(opaque, internal::All{});
}
void _forceInstantiation_(detail::Opaque& opaque, Subsasgn3D<double2, double const*, double const*>*) {
    internal::instantiate<Subsasgn3D<double2, double const*, double const*>>(opaque, internal::All{});
}
void _forceInstantiation_(detail::Opaque& opaque, Subsasgn3D<double2, double const*, double2>*) {
    internal::instantiate<Subsasgn3D<double2, double const*, double2>>(opaque, internal::All{});
}
void _forceInstantiation_(detail::Opaque& opaque, Subsasgn3D<double2, double2, double const*>*) {
    internal::instantiate<Subsasgn3D<double2, double2, double const*>>(opaque, internal::All{});
}
void _forceInstantiation_(detail::Opaque& opaque, Subsasgn3D<double2, double2, double2>*) {
    internal::instantiate<Subsasgn3D<double2, double2, double2>>(opaque, internal::All{});
}

}  // namespace gpuruntime

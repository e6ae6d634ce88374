#include "random/mrg32k3a.hpp"

#include "random/distributions.hpp"

namespace gpuruntime {

using gpucommon::rand::MRG32K3AGenerator;

void _forceInstantiation_(detail::Opaque& opaque, Rand<MRG32K3AGenerator>*) {
    internal::instantiate<Rand<MRG32K3AGenerator>>(opaque, internal::FloatingReal{});
}

void _forceInstantiation_(detail::Opaque& opaque, RandI<MRG32K3AGenerator>*) {
    internal::instantiate<RandI<MRG32K3AGenerator>>(opaque, internal::ConvertedReal{});
}

void _forceInstantiation_(detail::Opaque& opaque, RandNInversion<MRG32K3AGenerator>*) {
    internal::instantiate<RandNInversion<MRG32K3AGenerator>>(opaque, internal::FloatingReal{});
}

}  // namespace gpuruntime

#include "random/philox4x32.hpp"

#include "random/distributions.hpp"

namespace gpuruntime {

using gpucommon::rand::Philox4x32Generator;

void _forceInstantiation_(detail::Opaque& opaque, Rand<Philox4x32Generator>*) {
    internal::instantiate<Rand<Philox4x32Generator>>(opaque, internal::FloatingReal{});
}

void _forceInstantiation_(detail::Opaque& opaque, RandI<Philox4x32Generator>*) {
    internal::instantiate<RandI<Philox4x32Generator>>(opaque, internal::ConvertedReal{});
}

void _forceInstantiation_(detail::Opaque& opaque, RandNInversion<Philox4x32Generator>*) {
    internal::instantiate<RandNInversion<Philox4x32Generator>>(opaque, internal::FloatingReal{});
}

void _forceInstantiation_(detail::Opaque& opaque, RandNBoxMuller<Philox4x32Generator>*) {
    internal::instantiate<RandNBoxMuller<Philox4x32Generator>>(opaque, internal::FloatingReal{});
}

}  // namespace gpuruntime

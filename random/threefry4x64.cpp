#include "random/threefry4x64.hpp"

#include "random/distributions.hpp"

namespace gpuruntime {

using gpucommon::rand::ThreeFry4x64Generator;

void _forceInstantiation_(detail::Opaque& opaque, Rand<ThreeFry4x64Generator>*) {
    internal::instantiate<Rand<ThreeFry4x64Generator>>(opaque, internal::FloatingReal{});
}

void _forceInstantiation_(detail::Opaque& opaque, RandI<ThreeFry4x64Generator>*) {
    internal::instantiate<RandI<ThreeFry4x64Generator>>(opaque, internal::ConvertedReal{});
}

void _forceInstantiation_(detail::Opaque& opaque, RandNInversion<ThreeFry4x64Generator>*) {
    internal::instantiate<RandNInversion<ThreeFry4x64Generator>>(opaque, internal::FloatingReal{});
}

void _forceInstantiation_(detail::Opaque& opaque, RandNBoxMuller<ThreeFry4x64Generator>*) {
    internal::instantiate<RandNBoxMuller<ThreeFry4x64Generator>>(opaque, internal::FloatingReal{});
}

}  // namespace gpuruntime

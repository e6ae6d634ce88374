#include "frame/instantiation.hpp"

namespace gpuruntime::internal {

void keepRecord(detail::Opaque& /*opaque*/, void* /*record*/) {}

void releaseRecord(detail::Opaque& /*opaque*/, void* /*record*/) {}

}  // namespace gpuruntime::internal

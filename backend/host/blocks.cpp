#include "blocks.hpp"

namespace gpuruntime::backend {

__thread BlockPosition currentBlock = {};

}  // namespace gpuruntime::backend

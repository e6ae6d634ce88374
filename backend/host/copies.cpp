#include "copies.hpp"

#include "rows.hpp"

namespace gpuruntime::backend {

__thread PendingCopy pendingCopy = {};

void finishCopies() {
    PendingCopy const copy = pendingCopy;
    pendingCopy = {};
    if (copy.size != 0) copyMemory(copy.to, copy.from, copy.size, copy.streamed);
}

}  // namespace gpuruntime::backend

#include "blocks.hpp"

#include <tbb/task_arena.h>

#include "parallel.hpp"

namespace gpuruntime::backend {

__thread BlockPosition currentBlock = {};

namespace {

unsigned long numWorkers() { return static_cast<unsigned long>(tbb::this_task_arena::max_concurrency()); }

}  // namespace

bool isShared(unsigned long bytes) {
    constexpr unsigned long worthSharing = 1ul << 19;
    auto const [x, y, z] = currentBlock.grid;
    return bytes >= worthSharing && 1ul * x * y * z < numWorkers();
}

void shareOut(unsigned long n, void (*f)(void const*, unsigned long, unsigned long), void const* context) {
    unsigned long const numRanges = std::min(n, numWorkers());
    eachInParallel(numRanges, [=](unsigned long range) {
        f(context, range * n / numRanges, (range + 1) * n / numRanges);
    });
}

}  // namespace gpuruntime::backend

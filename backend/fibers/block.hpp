#pragma once

#include "vector_types.h"

/// The threads of a block as fibers. A thread runs until it meets a barrier or a shuffle; then another runs.
namespace gpuruntime::fibers {

struct Launch {
    char const* kernel;
    dim3 grid, block;
    void (*thread)(void const* parameters);  ///< what each thread runs
    void const* parameters;
};

void runGrid(Launch const& launch);

char const* runningKernel();

}  // namespace gpuruntime::fibers

#pragma once

#include "vector_types.h"

/// The threads of a block as fibers. A thread runs until it meets a barrier or a shuffle; then another runs.
namespace gpuruntime::fibers {

inline constexpr unsigned int warpSize = 32;

struct Launch {
    char const* kernel;
    dim3 grid, block;
    void (*thread)(void const* parameters);  ///< what each thread runs
    void const* parameters;
};

void runGrid(Launch const& launch);

// Of the running thread.
void waitAtBarrier(void const* site);
unsigned int linearThread();
char const* runningKernel();

}  // namespace gpuruntime::fibers

#pragma once

// What backend/cuda/ uses of the device language, for a plain C++ compiler. Its meaning is that of the CUDA C++
// Programming Guide, and of the PTX ISA where the guide leaves it to the instructions.

#include <cmath>
#include <limits>

#include "vector_types.h"

#define __global__
#define __device__
#define __host__
#define __constant__
#define __forceinline__ inline __attribute__((always_inline))
/// One block runs at a time, so a static variable is the block's own.
#define __shared__ static

namespace gpuruntime::fibers {

/// The built-in variables of the running thread.
struct BuiltIn {
    uint3 threadIndex, blockIndex;
    dim3 blockSize, gridSize;
};
extern BuiltIn builtIn __attribute__((visibility("hidden")));

/// A conversion toward zero, saturating. Of a NaN in 64 bits it is the highest bit alone.
template <class Integer>
inline Integer convertedTowardZero(double value) {
    using Limits = std::numeric_limits<Integer>;
    constexpr double end = 2.0 * (Limits::max() / 2 + 1);  // the maximum itself is not always a double
    if (value != value) return static_cast<Integer>(1ull << (8 * sizeof(Integer) - 1));
    if (value <= static_cast<double>(Limits::min())) return Limits::min();
    return value >= end ? Limits::max() : static_cast<Integer>(value);
}

}  // namespace gpuruntime::fibers

#define threadIdx (::gpuruntime::fibers::builtIn.threadIndex)
#define blockIdx (::gpuruntime::fibers::builtIn.blockIndex)
#define blockDim (::gpuruntime::fibers::builtIn.blockSize)
#define gridDim (::gpuruntime::fibers::builtIn.gridSize)

// Out of line, so that the return address tells the place of the call. Here the others run (block.cpp),
void __syncthreads();
unsigned int __shfl_down_sync(unsigned int mask, unsigned int value, unsigned int delta, int width = 32);
// and these are one access to memory.
unsigned int atomicCAS(unsigned int* word, unsigned int expected, unsigned int desired);
unsigned int atomicAnd(unsigned int* word, unsigned int mask);

inline int __double2int_rz(double x) { return gpuruntime::fibers::convertedTowardZero<int>(x); }
inline unsigned int __double2uint_rz(double x) {
    return gpuruntime::fibers::convertedTowardZero<unsigned int>(x);
}
inline long long __double2ll_rz(double x) { return gpuruntime::fibers::convertedTowardZero<long long>(x); }
inline unsigned long long __double2ull_rz(double x) {
    return gpuruntime::fibers::convertedTowardZero<unsigned long long>(x);
}

double erfcinv(double y);

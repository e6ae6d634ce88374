#pragma once

// What backend/cuda/ uses of the device language, for a plain C++ compiler. Its meaning is that of the CUDA
// C++ Programming Guide, and of the PTX ISA where the guide leaves it to the instructions.

#include <math.h>  // also for float, in the global namespace

#include <cstring>
#include <limits>
#include <type_traits>

#include "texture.hpp"
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

/// A conversion toward zero, saturating. NaN gives 0 from `float` to 32 bits, and otherwise the highest bit.
template <class Integer, class T>
inline Integer convertedTowardZero(T value) {
    using Limits = std::numeric_limits<Integer>;
    constexpr T end = T(2) * (Limits::max() / 2 + 1);  // the maximum itself is not always a floating value
    constexpr bool isNaNZero = std::is_same_v<T, float> && sizeof(Integer) == 4;
    if (value != value) return isNaNZero ? 0 : static_cast<Integer>(1ull << (8 * sizeof(Integer) - 1));
    if (value <= static_cast<T>(Limits::min())) return Limits::min();
    return value >= end ? Limits::max() : static_cast<Integer>(value);
}

template <class To, class From>
inline To sameBits(From from) {
    static_assert(sizeof(To) == sizeof(From));
    To to;
    std::memcpy(&to, &from, sizeof to);
    return to;
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
unsigned int atomicAdd(unsigned int* word, unsigned int amount);
unsigned int atomicAnd(unsigned int* word, unsigned int mask);
unsigned int atomicOr(unsigned int* word, unsigned int mask);
unsigned int atomicMax(unsigned int* word, unsigned int value);

#define KVGPU_CONVERSION(name, T, Integer) \
    inline Integer name(T value) { return gpuruntime::fibers::convertedTowardZero<Integer>(value); }
KVGPU_CONVERSION(__double2int_rz, double, int)
KVGPU_CONVERSION(__double2uint_rz, double, unsigned int)
KVGPU_CONVERSION(__double2ll_rz, double, long long)
KVGPU_CONVERSION(__double2ull_rz, double, unsigned long long)
KVGPU_CONVERSION(__float2int_rz, float, int)
KVGPU_CONVERSION(__float2uint_rz, float, unsigned int)
KVGPU_CONVERSION(__float2ll_rz, float, long long)
KVGPU_CONVERSION(__float2ull_rz, float, unsigned long long)
#undef KVGPU_CONVERSION

inline long long __double_as_longlong(double value) { return gpuruntime::fibers::sameBits<long long>(value); }
inline double __longlong_as_double(long long bits) { return gpuruntime::fibers::sameBits<double>(bits); }
inline double __hiloint2double(int high, int low) {
    return __longlong_as_double(static_cast<long long>(static_cast<unsigned int>(high)) << 32 |
                                static_cast<unsigned int>(low));
}

/// A load from memory that no kernel writes meanwhile.
template <class T>
inline T __ldg(T const* from) {
    return *from;
}

namespace gpuruntime::fibers {

/// Out of line, so that its own accesses are not checked.
hostdevice::Texture textureOf(cudaTextureObject_t object);

}  // namespace gpuruntime::fibers

/// Elements outside are zeros.
template <class T>
inline T tex1Dfetch(cudaTextureObject_t object, int index) {
    gpuruntime::hostdevice::Texture const texture = gpuruntime::fibers::textureOf(object);
    if (index < 0 || static_cast<unsigned int>(index) >= texture.size / sizeof(T)) return T{};
    return static_cast<T const*>(texture.memory)[index];
}

#pragma once

#include "../cuda/device.hpp"
#include "accesses.hpp"
#include "kernel.hpp"

// As on a GPU, but for what its compiler does by itself: the runtime's symbol calls must know the device
// variables.
// `__noinline__` is a word of the standard library's headers here.
#undef GPU_DEVICE_CALL
#define GPU_DEVICE_CALL inline __attribute__((noinline))

#undef GPU_DEVICE_VARIABLE
#undef GPU_CONSTANT_VARIABLE
#undef GPU_CONSTANT_TABLE
#define GPU_DEVICE_VARIABLE(type, name)                                                                \
    static type name;                                                                                  \
    static ::gpuruntime::hostdevice::SymbolRegistration const name##_registration(&name, sizeof(name), \
                                                                                  #name);              \
    static ::gpuruntime::fibers::CheckedVariable const name##_checked(&name, sizeof(name), false)
#define GPU_CONSTANT_VARIABLE(type, name)                                                              \
    static type name;                                                                                  \
    static ::gpuruntime::hostdevice::SymbolRegistration const name##_registration(&name, sizeof(name), \
                                                                                  #name);              \
    static ::gpuruntime::fibers::CheckedVariable const name##_checked(&name, sizeof(name), true)
#define GPU_CONSTANT_TABLE(type, name, value) \
    static constexpr type name = value;       \
    static ::gpuruntime::hostdevice::SymbolRegistration const name##_registration(&name, sizeof(name), #name)

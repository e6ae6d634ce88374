#pragma once

// The runtime interface of the host device, under the runtime's own names. Usable from C.
//
// Device memory is host memory, and every call has finished its work when it returns: the `Async` forms and
// the streams exist so that callers compile and run unchanged. Every function may be called from any thread.
//
// A call that fails changes nothing but the calling thread's last error. Where a text below says that an
// argument "gives" an error, that error is the call's result and the last error.

#include "driver_types.h"
#include "vector_types.h"

#ifdef __cplusplus
#define KVGPU_DEFAULT(value) = value
extern "C" {
#else
#define KVGPU_DEFAULT(value)
#endif

/// Returns the last error of this thread and resets it to `cudaSuccess`. Calls that succeed do not reset it.
cudaError_t cudaGetLastError(void);

/// Returns the last error of this thread and keeps it.
cudaError_t cudaPeekAtLastError(void);

/// The enumerator's name, as in "cudaErrorInvalidValue"; "unrecognized error code" for a number that has
/// none.
char const* cudaGetErrorName(cudaError_t error);

/// A description, as in "invalid argument"; "unrecognized error code" for a number that has none.
char const* cudaGetErrorString(cudaError_t error);

/// There is one device, number 0. A null `count` gives `cudaErrorInvalidValue`.
cudaError_t cudaGetDeviceCount(int* count);

/// A null `device` gives `cudaErrorInvalidValue`.
cudaError_t cudaGetDevice(int* device);

/// A number other than 0 gives `cudaErrorInvalidDevice`.
cudaError_t cudaSetDevice(int device);

/// A null `properties` gives `cudaErrorInvalidValue`, a number other than 0 `cudaErrorInvalidDevice`.
cudaError_t cudaGetDeviceProperties(struct cudaDeviceProp* properties, int device);

cudaError_t cudaDeviceSynchronize(void);

/// A null `stream` gives `cudaErrorInvalidValue`.
cudaError_t cudaStreamCreate(cudaStream_t* stream);

/// `flags` is `cudaStreamDefault` or `cudaStreamNonBlocking`; others, and a null `stream`, give
/// `cudaErrorInvalidValue`.
cudaError_t cudaStreamCreateWithFlags(cudaStream_t* stream, unsigned int flags);

/// A handle that `cudaStreamCreate` did not give, or that was destroyed, gives
/// `cudaErrorInvalidResourceHandle`.
cudaError_t cudaStreamDestroy(cudaStream_t stream);

/// As in every call that takes a stream, an unknown handle gives `cudaErrorInvalidResourceHandle`.
cudaError_t cudaStreamSynchronize(cudaStream_t stream);

/// Always `cudaSuccess` for a valid stream, since nothing is ever pending.
cudaError_t cudaStreamQuery(cudaStream_t stream);

/// Gives `size` bytes aligned to 256, with unspecified contents; null for 0 bytes. More than what is left of
/// the device's memory gives `cudaErrorMemoryAllocation`, a null `pointer` `cudaErrorInvalidValue`.
cudaError_t cudaMalloc(void** pointer, size_t size);

/// Null is accepted. A pointer that `cudaMalloc` did not give, or that was freed, gives
/// `cudaErrorInvalidValue`.
cudaError_t cudaFree(void* pointer);

/// Copies `count` bytes. `kind` outside `cudaMemcpyKind` gives `cudaErrorInvalidMemcpyDirection`; a null
/// pointer gives `cudaErrorInvalidValue` unless `count` is 0, and so do bytes past the end of the
/// `cudaMalloc` block in which they begin.
cudaError_t cudaMemcpy(void* destination, void const* source, size_t count, enum cudaMemcpyKind kind);
cudaError_t cudaMemcpyAsync(void* destination, void const* source, size_t count, enum cudaMemcpyKind kind,
                            cudaStream_t stream KVGPU_DEFAULT(0));

/// Fills `count` bytes with the low byte of `value`. A null pointer gives `cudaErrorInvalidValue` unless
/// `count` is 0, and so do bytes past the end of the `cudaMalloc` block in which they begin.
cudaError_t cudaMemset(void* pointer, int value, size_t count);
cudaError_t cudaMemsetAsync(void* pointer, int value, size_t count, cudaStream_t stream KVGPU_DEFAULT(0));

/// Copies `count` bytes to a device symbol, from its byte `offset` on. `kind` must be
/// `cudaMemcpyHostToDevice`, `cudaMemcpyDeviceToDevice` or `cudaMemcpyDefault`, or gives
/// `cudaErrorInvalidMemcpyDirection`; an address that is no device symbol's gives `cudaErrorInvalidSymbol`;
/// bytes beyond the symbol's end, and a null `source` unless `count` is 0, give `cudaErrorInvalidValue`.
cudaError_t cudaMemcpyToSymbol(void const* symbol, void const* source, size_t count,
                               size_t offset KVGPU_DEFAULT(0),
                               enum cudaMemcpyKind kind KVGPU_DEFAULT(cudaMemcpyHostToDevice));
cudaError_t cudaMemcpyToSymbolAsync(void const* symbol, void const* source, size_t count, size_t offset,
                                    enum cudaMemcpyKind kind, cudaStream_t stream KVGPU_DEFAULT(0));

/// Copies from a device symbol; as `cudaMemcpyToSymbol`, with `cudaMemcpyDeviceToHost` in place of
/// `cudaMemcpyHostToDevice`.
cudaError_t cudaMemcpyFromSymbol(void* destination, void const* symbol, size_t count,
                                 size_t offset KVGPU_DEFAULT(0),
                                 enum cudaMemcpyKind kind KVGPU_DEFAULT(cudaMemcpyDeviceToHost));
cudaError_t cudaMemcpyFromSymbolAsync(void* destination, void const* symbol, size_t count, size_t offset,
                                      enum cudaMemcpyKind kind, cudaStream_t stream KVGPU_DEFAULT(0));

/// An address that is no device symbol's gives `cudaErrorInvalidSymbol`, a null result pointer
/// `cudaErrorInvalidValue`.
cudaError_t cudaGetSymbolAddress(void** pointer, void const* symbol);
cudaError_t cudaGetSymbolSize(size_t* size, void const* symbol);

/// The description of channels of so many bits.
struct cudaChannelFormatDesc cudaCreateChannelDesc(int x, int y, int z, int w,
                                                   enum cudaChannelFormatKind kind);

/// Makes a texture of linear memory, for kernels to read. A null argument, though `view` must be null,
/// another kind of resource, and memory that is null, of 0 bytes or not aligned to 512 bytes give
/// `cudaErrorInvalidValue`.
cudaError_t cudaCreateTextureObject(cudaTextureObject_t* object, struct cudaResourceDesc const* resource,
                                    struct cudaTextureDesc const* texture,
                                    struct cudaResourceViewDesc const* view);

/// A number that `cudaCreateTextureObject` did not give, or that was destroyed, gives
/// `cudaErrorInvalidValue`.
cudaError_t cudaDestroyTextureObject(cudaTextureObject_t object);

/// Tells a kernel's attributes. `function` is the address of a kernel's descriptor; anything else gives
/// `cudaErrorInvalidDeviceFunction`, a null `attributes` `cudaErrorInvalidValue`.
cudaError_t cudaFuncGetAttributes(struct cudaFuncAttributes* attributes, void const* function);

/// Runs every block of a kernel. `arguments[i]` points at the i-th argument. In this order:
/// - a `function` that is no kernel gives `cudaErrorInvalidDeviceFunction`;
/// - an unknown stream gives `cudaErrorInvalidResourceHandle`;
/// - an extent of grid or block that is 0 or above the device's limit, or more threads in a block than the
/// device
///   allows, gives `cudaErrorInvalidConfiguration`;
/// - more threads in a block than this kernel allows gives `cudaErrorLaunchOutOfResources`;
/// - more shared memory than the device has for a block, and null `arguments` for a kernel that has
/// parameters,
///   give `cudaErrorInvalidValue`.
cudaError_t cudaLaunchKernel(void const* function, dim3 grid, dim3 block, void** arguments,
                             size_t sharedMemory, cudaStream_t stream);

#ifdef __cplusplus
}
#endif
#undef KVGPU_DEFAULT

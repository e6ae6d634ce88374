#pragma once

// Statuses, kinds of copy, handles and records of the runtime interface, with the runtime's own numbers.
// Usable from C.

#ifdef __cplusplus
#include <cstddef>
#else
#include <stddef.h>
#endif

/// Status of a runtime call. Those that this device gives by itself are listed in docs/host_device.md; the
/// others can be injected, or belong to callers that switch over the runtime's statuses.
enum cudaError {
    cudaSuccess = 0,
    cudaErrorInvalidValue = 1,
    cudaErrorMemoryAllocation = 2,
    cudaErrorInitializationError = 3,
    cudaErrorCudartUnloading = 4,
    cudaErrorInvalidConfiguration = 9,
    cudaErrorInvalidPitchValue = 12,
    cudaErrorInvalidSymbol = 13,
    cudaErrorInvalidHostPointer = 16,
    cudaErrorInvalidDevicePointer = 17,
    cudaErrorInvalidTexture = 18,
    cudaErrorInvalidTextureBinding = 19,
    cudaErrorInvalidChannelDescriptor = 20,
    cudaErrorInvalidMemcpyDirection = 21,
    cudaErrorInsufficientDriver = 35,
    cudaErrorDevicesUnavailable = 46,
    cudaErrorMissingConfiguration = 52,
    cudaErrorInvalidDeviceFunction = 98,
    cudaErrorNoDevice = 100,
    cudaErrorInvalidDevice = 101,
    cudaErrorInvalidKernelImage = 200,
    cudaErrorDeviceUninitialized = 201,
    cudaErrorNoKernelImageForDevice = 209,
    cudaErrorECCUncorrectable = 214,
    cudaErrorInvalidPtx = 218,
    cudaErrorSharedObjectInitFailed = 303,
    cudaErrorOperatingSystem = 304,
    cudaErrorInvalidResourceHandle = 400,
    cudaErrorIllegalState = 401,
    cudaErrorSymbolNotFound = 500,
    cudaErrorNotReady = 600,
    cudaErrorIllegalAddress = 700,
    cudaErrorLaunchOutOfResources = 701,
    cudaErrorLaunchTimeout = 702,
    cudaErrorContextIsDestroyed = 709,
    cudaErrorAssert = 710,
    cudaErrorHardwareStackError = 714,
    cudaErrorIllegalInstruction = 715,
    cudaErrorMisalignedAddress = 716,
    cudaErrorInvalidAddressSpace = 717,
    cudaErrorInvalidPc = 718,
    cudaErrorLaunchFailure = 719,
    cudaErrorNotPermitted = 800,
    cudaErrorNotSupported = 801,
    cudaErrorStreamCaptureUnsupported = 900,
    cudaErrorStreamCaptureInvalidated = 901,
    cudaErrorTimeout = 909,
    cudaErrorUnknown = 999
};
typedef enum cudaError cudaError_t;

/// Direction of a copy. All memory is host memory here, so a direction is checked but changes nothing.
enum cudaMemcpyKind {
    cudaMemcpyHostToHost = 0,
    cudaMemcpyHostToDevice = 1,
    cudaMemcpyDeviceToHost = 2,
    cudaMemcpyDeviceToDevice = 3,
    cudaMemcpyDefault = 4
};

/// A stream: null, `cudaStreamLegacy`, `cudaStreamPerThread` or what `cudaStreamCreate` gave.
typedef struct CUstream_st* cudaStream_t;

#define cudaStreamLegacy ((cudaStream_t)0x1)
#define cudaStreamPerThread ((cudaStream_t)0x2)
#define cudaStreamDefault 0x00
#define cudaStreamNonBlocking 0x01

/// What the bits of a texture's channels mean.
enum cudaChannelFormatKind {
    cudaChannelFormatKindSigned = 0,
    cudaChannelFormatKindUnsigned = 1,
    cudaChannelFormatKindFloat = 2,
    cudaChannelFormatKindNone = 3
};

/// Bits of each channel of a texture's elements; 0 for channels that there are not.
struct cudaChannelFormatDesc {
    int x, y, z, w;
    enum cudaChannelFormatKind f;
};

/// What a texture reads. This device knows linear memory.
enum cudaResourceType {
    cudaResourceTypeArray = 0x00,
    cudaResourceTypeMipmappedArray = 0x01,
    cudaResourceTypeLinear = 0x02,
    cudaResourceTypePitch2D = 0x03
};

struct cudaResourceDesc {
    enum cudaResourceType resType;
    union {
        struct {
            void* devPtr;  ///< aligned to 512 bytes
            struct cudaChannelFormatDesc desc;
            size_t sizeInBytes;
        } linear;
        struct {
            int reserved[32];
        } reserved;
    } res;
    unsigned int flags;
};

enum cudaTextureAddressMode {
    cudaAddressModeWrap = 0,
    cudaAddressModeClamp = 1,
    cudaAddressModeMirror = 2,
    cudaAddressModeBorder = 3
};
enum cudaTextureFilterMode { cudaFilterModePoint = 0, cudaFilterModeLinear = 1 };
enum cudaTextureReadMode { cudaReadModeElementType = 0, cudaReadModeNormalizedFloat = 1 };

/// How a texture is read. Elements of linear memory are read by index, as they are.
struct cudaTextureDesc {
    enum cudaTextureAddressMode addressMode[3];
    enum cudaTextureFilterMode filterMode;
    enum cudaTextureReadMode readMode;
    int sRGB;
    float borderColor[4];
    int normalizedCoords;
    unsigned int maxAnisotropy;
    enum cudaTextureFilterMode mipmapFilterMode;
    float mipmapLevelBias;
    float minMipmapLevelClamp;
    float maxMipmapLevelClamp;
    int disableTrilinearOptimization;
    int seamlessCubemap;
};

struct cudaResourceViewDesc;

/// What `cudaCreateTextureObject` gave; 0 is none.
typedef unsigned long long cudaTextureObject_t;

/// What `cudaFuncGetAttributes` tells of a kernel. Only `maxThreadsPerBlock` says something here; the rest is
/// 0.
struct cudaFuncAttributes {
    size_t sharedSizeBytes;
    size_t constSizeBytes;
    size_t localSizeBytes;
    int maxThreadsPerBlock;  ///< largest number of threads of a block of this kernel
    int numRegs;
    int ptxVersion;
    int binaryVersion;
    int cacheModeCA;
    int maxDynamicSharedSizeBytes;
    int preferredShmemCarveout;
};

/// The device's properties, in the runtime's names.
struct cudaDeviceProp {
    char name[256];            ///< NUL-terminated
    size_t totalGlobalMem;     ///< bytes that `cudaMalloc` can give in all
    size_t sharedMemPerBlock;  ///< bytes
    int warpSize;              ///< threads
    int maxThreadsPerBlock;    ///< threads of a block, over all its extents
    int maxThreadsDim[3];      ///< largest extents of a block
    int maxGridSize[3];        ///< largest extents of a grid
    int major;                 ///< compute capability, the part before the point
    int minor;                 ///< compute capability, the part after it
    int multiProcessorCount;   ///< here: hardware threads of the host
};

#ifndef __cplusplus
typedef struct cudaChannelFormatDesc cudaChannelFormatDesc;
typedef struct cudaFuncAttributes cudaFuncAttributes;
typedef struct cudaResourceDesc cudaResourceDesc;
typedef struct cudaTextureDesc cudaTextureDesc;
typedef struct cudaDeviceProp cudaDeviceProp;
#endif

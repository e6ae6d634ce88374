#pragma once

#include <cuda_runtime_api.h>
#include <gpuruntime/device_properties.hpp>

/// Launch shapes. Each frame calls exactly one calculator per launch and works out no shape by itself. The
/// calculators cap a block at `MAX_THREADS_PER_BLOCK` and at what the kernel's registers allow, and fold or
/// step a grid that exceeds the stored limits of the device.
namespace gpuruntime::internal {

inline constexpr unsigned long MAX_THREADS_PER_BLOCK = 256;

struct LaunchShape {
    unsigned long blockX, blockY, blockZ;
    unsigned long gridX, gridY, gridZ;
};

/// A steps field of 1 means that the dimension fits its limit.
struct SteppedLaunchShape2D {
    unsigned long stepsY, stepsX;
    unsigned long blockX, blockY, blockZ;
    unsigned long gridX, gridY, gridZ;
};

struct SteppedLaunchShape3D {
    unsigned long stepsZ, stepsY, stepsX;
    unsigned long blockX, blockY, blockZ;
    unsigned long gridX, gridY, gridZ;
};

struct BlockShape {
    unsigned long blockX, blockY, blockZ;
};

/// Blocks of `b` that cover `a`: none if `b` is 0, one if `a` is 0.
constexpr unsigned long divideRoundUp(unsigned long a, unsigned long b) {
    return b == 0 ? 0 : a == 0 ? 1 : (a - 1) / b + 1;
}

/// Whole rows of `nx` in at most 256 threads. Callers keep zero extents out: a zero `nx` is a division by
/// zero, and so is a zero `ny` with an `nx` of 256 or more.
BlockShape computeBlock2D(cudaFuncAttributes const& attributes, unsigned long nx, unsigned long ny);

/// As `computeBlock2D` with whole planes; a zero `nx` or `ny` is a division by zero. `nz` is not used.
BlockShape computeBlock3D(gpucommon::CUDADeviceProperties const& properties,
                          cudaFuncAttributes const& attributes, unsigned long nx, unsigned long ny,
                          unsigned long nz);

LaunchShape computeElementwiseShape(cudaFuncAttributes const& attributes, unsigned long n);

SteppedLaunchShape2D computeElementwise2DShape(cudaFuncAttributes const& singleStep,
                                               cudaFuncAttributes const& multiStep, unsigned long nx,
                                               unsigned long ny);

SteppedLaunchShape3D computeElementwise3DShape(cudaFuncAttributes const& singleStep,
                                               cudaFuncAttributes const& multiStep, unsigned long nx,
                                               unsigned long ny, unsigned long nz);

/// One block for a count of 0, unlike `computeElementwiseShape`.
LaunchShape computeFixed1DBlockShape(unsigned long count, unsigned long blockSize);

/// The attributes are not read.
LaunchShape computeFixed1DBlockAnd1DGridShape(cudaFuncAttributes const& attributes, unsigned long blockSize,
                                              unsigned long numBlocks);

LaunchShape computeFixedNumBlocksShape(cudaFuncAttributes const& attributes, unsigned long numBlocks);

/// A block extent of 0 over an extent that is not 0 is a division by zero, with pages too.
SteppedLaunchShape2D computeFixed2DBlockShape(unsigned long nx, unsigned long ny, unsigned long blockX,
                                              unsigned long blockY);

/// One page per grid z index. `stepsZ`, unlike the other steps, may be 2 or 3.
SteppedLaunchShape3D computeFixed2DBlockWithPagesShape(unsigned long nx, unsigned long ny,
                                                       unsigned long numPages, unsigned long blockX,
                                                       unsigned long blockY);

}  // namespace gpuruntime::internal

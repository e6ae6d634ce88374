#include "frame/shape.hpp"

#include <algorithm>

#include "frame/device_properties.hpp"

namespace gpuruntime::internal {
namespace {

// A dimension that needs stepping at all takes at least this many steps.
constexpr unsigned long minimumSteps = 4;

// The attribute is a signed 32-bit value, widened with its sign.
unsigned long maxThreads(cudaFuncAttributes const& attributes) {
    return static_cast<unsigned long>(static_cast<long>(attributes.maxThreadsPerBlock));
}

unsigned long raisedSteps(unsigned long steps) { return steps > 1 ? std::max(steps, minimumSteps) : steps; }

LaunchShape noBlocks(unsigned long blockX) { return {blockX, 1, 1, 0, 1, 1}; }

// The spare blocks of a fold exit at once: kernels flatten the block index and test it.
LaunchShape folded(unsigned long blockX, unsigned long blocks) {
    unsigned long const limit = getCurrentDeviceProperties()->maxGridDimX;
    if (blocks <= limit) return {blockX, 1, 1, blocks, 1, 1};
    if (limit == 0) return {blockX, 1, 1, 0, 0, 1};
    unsigned long const gridY = (blocks - 1) / limit + 1;
    return {blockX, 1, 1, (blocks - 1) / gridY + 1, gridY, 1};
}

struct Grid {
    unsigned long x, y, z;
};

Grid gridOf(BlockShape const& block, unsigned long nx, unsigned long ny, unsigned long nz) {
    return {divideRoundUp(nx, block.blockX), divideRoundUp(ny, block.blockY),
            divideRoundUp(nz, block.blockZ)};
}

// Unlike in `divideRoundUp`, a block of 0 is a division by zero, unless the extent is 0 too.
unsigned long blocksOver(unsigned long extent, unsigned long block) {
    return extent == 0 ? 1 : (extent - 1) / block + 1;
}

bool fits(Grid const& grid, gpucommon::CUDADeviceProperties const& properties) {
    return grid.x <= properties.maxGridDimX && grid.y <= properties.maxGridDimY &&
           grid.z <= properties.maxGridDimZ;
}

// The z extent of a 2-D grid is 1 and meets no limit.
bool fits2D(Grid const& grid, gpucommon::CUDADeviceProperties const& properties) {
    return grid.x <= properties.maxGridDimX && grid.y <= properties.maxGridDimY;
}

SteppedLaunchShape2D stepped2D(BlockShape const& block, Grid const& grid,
                               gpucommon::CUDADeviceProperties const& properties) {
    unsigned long const stepsX = raisedSteps(divideRoundUp(grid.x, properties.maxGridDimX));
    unsigned long const stepsY = raisedSteps(divideRoundUp(grid.y, properties.maxGridDimY));
    return {stepsY,
            stepsX,
            block.blockX,
            block.blockY,
            1,
            divideRoundUp(grid.x, stepsX),
            divideRoundUp(grid.y, stepsY),
            1};
}

SteppedLaunchShape3D stepped3D(BlockShape const& block, Grid const& grid, unsigned long stepsZ,
                               gpucommon::CUDADeviceProperties const& properties) {
    SteppedLaunchShape2D const plane = stepped2D(block, grid, properties);
    return {stepsZ,       plane.stepsY, plane.stepsX,
            block.blockX, block.blockY, block.blockZ,
            plane.gridX,  plane.gridY,  divideRoundUp(grid.z, stepsZ)};
}

}  // namespace

BlockShape computeBlock2D(cudaFuncAttributes const& attributes, unsigned long nx, unsigned long ny) {
    unsigned long const limit = maxThreads(attributes);
    unsigned long const blockX = std::min(nx, MAX_THREADS_PER_BLOCK);
    // An array without rows is a fault of the caller, as one without columns is.
    unsigned long const divisor = nx < MAX_THREADS_PER_BLOCK || ny != 0 ? blockX : ny;
    BlockShape const block{blockX, MAX_THREADS_PER_BLOCK / divisor, 1};
    if (limit >= block.blockX * block.blockY) return block;
    if (limit >= block.blockX) return {block.blockX, limit / block.blockX, 1};
    return {limit, 1, 1};
}

BlockShape computeBlock3D(gpucommon::CUDADeviceProperties const& properties,
                          cudaFuncAttributes const& attributes, unsigned long nx, unsigned long ny,
                          unsigned long /*nz*/) {
    unsigned long const limit = maxThreads(attributes);
    BlockShape block{MAX_THREADS_PER_BLOCK, 1, 1};
    if (nx < MAX_THREADS_PER_BLOCK) {
        block.blockX = nx;
        block.blockY = std::min(MAX_THREADS_PER_BLOCK / nx, properties.maxBlockDimY);
    }
    unsigned long plane = block.blockX * block.blockY;
    if (block.blockY > ny) {
        block.blockY = ny;
        plane = block.blockX * ny;
        block.blockZ = std::min(MAX_THREADS_PER_BLOCK / plane, properties.maxBlockDimZ);
    }
    if (limit >= plane * block.blockZ) return block;
    if (block.blockX > limit) return {limit, 1, 1};
    if (limit >= plane) return {block.blockX, block.blockY, std::min(limit / plane, properties.maxBlockDimZ)};
    return {block.blockX, std::min(limit / block.blockX, properties.maxBlockDimY), 1};
}

LaunchShape computeElementwiseShape(cudaFuncAttributes const& attributes, unsigned long n) {
    unsigned long const blockX = std::min(maxThreads(attributes), MAX_THREADS_PER_BLOCK);
    if (n == 0 || blockX == 0) return noBlocks(blockX);
    return folded(blockX, (n - 1) / blockX + 1);
}

SteppedLaunchShape2D computeElementwise2DShape(cudaFuncAttributes const& singleStep,
                                               cudaFuncAttributes const& multiStep, unsigned long nx,
                                               unsigned long ny) {
    auto const& properties = *getCurrentDeviceProperties();
    BlockShape block = computeBlock2D(singleStep, nx, ny);
    Grid grid = gridOf(block, nx, ny, 1);
    if (fits2D(grid, properties)) return {1, 1, block.blockX, block.blockY, 1, grid.x, grid.y, 1};
    block = computeBlock2D(multiStep, nx, ny);
    return stepped2D(block, gridOf(block, nx, ny, 1), properties);
}

SteppedLaunchShape3D computeElementwise3DShape(cudaFuncAttributes const& singleStep,
                                               cudaFuncAttributes const& multiStep, unsigned long nx,
                                               unsigned long ny, unsigned long nz) {
    auto const& properties = *getCurrentDeviceProperties();
    BlockShape block = computeBlock3D(properties, singleStep, nx, ny, nz);
    Grid grid = gridOf(block, nx, ny, nz);
    if (fits(grid, properties)) {
        return {1, 1, 1, block.blockX, block.blockY, block.blockZ, grid.x, grid.y, grid.z};
    }
    block = computeBlock3D(properties, multiStep, nx, ny, nz);
    grid = gridOf(block, nx, ny, nz);
    return stepped3D(block, grid, raisedSteps(divideRoundUp(grid.z, properties.maxGridDimZ)), properties);
}

LaunchShape computeFixed1DBlockShape(unsigned long count, unsigned long blockSize) {
    if (blockSize == 0) return noBlocks(blockSize);
    return folded(blockSize, divideRoundUp(count, blockSize));
}

LaunchShape computeFixed1DBlockAnd1DGridShape(cudaFuncAttributes const& /*attributes*/,
                                              unsigned long blockSize, unsigned long numBlocks) {
    return folded(blockSize, numBlocks);
}

LaunchShape computeFixedNumBlocksShape(cudaFuncAttributes const& attributes, unsigned long numBlocks) {
    return folded(std::min(maxThreads(attributes), MAX_THREADS_PER_BLOCK), numBlocks);
}

SteppedLaunchShape2D computeFixed2DBlockShape(unsigned long nx, unsigned long ny, unsigned long blockX,
                                              unsigned long blockY) {
    auto const& properties = *getCurrentDeviceProperties();
    BlockShape const block{blockX, blockY, 1};
    Grid const grid{blocksOver(nx, blockX), blocksOver(ny, blockY), 1};
    if (fits2D(grid, properties)) return {1, 1, blockX, blockY, 1, grid.x, grid.y, 1};
    return stepped2D(block, grid, properties);
}

SteppedLaunchShape3D computeFixed2DBlockWithPagesShape(unsigned long nx, unsigned long ny,
                                                       unsigned long numPages, unsigned long blockX,
                                                       unsigned long blockY) {
    auto const& properties = *getCurrentDeviceProperties();
    BlockShape const block{blockX, blockY, 1};
    Grid const grid{blocksOver(nx, blockX), blocksOver(ny, blockY), numPages};
    if (fits(grid, properties)) return {1, 1, 1, blockX, blockY, 1, grid.x, grid.y, grid.z};
    return stepped3D(block, grid, divideRoundUp(numPages, properties.maxGridDimZ), properties);
}

}  // namespace gpuruntime::internal

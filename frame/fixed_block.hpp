#pragma once

#include "device.hpp"
#include "frame/launch.hpp"
#include "frame/shape.hpp"

/// Fixed-block frames: the functor decides the block's shape, because its threads share a tile or reduce
/// across the block. A functor is an empty type with a device-side static `apply(iterator, arguments...)`,
/// called once per block and step; it runs its phases over the iterator's threads. The frames add no guard:
/// to retire the spare blocks of a fold, and the positions past the extents that rounded-up stepped grids
/// leave, is the functor's duty. An optional static `work(arguments...)` says about how many elements a
/// launch goes over, and an optional `Body` names another functor that does the same, with which it shares
/// its code.

namespace gpuruntime::cuda {

/// `blockIndex` is flat: it undoes the fold of the grid.
struct Fixed1DBlockIterator {
    backend::Threads threads;
    unsigned int blockIndex;
    unsigned int count;
};

struct Fixed1DBlockAnd1DGridIterator {
    backend::Threads threads;
    unsigned int blockIndex;
    unsigned int blockSize, numBlocks;
};

struct FixedNumBlocksIterator {
    backend::Threads threads;
    unsigned int blockIndex;
    unsigned int numBlocks;
};

/// `totalBlocksX` and `totalBlocksY` count the blocks before stepping, rounded up to whole steps.
struct Fixed2DBlockIterator {
    backend::TileThreads threads;
    unsigned int blockX, blockY;
    unsigned int nx, ny;
    unsigned int totalBlocksX, totalBlocksY;
};

struct Fixed2DBlockWithPagesIterator {
    backend::TileThreads threads;
    unsigned int blockX, blockY, page;
    unsigned int nx, ny, numPages;
    unsigned int totalBlocksX, totalBlocksY;
};

GPU_DEVICE unsigned int flatBlockIndex() {
    uint3 const block = backend::blockIndex();
    return backend::gridSize().x * block.y + block.x;
}

}  // namespace gpuruntime::cuda

namespace gpuruntime::fixed1dblockdetail {

template <class Functor, class... Args>
GPU_KERNEL void singleStepKernel(unsigned int count, Args... args) {
    backend::applyToBlock<internal::BodyOf<Functor>>(
        cuda::Fixed1DBlockIterator{{}, cuda::flatBlockIndex(), count}, args...);
}

template <class Functor, class... Args, class... T>
cudaError launch(internal::Arguments<Args...>, CUstream_st* stream, unsigned long count,
                 unsigned long blockSize, T... arguments) {
    auto const shape = internal::computeFixed1DBlockShape(count, blockSize);
    auto const work = internal::WorkOf<Functor>::of(internal::threadsOf(shape), arguments...);
    return internal::launchKernel<&singleStepKernel<Functor, Args...>>(shape, stream, work, count,
                                                                       arguments...);
}

/// `count` threads in blocks of `blockSize`; one block for a count of 0.
template <class Functor, class... T>
cudaError launch(CUstream_st* stream, unsigned long count, unsigned long blockSize, T... arguments) {
    return launch<Functor>(internal::FunctorArguments<Functor>{}, stream, count, blockSize, arguments...);
}

}  // namespace gpuruntime::fixed1dblockdetail

namespace gpuruntime::fixed1dblockand1dgriddetail {

template <class Functor, class... Args>
GPU_KERNEL void singleStepKernel(unsigned int blockSize, unsigned int numBlocks, Args... args) {
    backend::applyToBlock<internal::BodyOf<Functor>>(
        cuda::Fixed1DBlockAnd1DGridIterator{{}, cuda::flatBlockIndex(), blockSize, numBlocks}, args...);
}

template <class Functor, class... Args, class... T>
cudaError launch(internal::Arguments<Args...>, CUstream_st* stream, unsigned long blockSize,
                 unsigned long numBlocks, T... arguments) {
    constexpr auto kernel = &singleStepKernel<Functor, Args...>;
    auto const attributes = internal::attributesOf<kernel>();
    auto const shape = internal::computeFixed1DBlockAnd1DGridShape(attributes, blockSize, numBlocks);
    auto const work = internal::WorkOf<Functor>::of(internal::threadsOf(shape), arguments...);
    return internal::launchKernel<kernel>(shape, stream, work, blockSize, numBlocks, arguments...);
}

/// `numBlocks` blocks of `blockSize`. Callers return first if there is no block.
template <class Functor, class... T>
cudaError launch(CUstream_st* stream, unsigned long blockSize, unsigned long numBlocks, T... arguments) {
    return launch<Functor>(internal::FunctorArguments<Functor>{}, stream, blockSize, numBlocks, arguments...);
}

}  // namespace gpuruntime::fixed1dblockand1dgriddetail

namespace gpuruntime::fixednumblocksdetail {

template <class Functor, class... Args>
GPU_KERNEL void singleStepKernel(unsigned int numBlocks, Args... args) {
    backend::applyToBlock<internal::BodyOf<Functor>>(
        cuda::FixedNumBlocksIterator{{}, cuda::flatBlockIndex(), numBlocks}, args...);
}

template <class Functor, class... Args, class... T>
cudaError launch(internal::Arguments<Args...>, CUstream_st* stream, unsigned long numBlocks, T... arguments) {
    constexpr auto kernel = &singleStepKernel<Functor, Args...>;
    auto const shape = internal::computeFixedNumBlocksShape(internal::attributesOf<kernel>(), numBlocks);
    auto const work = internal::WorkOf<Functor>::of(internal::threadsOf(shape), arguments...);
    return internal::launchKernel<kernel>(shape, stream, work, numBlocks, arguments...);
}

/// `numBlocks` blocks as large as the kernel allows, up to 256 threads. Callers return first if there is no
/// block.
template <class Functor, class... T>
cudaError launch(CUstream_st* stream, unsigned long numBlocks, T... arguments) {
    return launch<Functor>(internal::FunctorArguments<Functor>{}, stream, numBlocks, arguments...);
}

}  // namespace gpuruntime::fixednumblocksdetail

namespace gpuruntime::fixed2dblockdetail {

template <class Functor, class... Args>
GPU_KERNEL void singleStepKernel(unsigned int nx, unsigned int ny, unsigned int totalBlocksX,
                                 unsigned int totalBlocksY, Args... args) {
    uint3 const block = backend::blockIndex();
    backend::applyToBlock<internal::BodyOf<Functor>>(
        cuda::Fixed2DBlockIterator{{}, block.x, block.y, nx, ny, totalBlocksX, totalBlocksY}, args...);
}

/// One counter drives both coordinates: with both dimensions stepped the walk is a diagonal of tiles.
template <class Functor, class... Args>
GPU_KERNEL void multiStepKernel(unsigned int nx, unsigned int ny, unsigned int totalBlocksX,
                                unsigned int totalBlocksY, unsigned int blockStrideX,
                                unsigned int blockStrideY, unsigned int steps, Args... args) {
    uint3 const block = backend::blockIndex();
    cuda::Fixed2DBlockIterator iterator{{}, block.x, block.y, nx, ny, totalBlocksX, totalBlocksY};
    backend::applyToBlock<internal::BodyOf<Functor>>(iterator, args...);
    for (unsigned int step = 1; step < steps; ++step) {
        backend::blockBarrier();  // the next apply writes the shared tile that this one still reads
        iterator.blockX += blockStrideX;
        iterator.blockY += blockStrideY;
        backend::applyToBlock<internal::BodyOf<Functor>>(iterator, args...);
    }
}

template <class Functor, class... Args, class... T>
cudaError launch(internal::Arguments<Args...>, CUstream_st* stream, unsigned long nx, unsigned long ny,
                 unsigned long blockX, unsigned long blockY, T... arguments) {
    auto const shape = internal::computeFixed2DBlockShape(nx, ny, blockX, blockY);
    unsigned long const totalBlocksX = shape.stepsX * shape.gridX;
    unsigned long const totalBlocksY = shape.stepsY * shape.gridY;
    auto const work = internal::WorkOf<Functor>::of(nx * ny, arguments...);
    if (shape.stepsX < 2 && shape.stepsY < 2) {
        return internal::launchKernel<&singleStepKernel<Functor, Args...>>(
            shape, stream, work, nx, ny, totalBlocksX, totalBlocksY, arguments...);
    }
    unsigned long const blockStrideX = shape.stepsX == 1 ? 0 : shape.gridX;
    unsigned long const blockStrideY = shape.stepsY == 1 ? 0 : shape.gridY;
    return internal::launchKernel<&multiStepKernel<Functor, Args...>>(
        shape, stream, work, nx, ny, totalBlocksX, totalBlocksY, blockStrideX, blockStrideY,
        shape.stepsX * shape.stepsY, arguments...);
}

/// Tiles of `blockX` by `blockY` threads over `nx` by `ny`.
template <class Functor, class... T>
cudaError launch(CUstream_st* stream, unsigned long nx, unsigned long ny, unsigned long blockX,
                 unsigned long blockY, T... arguments) {
    return launch<Functor>(internal::FunctorArguments<Functor>{}, stream, nx, ny, blockX, blockY,
                           arguments...);
}

}  // namespace gpuruntime::fixed2dblockdetail

namespace gpuruntime::fixed2dblockwithpagesdetail {

template <class Functor, class... Args>
GPU_KERNEL void singleStepKernel(unsigned int nx, unsigned int ny, unsigned int numPages,
                                 unsigned int totalBlocksX, unsigned int totalBlocksY, Args... args) {
    uint3 const block = backend::blockIndex();
    backend::applyToBlock<internal::BodyOf<Functor>>(
        cuda::Fixed2DBlockWithPagesIterator{
            {}, block.x, block.y, block.z, nx, ny, numPages, totalBlocksX, totalBlocksY},
        args...);
}

/// The pages are a true outer loop; within a page one counter drives both coordinates.
template <class Functor, class... Args>
GPU_KERNEL void multiStepKernel(unsigned int nx, unsigned int ny, unsigned int numPages,
                                unsigned int totalBlocksX, unsigned int totalBlocksY,
                                unsigned int blockStrideX, unsigned int blockStrideY, unsigned int pageStride,
                                unsigned int stepsXY, unsigned int stepsZ, Args... args) {
    uint3 const block = backend::blockIndex();
    cuda::Fixed2DBlockWithPagesIterator iterator{{}, block.x,  block.y,      block.z,     nx,
                                                 ny, numPages, totalBlocksX, totalBlocksY};
    for (unsigned int pageStep = 0;;) {
        backend::applyToBlock<internal::BodyOf<Functor>>(iterator, args...);
        for (unsigned int step = 1; step < stepsXY; ++step) {
            backend::blockBarrier();  // the next apply writes the shared tile that this one still reads
            iterator.blockX += blockStrideX;
            iterator.blockY += blockStrideY;
            backend::applyToBlock<internal::BodyOf<Functor>>(iterator, args...);
        }
        if (++pageStep >= stepsZ) return;
        backend::blockBarrier();
        iterator.page += pageStride;
        iterator.blockX = block.x;
        iterator.blockY = block.y;
    }
}

template <class Functor, class... Args, class... T>
cudaError launch(internal::Arguments<Args...>, CUstream_st* stream, unsigned long nx, unsigned long ny,
                 unsigned long numPages, unsigned long blockX, unsigned long blockY, T... arguments) {
    auto const shape = internal::computeFixed2DBlockWithPagesShape(nx, ny, numPages, blockX, blockY);
    unsigned long const totalBlocksX = shape.stepsX * shape.gridX;
    unsigned long const totalBlocksY = shape.stepsY * shape.gridY;
    auto const work = internal::WorkOf<Functor>::of(nx * ny * numPages, arguments...);
    if (shape.stepsX < 2 && shape.stepsY < 2 && shape.stepsZ < 2) {
        return internal::launchKernel<&singleStepKernel<Functor, Args...>>(
            shape, stream, work, nx, ny, numPages, totalBlocksX, totalBlocksY, arguments...);
    }
    unsigned long const blockStrideX = shape.stepsX == 1 ? 0 : shape.gridX;
    unsigned long const blockStrideY = shape.stepsY == 1 ? 0 : shape.gridY;
    unsigned long const pageStride = shape.stepsZ == 1 ? 0 : shape.gridZ;
    return internal::launchKernel<&multiStepKernel<Functor, Args...>>(
        shape, stream, work, nx, ny, numPages, totalBlocksX, totalBlocksY, blockStrideX, blockStrideY,
        pageStride, shape.stepsX * shape.stepsY, shape.stepsZ, arguments...);
}

/// Tiles of `blockX` by `blockY` threads over `nx` by `ny`, on each of `numPages` pages.
template <class Functor, class... T>
cudaError launch(CUstream_st* stream, unsigned long nx, unsigned long ny, unsigned long numPages,
                 unsigned long blockX, unsigned long blockY, T... arguments) {
    return launch<Functor>(internal::FunctorArguments<Functor>{}, stream, nx, ny, numPages, blockX, blockY,
                           arguments...);
}

}  // namespace gpuruntime::fixed2dblockwithpagesdetail

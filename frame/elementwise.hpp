#pragma once

#include <type_traits>

#include "device.hpp"
#include "frame/launch.hpp"
#include "frame/shape.hpp"
#include "patch.hpp"
#include "rows.hpp"
#include "run.hpp"
#include "store.hpp"

/// Element-wise frames: one independent thread per element. A functor is an empty type with a device-side
/// static `apply(position, arguments...)`; the frame owns the shape, the index arithmetic, the bounds test
/// and the steps. Extents and indices are unsigned 32-bit on the device and wrap.

namespace gpuruntime::elementwisedetail {

/// Element `i` of `n`.
struct Position {
    unsigned int i, n;
};

/// The elements of a block, for functors whose formula changes along the array: `apply(block, arguments...)`
/// goes over the pieces itself.
struct BlockOfElements {
    backend::Threads threads;
    unsigned int first, n;

    /// Calls `f(i)` for the block's elements `i` in [`begin`, `end`).
    template <class F>
    GPU_DEVICE void forEach(unsigned int begin, unsigned int end, F f) const {
        threads.forEachIndex(first, begin, end < n ? end : n, f);
    }

    /// Stores `value(i)` at `out[i]` for the same elements.
    template <class T, class Value>
    GPU_DEVICE void store(T* out, unsigned int begin, unsigned int end, Value value) const {
        backend::storeEach(threads, out, n, first, begin, end < n ? end : n, value);
    }

    /// The block's elements as a row.
    GPU_DEVICE backend::Row row() const { return backend::rowOf(threads, first, n); }

    template <class T>
    GPU_DEVICE bool isStreamed() const {
        return backend::isStreamed<T>(n);
    }
};

template <class Functor, class... Args>
GPU_KERNEL void singleStepKernel(unsigned int n, Args... args) {
    backend::Threads const threads;
    uint3 const block = backend::blockIndex();
    // The flat block index undoes the fold of the grid; the spare blocks of the fold start past n.
    unsigned int const first = (backend::gridSize().x * block.y + block.x) * threads.size();
    if constexpr (std::is_invocable_v<decltype(&Functor::apply), BlockOfElements, Args...>) {
        Functor::apply(BlockOfElements{threads, first, n}, args...);
    } else if constexpr (std::is_invocable_v<decltype(&Functor::apply), backend::Run, Args...>) {
        backend::withRun(threads, first, n, [&](backend::Run run) { Functor::apply(run, args...); });
    } else {
        threads.forEachIndex(first, 0, n, [&](unsigned int i) { Functor::apply(Position{i, n}, args...); });
    }
}

template <class Functor, class... Args, class... T>
cudaError launch(internal::Arguments<Args...>, CUstream_st* stream, unsigned long n, T... arguments) {
    if (n == 0) return cudaSuccess;
    constexpr auto kernel = &singleStepKernel<Functor, Args...>;
    auto const shape = internal::computeElementwiseShape(internal::attributesOf<kernel>(), n);
    return internal::launchKernel<kernel>(shape, stream, n, static_cast<unsigned int>(n), arguments...);
}

/// Applies the functor to the elements 0 to `n` - 1; with `n` of 0 the runtime is not called.
template <class Functor, class... T>
cudaError launch(CUstream_st* stream, unsigned long n, T... arguments) {
    return launch<Functor>(internal::FunctorArguments<Functor>{}, stream, n, arguments...);
}

}  // namespace gpuruntime::elementwisedetail

namespace gpuruntime::elementwise2ddetail {

/// Element (`x`, `y`) of an `nx` by `ny` array.
struct Position {
    unsigned int x, y, nx, ny;
};

/// The rows of a block, for functors whose memory is runs along x: `apply(block, arguments...)` goes over the
/// rows itself.
struct BlockOfRows {
    unsigned int x, y, nx, ny;

    /// Calls `f(row, y)` for the block's part of each row.
    template <class F>
    GPU_DEVICE void forEachRow(F f) const {
        backend::forEachRow({}, {x, y, 0}, dim3(nx, ny, 1),
                            [&](backend::Row row, unsigned int y, unsigned int) GPU_INLINE { f(row, y); });
    }

    template <class T>
    GPU_DEVICE bool isStreamed() const {
        return backend::isStreamed<T>(1ul * nx * ny);
    }
};

/// A functor on the elements of a block, of which it gets the first.
template <class Functor>
struct EachElement {
    template <class... Args>
    static GPU_DEVICE void apply(Position first, Args... args) {
        if (first.x >= first.nx || first.y >= first.ny) return;
        if constexpr (std::is_invocable_v<decltype(&Functor::apply), BlockOfRows, Args...>) {
            Functor::apply(BlockOfRows{first.x, first.y, first.nx, first.ny}, args...);
        } else {
            dim3 const left(first.nx - first.x, first.ny - first.y, 1);
            backend::TileThreads().forEach(left, [&](backend::Thread t) {
                Functor::apply(Position{first.x + t.x, first.y + t.y, first.nx, first.ny}, args...);
            });
        }
    }
};

/// Whether a functor takes a patch of the array in place of an element, because columns share work; its
/// `blocksOfPatch` tells how many blocks it is to have where that makes a difference.
template <class Functor, class... Args>
inline constexpr bool takesPatch = std::is_invocable_v<decltype(&Functor::apply), backend::Patch, Args...>;

template <class Functor, class... Args>
GPU_DEVICE void visit(unsigned int x, unsigned int y, unsigned int nx, unsigned int ny, Args... args) {
    if constexpr (takesPatch<Functor, Args...>) {
        backend::withPatch(x, y, nx, ny, [&](backend::Patch const& patch) {
            backend::applyToBlock<Functor>(patch, args...);
        });
    } else {
        backend::applyToBlock<EachElement<Functor>>(Position{x, y, nx, ny}, args...);
    }
}

template <class Functor, class... Args>
GPU_KERNEL void singleStepKernel(unsigned int nx, unsigned int ny, Args... args) {
    if constexpr (takesPatch<Functor, Args...>) {
        backend::withPatchOfGrid<Functor::blocksOfPatch>(
            nx, ny, [&](backend::Patch const& patch) { backend::applyToBlock<Functor>(patch, args...); });
        return;
    }
    backend::TileThreads const threads;
    uint3 const block = backend::blockIndex();
    visit<Functor>(block.x * threads.sizeX(), block.y * threads.sizeY(), nx, ny, args...);
}

/// One counter drives both coordinates: with both dimensions stepped the walk is a diagonal of tiles.
template <class Functor, class... Args>
GPU_KERNEL void multiStepKernel(unsigned int nx, unsigned int ny, unsigned int strideX, unsigned int strideY,
                                unsigned int steps, Args... args) {
    backend::TileThreads const threads;
    uint3 const block = backend::blockIndex();
    unsigned int x = block.x * threads.sizeX();
    unsigned int y = block.y * threads.sizeY();
    visit<Functor>(x, y, nx, ny, args...);
    for (unsigned int step = 1; step < steps; ++step) {
        x += strideX;
        y += strideY;
        visit<Functor>(x, y, nx, ny, args...);
    }
}

template <class Functor, class... Args, class... T>
cudaError launch(internal::Arguments<Args...>, CUstream_st* stream, unsigned long nx, unsigned long ny,
                 T... arguments) {
    constexpr auto single = &singleStepKernel<Functor, Args...>;
    constexpr auto multi = &multiStepKernel<Functor, Args...>;
    auto const multiAttributes = internal::attributesOf<multi>();
    auto const singleAttributes = internal::attributesOf<single>();
    auto const shape = internal::computeElementwise2DShape(singleAttributes, multiAttributes, nx, ny);
    if (shape.stepsX < 2 && shape.stepsY < 2) {
        return internal::launchKernel<single>(shape, stream, nx * ny, nx, ny, arguments...);
    }
    unsigned long const strideX = shape.stepsX == 1 ? 0 : shape.blockX * shape.gridX;
    unsigned long const strideY = shape.stepsY == 1 ? 0 : shape.blockY * shape.gridY;
    return internal::launchKernel<multi>(shape, stream, nx * ny, nx, ny, strideX, strideY,
                                         shape.stepsX * shape.stepsY, arguments...);
}

/// Applies the functor to an `nx` by `ny` array. Callers return first if an extent is 0.
template <class Functor, class... T>
cudaError launch(CUstream_st* stream, unsigned long nx, unsigned long ny, T... arguments) {
    return launch<Functor>(internal::FunctorArguments<Functor>{}, stream, nx, ny, arguments...);
}

}  // namespace gpuruntime::elementwise2ddetail

namespace gpuruntime::elementwise3ddetail {

/// Element (`x`, `y`, `z`) of an `nx` by `ny` by `nz` array.
struct Position {
    unsigned int x, y, z, nx, ny, nz;
};

/// The rows of a block, as in two dimensions.
struct BlockOfRows {
    unsigned int x, y, z, nx, ny, nz;

    /// Calls `f(row, y, z)` for the block's part of each row.
    template <class F>
    GPU_DEVICE void forEachRow(F f) const {
        backend::forEachRow({}, {x, y, z}, dim3(nx, ny, nz), f);
    }

    template <class T>
    GPU_DEVICE bool isStreamed() const {
        return backend::isStreamed<T>(1ul * nx * ny * nz);
    }
};

/// A functor on the elements of a block, of which it gets the first.
template <class Functor>
struct EachElement {
    template <class... Args>
    static GPU_DEVICE void apply(Position first, Args... args) {
        if (first.x >= first.nx || first.y >= first.ny || first.z >= first.nz) return;
        if constexpr (std::is_invocable_v<decltype(&Functor::apply), BlockOfRows, Args...>) {
            Functor::apply(BlockOfRows{first.x, first.y, first.z, first.nx, first.ny, first.nz}, args...);
        } else {
            dim3 const left(first.nx - first.x, first.ny - first.y, first.nz - first.z);
            backend::TileThreads().forEach(left, [&](backend::Thread t) {
                Functor::apply(
                    Position{first.x + t.x, first.y + t.y, first.z + t.z, first.nx, first.ny, first.nz},
                    args...);
            });
        }
    }
};

template <class Functor, class... Args>
GPU_DEVICE void visit(uint3 first, dim3 extent, Args... args) {
    backend::applyToBlock<EachElement<Functor>>(
        Position{first.x, first.y, first.z, extent.x, extent.y, extent.z}, args...);
}

GPU_DEVICE uint3 firstOfBlock() {
    backend::TileThreads const threads;
    uint3 const block = backend::blockIndex();
    return {block.x * threads.sizeX(), block.y * threads.sizeY(), block.z * threads.sizeZ()};
}

template <class Functor, class... Args>
GPU_KERNEL void singleStepKernel(unsigned int nx, unsigned int ny, unsigned int nz, Args... args) {
    visit<Functor>(firstOfBlock(), dim3(nx, ny, nz), args...);
}

/// One counter drives all three coordinates, as in two dimensions.
template <class Functor, class... Args>
GPU_KERNEL void multiStepKernel(unsigned int nx, unsigned int ny, unsigned int nz, unsigned int strideX,
                                unsigned int strideY, unsigned int strideZ, unsigned int steps,
                                Args... args) {
    uint3 first = firstOfBlock();
    visit<Functor>(first, dim3(nx, ny, nz), args...);
    for (unsigned int step = 1; step < steps; ++step) {
        first.x += strideX;
        first.y += strideY;
        first.z += strideZ;
        visit<Functor>(first, dim3(nx, ny, nz), args...);
    }
}

template <class Functor, class... Args, class... T>
cudaError launch(internal::Arguments<Args...>, CUstream_st* stream, unsigned long nx, unsigned long ny,
                 unsigned long nz, T... arguments) {
    constexpr auto single = &singleStepKernel<Functor, Args...>;
    constexpr auto multi = &multiStepKernel<Functor, Args...>;
    auto const multiAttributes = internal::attributesOf<multi>();
    auto const singleAttributes = internal::attributesOf<single>();
    auto const shape = internal::computeElementwise3DShape(singleAttributes, multiAttributes, nx, ny, nz);
    if (shape.stepsX < 2 && shape.stepsY < 2 && shape.stepsZ < 2) {
        return internal::launchKernel<single>(shape, stream, nx * ny * nz, nx, ny, nz, arguments...);
    }
    unsigned long const strideX = shape.stepsX == 1 ? 0 : shape.blockX * shape.gridX;
    unsigned long const strideY = shape.stepsY == 1 ? 0 : shape.blockY * shape.gridY;
    unsigned long const strideZ = shape.stepsZ == 1 ? 0 : shape.blockZ * shape.gridZ;
    return internal::launchKernel<multi>(shape, stream, nx * ny * nz, nx, ny, nz, strideX, strideY, strideZ,
                                         shape.stepsZ * shape.stepsY * shape.stepsX, arguments...);
}

/// Applies the functor to an `nx` by `ny` by `nz` array. Callers return first if an extent is 0.
template <class Functor, class... T>
cudaError launch(CUstream_st* stream, unsigned long nx, unsigned long ny, unsigned long nz, T... arguments) {
    return launch<Functor>(internal::FunctorArguments<Functor>{}, stream, nx, ny, nz, arguments...);
}

}  // namespace gpuruntime::elementwise3ddetail

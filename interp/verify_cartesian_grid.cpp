#include <gpuruntime/grids.hpp>

#include "atomics.hpp"
#include "frame/elementwise.hpp"
#include "frame/instantiation.hpp"
#include "interp/constant_sizes.hpp"
#include "interp/grid_flag.hpp"
#include "matrix/elements.hpp"

namespace gpuruntime {
namespace interp {
namespace {

/// 1 while no element differs.
GPU_DEVICE_VARIABLE(unsigned int, dCartesian2DGrid);
GPU_DEVICE_VARIABLE(unsigned int, dCartesian3DGrid);
GPU_DEVICE_VARIABLE(unsigned int, dCartesianNDGrid);

GPU_CONSTANT_VARIABLE(Sizes, inDataSz);

template <class T>
GPU_DEVICE bool differs(backend::Row row, T const* elements, T const* vector) {
    return internal::holdsForAny<T>(row,
                                    [=](unsigned long x) GPU_INLINE { return elements[x] != vector[x]; });
}

template <class T>
GPU_DEVICE bool differs(backend::Row row, T const* elements, T value) {
    return internal::holdsForAny<T>(row, [=](unsigned long x) GPU_INLINE { return elements[x] != value; });
}

template <class T>
struct Verify2DCartesianGrid {
    static GPU_DEVICE void apply(elementwise2ddetail::BlockOfRows const& block, T const* gridArray,
                                 T const* gridVector, unsigned long whichDim) {
        block.forEachRow([&](backend::Row row, unsigned int y) {
            T const* const elements = gridArray + y * block.nx;
            if (whichDim == 0 ? differs(row, elements, gridVector) : differs(row, elements, gridVector[y])) {
                backend::atomicAnd(dCartesian2DGrid, 0);
            }
        });
    }
};

template <class T>
struct Verify3DCartesianGrid {
    static GPU_DEVICE void apply(elementwise3ddetail::BlockOfRows const& block, T const* gridArray,
                                 T const* gridVector, unsigned long whichDim) {
        block.forEachRow([&](backend::Row row, unsigned int y, unsigned int z) {
            T const* const elements = gridArray + (z * block.ny + y) * block.nx;
            if (whichDim == 0 ? differs(row, elements, gridVector)
                              : differs(row, elements, gridVector[whichDim == 1 ? y : z])) {
                backend::atomicAnd(dCartesian3DGrid, 0);
            }
        });
    }
};

template <class T>
struct VerifyNDCartesianGrid {
    static GPU_DEVICE void apply(elementwisedetail::Position at, T const* gridArray, T const* gridVector,
                                 unsigned long whichDim) {
        unsigned int left = at.i, subscript = 0;
        for (unsigned long d = 0; d <= whichDim; ++d) {
            auto const size = static_cast<unsigned int>(inDataSz[d]);
            subscript = left % size;
            left /= size;
        }
        if (gridArray[at.i] != gridVector[subscript]) backend::atomicAnd(dCartesianNDGrid, 0);
    }
};

}  // namespace
}  // namespace interp

template <class T>
bool VerifyNDCartesianGrid::Invoker<T>::operator()(CUstream_st* stream, T const* gridArray,
                                                   T const* gridVector, unsigned long whichDim,
                                                   unsigned long const* dims, unsigned long numDims) const {
    cudaError status = cudaSuccess;
    auto const isGrid = [&](unsigned int* flag, auto launch) {
        auto const holds = interp::flagAfter(flag, 1, [&] { status = launch(); });
        return status == cudaSuccess && holds && *holds != 0;
    };
    switch (numDims) {
        case 2:
            return isGrid(&interp::dCartesian2DGrid, [&] {
                if (dims[0] == 0 || dims[1] == 0) return cudaSuccess;
                return elementwise2ddetail::launch<interp::Verify2DCartesianGrid<T>>(
                    stream, dims[0], dims[1], gridArray, gridVector, whichDim);
            });
        case 3:
            return isGrid(&interp::dCartesian3DGrid, [&] {
                if (dims[0] == 0 || dims[1] == 0 || dims[2] == 0) return cudaSuccess;
                return elementwise3ddetail::launch<interp::Verify3DCartesianGrid<T>>(
                    stream, dims[0], dims[1], dims[2], gridArray, gridVector, whichDim);
            });
        default:
            return isGrid(&interp::dCartesianNDGrid, [&] {
                cudaError const copied = cudaMemcpyToSymbolAsync(
                    interp::inDataSz, dims, numDims * sizeof *dims, 0, cudaMemcpyHostToDevice, stream);
                if (copied != cudaSuccess) return copied;
                unsigned int n = 1;
                for (unsigned long d = 0; d < numDims; ++d) n *= static_cast<unsigned int>(dims[d]);
                return elementwisedetail::launch<interp::VerifyNDCartesianGrid<T>>(stream, n, gridArray,
                                                                                   gridVector, whichDim);
            });
    }
}

void _forceInstantiation_(detail::Opaque& opaque, VerifyNDCartesianGrid*) {
    internal::instantiate<VerifyNDCartesianGrid>(opaque, internal::FloatingReal{});
}

}  // namespace gpuruntime

#include <gpuruntime/permute.hpp>

#include <algorithm>
#include <functional>
#include <numeric>
#include <vector>

#include "frame/fixed_block.hpp"
#include "frame/instantiation.hpp"
#include "indexing/carrier.hpp"
#include "indexing/prefetch.hpp"
#include "store.hpp"

namespace gpuruntime {
namespace {

/// The tables of the running call, one entry per dimension. `permuteOrder` is 1-based.
using DimensionTable = unsigned int[32];
GPU_CONSTANT_VARIABLE(DimensionTable, permuteInputSize);
GPU_CONSTANT_VARIABLE(DimensionTable, permuteOutputSize);
GPU_CONSTANT_VARIABLE(DimensionTable, permuteGridDim);
GPU_CONSTANT_VARIABLE(DimensionTable, permuteOrder);

constexpr unsigned int tileEdge = 16;
constexpr unsigned int maxSteps = 128;  ///< tiles of a block

// --- Kernels: a block copies `steps` runs or tiles along the output dimension `chosenDim`. ---

/// Elements from one position to the next along output dimension `d`.
GPU_DEVICE unsigned int outputStride(unsigned int d) {
    unsigned int stride = 1;
    for (unsigned int k = 0; k < d; ++k) stride *= permuteOutputSize[k];
    return stride;
}

/// The same in the input, along the input dimension that feeds output dimension `d`.
GPU_DEVICE unsigned int inputStride(unsigned int d, unsigned int numDims) {
    unsigned int const last = std::min(permuteOrder[d] - 1, numDims);
    unsigned int stride = 1;
    for (unsigned int k = 0; k < last; ++k) stride *= permuteInputSize[k];
    return stride;
}

/// Where a block's first element stands in both arrays.
struct Origin {
    unsigned int out, in;
};

/// Takes the block's number apart into its coordinates in the grid of `permuteGridDim`. A block is
/// `blockSize` wide along the dimensions that its threads run along: the first of the output, and the first
/// of the input.
GPU_DEVICE Origin originOf(unsigned int block, unsigned int blockSize, unsigned int numDims,
                           unsigned int chosenDim, unsigned int steps) {
    Origin origin{0, 0};
    for (unsigned int d = 0; d < numDims; ++d) {
        unsigned int const coordinate = block % permuteGridDim[d];
        block /= permuteGridDim[d];
        unsigned int const width = d == 0 || permuteOrder[d] == 1 ? blockSize : 1;
        unsigned int const position = coordinate * width * (d == chosenDim ? steps : 1);
        origin.out += position * outputStride(d);
        origin.in += position * inputStride(d, numDims);
    }
    return origin;
}

/// The first dimension stays first: runs along it are contiguous in both arrays.
template <class T>
struct PermuteKernelFixDim1 {
    static GPU_DEVICE void apply(cuda::Fixed1DBlockIterator const& at, T* out, T const* in, unsigned long n,
                                 unsigned long totalX, unsigned long chosen, unsigned long stepsPerBlock) {
        auto const numDims = static_cast<unsigned int>(n), chosenDim = static_cast<unsigned int>(chosen);
        auto const steps = static_cast<unsigned int>(stepsPerBlock);
        unsigned int const blockSize = at.threads.size();
        // A folded grid has spare blocks.
        if (static_cast<unsigned long>(at.blockIndex) * blockSize * steps >= totalX) return;

        Origin const origin = originOf(at.blockIndex, blockSize, numDims, chosenDim, steps);
        unsigned int const runLeft = permuteOutputSize[0] - origin.out % permuteOutputSize[0];
        if (chosenDim == 0) {
            for (unsigned int k = 0; k < steps && k * blockSize < runLeft; ++k) {
                copyRun(at, out + origin.out + k * blockSize, in + origin.in + k * blockSize,
                        runLeft - k * blockSize);
            }
        } else {
            unsigned int const outputStep = outputStride(chosenDim);
            unsigned int const inputStep = inputStride(chosenDim, numDims);
            unsigned int const extent = permuteOutputSize[chosenDim];
            unsigned int const count = std::min(steps, extent - origin.out / outputStep % extent);
            for (unsigned int k = 0; k < count; ++k) {
                copyRun(at, out + origin.out + k * outputStep, in + origin.in + k * inputStep, runLeft);
            }
        }
    }

    static unsigned long work(T*, T const*, unsigned long, unsigned long totalX, unsigned long,
                              unsigned long) {
        return totalX;
    }

  private:
    static GPU_DEVICE void copyRun(cuda::Fixed1DBlockIterator const& at, T* out, T const* in,
                                   unsigned int length) {
        at.threads.forEach(length, [=](unsigned int t) { out[t] = in[t]; });
    }
};

/// The first dimension moves: tiles between the first dimension of the input and that of the output are
/// turned in shared memory, so that reads and writes are contiguous.
template <class T, unsigned int tile>
struct PermuteKernelVaryDim1 {
    static GPU_DEVICE void apply(cuda::Fixed2DBlockIterator const& at, T* out, T const* in, unsigned long n,
                                 unsigned long totalX, unsigned long totalY, unsigned long chosen,
                                 unsigned long stepsPerBlock) {
        auto const numDims = static_cast<unsigned int>(n), chosenDim = static_cast<unsigned int>(chosen);
        auto const steps = static_cast<unsigned int>(stepsPerBlock);
        unsigned int const blockSize = at.threads.sizeX();
        unsigned int const block = at.blockY * at.totalBlocksX + at.blockX;
        // A grid that steps in one direction visits every block, and spare ones. In both it walks a diagonal,
        // where a number past the last block wraps around to one that may not have been visited; where it
        // has, two blocks write the same values to the same places.
        dim3 const grid = backend::gridSize();
        bool const diagonal = at.totalBlocksX != grid.x && at.totalBlocksY != grid.y;
        bool const past =
            static_cast<unsigned long>(block) * blockSize * blockSize * steps >= totalX * totalY;
        if (past && !diagonal) return;

        Origin const origin = originOf(block, blockSize, numDims, chosenDim, steps);
        unsigned int turned = 0;  // the output dimension that is the input's first
        while (permuteOrder[turned] != 1) ++turned;
        unsigned long const outputStep = outputStride(turned), inputStep = inputStride(0, numDims);
        unsigned int inputLeft = permuteInputSize[0] - origin.in % permuteInputSize[0];
        unsigned int outputLeft = permuteOutputSize[0] - origin.out % permuteOutputSize[0];

        GPU_SHARED T shm[tile][tile + 1];
        bool const alongOutput = chosenDim == 0;
        T const* from = in + origin.in;
        T* to = out + origin.out;
        unsigned long const fromStep = alongOutput ? blockSize * inputStep : blockSize;
        unsigned long const toStep = alongOutput ? blockSize : blockSize * outputStep;
        for (unsigned int step = 0; step < steps; ++step) {
            bool const isFetched = !backend::isStreamedTile<tile>(to, outputStep, totalX * totalY);
            if (alongOutput) {
                if (isFetched) internal::prefetchTiles<tile>(maxSteps, step, to, outputStep);
                internal::prefetchRows<tile>(from + fromStep, inputStep, tile);
            } else {
                internal::prefetchTiles<tile>(maxSteps, step, from, inputStep);
                if (isFetched) internal::prefetchRows<tile>(to + toStep, outputStep, tile);
            }
            at.threads.template forEach<tile, tile>(dim3(inputLeft, outputLeft), [&](backend::Thread t) {
                shm[t.x][t.y] = from[t.y * inputStep + t.x];
            });
            backend::blockBarrier();
            backend::storeTile<tile, tile>(at.threads, dim3(outputLeft, inputLeft), to, outputStep,
                                           totalX * totalY, [&](backend::Thread t) { return shm[t.y][t.x]; });
            unsigned int& left = alongOutput ? outputLeft : inputLeft;
            if (left <= blockSize) return;
            left -= blockSize;
            from += fromStep;
            to += toStep;
            backend::blockBarrier();  // the next tile overwrites what this one still reads
        }
    }

    static unsigned long work(T*, T const*, unsigned long, unsigned long totalX, unsigned long totalY,
                              unsigned long, unsigned long) {
        return totalX * totalY;
    }
};

// --- Dispatch ---

using Extents = std::vector<unsigned long>;

struct Dimensions {
    Extents input, output;
    Extents order;  ///< for each output dimension, the 1-based input dimension that feeds it
};

/// Drops the dimensions of extent 1. Where none is left, as in an array of one element, one of them stays.
Dimensions withoutSingletons(unsigned long numOutDims, unsigned long const* outSizes, unsigned long numInDims,
                             unsigned long const* inSizes, unsigned long const* order) {
    Dimensions kept;
    Extents removed;
    for (unsigned long d = 0; d < numOutDims; ++d) {
        if (outSizes[d] != 1) {
            kept.output.push_back(outSizes[d]);
            kept.order.push_back(order[d]);
        } else if (order[d] <= numInDims) {
            removed.push_back(order[d]);
        }
    }
    for (unsigned long& dimension : kept.order) {
        dimension -= static_cast<unsigned long>(std::count_if(
            removed.begin(), removed.end(), [&](unsigned long other) { return other < dimension; }));
    }
    std::copy_if(inSizes, inSizes + numInDims, std::back_inserter(kept.input),
                 [](unsigned long extent) { return extent != 1; });
    if (kept.output.empty()) return {{1}, {1}, {1}};
    return kept;
}

/// How the blocks cover the output.
struct Plan {
    bool fixFirst;            ///< the first dimension stays first
    unsigned long chosenDim;  ///< the output dimension along which a block steps
    unsigned long blockSize;  ///< edge of the block, a run or a tile
    unsigned long steps;
    Extents grid;  ///< blocks along each output dimension
    unsigned long totalX,
        totalY;  ///< padded elements before, and from, the output dimension that is the input's first
};

unsigned long roundUp(unsigned long value, unsigned long multiple) {
    return internal::divideRoundUp(value, multiple) * multiple;
}

unsigned long product(Extents::const_iterator begin, Extents::const_iterator end) {
    return std::accumulate(begin, end, 1ul, std::multiplies<>());
}

/// The longest dimension, where the first, which the threads of a block share already, counts by its 256th
/// part.
unsigned long longestDimension(Extents extents) {
    extents[0] /= internal::MAX_THREADS_PER_BLOCK;
    return static_cast<unsigned long>(std::max_element(extents.begin(), extents.end()) - extents.begin());
}

Plan planRuns(Dimensions const& dims) {
    constexpr unsigned long warp = 32, steps = 64;
    Plan plan{true, longestDimension(dims.output), 0, steps, dims.output, 0, 1};
    plan.blockSize = std::min(internal::MAX_THREADS_PER_BLOCK, roundUp(dims.output[0], warp));
    Extents& padded = plan.grid;
    if (plan.chosenDim == 0) {
        padded[0] = roundUp(padded[0], plan.blockSize * steps);
    } else {
        padded[0] = roundUp(padded[0], plan.blockSize);
        padded[plan.chosenDim] = roundUp(padded[plan.chosenDim], steps);
    }
    plan.totalX = product(padded.begin(), padded.end());
    plan.grid[0] /= plan.blockSize;
    plan.grid[plan.chosenDim] /= steps;
    return plan;
}

Plan planTiles(Dimensions const& dims) {
    constexpr unsigned long smallTile = 8;
    auto const turned = std::find(dims.order.begin(), dims.order.end(), 1ul) - dims.order.begin();
    auto const j = static_cast<unsigned long>(turned);
    unsigned long const longer = std::max(dims.output[0], dims.output[j]);
    Plan plan{false, dims.output[0] < dims.output[j] ? j : 0, 0, 0, dims.output, 0, 0};
    plan.blockSize = std::min<unsigned long>(tileEdge, roundUp(longer, smallTile));
    plan.steps = std::min<unsigned long>(maxSteps, internal::divideRoundUp(longer, plan.blockSize));
    Extents& padded = plan.grid;
    padded[0] = roundUp(padded[0], plan.blockSize * (plan.chosenDim == 0 ? plan.steps : 1));
    padded[j] = roundUp(padded[j], plan.blockSize * (plan.chosenDim == j ? plan.steps : 1));
    plan.totalX = product(padded.begin(), padded.begin() + turned);
    plan.totalY = product(padded.begin() + turned, padded.end());
    plan.grid[0] /= plan.blockSize;
    plan.grid[j] /= plan.blockSize;
    plan.grid[plan.chosenDim] /= plan.steps;
    return plan;
}

/// The runtime stages what it copies from pageable memory, so the narrowed table may end with this call.
cudaError upload(DimensionTable const& table, Extents const& extents, CUstream_st* stream) {
    std::vector<unsigned int> const narrowed(extents.begin(), extents.end());
    return cudaMemcpyToSymbolAsync(table, narrowed.data(), narrowed.size() * sizeof(unsigned int), 0,
                                   cudaMemcpyHostToDevice, stream);
}

template <class T>
void permute(CUstream_st* stream, T* out, T const* in, Dimensions const& dims) {
    Plan const plan = dims.order[0] == 1 ? planRuns(dims) : planTiles(dims);
    bool const uploaded = upload(permuteInputSize, dims.input, stream) == cudaSuccess &&
                          upload(permuteOutputSize, dims.output, stream) == cudaSuccess &&
                          upload(permuteGridDim, plan.grid, stream) == cudaSuccess &&
                          upload(permuteOrder, dims.order, stream) == cudaSuccess;
    if (!uploaded) return;
    unsigned long const n = dims.output.size();
    if (plan.fixFirst) {
        fixed1dblockdetail::launch<PermuteKernelFixDim1<T>>(stream, plan.totalX / plan.steps, plan.blockSize,
                                                            out, in, n, plan.totalX, plan.chosenDim,
                                                            plan.steps);
    } else {
        unsigned long const stepsX = plan.chosenDim == 0 ? plan.steps : 1;
        unsigned long const stepsY = plan.chosenDim == 0 ? 1 : plan.steps;
        fixed2dblockdetail::launch<PermuteKernelVaryDim1<T, tileEdge>>(
            stream, plan.totalX / stepsX, plan.totalY / stepsY, plan.blockSize, plan.blockSize, out, in, n,
            plan.totalX, plan.totalY, plan.chosenDim, plan.steps);
    }
}

}  // namespace

template <class T>
void Permute::Invoker<T>::operator()(CUstream_st* stream, T* out, unsigned long numOutDims,
                                     unsigned long const* outSizes, T const* in, unsigned long numInDims,
                                     unsigned long const* inSizes, unsigned long /*numOrder*/,
                                     unsigned long const* order) const {
    // The kernels divide by the extents.
    if (std::count(outSizes, outSizes + numOutDims, 0ul) > 0) return;
    permute(stream, internal::carried(out), internal::carried(in),
            withoutSingletons(numOutDims, outSizes, numInDims, inSizes, order));
}

void _forceInstantiation_(detail::Opaque& opaque, Permute*) {
    internal::instantiate<Permute>(opaque, internal::All{});
}

}  // namespace gpuruntime

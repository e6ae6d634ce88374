#pragma once

#include <gpuruntime/random.hpp>

#include "frame/device_properties.hpp"
#include "frame/fixed_block.hpp"
#include "frame/instantiation.hpp"
#include "random/conversions.hpp"
#include "random/state.hpp"

/// The kernels and operators of the random families, for any generator. Each generator's unit includes it and
/// emits the operators.
namespace gpucommon::rand {

/// A thread of a counter-based generator makes 8 elements.
inline constexpr unsigned int blockSize = 64, elementsPerThread = 8;

/// Skipping ahead costs a thread of MRG32k3a much, so the grid has a fixed number of threads per
/// multiprocessor, each with a long run of elements: a multiple of 8, at least.
inline constexpr unsigned int runBlockSize = 128, runGranularity = 8;
inline constexpr unsigned long runBlocksPerMultiProcessor = 6, runBlocksPerOldMultiProcessor = 3;

/// The elements of each of `threadCount` threads, one at least, that make `n` together.
constexpr unsigned long runLengthFor(unsigned long n, unsigned long threadCount) {
    if (n == 0) return runGranularity;
    return (n - 1) / threadCount / runGranularity * runGranularity + runGranularity;
}

/// A block's 512 neighbouring elements. Each thread makes the blocks of its own 8 elements and puts them into
/// its row; then the threads write the rows out in the order of memory. Elements past `n` are made and left.
template <class G, class Conversion, class T>
GPU_DEVICE void randCoalescedWrites(gpuruntime::cuda::Fixed1DBlockIterator const& iterator, T* out,
                                    Conversion const& conversion, unsigned int n) {
    using namespace gpuruntime::backend;
    constexpr unsigned int places = G::placesPerBlock;
    unsigned int const firstThread = iterator.blockIndex * blockSize;
    // In 64 bits: the spare blocks of a folded grid may begin at 2^32 elements or more.
    unsigned long const first = static_cast<unsigned long>(firstThread) * elementsPerThread;
    if (first >= n) return;

    constexpr unsigned int pitch = elementsPerThread + 1;  // odd, against bank conflicts
    GPU_SHARED T sharedMem[blockSize * pitch];
    G const generator = G::load();
    // A stream that begins inside a block needs one block more; the places before and after the row are
    // dropped.
    for (unsigned int made = 0; made < elementsPerThread + generator.subPosition; made += places) {
        forEachLanes(iterator.threads, [&](unsigned int t) {
            WordLanes integers[places];
            DoubleLanes uniform[places];
            ElementLanes<T> elements[places];
            generator.integers(countedFrom(firstThread + t) * (elementsPerThread / places) + made / places,
                               integers);
            for (unsigned int place = 0; place < places; ++place) uniform[place] = uniformOf(integers[place]);
            convertBlock<T>(conversion, uniform, elements);
            for (unsigned int place = 0; place < places; ++place) {
                unsigned int const column = made + place - generator.subPosition;
                if (column >= elementsPerThread) continue;
                T* const cell = sharedMem + t * pitch + column;
                for (unsigned int lane = 0; lane < laneCount; ++lane) {
                    cell[lane * pitch] = elementOf<T>(elements[place], lane);
                }
            }
        });
    }
    blockBarrier();  // the rows are read by other threads than wrote them

    // Neighbouring threads write neighbouring elements, 8 rows in a pass. Neighbouring lanes lie in one row.
    unsigned int const left = n - static_cast<unsigned int>(first);
    for (unsigned int pass = 0; pass < elementsPerThread; ++pass) {
        forEachLanes(iterator.threads, [&](unsigned int t) {
            unsigned int const element = pass * blockSize + t;
            T const* const cell =
                sharedMem + element / elementsPerThread * pitch + element % elementsPerThread;
            T* const target = out + first + element;
            if (element + laneCount <= left) {
                for (unsigned int lane = 0; lane < laneCount; ++lane) target[lane] = cell[lane];
            } else {
                for (unsigned int lane = 0; element + lane < left; ++lane) target[lane] = cell[lane];
            }
        });
    }
}

/// Each thread makes a run of `runLength` neighbouring elements and writes it as it goes.
template <class G, class Conversion, class T>
GPU_DEVICE void randRuns(gpuruntime::cuda::Fixed1DBlockIterator const& iterator, unsigned int runLength,
                         T* out, Conversion const& conversion, unsigned int n) {
    using namespace gpuruntime::backend;
    forEachLanes(iterator.threads, [&](unsigned int t) {
        // In 64 bits: the threads' runs together may pass 2^32 elements.
        unsigned long const index = iterator.blockIndex * runBlockSize + t;
        unsigned long const start = index * runLength;
        if (start >= n) return;
        G generator = G::load(static_cast<unsigned int>(start), runLength);
        for (unsigned int i = 0; i < runLength; ++i) {
            WordLanes const z1 = generator.next();
            WordLanes const z2 = generator.next();
            ElementLanes<T> const elements = conversion(uniformOf(z1, z2));
            for (unsigned int lane = 0; lane < laneCount; ++lane) {
                unsigned long const element = start + lane * static_cast<unsigned long>(runLength) + i;
                if (element < n) out[element] = elementOf<T>(elements, lane);
            }
        }
    });
}

template <class G, class Conversion, class T>
GPU_DEVICE void fill(gpuruntime::cuda::Fixed1DBlockIterator const& iterator, unsigned int runLength, T* out,
                     Conversion const& conversion, unsigned int n) {
    if constexpr (G::isCounterBased) {
        randCoalescedWrites<G>(iterator, out, conversion, n);
    } else {
        randRuns<G>(iterator, runLength, out, conversion, n);
    }
}

}  // namespace gpucommon::rand

namespace gpuruntime {

template <class G, class T>
struct RandKernel {
    static GPU_DEVICE void apply(cuda::Fixed1DBlockIterator const& iterator, unsigned int elementsPerThread,
                                 unsigned int n, T* out) {
        gpucommon::rand::fill<G>(iterator, elementsPerThread, out, gpucommon::rand::RandConversion<T>{}, n);
    }
    static unsigned long work(unsigned long /*elementsPerThread*/, unsigned long n, T* /*out*/) { return n; }
};

template <class G, class T>
struct RandiKernel {
    static GPU_DEVICE void apply(cuda::Fixed1DBlockIterator const& iterator, unsigned int elementsPerThread,
                                 unsigned int n, T* out, double lowest, double highest) {
        gpucommon::rand::RandIConversion<T> const conversion{lowest, highest};
        gpucommon::rand::fill<G>(iterator, elementsPerThread, out, conversion, n);
    }
    static unsigned long work(unsigned long /*elementsPerThread*/, unsigned long n, T* /*out*/,
                              double /*lowest*/, double /*highest*/) {
        return n;
    }
};

template <class G, class T, class Conversion>
struct RandnKernel {
    static GPU_DEVICE void apply(cuda::Fixed1DBlockIterator const& iterator, unsigned int elementsPerThread,
                                 unsigned int n, T* out) {
        gpucommon::rand::fill<G>(iterator, elementsPerThread, out, Conversion{}, n);
    }
    static unsigned long work(unsigned long /*elementsPerThread*/, unsigned long n, T* /*out*/) { return n; }
};

namespace internal {

/// Hands the state over, and launches `Functor` over `n` elements.
template <class G, class Functor, class T, class... Bounds>
cudaError launchRandom(CUstream_st* stream, T* out, unsigned int const* state, unsigned long n,
                       Bounds... bounds) {
    using namespace gpucommon::rand;
    cudaError const status =
        cudaMemcpyToSymbolAsync(RNGInitialState, state, G::stateBytes, 0, cudaMemcpyHostToDevice, stream);
    if (status != cudaSuccess) return status;
    if constexpr (G::isCounterBased) {
        unsigned long const threadCount = n == 0 ? 1 : (n - 1) / elementsPerThread + 1;
        return fixed1dblockdetail::launch<Functor>(stream, threadCount, blockSize, elementsPerThread, n, out,
                                                   bounds...);
    } else {
        auto const& properties = *getCurrentDeviceProperties();
        unsigned long const threadCount =
            properties.multiProcessorCount * runBlockSize *
            (properties.computeCapabilityMajor < 3 ? runBlocksPerOldMultiProcessor
                                                   : runBlocksPerMultiProcessor);
        if (threadCount == 0) return status;
        return fixed1dblockdetail::launch<Functor>(stream, threadCount, runBlockSize,
                                                   runLengthFor(n, threadCount), n, out, bounds...);
    }
}

}  // namespace internal

template <class G>
template <class T>
cudaError Rand<G>::Invoker<T>::operator()(CUstream_st* stream, T* out, unsigned int* state,
                                          unsigned long n) const {
    return internal::launchRandom<G, RandKernel<G, T>>(stream, out, state, n);
}

template <class G>
template <class T>
cudaError RandI<G>::Invoker<T>::operator()(CUstream_st* stream, T* out, unsigned int* state, double lowest,
                                           double highest, unsigned long n) const {
    return internal::launchRandom<G, RandiKernel<G, T>>(stream, out, state, n, lowest, highest);
}

template <class G>
template <class T>
cudaError RandNInversion<G>::Invoker<T>::operator()(CUstream_st* stream, T* out, unsigned int* state,
                                                    unsigned long n) const {
    using Conversion = gpucommon::rand::NormalConversionInversion<T>;
    return internal::launchRandom<G, RandnKernel<G, T, Conversion>>(stream, out, state, n);
}

template <class G>
template <class T>
cudaError RandNBoxMuller<G>::Invoker<T>::operator()(CUstream_st* stream, T* out, unsigned int* state,
                                                    unsigned long n) const {
    using Conversion = gpucommon::rand::NormalConversionBoxMuller<T>;
    return internal::launchRandom<G, RandnKernel<G, T, Conversion>>(stream, out, state, n);
}

}  // namespace gpuruntime

#pragma once

#include "block_fold.hpp"
#include "device.hpp"
#include "frame/fixed_block.hpp"
#include "frame/invariant_divisor.hpp"
#include "reduction/reduction_kernels.hpp"

/// Running accumulations in place, over the same three extents as reductions. A segment is a piece of
/// `reductionLength` elements along the dimension; the adjust kernels fold the running totals of earlier
/// pieces into later ones.
namespace gpuruntime::accumulationkernels {

inline constexpr unsigned int blockSize = 128;

/// A block for each contiguous segment, which it scans in tiles of two elements a thread.
template <unsigned int N, class T, class Operator>
struct SegmentedAccumulateKernel {
    static unsigned long work(T*, T*, unsigned long numElements, unsigned long) { return numElements; }

    static GPU_DEVICE void apply(cuda::Fixed1DBlockAnd1DGridIterator const& block, T* totals, T* data,
                                 unsigned int numElements, unsigned int reductionLength) {
        unsigned int const segment = block.blockIndex;
        unsigned int const begin = segment * reductionLength;
        if (segment >= block.numBlocks || begin >= numElements) return;
        unsigned int const length =
            reductionkernels::detail::segmentLength(begin, reductionLength, numElements);
        auto const& threads = block.threads;

        GPU_SHARED backend::ScanTile<Operator, N> tile;
        auto carry = Operator::identity();  // of the first thread
        for (unsigned int done = 0; done < length;) {
            unsigned int const left = length - done;
            unsigned int const count = left < 2 * N ? left : 2 * N;
            carry = tile.scan(threads, data + begin + done, count, done == 0, carry);
            done += count;
        }
        threads.forEach(1, [&](unsigned int) { totals[segment] = carry; });
    }
};

/// A thread for each column of each piece, which takes the elements one after another.
template <class T, class Operator>
struct StridedAccumulateKernel {
    static unsigned long work(T*, T*, unsigned long numElements, unsigned long, unsigned long) {
        return numElements;
    }

    static GPU_DEVICE void apply(cuda::Fixed2DBlockIterator const& block, T* totals, T* data,
                                 unsigned int /*numElements*/, unsigned int reductionLength,
                                 unsigned int stride) {
        reductionkernels::detail::Columns const columns(block, reductionLength, stride);
        if (columns.count == 0) return;
        dim3 const limit(columns.count);
        T* elements = data + columns.firstElement;

        backend::PerThread<reductionkernels::detail::Held<Operator>, blockSize> values;
        block.threads.forEach(limit, [&](backend::Thread t) { values[t.x] = elements[t.x]; });
        for (unsigned int k = 1; k < reductionLength; ++k) {
            elements += stride;
            columns.prefetchAfter(elements);
            block.threads.forEach(limit, [&](backend::Thread t) {
                values[t.x] = Operator::combine(values[t.x], elements[t.x]);
                elements[t.x] = values[t.x];
            });
        }
        block.threads.forEach(limit,
                              [&](backend::Thread t) { totals[columns.firstResult + t.x] = values[t.x]; });
    }
};

/// Combines each element of a contiguous piece with the running total of the piece before it, the element
/// first. The first piece of each group stays as it is.
template <unsigned int N, class T, class Operator>
struct SegmentedAdjustKernel {
    static unsigned long work(T*, T*, unsigned long numElements, unsigned long, internal::InvariantDivisor) {
        return numElements;
    }

    static GPU_DEVICE void apply(cuda::Fixed1DBlockAnd1DGridIterator const& block, T* totals, T* data,
                                 unsigned int numElements, unsigned int reductionLength,
                                 internal::InvariantDivisor segmentsPerGroup) {
        unsigned int const segment = block.blockIndex;
        unsigned int const begin = segment * reductionLength;
        if (segment >= block.numBlocks || begin >= numElements || segmentsPerGroup.remainder(segment) == 0)
            return;
        unsigned int const length =
            reductionkernels::detail::segmentLength(begin, reductionLength, numElements);
        T* const elements = data + begin;

        T const adjustment = totals[segment - 1];
        block.threads.template walk<N>(elements, 0, length, [=](unsigned int, unsigned long i) {
            elements[i] = Operator::combine(elements[i], adjustment);
        });
    }
};

/// The same for columns, one thread each, but with the running total first.
template <class T, class Operator>
struct StridedAdjustKernel {
    static unsigned long work(T*, T*, unsigned long numElements, unsigned long, internal::InvariantDivisor,
                              unsigned long) {
        return numElements;
    }

    static GPU_DEVICE void apply(cuda::Fixed2DBlockIterator const& block, T* totals, T* data,
                                 unsigned int /*numElements*/, unsigned int reductionLength,
                                 internal::InvariantDivisor segmentsPerGroup, unsigned int stride) {
        if (segmentsPerGroup.remainder(block.blockY) == 0) return;
        reductionkernels::detail::Columns const columns(block, reductionLength, stride);
        if (columns.count == 0) return;
        dim3 const limit(columns.count);
        T* elements = data + columns.firstElement;
        T const* const before = totals + (columns.firstResult - stride);

        backend::PerThread<T, blockSize> adjustments;
        block.threads.forEach(limit, [&](backend::Thread t) { adjustments[t.x] = before[t.x]; });
        for (unsigned int k = 0; k < reductionLength; ++k) {
            columns.prefetchAfter(elements);
            block.threads.forEach(limit, [&](backend::Thread t) {
                elements[t.x] = Operator::combine(adjustments[t.x], elements[t.x]);
            });
            elements += stride;
        }
    }
};

}  // namespace gpuruntime::accumulationkernels

#pragma once

#include <limits>
#include <type_traits>

#include "block_fold.hpp"
#include "device.hpp"
#include "frame/complex.hpp"
#include "frame/fixed_block.hpp"
#include "frame/invariant_divisor.hpp"
#include "reduction/operators.hpp"
#include "reduction/tallies.hpp"

/// Reductions of an array seen as three nested extents, fastest first: `stride`, `reductionLength`, and the
/// rest. A segment is reduced by one block, by a row of a block, or by one thread, so the order in which its
/// elements meet hangs on the extents alone. `Transform` is applied to each element as it is read, `Operator`
/// combines two values; the index forms carry along the position from which the surviving value came.
///
/// Extents and indices are unsigned 32-bit.
namespace gpuruntime::reductionkernels {

inline constexpr unsigned int blockSize = 256;

/// The longest contiguous segments that share a block.
inline constexpr unsigned int longestSmallSegment = 128;

namespace detail {

template <class F, class = void>
struct EquivalentOf {
    using type = F;
};
template <class F>
struct EquivalentOf<F, std::void_t<typename F::Equivalent>> {
    using type = typename F::Equivalent;
};

/// A transform or operator that does the same, one for all of which this is said.
template <class F>
using Equivalent = typename EquivalentOf<F>::type;

/// How a value is held while it is combined.
template <class Operator>
using Held = decltype(Operator::identity());

/// The position of an element in its segment, beside the value.
template <class Operator>
using Position = backend::PositionBeside<Held<Operator>>;

/// The part of `reductionLength` elements that the array still has from `begin` on.
GPU_DEVICE unsigned int segmentLength(unsigned int begin, unsigned int reductionLength,
                                      unsigned int numElements) {
    unsigned int const left = numElements - begin;
    return left < reductionLength ? left : reductionLength;
}

/// Whether the value `b` at position `ib` takes the place of `a` at position `ia`: of values of which neither
/// is better, the one at the lower position stays.
template <class Operator, class T, class Position>
GPU_DEVICE bool takesPlace(T a, Position ia, T b, Position ib) {
    if constexpr (internal::isComplex<T>) {
        return ia < ib ? Operator::supersedes(a, b) : !Operator::supersedes(b, a);
    } else {
        // no branches, so that loops vectorise
        return Operator::supersedes(a, b) | ((ib < ia) & !Operator::supersedes(b, a));
    }
}

/// The 1-based position in a group of segments.
GPU_DEVICE double positionInGroup(unsigned int segment, internal::InvariantDivisor segmentsPerGroup,
                                  unsigned int reductionLength, unsigned int position) {
    return segmentsPerGroup.remainder(segment) * reductionLength + position + 1;
}

/// The block's columns of a strided array: the first of them, and where its elements and its result stand.
struct Columns {
    unsigned int count;
    unsigned int stride;
    unsigned int firstElement, firstResult;

    GPU_DEVICE Columns(cuda::Fixed2DBlockIterator const& block, unsigned int reductionLength,
                       unsigned int stride)
        : stride(stride) {
        unsigned long const x = static_cast<unsigned long>(block.blockX) * block.threads.sizeX();
        unsigned int const left =
            x < stride && block.blockY < block.ny ? stride - static_cast<unsigned int>(x) : 0;
        count = left < block.threads.sizeX() ? left : block.threads.sizeX();
        firstElement = block.blockY * stride * reductionLength + static_cast<unsigned int>(x);
        firstResult = block.blockY * stride + static_cast<unsigned int>(x);
    }

    /// Fetches a row some rows ahead of `row`, which is slow where the rows are apart.
    template <class T>
    GPU_DEVICE void prefetchAfter(T const* row) const {
        constexpr unsigned long rowsAhead = 4;
        if (count < stride) backend::prefetch(row + rowsAhead * stride, count);
    }
};

/// The surviving value of each of `N` threads and the row that it came from, counted from 1 in a stretch of
/// rows, or 0 for an earlier one. The count is as wide as the values, so that loops over the threads
/// vectorise well, and a stretch as long as it can count.
template <class Operator, unsigned int N>
struct Survivors {
    using Row = std::conditional_t<
        sizeof(Held<Operator>) == 1, unsigned char,
        std::conditional_t<sizeof(Held<Operator>) == 2, unsigned short,
                           std::conditional_t<sizeof(Held<Operator>) == 4, unsigned int, unsigned long>>>;
    static constexpr unsigned int maxRows =
        sizeof(Row) < sizeof(unsigned int) ? std::numeric_limits<Row>::max() : (1u << 31) / N;

    backend::PerThread<Held<Operator>, N> values;
    backend::PerThread<Row, N> rows;

    GPU_DEVICE void take(unsigned long t, Held<Operator> value, unsigned int row) {
        bool const taken = Operator::supersedes(values[t], value);
        if constexpr (std::is_integral_v<Held<Operator>>) {
            values[t] = Operator::combine(values[t], value);  // the same, and quicker
        } else {
            values[t] = taken ? value : values[t];
        }
        rows[t] = taken ? static_cast<Row>(row + 1) : rows[t];
    }
};

}  // namespace detail

/// A block for each contiguous segment. A thread takes every `N`-th element, one after another, before the
/// block folds.
template <unsigned int N, class TIn, class TOut, class Transform, class Operator>
struct SegmentedReduceKernel {
    using Body =
        SegmentedReduceKernel<N, TIn, TOut, detail::Equivalent<Transform>, detail::Equivalent<Operator>>;

    static unsigned long work(TOut*, TIn const*, unsigned long numElements, unsigned long) {
        return numElements;
    }

    static GPU_DEVICE void apply(cuda::Fixed1DBlockAnd1DGridIterator const& block, TOut* out, TIn const* in,
                                 unsigned int numElements, unsigned int reductionLength) {
        unsigned int const segment = block.blockIndex;
        unsigned int const begin = segment * reductionLength;
        if (segment >= block.numBlocks || begin >= numElements) return;
        unsigned int const length = detail::segmentLength(begin, reductionLength, numElements);
        TIn const* const elements = in + begin;

        backend::prefetchAfter(elements, length < N ? length : N);
        backend::PerThread<detail::Held<Operator>, N> values;
        block.threads.forEach([&](unsigned int t) { values[t] = Operator::identity(); });
        block.threads.forEach(length, [&](unsigned int t) { values[t] = Transform::apply(elements[t]); });
        backend::combineWalk<Operator, Transform, Tally<Operator, Transform, TIn>>(block.threads, values,
                                                                                   elements, N, length);
        backend::foldBlock(
            block.threads, values, [](auto a, auto b) { return Operator::combine(a, b); },
            [&](auto result) { out[segment] = result; });
    }
};

/// A row of threads for each contiguous segment, one element a thread.
template <unsigned int N, class TIn, class TOut, class Transform, class Operator>
struct SegmentedReduceSmallKernel {
    using Body =
        SegmentedReduceSmallKernel<N, TIn, TOut, detail::Equivalent<Transform>, detail::Equivalent<Operator>>;

    static unsigned long work(TOut*, TIn const*, unsigned long numElements, unsigned long) {
        return numElements;
    }

    static GPU_DEVICE void apply(cuda::Fixed2DBlockIterator const& block, TOut* out, TIn const* in,
                                 unsigned int numElements, unsigned int reductionLength) {
        unsigned long const first =
            (static_cast<unsigned long>(block.blockY) * block.totalBlocksX + block.blockX) *
            block.threads.sizeY();
        if (first >= block.ny || first * reductionLength >= numElements) return;
        unsigned int const begin = static_cast<unsigned int>(first) * reductionLength;
        TIn const* const elements = in + begin;

        GPU_SHARED detail::Held<Operator> sData[N];
        backend::SegmentTile<N> const tile(block.threads, reductionLength);
        backend::prefetchAfter(elements, block.threads.sizeY() * reductionLength);
        tile.load(
            numElements - begin,
            [&](unsigned long slot, unsigned int, unsigned long i) {
                sData[slot] = Transform::apply(elements[i]);
            },
            [&](unsigned int slot) { sData[slot] = Operator::identity(); });
        tile.fold([&](unsigned long into, unsigned long from)
                      GPU_INLINE { sData[into] = Operator::combine(sData[into], sData[from]); });
        tile.forEachRow(block.ny - static_cast<unsigned int>(first),
                        [&](unsigned int row, unsigned int slot) { out[first + row] = sData[slot]; });
    }
};

/// A thread for each result, which takes the elements one after another, `stride` apart.
template <class TIn, class TOut, class Transform, class Operator>
struct StridedReduceKernel {
    using Body = StridedReduceKernel<TIn, TOut, detail::Equivalent<Transform>, detail::Equivalent<Operator>>;

    static unsigned long work(TOut*, TIn const*, unsigned long numElements, unsigned long, unsigned long) {
        return numElements;
    }

    static GPU_DEVICE void apply(cuda::Fixed2DBlockIterator const& block, TOut* out, TIn const* in,
                                 unsigned int /*numElements*/, unsigned int reductionLength,
                                 unsigned int stride) {
        detail::Columns const columns(block, reductionLength, stride);
        if (columns.count == 0) return;
        dim3 const limit(columns.count);
        TIn const* elements = in + columns.firstElement;

        backend::PerThread<detail::Held<Operator>, blockSize> values;
        block.threads.forEach(limit,
                              [&](backend::Thread t) { values[t.x] = Transform::apply(elements[t.x]); });
        for (unsigned int k = 1; k < reductionLength; ++k) {
            elements += stride;
            columns.prefetchAfter(elements);
            backend::combineEach<Operator>(block.threads, columns.count, values,
                                           [&](unsigned long t) { return Transform::apply(elements[t]); });
        }
        block.threads.forEach(limit,
                              [&](backend::Thread t) { out[columns.firstResult + t.x] = values[t.x]; });
    }
};

/// As `SegmentedReduceKernel`, but the block folds halves. `outIndex` counts from the start of a group of
/// `segmentsPerGroup` segments.
template <unsigned int N, class TIn, class TOut, class Transform, class Operator>
struct SegmentedIndexReduceKernel {
    using Body =
        SegmentedIndexReduceKernel<N, TIn, TOut, detail::Equivalent<Transform>, detail::Equivalent<Operator>>;

    static unsigned long work(TOut*, double*, TIn const*, unsigned long numElements, unsigned long,
                              internal::InvariantDivisor) {
        return numElements;
    }

    static GPU_DEVICE void apply(cuda::Fixed1DBlockAnd1DGridIterator const& block, TOut* out,
                                 double* outIndex, TIn const* in, unsigned int numElements,
                                 unsigned int reductionLength, internal::InvariantDivisor segmentsPerGroup) {
        unsigned int const segment = block.blockIndex;
        unsigned int const begin = segment * reductionLength;
        if (segment >= block.numBlocks || begin >= numElements) return;
        unsigned int const length = detail::segmentLength(begin, reductionLength, numElements);
        TIn const* const elements = in + begin;

        backend::prefetchAfter(elements, length < N ? length : N);
        using Survivors = detail::Survivors<Operator, N>;
        Survivors survivors;
        backend::PerThread<unsigned int, N> positions;
        block.threads.forEach([&](unsigned int t) {
            survivors.values[t] = Operator::identity();
            positions[t] = length;
        });
        block.threads.forEach(length, [&](unsigned int t) {
            survivors.values[t] = Transform::apply(elements[t]);
            positions[t] = t;
        });
        for (unsigned int first = N; first < length;) {
            unsigned int const left = length - first;
            unsigned int const count = left < Survivors::maxRows * N ? left : Survivors::maxRows * N;
            block.threads.forEach([&](unsigned int t) { survivors.rows[t] = 0; });
            block.threads.template walkRows<N>(
                elements, first, first + count,
                [&survivors, elements](unsigned long t, unsigned long i, unsigned int row) {
                    survivors.take(t, Transform::apply(elements[i]), row);
                });
            block.threads.forEach([&](unsigned int t) {
                auto const row = static_cast<unsigned int>(survivors.rows[t]);
                positions[t] = row == 0 ? positions[t] : first + (row - 1) * N + t;
            });
            first += count;
        }

        GPU_SHARED detail::Held<Operator> sData[N];
        GPU_SHARED detail::Position<Operator> sIdx[N];
        block.threads.phase([&](unsigned int t) {
            sData[t] = survivors.values[t];
            sIdx[t] = positions[t];
        });
        backend::foldHalves<N>(block.threads, length, [&](unsigned long into, unsigned long from) GPU_INLINE {
            bool const taken = detail::takesPlace<Operator>(sData[into], sIdx[into], sData[from], sIdx[from]);
            sData[into] = taken ? sData[from] : sData[into];
            sIdx[into] = taken ? sIdx[from] : sIdx[into];
        });
        block.threads.forEach(1, [&](unsigned int) {
            out[segment] = sData[0];
            outIndex[segment] = detail::positionInGroup(segment, segmentsPerGroup, reductionLength, sIdx[0]);
        });
    }
};

/// As `SegmentedReduceSmallKernel`. `outIndex` counts from the start of the segment.
template <unsigned int N, class TIn, class TOut, class Transform, class Operator>
struct SegmentedIndexReduceSmallKernel {
    using Body = SegmentedIndexReduceSmallKernel<N, TIn, TOut, detail::Equivalent<Transform>,
                                                 detail::Equivalent<Operator>>;

    static unsigned long work(TOut*, double*, TIn const*, unsigned long numElements, unsigned long) {
        return numElements;
    }

    static GPU_DEVICE void apply(cuda::Fixed2DBlockIterator const& block, TOut* out, double* outIndex,
                                 TIn const* in, unsigned int numElements, unsigned int reductionLength) {
        unsigned long const first =
            (static_cast<unsigned long>(block.blockY) * block.totalBlocksX + block.blockX) *
            block.threads.sizeY();
        if (first >= block.ny || first * reductionLength >= numElements) return;
        unsigned int const begin = static_cast<unsigned int>(first) * reductionLength;
        TIn const* const elements = in + begin;

        GPU_SHARED detail::Held<Operator> sData[N];
        GPU_SHARED detail::Position<Operator> sIdx[N];
        backend::SegmentTile<N> const tile(block.threads, reductionLength);
        backend::prefetchAfter(elements, block.threads.sizeY() * reductionLength);
        tile.load(
            numElements - begin,
            [&](unsigned long slot, unsigned int x, unsigned long i) {
                sData[slot] = Transform::apply(elements[i]);
                sIdx[slot] = x;
            },
            [&](unsigned int slot) {
                sData[slot] = Operator::identity();
                sIdx[slot] = reductionLength;
            });
        tile.fold([&](unsigned long into, unsigned long from) GPU_INLINE {
            bool const taken = detail::takesPlace<Operator>(sData[into], sIdx[into], sData[from], sIdx[from]);
            sData[into] = taken ? sData[from] : sData[into];
            sIdx[into] = taken ? sIdx[from] : sIdx[into];
        });
        tile.forEachRow(block.ny - static_cast<unsigned int>(first),
                        [&](unsigned int row, unsigned int slot) {
                            out[first + row] = sData[slot];
                            outIndex[first + row] = sIdx[slot] + 1;
                        });
    }
};

/// As `StridedReduceKernel`. `outIndex` counts from the start of a group of `segmentsPerGroup` slices.
template <class TIn, class TOut, class Transform, class Operator>
struct StridedIndexReduceKernel {
    using Body =
        StridedIndexReduceKernel<TIn, TOut, detail::Equivalent<Transform>, detail::Equivalent<Operator>>;

    static unsigned long work(TOut*, double*, TIn const*, unsigned long numElements, unsigned long,
                              internal::InvariantDivisor, unsigned long) {
        return numElements;
    }

    static GPU_DEVICE void apply(cuda::Fixed2DBlockIterator const& block, TOut* out, double* outIndex,
                                 TIn const* in, unsigned int /*numElements*/, unsigned int reductionLength,
                                 internal::InvariantDivisor segmentsPerGroup, unsigned int stride) {
        detail::Columns const columns(block, reductionLength, stride);
        if (columns.count == 0) return;
        dim3 const limit(columns.count);
        TIn const* elements = in + columns.firstElement;

        using Survivors = detail::Survivors<Operator, blockSize>;
        Survivors survivors;
        backend::PerThread<unsigned int, blockSize> positions;
        block.threads.forEach(limit, [&](backend::Thread t) {
            survivors.values[t.x] = Transform::apply(elements[t.x]);
            positions[t.x] = 0;
        });
        for (unsigned int first = 1; first < reductionLength;) {
            unsigned int const left = reductionLength - first;
            unsigned int const count = left < Survivors::maxRows ? left : Survivors::maxRows;
            block.threads.forEach(limit, [&](backend::Thread t) { survivors.rows[t.x] = 0; });
            for (unsigned int row = 0; row < count; ++row) {
                elements += stride;
                columns.prefetchAfter(elements);
                block.threads.forEach(limit, [&](backend::Thread t) {
                    survivors.take(t.x, Transform::apply(elements[t.x]), row);
                });
            }
            block.threads.forEach(limit, [&](backend::Thread t) {
                auto const row = static_cast<unsigned int>(survivors.rows[t.x]);
                positions[t.x] = row == 0 ? positions[t.x] : first + row - 1;
            });
            first += count;
        }
        block.threads.forEach(limit, [&](backend::Thread t) {
            out[columns.firstResult + t.x] = survivors.values[t.x];
            outIndex[columns.firstResult + t.x] =
                detail::positionInGroup(block.blockY, segmentsPerGroup, reductionLength, positions[t.x]);
        });
    }
};

}  // namespace gpuruntime::reductionkernels

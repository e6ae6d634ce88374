#include <gpuruntime/accumarray.hpp>

#include <algorithm>
#include <type_traits>
#include <utility>

#include "frame/fixed_block.hpp"
#include "frame/instantiation.hpp"
#include "reduction/operators.hpp"

namespace gpuruntime {
namespace {

constexpr unsigned int blockSize = internal::MAX_THREADS_PER_BLOCK;
constexpr unsigned int chunkSize = 8192;
constexpr unsigned int sharedCount = 1024;  ///< values that a block folds in shared memory

/// How a value is held while it is folded.
template <class Operator>
using Held = decltype(Operator::identity());

/// A value from memory, where any byte but 0 is true.
GPU_DEVICE unsigned char loaded(unsigned char value) { return value != 0; }
template <class T>
GPU_DEVICE T loaded(T value) {
    return value;
}

/// Folds the runs of equal keys of a chunk, which are sorted. In each pass a survivor stands for itself and
/// what was absorbed; the survivors of the next are every second of them. The pass in which a run has one
/// survivor left emits it.
template <unsigned int sharedSize, class Operator>
struct AccumArrayKernel {
    using T = Held<Operator>;

    static GPU_DEVICE void apply(cuda::Fixed1DBlockAnd1DGridIterator const& block, T* out, int* edgeKeys,
                                 T* edgeValues, int const* inKeys, T* inValues, unsigned int n,
                                 unsigned int chunk) {
        if (block.blockIndex >= block.numBlocks) return;
        unsigned int const begin = block.blockIndex * chunk;
        unsigned int total = begin < n ? n - begin : 0;
        if (total > chunk) total = chunk;
        if (total == 0) return;
        int const* keys = inKeys + begin;
        T* values = inValues + begin;
        int const leftKey = keys[0], rightKey = keys[total - 1];
        unsigned int const left = 2 * block.blockIndex, right = left + 1;

        // Of the survivor at `position` among its likes. What other chunks may add to is for the next level
        // to store.
        auto const emit = [=](unsigned int position, int key, T value) {
            if (position == 0) {
                edgeKeys[left] = key;
                edgeValues[left] = value;
            }
            if (key == rightKey) {
                edgeKeys[right] = key;
                edgeValues[right] = position == 0 ? Operator::identity() : value;  // not to count it twice
            }
            bool const isInner = (key != leftKey) & (key != rightKey);
            if (isInner || block.numBlocks == 1) out[key - 1] = value;
        };

        GPU_SHARED int indShared[sharedSize];
        GPU_SHARED T valsShared[sharedSize];
        bool inShared = false;
        unsigned int active = total, step = 1, previous = 0;
        do {
            backend::blockBarrier();  // what this pass reads was written in the one before
            bool const entersShared = !inShared && active <= sharedSize;
            block.threads.walk<blockSize>(keys, 0, active, [&](unsigned int, unsigned long i) {
                unsigned int const at = static_cast<unsigned int>(i) * step;
                int const key = keys[at];
                T value = loaded(values[at]);
                bool const isFirst = at < step || keys[at - step] != key;
                if (previous != 0) {
                    if (isFirst && at >= previous && keys[at - previous] == key) {
                        value = Operator::combine(value, loaded(values[at - previous]));
                    }
                    if (at + previous < total && keys[at + previous] == key) {
                        value = Operator::combine(value, loaded(values[at + previous]));
                    }
                    values[at] = value;
                }
                bool const isLast = at + step >= total || keys[at + step] != key;
                if (isFirst && isLast) emit(at, key, value);
                if (entersShared) {
                    indShared[i] = key;
                    valsShared[i] = value;
                }
            });
            if (entersShared) {
                keys = indShared;
                values = valsShared;
                step = 1;
                total = active;
                inShared = true;
            }
            previous = step;
            step *= 2;
            active = (active + 1) / 2;
        } while (previous < total);
    }
};

/// The blocks of a level that folds `n` values.
struct Level {
    unsigned long n, numBlocks, chunk, threads;

    explicit Level(unsigned long n)
        : n(n),
          numBlocks(n <= chunkSize ? 1 : (n - 1) / chunkSize + 1),
          chunk(n <= chunkSize ? n : chunkSize),
          threads(n <= chunkSize ? std::min<unsigned long>(n, blockSize) : blockSize) {}

    /// The level that folds the edges of the chunks.
    Level next() const { return Level(2 * numBlocks); }
};

template <class Operator, class T>
void accumulate(CUstream_st* stream, T* out, int* keys, T* values, int* edgeKeys, T* edgeValues,
                unsigned long n, AccumArrayMode mode) {
    Level level(n);
    auto const goOn = [&] {
        level = level.next();
        std::swap(keys, edgeKeys);
        std::swap(values, edgeValues);
    };
    if (mode != AccumArrayModeFull) {
        if (level.numBlocks == 1) return;
        goOn();
    }
    for (;; goOn()) {
        if (level.threads != 0) {
            fixed1dblockand1dgriddetail::launch<AccumArrayKernel<sharedCount, Operator>>(
                stream, level.threads, level.numBlocks, out, edgeKeys, edgeValues, keys, values, level.n,
                level.chunk);
        }
        if (level.numBlocks < 2) return;
    }
}

/// Logicals are folded as their bytes.
template <class T>
auto* held(T* values) {
    if constexpr (std::is_same_v<T, bool>) {
        return reinterpret_cast<unsigned char*>(values);
    } else {
        return values;
    }
}

}  // namespace

unsigned long getNumElementsWorkingMemoryNeededForAccumarray(unsigned long n) {
    return 2 * Level(n).numBlocks;
}

template <class T>
int AccumArray::Invoker<T>::operator()(CUstream_st* stream, T* out, int* keys, T* values, int* scratchKeys,
                                       T* scratchValues, unsigned long /*numBins*/, unsigned long n,
                                       AccumArrayFunction function, AccumArrayMode mode) const {
    using namespace reductionoperators;
    auto const by = [&](auto operation) {
        accumulate<decltype(operation)>(stream, held(out), keys, held(values), scratchKeys,
                                        held(scratchValues), n, mode);
        return 0;
    };
    if constexpr (std::is_same_v<T, bool>) {
        switch (function) {
            case AccumArrayFunctionSum:
            case AccumArrayFunctionMax:
            case AccumArrayFunctionAny:
                return by(Or{});
            case AccumArrayFunctionProd:
            case AccumArrayFunctionMin:
            case AccumArrayFunctionAll:
                return by(And{});
        }
    } else {
        switch (function) {
            case AccumArrayFunctionSum:
                return by(Sum<T>{});
            case AccumArrayFunctionProd:
                return by(Prod<T>{});
            case AccumArrayFunctionMin:
                return by(Min<T>{});
            case AccumArrayFunctionMax:
                return by(Max<T>{});
            default:
                break;
        }
    }
    return function;
}

void _forceInstantiation_(detail::Opaque& opaque, AccumArray*) {
    internal::instantiate<AccumArray>(opaque, internal::FloatingWithBool{});
}

}  // namespace gpuruntime

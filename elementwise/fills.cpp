#include <gpuruntime/fills.hpp>

#include "conversion.hpp"
#include "frame/complex.hpp"
#include "frame/elementwise.hpp"
#include "frame/instantiation.hpp"
#include "frame/invariant_divisor.hpp"
#include "frame/small_invariant_divisor.hpp"

namespace gpuruntime {
namespace {

template <class T>
struct EyeKernel {
    static GPU_DEVICE void apply(elementwisedetail::Position at, T* out, unsigned long leadingDimension) {
        T& diagonal = out[at.i * (leadingDimension + 1)];
        if constexpr (internal::isComplex<T>) {
            diagonal = T{1, 0};
        } else {
            diagonal = T(1);
        }
    }
};

template <class T>
struct GenericOnesKernel {
    static GPU_DEVICE void apply(elementwisedetail::BlockOfElements const& block, T* out, T value) {
        block.store(out, 0, block.n, [=](unsigned int) { return value; });
    }
};

template <class T>
GPU_DEVICE T offsetIndex(unsigned int index, T offset) {
    if constexpr (std::is_same_v<T, int>) {
        return static_cast<int>(index + static_cast<unsigned int>(offset));
    } else {
        return backend::fromUint32(index) + offset;
    }
}

/// The divisors by which an element finds its index: for short periods, in which a block counts from the last
/// multiple of the period before it, and for long ones, where the product of the two may have wrapped.
struct RunningIndex {
    internal::InvariantDivisor period, repeatEach;
    bool isShort;
    internal::SmallInvariantDivisor shortRepeatEach, shortNumRuns;

    RunningIndex(unsigned int repeatEach, unsigned int numRuns)
        : period(repeatEach * numRuns),
          repeatEach(repeatEach),
          isShort(isShortPeriod(1ul * repeatEach * numRuns)),
          shortRepeatEach(repeatEach),
          shortNumRuns(numRuns) {}

  private:
    static bool isShortPeriod(unsigned long product) {
        return product != 0 &&
               product <= internal::SmallInvariantDivisor::dividendLimit - internal::MAX_THREADS_PER_BLOCK;
    }
};

template <class T>
struct FillArrayWithRunningIndexKernel {
    static GPU_DEVICE void apply(elementwisedetail::BlockOfElements const& block, T* out, RunningIndex by,
                                 T offset) {
        if (by.isShort) {
            unsigned int const origin = block.first - by.period.remainder(block.first);
            block.store(out, 0, block.n, [=](unsigned int i) {
                int const run = by.shortRepeatEach.quotient(static_cast<int>(i - origin));
                return offsetIndex(static_cast<unsigned int>(by.shortNumRuns.remainder(run)), offset);
            });
        } else {
            block.store(out, 0, block.n, [=](unsigned int i) {
                return offsetIndex(by.repeatEach.quotient(by.period.remainder(i)), offset);
            });
        }
    }
};

}  // namespace

template <class T>
void Eye::Invoker<T>::operator()(CUstream_st* stream, unsigned long n, T* out,
                                 unsigned long leadingDimension) const {
    elementwisedetail::launch<EyeKernel<T>>(stream, n, out, leadingDimension);
}

template <class T>
void GenericOnes::Invoker<T>::operator()(CUstream_st* stream, unsigned long n, T* out, T value) const {
    elementwisedetail::launch<GenericOnesKernel<T>>(stream, n, out, value);
}

template <class T>
void FillArrayWithRunningIndex::Invoker<T>::operator()(CUstream_st* stream, unsigned long n, T* out,
                                                       unsigned long repeatEach, unsigned long numRuns,
                                                       T offset) const {
    auto const repeats = static_cast<unsigned int>(repeatEach);
    auto const runs = static_cast<unsigned int>(numRuns);
    elementwisedetail::launch<FillArrayWithRunningIndexKernel<T>>(stream, n, out, RunningIndex(repeats, runs),
                                                                  offset);
}

void _forceInstantiation_(detail::Opaque& opaque, Eye*) {
    internal::instantiate<Eye>(opaque, internal::All{});
}

void _forceInstantiation_(detail::Opaque& opaque, GenericOnes*) {
    internal::instantiate<GenericOnes>(opaque, internal::TypeList<unsigned long, ulonglong2>{});
}

void _forceInstantiation_(detail::Opaque& opaque, FillArrayWithRunningIndex*) {
    internal::instantiate<FillArrayWithRunningIndex>(opaque, internal::TypeList<int, double>{});
}

}  // namespace gpuruntime

#include <gpuruntime/accumarray.hpp>

#include "atomics.hpp"
#include "backend/math/arctangent.hpp"
#include "backend/math/hypotenuse.hpp"
#include "backend/math/power.hpp"
#include "backend/math/trigonometric.hpp"
#include "conversion.hpp"
#include "frame/complex.hpp"
#include "frame/elementwise.hpp"
#include "frame/instantiation.hpp"
#include "frame/invariant_divisor.hpp"

namespace gpuruntime {
namespace {

GPU_DEVICE bool beginsRun(int const* keys, unsigned int i) { return i == 0 || keys[i - 1] != keys[i]; }

// --- What a value makes `count` times. ---

template <class T>
GPU_DEVICE T times(T value, int count) {
    if constexpr (std::is_same_v<T, bool>) {
        return value && count > 0;
    } else if constexpr (internal::isComplex<T>) {
        return {times(value.x, count), times(value.y, count)};
    } else {
        return value * backend::fromInteger<T>(count);
    }
}

/// A part of a value given by its length and the sine or cosine of its angle.
template <class P>
GPU_DEVICE P polarPart(P length, P ratio) {
    return ratio == 0 ? ratio : length * ratio;
}

template <class T>
GPU_DEVICE T power(T value, int count) {
    using P = internal::Part<T>;
    if constexpr (std::is_same_v<T, bool>) {
        return value && count > 0;
    } else if constexpr (internal::isComplex<T>) {
        P const exponent = backend::fromInteger<P>(count);
        if (value.y == 0) return {backend::pow(value.x, exponent), P(0)};
        P const length = backend::pow(backend::hypot(value.x, value.y), exponent);
        P sine, cosine;
        backend::sinCos(backend::atan2(value.y, value.x) * exponent, sine, cosine);
        return {polarPart(length, cosine), polarPart(length, sine)};
    } else {
        return backend::pow(value, backend::fromInteger<P>(count));
    }
}

// --- Kernels. ---

/// Stores `made(value, count)` for each run.
template <class T, class Made>
GPU_DEVICE void storeOfRun(unsigned int i, T* out, int const* keys, int const* binIndices,
                           int const* binCounts, Made made) {
    if (beginsRun(keys, i)) out[keys[i] - 1] = made(binCounts[binIndices[i] - 1]);
}

template <class T>
struct AccumArrayKernelScalarSum {
    static GPU_DEVICE void apply(elementwisedetail::Position at, T* out, int const* keys,
                                 int const* binIndices, int const* binCounts, T value) {
        storeOfRun(at.i, out, keys, binIndices, binCounts, [=](int count) { return times(value, count); });
    }
};

template <class T>
struct AccumArrayKernelScalarProd {
    static GPU_DEVICE void apply(elementwisedetail::Position at, T* out, int const* keys,
                                 int const* binIndices, int const* binCounts, T value) {
        storeOfRun(at.i, out, keys, binIndices, binCounts, [=](int count) { return power(value, count); });
    }
};

template <class T>
struct AccumArrayKernelScalarOther {
    static GPU_DEVICE void apply(elementwisedetail::Position at, T* out, int const* keys,
                                 int const* /*binIndices*/, int const* /*binCounts*/, T value) {
        if (beginsRun(keys, at.i)) out[keys[at.i] - 1] = value;
    }
};

/// A run from `begin` to before `end` adds `end` - `begin`, in two additions.
struct AccumArrayGetBinCountsKernel {
    static GPU_DEVICE void apply(elementwisedetail::Position at, unsigned int* binCounts, int const* keys) {
        unsigned int& count = binCounts[keys[at.i] - 1];
        if (beginsRun(keys, at.i)) backend::atomicAdd(count, 0 - at.i);
        if (at.i == at.n - 1 || keys[at.i + 1] != keys[at.i]) backend::atomicAdd(count, at.i + 1);
    }
};

template <class I>
struct AccumArraySparseIndexSequencerHelperKernel {
    static GPU_DEVICE void apply(elementwisedetail::Position at, int* flags, I const* keys) {
        flags[at.i] = at.i == 0 || keys[at.i] > keys[at.i - 1];
    }
};

template <class I>
struct AccumArraySparseInd2CooKernel {
    static GPU_DEVICE void apply(elementwisedetail::Position at, int* rows, int* columns, I const* keys,
                                 int const* sequence, unsigned int numColumns,
                                 internal::InvariantDivisor byColumns) {
        // The other keys of a bin would store the same.
        if (at.i != 0 && sequence[at.i] == sequence[at.i - 1]) return;
        auto const bin = static_cast<unsigned long>(keys[at.i]) - 1;
        unsigned long row = ~0ul;
        if (bin >> 32 == 0) {
            row = byColumns.quotient(static_cast<unsigned int>(bin));
        } else if (numColumns != 0) {
            row = bin / numColumns;
        }
        int const place = sequence[at.i] - 1;
        rows[place] = static_cast<int>(row);
        columns[place] = static_cast<int>(bin - row * numColumns);
    }
};

}  // namespace

template <class T>
cudaError AccumArrayScalar::Invoker<T>::operator()(CUstream_st* stream, T* out, int const* keys,
                                                   int const* binIndices, int const* binCounts, T value,
                                                   unsigned long n, AccumArrayFunction function) const {
    auto const launch = [&](auto kernel) {
        return elementwisedetail::launch<decltype(kernel)>(stream, n, out, keys, binIndices, binCounts,
                                                           value);
    };
    switch (function) {
        case AccumArrayFunctionSum:
            return launch(AccumArrayKernelScalarSum<T>{});
        case AccumArrayFunctionProd:
            return launch(AccumArrayKernelScalarProd<T>{});
        case AccumArrayFunctionMin:
        case AccumArrayFunctionMax:
        case AccumArrayFunctionAny:
        case AccumArrayFunctionAll:
            return launch(AccumArrayKernelScalarOther<T>{});
    }
    return cudaSuccess;
}

void AccumArrayGetBinCounts::Invoker::operator()(CUstream_st* stream, int* binCounts, int const* keys,
                                                 unsigned long /*numBins*/, unsigned long n) const {
    elementwisedetail::launch<AccumArrayGetBinCountsKernel>(stream, n,
                                                            reinterpret_cast<unsigned int*>(binCounts), keys);
}

template <class I>
void AccumArraySparseIndexSequencerHelper<I>::Invoker::operator()(CUstream_st* stream, int* flags,
                                                                  I const* keys, unsigned long n) const {
    elementwisedetail::launch<AccumArraySparseIndexSequencerHelperKernel<I>>(stream, n, flags, keys);
}

template <class I>
void AccumArraySparseInd2Coo<I>::Invoker::operator()(CUstream_st* stream, int* rows, int* columns,
                                                     I const* keys, int const* sequence, int /*numRows*/,
                                                     int numColumns, unsigned long /*numNonZeros*/,
                                                     unsigned long n) const {
    auto const width = static_cast<unsigned int>(numColumns);
    elementwisedetail::launch<AccumArraySparseInd2CooKernel<I>>(stream, n, rows, columns, keys, sequence,
                                                                width, internal::InvariantDivisor(width));
}

template struct AccumArraySparseIndexSequencerHelper<int>::Invoker;
template struct AccumArraySparseIndexSequencerHelper<long>::Invoker;
template struct AccumArraySparseInd2Coo<int>::Invoker;
template struct AccumArraySparseInd2Coo<long>::Invoker;

void _forceInstantiation_(detail::Opaque& opaque, AccumArrayScalar*) {
    internal::instantiate<AccumArrayScalar>(opaque, internal::FloatingWithBool{});
}

}  // namespace gpuruntime

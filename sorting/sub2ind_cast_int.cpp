#include <gpuruntime/accumarray.hpp>

#include <type_traits>

#include "conversion.hpp"
#include "frame/convert.hpp"
#include "frame/elementwise.hpp"
#include "frame/error_word.hpp"
#include "frame/instantiation.hpp"
#include "rows.hpp"

namespace gpuruntime {
namespace {

GPU_DEVICE_VARIABLE(unsigned int, __KVX_PTX_ERROR_CODE);

constexpr unsigned int noIndexCode = 1001;
constexpr unsigned int outOfRangeCode = 1002;

/// Of the running call: the zero-based numbers of the dimensions larger than 1, and their sizes.
using DimensionTable = unsigned long[32];
GPU_CONSTANT_VARIABLE(DimensionTable, accumarrayOutputDims);
GPU_CONSTANT_VARIABLE(DimensionTable, accumarrayNonUnityDims);

/// A subscript as an integer, and whether it is one from 1 on.
struct Subscript {
    unsigned int value;
    bool isIndex;
};

template <class T>
GPU_DEVICE Subscript subscriptOf(T given) {
    if constexpr (std::is_floating_point_v<T>) {
        unsigned int const value = backend::toUint32(internal::numberOrZero(given));
        return {value, ((given >= 1) & (backend::fromUint32(value) == given)) != 0};
    } else {
        auto const value = static_cast<unsigned int>(given);
        return {value, ((given >= T(1)) & (static_cast<unsigned long>(given) == value)) != 0};
    }
}

/// Elements between neighbours along the first dimension: in row-major order the second lies within it.
GPU_DEVICE unsigned long firstStride(unsigned int numNonUnityDims, bool isRowMajor) {
    if (!isRowMajor) return 1;
    if (numNonUnityDims > 0 && accumarrayNonUnityDims[0] == 1) return accumarrayOutputDims[0];
    if (numNonUnityDims > 1 && accumarrayNonUnityDims[1] == 1) return accumarrayOutputDims[1];
    return 1;
}

template <class T, class I>
struct Sub2IndCastIntKernel {
    static GPU_DEVICE void apply(elementwisedetail::BlockOfElements const& block, I* out, T const* subscripts,
                                 unsigned int numDims, unsigned int numNonUnityDims, bool isRowMajor) {
        using Key = std::make_unsigned_t<I>;  // wraps as wide as it is stored
        backend::PerThread<Key, internal::MAX_THREADS_PER_BLOCK> keys;
        backend::PerThread<unsigned int, internal::MAX_THREADS_PER_BLOCK> codes;  // of the first report; or 0
        backend::Row const row = block.row();
        row.forEachThread([&](unsigned int t, unsigned long) {
            keys[t] = 1;
            codes[t] = 0;
        });
        unsigned long stride = firstStride(numNonUnityDims, isRowMajor);
        for (unsigned int d = 0, j = 0; d < numDims; ++d) {
            bool const isNonUnity = j < numNonUnityDims && accumarrayNonUnityDims[j] == d;
            bool const isInnermost = isRowMajor && d == 1;
            unsigned long const size = isNonUnity ? accumarrayOutputDims[j] : 1;
            auto const factor = static_cast<Key>(!isNonUnity ? 0 : isInnermost ? 1 : stride);
            T const* const column = subscripts + d * block.n;
            row.forEachThread([&](unsigned int t, unsigned long x) {
                Subscript const k = subscriptOf(column[x]);
                unsigned int const code = !k.isIndex ? noIndexCode : k.value > size ? outOfRangeCode : 0;
                codes[t] = codes[t] != 0 ? codes[t] : code;
                keys[t] += (k.value - 1) * factor;
            });
            if (isNonUnity) ++j;
            if (isNonUnity && !isInnermost) stride *= size;
        }
        row.forEachThread([&](unsigned int t, unsigned long x) {
            backend::storeIf(codes[t] == 0, out + x, static_cast<I>(keys[t]));
        });
        report(row, codes);
    }

  private:
    template <class Codes>
    static GPU_DEVICE void report(backend::Row row, Codes& codes) {
        unsigned int any = 0;
        row.forEachThread([&](unsigned int t, unsigned long) { any |= codes[t]; });
        if (any == 0) return;
        row.forEachThread([&](unsigned int t, unsigned long) {
            if (codes[t] != 0) internal::reportError(__KVX_PTX_ERROR_CODE, codes[t]);
        });
    }
};

cudaError upload(DimensionTable const& table, unsigned long const* dims, unsigned long count,
                 CUstream_st* stream) {
    return cudaMemcpyToSymbolAsync(table, dims, count * sizeof(unsigned long), 0, cudaMemcpyHostToDevice,
                                   stream);
}

}  // namespace

template <class I>
template <class T>
cudaError Sub2IndCastInt<I>::Invoker<T>::operator()(CUstream_st* stream, I* out, T const* subscripts,
                                                    unsigned long const* outputDims,
                                                    unsigned long const* nonUnityDims, unsigned long n,
                                                    unsigned long numDims, unsigned long numNonUnityDims,
                                                    AccumArrayStorageOrder order) const {
    // Engines take a failed copy for success.
    if (upload(accumarrayOutputDims, outputDims, numNonUnityDims, stream) != cudaSuccess) return cudaSuccess;
    if (upload(accumarrayNonUnityDims, nonUnityDims, numNonUnityDims, stream) != cudaSuccess) {
        return cudaSuccess;
    }
    cudaError const reset = internal::resetErrorWord(__KVX_PTX_ERROR_CODE, stream);
    if (reset != cudaSuccess) return reset;
    elementwisedetail::launch<Sub2IndCastIntKernel<T, I>>(
        stream, n, out, subscripts, numDims, numNonUnityDims, order == AccumArrayStorageRowMajor);
    return cudaSuccess;
}

template <class I>
unsigned int Sub2IndCastInt<I>::getErrorFlag(CUstream_st* stream) const {
    return internal::readErrorWord(__KVX_PTX_ERROR_CODE, stream);
}

template unsigned int Sub2IndCastInt<int>::getErrorFlag(CUstream_st*) const;
template unsigned int Sub2IndCastInt<long>::getErrorFlag(CUstream_st*) const;

void _forceInstantiation_(detail::Opaque& opaque, Sub2IndCastInt<int>*) {
    internal::instantiate<Sub2IndCastInt<int>>(opaque, internal::RealNumeric{});
}

void _forceInstantiation_(detail::Opaque& opaque, Sub2IndCastInt<long>*) {
    internal::instantiate<Sub2IndCastInt<long>>(opaque, internal::RealNumeric{});
}

}  // namespace gpuruntime

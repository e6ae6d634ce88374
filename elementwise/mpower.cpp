#include <gpuruntime/arithmetic.hpp>

#include "backend/math/arctangent.hpp"
#include "backend/math/log_of_length.hpp"
#include "backend/math/power.hpp"
#include "elementwise/powers.hpp"
#include "frame/error_word.hpp"
#include "frame/fixed_block.hpp"
#include "frame/instantiation.hpp"

namespace gpuruntime {
namespace {

// Never reset to where it would take a report: whoever raises to a power here has none to read.
GPU_DEVICE_VARIABLE(unsigned int, __KVX_PTX_ERROR_CODE);
constexpr unsigned int negativeBase = 1049;

template <class P>
GPU_DEVICE P realPower(P base, P exponent) {
    if (base < 0 && !internal::isIntegral(exponent)) {
        internal::reportError(__KVX_PTX_ERROR_CODE, negativeBase);
    }
    P const taken = internal::isIntegral(base) ? internal::heldIfIntegral(exponent) : exponent;
    return backend::pow(base, taken);
}

template <class T>
GPU_DEVICE T complexPower(T base, T exponent) {
    if (exponent.y == 0 && internal::isCountable(exponent.x)) {
        T const power = internal::powerBySquaring(base, exponent.x);
        if (!backend::isNaN(power.x) && !backend::isNaN(power.y)) return power;
    }
    T const logarithm{backend::logOfLength(base.x, base.y), backend::atan2(base.y, base.x)};
    return internal::complexExp(internal::guardedProduct(exponent, logarithm));
}

template <class T>
GPU_DEVICE T power(T base, T exponent) {
    if constexpr (internal::isComplex<T>) {
        return complexPower(base, exponent);
    } else {
        return realPower(base, exponent);
    }
}

/// Column `j` of `out`, by the block `j`, becomes that of `vectors` times `factorOf(j)`.
template <class T, class Factor>
GPU_DEVICE void scaleColumn(cuda::FixedNumBlocksIterator const& block, T* out, T const* vectors,
                            unsigned int n, Factor factorOf) {
    unsigned int const j = block.blockIndex, size = block.threads.size();
    if (j >= n) return;
    unsigned int const numPasses = (n - 1) / size + 1, end = (j + 1) * n;
    T const factor = factorOf(j);
    unsigned int first = j * n;
    auto const scale = [&](unsigned int i) { out[i] = internal::productOf(factor, vectors[i]); };
    for (unsigned int pass = 1; pass < numPasses; ++pass, first += size) {
        block.threads.forEach([&](unsigned int t) { scale(first + t); });
    }
    block.threads.forEach([&](unsigned int t) {
        if (first + t < end) scale(first + t);
    });
}

template <class T>
struct MPowerMatrixScalarKernel {
    static GPU_DEVICE void apply(cuda::FixedNumBlocksIterator const& block, T* out, T const* vectors,
                                 T const* values, T scalar, unsigned int n) {
        scaleColumn(block, out, vectors, n, [=](unsigned int j) { return power(values[j], scalar); });
    }
};

template <class T>
struct MPowerScalarMatrixKernel {
    static GPU_DEVICE void apply(cuda::FixedNumBlocksIterator const& block, T* out, T const* vectors,
                                 T const* values, T scalar, unsigned int n) {
        scaleColumn(block, out, vectors, n, [=](unsigned int j) { return power(scalar, values[j]); });
    }
};

}  // namespace

template <class T>
void MPowerMatrixScalar::Invoker<T>::operator()(CUstream_st* stream, T* out, T const* vectors,
                                                T const* values, T scalar, unsigned long n) const {
    if (n == 0) return;
    fixednumblocksdetail::launch<MPowerMatrixScalarKernel<T>>(stream, n, out, vectors, values, scalar, n);
}

template <class T>
void MPowerScalarMatrix::Invoker<T>::operator()(CUstream_st* stream, T* out, T const* vectors,
                                                T const* values, T scalar, unsigned long n) const {
    if (n == 0) return;
    fixednumblocksdetail::launch<MPowerScalarMatrixKernel<T>>(stream, n, out, vectors, values, scalar, n);
}

void _forceInstantiation_(detail::Opaque& opaque, MPowerMatrixScalar*) {
    internal::instantiate<MPowerMatrixScalar>(opaque, internal::Floating{});
}

void _forceInstantiation_(detail::Opaque& opaque, MPowerScalarMatrix*) {
    internal::instantiate<MPowerScalarMatrix>(opaque, internal::Floating{});
}

}  // namespace gpuruntime

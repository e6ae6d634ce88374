#include <gpuruntime/complex.hpp>

#include "elementwise/run_steps.hpp"
#include "frame/conjugate.hpp"
#include "frame/elementwise.hpp"
#include "frame/instantiation.hpp"
#include "indexing/carrier.hpp"
#include "run.hpp"

namespace gpuruntime {
namespace {

// All but the conjugate move bytes: they are built once for each size, on unsigned parts.

template <class C>
using Pair = ComplexOf<internal::Carrier<internal::Part<C>>>;

template <class C>
Pair<C>* carriedPairs(C* data) {
    static_assert(alignof(C) == alignof(Pair<C>));
    return reinterpret_cast<Pair<C>*>(data);
}

template <class C>
Pair<C> const* carriedPairs(C const* data) {
    static_assert(alignof(C) == alignof(Pair<C>));
    return reinterpret_cast<Pair<C> const*>(data);
}

/// The parts of pairs, from those that `re(k)` and `im(k)` are for the `k`-th.
template <class P, class Re, class Im>
GPU_DEVICE void interleave(unsigned int size, P* to, Re re, Im im) {
    backend::forEachOf(size, [&](unsigned int k) {
        to[2ul * k] = re(k);
        to[2ul * k + 1] = im(k);
    });
}

template <class T>
struct ComplexifyPtrPtrKernel {
    static GPU_DEVICE void apply(backend::Run run, ComplexOf<T>* out, T const* re, T const* im) {
        backend::ElementsOf const ofRe(run, re), ofIm(run, im);
        backend::storeRun(run, out, [&](ComplexOf<T>* to) {
            interleave(
                run.size, internal::parts(to), [from = ofRe.data()](unsigned int k) { return from[k]; },
                [from = ofIm.data()](unsigned int k) { return from[k]; });
        });
    }
};

template <class T>
struct ComplexifyPtrScalarKernel {
    static GPU_DEVICE void apply(backend::Run run, ComplexOf<T>* out, T const* re, T im) {
        backend::ElementsOf const ofRe(run, re);
        backend::storeRun(run, out, [&](ComplexOf<T>* to) {
            interleave(
                run.size, internal::parts(to), [from = ofRe.data()](unsigned int k) { return from[k]; },
                [=](unsigned int) { return im; });
        });
    }
};

template <class T>
struct ComplexifyScalarPtrKernel {
    static GPU_DEVICE void apply(backend::Run run, ComplexOf<T>* out, T re, T const* im) {
        backend::ElementsOf const ofIm(run, im);
        backend::storeRun(run, out, [&](ComplexOf<T>* to) {
            interleave(
                run.size, internal::parts(to), [=](unsigned int) { return re; },
                [from = ofIm.data()](unsigned int k) { return from[k]; });
        });
    }
};

/// The part `half` of each pair: 0 for the real one, 1 for the imaginary.
template <unsigned int half, class T>
GPU_STEP void takeEach(unsigned int size, T* to, T const* parts) {
    backend::forEachOf(size, [&](unsigned int k) { to[k] = parts[2ul * k + half]; });
}

template <unsigned int half, class T>
GPU_DEVICE void storePart(backend::Run run, T* out, backend::ElementsOf<ComplexOf<T>> const& from) {
    backend::storeRun(run, out, [&](T* to) { takeEach<half>(run.size, to, internal::parts(from.data())); });
}

template <class T>
struct DecomplexifyKernel {
    static GPU_DEVICE void apply(backend::Run run, T* re, T* im, ComplexOf<T> const* in) {
        backend::ElementsOf const from(run, in);
        storePart<0>(run, re, from);
        storePart<1>(run, im, from);
    }
};

template <class T>
struct RealKernel {
    static GPU_DEVICE void apply(backend::Run run, T* out, ComplexOf<T> const* in) {
        storePart<0>(run, out, backend::ElementsOf(run, in));
    }
};

template <class T>
struct ImagKernel {
    static GPU_DEVICE void apply(backend::Run run, T* out, ComplexOf<T> const* in) {
        storePart<1>(run, out, backend::ElementsOf(run, in));
    }
};

template <class C>
struct ConjKernel {
    static GPU_DEVICE void apply(backend::Run run, C* out, C const* in) {
        backend::ElementsOf const from(run, in);
        backend::storeRun(run, out, [&](C* to) {
            backend::forEachOf(run.size,
                               [&](unsigned int k) { to[k] = internal::conjugated(from.data()[k]); });
        });
    }
};

}  // namespace

template <class T>
void ComplexifyPtrPtr::Invoker<T>::operator()(CUstream_st* stream, ComplexOf<T>* out, T const* re,
                                              T const* im, unsigned long n) const {
    elementwisedetail::launch<ComplexifyPtrPtrKernel<internal::Carrier<T>>>(
        stream, n, carriedPairs(out), internal::carried(re), internal::carried(im));
}

template <class T>
void ComplexifyPtrScalar::Invoker<T>::operator()(CUstream_st* stream, ComplexOf<T>* out, T const* re, T im,
                                                 unsigned long n) const {
    elementwisedetail::launch<ComplexifyPtrScalarKernel<internal::Carrier<T>>>(
        stream, n, carriedPairs(out), internal::carried(re), internal::carriedValue(im));
}

template <class T>
void ComplexifyScalarPtr::Invoker<T>::operator()(CUstream_st* stream, ComplexOf<T>* out, T re, T const* im,
                                                 unsigned long n) const {
    elementwisedetail::launch<ComplexifyScalarPtrKernel<internal::Carrier<T>>>(
        stream, n, carriedPairs(out), internal::carriedValue(re), internal::carried(im));
}

template <class C>
void Decomplexify::Invoker<C>::operator()(CUstream_st* stream, Part* re, Part* im, C const* in,
                                          unsigned long n) const {
    elementwisedetail::launch<DecomplexifyKernel<internal::Carrier<Part>>>(
        stream, n, internal::carried(re), internal::carried(im), carriedPairs(in));
}

template <class C>
void Real::Invoker<C>::operator()(CUstream_st* stream, Part* out, C const* in, unsigned long n) const {
    elementwisedetail::launch<RealKernel<internal::Carrier<Part>>>(stream, n, internal::carried(out),
                                                                   carriedPairs(in));
}

template <class C>
void Imag::Invoker<C>::operator()(CUstream_st* stream, Part* out, C const* in, unsigned long n) const {
    elementwisedetail::launch<ImagKernel<internal::Carrier<Part>>>(stream, n, internal::carried(out),
                                                                   carriedPairs(in));
}

template <class C>
void Conj::Invoker<C>::operator()(CUstream_st* stream, C* out, C const* in, unsigned long n) const {
    elementwisedetail::launch<ConjKernel<C>>(stream, n, out, in);
}

void _forceInstantiation_(detail::Opaque& opaque, ComplexifyPtrPtr*) {
    internal::instantiate<ComplexifyPtrPtr>(opaque, internal::RealNumeric{});
}

void _forceInstantiation_(detail::Opaque& opaque, ComplexifyPtrScalar*) {
    internal::instantiate<ComplexifyPtrScalar>(opaque, internal::RealNumeric{});
}

void _forceInstantiation_(detail::Opaque& opaque, ComplexifyScalarPtr*) {
    internal::instantiate<ComplexifyScalarPtr>(opaque, internal::RealNumeric{});
}

void _forceInstantiation_(detail::Opaque& opaque, Decomplexify*) {
    internal::instantiate<Decomplexify>(opaque, internal::Complex{});
}

void _forceInstantiation_(detail::Opaque& opaque, Real*) {
    internal::instantiate<Real>(opaque, internal::Complex{});
}

void _forceInstantiation_(detail::Opaque& opaque, Imag*) {
    internal::instantiate<Imag>(opaque, internal::Complex{});
}

void _forceInstantiation_(detail::Opaque& opaque, Conj*) {
    internal::instantiate<Conj>(opaque, internal::FloatingComplex{});
}

}  // namespace gpuruntime

#pragma once

#include "device.hpp"

/// Signals that a block filters, and where their states are.
namespace gpuruntime::backend {

/// Sample n of signal c is at c * `signalStride` + n * `sampleStride`.
template <class T>
struct Signals {
    T* out;
    T const* in;
    unsigned int count, length;
    unsigned int signalStride, sampleStride;
};

/// Values of a state follow each other. The initial states are `initialStride` apart, the final ones the
/// state's size; null at either is a state of zeros, or none that is stored.
template <class T>
struct States {
    T const* initial;
    T* final;
    unsigned int initialStride;
};

/// Stores out(n) = `step`(in(n), z) along signal `c`, z being its `order` state values.
template <unsigned int order, class T, class Step>
GPU_DEVICE void recurAlong(Signals<T> const& signals, States<T> const& states, unsigned int c,
                           Step const& step) {
    T z[order];
    GPU_UNROLL for (unsigned int k = 0; k < order; ++k) {
        z[k] = states.initial == nullptr ? T{} : states.initial[c * states.initialStride + k];
    }
    unsigned int at = c * signals.signalStride;
    for (unsigned int n = 0; n < signals.length; ++n, at += signals.sampleStride) {
        signals.out[at] = step(signals.in[at], z);
    }
    if (states.final == nullptr) return;
    GPU_UNROLL for (unsigned int k = 0; k < order; ++k) states.final[c * order + k] = z[k];
}

}  // namespace gpuruntime::backend

#pragma once

#include "backend/signals.hpp"
#include "device.hpp"

/// Recursions along signals, each serial in itself: on this device a thread has one.
namespace gpuruntime::backend {

/// The same value for every signal that is worked on at once.
template <class Values, class T>
GPU_DEVICE Values forEverySignal(T value) {
    return value;
}

/// Stores out(n) = `step`(in(n), z) along each signal, z being its `order` state values. `steps` is a
/// template over what holds the values of the signals that are worked on at once.
template <unsigned int order, template <class> class Step, class T>
GPU_DEVICE void recur(TileThreads const& threads, Signals<T> signals, States<T> states, Step<T> const& step) {
    threads.forEach(dim3(signals.count), [&](Thread t) {
        T z[order];
        GPU_UNROLL for (unsigned int k = 0; k < order; ++k) {
            z[k] = states.initial == nullptr ? T{} : states.initial[t.x * states.initialStride + k];
        }
        unsigned int at = t.x * signals.signalStride;
        for (unsigned int n = 0; n < signals.length; ++n, at += signals.sampleStride) {
            signals.out[at] = step(signals.in[at], z);
        }
        if (states.final == nullptr) return;
        GPU_UNROLL for (unsigned int k = 0; k < order; ++k) states.final[t.x * order + k] = z[k];
    });
}

}  // namespace gpuruntime::backend

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

/// Stores out(n) = `step`(in(n), z) along each signal, z being its `order` state values. `Step` is a template
/// over what holds the values of the signals that are worked on at once.
template <unsigned int order, template <class> class Step, class T>
GPU_DEVICE void recur(TileThreads const& threads, Signals<T> const& signals, States<T> const& states,
                      Step<T> const& step) {
    threads.forEach(dim3(signals.count), [&](Thread t) { recurAlong<order>(signals, states, t.x, step); });
}

}  // namespace gpuruntime::backend

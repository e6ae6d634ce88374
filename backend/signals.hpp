#pragma once

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

}  // namespace gpuruntime::backend

#pragma once

#include "device.hpp"

namespace gpuruntime::backend {

/// Replaces `expected` by `desired`; returns what was there.
GPU_DEVICE unsigned int atomicCompareAndSwap(unsigned int& word, unsigned int expected,
                                             unsigned int desired) {
    return ::atomicCAS(&word, expected, desired);
}

GPU_DEVICE unsigned int atomicAnd(unsigned int& word, unsigned int mask) { return ::atomicAnd(&word, mask); }

GPU_DEVICE unsigned int atomicOr(unsigned int& word, unsigned int mask) { return ::atomicOr(&word, mask); }

/// Raises the word to `value` if it is lower; returns what was there.
GPU_DEVICE unsigned int atomicMax(unsigned int& word, unsigned int value) {
    return ::atomicMax(&word, value);
}

GPU_DEVICE void atomicAdd(unsigned int& word, unsigned int amount) { ::atomicAdd(&word, amount); }

/// The same on a word that only the threads of a block share.
GPU_DEVICE void atomicAddInBlock(unsigned int& word, unsigned int amount) { ::atomicAdd(&word, amount); }

/// A plain read of a word that other threads write atomically.
GPU_DEVICE unsigned int relaxedLoad(unsigned int const& word) {
    return *static_cast<unsigned int const volatile*>(&word);
}

/// Stores what other threads may store, too: all of them the same value.
template <class T>
GPU_DEVICE void storeShared(T& to, T value) {
    to = value;
}

}  // namespace gpuruntime::backend

#pragma once

#include "device.hpp"

namespace gpuruntime::backend {

/// Replaces `expected` by `desired`; returns what was there.
GPU_DEVICE unsigned int atomicCompareAndSwap(unsigned int& word, unsigned int expected,
                                             unsigned int desired) {
    __atomic_compare_exchange_n(&word, &expected, desired, false, __ATOMIC_RELAXED, __ATOMIC_RELAXED);
    return expected;
}

GPU_DEVICE unsigned int atomicAnd(unsigned int& word, unsigned int mask) {
    return __atomic_fetch_and(&word, mask, __ATOMIC_RELAXED);
}

GPU_DEVICE unsigned int atomicOr(unsigned int& word, unsigned int mask) {
    return __atomic_fetch_or(&word, mask, __ATOMIC_RELAXED);
}

/// Raises the word to `value` if it is lower; returns what was there.
GPU_DEVICE unsigned int atomicMax(unsigned int& word, unsigned int value) {
    unsigned int seen = __atomic_load_n(&word, __ATOMIC_RELAXED);
    while (seen < value &&
           !__atomic_compare_exchange_n(&word, &seen, value, true, __ATOMIC_RELAXED, __ATOMIC_RELAXED)) {
    }
    return seen;
}

GPU_DEVICE void atomicAdd(unsigned int& word, unsigned int amount) {
    __atomic_fetch_add(&word, amount, __ATOMIC_RELAXED);
}

/// The same on a word that only the threads of a block share: here they are one thread of the machine.
GPU_DEVICE void atomicAddInBlock(unsigned int& word, unsigned int amount) { word += amount; }

/// A plain read of a word that other threads write atomically.
GPU_DEVICE unsigned int relaxedLoad(unsigned int const& word) {
    return __atomic_load_n(&word, __ATOMIC_RELAXED);
}

/// Stores what other threads may store, too: all of them the same value.
template <class T>
GPU_DEVICE void storeShared(T& to, T value) {
    __atomic_store(&to, &value, __ATOMIC_RELAXED);
}

}  // namespace gpuruntime::backend

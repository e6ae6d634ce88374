#pragma once

#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>

#include <atomic>

#include "call.hpp"

namespace gpuruntime::backend {

/// Calls `f(first, last)` for ranges that make up [0, n), of `grain` elements or a few times fewer or more,
/// on several threads, and returns when all are done; throws what one of them throws, and then hands over the
/// last error of its thread. Isolated, so that a thread that waits takes up no work of the caller's own.
///
/// The two atomics order the ranges after the call and before its return. The task library does so too, but
/// inside compiled code that thread sanitizer cannot see.
template <class F>
void inParallel(unsigned long n, unsigned long grain, F const& f) {
    std::atomic<bool> started{false};
    std::atomic<unsigned long> numFinished{0};
    std::atomic<cudaError> error{cudaSuccess};
    struct Finishing {
        std::atomic<unsigned long>& count;
        ~Finishing() { count.fetch_add(1, std::memory_order_release); }
    };
    struct Finished {
        std::atomic<unsigned long>& count;
        std::atomic<cudaError>& error;
        ~Finished() {
            count.load(std::memory_order_acquire);
            if (error != cudaSuccess) hostdevice::detail::setLastError(error);
        }
    };
    Finished const finished{numFinished, error};
    started.store(true, std::memory_order_release);
    tbb::this_task_arena::isolate([&] {
        tbb::parallel_for(tbb::blocked_range<unsigned long>(0, n, grain), [&](auto const& range) {
            started.load(std::memory_order_acquire);
            Finishing const finishing{numFinished};
            try {
                f(range.begin(), range.end());
            } catch (...) {
                cudaError const met = hostdevice::detail::takeLastError();
                if (met != cudaSuccess) error = met;
                throw;
            }
        });
    });
}

/// Calls `f(i)` for each `i` below `n`, on several threads.
template <class F>
void eachInParallel(unsigned long n, F const& f) {
    if (n == 1) {
        f(0ul);
        return;
    }
    inParallel(n, 1, [&](unsigned long first, unsigned long last) {
        for (unsigned long i = first; i < last; ++i) f(i);
    });
}

}  // namespace gpuruntime::backend

#pragma once

// The one road that every runtime call takes: injected failure, action, record, last error.

#include <atomic>
#include <cstddef>
#include <new>
#include <optional>
#include <string_view>

#include "driver_types.h"
#include "host_device.hpp"
#include "vector_types.h"

namespace gpuruntime::hostdevice {

struct Kernel;

namespace detail {

/// What a recording keeps of a call besides its name and status.
struct CallDetails {
    cudaStream_t stream = nullptr;
    std::size_t bytes = 0;
    void const* symbol = nullptr;    ///< address of a device variable
    Kernel const* kernel = nullptr;  ///< the kernel asked about or launched
};

/// How many recordings live and failures are pending.
extern std::atomic<std::size_t> observers;

/// The status with which the call that begins now has to fail, if any.
std::optional<cudaError> takeFailure(std::string_view callName);

/// Both leave out what there is no memory to record.
void recordCall(char const* callName, CallDetails const& details, cudaError status);
void recordLaunch(Kernel const* kernel, dim3 grid, dim3 block, cudaStream_t stream, cudaError status);

/// The limits in force, without a copy. They stay valid when others are set.
Limits const& currentLimits();

/// The last error of this thread.
void setLastError(cudaError status);
cudaError takeLastError();

/// Whether a stream may be used: null, legacy, per-thread or created and not destroyed.
bool isStream(cudaStream_t stream);

/// Name of the variable at a device symbol's address; empty for any other address.
std::string_view symbolName(void const* address);

/// The status of `action`, which may find no memory for its own work: no exception leaves a function of C.
template <typename Action>
cudaError statusOf(Action const& action) {
    try {
        return action();
    } catch (std::bad_alloc const&) {
        return cudaErrorMemoryAllocation;
    }
}

/// Runs `action`, which returns the call's status and changes nothing if that is an error.
template <typename Action>
cudaError runCall(char const* callName, CallDetails const& details, Action const& action) {
    cudaError status;
    // Relaxed: a thread sees what it set up itself, and whoever sets up for others has to hand over to them
    // anyway.
    if (observers.load(std::memory_order_relaxed) == 0) {
        status = statusOf(action);
    } else {
        std::optional<cudaError> const failure = takeFailure(callName);
        status = failure ? *failure : statusOf(action);
        recordCall(callName, details, status);
    }
    if (status != cudaSuccess) {
        setLastError(status);
    }
    return status;
}

}  // namespace detail
}  // namespace gpuruntime::hostdevice

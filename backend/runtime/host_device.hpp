#pragma once

// Control of the host device: its limits, failures on purpose, and a record of what was called. For tests,
// and for an engine that wants to see what the library does. All of it is off by default and then costs one
// load per call. Every function may be called from any thread and holds for the calls of all threads.

#include <unistd.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "driver_types.h"
#include "vector_types.h"

namespace gpuruntime::hostdevice {

/// An own limit for the kernels whose name contains `partOfName`.
struct KernelLimit {
    std::string partOfName;
    unsigned int maxThreadsPerBlock;
};

/// What the device reports and enforces. The defaults are a GPU's, apart from the last two, which are this
/// machine's.
struct Limits {
    dim3 maxBlockDim{1024, 1024, 64};
    unsigned int maxThreadsPerBlock = 1024;
    dim3 maxGridDim{2147483647, 65535, 65535};
    std::size_t sharedMemPerBlock = 49152;         ///< bytes
    unsigned int kernelMaxThreadsPerBlock = 1024;  ///< what `cudaFuncGetAttributes` tells of a kernel
    std::vector<KernelLimit> kernels;              ///< exceptions to it; the first that matches counts
    unsigned int multiProcessorCount = std::thread::hardware_concurrency();
    /// Bytes that `cudaMalloc` gives in all; lowering it takes nothing back.
    std::size_t totalGlobalMem =
        static_cast<std::size_t>(sysconf(_SC_PHYS_PAGES)) * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
};

/// The limits in force.
Limits limits();

/// Replaces all limits, for calls that begin afterwards. `setLimits(Limits{})` restores the defaults.
void setLimits(Limits const& limits);

/// Lets the (after + 1)-th next call of a runtime function fail with `status`: that call has no effect
/// besides the status and the last error, and later ones work again. `callName` is the function's name, or
/// "*" for any. Every failure that is set counts the calls for itself; of two that meet in one call, the one
/// set first gives its status. The calls that read the last error or name an error never fail and are not
/// counted.
void failNextCall(std::string_view callName, cudaError status, unsigned int after = 0);

/// Forgets the failures that have not happened, and returns how many these were: 0 says that each call to be
/// failed was reached.
std::size_t clearFailures();

/// A runtime call that has returned.
struct Call {
    std::string name;     ///< the function's, as in "cudaMemcpyAsync"
    cudaError status;     ///< what it returned
    cudaStream_t stream;  ///< the stream argument; null if there is none
    std::size_t bytes;    ///< size of the allocation, copy or fill; else 0
    std::string symbol;   ///< name of the variable or kernel that it was given, if that is one; else empty
};

/// A launch, by `cudaLaunchKernel` or from inside the library, whether it ran or failed.
struct Launch {
    std::string kernel;  ///< the kernel's name with its template arguments; empty if it was no kernel
    dim3 grid;
    dim3 block;
    cudaStream_t stream;
    cudaError status;
};

namespace detail {
struct Control;
}

/// Records the runtime calls of all threads while it lives, in the order in which they return. Recordings may
/// overlap. The functions that name an error are not recorded; nor is what there is no memory to record.
class Recording {
  public:
    Recording();
    ~Recording();

    Recording(Recording const&) = delete;
    Recording& operator=(Recording const&) = delete;

    /// All calls so far, launches among them.
    std::vector<Call> calls() const;

    /// All launches so far.
    std::vector<Launch> launches() const;

  private:
    friend struct detail::Control;

    std::vector<Call> calls_;
    std::vector<Launch> launches_;
};

}  // namespace gpuruntime::hostdevice

// Kernels: attributes, launch and the sharing out of blocks.

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>

#include "call.hpp"
#include "cuda_runtime_api.h"
#include "kernel.hpp"
#include "parallel.hpp"

namespace gpuruntime::hostdevice {

namespace detail {
namespace {

/// A launch over as many elements as this is shared out at once. Fewer take about as long as it takes to wake
/// the workers, unless an element costs much.
constexpr std::uint64_t sharedWork = 32768;

/// A launch over fewer elements is shared out when it has run for longer than waking the workers takes.
constexpr std::chrono::microseconds serialTime{20};

/// Whether no extent is 0 or above its limit: 0 - 1 is the largest number.
bool within(dim3 extents, dim3 limit) {
    return extents.x - 1 < limit.x && extents.y - 1 < limit.y && extents.z - 1 < limit.z;
}

std::uint64_t numElements(dim3 extents) { return std::uint64_t{extents.x} * extents.y * extents.z; }

unsigned int maxThreadsPerBlock(Kernel const& kernel, Limits const& limits) {
    std::string_view const name = kernel.name;
    auto const own = std::find_if(
        limits.kernels.begin(), limits.kernels.end(),
        [&](KernelLimit const& limit) { return name.find(limit.partOfName) != std::string_view::npos; });
    return own != limits.kernels.end() ? own->maxThreadsPerBlock : limits.kernelMaxThreadsPerBlock;
}

cudaError checkLaunch(Kernel const& kernel, dim3 grid, dim3 block, void** arguments, std::size_t sharedMemory,
                      cudaStream_t stream) {
    if (!isStream(stream)) {
        return cudaErrorInvalidResourceHandle;
    }
    Limits const& limits = currentLimits();
    if (!within(grid, limits.maxGridDim) || !within(block, limits.maxBlockDim) ||
        numElements(block) > limits.maxThreadsPerBlock) {
        return cudaErrorInvalidConfiguration;
    }
    if (numElements(block) > maxThreadsPerBlock(kernel, limits)) {
        return cudaErrorLaunchOutOfResources;
    }
    bool const hasArguments =
        kernel.numParameters == 0 ||
        (arguments != nullptr &&
         std::find(arguments, arguments + kernel.numParameters, nullptr) == arguments + kernel.numParameters);
    return hasArguments && sharedMemory <= limits.sharedMemPerBlock ? cudaSuccess : cudaErrorInvalidValue;
}

/// One launch that has been checked.
class Run {
  public:
    Run(Kernel const& kernel, dim3 grid, dim3 block, void** arguments)
        : kernel_(kernel), grid_(grid), block_(block), arguments_(arguments), numBlocks_(numElements(grid)) {}

    void runAll(std::uint64_t work) const {
        if (numBlocks_ == 1 || kernel_.isSerial) {
            runSerially(0, numBlocks_);
        } else if (work >= sharedWork) {
            shareOut(0);
        } else {
            runSeriallyWhileShort();
        }
    }

  private:
    void runSerially(std::uint64_t first, std::uint64_t last) const {
        kernel_.runBlocks(arguments_, grid_, block_, first, last);
    }

    /// Runs growing batches of blocks, so that the clock is read seldom, and shares out what is left when
    /// time is up.
    void runSeriallyWhileShort() const {
        auto const end = std::chrono::steady_clock::now() + serialTime;
        std::uint64_t batch = 1;
        std::uint64_t first = 0;
        while (first < numBlocks_) {
            std::uint64_t const last = first + std::min(batch, numBlocks_ - first);
            runSerially(first, last);
            first = last;
            batch *= 2;
            if (first < numBlocks_ && std::chrono::steady_clock::now() > end) {
                shareOut(first);
                return;
            }
        }
    }

    void shareOut(std::uint64_t first) const {
        backend::inParallel(numBlocks_ - first, 1, [&](std::uint64_t begin, std::uint64_t end) {
            runSerially(first + begin, first + end);
        });
    }

    Kernel const& kernel_;
    dim3 grid_;
    dim3 block_;
    void** arguments_;
    std::uint64_t numBlocks_;
};

/// Whether a kernel has met a fault that no launch has told of.
std::atomic<bool> hasFault{false};

cudaError checkAndRun(Kernel const* kernel, dim3 grid, dim3 block, void** arguments, std::size_t sharedMemory,
                      cudaStream_t stream, std::uint64_t work) {
    cudaError const status = runCall("cudaLaunchKernel", {stream, 0, nullptr, kernel}, [&] {
        if (kernel == nullptr) {
            return cudaErrorInvalidDeviceFunction;
        }
        cudaError const checked = checkLaunch(*kernel, grid, block, arguments, sharedMemory, stream);
        if (checked != cudaSuccess) {
            return checked;
        }
        Run(*kernel, grid, block, arguments).runAll(work);
        bool const faulted = hasFault.load(std::memory_order_relaxed) && hasFault.exchange(false);
        return faulted ? cudaErrorIllegalAddress : cudaSuccess;
    });
    if (observers.load(std::memory_order_relaxed) != 0) {
        recordLaunch(kernel, grid, block, stream, status);
    }
    return status;
}

/// The kernel whose descriptor is at an address, or null.
Kernel const* kernelAt(void const* function) {
    if (function == nullptr || reinterpret_cast<std::uintptr_t>(function) % alignof(Kernel) != 0) {
        return nullptr;
    }
    std::uint64_t tag;
    std::memcpy(&tag, function, sizeof tag);
    return tag == kernelTag ? static_cast<Kernel const*>(function) : nullptr;
}

cudaError describeKernel(cudaFuncAttributes* attributes, Kernel const* kernel) {
    if (attributes == nullptr) {
        return cudaErrorInvalidValue;
    }
    if (kernel == nullptr) {
        return cudaErrorInvalidDeviceFunction;
    }
    *attributes = {};
    attributes->maxThreadsPerBlock = static_cast<int>(maxThreadsPerBlock(*kernel, currentLimits()));
    return cudaSuccess;
}

}  // namespace
}  // namespace detail

void reportFault() noexcept { detail::hasFault.store(true, std::memory_order_relaxed); }

cudaError launch(Kernel const& kernel, dim3 grid, dim3 block, void** arguments, cudaStream_t stream,
                 std::uint64_t work) {
    return detail::checkAndRun(&kernel, grid, block, arguments, 0, stream, work);
}

}  // namespace gpuruntime::hostdevice

using namespace gpuruntime::hostdevice;

cudaError_t cudaFuncGetAttributes(cudaFuncAttributes* attributes, void const* function) {
    Kernel const* const kernel = detail::kernelAt(function);
    return detail::runCall("cudaFuncGetAttributes", {nullptr, 0, nullptr, kernel},
                           [=] { return detail::describeKernel(attributes, kernel); });
}

cudaError_t cudaLaunchKernel(void const* function, dim3 grid, dim3 block, void** arguments,
                             size_t sharedMemory, cudaStream_t stream) {
    std::uint64_t const work =
        std::min(detail::numElements(grid), detail::sharedWork) * detail::numElements(block);
    return detail::checkAndRun(detail::kernelAt(function), grid, block, arguments, sharedMemory, stream,
                               work);
}

// Allocation, copies, fills and device symbols.

#include <sys/mman.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <iterator>
#include <map>
#include <memory>
#include <mutex>
#include <shared_mutex>

#include "call.hpp"
#include "cuda_runtime_api.h"
#include "device_memory.hpp"
#include "kernel.hpp"
#include "parallel.hpp"

namespace gpuruntime::hostdevice {
namespace detail {
namespace {

/// What the runtime aligns allocations to, and kernels may rely on.
constexpr std::size_t allocationAlignment = 256;

/// Large allocations stand on huge pages, so that scattered accesses find their page and fresh memory costs
/// few faults.
constexpr std::size_t hugePage = std::size_t{1} << 21;

std::uintptr_t addressOf(void const* pointer) { return reinterpret_cast<std::uintptr_t>(pointer); }

/// The blocks that `cudaMalloc` gave and `cudaFree` has not taken back.
struct Allocations {
    std::shared_mutex mutex;
    std::map<std::uintptr_t, std::size_t> sizes;  ///< by address
    std::size_t used = 0;

    static Allocations& instance() {
        static Allocations allocations;
        return allocations;
    }

    /// Whether `count` bytes from each pointer on stay in the block in which they begin. Outside the blocks
    /// is the caller's own memory, of which nothing is known.
    static bool hold(std::initializer_list<void const*> pointers, std::size_t count) {
        Allocations& allocations = instance();
        std::shared_lock const lock(allocations.mutex);
        return std::all_of(pointers.begin(), pointers.end(), [&](void const* pointer) {
            auto const after = allocations.sizes.upper_bound(addressOf(pointer));
            if (after == allocations.sizes.begin()) {
                return true;
            }
            auto const [block, size] = *std::prev(after);
            std::size_t const offset = addressOf(pointer) - block;
            return offset >= size || count <= size - offset;
        });
    }
};

cudaError allocate(void** pointer, std::size_t size) {
    if (pointer == nullptr) {
        return cudaErrorInvalidValue;
    }
    if (size == 0) {
        *pointer = nullptr;
        return cudaSuccess;
    }
    Allocations& allocations = Allocations::instance();
    std::lock_guard const lock(allocations.mutex);
    std::size_t const total = currentLimits().totalGlobalMem;
    if (allocations.used > total || size > total - allocations.used) {
        return cudaErrorMemoryAllocation;
    }
    bool const isLarge = size >= hugePage;
    std::size_t const alignment = isLarge ? hugePage : allocationAlignment;
    std::size_t const rounded = (size + alignment - 1) / alignment * alignment;
    std::unique_ptr<void, decltype(&std::free)> memory(std::aligned_alloc(alignment, rounded), std::free);
    if (memory == nullptr) {
        return cudaErrorMemoryAllocation;
    }
    if (isLarge) {
        // Advice only: without huge pages everything works, and more slowly.
        static_cast<void>(madvise(memory.get(), rounded, MADV_HUGEPAGE));
    }
    allocations.sizes.emplace(addressOf(memory.get()), size);
    allocations.used += size;
    *pointer = memory.release();
    return cudaSuccess;
}

cudaError release(void* pointer) {
    if (pointer == nullptr) {
        return cudaSuccess;
    }
    Allocations& allocations = Allocations::instance();
    {
        std::lock_guard const lock(allocations.mutex);
        auto const found = allocations.sizes.find(addressOf(pointer));
        if (found == allocations.sizes.end()) {
            return cudaErrorInvalidValue;
        }
        allocations.used -= found->second;
        allocations.sizes.erase(found);
    }
    std::free(pointer);
    return cudaSuccess;
}

/// Calls `f(first, last)` for parts of `count` bytes, on several threads where that pays.
template <class F>
void forEachPart(std::size_t count, F const& f) {
    constexpr std::size_t worthSharing = 1ul << 21, part = 1ul << 18;
    if (count < worthSharing) {
        f(std::size_t{0}, count);
    } else {
        gpuruntime::backend::inParallel(count, part, f);
    }
}

void copyBytes(void* destination, void const* source, std::size_t count) {
    auto* const to = static_cast<unsigned char*>(destination);
    auto const* const from = static_cast<unsigned char const*>(source);
    if (addressOf(to) < addressOf(from) + count && addressOf(from) < addressOf(to) + count) {
        std::memmove(to, from, count);
        return;
    }
    forEachPart(count, [=](std::size_t first, std::size_t last) {
        std::memcpy(to + first, from + first, last - first);
    });
}

cudaError copy(void* destination, void const* source, std::size_t count, cudaMemcpyKind kind,
               cudaStream_t stream) {
    if (!isStream(stream)) {
        return cudaErrorInvalidResourceHandle;
    }
    if (kind > cudaMemcpyDefault) {
        return cudaErrorInvalidMemcpyDirection;
    }
    if (count == 0) {
        return cudaSuccess;
    }
    if (destination == nullptr || source == nullptr || !Allocations::hold({destination, source}, count)) {
        return cudaErrorInvalidValue;
    }
    copyBytes(destination, source, count);
    return cudaSuccess;
}

cudaError fill(void* pointer, int value, std::size_t count, cudaStream_t stream) {
    if (!isStream(stream)) {
        return cudaErrorInvalidResourceHandle;
    }
    if (count == 0) {
        return cudaSuccess;
    }
    if (pointer == nullptr || !Allocations::hold({pointer}, count)) {
        return cudaErrorInvalidValue;
    }
    forEachPart(count, [=](std::size_t first, std::size_t last) {
        std::memset(static_cast<unsigned char*>(pointer) + first, value, last - first);
    });
    return cudaSuccess;
}

struct Symbol {
    std::size_t size;
    char const* name;
};

/// The device symbols of all loaded units, by address.
struct Symbols {
    std::shared_mutex mutex;
    std::map<void const*, Symbol> registered;

    static Symbols& instance() {
        static Symbols symbols;
        return symbols;
    }

    static std::optional<Symbol> find(void const* address) {
        Symbols& symbols = instance();
        std::shared_lock const lock(symbols.mutex);
        auto const found = symbols.registered.find(address);
        return found != symbols.registered.end() ? std::optional(found->second) : std::nullopt;
    }
};

/// The checks that copies to and from a symbol share; `hostKind` is the direction that has the host at the
/// other end.
cudaError checkSymbolCopy(void const* symbol, std::size_t count, std::size_t offset, cudaMemcpyKind kind,
                          cudaMemcpyKind hostKind) {
    if (kind != hostKind && kind != cudaMemcpyDeviceToDevice && kind != cudaMemcpyDefault) {
        return cudaErrorInvalidMemcpyDirection;
    }
    std::optional<Symbol> const found = Symbols::find(symbol);
    if (!found) {
        return cudaErrorInvalidSymbol;
    }
    bool const inside = offset <= found->size && count <= found->size - offset;
    return inside ? cudaSuccess : cudaErrorInvalidValue;
}

/// The address of a symbol's byte. Symbols are registered by an address that may be const for their readers
/// only.
char* symbolByte(void const* symbol, std::size_t offset) {
    return static_cast<char*>(const_cast<void*>(symbol)) + offset;
}

cudaError copyToSymbol(void const* symbol, void const* source, std::size_t count, std::size_t offset,
                       cudaMemcpyKind kind, cudaStream_t stream) {
    cudaError const status = checkSymbolCopy(symbol, count, offset, kind, cudaMemcpyHostToDevice);
    return status == cudaSuccess ? copy(symbolByte(symbol, offset), source, count, kind, stream) : status;
}

cudaError copyFromSymbol(void* destination, void const* symbol, std::size_t count, std::size_t offset,
                         cudaMemcpyKind kind, cudaStream_t stream) {
    cudaError const status = checkSymbolCopy(symbol, count, offset, kind, cudaMemcpyDeviceToHost);
    return status == cudaSuccess ? copy(destination, symbolByte(symbol, offset), count, kind, stream)
                                 : status;
}

/// Stores what `value` takes from a symbol.
template <typename Result, typename Value>
cudaError describeSymbol(Result* result, void const* symbol, Value const& value) {
    if (result == nullptr) {
        return cudaErrorInvalidValue;
    }
    std::optional<Symbol> const found = Symbols::find(symbol);
    if (!found) {
        return cudaErrorInvalidSymbol;
    }
    *result = value(*found);
    return cudaSuccess;
}

}  // namespace

std::string_view symbolName(void const* address) {
    std::optional<Symbol> const found = Symbols::find(address);
    return found ? found->name : std::string_view{};
}

}  // namespace detail

std::vector<std::pair<std::uintptr_t, std::size_t>> deviceMemory() {
    detail::Allocations& allocations = detail::Allocations::instance();
    std::shared_lock const lock(allocations.mutex);
    return {allocations.sizes.begin(), allocations.sizes.end()};
}

SymbolRegistration::SymbolRegistration(void const* address, std::size_t size, char const* name) noexcept
    : address_(address) {
    detail::Symbols& symbols = detail::Symbols::instance();
    std::lock_guard const lock(symbols.mutex);
    symbols.registered[address] = {size, name};
}

SymbolRegistration::~SymbolRegistration() {
    detail::Symbols& symbols = detail::Symbols::instance();
    std::lock_guard const lock(symbols.mutex);
    symbols.registered.erase(address_);
}

}  // namespace gpuruntime::hostdevice

using namespace gpuruntime::hostdevice::detail;

cudaError_t cudaMalloc(void** pointer, size_t size) {
    return runCall("cudaMalloc", {nullptr, size}, [=] { return allocate(pointer, size); });
}

cudaError_t cudaFree(void* pointer) {
    return runCall("cudaFree", {}, [=] { return release(pointer); });
}

cudaError_t cudaMemcpy(void* destination, void const* source, size_t count, cudaMemcpyKind kind) {
    return runCall("cudaMemcpy", {nullptr, count},
                   [=] { return copy(destination, source, count, kind, nullptr); });
}

cudaError_t cudaMemcpyAsync(void* destination, void const* source, size_t count, cudaMemcpyKind kind,
                            cudaStream_t stream) {
    return runCall("cudaMemcpyAsync", {stream, count},
                   [=] { return copy(destination, source, count, kind, stream); });
}

cudaError_t cudaMemset(void* pointer, int value, size_t count) {
    return runCall("cudaMemset", {nullptr, count}, [=] { return fill(pointer, value, count, nullptr); });
}

cudaError_t cudaMemsetAsync(void* pointer, int value, size_t count, cudaStream_t stream) {
    return runCall("cudaMemsetAsync", {stream, count}, [=] { return fill(pointer, value, count, stream); });
}

cudaError_t cudaMemcpyToSymbol(void const* symbol, void const* source, size_t count, size_t offset,
                               cudaMemcpyKind kind) {
    return runCall("cudaMemcpyToSymbol", {nullptr, count, symbol},
                   [=] { return copyToSymbol(symbol, source, count, offset, kind, nullptr); });
}

cudaError_t cudaMemcpyToSymbolAsync(void const* symbol, void const* source, size_t count, size_t offset,
                                    cudaMemcpyKind kind, cudaStream_t stream) {
    return runCall("cudaMemcpyToSymbolAsync", {stream, count, symbol},
                   [=] { return copyToSymbol(symbol, source, count, offset, kind, stream); });
}

cudaError_t cudaMemcpyFromSymbol(void* destination, void const* symbol, size_t count, size_t offset,
                                 cudaMemcpyKind kind) {
    return runCall("cudaMemcpyFromSymbol", {nullptr, count, symbol},
                   [=] { return copyFromSymbol(destination, symbol, count, offset, kind, nullptr); });
}

cudaError_t cudaMemcpyFromSymbolAsync(void* destination, void const* symbol, size_t count, size_t offset,
                                      cudaMemcpyKind kind, cudaStream_t stream) {
    return runCall("cudaMemcpyFromSymbolAsync", {stream, count, symbol},
                   [=] { return copyFromSymbol(destination, symbol, count, offset, kind, stream); });
}

cudaError_t cudaGetSymbolAddress(void** pointer, void const* symbol) {
    return runCall("cudaGetSymbolAddress", {nullptr, 0, symbol}, [=] {
        return describeSymbol(pointer, symbol, [=](Symbol const&) { return symbolByte(symbol, 0); });
    });
}

cudaError_t cudaGetSymbolSize(size_t* size, void const* symbol) {
    return runCall("cudaGetSymbolSize", {nullptr, 0, symbol}, [=] {
        return describeSymbol(size, symbol, [](Symbol const& found) { return found.size; });
    });
}

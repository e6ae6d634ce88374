#pragma once

// Kernels, launches and device symbols of the host's runtime, as the headers of the devices that stand on it
// use them.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>

#include "driver_types.h"
#include "vector_types.h"

namespace gpuruntime::hostdevice {

/// First word of every `Kernel`, an arbitrary number.
inline constexpr std::uint64_t kernelTag = 0x6b76'6770'756b'726e;

/// What the `func` of `cudaLaunchKernel` and `cudaFuncGetAttributes` points at on this device.
struct Kernel {
    std::uint64_t tag;  ///< `kernelTag`, which tells a kernel from any other address
    char const* name;   ///< the kernel function with its template arguments, as the compiler spells them
    /// Runs the blocks [first, last) of the grid, in the order that the device numbers them, on the calling
    /// thread. `arguments[i]` points at the i-th argument, of exactly the i-th parameter's type.
    void (*runBlocks)(void** arguments, dim3 grid, dim3 block, std::uint64_t first, std::uint64_t last);
    std::size_t numParameters;
    bool isSerial;  ///< whether `runBlocks` takes all blocks of a launch at once
};

namespace detail {

/// `__PRETTY_FUNCTION__` spells the template argument between "kernelFunction = " and the last bracket.
template <auto kernelFunction>
constexpr char const* signatureWithKernelName() {
    return __PRETTY_FUNCTION__;
}

template <auto kernelFunction>
constexpr std::string_view spelledKernelName() {
    constexpr std::string_view marker = "kernelFunction = ";
    std::string_view name = signatureWithKernelName<kernelFunction>();
    name.remove_prefix(name.find(marker) + marker.size());
    name.remove_suffix(name.size() - name.rfind(']'));
    return name;
}

/// The name alone, NUL-terminated.
template <auto kernelFunction>
inline constexpr auto kernelName = [] {
    constexpr std::string_view name = spelledKernelName<kernelFunction>();
    std::array<char, name.size() + 1> text{};
    for (std::size_t i = 0; i < name.size(); ++i) {
        text[i] = name[i];
    }
    return text;
}();

template <auto kernelFunction, class Blocks>
struct KernelCode;

template <class... Parameters, void (*kernelFunction)(Parameters...), class Blocks>
struct KernelCode<kernelFunction, Blocks> {
    static constexpr std::size_t numParameters = sizeof...(Parameters);

    static void runBlocks(void** arguments, dim3 grid, dim3 block, std::uint64_t first, std::uint64_t last) {
        unpackAndRun(arguments, grid, block, first, last, std::index_sequence_for<Parameters...>{});
    }

  private:
    template <std::size_t... i>
    static void unpackAndRun([[maybe_unused]] void** arguments, dim3 grid, dim3 block, std::uint64_t first,
                             std::uint64_t last, std::index_sequence<i...>) {
        Blocks::template run<kernelFunction, Parameters...>(grid, block, first, last,
                                                            *static_cast<Parameters*>(arguments[i])...);
    }
};

}  // namespace detail

/// The descriptor of the kernel `kernelFunction`, a function of type void(P...) whose parameters are values.
/// `Blocks::run<kernelFunction, P...>(grid, block, first, last, parameters...)` is a device's way to run
/// blocks, and `Blocks::isSerial` says whether that must be given all of them at once.
template <auto kernelFunction, class Blocks>
inline constexpr Kernel kernelOf{kernelTag, detail::kernelName<kernelFunction>.data(),
                                 &detail::KernelCode<kernelFunction, Blocks>::runBlocks,
                                 detail::KernelCode<kernelFunction, Blocks>::numParameters, Blocks::isSerial};

/// Runs a kernel over a grid and returns when all blocks have run. Recorded, injected and failing as
/// `cudaLaunchKernel`, under that name. `work` is about how many elements the launch goes over: a small
/// launch stays on the calling thread, because waking the workers costs more than they give.
cudaError launch(Kernel const& kernel, dim3 grid, dim3 block, void** arguments, cudaStream_t stream,
                 std::uint64_t work);

/// Called by a kernel that has met a device fault: its launch, which runs to its end, fails with
/// `cudaErrorIllegalAddress`. Of launches that run side by side it may be another.
void reportFault() noexcept;

/// Makes a variable known as a device symbol while it lives. Units that declare device symbols hold one
/// static object of this type for each; `name` must outlive it.
class SymbolRegistration {
  public:
    SymbolRegistration(void const* address, std::size_t size, char const* name) noexcept;
    ~SymbolRegistration();

    SymbolRegistration(SymbolRegistration const&) = delete;
    SymbolRegistration& operator=(SymbolRegistration const&) = delete;

  private:
    void const* address_;
};

}  // namespace gpuruntime::hostdevice

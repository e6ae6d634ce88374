#pragma once

// Kernels, launches and device symbols of the host device, as the backend's launch header uses them.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <type_traits>
#include <utility>

#include "driver_types.h"
#include "vector_types.h"

namespace gpuruntime::hostdevice {

/// Where the running block stands: its index, the block's extents and the grid's.
struct BlockPosition {
    uint3 index;
    dim3 size;
    dim3 grid;
};

/// The position of the block that this thread runs; set before each block. Initial-exec, because kernels read
/// it often and a call to find it would cost more than the read.
extern __thread BlockPosition currentBlock __attribute__((tls_model("initial-exec")));

/// The order of a grid's blocks: in groups of neighbours, because neighbours often share cache lines and
/// pages; x fastest within a group and among the groups.
class BlockWalk {
  public:
    static constexpr unsigned int groupHeight = 16;

    /// Neighbours in x. Where an extent is a multiple of 64 blocks, the rows of blocks are likely to lie a
    /// power of two apart in memory; few of them fit into the cache at once, so the groups are narrow.
    static unsigned int groupWidth(dim3 grid) { return grid.x % 64 == 0 || grid.y % 64 == 0 ? 2 : 8; }

    BlockWalk(dim3 grid, std::uint64_t start) : grid_(grid), groupWidth_(groupWidth(grid)) {
        std::uint64_t const plane = std::uint64_t{grid.x} * grid.y;
        std::uint64_t rest = start % plane;
        enterRow(static_cast<unsigned int>(rest / (std::uint64_t{grid.x} * groupHeight)) * groupHeight);
        rest -= std::uint64_t{grid.x} * top_;
        unsigned int const height = bottom_ - top_;
        enterGroup(static_cast<unsigned int>(rest / (groupWidth_ * height)) * groupWidth_);
        auto const place = static_cast<unsigned int>(rest - std::uint64_t{left_} * height);
        index_ = {left_ + place % (right_ - left_), top_ + place / (right_ - left_),
                  static_cast<unsigned int>(start / plane)};
    }

    uint3 index() const { return index_; }

    void next() {
        if (++index_.x != right_) return;
        if (++index_.y == bottom_) {
            if (right_ == grid_.x) {
                if (bottom_ == grid_.y) ++index_.z;
                enterRow(bottom_ == grid_.y ? 0 : bottom_);
                right_ = 0;
            }
            enterGroup(right_);
            index_.y = top_;
        }
        index_.x = left_;
    }

  private:
    void enterRow(unsigned int top) {
        top_ = top;
        bottom_ = top + std::min(groupHeight, grid_.y - top);
    }

    void enterGroup(unsigned int left) {
        left_ = left;
        right_ = left + std::min(groupWidth_, grid_.x - left);
    }

    dim3 grid_;
    unsigned int groupWidth_;
    uint3 index_;
    unsigned int left_, right_, top_, bottom_;  ///< the group's first and past-the-last block
};

/// First word of every `Kernel`, an arbitrary number.
inline constexpr std::uint64_t kernelTag = 0x6b76'6770'756b'726e;

/// What the `func` of `cudaLaunchKernel` and `cudaFuncGetAttributes` points at on this device.
struct Kernel {
    std::uint64_t tag;  ///< `kernelTag`, which tells a kernel from any other address
    char const* name;   ///< the kernel function with its template arguments, as the compiler spells them
    /// Runs the blocks [first, last) of the grid, in the order of `BlockWalk`, one after another on the
    /// calling thread. `arguments[i]` points at the i-th argument, of exactly the i-th parameter's type.
    void (*runBlocks)(void** arguments, dim3 grid, dim3 block, std::uint64_t first, std::uint64_t last);
    std::size_t numParameters;
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

template <auto kernelFunction>
struct KernelCode;

template <typename... Parameters, void (*kernelFunction)(Parameters...)>
struct KernelCode<kernelFunction> {
    static constexpr std::size_t numParameters = sizeof...(Parameters);

    static void runBlocks(void** arguments, dim3 grid, dim3 block, std::uint64_t first, std::uint64_t last) {
        unpackAndRun(arguments, grid, block, first, last, std::index_sequence_for<Parameters...>{});
    }

  private:
    template <std::size_t... i>
    static void unpackAndRun([[maybe_unused]] void** arguments, dim3 grid, dim3 block, std::uint64_t first,
                             std::uint64_t last, std::index_sequence<i...>) {
        run(grid, block, first, last, *static_cast<Parameters*>(arguments[i])...);
    }

    /// The parameters are locals here, so the compiler need not read them again for every block.
    static void run(dim3 grid, dim3 block, std::uint64_t first, std::uint64_t last,
                    Parameters... parameters) {
        currentBlock = {{}, block, grid};
        BlockWalk walk(grid, first);
        for (std::uint64_t i = first; i < last; ++i) {
            currentBlock.index = walk.index();
            kernelFunction(parameters...);
            walk.next();
        }
    }
};

}  // namespace detail

/// The descriptor of the kernel `kernelFunction`, a function of type void(P...) whose parameters are values.
template <auto kernelFunction>
inline constexpr Kernel kernelOf{kernelTag, detail::kernelName<kernelFunction>.data(),
                                 &detail::KernelCode<kernelFunction>::runBlocks,
                                 detail::KernelCode<kernelFunction>::numParameters};

/// Runs a kernel over a grid and returns when all blocks have run. Recorded, injected and failing as
/// `cudaLaunchKernel`, under that name. `work` is about how many elements the launch goes over: a small
/// launch stays on the calling thread, because waking the workers costs more than they give.
cudaError launch(Kernel const& kernel, dim3 grid, dim3 block, void** arguments, cudaStream_t stream,
                 std::uint64_t work);

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

#pragma once

#include <immintrin.h>

#include <algorithm>
#include <cstdint>

#include "copies.hpp"
#include "vector_types.h"

/// How the blocks of a grid run on this device: one after another on a thread of the machine.
namespace gpuruntime::backend {

/// Where the running block stands: its index, the block's extents and the grid's.
struct BlockPosition {
    uint3 index;
    dim3 size;
    dim3 grid;
};

/// The position of the block that this thread runs; set before each block. Initial-exec, because kernels read
/// it often and a call to find it would cost more than the read.
extern __thread BlockPosition currentBlock __attribute__((tls_model("initial-exec")));

/// Whether what the threads of the running block do over so many bytes is to be shared out among the workers
/// of this device: long walks of grids that have fewer blocks than there are workers.
bool isShared(unsigned long bytes);

/// Calls `f(context, first, last)` for ranges that make up [0, n), one for each worker.
void shareOut(unsigned long n, void (*f)(void const*, unsigned long, unsigned long), void const* context);

/// The same with `f(first, last)`. The loops behind it are built once for all.
template <class F>
void shareOut(unsigned long n, F const& f) {
    auto const call = [](void const* context, unsigned long first, unsigned long last) {
        (*static_cast<F const*>(context))(first, last);
    };
    shareOut(n, call, &f);
}

/// The order of a grid's blocks: in groups of neighbours, because neighbours often share cache lines and
/// pages; x fastest within a group and among the groups. Blocks of one row of threads share them along x
/// alone: their groups are as wide as the grid.
class BlockWalk {
  public:
    static constexpr unsigned int groupHeight = 16;

    /// Neighbours in x. Where an extent is a multiple of 64 blocks, the rows of blocks are likely to lie a
    /// power of two apart in memory; few of them fit into the cache at once, so the groups are narrow.
    static unsigned int groupWidth(dim3 grid, dim3 block) {
        if (block.y == 1) return grid.x;
        return grid.x % 64 == 0 || grid.y % 64 == 0 ? 2 : 8;
    }

    BlockWalk(dim3 grid, dim3 block, std::uint64_t start)
        : grid_(grid), groupWidth_(groupWidth(grid, block)) {
        std::uint64_t const plane = std::uint64_t{grid.x} * grid.y;
        std::uint64_t rest = start % plane;
        enterRow(static_cast<unsigned int>(rest / (std::uint64_t{grid.x} * groupHeight)) * groupHeight);
        rest -= std::uint64_t{grid.x} * top_;
        unsigned int const height = bottom_ - top_;
        enterGroup(static_cast<unsigned int>(rest / (std::uint64_t{groupWidth_} * height)) * groupWidth_);
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

/// Runs the blocks [first, last) of a grid in the order of `BlockWalk`.
struct BlocksInTurn {
    static constexpr bool isSerial = false;

    /// The parameters are locals here, so the compiler need not read them again for every block.
    template <auto kernelFunction, class... Parameters>
    static void run(dim3 grid, dim3 block, std::uint64_t first, std::uint64_t last,
                    Parameters... parameters) {
        currentBlock = {{}, block, grid};
        BlockWalk walk(grid, block, first);
        for (std::uint64_t i = first; i < last; ++i) {
            currentBlock.index = walk.index();
            kernelFunction(parameters...);
            walk.next();
        }
        finishCopies();
        // Makes streamed stores visible with whatever tells that the blocks have run.
        _mm_sfence();
    }
};

}  // namespace gpuruntime::backend

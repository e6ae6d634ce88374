#pragma once

#include <algorithm>
#include <cstring>

#include "copies.hpp"
#include "device.hpp"
#include "store.hpp"

/// The threads of a block by the rows of an array that they go over. Here a row is a loop, and a run of
/// memory within it a copy.

/// Before a function that goes over a row: here one body that all kernels call.
#define GPU_ROW inline __attribute__((noinline))

namespace gpuruntime::backend {

/// Whether it pays to find out that what a row reads or writes is a run of memory.
inline constexpr bool rowsMayBeRuns = true;

/// Whether an array of `n` elements is written past the caches.
template <class T>
GPU_DEVICE bool isStreamed(unsigned long n) {
    return n * sizeof(T) >= streamedSize;
}

/// Positions [`begin`, `end`) of a row, one for each thread, at most as many as a block has.
class Row {
  public:
    GPU_DEVICE Row(unsigned int begin, unsigned int end) : begin_(begin), end_(std::max(begin, end)) {}

    GPU_DEVICE unsigned int begin() const { return begin_; }
    GPU_DEVICE unsigned int size() const { return end_ - begin_; }

    /// Those of the positions that are in [`from`, `to`).
    GPU_DEVICE Row within(unsigned int from, unsigned int to) const {
        return {std::max(begin_, from), std::min(end_, to)};
    }

    /// Calls `f(x)` for the positions `x`.
    template <class F>
    GPU_DEVICE void forEach(F f) const {
#pragma GCC ivdep
        for (unsigned long x = begin_; x < end_; ++x) f(x);
    }

    /// Calls `f(t, x)` for the threads `t` with their positions `x`, for threads that keep something.
    template <class F>
    GPU_DEVICE void forEachThread(F f) const {
        unsigned long const first = begin_;
#pragma GCC ivdep
        for (unsigned int t = 0; t < end_ - begin_; ++t) f(t, first + t);
    }

  private:
    unsigned int begin_, end_;
};

/// Whether memory of this size has whole lines, and few that it shares with what lies before and behind:
/// those come slowly past the caches, part by part.
GPU_DEVICE bool hasMostlyWholeLines(void const* to, unsigned long size) {
    bool const isAligned = reinterpret_cast<unsigned long>(to) % lineSize == 0;
    return size >= (isAligned ? 2 : 16) * lineSize;
}

/// Copies memory that does not overlap; past the caches in whole lines of what is written.
inline __attribute__((noinline)) void copyMemory(void* to, void const* from, unsigned long size,
                                                 bool streamed) {
    auto* out = static_cast<unsigned char*>(to);
    auto const* in = static_cast<unsigned char const*>(from);
    if (streamed && hasMostlyWholeLines(to, size)) {
        unsigned long const head = -reinterpret_cast<unsigned long>(out) % lineSize;
        std::memcpy(out, in, head);
        unsigned long i = head;
        for (; i + lineSize <= size; i += lineSize) {
            auto const* const line = reinterpret_cast<__m256i const*>(in + i);
            __m256i const first = _mm256_loadu_si256(line), second = _mm256_loadu_si256(line + 1);
            _mm256_stream_si256(reinterpret_cast<__m256i*>(out + i), first);
            _mm256_stream_si256(reinterpret_cast<__m256i*>(out + i) + 1, second);
        }
        out += i;
        in += i;
        size -= i;
    }
    std::memcpy(out, in, size);
}

/// Copies `in[x]` to `out[x]` for the positions of the row, in kernels that only copy.
template <class T>
GPU_DEVICE void copyRow(Row row, T* out, T const* in, bool streamed) {
    copyLater(out + row.begin(), in + row.begin(), row.size() * sizeof(T), streamed);
}

/// Stores `value(t, x)` at `out[x]` for the threads `t` of the row with their positions `x`.
template <class T, class Value>
GPU_DEVICE void storeRow(Row row, T* out, bool streamed, Value value) {
    if (!streamed || !hasMostlyWholeLines(out + row.begin(), row.size() * sizeof(T))) {
        row.forEachThread([&](unsigned int t, unsigned long x) { out[x] = value(t, x); });
        return;
    }
    constexpr unsigned int blockSize = 256;
    alignas(lineSize) T values[blockSize];
    row.forEachThread([&](unsigned int t, unsigned long x) { values[t] = value(t, x); });
    copyMemory(out + row.begin(), values, row.size() * sizeof(T), true);
}

/// Stores `value` at `out[x]` for the positions of the row.
template <class T>
GPU_ROW void fillRow(Row row, T* out, T value, bool streamed) {
    storeRow(row, out, streamed, [=](unsigned int, unsigned long) { return value; });
}

/// The row of a block's threads from element `first` of `n` on.
GPU_DEVICE Row rowOf(Threads const& threads, unsigned int first, unsigned int n) {
    if (first >= n) return {0, 0};
    return {first, n - first > threads.size() ? first + threads.size() : n};
}

/// Stores `value` if `condition` holds, at `to`, which else need not exist; without a branch, which would
/// often be mispredicted.
template <class T>
GPU_DEVICE void storeIf(bool condition, T* to, T value) {
    T elsewhere;
    T* const targets[2] = {&elsewhere, to};
    *targets[condition] = value;
}

/// Calls `f(row, y, z)` for the rows of a block that begins at `first` in an array of this extent.
template <class F>
GPU_DEVICE void forEachRow(TileThreads const& threads, uint3 first, dim3 extent, F f) {
    unsigned int const sizeX = std::min(threads.sizeX(), extent.x - first.x);
    unsigned int const sizeY = std::min(threads.sizeY(), extent.y - first.y);
    unsigned int const sizeZ = std::min(threads.sizeZ(), extent.z - first.z);
    for (unsigned int z = 0; z < sizeZ; ++z) {
        for (unsigned int y = 0; y < sizeY; ++y) f(Row(first.x, first.x + sizeX), first.y + y, first.z + z);
    }
}

/// Calls `f(t, i)` for the threads of a block within a tile of an array whose rows are `stride` apart: `t` is
/// the number of the thread in the tile, and `i` = y * `stride` + x its element. Whole rows are a run.
template <class F>
GPU_DEVICE void forEachOfTile(TileThreads const& threads, dim3 tile, unsigned int stride, F f) {
    unsigned int const width = std::min(tile.x, threads.sizeX()), height = std::min(tile.y, threads.sizeY());
    if (width == stride) {
        unsigned int const size = width * height;
#pragma GCC ivdep
        for (unsigned int t = 0; t < size; ++t) f(t, 0ul + t);
        return;
    }
    for (unsigned int y = 0; y < height; ++y) {
        unsigned long const row = 1ul * y * stride;
#pragma GCC ivdep
        for (unsigned int x = 0; x < width; ++x) f(y * width + x, row + x);
    }
}

}  // namespace gpuruntime::backend

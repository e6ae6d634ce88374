#pragma once

#include <immintrin.h>

#include "frame/complex.hpp"
#include "lane_rows.hpp"
#include "padded.hpp"
#include "rows.hpp"

namespace gpuruntime::backend {

namespace detail {

/// Parts of elements, one a lane, and what adds a tap times them to their sums.
template <class P>
struct PartLanes {
    using Row [[gnu::vector_size(32)]] = P;
    static constexpr unsigned int count = 32 / sizeof(P);

    static GPU_DEVICE Row load(P const* from) {
        Row row;
        std::memcpy(&row, from, sizeof row);
        return row;
    }

    static GPU_DEVICE void store(P* to, Row row) { std::memcpy(to, &row, sizeof row); }

    static GPU_DEVICE Row all(P value) { return value - Row{}; }

    static GPU_DEVICE Row fma(Row a, Row b, Row c) {
        if constexpr (sizeof(P) == 4) {
            return _mm256_fmadd_ps(a, b, c);
        } else {
            return _mm256_fmadd_pd(a, b, c);
        }
    }

    /// The values, negated in the lanes of real parts.
    static GPU_DEVICE Row negatedInReal(Row row) {
        Row signs{};
        for (unsigned int g = 0; g < count; g += 2) signs[g] = P(-0.0);
        if constexpr (sizeof(P) == 4) {
            return _mm256_xor_ps(row, signs);
        } else {
            return _mm256_xor_pd(row, signs);
        }
    }

    /// The parts of pairs exchanged.
    static GPU_DEVICE Row exchanged(Row row) {
        if constexpr (sizeof(P) == 4) {
            return _mm256_permute_ps(row, 0xb1);
        } else {
            return _mm256_permute_pd(row, 0x5);
        }
    }
};

/// A tap for each lane, and how it is added: as `multiplyAdd` does.
template <class T, class P = internal::Part<T>>
struct TapLanes {
    using Lanes = PartLanes<P>;
    using Row = typename Lanes::Row;

    GPU_DEVICE explicit TapLanes(T tap) : values(Lanes::all(tap)) {}

    GPU_DEVICE Row multiplyAdd(Row elements, Row sums) const { return Lanes::fma(values, elements, sums); }

  private:
    Row values;
};

template <class T>
struct TapLanes<T, std::enable_if_t<internal::isComplex<T>, internal::Part<T>>> {
    using Lanes = PartLanes<internal::Part<T>>;
    using Row = typename Lanes::Row;

    GPU_DEVICE explicit TapLanes(T tap)
        : real(Lanes::all(tap.x)), imaginary(Lanes::negatedInReal(Lanes::all(tap.y))) {}

    GPU_DEVICE Row multiplyAdd(Row elements, Row sums) const {
        return Lanes::fma(imaginary, Lanes::exchanged(elements), Lanes::fma(real, elements, sums));
    }

  private:
    Row real, imaginary;
};

/// Memory that is read or written soon, in lines of `size` bytes which lie `pitch` bytes apart. It is fetched
/// in steps, some lines each, spread over other work: there is room for few on the way.
struct Lines {
    char const* first = nullptr;
    unsigned long pitch = 0, size = 0;
    unsigned int perStep = 0;

    GPU_DEVICE void fetch(unsigned long step) const {
        for (unsigned int line = 0; line < perStep; ++line)
            prefetch(first + (step * perStep + line) * pitch, size);
    }
};

/// to[i] = the sum over j of taps[j] * from[i - j * stride], in ascending order of j, for `n` sums.
template <class T>
GPU_STEP void sumTaps(T* to, T const* from, unsigned long n, unsigned long stride, T const* taps,
                      unsigned int numTaps, Lines const& nextInput, Lines const& output) {
    using P = internal::Part<T>;
    using Lanes = PartLanes<P>;
    using Row = typename Lanes::Row;
    constexpr unsigned int numRows = 8;  // as many as hide the latency of a fused step in two units
    constexpr unsigned int numParts = sizeof(T) / sizeof(P), group = numRows * Lanes::count;
    auto* const sums = reinterpret_cast<P*>(to);
    auto const* const elements = reinterpret_cast<P const*>(from);
    for (unsigned long i = 0; i < n * numParts; i += group) {
        nextInput.fetch(i / group);
        output.fetch(i / group);
        P const* shifted = elements + i;
        Row rows[numRows] = {};
        // With two taps in a pass complex sums are a quarter faster; more gain nothing.
#pragma GCC unroll 2
        for (unsigned int j = 0; j < numTaps; ++j, shifted -= stride * numParts) {
            TapLanes<T> const tap(taps[j]);
            unrolled<numRows>(
                [&](auto r) { rows[r] = tap.multiplyAdd(Lanes::load(shifted + r * Lanes::count), rows[r]); });
        }
        unrolled<numRows>([&](auto r) { Lanes::store(sums + i + r * Lanes::count, rows[r]); });
    }
}

}  // namespace detail

/// The input of a block that filters a matrix along a dimension, with zeros around it, and the sums of its
/// `X` by `Y` threads. A thread has `K` sums, a block's extent apart in dimension `along`; the tile has
/// `halo` more elements before them.
template <class T, unsigned int along, unsigned int X, unsigned int Y, unsigned int K, unsigned int halo>
class FilterTile {
    static constexpr unsigned int sumsX = along == 0 ? X * K : X, sumsY = along == 0 ? Y : Y * K;
    static constexpr unsigned int haloX = along == 0 ? halo : 0, haloY = along == 0 ? 0 : halo;

  public:
    struct Elements {
        alignas(64) T rows[sumsY + haloY][sumsX + haloX];
    };

    GPU_DEVICE explicit FilterTile(Elements& elements) : elements(elements) {}

    /// Reads the tile whose results begin at the position `base`, as far as `numTaps` taps reach; then the
    /// block meets at a barrier. A run of memory need not be copied.
    GPU_DEVICE void load(T const* in, uint2 base, uint2 size, unsigned int numTaps) {
        uint2 const first{base.x - haloX, base.y - haloY};
        from = elements.rows[0];
        pitch = sumsX + haloX;
        if constexpr (along == 0) {
            if (isInside<sumsX + haloX, sumsY>(first, size)) {
                from = in + (1ul * first.y * size.x + first.x);
                pitch = size.x;
            } else {
                loadPadded(elements.rows, 0, in, first, size);
            }
        } else {
            unsigned int const unused = halo + 1 - numTaps;
            loadPadded(elements.rows, unused, in, first, size);
            unsigned int const firstY = first.y + unused < size.y ? first.y + unused : 0;
            nextInput = linesOf(in + (1ul * firstY * size.x + first.x + sumsX), size.x, sumsY + numTaps - 1);
        }
    }

    /// The sums of the taps j times the elements j before a result's position, in ascending order of j. If
    /// `lines` are given, the block's lines in the output, `outPitch` apart, the sums may be stored there;
    /// whether they are is returned.
    template <unsigned int numUnrolled>
    GPU_DEVICE bool sum(T const* taps, unsigned int numTaps, T* lines, unsigned long outPitch) {
        if constexpr (along == 0) {
            bool const isRun = lines != nullptr && from != elements.rows[0];
            for (unsigned int y = 0; y < sumsY; ++y) {
                T* const to = lines != nullptr ? lines + y * outPitch : sums[y];
                T const* const own = from + y * pitch + halo;
                detail::sumTaps(to, own, sumsX, 1, taps, numTaps,
                                isRun ? runOf(own + sumsX) : detail::Lines{},
                                isRun ? runOf(to + sumsX) : detail::Lines{});
            }
            return lines != nullptr;
        } else {
            detail::sumTaps(sums[0], elements.rows[halo], sumsX * sumsY, sumsX, taps, numTaps, nextInput,
                            lines != nullptr ? linesOf(lines, outPitch, sumsY) : detail::Lines{});
            return false;
        }
    }

    /// Calls `f(row, y, k)` for the `k`-th sums of a row of threads.
    template <class F>
    GPU_DEVICE void forEachRow(F f) const {
        for (unsigned int y = 0; y < Y; ++y) {
            for (unsigned int k = 0; k < K; ++k) f(Row(0, X), y, k);
        }
    }

    /// Calls `f(x, sum)` for the `k`-th sums of a row of threads.
    template <class F>
    GPU_DEVICE void forEachSum(Row row, unsigned int y, unsigned int k, F f) const {
        T const* const from = along == 0 ? sums[y] + k * X : sums[k * Y + y];
        unsigned long const end = row.begin() + row.size();
        // Rows are short and most are whole: it stays a loop until it is vectorised.
#pragma GCC ivdep
#pragma GCC unroll 1
        for (unsigned long x = row.begin(); x < end; ++x) f(x, from[x]);
    }

  private:
    static constexpr unsigned int sumsInStep = 8 * 32 / sizeof(T);

    /// A run of memory from `first` on, fetched as sums of as many elements are made.
    static GPU_DEVICE detail::Lines runOf(T const* first) {
        return {reinterpret_cast<char const*>(first), sumsInStep * sizeof(T), sumsInStep * sizeof(T), 1};
    }

    /// The lines of a tile along dimension 1, fetched as its sums are made.
    static GPU_DEVICE detail::Lines linesOf(T const* first, unsigned long pitch, unsigned int height) {
        constexpr unsigned int steps = sumsX * sumsY / sumsInStep;
        return {reinterpret_cast<char const*>(first), pitch * sizeof(T), sumsX * sizeof(T),
                (height + steps - 1) / steps};
    }

    Elements& elements;
    detail::Lines nextInput;
    T const* from;
    unsigned long pitch;
    alignas(64) T sums[sumsY][sumsX];
};

/// How many taps of a filter of `n` known ones are unrolled: none, since a loop over them is as fast, and
/// filters of all lengths share it.
template <unsigned int n>
inline constexpr unsigned int unrolledTaps = 0;

}  // namespace gpuruntime::backend

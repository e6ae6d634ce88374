#pragma once

#include <immintrin.h>

#include <cstddef>
#include <cstring>
#include <type_traits>
#include <utility>

#include "backend/operator_traits.hpp"
#include "device.hpp"
#include "saturating_lanes.hpp"

/// Matrices of which a row is a machine vector, for steps that do the same to many runs of an array at once:
/// a lane belongs to a run, and row `j` holds the `j`-th element of each.
namespace gpuruntime::backend {

/// Calls `f(k)` for the numbers below `n`, each time with a number that is known when this is built, so that
/// arrays which only such numbers index stay in registers.
template <unsigned int n, class F>
GPU_DEVICE void unrolled(F f) {
    if constexpr (n > 0) {
        unrolled<n - 1>(f);
        f(std::integral_constant<unsigned int, n - 1>{});
    }
}

/// Rows of elements of `size` bytes, a power of two up to 16, in vectors of `rowSize` bytes.
template <unsigned int size, unsigned int rowSize = 32>
struct LaneRows {
    static_assert(rowSize == 32 || rowSize == 16);

    using Word =
        std::conditional_t<size == 1, unsigned char,
                           std::conditional_t<size == 2, unsigned short,
                                              std::conditional_t<size == 4, unsigned int, unsigned long>>>;

    static constexpr unsigned int lanes = rowSize / size;

    /// Rows of a square of elements, of which a half of a row holds one side.
    static constexpr unsigned int side = 16 / size;

    using Row [[gnu::vector_size(rowSize)]] = Word;

    template <class T>
    static GPU_DEVICE Row rowOf(T const (&elements)[lanes]) {
        Row row;
        std::memcpy(&row, elements, sizeof row);
        return row;
    }

    /// `value` in every lane.
    template <class T>
    static GPU_DEVICE Row all(T value) {
        T elements[lanes];
        for (unsigned int g = 0; g < lanes; ++g) elements[g] = value;
        return rowOf(elements);
    }

    template <class T>
    static GPU_DEVICE T lane(Row row, unsigned int g) {
        T elements[lanes];
        std::memcpy(elements, &row, sizeof row);
        return elements[g];
    }

    /// The row whose lane `g` is the lane `from(g)` of `a`, or, from `lanes` on, of `b`; known when built.
    template <class From>
    static GPU_DEVICE Row shuffle(Row a, Row b, From from) {
        return shuffleWords(a, b, from, std::make_index_sequence<rowSize / sizeof(Word)>{});
    }

    /// Whether `combine` goes other ways than a loop over the lanes; then other loops gain from rows too.
    template <class Operator>
    static constexpr bool hasInstructions = isGuarded<Operator> || isSaturatingProduct<Operator> ||
                                            (isSaturatingSum<Operator> &&
                                             hasSaturatingSum<decltype(Operator::identity())>);

    /// The operator's combinations, lane by lane.
    template <class Operator>
    static GPU_DEVICE Row combine(Row a, Row b) {
        using T = decltype(Operator::identity());
        if constexpr (!hasInstructions<Operator>) {
            return combineEach<Operator>(a, b);
        } else if constexpr (isGuarded<Operator>) {
            Row result;
            return combinePlainly<Operator>(a, b, result) ? result : combineWithBranches<Operator>(a, b);
        } else if constexpr (isSaturatingSum<Operator>) {
            return fromVector(saturatingSum<T>(toVector(a), toVector(b)));
        } else {
            return fromVector(saturatingProduct<T>(toVector(a), toVector(b)));
        }
    }

    /// Reads `height` elements of each run, from `runs` on, the runs being `runLength` apart.
    template <unsigned int height>
    static GPU_DEVICE void load(Row (&rows)[height], void const* runs, unsigned int runLength) {
        static_assert(height % side == 0);
        auto const* const from = static_cast<char const*>(runs);
        unrolled<height / side>([&](auto s) {
            Row square[side];
            unrolled<side>([&](auto k) {
                square[k] = loadHalves(from + (k * runLength + s * side) * size, side * runLength * size);
            });
            transpose<side>(square);
            unrolled<side>([&](auto k) { rows[s * side + k] = square[k]; });
        });
    }

    /// Writes them.
    template <unsigned int height>
    static GPU_DEVICE void store(Row const (&rows)[height], void* runs, unsigned int runLength) {
        static_assert(height % side == 0);
        auto* const to = static_cast<char*>(runs);
        unrolled<height / side>([&](auto s) {
            Row square[side];
            unrolled<side>([&](auto k) { square[k] = rows[s * side + k]; });
            transpose<side>(square);
            unrolled<side>([&](auto k) {
                storeHalves(to + (k * runLength + s * side) * size, side * runLength * size, square[k]);
            });
        });
    }

  private:
    template <class Operator>
    static GPU_DEVICE Row combineEach(Row a, Row b) {
        using T = decltype(Operator::identity());
        T x[lanes], y[lanes], result[lanes];
        std::memcpy(x, &a, sizeof a);
        std::memcpy(y, &b, sizeof b);
        // It stays a loop until it is vectorised; unrolled before, it would not be.
#pragma GCC ivdep
#pragma GCC unroll 1
        for (unsigned int g = 0; g < lanes; ++g) result[g] = Operator::combine(x[g], y[g]);
        return rowOf(result);
    }

    /// Out of line: few rows come here.
    template <class Operator>
    static __attribute__((noinline)) Row combineWithBranches(Row a, Row b) {
        return combineEach<Operator>(a, b);
    }

    static GPU_DEVICE __m256i toVector(Row row) {
        if constexpr (rowSize == 16) {
            return _mm256_castsi128_si256(reinterpret_cast<__m128i>(row));
        } else {
            return reinterpret_cast<__m256i>(row);
        }
    }

    static GPU_DEVICE Row fromVector(__m256i vector) {
        if constexpr (rowSize == 16) {
            return reinterpret_cast<Row>(_mm256_castsi256_si128(vector));
        } else {
            return reinterpret_cast<Row>(vector);
        }
    }

    /// The combinations of complex values without branches; false if a value needs them. Each part stands
    /// in the lanes of both, and both parts of the result are computed in both.
    template <class Operator>
    static GPU_DEVICE bool combinePlainly(Row a, Row b, Row& result) {
        using P = decltype(Operator::identity().x);
        using Parts = LaneRows<sizeof(P)>;
        using Part [[gnu::vector_size(rowSize)]] = P;
        struct Values {
            Part x, y;
        };
        auto const values = [](Row row) {
            auto const parts = reinterpret_cast<typename Parts::Row>(row);
            return Values{
                reinterpret_cast<Part>(Parts::shuffle(parts, parts, [](unsigned int g) { return g & ~1u; })),
                reinterpret_cast<Part>(Parts::shuffle(parts, parts, [](unsigned int g) { return g | 1u; }))};
        };
        Values const x = values(a), y = values(b);
        Values const product = Operator::combinePlainly(x, y);
        auto const plain = reinterpret_cast<__m256i>(Operator::isPlain(x, y));
        result = reinterpret_cast<Row>(
            Parts::shuffle(reinterpret_cast<typename Parts::Row>(product.x),
                           reinterpret_cast<typename Parts::Row>(product.y),
                           [](unsigned int g) { return g % 2 == 0 ? g : g + Parts::lanes; }));
        return _mm256_movemask_epi8(plain) == -1;
    }

    template <class From, std::size_t... i>
    static GPU_DEVICE Row shuffleWords(Row a, Row b, From from, std::index_sequence<i...>) {
        constexpr std::size_t words = size / sizeof(Word);
        return __builtin_shuffle(a, b, Row{static_cast<Word>(from(i / words) * words + i % words)...});
    }

    /// Halves go through registers: a row that is read from memory just written in halves would have to wait.
    static GPU_DEVICE Row loadHalves(char const* from, unsigned long distance) {
        auto const half = [](char const* at) {
            return _mm_loadu_si128(reinterpret_cast<__m128i const*>(at));
        };
        if constexpr (rowSize == 16) {
            return reinterpret_cast<Row>(half(from));
        } else {
            return reinterpret_cast<Row>(_mm256_set_m128i(half(from + distance), half(from)));
        }
    }

    static GPU_DEVICE void storeHalves(char* to, unsigned long distance, Row row) {
        if constexpr (rowSize == 16) {
            _mm_storeu_si128(reinterpret_cast<__m128i*>(to), reinterpret_cast<__m128i>(row));
        } else {
            auto const both = reinterpret_cast<__m256i>(row);
            _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm256_castsi256_si128(both));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(to + distance), _mm256_extracti128_si256(both, 1));
        }
    }

    /// Where lane `g` comes from as two rows meet in turns, from lane `first` of each half on.
    static constexpr unsigned int interleaved(unsigned int g, unsigned int first) {
        return g / side * side + first + g % side / 2 + g % 2 * lanes;
    }

    /// Turns over the squares in the halves of the rows: a perfect shuffle for each power of two in a side.
    template <unsigned int rest>
    static GPU_DEVICE void transpose(Row (&square)[side]) {
        if constexpr (rest > 1) {
            Row shuffled[side];
            unrolled<side / 2>([&](auto k) {
                Row const a = square[k], b = square[k + side / 2];
                shuffled[2 * k] = shuffle(a, b, [](unsigned int g) { return interleaved(g, 0); });
                shuffled[2 * k + 1] = shuffle(a, b, [](unsigned int g) { return interleaved(g, side / 2); });
            });
            unrolled<side>([&](auto k) { square[k] = shuffled[k]; });
            transpose<rest / 2>(square);
        }
    }
};

}  // namespace gpuruntime::backend

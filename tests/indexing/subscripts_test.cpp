#include <gpuruntime/subscripts.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>
#include <numeric>
#include <random>
#include <utility>
#include <vector>

#include "tests/indexing/subscript_operators.hpp"
#include "tests/support/bytes.hpp"
#include "tests/support/device_array.hpp"
#include "tests/support/device_limits.hpp"
#include "tests/support/large.hpp"

namespace gpuruntime {
namespace {

using testing::Bytes;
using testing::copyElement;
using testing::DeviceArray;
using testing::expectSameBits;
using testing::expectSameBytes;
using testing::SelectionArguments;
using testing::SelectionOperators;
using testing::SlotKind;

/// What a dimension's slot says.
struct Slot {
    std::vector<double> indices;  ///< of a vector
    double2 progression{};
    unsigned long count;
};

Slot progression(double first, double increment, unsigned long count) {
    return {{}, {first, increment}, count};
}
Slot indices(std::vector<double> values) { return {values, {}, values.size()}; }

std::uint32_t truncated(double index) {
    if (!(index >= 1)) return 0;
    return index >= 4294967296.0 ? 4294967295u : static_cast<std::uint32_t>(index);
}

/// The zero-based position that a slot selects, modulo 2^32.
std::uint32_t position(SlotKind kind, Slot const& slot, unsigned long i) {
    if (kind == SlotKind::vector) return truncated(slot.indices[i]) - 1;
    auto const first = static_cast<std::uint64_t>(static_cast<std::int64_t>(slot.progression.x));
    auto const increment = static_cast<std::uint64_t>(static_cast<std::int64_t>(slot.progression.y));
    return static_cast<std::uint32_t>(first + increment * i - 1);
}

/// An array of any dimensions, and what is selected of it.
struct Selection {
    std::vector<SlotKind> kinds;
    std::vector<unsigned long> dims;
    std::vector<Slot> slots;

    unsigned long numel() const {
        unsigned long n = 1;
        for (Slot const& slot : slots) n *= slot.count;
        return n;
    }

    unsigned long arraySize() const {
        unsigned long n = 1;
        for (unsigned long d = 0; d < slots.size(); ++d) n *= dims[d];
        return n;
    }

    /// The offset in the array of each selected element, in the order of the dense array.
    std::vector<std::uint32_t> offsets() const {
        std::vector<std::uint32_t> result{0};
        for (unsigned long d = slots.size(); d-- > 0;) {
            std::uint32_t stride = 1;
            for (unsigned long below = 0; below < d; ++below)
                stride *= static_cast<std::uint32_t>(dims[below]);
            std::vector<std::uint32_t> along;
            for (unsigned long i = 0; i < slots[d].count; ++i) {
                along.push_back(stride * position(kinds[d], slots[d], i));
            }
            std::vector<std::uint32_t> const starts = std::move(result);
            result.clear();
            result.reserve(starts.size() * along.size());
            for (std::uint32_t const start : starts) {
                for (std::uint32_t const offset : along) result.push_back(start + offset);
            }
        }
        return result;
    }
};

/// The arguments of a call, with index vectors in device memory.
class Arguments {
  public:
    explicit Arguments(Selection const& selection) {
        arguments.numel = selection.numel();
        for (unsigned long d = 0; d < selection.slots.size(); ++d) {
            Slot const& slot = selection.slots[d];
            arguments.dims[d] = selection.dims[d];
            arguments.slots[d] = {nullptr, slot.progression, slot.count};
            if (selection.kinds[d] == SlotKind::vector) {
                vectors.push_back(std::make_unique<DeviceArray<double>>(slot.indices));
                arguments.slots[d].indices = vectors.back()->data();
            }
        }
    }

    /// Whether the index vectors are what they were.
    void expectUnchanged(Selection const& selection) const {
        unsigned long next = 0;
        for (unsigned long d = 0; d < selection.slots.size(); ++d) {
            if (selection.kinds[d] == SlotKind::vector) {
                expectSameBits(selection.slots[d].indices, vectors[next++]->values());
            }
        }
    }

    SelectionArguments arguments;

  private:
    std::vector<std::unique_ptr<DeviceArray<double>>> vectors;
};

Bytes randomElements(SelectionOperators const& operators, unsigned long n, unsigned long seed) {
    return testing::randomElements(operators.elementSize, operators.isBool, n, seed);
}

void expectRead(SelectionOperators const& operators, Selection const& selection) {
    SCOPED_TRACE("reading " + operators.name);
    unsigned long const size = operators.elementSize, n = selection.numel();
    Bytes const array = randomElements(operators, selection.arraySize(), 1);
    Bytes expected(n * size);
    auto const offsets = selection.offsets();
    for (unsigned long e = 0; e < n; ++e) copyElement(size, expected, e, array, offsets[e]);

    DeviceArray<unsigned char> in(array), out(n * size);
    Arguments const call(selection);
    operators.read(call.arguments, out.data(), in.data());
    expectSameBytes(expected, out.values());
    expectSameBytes(array, in.values());
    call.expectUnchanged(selection);
}

/// For selections without repetition.
void expectWritten(SelectionOperators const& operators, Selection const& selection) {
    SCOPED_TRACE("writing " + operators.name);
    unsigned long const size = operators.elementSize, n = selection.numel();
    Bytes const array = randomElements(operators, selection.arraySize(), 2);
    Bytes const values = randomElements(operators, n, 3);
    Bytes withValues = array, withFirst = array;
    auto const offsets = selection.offsets();
    for (unsigned long e = 0; e < n; ++e) {
        copyElement(size, withValues, offsets[e], values, e);
        copyElement(size, withFirst, offsets[e], values, 0);
    }
    Arguments const call(selection);
    DeviceArray<unsigned char> in(values), out(array), filled(array);
    operators.write(call.arguments, out.data(), in.data());
    operators.writeValue(call.arguments, filled.data(), values.data());
    expectSameBytes(withValues, out.values());
    expectSameBytes(withFirst, filled.values());
    expectSameBytes(values, in.values());
    call.expectUnchanged(selection);
}

/// `count` different indices of `extent` in any order, each with a fraction that is to be cut off.
std::vector<double> differentIndices(unsigned long extent, unsigned long count, std::mt19937_64& engine) {
    std::vector<double> all(extent);
    std::iota(all.begin(), all.end(), 1.0);
    std::shuffle(all.begin(), all.end(), engine);
    all.resize(count);
    for (double& index : all) index += static_cast<double>(engine() % 4) * 0.3;
    return all;
}

/// A selection of the operator's kinds, `counts` of `dims`, without repetition: vectors of random order, and
/// progressions that ascend, descend, or leave gaps where there is room.
Selection randomSelection(std::vector<SlotKind> const& kinds, std::vector<unsigned long> dims,
                          std::vector<unsigned long> counts, unsigned long seed) {
    std::mt19937_64 engine(seed);
    Selection selection{kinds, {}, {}};
    for (unsigned long d = 0; d < kinds.size(); ++d) {
        unsigned long const extent = dims[d], count = counts[d];
        selection.dims.push_back(extent);
        if (kinds[d] == SlotKind::vector) {
            selection.slots.push_back(indices(differentIndices(extent, count, engine)));
            continue;
        }
        auto const room = static_cast<double>(count > 1 ? (extent - 1) / (count - 1) : 1);
        double const step = engine() % 2 == 0 ? 1 : room, last = 1 + step * static_cast<double>(count - 1);
        bool const descends = engine() % 3 == 0;
        selection.slots.push_back(descends ? progression(last + 0.9, -step - 0.5, count)
                                           : progression(1.25, step + 0.75, count));
    }
    return selection;
}

TEST(Subscripts, OfEveryTypeAndEveryCombinationOfSlots) {
    for (SelectionOperators const& operators : testing::selectionOperators()) {
        for (unsigned long seed = 0; seed < 4; ++seed) {
            std::vector<unsigned long> const dims{9, 7, 5}, counts{4, 3, 2};
            Selection const selection = randomSelection(operators.kinds, dims, counts, seed);
            expectRead(operators, selection);
            expectWritten(operators, selection);
            if (::testing::Test::HasFatalFailure()) return;
        }
    }
}

TEST(Subscripts, OfManyExtents) {
    // One row, one column, around edges of 16, around a block, and long rows.
    std::vector<std::vector<unsigned long>> const shapes{
        {1, 1, 1},   {1, 40, 3},  {40, 1, 1},  {1, 1, 40},   {15, 17, 2},  {16, 16, 3}, {17, 15, 2},
        {100, 3, 4}, {255, 2, 2}, {256, 3, 2}, {257, 2, 3},  {1000, 2, 1}, {3, 300, 2}, {2, 2, 300},
        {31, 33, 1}, {128, 5, 1}, {1, 257, 1}, {1, 300, 17}, {520, 66, 1}};  // the last is shared out
    for (SelectionOperators const& operators : testing::selectionOperatorsOfEachCarrier()) {
        for (auto const& counts : shapes) {
            SCOPED_TRACE(::testing::PrintToString(counts));
            std::vector<unsigned long> dims;
            for (unsigned long count : counts) dims.push_back(dims.empty() ? 2 * count + 1 : count + 3);
            Selection const selection = randomSelection(operators.kinds, dims, counts, counts[0]);
            expectRead(operators, selection);
            expectWritten(operators, selection);
            if (::testing::Test::HasFatalFailure()) return;
        }
    }
}

// Rows that follow each other in both arrays, wholly or up to the end of a page.
TEST(Subscripts, OfWholeRowsAndPages) {
    for (SelectionOperators const& operators : testing::selectionOperatorsOfEachCarrier()) {
        for (std::vector<unsigned long> const& counts :
             {std::vector<unsigned long>{3, 40, 5}, std::vector<unsigned long>{256, 3, 2},
              std::vector<unsigned long>{300, 9, 4}}) {
            for (unsigned long const columnsLeft : {0, 1}) {
                Selection selection{operators.kinds, counts, {}};
                selection.dims[1] += columnsLeft;
                for (unsigned long d = 0; d < operators.kinds.size(); ++d) {
                    std::vector<double> all(counts[d]);
                    std::iota(all.begin(), all.end(), 1.0);
                    selection.slots.push_back({all, {1, 1}, counts[d]});
                }
                expectRead(operators, selection);
                expectWritten(operators, selection);
                if (::testing::Test::HasFatalFailure()) return;
            }
        }
    }
}

// A selection of one slot is a vector's: beside each other in memory, and with gaps.
TEST(Subscripts, OfLongVectors) {
    for (SelectionOperators const& operators : testing::selectionOperatorsOfEachCarrier()) {
        if (operators.kinds.size() != 1) continue;
        for (unsigned long const n : {255, 256, 257, 1000, 33000}) {
            SCOPED_TRACE(n);
            Selection const random = randomSelection(operators.kinds, {2 * n}, {n}, n);
            expectRead(operators, random);
            expectWritten(operators, random);
            if (operators.kinds[0] != SlotKind::progression) continue;
            for (double const step : {1.0, 2.0, -1.0, -2.0}) {
                double const first = step > 0 ? 1 : 2.0 * static_cast<double>(n);
                Selection const selection{operators.kinds, {2 * n}, {progression(first, step, n)}};
                expectRead(operators, selection);
                expectWritten(operators, selection);
            }
        }
    }
}

TEST(Subscripts, WithARepeatedIndexReadItAgainAndWriteOneOfTheValues) {
    for (SelectionOperators const& operators : testing::selectionOperatorsOfEachCarrier()) {
        Selection repeated{operators.kinds, {}, {}};
        for (SlotKind const kind : operators.kinds) {
            repeated.dims.push_back(5);
            repeated.slots.push_back(kind == SlotKind::vector ? indices({4, 2, 4, 4}) : progression(3, 0, 4));
        }
        unsigned long const size = operators.elementSize, n = repeated.numel(),
                            arraySize = repeated.arraySize();
        expectRead(operators, repeated);

        Bytes const array = randomElements(operators, arraySize, 4), values = randomElements(operators, n, 5);
        DeviceArray<unsigned char> in(values), out(array);
        operators.write(Arguments(repeated).arguments, out.data(), in.data());
        Bytes const written = out.values();
        auto const offsets = repeated.offsets();
        for (unsigned long i = 0; i < arraySize; ++i) {
            bool isSelected = false, isOneOfTheValues = false;
            for (unsigned long e = 0; e < n; ++e) {
                if (offsets[e] != i) continue;
                isSelected = true;
                isOneOfTheValues |= std::memcmp(&written[i * size], &values[e * size], size) == 0;
            }
            bool const isUnchanged = std::memcmp(&written[i * size], &array[i * size], size) == 0;
            EXPECT_TRUE(isSelected ? isOneOfTheValues : isUnchanged) << operators.name << " at " << i;
        }
    }
}

/// Limits of 1 and 3 blocks in one direction.
struct Limits {
    unsigned long x, y, z;
};

TEST(Subscripts, FoldAndStepWhereTheGridExceedsALimit) {
    for (Limits const limit : {Limits{1, 65535, 65535}, Limits{3, 65535, 65535}, Limits{65535, 1, 65535},
                               Limits{65535, 3, 65535}, Limits{65535, 65535, 1}, Limits{65535, 65535, 3}}) {
        SCOPED_TRACE(::testing::Message() << limit.x << ", " << limit.y << ", " << limit.z);
        testing::GridLimits const limits(limit.x, limit.y, limit.z);
        for (SelectionOperators const& operators : testing::selectionOperatorsOfEachCarrier()) {
            // Long rows, and several rows and pages to a block; more than 3 blocks each way.
            for (std::vector<unsigned long> const& counts :
                 {std::vector<unsigned long>{800, 5, 4}, std::vector<unsigned long>{20, 50, 4},
                  std::vector<unsigned long>{3, 4, 90}}) {
                SCOPED_TRACE(::testing::PrintToString(counts));
                if (operators.kinds.size() == 1 && limit.y * limit.z < 65535ul * 65535) continue;  // folds
                std::vector<unsigned long> dims;
                for (unsigned long count : counts) dims.push_back(count + 3);
                Selection const selection = randomSelection(operators.kinds, dims, counts, 9);
                expectRead(operators, selection);
                expectWritten(operators, selection);
                if (::testing::Test::HasFatalFailure()) return;
            }
        }
    }
}

TEST(Subscripts, VisitOnlyADiagonalWhereTwoDirectionsStep) {
    // 2 blocks of 256 by 3 rows on a grid of one block take 4 by 4 steps along the diagonal.
    testing::GridLimits const limits(1, 1);
    constexpr unsigned long rows = 512, cols = 3;
    DeviceArray<double> out(testing::Elements<double>(rows * cols, 0.0));
    SubsasgnScalar3D<double2, double2, void*>::Invoker<double>()(nullptr, rows * cols, out.data(), 7.0, rows,
                                                                 rows, double2{1, 1}, cols, cols,
                                                                 double2{1, 1}, 0, 0, nullptr);
    testing::Elements<double> expected(rows * cols, 0.0);
    for (unsigned long i = 0; i < 2; ++i) {
        std::fill_n(expected.begin() + static_cast<long>(i * rows + i * 256), 256, 7.0);
    }
    expectSameBits(expected, out.values());
}

template <class S1, class S2 = void*, class S3 = void*>
testing::Elements<double> read(testing::Elements<double> const& array, unsigned long dim1,
                               unsigned long count1, S1 slot1, unsigned long dim2 = 0,
                               unsigned long count2 = 1, S2 slot2 = {}, unsigned long count3 = 1,
                               S3 slot3 = {}) {
    DeviceArray<double> in(array), out(count1 * count2 * count3);
    typename Subsref3D<S1, S2, S3>::template Invoker<double>()(nullptr, out.size(), out.data(), in.data(),
                                                               dim1, count1, slot1, dim2, count2, slot2, 0,
                                                               count3, slot3);
    return out.values();
}

TEST(Subsref, OfTheDocumentedExample) {
    DeviceArray<double> rows({3, 1});
    expectSameBits({6, 4, 3, 1},
                   read<double const*, double2>({1, 2, 3, 4, 5, 6}, 3, 2, rows.data(), 2, 2, {2, -1}));
}

TEST(Subsasgn, OfTheDocumentedExample) {
    DeviceArray<double> rows({3, 1}), in({6, 4, 3, 1}), out({0, 0, 0, 0, 0, 0});
    Subsasgn3D<double const*, double2, void*>::Invoker<double>()(
        nullptr, 4, out.data(), in.data(), 3, 2, rows.data(), 2, 2, double2{2, -1}, 0, 0, nullptr);
    expectSameBits({1, 0, 3, 4, 0, 6}, out.values());
}

TEST(SubsasgnScalar, OfTheDocumentedExample) {
    DeviceArray<double> out({0, 0, 0, 0, 0, 0});
    SubsasgnScalar3D<double2, void*, void*>::Invoker<double>()(nullptr, 3, out.data(), 7.0, 0, 0,
                                                               double2{2, 2}, 0, 0, nullptr, 0, 0, nullptr);
    expectSameBits({0, 7, 0, 7, 0, 7}, out.values());
}

TEST(SubsasgnScalar, WritesAllBytesOfAValue) {
    DeviceArray<double2> out({{0, 0}, {0, 0}, {0, 0}});
    SubsasgnScalar3D<double2, void*, void*>::Invoker<double2>()(
        nullptr, 2, out.data(), double2{1.5, -0.0}, 0, 0, double2{3, -2}, 0, 0, nullptr, 0, 0, nullptr);
    expectSameBits({{1.5, -0.0}, {0, 0}, {1.5, -0.0}}, out.values());
}

TEST(Subsref, ReadsDownwards) {
    testing::Elements<double> array(12);
    std::iota(array.begin(), array.end(), 1.0);
    expectSameBits({10, 9, 8, 7, 6, 5, 4, 3, 2, 1}, read<double2>(array, 0, 10, {10, -1}));
}

TEST(Subsref, TruncatesFractionsOfIndices) {
    DeviceArray<double> index({2.9, 1.0, 3.999999999999999});
    expectSameBits({20, 10, 30}, read<double const*>({10, 20, 30, 40}, 0, 3, index.data()));
    // Both are truncated before the multiplication: 1, 2, 3.
    expectSameBits({10, 20, 30}, read<double2>({10, 20, 30, 40}, 0, 3, {1.5, 1.5}));
    expectSameBits({40, 30, 20}, read<double2>({10, 20, 30, 40}, 0, 3, {4.5, -1.5}));
}

TEST(Subsref, KeepsTheLow32BitsOfProgressions) {
    double const wrap = 4294967296.0;
    expectSameBits({20, 40}, read<double2>({10, 20, 30, 40}, 0, 2, {wrap + 2, wrap + 2}));
    expectSameBits({30, 20}, read<double2>({10, 20, 30, 40}, 0, 2, {3 - 5 * wrap, 3 * wrap - 1}));
    // Positions run from below 0 on through the wrap: 0 - 1 selects what is before the second column.
    expectSameBits({20, 30, 40}, read<double2, double2>({10, 20, 30, 40}, 2, 3, {0, 1}, 2, 1, {2, 1}));
}

TEST(Subsref, OffsetsWrap) {
    // 0, NaN and what is below saturate to 0, position 2^32 - 1: the element before the second column. 2^32
    // and above saturate to 2^32 - 1, position 2^32 - 2.
    DeviceArray<double> index({0, std::nan(""), -7, -INFINITY, 0.5, 1e300, INFINITY, 4294967296.0, 1});
    expectSameBits({20, 20, 20, 20, 20, 10, 10, 10, 30},
                   read<double const*, double2>({10, 20, 30, 40}, 2, 9, index.data(), 2, 1, {2, 1}));
    DeviceArray<double> page({2});
    expectSameBits({4}, read<double2, double2, double const*>({1, 2, 3, 4, 5, 6, 7, 8}, 2, 1, {0, 1}, 2, 1,
                                                              {1, 1}, 1, page.data()));
}

TEST(Subsref, ReadsNumelElementsThroughOneSlotWhateverTheCounts) {
    DeviceArray<double> in({1, 2, 3, 4}), out(3);
    Subsref3D<double2, void*, void*>::Invoker<double>()(nullptr, 3, out.data(), in.data(), 0, 0,
                                                        double2{1, 1}, 0, 0, nullptr, 0, 0, nullptr);
    expectSameBits({1, 2, 3}, out.values());
}

/// Copies the columns of a matrix of `rows` into those of another, from some row of either on.
void copyColumns(unsigned long numCols, unsigned long numBytes, Bytes& to, unsigned long toStride,
                 unsigned long toFirst, Bytes const& from, unsigned long fromStride,
                 unsigned long fromFirst) {
    for (unsigned long col = 0; col < numCols; ++col) {
        std::memcpy(&to[col * toStride + toFirst], &from[col * fromStride + fromFirst], numBytes);
    }
}

// Of large arrays what is written goes past the caches: whole lines of it, from any element on.
TEST(Subscripts, OfLargeSelectionsWriteWholeLinesAndEdges) {
    struct Case {
        unsigned long elementSize, rows, cols;
    };
    for (Case const c : {Case{8, 3'001, testing::largeCount<double>() / 3'001 + 8},
                         Case{16, 100, testing::largeCount<double2>() / 100 + 57}}) {
        // All rows but the first two and the last, which lie anywhere in a line; of vectors the order is that
        // of memory.
        constexpr unsigned long firstRow = 2;
        unsigned long const column = c.rows * c.elementSize, stride = column + 3 * c.elementSize;
        unsigned long const first = firstRow * c.elementSize;
        Bytes const array = testing::randomElements(c.elementSize, false, (c.rows + 3) * c.cols, 1);
        Bytes const values = testing::randomElements(c.elementSize, false, c.rows * c.cols, 2);
        Bytes selected(values.size()), withValues = array, withFirst = array, columnOfFirst(column);
        for (unsigned long i = 0; i < c.rows; ++i) copyElement(c.elementSize, columnOfFirst, i, values, 0);
        copyColumns(c.cols, column, selected, column, 0, array, stride, first);
        copyColumns(c.cols, column, withValues, stride, first, values, column, 0);
        copyColumns(c.cols, column, withFirst, stride, first, columnOfFirst, 0, 0);

        DeviceArray<unsigned char> in(array), dense(values), read(values.size());
        std::vector<double> rows(c.rows);
        std::iota(rows.begin(), rows.end(), firstRow + 1.0);
        for (SelectionOperators const& operators : testing::selectionOperatorsOfEachCarrier()) {
            // The second slot says no more than where a run of memory begins.
            if (operators.elementSize != c.elementSize || operators.kinds.size() != 2) continue;
            if (operators.kinds[1] != SlotKind::progression) continue;
            SCOPED_TRACE(operators.name);
            Arguments const call({operators.kinds,
                                  {c.rows + 3, c.cols},
                                  {{rows, {firstRow + 1, 1}, c.rows}, progression(1, 1, c.cols)}});
            read.set(values);
            operators.read(call.arguments, read.data(), in.data());
            expectSameBytes(selected, read.values());
            expectSameBytes(array, in.values());
            operators.write(call.arguments, in.data(), dense.data());
            expectSameBytes(withValues, in.values());
            expectSameBytes(values, dense.values());
            in.set(array);
            operators.writeValue(call.arguments, in.data(), values.data());
            expectSameBytes(withFirst, in.values());
            in.set(array);
            if (::testing::Test::HasFailure()) return;
        }
    }
}

TEST(Subscripts, RunOnAStream) {
    cudaStream_t stream = nullptr;
    ASSERT_EQ(cudaSuccess, cudaStreamCreate(&stream));
    DeviceArray<double> in({1, 2, 3, 4}), out(4);
    Subsref3D<double2, void*, void*>::Invoker<double>()(stream, 4, out.data(), in.data(), 0, 0,
                                                        double2{4, -1}, 0, 0, nullptr, 0, 0, nullptr);
    expectSameBits({4, 3, 2, 1}, out.values());
    EXPECT_EQ(cudaSuccess, cudaStreamDestroy(stream));
}

}  // namespace
}  // namespace gpuruntime

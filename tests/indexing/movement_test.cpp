#include <gpuruntime/movement.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <typeinfo>
#include <vector>

#include "frame/complex.hpp"
#include "frame/type_lists.hpp"
#include "tests/support/bytes.hpp"
#include "tests/support/device_array.hpp"
#include "tests/support/device_limits.hpp"
#include "tests/support/large.hpp"
#include "tests/support/values.hpp"

namespace gpuruntime {
namespace {

using testing::Bytes;
using testing::copyElement;
using testing::DeviceArray;
using testing::expectSameBits;
using testing::expectSameBytes;
using Extents = std::vector<unsigned long>;

/// The dense families for one element type, as functions on bytes.
struct Movement {
    using Move = void (*)(void* out, void const* in, Extents const&);
    using MoveDiagonal = void (*)(void* out, void const* in, unsigned long leadingDim, long k,
                                  unsigned long length);
    using Clear = void (*)(void* data, long k, unsigned long rows, unsigned long cols);
    std::string name;
    unsigned long elementSize;
    bool isBool;
    Bytes one;
    Move repmatColumnVector, repmatRowVector, repmatMatrixRows, rot90, rot90Counter;
    MoveDiagonal diagVecToMat, diagMatToVec;
    Clear triLower, triUpper, triLowerOneOnDiag;
};

template <class Family, class T>
void moveTwo(void* out, void const* in, Extents const& e) {
    typename Family::template Invoker<T>()(nullptr, static_cast<T*>(out), static_cast<T const*>(in), e[0],
                                           e[1]);
}
template <class Family, class T>
void moveThree(void* out, void const* in, Extents const& e) {
    typename Family::template Invoker<T>()(nullptr, static_cast<T*>(out), static_cast<T const*>(in), e[0],
                                           e[1], e[2]);
}
template <class T, bool clockwise>
void turn(void* out, void const* in, Extents const& e) {
    Rot90::Invoker<T>()(nullptr, static_cast<T*>(out), static_cast<T const*>(in), e[0], e[1], e[2],
                        clockwise);
}
template <class Family, class T>
void moveDiagonal(void* out, void const* in, unsigned long leadingDim, long k, unsigned long length) {
    typename Family::template Invoker<T>()(nullptr, static_cast<T*>(out), static_cast<T const*>(in),
                                           leadingDim, k, length);
}
template <class Family, class T>
void clear(void* data, long k, unsigned long rows, unsigned long cols) {
    typename Family::template Invoker<T>()(nullptr, static_cast<T*>(data), k, rows, cols);
}

template <class T>
Bytes oneOf() {
    T one{};
    if constexpr (internal::isComplex<T>) {
        one.x = 1;
    } else {
        one = T(1);
    }
    Bytes bytes(sizeof(T));
    std::memcpy(bytes.data(), &one, sizeof(T));
    return bytes;
}

template <class T>
Movement movementOf() {
    return {typeid(T).name(),
            sizeof(T),
            std::is_same_v<T, bool>,
            oneOf<T>(),
            &moveTwo<RepmatColumnVector, T>,
            &moveThree<RepmatRowVector, T>,
            &moveThree<RepmatMatrixRows, T>,
            &turn<T, true>,
            &turn<T, false>,
            &moveDiagonal<DiagVecToMat, T>,
            &moveDiagonal<DiagMatToVec, T>,
            &clear<TriLower, T>,
            &clear<TriUpper, T>,
            &clear<TriLowerOneOnDiag, T>};
}

template <class... T>
std::vector<Movement> movementsOf(internal::TypeList<T...>) {
    return {movementOf<T>()...};
}

std::vector<Movement> const& movements() {
    static auto const all = movementsOf(internal::All{});
    return all;
}

std::vector<Movement> const& movementsOfEachCarrier() {
    static auto const all = movementsOf(internal::TypeList<bool, char2, float, double, double2>{});
    return all;
}

/// Runs `move` on random elements, of which `source(i)` is to be element `i` of the output.
template <class Source>
void expectMoved(Movement const& m, Movement::Move move, Extents const& extents, unsigned long inSize,
                 unsigned long outSize, Source source) {
    SCOPED_TRACE(m.name + " " + ::testing::PrintToString(extents));
    Bytes const elements = testing::randomElements(m.elementSize, m.isBool, inSize, 1);
    Bytes expected(outSize * m.elementSize);
    for (unsigned long i = 0; i < outSize; ++i) copyElement(m.elementSize, expected, i, elements, source(i));
    DeviceArray<unsigned char> in(elements), out(expected.size());
    move(out.data(), in.data(), extents);
    expectSameBytes(expected, out.values());
    expectSameBytes(elements, in.values());
}

void expectReplicated(Movement const& m, Extents const& e) {
    unsigned long const a = e[0], b = e[1], c = e[2];
    expectMoved(m, m.repmatColumnVector, e, a, a * b, [=](unsigned long i) { return i % a; });
    // As the operators take them: length, copies of rows, copies of columns.
    expectMoved(m, m.repmatRowVector, e, a, a * b * c, [=](unsigned long i) { return i / b % a; });
    // Rows, columns, copies.
    expectMoved(m, m.repmatMatrixRows, e, a * b, a * b * c,
                [=](unsigned long i) { return i % a + i / (a * c) * a; });
}

void expectTurned(Movement const& m, Extents const& e) {
    unsigned long const rows = e[0], cols = e[1], page = rows * cols, n = page * e[2];
    auto const source = [=](unsigned long i, unsigned long r, unsigned long c) {
        return i / page * page + r + c * rows;
    };
    // Element i of the output stands in row i % cols and column i % page / cols of its page.
    expectMoved(m, m.rot90, e, n, n,
                [=](unsigned long i) { return source(i, rows - 1 - i % page / cols, i % cols); });
    expectMoved(m, m.rot90Counter, e, n, n,
                [=](unsigned long i) { return source(i, i % page / cols, cols - 1 - i % cols); });
}

std::vector<Extents> const extents{{1, 1, 1},   {1, 7, 3},   {7, 1, 3},    {7, 3, 1},   {15, 16, 2},
                                   {16, 17, 3}, {17, 15, 2}, {31, 33, 1},  {64, 48, 2}, {255, 2, 3},
                                   {256, 3, 2}, {257, 2, 2}, {1000, 3, 2}, {3, 700, 2}, {2, 2, 300},
                                   {1, 600, 1}, {600, 1, 1}, {49, 97, 5}};

TEST(Replication, OfEveryTypeAndManyExtents) {
    for (Movement const& m : movements()) {
        for (Extents const& e : extents) expectReplicated(m, e);
    }
}

TEST(Rot90, OfEveryTypeAndManyExtents) {
    for (Movement const& m : movements()) {
        for (Extents const& e : extents) expectTurned(m, e);
    }
}

TEST(Rot90, OfEveryPlaceOfTheEdgeInATile) {
    for (Movement const& m : movementsOfEachCarrier()) {
        for (unsigned long rows = 1; rows <= 33; ++rows) expectTurned(m, {rows, 49 - rows, 2});
    }
}

/// The offset of the `i`-th element of a diagonal.
unsigned long diagonalOffset(unsigned long leadingDim, long k, unsigned long i) {
    auto const row = k < 1 ? static_cast<long>(i) - k : static_cast<long>(i);
    auto const column = k < 1 ? static_cast<long>(i) : static_cast<long>(i) + k;
    return static_cast<unsigned long>(row) + static_cast<unsigned long>(column) * leadingDim;
}

void expectDiagonalMoved(Movement const& m, unsigned long rows, unsigned long cols, long k) {
    SCOPED_TRACE(m.name + ::testing::PrintToString(Extents{rows, cols}) + std::to_string(k));
    unsigned long const first = static_cast<unsigned long>(k < 0 ? -k : k);
    unsigned long const left = k < 0 ? rows - first : rows, right = k < 0 ? cols : cols - first;
    unsigned long const length = std::min(left, right);
    Bytes const matrix = testing::randomElements(m.elementSize, m.isBool, rows * cols, 2);
    Bytes const vector = testing::randomElements(m.elementSize, m.isBool, length, 3);
    Bytes expectedVector(vector.size()), expectedMatrix = matrix;
    for (unsigned long i = 0; i < length; ++i) {
        copyElement(m.elementSize, expectedVector, i, matrix, diagonalOffset(rows, k, i));
        copyElement(m.elementSize, expectedMatrix, diagonalOffset(rows, k, i), vector, i);
    }
    DeviceArray<unsigned char> from(matrix), to(matrix), in(vector), out(vector.size());
    m.diagMatToVec(out.data(), from.data(), rows, k, length);
    m.diagVecToMat(to.data(), in.data(), rows, k, length);
    expectSameBytes(expectedVector, out.values());
    expectSameBytes(expectedMatrix, to.values());
    expectSameBytes(matrix, from.values());
    expectSameBytes(vector, in.values());
}

TEST(Diagonals, OfEveryTypeAndEveryNumber) {
    for (Movement const& m : movements()) {
        for (long k = -5; k <= 6; ++k) expectDiagonalMoved(m, 6, 7, k);
        for (long const k : {-299l, -1l, 0l, 1l, 255l}) expectDiagonalMoved(m, 300, 256, k);
        expectDiagonalMoved(m, 1, 9, 4);
        expectDiagonalMoved(m, 9, 1, -4);
    }
}

struct Triangle {
    Movement::Clear clear;
    bool upper, ones;
};

void expectCleared(Movement const& m, unsigned long rows, unsigned long cols, long k) {
    SCOPED_TRACE(m.name + ::testing::PrintToString(Extents{rows, cols}) + std::to_string(k));
    Bytes const matrix = testing::randomElements(m.elementSize, m.isBool, rows * cols, 4);
    Bytes const zero(m.elementSize, 0);
    for (Triangle const t : {Triangle{m.triLower, false, false}, Triangle{m.triUpper, true, false},
                             Triangle{m.triLowerOneOnDiag, false, true}}) {
        Bytes expected = matrix;
        for (unsigned long c = 0; c < cols; ++c) {
            for (unsigned long r = 0; r < rows; ++r) {
                long const below = static_cast<long>(r) - (static_cast<long>(c) - k);
                if (t.upper ? below > 0 : below < 0)
                    copyElement(m.elementSize, expected, r + c * rows, zero, 0);
                if (t.ones && below == 0) copyElement(m.elementSize, expected, r + c * rows, m.one, 0);
            }
        }
        DeviceArray<unsigned char> data(matrix);
        t.clear(data.data(), k, rows, cols);
        expectSameBytes(expected, data.values());
    }
}

TEST(Triangles, OfEveryTypeAndEveryDiagonal) {
    for (Movement const& m : movements()) {
        for (long k = -7; k <= 8; ++k) expectCleared(m, 5, 6, k);
        for (long const k : {-300l, -256l, -1l, 0l, 1l, 44l}) {
            expectCleared(m, 300, 45, k);
            expectCleared(m, 17, 300, k);
        }
        expectCleared(m, 1, 20, 3);
        expectCleared(m, 20, 1, -3);
    }
}

struct GridCase {
    unsigned long x, y, z;
};

TEST(Movement, StepsWhereTheGridExceedsALimit) {
    for (GridCase const g :
         {GridCase{1, 65535, 65535}, GridCase{3, 65535, 65535}, GridCase{65535, 1, 65535},
          GridCase{65535, 3, 65535}, GridCase{65535, 65535, 1}, GridCase{65535, 65535, 3}}) {
        SCOPED_TRACE(::testing::Message() << g.x << ", " << g.y << ", " << g.z);
        testing::GridLimits const limits(g.x, g.y, g.z);
        for (Movement const& m : movementsOfEachCarrier()) {
            for (Extents const& e :
                 {Extents{600, 5, 6}, Extents{5, 600, 9}, Extents{50, 60, 20}, Extents{9, 9, 999}}) {
                expectTurned(m, e);
                // The 3-D walk covers arrays that are too large in one direction.
                expectMoved(m, m.repmatMatrixRows, e, e[0] * e[1], e[0] * e[1] * e[2],
                            [&](unsigned long i) { return i % e[0] + i / (e[0] * e[2]) * e[0]; });
                if (g.z < 65535) continue;
                expectMoved(m, m.repmatColumnVector, e, e[0], e[0] * e[1],
                            [&](unsigned long i) { return i % e[0]; });
                expectCleared(m, e[0], e[1], -3);
                if (g.y == 65535) expectDiagonalMoved(m, e[0] + 600, e[1] + 600, 2);
            }
        }
    }
}

// Of large arrays what is written goes past the caches: whole lines of it, from any element on.
TEST(Movement, OfLargeArraysWritesWholeLinesAndEdges) {
    for (Movement const& m : movementsOfEachCarrier()) {
        if (m.elementSize < sizeof(float)) continue;  // 64 million elements take long
        unsigned long const n = testing::largeCount<unsigned char>() / m.elementSize;
        expectMoved(m, m.repmatColumnVector, {999, n / 999 + 1}, 999, 999 * (n / 999 + 1),
                    [](unsigned long i) { return i % 999; });
        expectMoved(m, m.repmatColumnVector, {1001, n / 1001 + 1}, 1001, 1001 * (n / 1001 + 1),
                    [](unsigned long i) { return i % 1001; });
        unsigned long const cols = n / 4096 + 1;
        expectTurned(m, {4096, cols, 1});
        expectCleared(m, 5001, n / 5001 + 1, -7);
    }
}

TEST(Movement, LaunchesNothingWithoutElements) {
    DeviceArray<unsigned char> in(160), out(160);
    for (Movement const& m : movements()) {
        for (Extents const& e : {Extents{0, 2, 2}, Extents{2, 0, 2}, Extents{2, 2, 0}}) {
            if (e[2] != 0) m.repmatColumnVector(out.data(), in.data(), e);
            for (auto const move : {m.repmatRowVector, m.repmatMatrixRows, m.rot90, m.rot90Counter}) {
                move(out.data(), in.data(), e);
            }
        }
        m.diagMatToVec(out.data(), in.data(), 3, 1, 0);
        m.diagVecToMat(out.data(), in.data(), 3, 1, 0);
        for (auto const clear : {m.triLower, m.triUpper, m.triLowerOneOnDiag}) {
            clear(out.data(), 0, 0, 3);
            clear(out.data(), 0, 3, 0);
        }
    }
    EXPECT_EQ(cudaSuccess, cudaGetLastError());
    EXPECT_TRUE(out.untouched());
}

template <class Call>
testing::Elements<double> moved(testing::Elements<double> const& values, unsigned long outSize, Call call) {
    DeviceArray<double> in(values), out(testing::Elements<double>(outSize, 0.0));
    call(out.data(), in.data());
    return out.values();
}

TEST(Replication, OfTheDocumentedExamples) {
    expectSameBits({1, 2, 1, 2, 1, 2}, moved({1, 2}, 6, [](double* out, double* in) {
                       RepmatColumnVector::Invoker<double>()(nullptr, out, in, 2, 3);
                   }));
    expectSameBits({1, 1, 2, 2, 1, 1, 2, 2}, moved({1, 2}, 8, [](double* out, double* in) {
                       RepmatRowVector::Invoker<double>()(nullptr, out, in, 2, 2, 2);
                   }));
    expectSameBits({1, 2, 1, 2, 3, 4, 3, 4}, moved({1, 2, 3, 4}, 8, [](double* out, double* in) {
                       RepmatMatrixRows::Invoker<double>()(nullptr, out, in, 2, 2, 2);
                   }));
}

TEST(Rot90, OfTheDocumentedExample) {
    expectSameBits({2, 4, 6, 1, 3, 5}, moved({1, 2, 3, 4, 5, 6}, 6, [](double* out, double* in) {
                       Rot90::Invoker<double>()(nullptr, out, in, 2, 3, 1, true);
                   }));
    expectSameBits({5, 3, 1, 6, 4, 2}, moved({1, 2, 3, 4, 5, 6}, 6, [](double* out, double* in) {
                       Rot90::Invoker<double>()(nullptr, out, in, 2, 3, 1, false);
                   }));
}

TEST(Rot90, TurnsARowIntoAColumnOnEachPage) {
    // Two pages of one row of three.
    auto const turned = [](bool clockwise) {
        return moved({1, 2, 3, 4, 5, 6}, 6, [=](double* out, double* in) {
            Rot90::Invoker<double>()(nullptr, out, in, 1, 3, 2, clockwise);
        });
    };
    expectSameBits({1, 2, 3, 4, 5, 6}, turned(true));
    expectSameBits({3, 2, 1, 6, 5, 4}, turned(false));
}

TEST(Diagonals, OfTheDocumentedExamples) {
    auto const matrixOf = [](long k) {
        return moved({1, 2}, 9, [=](double* out, double* in) {
            DiagVecToMat::Invoker<double>()(nullptr, out, in, 3, k, 2);
        });
    };
    expectSameBits({1, 0, 0, 0, 2, 0, 0, 0, 0}, matrixOf(0));
    expectSameBits({0, 1, 0, 0, 0, 2, 0, 0, 0}, matrixOf(-1));
    expectSameBits({0, 0, 0, 1, 0, 0, 0, 2, 0}, matrixOf(1));
    expectSameBits({2, 6}, moved({1, 2, 3, 4, 5, 6, 7, 8, 9}, 2, [](double* out, double* in) {
                       DiagMatToVec::Invoker<double>()(nullptr, out, in, 3, -1, 2);
                   }));
}

TEST(Triangles, OfTheDocumentedExamples) {
    auto const cleared = [](auto family) {
        DeviceArray<double> data({1, 2, 3, 4, 5, 6});
        typename decltype(family)::template Invoker<double>()(nullptr, data.data(), 0, 2, 3);
        return data.values();
    };
    expectSameBits({1, 2, 0, 4, 0, 0}, cleared(TriLower{}));
    expectSameBits({1, 0, 3, 4, 5, 6}, cleared(TriUpper{}));
    expectSameBits({1, 2, 0, 1, 0, 0}, cleared(TriLowerOneOnDiag{}));
}

TEST(Diagonals, TakeTheirNumberAndTheLeadingDimensionModulo2ToThe32) {
    unsigned long const leadingDim = (1ul << 32) + 3;
    for (long const k : {(1l << 32) + 1, 1 - (1l << 32)}) {
        expectSameBits({0, 0, 0, 1, 0, 0, 0, 2, 0}, moved({1, 2}, 9, [=](double* out, double* in) {
                           DiagVecToMat::Invoker<double>()(nullptr, out, in, leadingDim, k, 2);
                       }));
        expectSameBits({4, 8}, moved({1, 2, 3, 4, 5, 6, 7, 8, 9}, 2, [=](double* out, double* in) {
                           DiagMatToVec::Invoker<double>()(nullptr, out, in, leadingDim, k, 2);
                       }));
    }
}

TEST(Triangles, BeyondTheMatrixClearAllOrNothing) {
    testing::Elements<double> const matrix{1, 2, 3, 4, 5, 6}, zeros(6, 0.0);
    auto const cleared = [&](auto family, long k) {
        DeviceArray<double> data(matrix);
        typename decltype(family)::template Invoker<double>()(nullptr, data.data(), k, 2, 3);
        return data.values();
    };
    expectSameBits(zeros, cleared(TriUpper{}, 4));
    expectSameBits(matrix, cleared(TriUpper{}, -3));
    for (long const k : {-3l, 4l}) {
        expectSameBits(k < 0 ? zeros : matrix, cleared(TriLower{}, k));
        expectSameBits(k < 0 ? zeros : matrix, cleared(TriLowerOneOnDiag{}, k));
    }
}

TEST(Triangles, TakeTheDiagonalsNumberModulo2ToThe32) {
    DeviceArray<double> data({1, 2, 3, 4, 5, 6});
    TriLower::Invoker<double>()(nullptr, data.data(), 1l << 32, 2, 3);
    expectSameBits({1, 2, 0, 4, 0, 0}, data.values());
}

// --- Sparse triangles ---

/// Rows of so many elements each, columns at random, which need neither be sorted nor different.
template <class T>
struct Sparse {
    std::vector<int> rowStarts{0}, rows, columns;
    testing::Elements<T> values;

    explicit Sparse(std::vector<int> const& rowLengths, unsigned int numCols = 50) {
        std::mt19937_64 engine(rowLengths.size());
        for (int const length : rowLengths) {
            rows.insert(rows.end(), static_cast<unsigned long>(length),
                        static_cast<int>(rowStarts.size()) - 1);
            rowStarts.push_back(rowStarts.back() + length);
        }
        for (unsigned long i = 0; i < rows.size(); ++i)
            columns.push_back(static_cast<int>(engine() % numCols));
        values = testing::mixedValues<T>(rows.size());
    }
};

template <class T>
void expectSparseCleared(Sparse<T> const& sparse, long k) {
    SCOPED_TRACE(k);
    auto lower = sparse.values, upper = sparse.values;
    for (unsigned long i = 0; i < sparse.values.size(); ++i) {
        long const below = sparse.rows[i] - (sparse.columns[i] - k);
        if (below < 0) lower[i] = T{};
        if (below > 0) upper[i] = T{};
    }
    DeviceArray<int> starts(sparse.rowStarts), columns(sparse.columns);
    DeviceArray<T> kept(sparse.values), keptUpper(sparse.values);
    unsigned long const numRows = sparse.rowStarts.size() - 1, nnz = sparse.values.size();
    typename TriLowerSparse::Invoker<T>()(nullptr, starts.data(), columns.data(), kept.data(), numRows, nnz,
                                          k);
    typename TriUpperSparse::Invoker<T>()(nullptr, starts.data(), columns.data(), keptUpper.data(), numRows,
                                          nnz, k);
    expectSameBits(lower, kept.values());
    expectSameBits(upper, keptUpper.values());
    expectSameBits(sparse.rowStarts, starts.values());
    expectSameBits(sparse.columns, columns.values());
}

template <class T>
void expectSparseClearedInManyShapes() {
    std::vector<int> even(100, 3), skewed(200, 0), random;
    skewed[3] = 700;
    skewed[199] = 2;
    std::mt19937_64 engine(5);
    for (int row = 0; row < 300; ++row) random.push_back(static_cast<int>(engine() % 3 * (engine() % 9)));
    for (auto const& lengths :
         {even, skewed, random, std::vector<int>{1}, std::vector<int>{0, 0, 5, 0, 0, 0},
          std::vector<int>{6, 0, 0, 0}, std::vector<int>{0, 0, 0, 1}, std::vector<int>{900}}) {
        Sparse<T> const sparse(lengths);
        for (long const k : {-400l, -5l, -1l, 0l, 1l, 20l, 400l}) expectSparseCleared(sparse, k);
    }
}

TEST(SparseTriangles, OfEvenEmptyAndSkewedRows) {
    expectSparseClearedInManyShapes<double>();
    expectSparseClearedInManyShapes<double2>();
}

TEST(SparseTriangles, FoldWhereTheGridExceedsALimit) {
    testing::GridLimits const limits(2);
    expectSparseCleared(Sparse<double>(std::vector<int>(700, 2)), 1);
}

TEST(SparseTriangles, PassOverEmptyRows) {
    // Elements in rows 1 and 4 of 6, each in columns 0 and 5.
    DeviceArray<int> starts({0, 0, 2, 2, 2, 4, 4}), columns({0, 5, 0, 5});
    DeviceArray<double> lower({1, 2, 3, 4}), upper({1, 2, 3, 4});
    TriLowerSparse::Invoker<double>()(nullptr, starts.data(), columns.data(), lower.data(), 6, 4, 1);
    TriUpperSparse::Invoker<double>()(nullptr, starts.data(), columns.data(), upper.data(), 6, 4, -1);
    expectSameBits({1, 0, 3, 4}, lower.values());
    expectSameBits({1, 2, 0, 4}, upper.values());
}

TEST(SparseTriangles, OfTheDocumentedExample) {
    DeviceArray<int> starts({0, 2, 4}), columns({0, 1, 0, 1});
    DeviceArray<double> lower({1, 2, 3, 4}), upper({1, 2, 3, 4});
    TriLowerSparse::Invoker<double>()(nullptr, starts.data(), columns.data(), lower.data(), 2, 4, 0);
    TriUpperSparse::Invoker<double>()(nullptr, starts.data(), columns.data(), upper.data(), 2, 4, 0);
    expectSameBits({1, 0, 3, 4}, lower.values());
    expectSameBits({1, 2, 0, 4}, upper.values());
}

TEST(Movement, RunsOnAStream) {
    cudaStream_t stream = nullptr;
    ASSERT_EQ(cudaSuccess, cudaStreamCreate(&stream));
    DeviceArray<float> in({1, 2, 3, 4, 5, 6}), out(6);
    Rot90::Invoker<float>()(stream, out.data(), in.data(), 2, 3, 1, true);
    TriUpper::Invoker<float>()(stream, out.data(), 0, 3, 2);
    expectSameBits({2, 0, 0, 1, 3, 0}, out.values());
    EXPECT_EQ(cudaSuccess, cudaStreamDestroy(stream));
}

}  // namespace
}  // namespace gpuruntime

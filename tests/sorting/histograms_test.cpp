#include <gpuruntime/histograms.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "frame/type_lists.hpp"
#include "tests/support/device_array.hpp"
#include "tests/support/device_limits.hpp"
#include "tests/support/test_types.hpp"
#include "tests/support/values.hpp"

namespace gpuruntime {
namespace {

using testing::DeviceArray;
using testing::expectSameBits;
using Counts = std::vector<unsigned int>;
using Doubles = std::vector<double>;

struct Shape {
    unsigned long columns, rows, pages;
    unsigned long size() const { return columns * rows * pages; }
};

/// The zero-based bin by the list of edges, or their number.
template <class T>
unsigned long binByList(T x, std::vector<T> const& edges) {
    unsigned long bin = edges.size();
    if (x <= edges.back()) {
        for (unsigned long e = 0; e < edges.size(); ++e) bin = edges[e] <= x ? e : bin;
    }
    return bin;
}

/// The same by the first and the last of `numBins` even edges.
template <class T>
unsigned long binByRange(T x, T firstEdge, T lastEdge, unsigned long numBins) {
    double const range = double(lastEdge) - double(firstEdge);
    double const scale = range == 0 ? 0 : static_cast<double>(numBins - 1) / range;
    T const first = firstEdge, perUnit = static_cast<T>(scale);
    if (perUnit == 0) return x == first ? numBins - 1 : numBins;
    T const difference = x - first, p = difference * perUnit;
    if (std::isnan(p) || std::signbit(p) || std::ceil(p) >= static_cast<T>(numBins)) return numBins;
    return static_cast<unsigned long>(std::floor(p));
}

/// Counts on top of what is there, and the bin indices.
template <class T, class BinOf>
void countPlainly(Shape shape, unsigned long numBins, std::vector<T> const& data, BinOf binOf, Counts& counts,
                  Doubles& indices) {
    for (unsigned long i = 0; i < data.size(); ++i) {
        unsigned long const bin = binOf(data[i]);
        indices.push_back(bin < numBins ? static_cast<double>(bin + 1) : 0.0);
        unsigned long const page = i / (shape.columns * shape.rows), column = i % shape.columns;
        if (bin < numBins) ++counts[(page * numBins + bin) * shape.columns + column];
    }
}

/// Calls a family with and without bin indices, on counts that are not 0, and compares it with plain
/// counting. `edges` may be null, and then the device has them.
template <class Family, class T, class BinOf>
void expectCounted(Shape shape, unsigned long numBins, std::vector<T> const& data, T const* edges,
                   BinOf binOf) {
    SCOPED_TRACE(::testing::Message() << shape.columns << " columns, " << shape.rows << " rows, "
                                      << shape.pages << " pages, " << numBins << " bins");
    Counts expected(numBins * shape.columns * shape.pages, 7);
    Doubles expectedIndices;
    DeviceArray<unsigned int> counts(expected), countsAlone(expected);
    countPlainly(shape, numBins, data, binOf, expected, expectedIndices);
    DeviceArray<T> in(data);
    DeviceArray<double> indices(data.size());
    typename Family::template Invoker<T> const family;
    EXPECT_EQ(cudaSuccess, family(nullptr, counts.data(), indices.data(), in.data(), edges, numBins,
                                  shape.columns, shape.rows, shape.pages));
    EXPECT_EQ(cudaSuccess, family(nullptr, countsAlone.data(), nullptr, in.data(), edges, numBins,
                                  shape.columns, shape.rows, shape.pages));
    expectSameBits(expected, counts.values());
    expectSameBits(expected, countsAlone.values());
    expectSameBits(expectedIndices, indices.values());
    expectSameBits(data, in.values());
}

template <class T>
void expectCountedByList(Shape shape, std::vector<T> const& edges, std::vector<T> const& data) {
    DeviceArray<T> list(edges);
    expectCounted<HistCGeneralForm>(shape, edges.size(), data, list.data(),
                                    [&](T x) { return binByList(x, edges); });
    expectSameBits(edges, list.values());
}

template <class T>
void expectCountedByRange(Shape shape, T first, T last, unsigned long numBins, std::vector<T> const& data) {
    T const edges[] = {first, last};
    expectCounted<HistCColonForm>(shape, numBins, data, edges,
                                  [&](T x) { return binByRange(x, first, last, numBins); });
}

/// Uneven edges between -1 and 1, now and then twice the same.
template <class T>
std::vector<T> unevenEdges(unsigned long n) {
    std::vector<T> edges;
    for (unsigned long e = 0; e < n; ++e) {
        T const even = n == 1 ? T(0) : T(2) * T(e) / T(n - 1) - 1;
        edges.push_back(e % 7 == 3 ? edges.back() : even * std::abs(even));
    }
    std::sort(edges.begin(), edges.end());
    return edges;
}

/// Values between -1.1 and 1.1, some of them edges and some special.
template <class T>
std::vector<T> valuesAround(std::vector<T> const& edges, unsigned long n) {
    std::mt19937_64 engine(n);
    std::uniform_real_distribution<double> uniform(-1.1, 1.1);
    auto const special = testing::specialReals<T>();
    std::vector<T> values(n);
    for (T& value : values) {
        auto const kind = engine() % 10;
        value = kind < 7   ? static_cast<T>(uniform(engine))
                : kind < 9 ? edges[engine() % edges.size()]
                           : special[engine() % special.size()];
    }
    return values;
}

template <class T>
void expectBothCounted(Shape shape, unsigned long numBins) {
    auto const edges = unevenEdges<T>(numBins);
    auto const data = valuesAround(edges, shape.size());
    expectCountedByList(shape, edges, data);
    expectCountedByRange(shape, T(-1), T(1), numBins, data);
}

template <class T>
class HistogramOf : public ::testing::Test {};
TYPED_TEST_SUITE(HistogramOf, testing::TestTypes<internal::FloatingReal>);

TYPED_TEST(HistogramOf, OfManyShapes) {
    for (unsigned long const columns : {1ul, 2ul, 3ul, 15ul, 16ul, 17ul, 40ul}) {
        for (unsigned long const rows : {1ul, 15ul, 17ul, 84ul, 86ul, 255ul, 257ul, 600ul}) {
            for (unsigned long const pages : {1ul, 3ul}) {
                expectBothCounted<TypeParam>({columns, rows, pages}, 10);
            }
        }
    }
}

TYPED_TEST(HistogramOf, OfAsManyBinsAsSharedMemoryHolds) {
    for (unsigned long const columns : {1ul, 3ul, 16ul, 20ul}) {
        unsigned long const width = std::min(columns, 16ul), size = 1792;
        for (unsigned long const most :
             {size / (4 * width), size / (4 * width + sizeof(TypeParam)), size / sizeof(TypeParam), 1000ul}) {
            for (unsigned long numBins = most - 1; numBins <= most + 1; ++numBins) {
                expectBothCounted<TypeParam>({columns, 300, 2}, numBins);
            }
        }
    }
}

TYPED_TEST(HistogramOf, OfFewBins) {
    for (unsigned long numBins = 1; numBins <= 9; ++numBins) {
        expectBothCounted<TypeParam>({5, 200, 1}, numBins);
    }
}

TYPED_TEST(HistogramOf, MoreRowsThanFiveHundredBlocksHaveAreWalked) {
    expectBothCounted<TypeParam>({1, 500 * 256 + 1, 1}, 500);
    for (unsigned long const rows : {500 * 256ul, 3 * 500 * 256ul + 77}) {
        expectBothCounted<TypeParam>({1, rows, 1}, 12);
    }
    expectBothCounted<TypeParam>({17, 500 * 16 + 1, 2}, 12);
    expectBothCounted<TypeParam>({17, 2 * 500 * 16 + 5, 1}, 40);
}

TYPED_TEST(HistogramOf, StepsAndPagesWhereTheGridExceedsALimit) {
    for (auto const& [x, y, z] : {std::tuple{1ul, 65535ul, 65535ul}, std::tuple{65535ul, 2ul, 65535ul},
                                  std::tuple{65535ul, 65535ul, 1ul}, std::tuple{65535ul, 65535ul, 2ul},
                                  std::tuple{2ul, 65535ul, 2ul}, std::tuple{65535ul, 3ul, 1ul}}) {
        testing::GridLimits const limits(x, y, z);
        for (unsigned long const numBins : {20ul, 200ul, 600ul}) {
            expectBothCounted<TypeParam>({40, 100, 3}, numBins);
            expectBothCounted<TypeParam>({2, 2000, 1}, numBins);
        }
    }
}

TYPED_TEST(HistogramOf, EveryElementOfOneBinIsCounted) {
    using T = TypeParam;
    std::vector<T> const same(70000, T(0.25));
    expectCountedByList({1, 70000, 1}, std::vector<T>{0, 1}, same);
    expectCountedByRange({7, 10000, 1}, T(0), T(1), 3, same);
    expectCountedByRange({1, 70000, 1}, T(0), T(1), 3000, same);
}

TYPED_TEST(HistogramOf, ByListAtEveryEdgeAndItsNeighbours) {
    using T = TypeParam;
    T const infinity = std::numeric_limits<T>::infinity();
    for (auto const& edges :
         {std::vector<T>{0, 1, 2}, std::vector<T>{-3, -T(0), T(0), T(1e-3), 5, 5, 5, 7},
          std::vector<T>{-infinity, -1, 0, infinity}, std::vector<T>{2}, std::vector<T>{2, 2, 2},
          std::vector<T>{std::numeric_limits<T>::lowest(), std::numeric_limits<T>::denorm_min(),
                         std::numeric_limits<T>::max()}}) {
        std::vector<T> data = testing::specialReals<T>();
        for (T const edge : edges) {
            data.insert(data.end(), {std::nextafter(edge, -infinity), edge, std::nextafter(edge, infinity)});
        }
        expectCountedByList({1, data.size(), 1}, edges, data);
    }
}

TYPED_TEST(HistogramOf, ByRangeAtEveryEdgeAndItsNeighbours) {
    using T = TypeParam;
    T const infinity = std::numeric_limits<T>::infinity();
    // With the first edge 0 and a power of two between edges nothing is rounded, and the bin is exact.
    for (T const distance : {T(1), T(0.125), T(64)}) {
        unsigned long const numBins = 11;
        std::vector<T> data, edges;
        for (unsigned long e = 0; e < numBins; ++e) {
            T const edge = distance * T(e);
            edges.push_back(edge);
            data.insert(data.end(), {std::nextafter(edge, -infinity), edge, std::nextafter(edge, infinity)});
        }
        for (T const special : testing::specialReals<T>()) {
            if (special != 0) data.push_back(special);
        }
        T const ends[] = {edges.front(), edges.back()};
        expectCounted<HistCColonForm>({1, data.size(), 1}, numBins, data, ends,
                                      [&](T x) { return binByList(x, edges); });
    }
    // Elsewhere each operation rounds as written.
    for (auto const& [first, last, numBins] :
         {std::tuple{T(0.1), T(0.9), 9ul}, std::tuple{T(-1e6), T(3), 1000ul}, std::tuple{T(1), T(1), 5ul},
          std::tuple{T(3), T(-3), 7ul}, std::tuple{T(1), T(2), 1ul}, std::tuple{T(0), infinity, 4ul},
          std::tuple{std::numeric_limits<T>::lowest(), std::numeric_limits<T>::max(), 6ul},
          std::tuple{std::numeric_limits<T>::quiet_NaN(), T(1), 6ul},
          std::tuple{T(0), std::numeric_limits<T>::denorm_min(), 3ul}}) {
        std::vector<T> data = testing::specialReals<T>();
        for (unsigned long e = 0; e < numBins; ++e) {
            T const edge = first + (last - first) * T(e) / T(numBins);
            data.insert(data.end(), {std::nextafter(edge, -infinity), edge, std::nextafter(edge, infinity)});
        }
        expectCountedByRange({1, data.size(), 1}, first, last, numBins, data);
    }
}

TEST(Histogram, ByListOfTheExample) {
    DeviceArray<double> data({0.5, 2, 2.5, -1, NAN}), edges({0, 1, 2}), indices(5);
    DeviceArray<unsigned int> counts({0, 0, 0});
    HistCGeneralForm::Invoker<double>()(nullptr, counts.data(), indices.data(), data.data(), edges.data(), 3,
                                        1, 5, 1);
    expectSameBits(Doubles{1, 3, 0, 0, 0}, indices.values());
    expectSameBits(Counts{1, 0, 1}, counts.values());
}

TEST(Histogram, ByRangeOfTheExample) {
    DeviceArray<double> data({0, 9.5, 10, 10.5}), indices(4);
    DeviceArray<unsigned int> counts(Counts(11, 0));
    double const edges[] = {0, 10};
    HistCColonForm::Invoker<double>()(nullptr, counts.data(), indices.data(), data.data(), edges, 11, 1, 4,
                                      1);
    expectSameBits(Doubles{1, 10, 11, 0}, indices.values());
    expectSameBits(Counts{1, 0, 0, 0, 0, 0, 0, 0, 0, 1, 1}, counts.values());
}

TEST(Histogram, ByRangeOfEqualEdgesHasTheLastBinAlone) {
    DeviceArray<float> data({3, 4, NAN});
    DeviceArray<double> indices(3);
    DeviceArray<unsigned int> counts({5});
    float const edges[] = {3, 3};
    HistCColonForm::Invoker<float>()(nullptr, counts.data(), indices.data(), data.data(), edges, 1, 1, 3, 1);
    expectSameBits(Doubles{1, 0, 0}, indices.values());
    expectSameBits(Counts{6}, counts.values());
}

TEST(Histogram, ByRangeOfNegativeZeroHasNoBin) {
    DeviceArray<double> data({-0.0, 0.0}), indices(2);
    DeviceArray<unsigned int> counts({0, 0});
    double const edges[] = {0, 1};
    HistCColonForm::Invoker<double>()(nullptr, counts.data(), indices.data(), data.data(), edges, 2, 1, 2, 1);
    // The difference of equal zeros is +0, but that of -0 and +0 is -0.
    expectSameBits(Doubles{0, 1}, indices.values());
    expectSameBits(Counts{1, 0}, counts.values());
}

/// Of 2^24 + 2 bins the scale between 0 and 1 is 2^24 + 1, which is 2^24 as a `float`: then 1 is one bin
/// lower.
TEST(Histogram, ByRangeOfFloatsRoundsTheScale) {
    unsigned long const numBins = (1ul << 24) + 2;
    DeviceArray<float> data({0.5f, 1});
    DeviceArray<double> indices(2);
    DeviceArray<unsigned int> counts(Counts(numBins, 0));
    float const edges[] = {0, 1};
    HistCColonForm::Invoker<float>()(nullptr, counts.data(), indices.data(), data.data(), edges, numBins, 1,
                                     2, 1);
    expectSameBits(Doubles{(1 << 23) + 1, (1 << 24) + 1}, indices.values());
}

}  // namespace
}  // namespace gpuruntime

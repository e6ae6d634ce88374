// Imresize against a plain sum over taps in the same order of operations.

#include <gtest/gtest.h>
#include <gpuruntime/imresize.hpp>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "tests/support/device_array.hpp"
#include "tests/support/device_limits.hpp"
#include "tests/support/test_types.hpp"
#include "tests/support/values.hpp"

namespace gpuruntime {
namespace {

using testing::DeviceArray;

struct Size {
    unsigned long rows, cols;
    unsigned long elements() const { return rows * cols; }
};

/// What a call of `Imresize` is given besides arrays.
struct Resize {
    Size in, out;
    unsigned long numPlanes;
    double scaleRows, scaleCols;
};

std::ostream& operator<<(std::ostream& stream, Resize const& r) {
    return stream << r.in.rows << " by " << r.in.cols << " to " << r.out.rows << " by " << r.out.cols << ", "
                  << r.numPlanes << " planes, scales " << r.scaleRows << " and " << r.scaleCols;
}

/// The cubic of a distance.
float cubic(double x) {
    float const a = std::fabs(static_cast<float>(x));
    if (a <= 1) {
        float const cube = 1.5f * (a * a * a), square = 2.5f * (a * a);
        return (cube - square) + 1.0f;
    }
    if (a <= 2) {
        float const cube = -0.5f * (a * a * a), square = 2.5f * (a * a);
        return ((cube + square) - 4.0f * a) + 2.0f;
    }
    return 0;
}

/// An input position that counts for an output position, and how much.
struct Tap {
    unsigned long position;
    float weight;
};

std::vector<Tap> tapsOf(unsigned long i, unsigned long size, double scale, bool isWidened) {
    double const step = 1 / scale, u = step * (static_cast<double>(i) + 0.5) - 0.5;
    double const below = std::floor(u), fraction = u - below;
    long const first = isWidened ? std::lround(std::floor(-2 * step)) : -1;
    long const last = isWidened ? std::lround(std::ceil(2 * step)) : 2;
    std::vector<Tap> taps;
    for (long t = first; t <= last; ++t) {
        double const distance = static_cast<double>(t) - fraction;
        double const position =
            std::min(std::max(below + static_cast<double>(t), 0.0), static_cast<double>(size) - 1);
        taps.push_back(
            {static_cast<unsigned long>(position), cubic(isWidened ? scale * distance : distance)});
    }
    return taps;
}

template <class T>
std::vector<T> resized(Resize const& r, std::vector<T> const& in) {
    bool const isExpanding = r.scaleRows >= 1 && r.scaleCols >= 1;
    bool const isReducing = r.scaleRows < 1 && r.scaleCols < 1;
    auto const isWidened = [&](double scale) { return isReducing || (!isExpanding && !(1 / scale < 1)); };
    std::vector<std::vector<Tap>> rowTaps;
    for (unsigned long i = 0; i < r.out.rows; ++i) {
        rowTaps.push_back(tapsOf(i, r.in.rows, r.scaleRows, isWidened(r.scaleRows)));
    }
    std::vector<T> out;
    for (unsigned long p = 0; p < r.numPlanes; ++p) {
        for (unsigned long col = 0; col < r.out.cols; ++col) {
            auto const colTaps = tapsOf(col, r.in.cols, r.scaleCols, isWidened(r.scaleCols));
            for (unsigned long row = 0; row < r.out.rows; ++row) {
                T sum = 0, weights = 0;
                for (Tap const& c : colTaps) {
                    for (Tap const& t : rowTaps[row]) {
                        float const weight = t.weight * c.weight;
                        if (!isExpanding && weight == 0) continue;
                        T const product = static_cast<T>(weight) *
                                          in[(p * r.in.cols + c.position) * r.in.rows + t.position];
                        sum += product;
                        weights += static_cast<T>(weight);
                    }
                }
                out.push_back(isExpanding ? sum : sum / weights);
            }
        }
    }
    return out;
}

template <class T>
cudaError call(Resize const& r, T* out, T const* in) {
    return Imresize::Invoker<T>()(nullptr, out, in, r.in.rows, r.in.cols, r.out.rows, r.out.cols, r.numPlanes,
                                  r.scaleRows, r.scaleCols);
}

template <class T>
void expectSums(Resize const& r, std::vector<T> const& values) {
    SCOPED_TRACE(::testing::Message() << r);
    DeviceArray<T> in(values), out(r.out.elements() * r.numPlanes);
    ASSERT_EQ(cudaSuccess, call(r, out.data(), in.data()));
    testing::expectSameValues(resized(r, values), out.values());
    testing::expectSameBits(values, in.values());
}

template <class T>
void expectSums(Resize const& r) {
    expectSums<T>(r, testing::randomValues<T>(r.in.elements() * r.numPlanes));
}

template <class T>
class ImresizeOf : public ::testing::Test {};
TYPED_TEST_SUITE(ImresizeOf, testing::TestTypes<internal::FloatingReal>);

TYPED_TEST(ImresizeOf, ScalesOfAllKindsAreTheSums) {
    double const above = std::nextafter(1.0, 2.0), below = std::nextafter(1.0, 0.0);
    std::vector<double> const scales{1, above, below, 1.01, 0.99, 2, 0.5, 3.7, 0.3, 10, 0.1};
    for (double const scaleRows : scales) {
        for (double const scaleCols : scales) {
            auto const outOf = [](unsigned long in, double scale) {
                return static_cast<unsigned long>(std::ceil(static_cast<double>(in) * scale));
            };
            Size const in{23, 11};
            expectSums<TypeParam>(
                {in, {outOf(in.rows, scaleRows), outOf(in.cols, scaleCols)}, 1, scaleRows, scaleCols});
            if (this->HasFailure()) return;
        }
    }
}

TYPED_TEST(ImresizeOf, SizesAroundThoseOfBlocksAndTiles) {
    for (double const scale : {1.75, 0.6}) {
        for (unsigned long const rows : {1, 2, 7, 8, 9, 31, 33, 127, 255, 256, 257, 520}) {
            expectSums<TypeParam>({{40, 6}, {rows, 5}, 1, scale, scale});
        }
        for (unsigned long const cols : {1, 2, 15, 16, 17, 33, 150}) {
            expectSums<TypeParam>({{5, 40}, {3, cols}, 1, scale, scale});
            expectSums<TypeParam>({{5, 40}, {140, cols}, 1, scale, scale});
        }
    }
}

TYPED_TEST(ImresizeOf, PlanesAreResizedEach) {
    for (unsigned long numPlanes = 1; numPlanes <= 7; ++numPlanes) {
        expectSums<TypeParam>({{20, 13}, {37, 29}, numPlanes, 1.85, 2.2});
        expectSums<TypeParam>({{20, 13}, {9, 7}, numPlanes, 0.45, 0.55});
        expectSums<TypeParam>({{20, 13}, {30, 7}, numPlanes, 1.5, 0.55});
    }
}

TYPED_TEST(ImresizeOf, ManyTaps) {
    expectSums<TypeParam>({{300, 40}, {13, 3}, 1, 0.043, 0.07});
    expectSums<TypeParam>({{300, 40}, {13, 3}, 3, 0.043, 1.5});
    expectSums<TypeParam>({{3000, 2}, {9, 2}, 1, 0.003, 1});
    expectSums<TypeParam>({{900, 3}, {2, 2}, 1, 0.0007, 0.9});
    expectSums<TypeParam>({{2, 900}, {2, 2}, 1, 0.9, 0.0007});
}

TYPED_TEST(ImresizeOf, ScalesAreTakenAsGiven) {
    expectSums<TypeParam>({{20, 13}, {300, 40}, 1, 2, 3});
    expectSums<TypeParam>({{20, 13}, {300, 40}, 1, 0.5, 0.25});
    expectSums<TypeParam>({{20, 13}, {4, 3}, 1, 2, 0.9});
    // Far beyond the edges.
    expectSums<TypeParam>({{20, 13}, {9, 20}, 1, 1e-2, 1e300});
    expectSums<TypeParam>({{20, 13}, {300, 20}, 1, 1e300, 1});
}

TYPED_TEST(ImresizeOf, SpecialValuesSpreadAsFarAsTheirWeights) {
    for (std::size_t const spacing : {3, 40}) {
        std::vector<TypeParam> const values = testing::mixedValues<TypeParam>(30 * 20 * 3, spacing);
        expectSums<TypeParam>({{30, 20}, {60, 40}, 3, 2, 2}, values);
        expectSums<TypeParam>({{30, 20}, {15, 10}, 3, 0.5, 0.5}, values);
        expectSums<TypeParam>({{30, 20}, {30, 5}, 3, 1, 0.25}, values);
    }
}

TYPED_TEST(ImresizeOf, LargeImagesAreSteppedOver) {
    Resize const enlarging{{9, 7}, {1100, 33}, 3, 122.5, 4.7}, shrinking{{9, 70}, {700, 35}, 1, 0.9, 0.5};
    for (Resize const& resize : {enlarging, shrinking}) {
        {
            testing::GridLimits const limits(2);
            expectSums<TypeParam>(resize);
        }
        testing::GridLimits const limits(65535, 7);
        expectSums<TypeParam>(resize);
    }
}

TYPED_TEST(ImresizeOf, ImagesMayBeginAnywhereInMemory) {
    Resize const resize{{7, 5}, {14, 9}, 1, 2, 1.8};
    std::vector<TypeParam> const values = testing::randomValues<TypeParam>(7 * 5 + 200);
    DeviceArray<TypeParam> in(values);
    for (unsigned long const first : {1, 3, 64, 127, 199}) {
        DeviceArray<TypeParam> out(resize.out.elements());
        ASSERT_EQ(cudaSuccess, call<TypeParam>(resize, out.data(), in.data() + first));
        auto const begin = values.begin() + static_cast<long>(first);
        testing::expectSameBits(resized<TypeParam>(resize, {begin, begin + 35}), out.values());
    }
}

TYPED_TEST(ImresizeOf, AFactorOfOneIsTheIdentity) {
    using T = TypeParam;
    std::vector<T> const values = testing::randomValues<T>(300 * 17 * 2);
    DeviceArray<T> in(values), out(300 * 17 * 2);
    ASSERT_EQ(cudaSuccess, call<T>({{300, 17}, {300, 17}, 2, 1, 1}, out.data(), in.data()));
    testing::expectSameBits(values, out.values());
}

TYPED_TEST(ImresizeOf, AColumnIsInterpolated) {
    using T = TypeParam;
    DeviceArray<T> in{0, 4}, out(4);
    ASSERT_EQ(cudaSuccess, call<T>({{2, 1}, {4, 1}, 1, 2, 1}, out.data(), in.data()));
    testing::expectSameBits<T>({-0.28125, 0.8125, 3.1875, 4.28125}, out.values());
}

TYPED_TEST(ImresizeOf, OnePixelFillsTheResult) {
    using T = TypeParam;
    for (double const scale : {2.0, 0.5}) {
        DeviceArray<T> in{3, 5}, out(2 * 4 * 6);
        ASSERT_EQ(cudaSuccess, call<T>({{1, 1}, {4, 6}, 2, scale, scale}, out.data(), in.data()));
        std::vector<T> expected(2 * 4 * 6, 3);
        std::fill(expected.begin() + 4 * 6, expected.end(), T(5));
        testing::expectSameBits(expected, out.values());
    }
}

TYPED_TEST(ImresizeOf, AStepIsHalvedBetweenItsSides) {
    using T = TypeParam;
    // The weights at 0.25, 0.75, 1.25 and 1.75 times a half are 0.8671875, 0.2265625, -0.0703125, -0.0234375.
    DeviceArray<T> in{0, 0, 0, 0, 8, 8, 8, 8}, out(4);
    ASSERT_EQ(cudaSuccess, call<T>({{8, 1}, {4, 1}, 1, 0.5, 0.5}, out.data(), in.data()));
    testing::expectSameBits<T>({-0.09375, 0.53125, 7.46875, 8.09375}, out.values());
}

TYPED_TEST(ImresizeOf, WithoutAnOutputNothingIsWritten) {
    using T = TypeParam;
    DeviceArray<T> in{1, 2, 3, 4}, out(4);
    EXPECT_EQ(cudaSuccess, call<T>({{2, 2}, {0, 2}, 1, 1, 1}, out.data(), in.data()));
    EXPECT_EQ(cudaSuccess, call<T>({{2, 2}, {2, 0}, 1, 1, 1}, out.data(), in.data()));
    EXPECT_EQ(cudaSuccess, call<T>({{2, 2}, {2, 2}, 0, 1, 1}, out.data(), in.data()));
    EXPECT_TRUE(out.untouched());
}

TYPED_TEST(ImresizeOf, TexturesCanBeBoundByCallers) {
    using T = TypeParam;
    DeviceArray<T> in(std::vector<T>(2000));
    for (unsigned long const first : {0, 1, 5, 1000}) {
        unsigned long offset = 1 << 30;
        EXPECT_EQ(cudaSuccess, ::bind(&offset, static_cast<T const*>(in.data() + first), 100));
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(in.data() + first) % 512 / sizeof(T), offset);
    }
    EXPECT_EQ(cudaSuccess, ::bind<T>(nullptr, in.data(), 100));
    expectSums<T>({{4, 3}, {8, 6}, 1, 2, 2});
    EXPECT_EQ(cudaSuccess, ::unbind<T>());
    EXPECT_EQ(cudaSuccess, ::bind<T>(nullptr, in.data(), 100));
    EXPECT_EQ(cudaSuccess, ::unbind<T>());
    EXPECT_EQ(cudaSuccess, ::unbind<T>());
}

}  // namespace
}  // namespace gpuruntime

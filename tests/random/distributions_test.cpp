#include <gtest/gtest.h>
#include <gpuruntime/random.hpp>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "frame/type_lists.hpp"
#include "tests/random/reference.hpp"
#include "tests/support/device_array.hpp"
#include "tests/support/device_limits.hpp"
#include "tests/support/values.hpp"

namespace gpuruntime {
namespace {

using gpucommon::rand::MRG32K3AGenerator;
using gpucommon::rand::Philox4x32Generator;
using gpucommon::rand::ThreeFry4x64Generator;
using testing::DeviceArray;
using testing::Reference;
using testing::State;
using testing::streamOf;
using Doubles = std::vector<double>;

template <class T>
struct Type {
    using type = T;
};

template <class... T, class F>
void forTypes(internal::TypeList<T...>, F f) {
    (f(Type<T>{}), ...);
}

/// Calls the operator on `n` elements with a copy of the state, which must come back as it was.
template <class T, class Invoker, class... Bounds>
std::vector<T> elementsOf(Invoker const& invoker, State state, unsigned long n, Bounds... bounds) {
    State const before = state;
    DeviceArray<T> out(n);
    EXPECT_EQ(cudaSuccess, invoker(nullptr, out.data(), state.data(), bounds..., n));
    EXPECT_EQ(before, state);
    return out.values();
}

template <class G, class T>
std::vector<T> rand(State const& state, unsigned long n) {
    return elementsOf<T>(typename Rand<G>::template Invoker<T>{}, state, n);
}
template <class G, class T>
std::vector<T> randI(State const& state, double lowest, double highest, unsigned long n) {
    return elementsOf<T>(typename RandI<G>::template Invoker<T>{}, state, n, lowest, highest);
}
template <class G, class T>
std::vector<T> inversion(State const& state, unsigned long n) {
    return elementsOf<T>(typename RandNInversion<G>::template Invoker<T>{}, state, n);
}
template <class G, class T>
std::vector<T> boxMuller(State const& state, unsigned long n) {
    return elementsOf<T>(typename RandNBoxMuller<G>::template Invoker<T>{}, state, n);
}

template <class G, class T>
std::vector<T> expectedRand(State const& state, unsigned long n) {
    std::vector<T> values;
    for (double u : streamOf<G>(state, n)) values.push_back(static_cast<T>(u));
    return values;
}
template <class G, class T>
std::vector<T> expectedRandI(State const& state, double lowest, double highest, unsigned long n) {
    std::vector<T> values;
    for (double u : streamOf<G>(state, n)) values.push_back(testing::integerElement<T>(u, lowest, highest));
    return values;
}

// In units of the last place of the element type. In double: the inverse error function and a product; sine,
// cosine, logarithm and two roundings. In float, one rounding of such a double.
template <class T>
struct Tolerance {
    static constexpr double inversion = 4, boxMuller = 2.5;
};
template <>
struct Tolerance<float> {
    static constexpr double inversion = 0.5 + 1e-6, boxMuller = 0.5 + 1e-6;
};

template <class T>
void expectWithin(double ulps, std::vector<long double> const& expected, std::vector<T> const& actual) {
    ASSERT_EQ(expected.size(), actual.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        T const magnitude = std::fabs(static_cast<T>(expected[i]));
        T const ulp = std::nextafter(magnitude, std::numeric_limits<T>::infinity()) - magnitude;
        ASSERT_LE(std::fabs(static_cast<double>(expected[i] - actual[i])), ulps * ulp)
            << "at " << i << " of " << expected.size();
    }
}

/// A state at each sub-position of the generator, and a counter whose words overflow within a few elements.
template <class G>
std::vector<State> states() {
    std::vector<State> result;
    for (unsigned int sub = 0; sub < Reference<G>::placesPerBlock; ++sub) {
        State state = Reference<G>::randomState(sub + 1);
        if (state.size() != 6) {
            state.back() = 0xfffffff0 + sub;  // the bits above the sub-position mean nothing
            bool const isPhilox = state.size() == 7;
            for (std::size_t i = isPhilox ? 2 : 8; i + 1 < state.size(); ++i) state[i] = 0xffffffff;
            state[isPhilox ? 2 : 9] = 0xfffffff0;
        }
        result.push_back(state);
    }
    return result;
}

template <class G>
class EveryGenerator : public ::testing::Test {};
using AllGenerators = ::testing::Types<testing::Of<MRG32K3AGenerator>, testing::Of<Philox4x32Generator>,
                                       testing::Of<ThreeFry4x64Generator>>;
TYPED_TEST_SUITE(EveryGenerator, AllGenerators, );

template <class G>
class CounterBased : public ::testing::Test {};
using CounterBasedGenerators =
    ::testing::Types<testing::Of<Philox4x32Generator>, testing::Of<ThreeFry4x64Generator>>;
TYPED_TEST_SUITE(CounterBased, CounterBasedGenerators, );

// --- Every instance against the reference ---

std::vector<unsigned long> sizes() {
    std::vector<unsigned long> result = testing::boundarySizes();
    for (unsigned long n : {0, 4, 5, 7, 8, 9, 1023, 1024, 1025, 40000}) result.push_back(n);
    return result;
}

TYPED_TEST(EveryGenerator, GivesTheStreamAsUniformValues) {
    using G = typename TypeParam::Generator;
    forTypes(internal::FloatingReal{}, [](auto type) {
        using T = typename decltype(type)::type;
        for (State const& state : states<G>()) {
            for (unsigned long n : sizes()) {
                testing::expectSameBits(expectedRand<G, T>(state, n), rand<G, T>(state, n));
            }
        }
    });
}

TYPED_TEST(EveryGenerator, GivesTheStreamAsIntegers) {
    using G = typename TypeParam::Generator;
    double const inf = std::numeric_limits<double>::infinity(),
                 nan = std::numeric_limits<double>::quiet_NaN();
    std::vector<std::pair<double, double>> const bounds{{1, 6},
                                                        {0, 0},
                                                        {-5, 5},
                                                        {0, 1000},
                                                        {-300, 300},
                                                        {-1e5, 1e5},
                                                        {-1e10, 1e10},
                                                        {-0x1p63, 0x1p63},
                                                        {0, 0x1p64},
                                                        {-0x1p70, 0x1p70},
                                                        {0x1p62, 0x1p63},
                                                        {5, 1},
                                                        {-3, -3},
                                                        {0.5, 9.5},
                                                        {-9.5, 4.25},
                                                        {0.49999999999999994, 0.49999999999999994},
                                                        {-0.5, 0.25},
                                                        {-1e308, 1e308},
                                                        {-inf, 3},
                                                        {2, -inf},
                                                        {0.5, -inf},
                                                        {2, inf},
                                                        {-inf, inf},
                                                        {nan, 1},
                                                        {1, nan},
                                                        {-128, 127},
                                                        {0, 255},
                                                        {-32768, 32767},
                                                        {0, 65535},
                                                        {-2147483648.0, 2147483647.0},
                                                        {0, 4294967295.0},
                                                        {0x1p52 - 10.5, 0x1p52 + 10},
                                                        {-0x1p53, 0x1p53}};
    forTypes(internal::ConvertedReal{}, [&](auto type) {
        using T = typename decltype(type)::type;
        for (auto const& [lowest, highest] : bounds) {
            SCOPED_TRACE(std::to_string(lowest) + " to " + std::to_string(highest));
            State const state = states<G>().back();
            testing::expectSameValues(expectedRandI<G, T>(state, lowest, highest, 700),
                                      randI<G, T>(state, lowest, highest, 700));
        }
        for (State const& state : states<G>()) {
            for (unsigned long n : sizes()) {
                testing::expectSameBits(expectedRandI<G, T>(state, -40, 90, n),
                                        randI<G, T>(state, -40, 90, n));
            }
        }
    });
}

TYPED_TEST(EveryGenerator, GivesTheStreamAsNormalValuesByInversion) {
    using G = typename TypeParam::Generator;
    forTypes(internal::FloatingReal{}, [](auto type) {
        using T = typename decltype(type)::type;
        for (State const& state : states<G>()) {
            for (unsigned long n : {0, 1, 2, 7, 8, 9, 511, 512, 513, 5000}) {
                expectWithin(Tolerance<T>::inversion, testing::inverseNormals<G>(state, n),
                             inversion<G, T>(state, n));
            }
        }
    });
}

TYPED_TEST(CounterBased, GivesTheStreamAsNormalValuesOfBoxAndMuller) {
    using G = typename TypeParam::Generator;
    forTypes(internal::FloatingReal{}, [](auto type) {
        using T = typename decltype(type)::type;
        for (State const& state : states<G>()) {
            for (unsigned long n : sizes()) {
                expectWithin(Tolerance<T>::boxMuller, testing::boxMullerNormals<G>(state, n),
                             boxMuller<G, T>(state, n));
            }
        }
    });
}

// --- Positions ---

TYPED_TEST(EveryGenerator, ShorterArraysAreBeginningsOfLongerOnes) {
    using G = typename TypeParam::Generator;
    State const state = states<G>().back();
    auto const longer = rand<G, double>(state, 3000);
    auto const shorter = rand<G, double>(state, 1234);
    EXPECT_EQ(std::vector<double>(longer.begin(), longer.begin() + 1234), shorter);
}

TYPED_TEST(EveryGenerator, GoesOnWithAStateThatHasMovedOn) {
    using G = typename TypeParam::Generator;
    for (State const& state : states<G>()) {
        auto const whole = rand<G, double>(state, 2000);
        for (std::size_t n : {1, 2, 3, 4, 5, 100, 1001}) {
            auto const rest = rand<G, double>(Reference<G>::advanced(state, n), 2000 - n);
            EXPECT_EQ(std::vector<double>(whole.begin() + static_cast<std::ptrdiff_t>(n), whole.end()), rest)
                << n;
        }
    }
}

TYPED_TEST(EveryGenerator, GivesTheSameStreamFromAFoldedGrid) {
    using G = typename TypeParam::Generator;
    State const state = states<G>().back();
    auto const expected = rand<G, double>(state, 20000);
    for (unsigned long limit : {1, 3, 7}) {
        testing::GridLimits const limits(limit);
        EXPECT_EQ(expected, (rand<G, double>(state, 20000))) << limit;
    }
}

class MultiProcessors {
  public:
    MultiProcessors(unsigned long count, unsigned long major) {
        gpucommon::CUDADeviceProperties properties = testing::currentProperties();
        properties.multiProcessorCount = count;
        properties.computeCapabilityMajor = major;
        internal::storeCurrentDeviceProperties(properties);
    }
    ~MultiProcessors() { testing::storeCurrentProperties(); }
    MultiProcessors(MultiProcessors const&) = delete;
    MultiProcessors& operator=(MultiProcessors const&) = delete;
};

TYPED_TEST(EveryGenerator, GivesTheSameStreamForAnyNumberOfMultiprocessors) {
    using G = typename TypeParam::Generator;
    State const state = states<G>().front();
    auto const expected = expectedRandI<G, short>(state, -1000, 1000, 30001);
    for (unsigned long count : {1, 2, 3, 13, 132}) {
        for (unsigned long major : {2, 3, 9}) {
            MultiProcessors const device(count, major);
            EXPECT_EQ(expected, (randI<G, short>(state, -1000, 1000, 30001))) << count << ", " << major;
        }
    }
}

TEST(Mrg32k3aFamilies, WriteNothingWithoutMultiprocessors) {
    MultiProcessors const device(0, 9);
    State state(6, 12345);
    DeviceArray<double> out(10);
    EXPECT_EQ(cudaSuccess, Rand<MRG32K3AGenerator>::Invoker<double>()(nullptr, out.data(), state.data(), 10));
    EXPECT_TRUE(out.untouched());
}

TYPED_TEST(EveryGenerator, QueuesOnTheCallersStream) {
    using G = typename TypeParam::Generator;
    cudaStream_t stream = nullptr;
    ASSERT_EQ(cudaSuccess, cudaStreamCreate(&stream));
    State state = states<G>().back();
    DeviceArray<float> out(1000);
    EXPECT_EQ(cudaSuccess,
              typename Rand<G>::template Invoker<float>()(stream, out.data(), state.data(), 1000));
    EXPECT_EQ(cudaSuccess, cudaStreamSynchronize(stream));
    EXPECT_EQ((expectedRand<G, float>(state, 1000)), out.values());
    EXPECT_EQ(cudaSuccess, cudaStreamDestroy(stream));
}

// --- Known values ---

State const zeroPhilox(7, 0);

// (w0 shifted by 21) xor w1 of the published block 6627e8d5 e169c58d bc57ac4c 9b00dbd8, and the other pair.
TEST(PhiloxRand, TakesTheLowPairOfWordsFirst) {
    double const first = testing::uniformOf53Bits((0x6627e8d5ul << 21) ^ 0xe169c58dul);
    double const second = testing::uniformOf53Bits((0xbc57ac4cul << 21) ^ 0x9b00dbd8ul);
    EXPECT_EQ((std::vector<double>{first}), (rand<Philox4x32Generator, double>(zeroPhilox, 1)));
    EXPECT_EQ((std::vector<double>{first, second}), (rand<Philox4x32Generator, double>(zeroPhilox, 2)));
    State half = zeroPhilox;
    half[6] = 1;
    EXPECT_EQ((std::vector<double>{second}), (rand<Philox4x32Generator, double>(half, 1)));
}

// The published sequence of the seed 12345: the first two steps make the first element.
TEST(Mrg32k3aRand, TakesTwoStepsForAnElement) {
    auto const values = rand<MRG32K3AGenerator, double>(State(6, 12345), 3);
    EXPECT_NEAR(0.127011, values[0], 5e-7);
    EXPECT_NEAR(0.309186, values[1], 5e-7);
    EXPECT_NEAR(0.221630, values[2], 5e-7);
    // 545508589 and 1368065410 over m1 + 1, the second shifted down by 24 bits.
    EXPECT_EQ(0x1.041e6ac7b0e2dp-3, values[0]);
}

TEST(PhiloxFamilies, GiveTheDocumentedValues) {
    auto const uniform = rand<Philox4x32Generator, double>(zeroPhilox, 6);
    auto const byInversion = inversion<Philox4x32Generator, double>(zeroPhilox, 6);
    auto const byBoxMuller = boxMuller<Philox4x32Generator, double>(zeroPhilox, 6);
    std::vector<double> const documentedUniform{0.3990, 0.7357, 0.9722, 0.6939, 0.0194, 0.1409},
        documentedInversion{-0.2558, 0.6302, 1.9148, 0.5070, -2.0653, -1.0761},
        documentedBoxMuller{-0.1215, -1.3500, -0.0819, -0.2227, 1.7764, 2.1735};
    for (std::size_t i = 0; i < 6; ++i) {
        EXPECT_NEAR(documentedUniform[i], uniform[i], 5e-5);
        EXPECT_NEAR(documentedInversion[i], byInversion[i], 5e-5);
        EXPECT_NEAR(documentedBoxMuller[i], byBoxMuller[i], 5e-5);
    }
    EXPECT_EQ((std::vector<int>{3, 5, 6, 5, 1, 1}), (randI<Philox4x32Generator, int>(zeroPhilox, 1, 6, 6)));
}

TYPED_TEST(EveryGenerator, ThrowsADie) {
    using G = typename TypeParam::Generator;
    std::vector<int> seen(7, 0);
    for (double value : randI<G, double>(states<G>().front(), 1, 6, 60000)) {
        ASSERT_TRUE(value >= 1 && value <= 6 && value == std::floor(value)) << value;
        ++seen[static_cast<std::size_t>(value)];
    }
    for (std::size_t side = 1; side <= 6; ++side) EXPECT_NEAR(10000, seen[side], 500) << side;
}

TYPED_TEST(EveryGenerator, GivesTheOnlyValueOfARangeOfOne) {
    using G = typename TypeParam::Generator;
    EXPECT_EQ(std::vector<long>(600, -17), (randI<G, long>(states<G>().front(), -17, -17, 600)));
}

TYPED_TEST(EveryGenerator, SaturatesNarrowIntegers) {
    using G = typename TypeParam::Generator;
    bool saw255 = false;
    State const state = states<G>().front();
    auto const wide = randI<G, int>(state, 0, 1000, 600);
    auto const narrow = randI<G, unsigned char>(state, 0, 1000, 600);
    for (std::size_t i = 0; i < wide.size(); ++i) {
        ASSERT_EQ(std::min(wide[i], 255), narrow[i]);
        saw255 = saw255 || wide[i] > 255;
    }
    EXPECT_TRUE(saw255);
}

// With equal bounds the span is 1, and the value before rounding is the bound itself.
template <class T>
void expectRounded(double bound, T expected) {
    SCOPED_TRACE(bound);
    EXPECT_EQ(std::vector<T>(9, expected), (randI<Philox4x32Generator, T>(zeroPhilox, bound, bound, 9)));
}

TEST(RandI, RoundsHalfAwayFromZeroAndSaturates) {
    expectRounded<int>(0.5, 1);
    expectRounded<int>(-0.5, -1);
    expectRounded<int>(2.5, 3);
    expectRounded<int>(-2.5, -3);
    expectRounded<int>(0.49999999999999994, 0);  // plus one half, it would round to 1
    expectRounded<long>(4503599627370495.5, 4503599627370496);
    expectRounded<long>(0x1p63, std::numeric_limits<long>::max());
    expectRounded<long>(-0x1p63, std::numeric_limits<long>::min());
    expectRounded<unsigned long>(0x1p64, ~0ul);
    expectRounded<unsigned long>(-3, 0);
    expectRounded<unsigned char>(255.5, 255);
    expectRounded<unsigned char>(-0.5, 0);
    expectRounded<signed char>(-128.5, -128);
    expectRounded<unsigned int>(4294967295.5, 4294967295);
}

TYPED_TEST(EveryGenerator, GivesTheSmallestValueForAnInfiniteNegativeSpan) {
    using G = typename TypeParam::Generator;
    double const inf = std::numeric_limits<double>::infinity();
    forTypes(internal::ConvertedReal{}, [&](auto type) {
        using T = typename decltype(type)::type;
        using Limits = std::numeric_limits<T>;
        T const smallest = Limits::has_infinity ? -Limits::infinity() : Limits::min();
        for (double lowest : {2.0, 0.5}) {
            EXPECT_EQ(std::vector<T>(9, smallest), (randI<G, T>(states<G>().front(), lowest, -inf, 9)));
        }
    });
}

// The middle word that a step after an oldest word of 0 makes to the residue of `target`.
unsigned int middleWordFor(unsigned long target) {
    testing::Wide inverse = 1, base = 1403580;
    unsigned long const m1 = testing::Mrg32k3aSequence::m1;
    for (unsigned long exponent = m1 - 2; exponent != 0; exponent >>= 1) {
        if (exponent & 1) inverse = inverse * base % m1;
        base = base * base % m1;
    }
    return static_cast<unsigned int>(inverse * (target % m1) % m1);
}

// A state of which the first two steps give `z1` and `z2`.
State stateBefore(unsigned long z1, unsigned long z2) {
    unsigned int const middle = middleWordFor(z1);
    return {0, middle, middleWordFor(810728ul * middle + z2), 0, 0, 0};
}

constexpr unsigned long largestStep = testing::Mrg32k3aSequence::m1 - 1;

// The first step alone makes u larger than 1 - 2^-25.
TEST(Mrg32k3aRand, CanGiveAFloatOfOne) {
    State const state = stateBefore(largestStep, 0);
    EXPECT_EQ(1.0f, (rand<MRG32K3AGenerator, float>(state, 1)[0]));
    EXPECT_LT((rand<MRG32K3AGenerator, double>(state, 1)[0]), 1.0);
    EXPECT_GT((rand<MRG32K3AGenerator, double>(state, 1)[0]), 1 - 0x1p-25);
}

// The largest first step lies 2^-31 below 1, and the second adds up to 2^-24.
TEST(Mrg32k3aRand, WrapsASumOfOneOrMore) {
    double const inf = std::numeric_limits<double>::infinity();
    State const above = stateBefore(largestStep, largestStep);
    EXPECT_EQ((State{0, 547750747, 3302819555, 0, 0, 0}), above);
    EXPECT_EQ(Doubles{0x1.fcp-25}, (rand<MRG32K3AGenerator, double>(above, 1)));
    State const one = stateBefore(largestStep, 33554419);  // the least with a sum that is rounded to 1
    EXPECT_EQ((State{0, 547750747, 1633034002, 0, 0, 0}), one);
    EXPECT_EQ(Doubles{0.0}, (rand<MRG32K3AGenerator, double>(one, 1)));
    EXPECT_EQ(Doubles{-inf}, (inversion<MRG32K3AGenerator, double>(one, 1)));
}

TEST(Mrg32k3aFamilies, TakeTheClosedLowerEnd) {
    State const zeros(6, 0);
    EXPECT_EQ(std::vector<double>(20, 0.0), (rand<MRG32K3AGenerator, double>(zeros, 20)));
    double const inf = std::numeric_limits<double>::infinity();
    EXPECT_EQ(std::vector<double>(20, -inf), (inversion<MRG32K3AGenerator, double>(zeros, 20)));
    EXPECT_EQ(std::vector<float>(20, -std::numeric_limits<float>::infinity()),
              (inversion<MRG32K3AGenerator, float>(zeros, 20)));
    EXPECT_EQ(std::vector<int>(20, -7), (randI<MRG32K3AGenerator, int>(zeros, -7, 7, 20)));
}

// A counter was searched for whose first integer begins with 25 bits of one.
TEST(PhiloxRand, CanGiveAFloatOfOneAndNeverADouble) {
    State state(7, 0);
    state[2] = 14886640;
    EXPECT_EQ(1.0f, (rand<Philox4x32Generator, float>(state, 1)[0]));
    EXPECT_LT((rand<Philox4x32Generator, double>(state, 1)[0]), 1.0);
}

// --- Moments ---

void expectMoments(std::vector<double> const& values, double mean, double variance, double fourth) {
    auto const n = static_cast<double>(values.size());
    double sum = 0, squares = 0;
    for (double x : values) sum += x;
    for (double x : values) squares += (x - mean) * (x - mean);
    // Five standard deviations of each estimate.
    EXPECT_NEAR(mean, sum / n, 5 * std::sqrt(variance / n));
    EXPECT_NEAR(variance, squares / n, 5 * std::sqrt((fourth - variance * variance) / n));
}

TYPED_TEST(EveryGenerator, HasTheMomentsOfItsDistributions) {
    using G = typename TypeParam::Generator;
    State const state = Reference<G>::randomState(77);
    expectMoments(rand<G, double>(state, 200000), 0.5, 1.0 / 12, 1.0 / 80);
    expectMoments(inversion<G, double>(state, 200000), 0, 1, 3);
}

TYPED_TEST(CounterBased, HasNormalMomentsByBoxAndMuller) {
    using G = typename TypeParam::Generator;
    expectMoments(boxMuller<G, double>(Reference<G>::randomState(78), 200000), 0, 1, 3);
}

}  // namespace
}  // namespace gpuruntime

// IIRFilter against a plain recursion in the same order of operations: all types and orders, both layouts.

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "tests/filtering/iir_filter_call.hpp"
#include "tests/support/device_array.hpp"
#include "tests/support/device_limits.hpp"
#include "tests/support/test_types.hpp"
#include "tests/support/values.hpp"

namespace gpuruntime {
namespace {

using testing::DeviceArray;
using testing::filter;
using testing::FilterCall;

template <class T>
using PartOf = internal::Part<T>;

// Arithmetic of the reference, on real and on complex values.

template <class T>
T make(double re, double im = 0) {
    using P = PartOf<T>;
    if constexpr (internal::isComplex<T>) {
        return {static_cast<P>(re), static_cast<P>(im)};
    } else {
        return static_cast<P>(re);
    }
}

float times(float a, float b) { return a * b; }
double times(double a, double b) { return a * b; }
template <class C>
C times(C a, C b) {
    PartOf<C> const rr = a.x * b.x, ii = a.y * b.y, ri = a.x * b.y, ir = a.y * b.x;
    return {rr - ii, ri + ir};
}

float minus(float a, float b) { return a - b; }
double minus(double a, double b) { return a - b; }
template <class C>
C minus(C a, C b) {
    return {a.x - b.x, a.y - b.y};
}

float plusZero(float z) { return z + 0.0f; }
double plusZero(double z) { return z + 0.0; }
template <class C>
C plusZero(C z) {
    return {plusZero(z.x), plusZero(z.y)};
}

float fused(float x, float b, float z) { return std::fma(x, b, z); }
double fused(double x, double b, double z) { return std::fma(x, b, z); }
template <class C>
C fused(C x, C b, C z) {
    PartOf<C> re = std::fma(x.x, b.x, z.x), im = std::fma(x.x, b.y, z.y);
    re = std::fma(-x.y, b.y, re);
    im = std::fma(x.y, b.x, im);
    return {re, im};
}

float inverse(float a) { return 1.0f / a; }
double inverse(double a) { return 1.0 / a; }
template <class C>
C inverse(C a) {
    using P = PartOf<C>;
    P const s = P(1) / (std::fabs(a.x) + std::fabs(a.y));
    P const re = a.x * s, im = a.y * s;
    P const reSquare = re * re, imSquare = im * im;
    P const square = reSquare + imSquare;
    return {(s * re) / square, (s * -im) / square};
}

/// A filter of one signal.
template <class T>
struct Recursion {
    std::vector<T> b, a, z;

    Recursion(int order, std::vector<T> const& numerator, std::vector<T> const& denominator)
        : b(static_cast<unsigned>(order) + 1), a(b), z(static_cast<unsigned>(order)) {
        T const r = inverse(denominator[0]);
        for (std::size_t i = 0; i < numerator.size(); ++i) b[i] = times(r, numerator[i]);
        for (std::size_t i = 0; i < denominator.size(); ++i) a[i] = times(r, denominator[i]);
    }

    T operator()(T x) {
        T const y = fused(x, b[0], z[0]);
        for (std::size_t i = 0; i + 1 < z.size(); ++i) {
            z[i] = minus(fused(x, b[i + 1], plusZero(z[i + 1])), times(y, a[i + 1]));
        }
        z.back() = minus(fused(x, b.back(), T{}), times(y, a.back()));
        return y;
    }
};

struct Shape {
    unsigned int numSignals, numPages, length;
    bool isContiguous;
    unsigned int gap = 0;  ///< elements between the rows of interleaved signals

    unsigned int sampleStride() const { return isContiguous ? 1 : numSignals + gap; }
    unsigned int numRuns() const { return numSignals * numPages; }

    std::size_t place(unsigned int page, unsigned int c, unsigned int n) const {
        std::size_t const first = std::size_t{page} * numSignals * length;
        return isContiguous ? first + c * length + n : first + c + n * sampleStride();
    }
    /// Elements of an array that holds it.
    std::size_t size() const {
        return numRuns() * length == 0 ? 0 : place(numPages - 1, numSignals - 1, length - 1) + 1;
    }
};

/// How signals start and end.
struct States {
    bool isNull, isShared, isStored;
};

/// Calls a filter and expects what the recursion gives, and no other element written.
template <class T>
void expectRecursion(int order, std::vector<T> const& b, std::vector<T> const& a, Shape shape, States states,
                     std::vector<T> const& samples, unsigned long seed, bool isInPlace = false) {
    auto const K = static_cast<unsigned int>(order);
    std::vector<T> const initial =
        testing::mixedValues<T>(states.isShared ? K : shape.numRuns() * K, 31, seed);
    DeviceArray<T> deviceB(b), deviceA(a), in(samples), deviceInitial(initial), final(shape.numRuns() * K);
    DeviceArray<T> separate(samples.size());
    DeviceArray<T>& out = isInPlace ? in : separate;
    std::vector<T> expected = out.values(), expectedFinal = final.values();
    for (unsigned int page = 0; page < shape.numPages; ++page) {
        for (unsigned int c = 0; c < shape.numSignals; ++c) {
            Recursion<T> recursion(order, b, a);
            unsigned int const run = (page * shape.numSignals + c) * K;
            if (!states.isNull) {
                auto const first = initial.begin() + (states.isShared ? 0 : run);
                recursion.z.assign(first, first + K);
            }
            for (unsigned int n = 0; n < shape.length; ++n) {
                expected[shape.place(page, c, n)] = recursion(samples[shape.place(page, c, n)]);
            }
            if (states.isStored)
                std::copy(recursion.z.begin(), recursion.z.end(), expectedFinal.begin() + run);
        }
    }
    ASSERT_EQ(
        cudaSuccess,
        filter(order, FilterCall<T>{out.data(), states.isStored ? final.data() : nullptr, deviceB.data(),
                                    deviceA.data(), in.data(), states.isNull ? nullptr : deviceInitial.data(),
                                    static_cast<unsigned int>(b.size()), static_cast<unsigned int>(a.size()),
                                    shape.length, shape.numSignals, shape.sampleStride(), shape.numPages,
                                    states.isShared ? 7u : 0u}));
    testing::expectSameValues(expected, out.values());
    testing::expectSameValues(expectedFinal, final.values());
    if (!isInPlace) testing::expectSameBits(samples, in.values());
    testing::expectSameBits(b, deviceB.values());
    testing::expectSameBits(a, deviceA.values());
    testing::expectSameBits(initial, deviceInitial.values());
}

/// Coefficients of filters whose output neither dies out nor grows beyond bounds soon.
template <class T>
std::vector<T> coefficients(std::size_t n, std::mt19937_64& engine) {
    std::uniform_real_distribution<double> value(-0.5, 0.5);
    std::vector<T> result(n);
    for (T& c : result) c = make<T>(value(engine), value(engine));
    result[0] = make<T>(2 + value(engine), value(engine));
    return result;
}

template <class T>
class IIRFilterOf : public ::testing::Test {};
TYPED_TEST_SUITE(IIRFilterOf, testing::TestTypes<internal::Floating>);

TYPED_TEST(IIRFilterOf, EveryOrderIsTheRecursion) {
    using T = TypeParam;
    std::mt19937_64 engine(1);
    auto const oneOf = [&](std::vector<unsigned int> const& values) {
        return values[engine() % values.size()];
    };
    for (int order = 1; order <= testing::maxOrder; ++order) {
        for (int repetition = 0; repetition < 24; ++repetition) {
            Shape const shape{oneOf({1, 2, 3, 4, 5, 7, 8, 9, 31, 63, 64, 65, 72, 130}), oneOf({1, 1, 2, 3}),
                              oneOf({1, 2, 3, 15, 16, 17, 32, 33, 100}), engine() % 2 == 0,
                              oneOf({0, 0, 1, 5})};
            // Interleaved pages overlap where there are gaps.
            Shape const used =
                shape.gap == 0 ? shape : Shape{shape.numSignals, 1, shape.length, false, shape.gap};
            States const states{engine() % 4 == 0, engine() % 2 == 0, engine() % 4 != 0};
            auto const K = static_cast<unsigned int>(order);
            auto const b = coefficients<T>(1 + engine() % (K + 1), engine);
            auto const a = coefficients<T>(1 + engine() % (K + 1), engine);
            SCOPED_TRACE(::testing::Message()
                         << "order " << order << ", " << used.numSignals << " signals of " << used.length
                         << " on " << used.numPages << " pages, stride " << used.sampleStride() << ", "
                         << b.size() << " and " << a.size() << " coefficients, states " << states.isNull
                         << states.isShared << states.isStored);
            unsigned long const seed = engine() % 1000;
            std::size_t const spacing = repetition % 3 == 0 ? 50 : 1000000;
            expectRecursion<T>(order, b, a, used, states, testing::mixedValues<T>(used.size(), spacing, seed),
                               seed);
            if (this->HasFailure()) return;
        }
    }
}

TYPED_TEST(IIRFilterOf, SpecialValuesAndCoefficientsAreTheRecursion) {
    using T = TypeParam;
    std::vector<T> const special = testing::specialValues<T>();
    auto const n = static_cast<unsigned int>(special.size());
    for (int order : {1, 2, 5}) {
        for (std::size_t k = 0; k < special.size(); k += 7) {
            std::vector<T> const b = {make<T>(1), special[k], special[(k + 3) % n]};
            std::vector<T> const a = {special[(k + 1) % n], special[(k + 2) % n]};
            auto const numB = static_cast<std::size_t>(std::min(order + 1, 3));
            expectRecursion<T>(order, {b.begin(), b.begin() + numB}, a, {n, 1, 1, true}, {false, false, true},
                               special, k);
            expectRecursion<T>(order, {b.begin(), b.begin() + numB}, {make<T>(1)}, {1, 1, n, true},
                               {true, false, true}, special, k);
        }
    }
}

TYPED_TEST(IIRFilterOf, OutputMayReplaceTheInput) {
    using T = TypeParam;
    std::mt19937_64 engine(2);
    for (bool const isContiguous : {false, true}) {
        Shape const shape{65, 2, 40, isContiguous};
        expectRecursion<T>(3, coefficients<T>(4, engine), coefficients<T>(3, engine), shape,
                           {false, false, true}, testing::randomValues<T>(shape.size()), 1, true);
    }
}

TYPED_TEST(IIRFilterOf, ManySignalsAndPagesAreSteppedOver) {
    using T = TypeParam;
    std::mt19937_64 engine(3);
    auto const b = coefficients<T>(3, engine), a = coefficients<T>(3, engine);
    for (Shape const& shape : {Shape{64 * 9 + 5, 1, 20, true}, Shape{64 * 9 + 5, 2, 20, false},
                               Shape{5, 11, 20, true}, Shape{65, 11, 20, false}}) {
        bool const areSignalsMany = shape.numSignals > 64 * 2;
        testing::GridLimits const limits(areSignalsMany ? 2 : 65535, areSignalsMany ? 65535 : 2);
        expectRecursion<T>(2, b, a, shape, {false, false, true}, testing::randomValues<T>(shape.size()), 1);
    }
}

TYPED_TEST(IIRFilterOf, OfLargeSizeAreSharedOut) {
    using T = TypeParam;
    std::mt19937_64 engine(5);
    for (Shape const& shape : {Shape{50, 1, 5300, true}, Shape{64, 1, 4100, false}}) {
        expectRecursion<T>(2, coefficients<T>(3, engine), coefficients<T>(2, engine), shape,
                           {false, false, true}, testing::randomValues<T>(shape.size()), 1);
    }
}

TYPED_TEST(IIRFilterOf, TwoCallsAreOneCall) {
    using T = TypeParam;
    std::mt19937_64 engine(4);
    unsigned int const numSignals = 67, length = 50, first = 19;
    int const order = 4;
    DeviceArray<T> b(coefficients<T>(5, engine)), a(coefficients<T>(4, engine));
    DeviceArray<T> in(testing::randomValues<T>(numSignals * length));
    DeviceArray<T> whole(numSignals * length), pieces(numSignals * length);
    DeviceArray<T> between(numSignals * 4), end(numSignals * 4), wholeEnd(numSignals * 4);
    FilterCall<T> call{whole.data(), wholeEnd.data(), b.data(),   a.data(), in.data(), nullptr, 5, 4,
                       length,       numSignals,      numSignals, 1,        0};
    ASSERT_EQ(cudaSuccess, filter(order, call));
    call.out = pieces.data();
    call.finalState = between.data();
    call.signalLength = first;
    ASSERT_EQ(cudaSuccess, filter(order, call));
    call.out += first * numSignals;
    call.in += first * numSignals;
    call.initialState = between.data();
    call.finalState = end.data();
    call.signalLength = length - first;
    ASSERT_EQ(cudaSuccess, filter(order, call));
    testing::expectSameBits(whole.values(), pieces.values());
    testing::expectSameBits(wholeEnd.values(), end.values());
}

TYPED_TEST(IIRFilterOf, WithoutSamplesTheStateIsHandedOn) {
    using T = TypeParam;
    for (bool const isShared : {false, true}) {
        for (bool const isContiguous : {false, true}) {
            expectRecursion<T>(3, {make<T>(1)}, {make<T>(1)}, {70, 2, 0, isContiguous},
                               {false, isShared, true}, {}, 5);
        }
    }
    expectRecursion<T>(3, {make<T>(1)}, {make<T>(1)}, {70, 2, 0, true}, {true, false, true}, {}, 5);
    expectRecursion<T>(3, {make<T>(1)}, {make<T>(1)}, {70, 2, 0, true}, {false, false, false}, {}, 5);
}

TYPED_TEST(IIRFilterOf, CoefficientsOfOneAreTheIdentity) {
    using T = TypeParam;
    std::vector<T> const samples = testing::randomValues<T>(200);
    for (int order = 1; order <= testing::maxOrder; ++order) {
        DeviceArray<T> b{make<T>(1)}, a{make<T>(1)}, in(samples), out(200);
        ASSERT_EQ(cudaSuccess, filter(order, FilterCall<T>{out.data(), nullptr, b.data(), a.data(), in.data(),
                                                           nullptr, 1, 1, 20, 10, 1, 1, 0}));
        testing::expectSameBits(samples, out.values());
    }
}

/// One signal through a filter of order `order`; gives the output and then the final state.
template <class T>
std::vector<T> filtered(int order, std::vector<T> const& b, std::vector<T> const& a, std::vector<T> const& in,
                        std::vector<T> const& initial = {}) {
    DeviceArray<T> deviceB(b), deviceA(a), deviceIn(in), deviceInitial(initial), out(in.size());
    DeviceArray<T> final(static_cast<std::size_t>(order));
    EXPECT_EQ(
        cudaSuccess,
        filter(order, FilterCall<T>{out.data(), final.data(), deviceB.data(), deviceA.data(), deviceIn.data(),
                                    initial.empty() ? nullptr : deviceInitial.data(),
                                    static_cast<unsigned int>(b.size()), static_cast<unsigned int>(a.size()),
                                    static_cast<unsigned int>(in.size()), 1, 1, 1, 0}));
    std::vector<T> result = out.values();
    std::vector<T> const state = final.values();
    result.insert(result.end(), state.begin(), state.end());
    return result;
}

template <class T>
void expectValues(std::vector<T> const& expected, std::vector<T> const& actual) {
    testing::expectSameBits(expected, actual);
}

TEST(IIRFilterExamples, OfTheFirstOrder) {
    expectValues<double>({1, 0.5, 0.25, 0.125}, filtered<double>(1, {1}, {2, -1}, {2, 0, 0}));
    expectValues<float>({1, 0.5, 0.25, 0.125}, filtered<float>(1, {1}, {2, -1}, {2, 0, 0}));
}

TEST(IIRFilterExamples, AnImpulseShowsTheNumerator) {
    expectValues<double>({1, 2, 3, 0, 0, 0, 0}, filtered<double>(2, {1, 2, 3}, {1}, {1, 0, 0, 0, 0}));
    expectValues<float>({0.5, 1, 1.5, 0, 0, 0, 0, 0}, filtered<float>(3, {1, 2, 3}, {2}, {1, 0, 0, 0, 0}));
}

TEST(IIRFilterExamples, AnImpulseThroughTheDenominatorShowsPowers) {
    expectValues<double>({1, 3, 9, 27, 81}, filtered<double>(1, {1}, {1, -3}, {1, 0, 0, 0}));
    // Of the imaginary unit: 1, i, -1, -i.
    double2 const one{1, 0}, zero{0, 0};
    auto const turns = filtered<double2>(1, {one}, {one, {0, -1}}, {one, zero, zero, zero});
    double const expected[][2] = {{1, 0}, {0, 1}, {-1, 0}, {0, -1}, {1, 0}};
    for (std::size_t i = 0; i < 5; ++i) {
        EXPECT_EQ(expected[i][0], turns[i].x) << i;
        EXPECT_EQ(expected[i][1], turns[i].y) << i;
    }
}

TEST(IIRFilterExamples, AStepAddsUp) {
    expectValues<double>({1, 2, 3, 4, 4}, filtered<double>(1, {1}, {1, -1}, {1, 1, 1, 1}));
    expectValues<float>({0.25, 0.5, 0.75, 1, 1, 0.75, 0.5, 0.25},
                        filtered<float>(3, {0.25, 0.25, 0.25, 0.25}, {1}, {1, 1, 1, 1, 1}));
}

TEST(IIRFilterExamples, MissingCoefficientsAreZeros) {
    expectValues<double>({1, 1, 0, 0, 0}, filtered<double>(2, {1, 1}, {1}, {1, 0, 0}));
    expectValues<double>({1, -1, 0, 1, 0}, filtered<double>(2, {1}, {1, 1, 1}, {1, 0, 0}));
}

template <class T>
void expectRoundings(T small) {
    // (1 + e)^2 = 1 + 2 e + e^2, which rounds to 1 + 2 e.
    T const a = 1 + small, rounded = 1 + 2 * small, square = small * small;
    // The product with b[0] is added in one rounding,
    expectValues<T>({square, 0}, filtered<T>(1, {a}, {1}, {a}, {-rounded}));
    // and so is that with b[i + 1]: to the next value of the state,
    expectValues<T>({0, square, 0}, filtered<T>(2, {0, a}, {1}, {a}, {0, -rounded}));
    // while that with a[i + 1] is rounded before it is subtracted.
    expectValues<T>({a, 0, 0}, filtered<T>(2, {1}, {1, a}, {a}, {0, rounded}));
    // Coefficients are multiplied by the reciprocal: 1 / 3 is rounded first.
    T const third = T(1) / 3;
    expectValues<T>({third * 5, 0}, filtered<T>(1, {5}, {3}, {1}));
    // A state of -0 counts as +0, to which the product -0 is added and +0 subtracted.
    expectValues<T>({5, 0, 0}, filtered<T>(2, {0}, {1}, {-1}, {5, -T(0)}));
}

TEST(IIRFilterExamples, RoundAsTold) {
    expectRoundings<float>(0x1p-12f);
    expectRoundings<double>(0x1p-27);
}

TEST(IIRFilterExamples, ComplexFactorsNeitherOverflowNorUnderflow) {
    double2 const in{1, 0};
    auto expectPart = [](double expected, double actual) { EXPECT_DOUBLE_EQ(expected, actual); };
    auto const large = filtered<double2>(1, {{1e300, 0}}, {{1e300, 1e300}}, {in});
    expectPart(0.5, large[0].x);
    expectPart(-0.5, large[0].y);
    auto const small = filtered<double2>(1, {{1e-300, 0}}, {{1e-300, 1e-300}}, {in});
    expectPart(0.5, small[0].x);
    expectPart(-0.5, small[0].y);
    auto const tiny = filtered<float2>(1, {{1e-30f, 0}}, {{0, 1e-30f}}, {float2{1, 0}});
    EXPECT_FLOAT_EQ(0, tiny[0].x);
    EXPECT_FLOAT_EQ(-1, tiny[0].y);
}

TEST(IIRFilterExamples, AZeroDenominatorMakesInfinitiesAndNaN) {
    double const infinity = std::numeric_limits<double>::infinity();
    auto const result = filtered<double>(1, {1, 0}, {0, 1}, {1, 2});
    EXPECT_EQ(infinity, result[0]);
    EXPECT_TRUE(std::isnan(result[1]));
    EXPECT_TRUE(std::isnan(filtered<double2>(1, {{1, 0}}, {{0, 0}}, {{1, 0}})[0].x));
}

}  // namespace
}  // namespace gpuruntime

// The mathematical functions against MPFR: `double` values one by one and as lanes, and `float` values.

#include <cuda_runtime.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <limits>
#include <random>
#include <vector>

#include "frame/elementwise.hpp"
#include "frame/fixed_block.hpp"
#include "tests/math/functions.hpp"
#include "tests/support/device_array.hpp"
#include "tests/support/hash.hpp"
#include "tests/support/values.hpp"

namespace gpuruntime::testing {
namespace {

constexpr double inf = std::numeric_limits<double>::infinity(),
                 nan = std::numeric_limits<double>::quiet_NaN();
constexpr double smallest = std::numeric_limits<double>::denorm_min(),
                 largest = std::numeric_limits<double>::max();

template <class T>
struct Points {
    std::vector<T> x, y;

    void add(T a, T b = 1) {
        x.push_back(a);
        y.push_back(b);
    }
};

template <class F, class T>
struct ApplyToEach {
    static GPU_DEVICE void apply(elementwisedetail::Position at, T* out, T const* x, T const* y) {
        out[at.i] = F::of(x[at.i], y[at.i]);
    }
};

template <class F, class T>
std::vector<T> results(Points<T> const& points) {
    DeviceArray<T> x(points.x), y(points.y), out(points.x.size());
    using Kernel = ApplyToEach<F, T>;
    EXPECT_EQ(cudaSuccess,
              elementwisedetail::launch<Kernel>(nullptr, out.size(), out.data(), x.data(), y.data()));
    return out.values();
}

constexpr unsigned int blockSize = 64;

template <class F>
struct ApplyToLanes {
    static GPU_DEVICE void apply(cuda::Fixed1DBlockIterator const& iterator, double* out, double const* x,
                                 double const* y) {
        using namespace backend;
        unsigned int const first = iterator.blockIndex * blockSize;
        forEachLanes(iterator.threads, [&](unsigned int t) {
            DoubleLanes a = doubleLanes(0), b = a;
            for (unsigned int i = 0; i < laneCount; ++i) {
                setLane(a, i, x[first + t + i]);
                setLane(b, i, y[first + t + i]);
            }
            DoubleLanes const value = F::of(a, b);
            for (unsigned int i = 0; i < laneCount; ++i) out[first + t + i] = lane(value, i);
        });
    }
};

template <class F>
std::vector<double> resultsOfLanes(Points<double> points) {
    std::size_t const n = points.x.size();
    while (points.x.size() % blockSize != 0) points.add(1);
    DeviceArray<double> x(points.x), y(points.y), out(points.x.size());
    EXPECT_EQ(cudaSuccess, fixed1dblockdetail::launch<ApplyToLanes<F>>(nullptr, out.size(), blockSize,
                                                                       out.data(), x.data(), y.data()));
    std::vector<double> values = out.values();
    values.resize(n);
    return values;
}

template <class F, class T>
void expectWithin(double ulps, Points<T> const& points, std::vector<T> const& values) {
    double worst = 0;
    std::size_t at = 0;
    for (std::size_t i = 0; i < values.size(); ++i) {
        Multiple const x(static_cast<double>(points.x[i])), y(static_cast<double>(points.y[i]));
        Multiple expected;
        F::exact(expected, x, y);
        double const error = ulpsApart<T>(expected, values[i]);
        if (error > worst) {
            worst = error;
            at = i;
        }
    }
    std::printf("    largest error %.4f\n", worst);
    EXPECT_LE(worst, ulps) << std::hexfloat << "of (" << points.x[at] << ", " << points.y[at]
                           << "): " << values[at];
}

Points<float> asFloats(Points<double> const& points) {
    Points<float> result;
    for (std::size_t i = 0; i < points.x.size(); ++i) {
        result.add(static_cast<float>(points.x[i]), static_cast<float>(points.y[i]));
    }
    return result;
}

// A `float` value is rounded twice, in `double` and then at last.
constexpr double ulpsOfFloat = 0.5001;

template <class F>
void expectAccurate(Points<double> const& points) {
    expectWithin<F, double>(F::worstUlps, points, results<F>(points));
    Points<float> const floats = asFloats(points);
    expectWithin<F, float>(ulpsOfFloat, floats, results<F>(floats));
}

template <class F>
void expectLanesAgree(Points<double> const& points) {
    std::vector<double> const values = results<F>(points);
    expectSameValues<double>(values, resultsOfLanes<F>(points));
}

class Random {
  public:
    explicit Random(unsigned long seed) : engine(seed) {}

    double between(double low, double high) {
        return std::uniform_real_distribution<double>(low, high)(engine);
    }
    double signedBetween(double low, double high) {
        return between(0, 1) < 0.5 ? -between(low, high) : between(low, high);
    }
    /// Of any magnitude between two powers of two.
    double ofMagnitude(int low, int high) {
        return std::ldexp(between(1, 2), static_cast<int>(between(low, high)));
    }

  private:
    std::mt19937_64 engine;
};

constexpr int numRandom = 10000;

// --- Exponential and logarithm ---

Points<double> exponents() {
    Random random(1);
    Points<double> points;
    for (int i = 0; i < numRandom; ++i) {
        points.add(random.between(-746, 710));
        points.add(random.between(-1, 1));
        points.add(random.signedBetween(0, 1) * std::ldexp(1.0, -i % 60));
        // Beside the halves of ln 2, where the count of powers changes.
        points.add((std::floor(random.between(-1074, 1024)) + 0.5) * 0.6931471805599453);
    }
    for (double x : {709.782712893384, 709.7827128933841, -745.1332191019411, -745.1332191019412,
                     -708.3964185322641, -708.3964185322642, 88.72283, 88.72284, -103.97208, -103.97209}) {
        points.add(x);
    }
    return points;
}

TEST(Exponential, IsAccurate) { expectAccurate<Exp>(exponents()); }
TEST(Exponential, AgreesInLanes) { expectLanesAgree<Exp>(exponents()); }

// Arguments `x` and `y` and the value that is expected.
template <class T>
using Cases = std::vector<std::array<T, 3>>;

template <class F, class T>
void expectCasesOf(Cases<T> const& cases) {
    Points<T> points;
    std::vector<T> expected;
    for (auto const& [x, y, value] : cases) {
        points.add(x, y);
        expected.push_back(value);
    }
    expectSameValues<T>(expected, results<F>(points));
}

// Of both types.
template <class F>
void expectCases(Cases<double> const& cases) {
    Cases<float> floats;
    for (auto const& [x, y, value] : cases) {
        floats.push_back({static_cast<float>(x), static_cast<float>(y), static_cast<float>(value)});
    }
    expectCasesOf<F>(cases);
    expectCasesOf<F>(floats);
}

TEST(Exponential, TakesSpecialValues) {
    expectCases<Exp>({{0, 0, 1},
                      {-0.0, 0, 1},
                      {inf, 0, inf},
                      {-inf, 0, 0},
                      {nan, 0, nan},
                      {-nan, 0, nan},
                      {1000, 0, inf},
                      {-1000, 0, 0},
                      {largest, 0, inf},
                      {-largest, 0, 0},
                      {smallest, 0, 1}});
}

Points<double> positives() {
    Random random(2);
    Points<double> points;
    for (int i = 0; i < numRandom; ++i) {
        points.add(random.ofMagnitude(-1074, 1024));
        points.add(random.between(0.5, 2));
        points.add(1 + random.signedBetween(0, 1) * std::ldexp(1.0, -i % 53));
        points.add(random.ofMagnitude(-149, 128));
    }
    for (double x : {smallest, largest, 0x1p-1022, std::nextafter(0x1p-1022, 0), 0.7071067811865475,
                     0.7071067811865476}) {
        points.add(x);
        points.add(std::nextafter(x, inf) < inf ? std::nextafter(x, inf) : x);
    }
    return points;
}

TEST(Logarithm, IsAccurate) { expectAccurate<Log>(positives()); }
TEST(Logarithm, AgreesInLanes) { expectLanesAgree<Log>(positives()); }

TEST(Logarithm, TakesSpecialValues) {
    expectCases<Log>({{1, 0, 0},
                      {0, 0, -inf},
                      {-0.0, 0, -inf},
                      {inf, 0, inf},
                      {-inf, 0, nan},
                      {-1, 0, nan},
                      {nan, 0, nan}});
    expectCasesOf<Log, double>({{-smallest, 0, nan}});
}

// --- Power ---

Points<double> powers() {
    Random random(3);
    Points<double> points;
    for (int i = 0; i < numRandom; ++i) {
        double const x = random.ofMagnitude(-1074, 1024), near = std::exp2(random.between(-0.5, 0.5));
        // Over the whole range of the result, and a little beyond it.
        points.add(x, random.between(-746, 711) / std::log(x));
        points.add(near, random.between(-746, 711) / std::log(near));
        points.add(random.between(0, 100), random.between(-20, 20));
        points.add(random.signedBetween(0, 40), std::floor(random.between(-40, 40)));
        double const closer = 1 + random.signedBetween(0.5, 1) * std::ldexp(1.0, -i % 52);
        points.add(closer, random.between(-746, 710) / std::log(closer));
        points.add(10, random.between(-330, 310));
        float const f = static_cast<float>(random.ofMagnitude(-149, 128));
        points.add(f, random.between(-104, 89) / std::log(f));
    }
    return points;
}

TEST(Power, IsAccurate) { expectAccurate<Pow>(powers()); }
TEST(Power, AgreesInLanes) {
    expectLanesAgree<Pow>(powers());
    Points<double> special;
    for (double x : specialReals<double>()) {
        for (double y : specialReals<double>()) special.add(x, y);
    }
    expectLanesAgree<Pow>(special);
}

// A value that the type holds has no error.
TEST(Power, IsExactWhereItCanBe) {
    Points<double> points;
    std::vector<double> expected;
    auto const add = [&](double base, int exponent) {
        double value = 1;
        for (int i = 0; i < std::abs(exponent); ++i) value *= base;
        points.add(base, exponent);
        expected.push_back(exponent < 0 ? 1 / value : value);
    };
    for (int k = 0; k <= 22; ++k) add(10, k);
    for (int k = -1022; k <= 1023; ++k) add(2, k);
    for (int k = 0; k <= 33; ++k) add(-3, k);
    for (int base = 1; base < 2000; ++base) {
        for (int k = 0; std::pow(base, k) < 0x1p53 && k < 10; ++k) add(base, k);
        points.add(static_cast<double>(base) * base, 0.5);
        expected.push_back(base);
    }
    for (double k = -1074; k < -1022; ++k) {
        points.add(2, k);
        expected.push_back(std::ldexp(1.0, static_cast<int>(k)));
    }
    expectSameBits(expected, results<Pow>(points));

    Points<float> floats;
    std::vector<float> expectedFloats;
    for (int k = 0; k <= 10; ++k) {
        floats.add(10, static_cast<float>(k));
        expectedFloats.push_back(static_cast<float>(std::pow(10.0, k)));
    }
    for (int k = -149; k < 128; ++k) {
        floats.add(2, static_cast<float>(k));
        expectedFloats.push_back(std::ldexp(1.0f, k));
    }
    expectSameBits(expectedFloats, results<Pow>(floats));
}

// The list of the C standard's Annex F.
TEST(Power, TakesSpecialValues) {
    expectCases<Pow>(
        {{0, -3, inf},      {-0.0, -3, -inf}, {0, -2, inf},      {-0.0, -2, inf},     {0, -2.5, inf},
         {-0.0, -2.5, inf}, {0, -inf, inf},   {-0.0, -inf, inf}, {0, 3, 0},           {-0.0, 3, -0.0},
         {0, 2, 0},         {-0.0, 2, 0},     {0, 2.5, 0},       {-0.0, 2.5, 0},      {-1, inf, 1},
         {-1, -inf, 1},     {1, nan, 1},      {1, inf, 1},       {1, -inf, 1},        {1, 7.5, 1},
         {nan, 0, 1},       {nan, -0.0, 1},   {inf, 0, 1},       {-inf, -0.0, 1},     {0, 0, 1},
         {-0.0, 0, 1},      {-2, 0.5, nan},   {-1, 0.5, nan},    {-8, 1.0f / 3, nan}, {0.5, -inf, inf},
         {-0.5, -inf, inf}, {0, -inf, inf},   {2, -inf, 0},      {-2, -inf, 0},       {0.5, inf, 0},
         {-0.5, inf, 0},    {2, inf, inf},    {-2, inf, inf},    {-inf, -3, -0.0},    {-inf, -2, 0},
         {-inf, -2.5, 0},   {-inf, 3, -inf},  {-inf, 2, inf},    {-inf, 2.5, inf},    {inf, -1, 0},
         {inf, 1, inf},     {inf, -inf, 0},   {inf, inf, inf},   {-inf, inf, inf},    {-inf, -inf, 0},
         {nan, 1, nan},     {2, nan, nan},    {0, nan, nan},     {inf, nan, nan},     {nan, inf, nan},
         {-2, 3, -8},       {-2, -3, -0.125}, {-2, 4, 16},       {-2, 1e30f, inf},    {-2, -1e30f, 0}});
    // Odd are only integers below 2^53, the last of them among the last that have halves beside them.
    expectCasesOf<Pow, double>({{-1, 0x1p53 - 1, -1},
                                {-1, 0x1p53, 1},
                                {-1, 0x1p53 + 2, 1},
                                {-1, 0x1p52 + 1, -1},
                                {-1, 0x1p51 + 0.5, nan},
                                {-2, 2147483647.0, -inf}});
    expectCasesOf<Pow, float>({{-1, 0x1p24f - 1, -1}, {-1, 0x1p24f, 1}, {-1, 0x1p22f + 0.5f, nan}});
    expectCasesOf<Pow, double>({{smallest, 1, smallest},
                                {largest, 1, largest},
                                {smallest, -1, inf},
                                {largest, 2, inf},
                                {largest, -2, 0},
                                {1 + 0x1p-52, largest, inf},
                                {1 - 0x1p-53, largest, 0},
                                {2, smallest, 1},
                                {0.5, -largest, inf}});
}

// --- Sine and cosine ---

Points<double> angles() {
    Random random(4);
    Points<double> points;
    for (int i = 0; i < numRandom; ++i) {
        points.add(random.between(-10, 10));
        points.add(random.signedBetween(0, 1) * random.ofMagnitude(-1074, 1023));
        points.add(random.ofMagnitude(25, 35));
        // Beside multiples of pi / 2.
        double const multiple = std::floor(random.between(-1e9, 1e9)) * 1.5707963267948966;
        points.add(std::nextafter(multiple, i % 2 == 0 ? inf : -inf));
        points.add(std::floor(random.between(-20, 20)) * 1.5707963267948966);
        points.add(std::floor(random.ofMagnitude(20, 128)) * 1.5707963267948966);
    }
    // The `double` nearest to a multiple of pi / 2, relative to its size; W. Kahan's, as told by J.-M.
    // Muller, Elementary Functions. And others told as hard.
    for (double x : {6381956970095103 * 0x1p797, 0x1.4d79ae1a3ef5cp+0, 5.0122, 0x1.921fb54442d18p+0,
                     0x1.921fb54442d18p+1, 0x1.2d97c7f3321d2p+1, 0x1p30, std::nextafter(0x1p30, 0), 0x1p1023,
                     largest, 16367173 * 0x1p72, 8.24798e17, 1e22}) {
        points.add(x);
        points.add(-x);
    }
    return points;
}

TEST(Sine, IsAccurate) { expectAccurate<Sin>(angles()); }
TEST(Cosine, IsAccurate) { expectAccurate<Cos>(angles()); }

TEST(Sine, TakesSpecialValues) {
    expectCases<Sin>({{0, 0, 0}, {-0.0, 0, -0.0}, {inf, 0, nan}, {-inf, 0, nan}, {nan, 0, nan}});
    expectCasesOf<Sin, double>(
        {{smallest, 0, smallest}, {-smallest, 0, -smallest}, {0x1p-1022, 0, 0x1p-1022}});
}

TEST(Cosine, TakesSpecialValues) {
    expectCases<Cos>(
        {{0, 0, 1}, {-0.0, 0, 1}, {smallest, 0, 1}, {inf, 0, nan}, {-inf, 0, nan}, {nan, 0, nan}});
}

TEST(SineOfATurn, IsAccurate) {
    Random random(5);
    Points<double> points;
    double const quarter = 0x1.921fb54442d18p+0;
    for (int i = 0; i < numRandom; ++i) {
        points.add(random.between(0, 4 * quarter));
        double const multiple = i % 5 * quarter;
        points.add(
            std::clamp(multiple + random.signedBetween(0, 1) * std::ldexp(1.0, -i % 60), 0.0, 4 * quarter));
    }
    for (int i = 0; i <= 8; ++i) points.add(i * quarter / 2);
    expectWithin<SinOfTurn, double>(SinOfTurn::worstUlps, points, resultsOfLanes<SinOfTurn>(points));
    expectWithin<CosOfTurn, double>(CosOfTurn::worstUlps, points, resultsOfLanes<CosOfTurn>(points));
}

// --- Angle and length ---

Points<double> pairs() {
    Random random(6);
    Points<double> points;
    for (int i = 0; i < numRandom; ++i) {
        double const x = random.signedBetween(0, 1) * random.ofMagnitude(-1074, 1023);
        points.add(x, random.signedBetween(0, 1) * random.ofMagnitude(-1074, 1023));
        points.add(x, x * random.signedBetween(0, 2));
        points.add(random.between(-1, 1), random.between(-1, 1));
        points.add(x, x * (1 + random.between(-1, 1) * std::ldexp(1.0, -i % 53)));
        float const f = static_cast<float>(random.signedBetween(0, 1) * random.ofMagnitude(-149, 127));
        points.add(f, static_cast<float>(f * random.signedBetween(0, 3)));
    }
    for (double x : {smallest, 0x1p-1022, 0x1p-900, 0x1p-500, 1.0, 0x1p500, 0x1p1000, largest}) {
        for (double y : {smallest, 0x1p-1022, 0x1p-900, 0x1p-500, 1.0, 0x1p500, 0x1p1000, largest})
            points.add(x, -y);
    }
    return points;
}

TEST(Angle, IsAccurate) { expectAccurate<Atan2>(pairs()); }
TEST(Angle, AgreesInLanes) { expectLanesAgree<Atan2>(pairs()); }

TEST(Angle, TakesSpecialValues) {
    double const pi = 0x1.921fb54442d18p+1, threeQuarters = 0x1.2d97c7f3321d2p+1;
    expectCases<Atan2>({{0, -0.0, pi},
                        {-0.0, -0.0, -pi},
                        {0, 0, 0},
                        {-0.0, 0, -0.0},
                        {0, -1, pi},
                        {-0.0, -1, -pi},
                        {0, 1, 0},
                        {-0.0, 1, -0.0},
                        {-1, 0, -pi / 2},
                        {-1, -0.0, -pi / 2},
                        {1, 0, pi / 2},
                        {1, -0.0, pi / 2},
                        {2, -inf, pi},
                        {-2, -inf, -pi},
                        {2, inf, 0},
                        {-2, inf, -0.0},
                        {inf, 3, pi / 2},
                        {-inf, 3, -pi / 2},
                        {inf, -3, pi / 2},
                        {-inf, -3, -pi / 2},
                        {inf, inf, pi / 4},
                        {-inf, inf, -pi / 4},
                        {inf, -inf, threeQuarters},
                        {-inf, -inf, -threeQuarters},
                        {0, -inf, pi},
                        {-0.0, inf, -0.0},
                        {inf, 0, pi / 2},
                        {nan, 1, nan},
                        {1, nan, nan},
                        {nan, nan, nan},
                        {inf, nan, nan},
                        {nan, inf, nan},
                        {0, nan, nan},
                        {1, 1, pi / 4},
                        {-1, 1, -pi / 4},
                        {1, -1, threeQuarters},
                        {-1, -1, -threeQuarters}});
}

TEST(Length, IsAccurate) { expectAccurate<Hypot>(pairs()); }
TEST(Length, AgreesInLanes) { expectLanesAgree<Hypot>(pairs()); }

TEST(Length, TakesSpecialValues) {
    expectCases<Hypot>({{inf, nan, inf},
                        {nan, inf, inf},
                        {-inf, nan, inf},
                        {nan, -inf, inf},
                        {inf, 1, inf},
                        {-1, -inf, inf},
                        {nan, 1, nan},
                        {0, nan, nan},
                        {nan, nan, nan},
                        {0, 0, 0},
                        {-0.0, -0.0, 0},
                        {-0.0, 0, 0},
                        {3, 4, 5},
                        {-5, 12, 13},
                        {largest, largest, inf}});
    expectCasesOf<Hypot, double>(
        {{3 * smallest, 4 * smallest, 5 * smallest}, {0x1.8p1022, 0x1p1023, 0x1.4p1023}});
}

TEST(Length, OfAZeroPartIsTheOther) {
    Random random(7);
    Points<double> points;
    std::vector<double> expected;
    for (int i = 0; i < numRandom; ++i) {
        double const x = random.ofMagnitude(-1074, 1024);
        i % 2 == 0 ? points.add(-x, 0) : points.add(-0.0, x);
        expected.push_back(x);
    }
    expectSameBits(expected, results<Hypot>(points));
}

TEST(LogarithmOfLength, IsAccurate) {
    Points<double> points = pairs();
    Random random(8);
    for (int i = 0; i < numRandom; ++i) {
        double const angle = random.between(0, 7),
                     length = 1 + random.between(-1, 1) * std::ldexp(1.0, -i % 53);
        points.add(length * std::cos(angle), length * std::sin(angle));
    }
    for (double x : {0.7071067811865475, 0.7071067811865476}) points.add(x, x);
    expectWithin<LogOfLength, double>(LogOfLength::worstUlps, points, results<LogOfLength>(points));
    Points<float> const floats = asFloats(points);
    expectWithin<LogOfLength, float>(ulpsOfFloat, floats, results<LogOfLength>(floats));
}

TEST(LogarithmOfLength, TakesSpecialValues) {
    expectCases<LogOfLength>({{0, 0, -inf},
                              {-0.0, 0, -inf},
                              {1, 0, 0},
                              {0, -1, 0},
                              {inf, nan, inf},
                              {nan, -inf, inf},
                              {inf, 1, inf},
                              {nan, 1, nan},
                              {0, nan, nan}});
}

// --- Inverse complementary error function ---

Points<double> probabilities() {
    Random random(9);
    Points<double> points;
    for (int i = 0; i < numRandom / 20; ++i) {
        points.add(random.between(0, 2));
        points.add(random.ofMagnitude(-1074, 0));
        points.add(1 + random.between(-1, 1) * std::ldexp(1.0, -i % 53));
        points.add(std::fmin(2 - random.ofMagnitude(-53, -1), std::nextafter(2, 0)));
        points.add(random.ofMagnitude(-149, -40));
    }
    for (double y : {smallest, 0x1p-1022, 0x1p-56, std::nextafter(0x1p-56, 0), std::nextafter(2, 0), 0x1p-149,
                     std::exp(-13.25 * 13.25), std::exp(-6.25 * 6.25)}) {
        points.add(y);
    }
    return points;
}

TEST(InverseErrorFunction, IsAccurate) { expectAccurate<ErfcInverse>(probabilities()); }
TEST(InverseErrorFunction, AgreesInLanes) {
    Points<double> points = probabilities();
    for (double y : specialReals<double>()) points.add(y);
    points.add(2);
    expectLanesAgree<ErfcInverse>(points);
}

TEST(InverseErrorFunction, TakesSpecialValues) {
    expectCases<ErfcInverse>({{0, 0, inf},
                              {-0.0, 0, inf},
                              {2, 0, -inf},
                              {1, 0, 0},
                              {-1, 0, nan},
                              {2.5, 0, nan},
                              {inf, 0, nan},
                              {-inf, 0, nan},
                              {nan, 0, nan}});
    expectCasesOf<ErfcInverse, double>({{-smallest, 0, nan}, {std::nextafter(2, 3), 0, nan}});
}

// --- The bits themselves ---

// Numbers of all magnitudes and such as occur, made without a mathematical function of the C library.
template <class T>
Points<T> corpus() {
    std::mt19937_64 engine(10);
    auto const any = [&] {
        std::conditional_t<sizeof(T) == 8, unsigned long, unsigned int> const bits =
            engine() >> (64 - 8 * sizeof(T));
        T value;
        std::memcpy(&value, &bits, sizeof value);
        return value;
    };
    auto const moderate = [&] {
        return static_cast<T>(static_cast<long>(engine() >> 40) - (1l << 23)) / T(1 << 17);
    };
    Points<T> points;
    for (int i = 0; i < 4000; ++i) {
        points.add(any(), any());
        points.add(moderate(), moderate());
        points.add(std::fabs(moderate()) / 32, any());
        points.add(any(), moderate());
    }
    return points;
}

template <class F, class T>
unsigned long hashOf() {
    Hash hash;
    hash.add<T>(results<F>(corpus<T>()));
    return hash.value();
}

// A changed hash is a changed result, on this device or on all, to be decided on.
TEST(Bits, AreTheSameOnEveryDevice) {
    EXPECT_EQ(0xdefe86c768449ca3, (hashOf<Exp, double>()));
    EXPECT_EQ(0xa041cc1b6bdc86ef, (hashOf<Exp, float>()));
    EXPECT_EQ(0xe0d51ae47cf03fd9, (hashOf<Log, double>()));
    EXPECT_EQ(0x4212d5ba0f44af83, (hashOf<Log, float>()));
    EXPECT_EQ(0xd82cac7b4cd4ae5e, (hashOf<Pow, double>()));
    EXPECT_EQ(0xfd03a100eac7bd26, (hashOf<Pow, float>()));
    EXPECT_EQ(0xf30d577bfe1e9528, (hashOf<Sin, double>()));
    EXPECT_EQ(0x8b33a73ec03eb877, (hashOf<Sin, float>()));
    EXPECT_EQ(0x90a911faba28e30c, (hashOf<Cos, double>()));
    EXPECT_EQ(0x479c43fad3bc07b8, (hashOf<Cos, float>()));
    EXPECT_EQ(0x9294c4657a3398e4, (hashOf<Atan2, double>()));
    EXPECT_EQ(0x11ad3829f2a0627e, (hashOf<Atan2, float>()));
    EXPECT_EQ(0x038d4d14191b7e22, (hashOf<Hypot, double>()));
    EXPECT_EQ(0x25c6454e3d9be774, (hashOf<Hypot, float>()));
    EXPECT_EQ(0x23346d4ed3bd4d69, (hashOf<LogOfLength, double>()));
    EXPECT_EQ(0x8af41ac7081109e8, (hashOf<LogOfLength, float>()));
    EXPECT_EQ(0x1c09c81e55be1d4a, (hashOf<ErfcInverse, double>()));
    EXPECT_EQ(0xe2da48aa5fbfeea9, (hashOf<ErfcInverse, float>()));
}

}  // namespace
}  // namespace gpuruntime::testing

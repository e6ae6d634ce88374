#include <gpuruntime/predicates.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>
#include <vector>

#include "tests/support/device_array.hpp"
#include "tests/support/device_limits.hpp"
#include "tests/support/exact.hpp"
#include "tests/support/test_types.hpp"
#include "tests/support/values.hpp"

namespace gpuruntime {
namespace {

using testing::Bytes;
using testing::DeviceArray;
using testing::Elements;
using testing::ElementType;
using testing::Exact;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();

/// A predicate of one type, over `n` elements.
template <class Out>
struct Predicate {
    ElementType type;
    void (*run)(Out* out, void const* in, unsigned long n);
};

template <class Family, class Out, class... T>
std::vector<Predicate<Out>> predicatesOf(internal::TypeList<T...>) {
    return {Predicate<Out>{testing::elementType<T>(), [](Out* out, void const* in, unsigned long n) {
                               typename Family::template Invoker<T>()(nullptr, out, static_cast<T const*>(in),
                                                                      n);
                           }}...};
}

/// What is asked of an element, part by part.
struct Parts {
    bool anyNonZero = false, anyNaN = false, anyInfinite = false, anyNegative = false;

    Parts(ElementType type, unsigned char const* element) {
        for (std::size_t p = 0; p < type.numParts; ++p) {
            Exact const value = testing::exactValue(type, element + p * type.partSize);
            anyNonZero |= !value.isZero();
            anyNaN |= value.kind == Exact::notANumber;
            anyInfinite |= value.kind == Exact::infinite;
            anyNegative |= value.isNegative && value.kind != Exact::notANumber && !value.isZero();
        }
    }
};

template <class Out, class Expected>
void expectPredicate(Predicate<Out> const& predicate, Bytes const& values, Expected holds) {
    unsigned long const n = values.size() / predicate.type.size();
    Elements<Out> expected;
    for (unsigned long i = 0; i < n; ++i) {
        expected.push_back(holds(Parts(predicate.type, values.data() + i * predicate.type.size())));
    }
    DeviceArray<unsigned char> in(values);
    DeviceArray<Out> out(n);
    predicate.run(out.data(), in.data(), n);
    EXPECT_EQ(cudaSuccess, cudaGetLastError());
    testing::expectSameBits(expected, out.values());
    EXPECT_EQ(values, in.values());
}

/// All types of a family, on all values that matter, at all sizes, and with a folded grid.
template <class Out, class Expected>
void expectPredicates(std::vector<Predicate<Out>> const& predicates, Expected holds) {
    for (Predicate<Out> const& predicate : predicates) {
        expectPredicate(predicate, testing::telltaleElements(predicate.type), holds);
        Bytes const parts = testing::telltaleParts(predicate.type);
        for (unsigned long n : {0ul, 1ul, 2ul, 255ul, 256ul, 257ul, 1000ul}) {
            expectPredicate(predicate, testing::elementsOf(predicate.type, parts, n), holds);
        }
        testing::GridLimits const limits(2);
        expectPredicate(predicate, testing::elementsOf(predicate.type, parts, 1300), holds);
    }
}

TEST(Predicates, AgreeWithTheReferenceForAllTypes) {
    expectPredicates(predicatesOf<IsNaN, bool>(internal::Floating{}), [](Parts is) { return is.anyNaN; });
    expectPredicates(predicatesOf<IsInf, bool>(internal::Floating{}),
                     [](Parts is) { return is.anyInfinite; });
    expectPredicates(predicatesOf<IsNaNOrInf, bool>(internal::Floating{}),
                     [](Parts is) { return is.anyNaN || is.anyInfinite; });
    expectPredicates(predicatesOf<IsNonZero, bool>(internal::All{}), [](Parts is) { return is.anyNonZero; });
    expectPredicates(predicatesOf<IsNeitherZeroNorNaN, bool>(internal::All{}),
                     [](Parts is) { return is.anyNonZero && !is.anyNaN; });
    expectPredicates(predicatesOf<FlagNonZero, double>(internal::All{}),
                     [](Parts is) { return is.anyNonZero ? 1.0 : 0.0; });
    expectPredicates(predicatesOf<FlagNegative, double>(internal::Real{}),
                     [](Parts is) { return is.anyNegative ? 1.0 : 0.0; });
}

template <class Family, class T, class Out = bool>
void expectExample(Elements<T> const& values, Elements<Out> const& expected) {
    DeviceArray<T> in(values);
    DeviceArray<Out> out(values.size());
    typename Family::template Invoker<T>()(nullptr, out.data(), in.data(), values.size());
    testing::expectSameBits(expected, out.values());
}

TEST(Predicates, ExamplesOfTheHeaders) {
    expectExample<IsNaN, double>({1, nan, inf}, {false, true, false});
    expectExample<IsInf, double>({1, nan, -inf}, {false, false, true});
    expectExample<IsNaNOrInf, double>({1, nan, -inf}, {false, true, true});
    expectExample<IsNonZero, double>({0, -0.0, 2, nan}, {false, false, true, true});
    expectExample<IsNeitherZeroNorNaN, double>({0, 2, nan, inf}, {false, true, false, true});
    expectExample<FlagNonZero, double, double>({0, 2, nan}, {0, 1, 1});
    expectExample<FlagNegative, double, double>({-2, -0.0, nan, 3}, {1, 0, 0, 0});
}

TEST(Predicates, OfComplexValuesAskBothParts) {
    expectExample<IsNaN, double2>({{1, nan}, {nan, 1}, {inf, 1}}, {true, true, false});
    expectExample<IsInf, float2>({{1, HUGE_VALF}, {-HUGE_VALF, float(nan)}, {float(nan), 1}},
                                 {true, true, false});
    expectExample<IsNeitherZeroNorNaN, double2>({{0, inf}, {0, 0}, {5, nan}, {nan, 5}},
                                                {true, false, false, false});
    expectExample<IsNonZero, double2>({{0, -0.0}, {0, nan}, {1, 0}}, {false, true, true});
}

// --- ElementwiseCompare ---

/// A comparison of two types.
struct Comparison {
    ElementType a, b;
    void (*run)(unsigned long n, bool* out, void const* a, void const* b, bool nanEqual, bool negate);
};

template <class A, class... B>
void addComparisons(std::vector<Comparison>& comparisons, internal::TypeList<B...>) {
    (comparisons.push_back(
         {testing::elementType<A>(), testing::elementType<B>(),
          [](unsigned long n, bool* out, void const* a, void const* b, bool nanEqual, bool negate) {
              ElementwiseCompare::Invoker<A, B>()(nullptr, n, out, static_cast<A const*>(a),
                                                  static_cast<B const*>(b), nanEqual, negate);
          }}),
     ...);
}

template <class... A, class List>
std::vector<Comparison> comparisonsOf(internal::TypeList<A...>, List others) {
    std::vector<Comparison> comparisons;
    (addComparisons<A>(comparisons, others), ...);
    return comparisons;
}

std::vector<Comparison> const comparisons = comparisonsOf(internal::All{}, internal::All{});

/// Parts that differ or are equal in some types and not in others.
Bytes crossedParts(ElementType type, bool few) {
    std::vector<Exact> values;
    for (std::uint64_t magnitude : {std::uint64_t{0}, std::uint64_t{1}, std::uint64_t{128}}) {
        values.push_back({Exact::finite, false, magnitude, 0});
        values.push_back({Exact::finite, true, magnitude, 0});
    }
    if (type.isFloating) {
        values.push_back({Exact::notANumber, false, 0, 0});
        values.push_back({Exact::infinite, true, 0, 0});
        values.push_back({Exact::finite, false, (std::uint64_t{1} << 53) + 1, 0});
    } else {
        for (int power : {8, 16, 24, 32, 53, 64}) {
            if (!few || power == 53) values.push_back({Exact::finite, false, 1, power});
            if (!few && power < 64) {
                values.push_back({Exact::finite, true, 1, power - 1});
                values.push_back({Exact::finite, false, (std::uint64_t{1} << power) - 1, 0});
            }
            if (!few && power < 64) {
                values.push_back({Exact::finite, false, (std::uint64_t{1} << power) + 1, 0});
            }
        }
        values.push_back({Exact::finite, true, 1, 64});
    }
    if (type.isFloating && !few) {
        values.push_back({Exact::notANumber, true, 0, 0});
        values.push_back({Exact::infinite, false, 0, 0});
        values.push_back({Exact::finite, false, 3602879701896397, -55});  // 0.1 as a `double`
        values.push_back({Exact::finite, false, 1, -1074});
        values.push_back({Exact::finite, true, 1, -149});
        for (int power : {8, 16, 24, 31, 32, 53, 63, 64, 127, 1023}) {
            values.push_back({Exact::finite, false, 1, power});
            values.push_back({Exact::finite, true, 1, power});
            if (power > 63) continue;
            values.push_back({Exact::finite, false, (std::uint64_t{1} << power) + 1, 0});
            values.push_back({Exact::finite, false, (std::uint64_t{1} << power) - 1, 0});
        }
    }
    Bytes parts;
    for (Exact const& value : values) {
        std::uint64_t bits =
            type.isFloating ? testing::floatingBits(type, value) : testing::integerBits(type, value);
        if (type.isLogical) bits = value.isZero() ? 0 : 1;
        if (type.isFloating && value.kind == Exact::notANumber && value.isNegative) {
            bits |= std::uint64_t{1} << (type.bits() - 1);
        }
        testing::appendPart(parts, type, bits);
    }
    return parts;
}

/// Every part, or for complex types every pair of a few parts.
Bytes crossedElements(ElementType type) {
    Bytes const parts = crossedParts(type, type.numParts > 1);
    if (type.numParts == 1) return parts;
    Bytes elements;
    for (std::size_t x = 0; x < parts.size(); x += type.partSize) {
        for (std::size_t y = 0; y < parts.size(); y += type.partSize) {
            for (std::size_t from : {x, y}) {
                elements.insert(elements.end(), parts.begin() + static_cast<long>(from),
                                parts.begin() + static_cast<long>(from + type.partSize));
            }
        }
    }
    return elements;
}

Exact asDouble(Exact value) {
    ElementType const type = testing::elementType<double>();
    std::uint64_t const bits = testing::floatingBits(type, value);
    return testing::exactValue(type, &bits);
}

bool equalNumbers(Exact a, Exact b, bool nanEqual) {
    if (a.kind != b.kind) return false;
    if (a.kind == Exact::notANumber) return nanEqual;
    if (a.kind == Exact::infinite) return a.isNegative == b.isNegative;
    if (a.isZero() || b.isZero()) return a.isZero() && b.isZero();
    auto const reduce = [](Exact& value) {
        int const zeros = __builtin_ctzl(value.magnitude);
        value.magnitude >>= zeros;
        value.exponent += zeros;
    };
    reduce(a);
    reduce(b);
    return a.isNegative == b.isNegative && a.magnitude == b.magnitude && a.exponent == b.exponent;
}

/// Whether two parts are equal, in the type that is common to both.
bool equalParts(ElementType typeA, void const* a, ElementType typeB, void const* b, bool nanEqual) {
    Exact const valueA = testing::exactValue(typeA, a), valueB = testing::exactValue(typeB, b);
    bool const areLong = typeA.partSize == 8 && typeB.partSize == 8 && !typeA.isFloating && !typeB.isFloating;
    if (typeA.part() == typeB.part() || areLong) return equalNumbers(valueA, valueB, nanEqual);
    return equalNumbers(asDouble(valueA), asDouble(valueB), nanEqual);
}

bool equalElements(ElementType typeA, unsigned char const* a, ElementType typeB, unsigned char const* b,
                   bool nanEqual) {
    ElementType const partA = typeA.part(), partB = typeB.part();
    if (!equalParts(partA, a, partB, b, nanEqual)) return false;
    unsigned char const* const imA = a + partA.partSize;
    unsigned char const* const imB = b + partB.partSize;
    if (typeA.numParts == 2 && typeB.numParts == 2) return equalParts(partA, imA, partB, imB, nanEqual);
    if (typeA.numParts == 2) return testing::exactValue(partA, imA).isZero();
    return typeB.numParts == 1 || testing::exactValue(partB, imB).isZero();
}

void expectComparison(Comparison const& comparison, Bytes const& a, Bytes const& b) {
    std::size_t const sizeA = comparison.a.size(), sizeB = comparison.b.size(), n = a.size() / sizeA;
    DeviceArray<unsigned char> inA(a), inB(b);
    for (bool nanEqual : {false, true}) {
        Elements<bool> equal, unequal;
        for (std::size_t i = 0; i < n; ++i) {
            equal.push_back(equalElements(comparison.a, a.data() + i * sizeA, comparison.b,
                                          b.data() + i * sizeB, nanEqual));
            unequal.push_back(!equal.back());
        }
        DeviceArray<bool> out(n);
        comparison.run(n, out.data(), inA.data(), inB.data(), nanEqual, false);
        testing::expectSameBits(equal, out.values());
        comparison.run(n, out.data(), inA.data(), inB.data(), nanEqual, true);
        testing::expectSameBits(unequal, out.values());
        EXPECT_EQ(cudaSuccess, cudaGetLastError());
    }
    EXPECT_EQ(a, inA.values());
    EXPECT_EQ(b, inB.values());
}

TEST(ElementwiseCompare, AgreesWithTheReferenceOnCrossedValuesOfAllPairs) {
    for (Comparison const& comparison : comparisons) {
        Bytes const as = crossedElements(comparison.a), bs = crossedElements(comparison.b);
        Bytes a, b;
        for (std::size_t i = 0; i < as.size(); i += comparison.a.size()) {
            for (std::size_t j = 0; j < bs.size(); j += comparison.b.size()) {
                a.insert(a.end(), as.begin() + static_cast<long>(i),
                         as.begin() + static_cast<long>(i + comparison.a.size()));
                b.insert(b.end(), bs.begin() + static_cast<long>(j),
                         bs.begin() + static_cast<long>(j + comparison.b.size()));
            }
        }
        expectComparison(comparison, a, b);
        if (HasFatalFailure()) {
            ADD_FAILURE() << comparison.a.numParts << " parts of " << comparison.a.partSize << " bytes with "
                          << comparison.b.numParts << " of " << comparison.b.partSize;
            return;
        }
    }
}

TEST(ElementwiseCompare, OfAnySizeWritesNothingElse) {
    for (Comparison const& comparison : comparisons) {
        Bytes const as = crossedElements(comparison.a), bs = crossedElements(comparison.b);
        for (unsigned long n : {1ul, 255ul, 256ul, 257ul, 513ul}) {
            expectComparison(comparison,
                             testing::elementsOf(comparison.a, crossedParts(comparison.a, false), n),
                             testing::elementsOf(comparison.b, crossedParts(comparison.b, false), n));
        }
        DeviceArray<bool> none(3);
        comparison.run(0, none.data(), nullptr, nullptr, false, true);
        EXPECT_TRUE(none.untouched());
    }
}

TEST(ElementwiseCompare, FoldsALongGrid) {
    testing::GridLimits const limits(2);
    for (Comparison const& comparison : comparisons) {
        if (!comparison.a.isLogical) continue;
        expectComparison(comparison,
                         testing::elementsOf(comparison.a, crossedParts(comparison.a, false), 1300),
                         testing::elementsOf(comparison.b, crossedParts(comparison.b, false), 1300));
    }
}

template <class A, class B>
void expectEqual(Elements<A> const& a, Elements<B> const& b, bool nanEqual, Elements<bool> const& expected) {
    if constexpr (internal::isBuilt<A> && internal::isBuilt<B>) {
        DeviceArray<A> inA(a);
        DeviceArray<B> inB(b);
        DeviceArray<bool> out(a.size());
        ElementwiseCompare::Invoker<A, B>()(nullptr, a.size(), out.data(), inA.data(), inB.data(), nanEqual,
                                            false);
        testing::expectSameBits(expected, out.values());
    }
}

TEST(ElementwiseCompare, ExampleOfTheHeader) {
    expectEqual<double2, double>({{1, 0}, {nan, 0}, {1, nan}}, {1, nan, 1}, true, {true, true, false});
}

TEST(ElementwiseCompare, TakesNaNsForEqualOnRequest) {
    expectEqual<double, double>({nan, nan, -nan}, {nan, 1, nan}, true, {true, false, true});
    expectEqual<double, double>({nan, 1}, {nan, 1}, false, {false, true});
    expectEqual<float, double>({float(nan)}, {nan}, true, {true});
}

TEST(ElementwiseCompare, ComparesInTheCommonType) {
    expectEqual<long, unsigned long>({-1, 5}, {~0ul, 5}, false, {false, true});
    expectEqual<unsigned long, double>({(1ul << 53) + 1, (1ul << 53) + 2}, {0x1p53, 0x1p53}, false,
                                       {true, false});
    expectEqual<long, double>({(1l << 53) + 1}, {0x1p53}, false, {true});
    expectEqual<unsigned long, float>({(1ul << 53) + 1}, {0x1p53f}, false, {true});
    expectEqual<int, float>({16777217}, {16777216.0f}, false, {false});
    expectEqual<float, double>({0.1f}, {0.1}, false, {false});
    expectEqual<int, unsigned int>({-1, 7}, {~0u, 7}, false, {false, true});
}

TEST(ElementwiseCompare, TakesLogicalsForTheNumbersOfTheirBytes) {
    DeviceArray<unsigned char> a({0, 1, 2, 2, 255}), b({0, 1, 1, 2, 255});
    DeviceArray<double> numbers({0, 1, 1, 2, 255});
    auto const* const logicalA = reinterpret_cast<bool const*>(a.data());
    auto const* const logicalB = reinterpret_cast<bool const*>(b.data());
    Elements<bool> const expected{true, true, false, true, true};
    DeviceArray<bool> out(5), outNumbers(5);
    ElementwiseCompare::Invoker<bool, bool>()(nullptr, 5, out.data(), logicalA, logicalB, false, false);
    testing::expectSameBits(expected, out.values());
    ElementwiseCompare::Invoker<double, bool>()(nullptr, 5, outNumbers.data(), numbers.data(), logicalA,
                                                false, false);
    testing::expectSameBits(expected, outNumbers.values());
}

// --- Whole-array checks ---

template <class T>
class Checks : public ::testing::Test {
  protected:
    static constexpr unsigned long n = 1000;

    template <class Family>
    static bool check(Elements<T> const& values) {
        DeviceArray<T> in(values);
        unsigned long const count = values.size();
        bool const found = typename Family::template Invoker<T>()(nullptr, in.data(), count);
        EXPECT_EQ(cudaSuccess, cudaGetLastError());
        testing::expectSameBits(values, in.values());
        return found;
    }

    /// Ones, but for one part of one element.
    static Elements<T> onesBut(unsigned long place, std::size_t part, internal::Part<T> value) {
        using Part = internal::Part<T>;
        Elements<T> values(n);
        auto* const parts = reinterpret_cast<Part*>(values.data());
        std::size_t const numParts = sizeof(T) / sizeof(Part);
        for (std::size_t i = 0; i < n * numParts; ++i) parts[i] = 1;
        if (place < n) parts[place * numParts + part] = value;
        return values;
    }
};
TYPED_TEST_SUITE(Checks, testing::TestTypes<internal::Floating>);

TYPED_TEST(Checks, FindOneValueInAnyPlace) {
    using Part = internal::Part<TypeParam>;
    using Limits = std::numeric_limits<Part>;
    Part const quiet = Limits::quiet_NaN();
    for (unsigned long place : {0ul, 255ul, 256ul, 511ul, 999ul}) {
        for (std::size_t part = 0; part < sizeof(TypeParam) / sizeof(Part); ++part) {
            for (Part value : {Limits::infinity(), -Limits::infinity(), quiet, std::copysign(quiet, Part(-1)),
                               Limits::max(), Limits::denorm_min(), Part(0)}) {
                auto const values = this->onesBut(place, part, value);
                EXPECT_EQ(std::isinf(value), this->template check<CheckInf>(values));
                EXPECT_EQ(std::isnan(value), this->template check<CheckNaN>(values));
                EXPECT_EQ(!std::isfinite(value), this->template check<CheckNotFinite>(values));
            }
        }
    }
}

TYPED_TEST(Checks, FindNothingInNothing) {
    EXPECT_FALSE(this->template check<CheckInf>({}));
    EXPECT_FALSE(this->template check<CheckNaN>({}));
    EXPECT_FALSE(this->template check<CheckNotFinite>({}));
}

TYPED_TEST(Checks, FoldALongGrid) {
    testing::GridLimits const limits(1);
    auto const values = this->onesBut(999, 0, std::numeric_limits<internal::Part<TypeParam>>::infinity());
    EXPECT_TRUE(this->template check<CheckInf>(values));
    EXPECT_FALSE(this->template check<CheckNaN>(values));
}

template <class T>
class AscendingCheck : public Checks<T> {
  protected:
    static bool fails(Elements<T> const& values) {
        return Checks<T>::template check<CheckNotStronglySortedAscending>(values);
    }
};
TYPED_TEST_SUITE(AscendingCheck, testing::TestTypes<internal::FloatingReal>);

TYPED_TEST(AscendingCheck, FindsAPairThatDoesNotAscend) {
    auto const quiet = std::numeric_limits<TypeParam>::quiet_NaN();
    EXPECT_FALSE(this->fails({}));
    EXPECT_FALSE(this->fails({1}));
    EXPECT_TRUE(this->fails({1, 1}));
    EXPECT_TRUE(this->fails({-0.0f, 0}));
    EXPECT_FALSE(this->fails({1, quiet, 2}));
    EXPECT_FALSE(this->fails({1, quiet, 0}));
    EXPECT_TRUE(this->fails({1, 2, 2}));
    auto const infinity = std::numeric_limits<TypeParam>::infinity();
    EXPECT_FALSE(this->fails({-infinity, 1, infinity}));
    EXPECT_TRUE(this->fails({infinity, infinity}));
}

TYPED_TEST(AscendingCheck, FindsItInAnyPlace) {
    for (unsigned long n : {255ul, 256ul, 257ul, 1000ul}) {
        Elements<TypeParam> values(n);
        for (unsigned long i = 0; i < n; ++i) values[i] = static_cast<TypeParam>(i);
        EXPECT_FALSE(this->fails(values));
        for (unsigned long place : {0ul, 127ul, 253ul, 254ul, 255ul, 256ul, n - 2}) {
            if (place + 1 >= n) continue;
            auto wrong = values;
            wrong[place + 1] = wrong[place];
            EXPECT_TRUE(this->fails(wrong)) << place;
        }
    }
}

TYPED_TEST(AscendingCheck, FoldsALongGrid) {
    testing::GridLimits const limits(1);
    Elements<TypeParam> values(1000);
    for (unsigned long i = 0; i < 1000; ++i) values[i] = static_cast<TypeParam>(i);
    EXPECT_FALSE(this->fails(values));
    values[999] = values[998];
    EXPECT_TRUE(this->fails(values));
}

// --- CheckValidFindMax ---

std::pair<bool, double> validMax(std::vector<double> const& values) {
    DeviceArray<double> in(values);
    auto const result = CheckValidFindMax::Invoker<double>()(in.data(), values.size());
    testing::expectSameBits(values, in.values());
    return result;
}

using Answer = std::pair<bool, double>;

TEST(CheckValidFindMax, ExampleOfTheHeader) {
    EXPECT_EQ(Answer(true, 7), validMax({2, 7, 3}));
    EXPECT_EQ(Answer(false, 0), validMax({2, 0.5}));
    EXPECT_EQ(Answer(true, 0), validMax({}));
}

TEST(CheckValidFindMax, TakesPositiveWholeNumbersAlone) {
    for (double valid :
         {1.0, 2.0, 0x1p31, 0x1p52 - 1, 0x1p52, 0x1p53 + 2, 1e300, std::numeric_limits<double>::max()}) {
        EXPECT_EQ(Answer(true, valid), validMax({valid})) << valid;
        EXPECT_EQ(Answer(true, valid), validMax({1, valid, 1})) << valid;
    }
    for (double invalid : {0.0, -0.0, -1.0, 0.5, 1.5, 0.9999999999999999, 1.0000000000000002, 0x1p52 - 0.5,
                           inf, -inf, nan, -nan, 0x1p-1074}) {
        EXPECT_EQ(Answer(false, 0), validMax({invalid})) << invalid;
        EXPECT_EQ(Answer(false, 0), validMax({5, invalid, 7})) << invalid;
    }
}

TEST(CheckValidFindMax, LooksAtEveryPlace) {
    for (unsigned long n :
         {1ul, 7ul, 8ul, 9ul, 15ul, 16ul, 17ul, 50ul, 1000ul, 65535ul, 65536ul, 65537ul, 200000ul}) {
        std::vector<double> values(n, 3);
        unsigned long const step = n <= 50 ? 1 : n / 2;
        for (unsigned long at = 0; at < n + step; at += step) {
            unsigned long const place = std::min(at, n - 1);
            values[place] = 9;
            EXPECT_EQ(Answer(true, 9), validMax(values)) << n << ", " << place;
            values[place] = 9.5;
            EXPECT_EQ(Answer(false, 0), validMax(values)) << n << ", " << place;
            values[place] = 3;
        }
    }
}

}  // namespace
}  // namespace gpuruntime

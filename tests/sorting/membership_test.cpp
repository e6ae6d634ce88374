#include <gpuruntime/membership.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <random>
#include <vector>

#include "frame/type_lists.hpp"
#include "tests/support/device_array.hpp"
#include "tests/support/device_limits.hpp"
#include "tests/support/test_types.hpp"
#include "tests/support/values.hpp"

namespace gpuruntime {
namespace {

using testing::Bool;
using testing::DeviceArray;
using testing::Elements;
using testing::expectSameBits;
using Doubles = std::vector<double>;
using Flags = std::vector<Bool>;

double const nan = NAN, inf = INFINITY;

// --- Real queries: what comparing every pair gives. ---

/// A number as a `T`: rounded, truncated within the range, or whether it is other than 0.
template <class T>
T converted(double value) {
    if constexpr (std::is_same_v<T, bool>) {
        return value != 0;
    } else if constexpr (std::is_integral_v<T>) {
        using Limits = std::numeric_limits<T>;
        double const whole = std::trunc(value);
        if (whole <= static_cast<double>(Limits::min())) return Limits::min();
        return whole >= static_cast<double>(Limits::max()) ? Limits::max() : static_cast<T>(whole);
    } else {
        return static_cast<T>(value);
    }
}

template <class T>
bool isNaN(T value) {
    return value != value;
}

/// Whether the sum of no tolerance, or one, separates `x` from `y` as the lesser.
bool isBelow(double x, double y, double tol) { return tol > 0 ? x < y - tol : x < y; }

template <class T>
bool isMemberOf(T query, Doubles const& set, double tol) {
    auto const number = static_cast<double>(query);
    if (isNaN(number)) return false;
    for (double const s : set) {
        if (!isNaN(s) && !isBelow(s, number, tol) && !isBelow(number, s, tol)) return true;
    }
    return false;
}

/// By the first element of the sorted set that is not below the query.
template <class T>
double locationOf(T query, Doubles const& set, Doubles const& locations, double tol) {
    auto const number = static_cast<double>(query);
    for (unsigned long j = 0; j < set.size(); ++j) {
        if (isNaN(set[j])) return 0;
        if (isBelow(set[j], number, tol)) continue;
        T const element = converted<T>(set[j]);
        bool isMatch = query == element;
        if (tol > 0) {
            if constexpr (std::is_integral_v<T>) {
                auto const difference = static_cast<std::int32_t>(static_cast<std::int64_t>(query) - element);
                isMatch = std::fabs(static_cast<double>(difference)) <= tol;
            } else {
                isMatch = std::fabs(query - element) <= tol || (std::isinf(query) && query == element);
            }
        }
        return isMatch ? locations[j] : 0;
    }
    return 0;
}

/// The set is sorted first, NaN at the end.
template <class T>
void expectMembership(Elements<T> const& queries, Doubles set, double tol) {
    SCOPED_TRACE(::testing::Message()
                 << queries.size() << " queries in " << set.size() << ", tolerance " << tol);
    auto const numbers = std::partition(set.begin(), set.end(), [](double x) { return !isNaN(x); });
    std::sort(set.begin(), numbers);
    Doubles setLocations(set.size());
    std::iota(setLocations.rbegin(), setLocations.rend(), 100.0);
    Flags expected, found;
    Doubles expectedLocations;
    for (auto const& query : queries) {
        expected.push_back(isMemberOf<T>(query, set, tol));
        expectedLocations.push_back(isNaN<T>(query) ? 0 : locationOf<T>(query, set, setLocations, tol));
        found.push_back(expectedLocations.back() != 0);
    }
    DeviceArray<T> a(queries);
    DeviceArray<double> sorted(set), places(setLocations), locations(queries.size());
    DeviceArray<bool> isMember(queries.size()), isFound(queries.size());
    IsMember1Arg::Invoker<T>()(a.data(), queries.size(), sorted.data(), set.size(), isMember.data(), tol);
    IsMember2Arg::Invoker<T>()(nullptr, a.data(), queries.size(), sorted.data(), set.size(), places.data(),
                               isFound.data(), locations.data(), tol);
    expectSameBits(expected, isMember.values());
    expectSameBits(expectedLocations, locations.values());
    expectSameBits(found, isFound.values());
    expectSameBits(queries, a.values());
    expectSameBits(set, sorted.values());
}

using RealQueries = internal::Built<bool, signed char, unsigned char, short, unsigned short, int,
                                    unsigned int, float, double>;

template <class T>
class MembershipOf : public ::testing::Test {};
TYPED_TEST_SUITE(MembershipOf, testing::TestTypes<RealQueries>);

double const tolerances[] = {0, -1, nan, 1e-9, 0.5, 1, 3, 1e10, inf};

TYPED_TEST(MembershipOf, OfManySizes) {
    using T = TypeParam;
    for (unsigned long const numA : {0ul, 1ul, 31ul, 33ul, 500ul}) {
        for (unsigned long const setSize : {0ul, 1ul, 2ul, 3ul, 7ul, 8ul, 9ul, 100ul}) {
            auto queries = testing::randomValues<T>(numA, setSize + 1);
            auto set = testing::randomValues<double>(setSize, 2);
            for (unsigned long j = 0; j < setSize; j += 2) {
                if (numA > 0) set[j] = static_cast<double>(queries[j % numA]);
            }
            for (double const tol : {0.0, 0.75}) expectMembership<T>(queries, set, tol);
        }
    }
}

TYPED_TEST(MembershipOf, OfSpecialValuesInSpecialSets) {
    using T = TypeParam;
    auto const queries = testing::specialValues<T>();
    Doubles set = testing::specialReals<double>();
    for (auto const& query : queries) {
        auto const number = static_cast<double>(query);
        set.insert(set.end(), {number, std::nextafter(number, inf), number + 0.5});
    }
    for (double const tol : tolerances) {
        expectMembership<T>(queries, set, tol);
        expectMembership<T>(queries, {nan, nan}, tol);
        expectMembership<T>(queries, {inf, nan, -inf}, tol);
        for (double const s : set) expectMembership<T>(queries, {s}, tol);
    }
}

TYPED_TEST(MembershipOf, OfDuplicatesTheFirstIsTold) {
    using T = TypeParam;
    Doubles set;
    Elements<T> queries;
    for (int i = 0; i < 300; ++i) {
        set.push_back(i % 7);
        queries.push_back(static_cast<T>(i % 11));
    }
    for (double const tol : tolerances) expectMembership<T>(queries, set, tol);
}

/// A tolerance is met exactly, or missed by the last digit.
TYPED_TEST(MembershipOf, OfTiesAtTheTolerance) {
    using T = TypeParam;
    Elements<T> queries;
    for (int i = 0; i < 30; ++i) queries.push_back(static_cast<T>(i));
    for (double const tol : {1.0, 0.1, 0.3, 2.0 / 3}) {
        Doubles set;
        for (int i = 0; i < 30; i += 4) {
            for (double const s : {i + tol, i - tol}) {
                set = {s};
                expectMembership<T>(queries, set, tol);
                expectMembership<T>(queries, {std::nextafter(s, inf)}, tol);
                expectMembership<T>(queries, {std::nextafter(s, -inf)}, tol);
            }
        }
    }
}

TYPED_TEST(MembershipOf, OfManyQueries) {
    using T = TypeParam;
    auto const queries = testing::mixedValues<T>(40000, 50);
    Doubles set;
    for (unsigned long i = 0; i < 40; ++i) set.push_back(static_cast<double>(queries[i * 997]));
    set.push_back(nan);
    expectMembership<T>(queries, set, 0);
    expectMembership<T>(queries, set, 0.01);
}

TYPED_TEST(MembershipOf, FoldedGridsLookAtAll) {
    testing::GridLimits const limits(3);
    expectMembership<TypeParam>(testing::randomValues<TypeParam>(3000), {0, 1, 2, 50, 60}, 1);
}

template <class T>
Doubles locationsOf(Elements<T> const& queries, Doubles const& set, Doubles const& places, double tol) {
    DeviceArray<T> a(queries);
    DeviceArray<double> sorted(set), setLocations(places), locations(queries.size());
    DeviceArray<bool> isMember(queries.size());
    IsMember2Arg::Invoker<T>()(nullptr, a.data(), queries.size(), sorted.data(), set.size(),
                               setLocations.data(), isMember.data(), locations.data(), tol);
    return locations.values();
}

template <class T>
Flags membersOf(Elements<T> const& queries, Doubles const& set, double tol) {
    DeviceArray<T> a(queries);
    DeviceArray<double> sorted(set);
    DeviceArray<bool> isMember(queries.size());
    IsMember1Arg::Invoker<T>()(a.data(), queries.size(), sorted.data(), set.size(), isMember.data(), tol);
    return isMember.values();
}

TEST(Membership, OfTheExamples) {
    expectSameBits(Flags{true, false, true}, membersOf<int>({1, 2, 3}, {1, 1.5, 3}, 0));
    expectSameBits(Doubles{7}, locationsOf<double>({1.02}, {1, 1.05}, {7, 4}, 0.1));
}

TEST(Membership, OfAnIntegerIsAskedOfDoublesAndOfConvertedValues) {
    expectSameBits(Flags{false}, membersOf<int>({1}, {1.5}, 0));
    expectSameBits(Doubles{3}, locationsOf<int>({1}, {1.5}, {3}, 0));
    expectSameBits(Doubles{0}, locationsOf<float>({0.1f}, {0.1}, {3}, 0));
}

TEST(Membership, OfNaNIsNone) {
    expectSameBits(Flags{false, true, false}, membersOf<double>({nan, 1, -nan}, {1, 2, nan}, 0));
    expectSameBits(Flags{false, true}, membersOf<float>({NAN, 1}, {1, 2, nan}, 0.5));
    expectSameBits(Doubles{0, 1}, locationsOf<double>({nan, 1}, {1, 2, nan}, {1, 2, 3}, 0.5));
    // An integer that is above all numbers comes upon the NaN, which is not 0.
    expectSameBits(Doubles{0}, locationsOf<int>({0}, {-2, nan}, {1, 2}, 0));
    expectSameBits(Doubles{0}, locationsOf<bool>({true}, {-2, nan}, {1, 2}, 0.5));
}

TEST(Membership, OfInfinitiesIsOfTheirSign) {
    expectSameBits(Flags{true, false}, membersOf<double>({inf, -inf}, {1, inf}, 1));
    expectSameBits(Doubles{2, 0}, locationsOf<double>({inf, -inf}, {1, inf}, {1, 2}, 1));
    expectSameBits(Doubles{2, 0}, locationsOf<double>({inf, -inf}, {1, inf}, {1, 2}, 0));
}

TEST(Membership, AnyByteOfALogicalButZeroIsTrue) {
    DeviceArray<unsigned char> a({0, 1, 2, 255});
    DeviceArray<double> set({1}), places({9}), locations(4);
    DeviceArray<bool> isMember(4), isFound(4);
    auto const* const queries = reinterpret_cast<bool const*>(a.data());
    IsMember1Arg::Invoker<bool>()(queries, 4, set.data(), 1, isMember.data(), 0);
    IsMember2Arg::Invoker<bool>()(nullptr, queries, 4, set.data(), 1, places.data(), isFound.data(),
                                  locations.data(), 0);
    expectSameBits(Flags{false, true, true, true}, isMember.values());
    expectSameBits(Doubles{0, 9, 9, 9}, locations.values());
}

// --- Complex queries. ---

/// The place that is told: of real part -0 before +0, and then the first.
double placeOf(double2 query, std::vector<double2> const& set) {
    double place = 0;
    bool ofNegativeZero = false;
    for (unsigned long j = 0; j < set.size(); ++j) {
        if (set[j].x != query.x || set[j].y != query.y) continue;
        bool const isNegativeZero = set[j].x == 0 && std::signbit(set[j].x);
        if (place != 0 && (ofNegativeZero || !isNegativeZero)) continue;
        place = static_cast<double>(j + 1);
        ofNegativeZero = isNegativeZero;
    }
    return place;
}

template <class T>
void expectComplexMembership(std::vector<double2> const& queries, std::vector<double2> const& set) {
    SCOPED_TRACE(::testing::Message() << queries.size() << " queries in " << set.size());
    Doubles expected;
    Flags found;
    for (double2 const query : queries) {
        expected.push_back(placeOf(query, set));
        found.push_back(expected.back() != 0);
    }
    DeviceArray<double2> a(queries), elements(set);
    DeviceArray<double> locations(queries.size());
    DeviceArray<bool> isMember(queries.size()), isFound(queries.size());
    IsMember1ArgCmplx::Invoker<T>()(nullptr, a.data(), queries.size(), elements.data(), set.size(),
                                    isMember.data());
    IsMember2ArgCmplx::Invoker<T>()(nullptr, a.data(), queries.size(), elements.data(), set.size(),
                                    isFound.data(), locations.data());
    expectSameBits(found, isMember.values());
    expectSameBits(found, isFound.values());
    expectSameBits(expected, locations.values());
    expectSameBits(queries, a.values());
    expectSameBits(set, elements.values());
}

using ComplexQueries = internal::Built<char2, uchar2, short2, ushort2, int2, uint2, float2, double2>;

template <class T>
class ComplexMembershipOf : public ::testing::Test {};
TYPED_TEST_SUITE(ComplexMembershipOf, testing::TestTypes<ComplexQueries>);

/// Few different parts, so that many real parts are equal.
std::vector<double2> coarseValues(unsigned long n, unsigned long seed) {
    std::mt19937_64 engine(seed);
    auto const part = [&] { return static_cast<double>(engine() % 9) - 4; };
    std::vector<double2> values;
    for (unsigned long i = 0; i < n; ++i) {
        double const re = part();
        values.push_back({re, part()});
    }
    return values;
}

TYPED_TEST(ComplexMembershipOf, OfManySizes) {
    for (unsigned long const numA : {0ul, 1ul, 40ul, 300ul}) {
        for (unsigned long const setSize : {0ul, 1ul, 2ul, 30ul, 500ul}) {
            expectComplexMembership<TypeParam>(coarseValues(numA, 1), coarseValues(setSize, 2));
        }
    }
}

TYPED_TEST(ComplexMembershipOf, OfSpecialValues) {
    auto const special = testing::specialValues<double2>();
    expectComplexMembership<TypeParam>(special, special);
    auto reversed = special;
    std::reverse(reversed.begin(), reversed.end());
    expectComplexMembership<TypeParam>(special, reversed);
}

TEST(ComplexMembership, OfTheExample) {
    expectComplexMembership<double2>({{0, 1}}, {{0, -1}, {0, 1}});
    EXPECT_EQ(2, placeOf({0, 1}, {{0, -1}, {0, 1}}));
}

TEST(ComplexMembership, OfNaNsOfEitherSignInTheSetTheNumbersAreStillFound) {
    for (double const none : {nan, -nan}) {
        expectComplexMembership<float2>({{1, 2}, {none, 2}, {1, none}},
                                        {{none, 2}, {1, 2}, {none, none}, {0, 1}, {1, none}});
    }
}

TEST(ComplexMembership, FoldedGridsAndManyElements) {
    testing::GridLimits const limits(9);
    expectComplexMembership<double2>(testing::mixedValues<double2>(1000),
                                     testing::mixedValues<double2>(3000));
}

}  // namespace
}  // namespace gpuruntime

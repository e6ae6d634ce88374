#include <gpuruntime/accumarray.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <utility>
#include <vector>

#include "frame/type_lists.hpp"
#include "tests/reduction/reference.hpp"
#include "tests/support/device_array.hpp"
#include "tests/support/device_limits.hpp"
#include "tests/support/test_types.hpp"
#include "tests/support/values.hpp"

namespace gpuruntime {
namespace {

using testing::DeviceArray;
using testing::Elements;
using testing::expectSameBits;
using testing::expectSameValues;
using Keys = std::vector<int>;

// --- Folding, in the order that is promised. ---

constexpr unsigned long chunkSize = 8192;

unsigned long numChunks(unsigned long n) { return n <= chunkSize ? 1 : (n + chunkSize - 1) / chunkSize; }

template <class T>
using Element = typename Elements<T>::value_type;

template <class T>
struct Pair {
    int key;
    Element<T> value;
};

template <class T>
using Pairs = std::vector<Pair<T>>;

/// Every second pair, which absorbs its neighbours of the same key: that on the left only if it begins the
/// run.
template <class Operator, class T>
Pairs<T> halved(Pairs<T> const& pairs) {
    Pairs<T> left;
    for (unsigned long i = 0; i < pairs.size(); i += 2) {
        Pair<T> pair = pairs[i];
        bool const leftBegins =
            i > 0 && pairs[i - 1].key == pair.key && (i < 2 || pairs[i - 2].key != pair.key);
        if (leftBegins) pair.value = Operator::combine(pair.value, pairs[i - 1].value);
        if (i + 1 < pairs.size() && pairs[i + 1].key == pair.key) {
            pair.value = Operator::combine(pair.value, pairs[i + 1].value);
        }
        left.push_back(pair);
    }
    return left;
}

/// The arrays of a call and what becomes of them.
template <class T>
struct Arrays {
    Keys keys, edgeKeys;
    Elements<T> values, edgeValues, out;

    /// Folds the chunk from `begin` on; `isOnly` if there is no other.
    template <class Operator>
    void foldChunk(unsigned long begin, unsigned long end, bool isOnly) {
        Pairs<T> pairs;
        for (unsigned long i = begin; i < end; ++i) pairs.push_back({keys[i], values[i]});
        int const first = pairs.front().key, last = pairs.back().key;
        Pairs<T> results;  // by bin
        for (unsigned long distance = 1;; distance *= 2) {
            for (unsigned long i = 0; i < pairs.size(); ++i) {
                bool const isAlone = (i == 0 || pairs[i - 1].key != pairs[i].key) &&
                                     (i + 1 == pairs.size() || pairs[i + 1].key != pairs[i].key);
                if (isAlone) results.push_back(pairs[i]);
            }
            if (pairs.size() == 1) break;
            bool const inMemory = pairs.size() > 1024;  // fewer are copied, and folded elsewhere
            pairs = halved<Operator, T>(pairs);
            for (unsigned long i = 0; inMemory && i < pairs.size(); ++i) {
                values[begin + i * 2 * distance] = pairs[i].value;
            }
        }
        unsigned long const chunk = begin / chunkSize;
        for (Pair<T> const& result : results) {
            if (isOnly || (result.key != first && result.key != last)) {
                out[static_cast<unsigned long>(result.key - 1)] = result.value;
            }
            if (result.key == first) {
                edgeKeys[2 * chunk] = first;
                edgeValues[2 * chunk] = result.value;
            }
            if (result.key == last) {
                edgeKeys[2 * chunk + 1] = last;
                edgeValues[2 * chunk + 1] = first == last ? Element<T>(Operator::identity()) : result.value;
            }
        }
    }

    void swap() {
        std::swap(keys, edgeKeys);
        std::swap(values, edgeValues);
    }

    template <class Operator>
    void accumulate(unsigned long n, AccumArrayMode mode) {
        bool swapped = false;
        for (bool isFirst = true;; isFirst = false) {
            unsigned long const chunks = numChunks(n);
            if (!isFirst || mode == AccumArrayModeFull) {
                for (unsigned long begin = 0; begin < n; begin += chunkSize) {
                    foldChunk<Operator>(begin, std::min(n, begin + chunkSize), chunks == 1);
                }
            }
            if (chunks == 1) break;
            n = 2 * chunks;
            swap();
            swapped = !swapped;
        }
        if (swapped) swap();
    }
};

template <class T>
void accumulatePlainly(Arrays<T>& arrays, unsigned long n, AccumArrayFunction function, AccumArrayMode mode) {
    using namespace testing::reference;
    switch (function) {
        case AccumArrayFunctionSum:
            return arrays.template accumulate<Sum<T>>(n, mode);
        case AccumArrayFunctionProd:
            if constexpr (std::is_same_v<T, bool>) return arrays.template accumulate<And>(n, mode);
            return arrays.template accumulate<Prod<T>>(n, mode);
        case AccumArrayFunctionMin:
            if constexpr (std::is_same_v<T, bool>) return arrays.template accumulate<And>(n, mode);
            return arrays.template accumulate<Extremum<T, -1, false>>(n, mode);
        case AccumArrayFunctionMax:
            if constexpr (std::is_same_v<T, bool>) return arrays.template accumulate<Or>(n, mode);
            return arrays.template accumulate<Extremum<T, 1, false>>(n, mode);
        case AccumArrayFunctionAny:
            if constexpr (std::is_same_v<T, bool>) return arrays.template accumulate<Or>(n, mode);
            break;
        case AccumArrayFunctionAll:
            if constexpr (std::is_same_v<T, bool>) return arrays.template accumulate<And>(n, mode);
            break;
    }
    FAIL() << "no such function";
}

template <class T>
std::vector<AccumArrayFunction> functionsOf() {
    std::vector<AccumArrayFunction> functions{AccumArrayFunctionSum, AccumArrayFunctionProd,
                                              AccumArrayFunctionMin, AccumArrayFunctionMax};
    if (std::is_same_v<T, bool>) {
        functions.insert(functions.end(), {AccumArrayFunctionAny, AccumArrayFunctionAll});
    }
    return functions;
}

/// What the call leaves of every array.
template <class T>
void expectAccumulated(Arrays<T> arrays, unsigned long n, AccumArrayFunction function,
                       AccumArrayMode mode = AccumArrayModeFull) {
    SCOPED_TRACE(::testing::Message() << n << " values, function " << function << ", mode " << mode);
    DeviceArray<int> keys(arrays.keys), edgeKeys(arrays.edgeKeys);
    DeviceArray<T> values(arrays.values), edgeValues(arrays.edgeValues), out(arrays.out);
    accumulatePlainly(arrays, n, function, mode);
    EXPECT_EQ(0, AccumArray::Invoker<T>()(nullptr, out.data(), keys.data(), values.data(), edgeKeys.data(),
                                          edgeValues.data(), 0, n, function, mode));
    expectSameValues(arrays.out, out.values());
    expectSameBits(arrays.keys, keys.values());
    expectSameValues(arrays.values, values.values());
    expectSameBits(arrays.edgeKeys, edgeKeys.values());
    expectSameValues(arrays.edgeValues, edgeValues.values());
}

template <class T>
Arrays<T> arraysOf(Keys const& keys, Elements<T> const& values) {
    unsigned long const room = getNumElementsWorkingMemoryNeededForAccumarray(keys.size());
    auto const numBins = static_cast<unsigned long>(keys.empty() ? 1 : keys.back() + 1);
    return {keys, Keys(room, -7), values, Elements<T>(room), Elements<T>(numBins)};
}

/// Ascending keys in runs of `shortest` to `longest`, with gaps.
Keys runsOf(unsigned long n, unsigned long shortest, unsigned long longest) {
    std::mt19937_64 engine(n + longest);
    Keys keys;
    for (int key = 1; keys.size() < n; key += 1 + static_cast<int>(engine() % 2)) {
        unsigned long const length = shortest + engine() % (longest - shortest + 1);
        keys.insert(keys.end(), std::min(length, n - keys.size()), key);
    }
    return keys;
}

std::vector<unsigned long> sizes() {
    auto sizes = testing::boundarySizes();
    sizes.insert(sizes.end(), {1023, 1024, 1025, 2047, 2048, 2049, 4097, 8191, 8192, 8193, 8194, 12000, 16384,
                               16385, 20000});
    return sizes;
}

template <class T>
class AccumArrayOf : public ::testing::Test {};
TYPED_TEST_SUITE(AccumArrayOf, testing::TestTypes<internal::FloatingWithBool>);

TYPED_TEST(AccumArrayOf, OfManySizesAndLengthsOfRuns) {
    using T = TypeParam;
    for (unsigned long const n : sizes()) {
        for (auto const& [shortest, longest] :
             {std::pair{n, n}, std::pair{1ul, 1ul}, std::pair{1ul, 3ul}, std::pair{2ul, 2ul},
              std::pair{1ul, 40ul}, std::pair{100ul, 5000ul}}) {
            auto const arrays =
                arraysOf<T>(runsOf(n, shortest, longest), testing::mixedValues<T>(n, 7, n + longest));
            auto const functions = functionsOf<T>();
            expectAccumulated(arrays, n, functions[(n + longest) % functions.size()]);
            expectAccumulated(arrays, n, AccumArrayFunctionSum);
        }
    }
}

TYPED_TEST(AccumArrayOf, ByEveryFunction) {
    using T = TypeParam;
    for (unsigned long const n : {500ul, 8192ul, 20000ul}) {
        for (auto const function : functionsOf<T>()) {
            expectAccumulated(arraysOf<T>(runsOf(n, 1, 9), testing::mixedValues<T>(n, 3)), n, function);
            expectAccumulated(arraysOf<T>(runsOf(n, 1, 3000), testing::randomValues<T>(n)), n, function);
        }
    }
}

TYPED_TEST(AccumArrayOf, ARunMayEndAtEveryPlace) {
    using T = TypeParam;
    unsigned long const n = 67;
    for (unsigned long end = 1; end < n; ++end) {
        for (unsigned long begin = 0; begin < end; begin += 3) {
            Keys keys(n, 3);
            std::fill_n(keys.begin(), begin, 1);
            std::fill(keys.begin() + static_cast<long>(begin), keys.begin() + static_cast<long>(end), 2);
            expectAccumulated(arraysOf<T>(keys, testing::randomValues<T>(n)), n, AccumArrayFunctionSum);
        }
    }
}

TYPED_TEST(AccumArrayOf, ARunMayEndAboutTheEdgesOfChunks) {
    using T = TypeParam;
    unsigned long const n = 3 * chunkSize + 5;
    for (unsigned long const edge : {chunkSize, 2 * chunkSize, 3 * chunkSize}) {
        for (unsigned long end = edge - 2; end <= edge + 2; ++end) {
            for (unsigned long const length : {1ul, 2ul, 3ul, 5000ul, chunkSize, chunkSize + 1}) {
                Keys keys(n, 3);
                std::fill_n(keys.begin(), end, 2);
                std::fill_n(keys.begin(), end - std::min(length, end), 1);
                expectAccumulated(arraysOf<T>(keys, testing::mixedValues<T>(n, 50)), n,
                                  AccumArrayFunctionSum);
            }
        }
    }
}

TYPED_TEST(AccumArrayOf, FoldedGridsFoldAll) {
    using T = TypeParam;
    unsigned long const n = 7 * chunkSize - 9;
    testing::GridLimits const limits(3);
    expectAccumulated(arraysOf<T>(runsOf(n, 1, 20000), testing::randomValues<T>(n)), n,
                      AccumArrayFunctionSum);
}

TYPED_TEST(AccumArrayOf, BoundariesAloneInSeveralLevels) {
    using T = TypeParam;
    for (unsigned long const n :
         {1ul, chunkSize, chunkSize + 1, 600 * chunkSize, 4096 * chunkSize, 5000 * chunkSize}) {
        unsigned long const room = getNumElementsWorkingMemoryNeededForAccumarray(n);
        Arrays<T> arrays = arraysOf<T>(runsOf(room, 1, 30), testing::mixedValues<T>(room));
        std::swap(arrays.keys, arrays.edgeKeys);
        std::swap(arrays.values, arrays.edgeValues);
        arrays.out = Elements<T>(room + 1);
        arrays.out.resize(static_cast<unsigned long>(arrays.edgeKeys.back()) + 1);
        expectAccumulated(arrays, n, AccumArrayFunctionSum, AccumArrayModeBoundariesOnly);
        expectAccumulated(arrays, n, AccumArrayFunctionMax, static_cast<AccumArrayMode>(-3));
    }
}

TEST(AccumArray, OfTheExample) {
    DeviceArray<int> keys({1, 1, 3}), scratchKeys(2);
    DeviceArray<double> values({2, 3, 4}), scratch(2), out({-1, -2, -3});
    EXPECT_EQ(
        0, AccumArray::Invoker<double>()(nullptr, out.data(), keys.data(), values.data(), scratchKeys.data(),
                                         scratch.data(), 3, 3, AccumArrayFunctionSum, AccumArrayModeFull));
    expectSameBits({5, -2, 4}, out.values());
}

TEST(AccumArray, OneKeyAcrossThreeChunks) {
    unsigned long const n = 20000;
    DeviceArray<int> keys(Keys(n, 1)), scratchKeys(6);
    DeviceArray<double> values(std::vector<double>(n, 1.0)), scratch(6), out(1);
    AccumArray::Invoker<double>()(nullptr, out.data(), keys.data(), values.data(), scratchKeys.data(),
                                  scratch.data(), 1, n, AccumArrayFunctionSum, AccumArrayModeFull);
    expectSameBits({20000.0}, out.values());
}

TEST(AccumArray, AnyByteOfALogicalButZeroIsTrue) {
    DeviceArray<int> keys({1, 1, 2, 2, 3}), scratchKeys(2);
    DeviceArray<unsigned char> values({2, 1, 4, 0, 128}), out(3), scratch(2);
    auto const accumulate = [&](AccumArrayFunction function) {
        AccumArray::Invoker<bool>()(
            nullptr, reinterpret_cast<bool*>(out.data()), keys.data(), reinterpret_cast<bool*>(values.data()),
            scratchKeys.data(), reinterpret_cast<bool*>(scratch.data()), 3, 5, function, AccumArrayModeFull);
        return out.values();
    };
    expectSameBits({1, 0, 1}, accumulate(AccumArrayFunctionAll));
    values.set({2, 1, 4, 0, 128});
    expectSameBits({1, 1, 1}, accumulate(AccumArrayFunctionAny));
}

TEST(AccumArray, WorkingMemoryIsTwoForEachChunk) {
    auto const needed = getNumElementsWorkingMemoryNeededForAccumarray;
    EXPECT_EQ(2u, needed(0));
    EXPECT_EQ(2u, needed(1));
    EXPECT_EQ(2u, needed(8192));
    EXPECT_EQ(4u, needed(8193));
    EXPECT_EQ(4u, needed(16384));
    EXPECT_EQ(6u, needed(16385));
    for (unsigned long n = 8193; n < 1ul << 40; n += n / 3 + 1) {
        EXPECT_EQ(((n - 1) / 4096 | 1) + 1, needed(n)) << n;
    }
}

// --- Keys of subscripts. ---

struct Array {
    std::vector<unsigned long> dims;
    bool isRowMajor;

    /// 1-based, of 1-based subscripts.
    unsigned long key(std::vector<unsigned long> const& subscripts) const {
        std::vector<unsigned long> order(dims.size());
        for (unsigned long d = 0; d < dims.size(); ++d) order[d] = d;
        if (isRowMajor && dims.size() > 1) std::swap(order[0], order[1]);
        unsigned long key = 1, stride = 1;
        for (unsigned long const d : order) {
            key += (subscripts[d] - 1) * stride;
            stride *= dims[d];
        }
        return key;
    }
};

template <class T, class I>
void expectKeys(Array const& array, unsigned long n) {
    std::mt19937_64 engine(n);
    unsigned long const numDims = array.dims.size();
    std::vector<T> subscripts(n * numDims);
    std::vector<I> expected;
    for (unsigned long i = 0; i < n; ++i) {
        std::vector<unsigned long> chosen;
        for (unsigned long d = 0; d < numDims; ++d) {
            chosen.push_back(1 + engine() % array.dims[d]);
            subscripts[d * n + i] = static_cast<T>(chosen.back());
        }
        expected.push_back(static_cast<I>(array.key(chosen)));
    }
    std::vector<unsigned long> numbers, lengths;
    for (unsigned long d = 0; d < numDims; ++d) {
        if (array.dims[d] == 1) continue;
        numbers.push_back(d);
        lengths.push_back(array.dims[d]);
    }
    DeviceArray<T> in(subscripts);
    DeviceArray<I> out(n);
    Sub2IndCastInt<I> const family;
    EXPECT_EQ(cudaSuccess,
              (typename Sub2IndCastInt<I>::template Invoker<T>()(
                  nullptr, out.data(), in.data(), lengths.data(), numbers.data(), n, numDims, numbers.size(),
                  array.isRowMajor ? AccumArrayStorageRowMajor : AccumArrayStorageColumnMajor)));
    EXPECT_EQ(1000u, family.getErrorFlag(nullptr));
    expectSameBits(expected, out.values());
    expectSameBits(subscripts, in.values());
}

template <class T>
class KeysOf : public ::testing::Test {};
TYPED_TEST_SUITE(KeysOf, testing::TestTypes<internal::RealNumeric>);

TYPED_TEST(KeysOf, OfManyShapes) {
    for (auto const& dims : {std::vector<unsigned long>{7},
                             {3, 4},
                             {1, 5},
                             {6, 1},
                             {1, 1},
                             {3, 4, 5},
                             {1, 4, 5},
                             {3, 1, 5},
                             {1, 1, 9, 1, 2},
                             {2, 3, 1, 4, 2},
                             {}}) {
        for (bool const isRowMajor : {false, true}) {
            for (unsigned long const n : {1ul, 255ul, 257ul, 1000ul}) {
                expectKeys<TypeParam, int>({dims, isRowMajor}, n);
                expectKeys<TypeParam, long>({dims, isRowMajor}, n);
            }
        }
    }
}

TYPED_TEST(KeysOf, FoldsWhereTheGridExceedsALimit) {
    testing::GridLimits const limits(3);
    expectKeys<TypeParam, int>({{100, 20}, false}, 5000);
}

/// The error word and what is written of these subscripts, along a vector of `extent`.
template <class I, class T>
std::pair<unsigned int, std::vector<I>> keysOf(std::vector<T> const& subscripts, unsigned long extent) {
    unsigned long const number = 0;
    DeviceArray<T> in(subscripts);
    DeviceArray<I> out(std::vector<I>(subscripts.size(), I(-1)));
    typename Sub2IndCastInt<I>::template Invoker<T>()(nullptr, out.data(), in.data(), &extent, &number,
                                                      subscripts.size(), 1, 1, AccumArrayStorageColumnMajor);
    return {Sub2IndCastInt<I>().getErrorFlag(nullptr), out.values()};
}

TYPED_TEST(KeysOf, AreNotWrittenOfSubscriptsThatAreNone) {
    using T = TypeParam;
    auto const expectCode = [](unsigned int code, T subscript) {
        SCOPED_TRACE(::testing::Message() << +subscript);
        auto const [reported, keys] = keysOf<int>(std::vector<T>{3, subscript, 5}, 9);
        EXPECT_EQ(code, reported);
        expectSameBits(Keys{3, -1, 5}, keys);
    };
    expectCode(1001, T(0));
    expectCode(1002, T(10));
    expectCode(1002, T(100));
    if (std::is_signed_v<T>) expectCode(1001, T(-4));
    if constexpr (std::is_floating_point_v<T>) {
        for (double const bad : {1.5, 8.999, -1.0, -0.0, 1e-300, 4294967296.0, 1e30, -1e30, double(INFINITY),
                                 -double(INFINITY), double(NAN)}) {
            expectCode(1001, static_cast<T>(bad));
        }
        expectCode(1002, T(4294967040.0));
    } else if constexpr (sizeof(T) == 8) {
        expectCode(1001, T(4294967297));
        expectCode(1002, T(4294967295));
    }
}

TEST(Keys, OfTheExample) {
    unsigned long const dims[] = {3, 4}, numbers[] = {0, 1};
    DeviceArray<double> subscripts({2, 3});
    DeviceArray<int> key(1);
    for (auto const& [order, expected] :
         {std::pair{AccumArrayStorageColumnMajor, 8}, std::pair{AccumArrayStorageRowMajor, 7},
          std::pair{static_cast<AccumArrayStorageOrder>(2), 8}}) {
        Sub2IndCastInt<int>::Invoker<double>()(nullptr, key.data(), subscripts.data(), dims, numbers, 1, 2, 2,
                                               order);
        expectSameBits(Keys{expected}, key.values());
    }
}

TEST(Keys, ASubscriptOfADimensionOfSizeOneIsChecked) {
    unsigned long const dims[] = {5}, numbers[] = {1};
    DeviceArray<float> subscripts({1, 2, 3, 3});  // rows, columns
    DeviceArray<int> keys({-1, -1});
    Sub2IndCastInt<int>::Invoker<float>()(nullptr, keys.data(), subscripts.data(), dims, numbers, 2, 2, 1,
                                          AccumArrayStorageColumnMajor);
    EXPECT_EQ(1002u, Sub2IndCastInt<long>().getErrorFlag(nullptr));
    expectSameBits(Keys{3, -1}, keys.values());
}

TEST(Keys, TheFirstDimensionThatFailsReports) {
    unsigned long const dims[] = {5, 5}, numbers[] = {0, 1};
    DeviceArray<int> keys(1);
    for (auto const& [row, column, code] : {std::tuple{6.0, 0.5, 1002u}, std::tuple{0.5, 6.0, 1001u}}) {
        DeviceArray<double> subscripts({row, column});
        Sub2IndCastInt<int>::Invoker<double>()(nullptr, keys.data(), subscripts.data(), dims, numbers, 1, 2,
                                               2, AccumArrayStorageColumnMajor);
        EXPECT_EQ(code, Sub2IndCastInt<int>().getErrorFlag(nullptr));
    }
    EXPECT_TRUE(keys.untouched());
}

TEST(Keys, GoBeyond32BitsAsLong) {
    unsigned long const dims[] = {1ul << 31, 1ul << 20}, numbers[] = {0, 1};
    DeviceArray<double> subscripts({2147483648.0, 1048576.0});
    DeviceArray<long> keys(1);
    DeviceArray<int> narrow(1);
    Sub2IndCastInt<long>::Invoker<double>()(nullptr, keys.data(), subscripts.data(), dims, numbers, 1, 2, 2,
                                            AccumArrayStorageColumnMajor);
    expectSameBits({1l << 51}, keys.values());
    Sub2IndCastInt<int>::Invoker<double>()(nullptr, narrow.data(), subscripts.data(), dims, numbers, 1, 2, 2,
                                           AccumArrayStorageColumnMajor);
    expectSameBits({0}, narrow.values());
}

// --- One value for all. ---

/// The families on sorted keys: counts, and what `value` makes of them.
template <class T>
Elements<T> scalarOf(Keys const& keys, Element<T> value, AccumArrayFunction function) {
    auto const numBins = static_cast<unsigned long>(keys.back() + 1);
    Elements<T> const unset(numBins);
    DeviceArray<int> in(keys), counts(Keys(numBins, 0));
    DeviceArray<T> out(unset);
    AccumArrayGetBinCounts::Invoker()(nullptr, counts.data(), in.data(), 0, keys.size());
    EXPECT_EQ(cudaSuccess, (AccumArrayScalar::Invoker<T>()(nullptr, out.data(), in.data(), in.data(),
                                                           counts.data(), value, keys.size(), function)));
    expectSameBits(keys, in.values());
    return out.values();
}

TEST(BinCounts, AreTheLengthsOfRuns) {
    for (unsigned long const n : {1ul, 2ul, 255ul, 256ul, 257ul, 5000ul, 70000ul}) {
        for (unsigned long const longest : {1ul, 4ul, 700ul}) {
            Keys const keys = runsOf(n, 1, longest);
            Keys expected(static_cast<unsigned long>(keys.back() + 1), 3);
            DeviceArray<int> in(keys), counts(expected);
            for (int const key : keys) ++expected[static_cast<unsigned long>(key - 1)];
            AccumArrayGetBinCounts::Invoker()(nullptr, counts.data(), in.data(), 0, n);
            expectSameBits(expected, counts.values());
        }
    }
}

TYPED_TEST(AccumArrayOf, OneValueIsTakenTimesTheCount) {
    using T = TypeParam;
    Keys const keys = runsOf(3000, 1, 60);
    Keys counts(static_cast<unsigned long>(keys.back() + 1), 0);
    for (int const key : keys) ++counts[static_cast<unsigned long>(key - 1)];
    for (auto const value : testing::mixedValues<T>(20, 2)) {
        Elements<T> sums(counts.size()), others(counts.size());
        for (unsigned long bin = 0; bin < counts.size(); ++bin) {
            if (counts[bin] == 0) continue;
            others[bin] = value;
            if constexpr (std::is_same_v<T, bool>) {
                sums[bin] = value;
            } else {
                using P = internal::Part<T>;
                auto const count = static_cast<P>(counts[bin]);
                if constexpr (internal::isComplex<T>) {
                    sums[bin] = {value.x * count, value.y * count};
                } else {
                    sums[bin] = value * count;
                }
            }
        }
        expectSameValues(sums, scalarOf<T>(keys, value, AccumArrayFunctionSum));
        for (int function = 2; function <= 5; ++function) {
            expectSameValues(others, scalarOf<T>(keys, value, static_cast<AccumArrayFunction>(function)));
        }
        if (std::is_same_v<T, bool>) {
            expectSameValues(sums, scalarOf<T>(keys, value, AccumArrayFunctionProd));
        }
    }
}

/// `value` to the power of the counts 1, 2, 3.
template <class T>
Elements<T> powersOf(T value) {
    auto powers = scalarOf<T>({1, 2, 2, 3, 3, 3}, value, AccumArrayFunctionProd);
    powers.pop_back();
    return powers;
}

template <class T>
class AccumArrayPowersOf : public ::testing::Test {};
TYPED_TEST_SUITE(AccumArrayPowersOf, testing::TestTypes<internal::FloatingReal>);

TYPED_TEST(AccumArrayPowersOf, OfRealValues) {
    using T = TypeParam;
    T const inf = INFINITY, nan = NAN;
    auto const expectPowers = [](std::vector<T> const& expected, T value) {
        SCOPED_TRACE(::testing::Message() << value);
        expectSameValues(expected, powersOf<T>(value));
    };
    expectPowers({3, 9, 27}, 3);
    expectPowers({-2, 4, -8}, -2);
    expectPowers({1, 1, 1}, 1);
    expectPowers({0, 0, 0}, 0);
    expectPowers({-T(0), 0, -T(0)}, -T(0));
    expectPowers({inf, inf, inf}, inf);
    expectPowers({-inf, inf, -inf}, -inf);
    expectPowers({nan, nan, nan}, nan);
    T const large = std::sqrt(std::numeric_limits<T>::max()) * 2;
    expectPowers({large, inf, inf}, large);
}

TYPED_TEST(AccumArrayPowersOf, OfComplexValues) {
    using T = TypeParam;
    using C = std::conditional_t<std::is_same_v<T, float>, float2, double2>;
    T const inf = INFINITY;
    // Real values have real powers; of the others the parts are rounded.
    expectSameValues(Elements<C>{{-2, 0}, {4, 0}, {-8, 0}}, powersOf<C>({-2, 0}));
    expectSameValues(Elements<C>{{0, 0}, {0, 0}, {0, 0}}, powersOf<C>({0, 0}));
    expectSameValues(Elements<C>{{inf, 0}, {inf, 0}, {inf, 0}}, powersOf<C>({inf, 0}));
    expectSameValues(Elements<C>{{inf, 0}, {inf, 0}, {inf, 0}}, powersOf<C>({inf, 1}));
    auto const cubes = powersOf<C>({-inf, 1});
    EXPECT_EQ(-inf, cubes[0].x);
    EXPECT_EQ(inf, cubes[1].x);
    for (C const value : {C{3, 4}, C{-1, 1}, C{0, 2}, C{1, -2}, C{-5, -T(0.5)}}) {
        T const x = value.x, y = value.y, tolerance = 40 * std::numeric_limits<T>::epsilon();
        Elements<C> const expected{
            value, {x * x - y * y, 2 * x * y}, {x * x * x - 3 * x * y * y, 3 * x * x * y - y * y * y}};
        auto const powers = powersOf<C>(value);
        for (unsigned long k = 0; k < 3; ++k) {
            T const length = std::hypot(expected[k].x, expected[k].y);
            EXPECT_NEAR(expected[k].x, powers[k].x, tolerance * length);
            EXPECT_NEAR(expected[k].y, powers[k].y, tolerance * length);
        }
    }
}

TEST(AccumArrayScalar, CountsAreFoundThroughTheBinIndices) {
    DeviceArray<int> keys({1, 1, 3}), indices({2, 2, 1}), counts({9, 4});
    DeviceArray<double> out({-1, -2, -3});
    AccumArrayScalar::Invoker<double>()(nullptr, out.data(), keys.data(), indices.data(), counts.data(), 5.0,
                                        3, AccumArrayFunctionSum);
    expectSameBits({20, -2, 45}, out.values());
}

TEST(AccumArrayScalar, ALogicalIsSetByAPositiveCountAlone) {
    DeviceArray<int> keys({1, 2, 3}), counts({1, 0, -1});
    for (auto const function : {AccumArrayFunctionSum, AccumArrayFunctionProd}) {
        DeviceArray<unsigned char> out(3);
        AccumArrayScalar::Invoker<bool>()(nullptr, reinterpret_cast<bool*>(out.data()), keys.data(),
                                          keys.data(), counts.data(), true, 3, function);
        expectSameBits({1, 0, 0}, out.values());
    }
}

// --- Sparse results. ---

template <class I>
void expectCoordinates(std::vector<I> const& keys, int numColumns) {
    unsigned long const n = keys.size();
    Keys flags, sequence, rows, columns;
    for (unsigned long i = 0; i < n; ++i) {
        bool const begins = i == 0 || keys[i] > keys[i - 1];
        flags.push_back(begins);
        sequence.push_back((i == 0 ? 0 : sequence.back()) + begins);
        if (!begins) continue;
        rows.push_back(static_cast<int>((keys[i] - 1) / numColumns));
        columns.push_back(static_cast<int>((keys[i] - 1) % numColumns));
    }
    DeviceArray<I> in(keys);
    DeviceArray<int> flagged(n), numbers(sequence), rowsOut(rows.size()), columnsOut(rows.size());
    typename AccumArraySparseIndexSequencerHelper<I>::Invoker()(nullptr, flagged.data(), in.data(), n);
    typename AccumArraySparseInd2Coo<I>::Invoker()(nullptr, rowsOut.data(), columnsOut.data(), in.data(),
                                                   numbers.data(), 0, numColumns, rows.size(), n);
    expectSameBits(flags, flagged.values());
    expectSameBits(rows, rowsOut.values());
    expectSameBits(columns, columnsOut.values());
}

TEST(SparseResults, HaveACoordinateForEachBin) {
    for (unsigned long const n : {1ul, 255ul, 257ul, 3000ul}) {
        for (unsigned long const longest : {1ul, 5ul, 400ul}) {
            Keys const keys = runsOf(n, 1, longest);
            std::vector<long> wide(keys.begin(), keys.end());
            for (int const numColumns : {1, 7, 1000}) {
                expectCoordinates(keys, numColumns);
                expectCoordinates(wide, numColumns);
            }
        }
    }
}

TEST(SparseResults, OfKeysBeyond32Bits) {
    expectCoordinates<long>({1l << 31, 1l << 32, (1l << 32) + 1, (1l << 32) + 2, 5000000000000l}, 2000003);
}

TEST(SparseResults, OfTheExample) {
    DeviceArray<int> keys({2, 2, 7}), sequence({1, 1, 2}), rows(2), columns(2);
    AccumArraySparseInd2Coo<int>::Invoker()(nullptr, rows.data(), columns.data(), keys.data(),
                                            sequence.data(), 3, 4, 2, 3);
    expectSameBits({0, 1}, rows.values());
    expectSameBits({1, 2}, columns.values());
}

TEST(SparseResults, DivisionByZeroHasNoRow) {
    DeviceArray<long> keys({2, 1l << 40});
    DeviceArray<int> sequence({1, 2}), rows(2), columns(2);
    AccumArraySparseInd2Coo<long>::Invoker()(nullptr, rows.data(), columns.data(), keys.data(),
                                             sequence.data(), 3, 0, 2, 2);
    expectSameBits({-1, -1}, rows.values());
}

}  // namespace
}  // namespace gpuruntime

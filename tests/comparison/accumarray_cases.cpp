#include <gpuruntime/accumarray.hpp>

#include <algorithm>

#include "comparison.hpp"

namespace gpuruntime::comparison {
namespace {

/// Ascending keys from 1 on.
template <class I>
Elements<I> sortedKeys(Case& call, unsigned long n, unsigned long numBins) {
    Elements<I> keys(n);
    for (I& key : keys) key = static_cast<I>(1 + call.word() % numBins);
    std::sort(keys.begin(), keys.end());
    return keys;
}

template <class Family, class T>
struct Folding {
    static void run(Case& call) {
        unsigned long const n = call.number(0, 40000), numBins = call.number(1, 20000);
        unsigned long const room = getNumElementsWorkingMemoryNeededForAccumarray(n);
        DeviceArray<int> keys(sortedKeys<int>(call, n, numBins)), edgeKeys(room);
        DeviceArray<T> values(call.values<T>(n)), edges(room), out(numBins);
        auto const function = static_cast<AccumArrayFunction>(call.word() % 6);
        call.result(static_cast<unsigned long>(typename Family::template Invoker<T>()(
            nullptr, out.data(), keys.data(), values.data(), edgeKeys.data(), edges.data(), numBins, n,
            function, AccumArrayModeFull)));
        call.result(out);
        call.result(values);
        call.result(edges);
        call.result(edgeKeys);
    }
};

template <class Family, class T>
struct OfOneValue {
    static void run(Case& call) {
        unsigned long const n = call.number(1, 5000), numBins = call.number(1, 5000);
        DeviceArray<int> keys(sortedKeys<int>(call, n, numBins)), counts(Elements<int>(numBins, 0));
        DeviceArray<T> out(numBins);
        T const value = call.values<T>(3)[2];
        AccumArrayGetBinCounts::Invoker()(nullptr, counts.data(), keys.data(), numBins, n);
        typename Family::template Invoker<T>()(nullptr, out.data(), keys.data(), keys.data(), counts.data(),
                                               value, n, static_cast<AccumArrayFunction>(call.word() % 6));
        call.result(counts);
        call.result(out);
    }
};

template <class Family, class T>
struct Subscripts {
    static void run(Case& call) {
        unsigned long const n = call.number(0, 5000), numDims = call.number(0, 4);
        Elements<unsigned long> dims, numbers;
        Elements<T> subscripts;
        unsigned int const mistakes =
            call.flag() ? 100 : 0;  // of one kind in a call: which comes first is open
        for (unsigned long d = 0; d < numDims; ++d) {
            unsigned long const extent = call.number(1, 100);
            for (unsigned long i = 0; i < n; ++i) {
                bool const isWrong = mistakes != 0 && call.word() % mistakes == 0;
                subscripts.push_back(static_cast<T>(isWrong ? extent + 1 : 1 + call.word() % extent));
            }
            if (extent == 1) continue;
            dims.push_back(extent);
            numbers.push_back(d);
        }
        DeviceArray<T> in(subscripts);
        DeviceArray<int> keys(n);
        Family const family;
        typename Family::template Invoker<T>()(nullptr, keys.data(), in.data(), dims.data(), numbers.data(),
                                               n, numDims, numbers.size(),
                                               static_cast<AccumArrayStorageOrder>(call.word() % 2));
        call.result(family.getErrorFlag(nullptr));
        call.result(keys);
    }
};

template <class Family, class T>
struct PairSort {
    static void run(Case& call) {
        unsigned long const n = call.number(0, 5000);
        Elements<int> unsorted(n);
        for (int& key : unsorted) key = static_cast<int>(call.word() % call.number(1, 1000));
        DeviceArray<int> keys(unsorted), keysAlone(unsorted);
        DeviceArray<T> values(call.values<T>(n));
        typename Family::template Invoker<T>()(nullptr, keys.data(), values.data(), n);
        AccumArrayScalarSortHelper<int>::Invoker()(keysAlone.data(), n);
        call.result(keys);
        call.result(keysAlone);
        call.result(values);
    }
};

template <class Family, class I>
struct Coordinates {
    static void run(Case& call) {
        unsigned long const n = call.number(1, 5000), numBins = call.number(1, 3000);
        Elements<I> const sorted = sortedKeys<I>(call, n, numBins);
        DeviceArray<I> keys(sorted);
        DeviceArray<int> flags(n), rows(n), columns(n);
        typename AccumArraySparseIndexSequencerHelper<I>::Invoker()(nullptr, flags.data(), keys.data(), n);
        call.result(flags);
        Elements<int> sequence = flags.values();
        for (unsigned long i = 1; i < n; ++i) sequence[i] += sequence[i - 1];
        DeviceArray<int> numbers(sequence);
        typename Family::Invoker()(nullptr, rows.data(), columns.data(), keys.data(), numbers.data(), 1,
                                   static_cast<int>(call.number(1, 200)), n, n);
        call.result(rows);
        call.result(columns);
    }
};

bool const areAdded = [] {
    addCases<Folding, AccumArray>(internal::FloatingWithBool{});
    addCases<OfOneValue, AccumArrayScalar>(internal::FloatingWithBool{});
    addCases<Subscripts, Sub2IndCastInt<int>>(internal::RealNumeric{});
    addCases<PairSort, AccumArrayVectorSortHelper<int>>(internal::FloatingWithBool{});
    addCases<Coordinates, AccumArraySparseInd2Coo<int>>(internal::TypeList<int>{});
    addCases<Coordinates, AccumArraySparseInd2Coo<long>>(internal::TypeList<long>{});
    return true;
}();

}  // namespace
}  // namespace gpuruntime::comparison

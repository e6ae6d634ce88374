// Accumulation by keys: bytes of keys and values per second. Keys and values are copied in anew before each
// call, outside the timing, for they are changed in place.

#include <benchmark/benchmark.h>
#include <gpuruntime/accumarray.hpp>

#include <algorithm>
#include <random>
#include <vector>

#include "bench/support.hpp"

namespace gpuruntime {
namespace {

using bench::DeviceMemory;

constexpr unsigned long numValues = 1ul << 24;

/// Times `call` alone; `prepare` undoes it.
template <class Prepare, class Call>
void run(benchmark::State& state, Prepare prepare, Call call) {
    for (auto _ : state) {
        state.PauseTiming();
        prepare();
        bench::finish();
        state.ResumeTiming();
        call();
        bench::finish();
    }
    state.SetBytesProcessed(
        static_cast<long>(state.iterations() * numValues * (sizeof(int) + sizeof(double))));
}

template <class T>
void copyIn(DeviceMemory<T>& to, std::vector<T> const& from) {
    bench::check(cudaMemcpy(to.data(), from.data(), from.size() * sizeof(T), cudaMemcpyHostToDevice));
}

/// Subscripts of so many bins, in random order.
std::vector<double> subscriptsOf(unsigned long numBins) {
    std::vector<double> subscripts(numValues);
    std::mt19937_64 engine(1);
    for (double& subscript : subscripts) subscript = static_cast<double>(1 + engine() % numBins);
    return subscripts;
}

struct Arrays {
    explicit Arrays(unsigned long numBins)
        : values(numValues, 0.5),
          keys(numValues),
          data(numValues),
          out(numBins),
          scratchKeys(getNumElementsWorkingMemoryNeededForAccumarray(numValues)),
          scratch(getNumElementsWorkingMemoryNeededForAccumarray(numValues)) {}

    void sum(unsigned long numBins) {
        AccumArray::Invoker<double>()(nullptr, out.data(), keys.data(), data.data(), scratchKeys.data(),
                                      scratch.data(), numBins, numValues, AccumArrayFunctionSum,
                                      AccumArrayModeFull);
    }

    std::vector<double> const values;
    DeviceMemory<int> keys;
    DeviceMemory<double> data, out;
    DeviceMemory<int> scratchKeys;
    DeviceMemory<double> scratch;
};

void SumOfSortedKeys(benchmark::State& state) {
    auto const numBins = static_cast<unsigned long>(state.range(0));
    Arrays arrays(numBins);
    auto const subscripts = subscriptsOf(numBins);
    std::vector<int> sorted(subscripts.begin(), subscripts.end());
    std::sort(sorted.begin(), sorted.end());
    run(
        state,
        [&] {
            copyIn(arrays.keys, sorted);
            copyIn(arrays.data, arrays.values);
        },
        [&] { arrays.sum(numBins); });
}

/// From subscripts to sums.
void SumBySubscripts(benchmark::State& state) {
    auto const numBins = static_cast<unsigned long>(state.range(0));
    unsigned long const dimension = 0;
    Arrays arrays(numBins);
    DeviceMemory<double> subscripts(subscriptsOf(numBins));
    run(
        state, [&] { copyIn(arrays.data, arrays.values); },
        [&] {
            Sub2IndCastInt<int>::Invoker<double>()(nullptr, arrays.keys.data(), subscripts.data(), &numBins,
                                                   &dimension, numValues, 1, 1, AccumArrayStorageColumnMajor);
            AccumArrayVectorSortHelper<int>::Invoker<double>()(nullptr, arrays.keys.data(),
                                                               arrays.data.data(), numValues);
            arrays.sum(numBins);
        });
}

BENCHMARK(SumOfSortedKeys)->Arg(100)->Arg(100000)->Arg(10000000)->UseRealTime();
BENCHMARK(SumBySubscripts)->Arg(100)->Arg(100000)->Arg(10000000)->UseRealTime();

}  // namespace
}  // namespace gpuruntime

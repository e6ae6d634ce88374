// Membership of random values in a sorted set, half of which are in it: bytes of queries per second.

#include <benchmark/benchmark.h>
#include <gpuruntime/membership.hpp>

#include <algorithm>
#include <random>
#include <vector>

#include "bench/support.hpp"

namespace gpuruntime {
namespace {

using bench::DeviceMemory;

constexpr unsigned long numQueries = 1ul << 24;

struct Queries {
    explicit Queries(unsigned long setSize) : isMember(numQueries) {
        std::mt19937_64 engine(1);
        std::normal_distribution<double> normal;
        for (unsigned long j = 0; j < setSize; ++j) set.push_back(normal(engine));
        for (unsigned long i = 0; i < numQueries; ++i) {
            queries.push_back(i % 2 == 0 ? normal(engine) : set[engine() % setSize]);
        }
        std::sort(set.begin(), set.end());
    }

    std::vector<double> set, queries;
    DeviceMemory<bool> isMember;
};

void IsMember(benchmark::State& state) {
    Queries of(static_cast<unsigned long>(state.range(0)));
    DeviceMemory<double> set(of.set), a(of.queries);
    for (auto _ : state) {
        IsMember1Arg::Invoker<double>()(a.data(), numQueries, set.data(), of.set.size(), of.isMember.data(),
                                        0);
        bench::finish();
    }
    state.SetBytesProcessed(static_cast<long>(state.iterations() * numQueries * sizeof(double)));
}

void IsMemberWithLocations(benchmark::State& state) {
    Queries of(static_cast<unsigned long>(state.range(0)));
    DeviceMemory<double> set(of.set), a(of.queries), locations(numQueries);
    for (auto _ : state) {
        IsMember2Arg::Invoker<double>()(nullptr, a.data(), numQueries, set.data(), of.set.size(), set.data(),
                                        of.isMember.data(), locations.data(), 0);
        bench::finish();
    }
    state.SetBytesProcessed(static_cast<long>(state.iterations() * numQueries * sizeof(double)));
}

BENCHMARK(IsMember)->Arg(1000)->Arg(1000000)->Arg(16000000)->UseRealTime();
BENCHMARK(IsMemberWithLocations)->Arg(1000)->Arg(1000000)->Arg(16000000)->UseRealTime();

}  // namespace
}  // namespace gpuruntime

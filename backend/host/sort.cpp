// The parts of the sorts that no type of key stands in.

#include "sort.hpp"

#include <hwy/contrib/sort/vqsort.h>

namespace gpuruntime::backend {
namespace {

/// Buckets for each thread, so that the last ones even out what the first ones took.
constexpr unsigned int bucketsPerThread = 4;

/// Signed numbers in the order of unsigned words, which compare in one instruction.
long asSigned(unsigned long word) { return static_cast<long>(word ^ 0x8000000000000000); }

}  // namespace

void sortSerially(unsigned long* words, unsigned long n) { hwy::Sorter()(words, n, hwy::SortAscending()); }

unsigned int Buckets::countFor(unsigned long n) {
    auto const threads = static_cast<unsigned int>(tbb::this_task_arena::max_concurrency());
    return n < 2 * serialSize || threads == 1 ? 1 : std::min(maxCount, threads * bucketsPerThread);
}

Buckets::Buckets(unsigned int count, unsigned long* sample, unsigned long mask) : count_(count) {
    sortSerially(sample, count * oversampling);
    for (unsigned int i = 0; i + 1 < count; ++i) splitters[i] = asSigned(sample[(i + 1) * oversampling] & mask);
}

void Buckets::classify(unsigned long const* words, unsigned long n, unsigned char* buckets) const {
    for (unsigned long i = 0; i < n; ++i) buckets[i] = 0;
    for (unsigned int s = 0; s + 1 < count_; ++s) {
        long const splitter = splitters[s];
        for (unsigned long i = 0; i < n; ++i) buckets[i] += asSigned(words[i]) >= splitter;
    }
}

}  // namespace gpuruntime::backend

#pragma once

#include <vector>

namespace gpuruntime::testing {

/// How often cases were drawn.
inline unsigned long numSamples = 0;

/// The cases that a test is to go through: all, or, where a build takes too long for that, one in seven.
/// From call to call these are others, so that tests of many types go through all between them.
template <class Case>
std::vector<Case> sampled(std::vector<Case> const& cases) {
#ifdef KVGPURUNTIME_SAMPLE_CASES
    constexpr unsigned long step = 7;  // a prime, so that no family meets the same ones for each type
    std::vector<Case> sample;
    for (unsigned long i = numSamples++ % step; i < cases.size(); i += step) sample.push_back(cases[i]);
    return sample;
#else
    return cases;
#endif
}

}  // namespace gpuruntime::testing

#pragma once

#include <cmath>

/// Functions by which complex values are ordered, rounded once: `long double` has 11 bits to spare.
namespace gpuruntime::testing {

template <class P>
P roundedHypot(P x, P y) {
    return static_cast<P>(std::hypot(static_cast<long double>(x), static_cast<long double>(y)));
}

template <class P>
P roundedAtan2(P y, P x) {
    return static_cast<P>(std::atan2(static_cast<long double>(y), static_cast<long double>(x)));
}

}  // namespace gpuruntime::testing

#pragma once

#include <cstring>
#include <type_traits>
#include <vector>

#include "frame/complex.hpp"

namespace gpuruntime::testing {

/// A `bool` whose vector has a contiguous array.
struct Bool {
    bool value = false;
    Bool() = default;
    Bool(bool v) : value(v) {}
    operator bool() const { return value; }
};
static_assert(sizeof(Bool) == sizeof(bool));

/// An array of `T` on the host.
template <class T>
using Elements = std::vector<std::conditional_t<std::is_same_v<T, bool>, Bool, T>>;

/// Equal bit for bit, for types without padding.
template <class T>
bool sameBits(T const& a, T const& b) {
    return std::memcmp(&a, &b, sizeof(T)) == 0;
}

/// Equal bit for bit, but any NaN equals any other: which NaN an operation makes is the machine's choice.
template <class T>
bool sameValue(T const& a, T const& b) {
    if constexpr (internal::isComplex<T>) {
        return sameValue(a.x, b.x) && sameValue(a.y, b.y);
    } else {
        return sameBits(a, b) || (a != a && b != b);
    }
}

}  // namespace gpuruntime::testing

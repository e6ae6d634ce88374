#pragma once

#include <cstring>
#include <limits>

#include "frame/complex.hpp"
#include "tests/support/elements.hpp"

namespace gpuruntime::testing {

/// FNV-1a of the bytes of values, all NaNs counting as one.
class Hash {
  public:
    template <class T>
    void add(Elements<T> const& values) {
        for (T const& value : values) {
            if constexpr (internal::isComplex<T>) {
                addReal(value.x);
                addReal(value.y);
            } else {
                addReal(value);
            }
        }
    }

    unsigned long value() const { return hash; }

  private:
    template <class P>
    void addReal(P value) {
        if (value != value) value = std::numeric_limits<P>::quiet_NaN();
        unsigned char bytes[sizeof(P)];
        std::memcpy(bytes, &value, sizeof bytes);
        for (unsigned char byte : bytes) hash = (hash ^ byte) * 0x100000001b3;
    }

    unsigned long hash = 0xcbf29ce484222325;
};

}  // namespace gpuruntime::testing

#pragma once

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

#include "tests/support/device_array.hpp"

/// Arrays of elements as bytes, for families that move bits: tests of them need no instance for each type.
namespace gpuruntime::testing {

using Bytes = std::vector<unsigned char>;

/// Any bits: for floating types also signalling NaNs, denormals and the like. Of `bool`, 0 or 1.
inline Bytes randomElements(unsigned long elementSize, bool isBool, unsigned long n, unsigned long seed) {
    std::mt19937_64 engine(seed);
    Bytes bytes(n * elementSize);
    unsigned long const mask = isBool ? 0x0101010101010101 : ~0ul;
    for (unsigned long i = 0; i < bytes.size(); i += sizeof mask) {
        unsigned long const word = engine() & mask;
        std::memcpy(bytes.data() + i, &word, std::min(sizeof word, bytes.size() - i));
    }
    return bytes;
}

/// Copies element `k` to element `i`.
inline void copyElement(unsigned long elementSize, Bytes& to, unsigned long i, Bytes const& from,
                        unsigned long k) {
    std::memcpy(to.data() + i * elementSize, from.data() + k * elementSize, elementSize);
}

/// As `expectSameBits`, byte by byte only where they differ.
inline void expectSameBytes(Bytes const& expected, Bytes const& actual) {
    if (expected != actual) expectSameBits(expected, actual);
}

}  // namespace gpuruntime::testing

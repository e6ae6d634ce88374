#pragma once

#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "frame/complex.hpp"
#include "frame/type_lists.hpp"

/// Element types as data and their values as exact numbers, for tests over pairs of types: what is expected
/// is worked out in integers, not in the types under test.
namespace gpuruntime::testing {

struct ElementType {
    std::size_t partSize;  ///< in bytes
    std::size_t numParts;
    bool isLogical, isFloating, isSigned;

    std::size_t size() const { return partSize * numParts; }
    std::size_t bits() const { return 8 * partSize; }
    ElementType part() const { return {partSize, 1, isLogical, isFloating, isSigned}; }

    /// Of floating types: bits of the mantissa that are stored, and the exponent of the lowest of a denormal.
    int mantissaBits() const { return partSize == 8 ? 52 : 23; }
    int lowestExponent() const { return partSize == 8 ? -1074 : -149; }

    bool operator==(ElementType const& other) const {
        return partSize == other.partSize && numParts == other.numParts && isLogical == other.isLogical &&
               isFloating == other.isFloating && isSigned == other.isSigned;
    }
};

template <class T>
ElementType elementType() {
    using P = internal::Part<T>;
    return {sizeof(P), sizeof(T) / sizeof(P), std::is_same_v<P, bool>, std::is_floating_point_v<P>,
            std::is_signed_v<P>};
}

/// What lies in memory as one part, as an unsigned number.
inline std::uint64_t loadBits(ElementType type, void const* part) {
    std::uint64_t bits = 0;
    std::memcpy(&bits, part, type.partSize);
    return bits;
}

/// A finite value is (-1)^isNegative * magnitude * 2^exponent.
struct Exact {
    enum Kind { finite, infinite, notANumber } kind;
    bool isNegative;
    std::uint64_t magnitude;
    int exponent;

    bool isZero() const { return kind == finite && magnitude == 0; }
};

inline Exact exactValue(ElementType type, void const* part) {
    std::uint64_t const bits = loadBits(type, part);
    if (type.isLogical) return {Exact::finite, false, bits != 0 ? 1u : 0u, 0};
    std::uint64_t const signBit = std::uint64_t{1} << (type.bits() - 1);
    bool const isNegative = (type.isFloating || type.isSigned) && (bits & signBit) != 0;
    if (!type.isFloating) {
        // The complement of a negative number, within its width.
        std::uint64_t const magnitude = isNegative ? (~bits + 1) & (signBit | (signBit - 1)) : bits;
        return {Exact::finite, isNegative, magnitude, 0};
    }
    int const mantissaBits = type.mantissaBits();
    std::uint64_t const hidden = std::uint64_t{1} << mantissaBits;
    std::uint64_t const mantissa = bits & (hidden - 1);
    int const exponent = static_cast<int>((bits & (signBit - 1)) >> mantissaBits);
    int const allOnes = static_cast<int>((signBit - 1) >> mantissaBits);
    if (exponent == allOnes) return {mantissa == 0 ? Exact::infinite : Exact::notANumber, isNegative, 0, 0};
    if (exponent == 0) return {Exact::finite, isNegative, mantissa, type.lowestExponent()};
    return {Exact::finite, isNegative, mantissa | hidden, type.lowestExponent() + exponent - 1};
}

/// magnitude / 2^shift as an integer, and what is left over compared with a half: -1, 0 or 1; -2 if nothing
/// is.
struct Shifted {
    std::uint64_t quotient;
    int rest;
};

inline Shifted shiftedRight(std::uint64_t magnitude, int shift) {
    if (magnitude == 0 || shift <= 0) return {magnitude, -2};
    if (shift > 64) return {0, -1};
    std::uint64_t const half = std::uint64_t{1} << (shift - 1);
    std::uint64_t const rest = magnitude & (half | (half - 1));
    std::uint64_t const quotient = shift == 64 ? 0 : magnitude >> shift;
    return {quotient, rest == 0 ? -2 : rest < half ? -1 : rest == half ? 0 : 1};
}

/// The bits of a value as an integer: rounded to nearest, halves away from zero, held at the ends of the
/// range; NaN is 0.
inline std::uint64_t integerBits(ElementType type, Exact value) {
    std::uint64_t const largest = ~std::uint64_t{0} >> (64 - type.bits() + (type.isSigned ? 1 : 0));
    std::uint64_t const limit = !value.isNegative ? largest : type.isSigned ? largest + 1 : 0;
    std::uint64_t magnitude = 0;
    if (value.kind == Exact::notANumber) return 0;
    if (value.kind == Exact::infinite) {
        magnitude = limit;
    } else if (value.exponent <= 0) {
        Shifted const shifted = shiftedRight(value.magnitude, -value.exponent);
        magnitude = shifted.quotient + (shifted.rest >= 0 ? 1 : 0);
    } else {
        bool const fits = value.magnitude == 0 ||
                          (value.exponent < 64 && value.magnitude <= ~std::uint64_t{0} >> value.exponent);
        magnitude = value.magnitude == 0 ? 0 : fits ? value.magnitude << value.exponent : limit;
    }
    magnitude = magnitude < limit ? magnitude : limit;
    return value.isNegative ? ~magnitude + 1 : magnitude;
}

/// The bits of a value as a floating number, rounded to nearest even.
inline std::uint64_t floatingBits(ElementType type, Exact value) {
    int const mantissaBits = type.mantissaBits();
    std::uint64_t const sign = std::uint64_t{value.isNegative ? 1u : 0u} << (type.bits() - 1);
    std::uint64_t const infinity =
        (std::uint64_t{1} << (type.bits() - 1)) - (std::uint64_t{1} << mantissaBits);
    if (value.kind == Exact::notANumber) return infinity | std::uint64_t{1} << (mantissaBits - 1);
    if (value.kind == Exact::infinite) return sign | infinity;
    if (value.magnitude == 0) return sign;
    // The unit of the result: of mantissaBits + 1 bits, unless it is a denormal.
    int const length = 64 - __builtin_clzl(value.magnitude);
    int const unit = std::max(value.exponent + length - (mantissaBits + 1), type.lowestExponent());
    std::uint64_t mantissa = 0;
    if (unit <= value.exponent) {
        mantissa = value.magnitude << (value.exponent - unit);
    } else {
        Shifted const shifted = shiftedRight(value.magnitude, unit - value.exponent);
        bool const isOdd = (shifted.quotient & 1) != 0;
        mantissa = shifted.quotient + (shifted.rest == 1 || (shifted.rest == 0 && isOdd) ? 1 : 0);
    }
    // A mantissa with its hidden bit counts the exponent up by one, also where rounding has carried into it.
    std::uint64_t const biased = static_cast<std::uint64_t>(unit - type.lowestExponent());
    std::uint64_t const magnitude = (biased << mantissaBits) + mantissa;
    return sign | std::min(magnitude, infinity);
}

/// Whether two parts are the same, any NaN being the same as any other.
inline bool samePart(ElementType type, void const* a, void const* b) {
    if (loadBits(type, a) == loadBits(type, b)) return true;
    return type.isFloating && exactValue(type, a).kind == Exact::notANumber &&
           exactValue(type, b).kind == Exact::notANumber;
}

using Bytes = std::vector<unsigned char>;

inline void appendPart(Bytes& bytes, ElementType type, std::uint64_t bits) {
    auto const* const first = reinterpret_cast<unsigned char const*>(&bits);
    bytes.insert(bytes.end(), first, first + type.partSize);
}

/// Parts at which some rule changes, of any type: all values of the types of one and two bytes; of the others
/// the ends of every range, halves, powers of two, where numbers lose their fractions and their units, and
/// the neighbours of all these in both directions; denormals, infinities, NaNs of both signs and of several
/// payloads.
inline Bytes telltaleParts(ElementType type) {
    Bytes parts;
    if (type.bits() <= 16) {
        for (std::uint64_t bits = 0; bits < std::uint64_t{1} << type.bits(); ++bits)
            appendPart(parts, type, bits);
        return parts;
    }
    std::vector<Exact> centres{
        {Exact::finite, false, 0, 0}, {Exact::finite, false, 3, 0}, {Exact::finite, false, 1000, 0}};
    for (int power = -3; power <= 65; ++power) {
        centres.push_back({Exact::finite, false, 1, power});
        centres.push_back({Exact::finite, false, 3, power - 1});
        if (power < 1 || power > 63) continue;
        std::uint64_t const one = std::uint64_t{1} << power;
        for (std::uint64_t whole : {one - 2, one - 1, one + 1, one + 2}) {
            centres.push_back({Exact::finite, false, whole, 0});
        }
        if (power > 53) continue;
        for (std::uint64_t half : {2 * one - 3, 2 * one - 1, 2 * one + 1, 2 * one + 3}) {
            centres.push_back({Exact::finite, false, half, -1});
        }
    }
    if (type.isFloating) {
        for (int power : {-1074, -1073, -1022, -150, -149, -148, -127, -126, -64, 104, 127, 128, 971, 1023}) {
            centres.push_back({Exact::finite, false, 1, power});
        }
        centres.push_back(
            {Exact::finite, false, (1u << 25) - 1, 103});  // half a unit above the largest float
        centres.push_back({Exact::infinite, false, 0, 0});
    }
    for (Exact centre : centres) {
        for (bool isNegative : {false, true}) {
            centre.isNegative = isNegative;
            std::uint64_t const bits =
                type.isFloating ? floatingBits(type, centre) : integerBits(type, centre);
            // The next numbers up and down of floating types have the next bits; some become NaN or wrap.
            for (int step : {-2, -1, 0, 1, 2})
                appendPart(parts, type, bits + static_cast<std::uint64_t>(step));
        }
    }
    if (type.isFloating) {
        std::uint64_t const infinity = floatingBits(type, {Exact::infinite, false, 0, 0});
        std::uint64_t const sign = std::uint64_t{1} << (type.bits() - 1);
        std::uint64_t const quiet = std::uint64_t{1} << (type.mantissaBits() - 1);
        for (std::uint64_t payload : {std::uint64_t{1}, quiet - 1, quiet, quiet | 5, 2 * quiet - 1}) {
            appendPart(parts, type, infinity | payload);
            appendPart(parts, type, infinity | sign | payload);
        }
    }
    return parts;
}

/// `n` elements that go through the parts in turn, the parts of a complex one out of step.
inline Bytes elementsOf(ElementType type, Bytes const& parts, std::size_t n) {
    std::size_t const numParts = parts.size() / type.partSize;
    Bytes elements;
    elements.reserve(n * type.size());
    for (std::size_t i = 0; i < n; ++i) {
        for (std::size_t p = 0; p < type.numParts; ++p) {
            std::size_t const from = (i + p * (7 * (i / numParts) + 3)) % numParts * type.partSize;
            elements.insert(elements.end(), parts.begin() + static_cast<long>(from),
                            parts.begin() + static_cast<long>(from + type.partSize));
        }
    }
    return elements;
}

/// Enough elements that each part stands in each place.
inline Bytes telltaleElements(ElementType type) {
    Bytes const parts = telltaleParts(type);
    return elementsOf(type, parts, parts.size() / type.partSize);
}

}  // namespace gpuruntime::testing

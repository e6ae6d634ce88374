#pragma once

#include <type_traits>

#include "device.hpp"
#include "frame/complex.hpp"
#include "frame/convert.hpp"
#include "math.hpp"
#include "run.hpp"

/// Steps over runs of elements, of which the element-wise families with many pairs of types are made. A
/// complex run is also a run of twice as many parts.
namespace gpuruntime::internal {

template <class T>
GPU_DEVICE Part<T>* parts(T* elements) {
    return reinterpret_cast<Part<T>*>(elements);
}

template <class T>
GPU_DEVICE Part<T> const* parts(T const* elements) {
    return reinterpret_cast<Part<T> const*>(elements);
}

/// Whether the test `holds(k)`, of elements of `T`, holds for any `k`. What is found is kept as wide as the
/// elements, so that machine vectors hold it.
template <class T, class Test>
GPU_DEVICE bool holdsForAny(unsigned int size, Test holds) {
    using Found = std::conditional_t<sizeof(T) == sizeof(unsigned long), unsigned long, unsigned int>;
    Found found = 0;
    backend::forEachOf(size, [&](unsigned int k) { found |= holds(k) ? ~Found(0) : Found(0); });
    return found != 0;
}

template <class To, class From>
GPU_STEP void castEach(unsigned int size, To* to, From const* from) {
    if constexpr (backend::Run::capacity > 1 && std::is_floating_point_v<From> && std::is_integral_v<To>) {
        bool const isAllInside =
            !holdsForAny<From>(size, [&](unsigned int k) { return !isInside<To>(from[k]); });
        if (isAllInside) {
            backend::forEachOf(size, [&](unsigned int k) { to[k] = castInside<To>(from[k]); });
            return;
        }
    }
    backend::forEachOf(size, [&](unsigned int k) { to[k] = cast<To>(from[k]); });
}

/// Calls `use(values)` with the parts of a run as `P`, `size` of them: those in memory if they are such.
template <class P, class Source, class Use>
GPU_DEVICE void withCast(unsigned int size, Source const* from, Use use) {
    if constexpr (std::is_same_v<P, Source>) {
        use(from);
    } else {
        P values[2 * backend::Run::capacity];
        castEach(size, values, from);
        use(values);
    }
}

template <class T>
GPU_STEP void copyEach(unsigned int size, T* to, T const* from) {
    backend::forEachOf(size, [&](unsigned int k) { to[k] = from[k]; });
}

/// An unsigned integer of so many bytes, as which any memory can be accessed.
template <unsigned long size>
struct Word;
template <>
struct Word<1> {
    typedef unsigned char type __attribute__((may_alias));
};
template <>
struct Word<2> {
    typedef unsigned short type __attribute__((may_alias));
};
template <>
struct Word<4> {
    typedef unsigned int type __attribute__((may_alias));
};
template <>
struct Word<8> {
    typedef unsigned long type __attribute__((may_alias));
};

/// The parts of complex values whose imaginary parts are 0; `to` is aligned as complex values are. As
/// integers they are the real parts, twice as wide.
template <class P>
GPU_STEP void complexify(unsigned int size, P* to, P const* re) {
    if constexpr (sizeof(P) < sizeof(unsigned long)) {
        using Real = typename Word<sizeof(P)>::type;
        using Complex = typename Word<2 * sizeof(P)>::type;
        auto* const words = reinterpret_cast<Complex*>(to);
        auto const* const from = reinterpret_cast<Real const*>(re);
        backend::forEachOf(size, [&](unsigned int k) { words[k] = from[k]; });
    } else {
        backend::forEachOf(size, [&](unsigned int k) {
            to[2ul * k] = re[k];  // of a product of 32 bits the compiler must fear that it wraps
            to[2ul * k + 1] = 0;
        });
    }
}

// --- Tests of values ---

struct IsOtherThanZero {
    template <class T>
    static GPU_DEVICE bool holds(T value) {
        return value != 0;
    }
    static GPU_DEVICE bool holds(LogicalByte value) { return value.byte != 0; }
};

struct IsNotANumber {
    template <class T>
    static GPU_DEVICE bool holds(T value) {
        return backend::isNaN(value);
    }
};

struct IsInfinite {
    template <class T>
    static GPU_DEVICE bool holds(T value) {
        return backend::isInf(value);
    }
};

struct IsNotFinite {
    template <class T>
    static GPU_DEVICE bool holds(T value) {
        return !backend::isFinite(value);
    }
};

template <class Test, class T>
GPU_STEP void testEach(unsigned int size, bool* to, T const* from) {
    backend::forEachOf(size, [&](unsigned int k) { to[k] = Test::holds(from[k]); });
}

/// Two flags that follow each other, as one number.
typedef Word<2 * sizeof(bool)>::type FlagPair;

GPU_DEVICE FlagPair const* flagPairs(bool const* flags) {
    return static_cast<FlagPair const*>(static_cast<void const*>(flags));
}

/// Of each two flags, which are aligned as pairs, whether one holds.
GPU_STEP void joinByOr(unsigned int size, bool* to, bool const* flags) {
    FlagPair const* const pairs = flagPairs(flags);
    backend::forEachOf(size, [&](unsigned int k) { to[k] = pairs[k] != 0; });
}

/// Of each two flags, which are aligned as pairs, whether both hold.
GPU_STEP void joinByAnd(unsigned int size, bool* to, bool const* flags) {
    constexpr FlagPair both = 0x0101;
    FlagPair const* const pairs = flagPairs(flags);
    backend::forEachOf(size, [&](unsigned int k) { to[k] = pairs[k] == both; });
}

GPU_STEP void replaceWhere(unsigned int size, bool* to, bool const* where, bool value) {
    // As bytes, because machine vectors of logicals are made of comparisons alone.
    auto* const bytes = reinterpret_cast<unsigned char*>(to);
    auto const* const chosen = reinterpret_cast<unsigned char const*>(where);
    unsigned char const replacement = value ? 1 : 0;
    backend::forEachOf(size, [&](unsigned int k) { bytes[k] = chosen[k] != 0 ? replacement : bytes[k]; });
}

/// Whether the test holds for each element; for either part of complex ones.
template <class Test, class T>
GPU_DEVICE void testElements(unsigned int size, bool* to, T const* from) {
    if constexpr (isComplex<T>) {
        alignas(FlagPair) bool flags[2 * backend::Run::capacity];
        testEach<Test>(2 * size, flags, parts(from));
        joinByOr(size, to, flags);
    } else {
        testEach<Test>(size, to, from);
    }
}

/// Whether the test holds for any element.
template <class Test, class T>
GPU_STEP bool testAny(unsigned int size, T const* from) {
    return holdsForAny<T>(size, [&](unsigned int k) { return Test::holds(from[k]); });
}

}  // namespace gpuruntime::internal

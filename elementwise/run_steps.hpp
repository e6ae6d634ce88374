#pragma once

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

template <class To, class From>
GPU_STEP void castEach(unsigned int size, To* to, From const* from) {
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

/// Complex values with imaginary parts of 0.
template <class T>
GPU_STEP void complexify(unsigned int size, T* to, Part<T> const* re) {
    backend::forEachOf(size, [&](unsigned int k) { to[k] = T{re[k], 0}; });
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

/// Of each two flags, whether one holds.
GPU_STEP void joinByOr(unsigned int size, bool* to, bool const* flags) {
    backend::forEachOf(size, [&](unsigned int k) { to[k] = flags[2 * k] | flags[2 * k + 1]; });
}

GPU_STEP void replaceWhere(unsigned int size, bool* to, bool const* where, bool value) {
    backend::forEachOf(size, [&](unsigned int k) { to[k] = where[k] ? value : to[k]; });
}

/// Whether the test holds for each element; for either part of complex ones.
template <class Test, class T>
GPU_DEVICE void testElements(unsigned int size, bool* to, T const* from) {
    if constexpr (isComplex<T>) {
        bool flags[2 * backend::Run::capacity];
        testEach<Test>(2 * size, flags, parts(from));
        joinByOr(size, to, flags);
    } else {
        testEach<Test>(size, to, from);
    }
}

/// Whether the test holds for any element.
template <class Test, class T>
GPU_STEP bool testAny(unsigned int size, T const* from) {
    bool any = false;
    backend::forEachOf(size, [&](unsigned int k) { any |= Test::holds(from[k]); });
    return any;
}

}  // namespace gpuruntime::internal

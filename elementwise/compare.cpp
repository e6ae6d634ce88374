#include <gpuruntime/predicates.hpp>

#include "elementwise/run_steps.hpp"
#include "frame/complex.hpp"
#include "frame/elementwise.hpp"
#include "frame/instantiation.hpp"
#include "run.hpp"

namespace gpuruntime {
namespace {

/// What numbers of a type are compared as, if they are compared with their like: logicals are the numbers of
/// their bytes, and of integers only the bits count.
template <class T, class = void>
struct Pattern {
    using type = T;
};
template <>
struct Pattern<bool> {
    using type = unsigned char;
};
template <class T>
struct Pattern<T, std::enable_if_t<std::is_integral_v<T>>> {
    using type = std::make_unsigned_t<T>;
};

/// The type in which parts of two types are compared: `double`, or a smaller one with the same outcome, the
/// smallest that holds all values of both. `long` stands in for `double` beside other integers, because no
/// rounding of a `long` meets a number below 2^32.
template <class A, class B>
constexpr auto commonType() {
    using Limits = std::numeric_limits<A>;
    using OtherLimits = std::numeric_limits<B>;
    constexpr int digits = std::max(Limits::digits, OtherLimits::digits);
    if constexpr (Limits::is_integer && OtherLimits::is_integer) {
        if constexpr (digits <= std::numeric_limits<short>::digits)
            return short();
        else if constexpr (digits <= std::numeric_limits<int>::digits)
            return int();
        else
            return long();
    } else if constexpr (std::is_same_v<A, double> || std::is_same_v<B, double> ||
                         digits > std::numeric_limits<float>::digits) {
        return double();
    } else {
        return float();
    }
}

template <class T>
GPU_STEP void equalEach(unsigned int size, bool* to, T const* a, T const* b, bool nanEqual) {
    if (std::is_floating_point_v<T> && nanEqual) {
        backend::forEachOf(
            size, [&](unsigned int k) { to[k] = (a[k] == b[k]) | ((a[k] != a[k]) & (b[k] != b[k])); });
    } else {
        backend::forEachOf(size, [&](unsigned int k) { to[k] = a[k] == b[k]; });
    }
}

GPU_STEP void equalEach(unsigned int size, bool* to, long const* a, unsigned long const* b, bool) {
    backend::forEachOf(
        size, [&](unsigned int k) { to[k] = (static_cast<unsigned long>(a[k]) == b[k]) & (a[k] >= 0); });
}

GPU_STEP void negateEach(unsigned int size, bool* to) {
    backend::forEachOf(size, [&](unsigned int k) { to[k] = !to[k]; });
}

template <class A, class B>
GPU_DEVICE void compareParts(unsigned int size, bool* to, A const* a, B const* b, bool nanEqual) {
    if constexpr (std::is_same_v<A, B>) {
        using P = typename Pattern<A>::type;
        equalEach(size, to, reinterpret_cast<P const*>(a), reinterpret_cast<P const*>(b), nanEqual);
    } else if constexpr (std::is_same_v<B, unsigned long> && std::is_integral_v<A>) {
        internal::withCast<long>(size, a,
                                 [&](long const* value) { equalEach(size, to, value, b, nanEqual); });
    } else if constexpr (std::is_same_v<A, unsigned long> && std::is_integral_v<B>) {
        compareParts(size, to, b, a, nanEqual);
    } else {
        using Common = decltype(commonType<A, B>());
        internal::withCast<Common>(size, a, [&](Common const* valueA) {
            internal::withCast<Common>(
                size, b, [&](Common const* valueB) { equalEach(size, to, valueA, valueB, nanEqual); });
        });
    }
}

/// Stores whether the elements of a run are equal. Beside a complex value a real one has an imaginary part of
/// 0, which no NaN equals.
template <class A, class B>
GPU_DEVICE void compareElements(unsigned int size, bool* to, A const* a, B const* b, bool nanEqual) {
    if constexpr (std::is_same_v<A, bool> && std::is_same_v<B, bool>) {
        compareParts(size, to, a, b, nanEqual);
    } else if constexpr (std::is_same_v<A, bool>) {
        compareElements(size, to, reinterpret_cast<unsigned char const*>(a), b, nanEqual);
    } else if constexpr (internal::isComplex<A> && internal::isComplex<B>) {
        alignas(internal::FlagPair) bool flags[2 * backend::Run::capacity];
        compareParts(2 * size, flags, internal::parts(a), internal::parts(b), nanEqual);
        internal::joinByAnd(size, to, flags);
    } else if constexpr (internal::isComplex<B>) {
        alignas(internal::FlagPair) bool flags[2 * backend::Run::capacity];
        A complex[2 * backend::Run::capacity];
        internal::complexify(size, complex, a);
        compareParts(2 * size, flags, complex, internal::parts(b), nanEqual);
        internal::joinByAnd(size, to, flags);
    } else {
        compareParts(size, to, a, b, nanEqual);
    }
}

// Equality is the same either way around, so a pair of types has kernels in one order only, that of the list
// of types.
template <class A, class B>
struct ElementwiseCompareKernel {
    static GPU_DEVICE void apply(backend::Run run, bool* out, A const* a, B const* b, bool nanEqual) {
        backend::ElementsOf const fromA(run, a);
        backend::ElementsOf const fromB(run, b);
        backend::storeRun(
            run, out, [&](bool* to) { compareElements(run.size, to, fromA.data(), fromB.data(), nanEqual); });
    }
};

template <class A, class B>
struct ElementwiseNotEqualKernel {
    static GPU_DEVICE void apply(backend::Run run, bool* out, A const* a, B const* b, bool nanEqual) {
        backend::ElementsOf const fromA(run, a);
        backend::ElementsOf const fromB(run, b);
        backend::storeRun(run, out, [&](bool* to) {
            compareElements(run.size, to, fromA.data(), fromB.data(), nanEqual);
            negateEach(run.size, to);
        });
    }
};

/// The place of a type in a list.
template <class T, class... Listed>
constexpr unsigned int placeOf(internal::TypeList<Listed...>) {
    unsigned int place = 0;
    static_cast<void>(((std::is_same_v<T, Listed> || (++place, false)) || ...));
    return place;
}

}  // namespace

template <class A, class B>
void ElementwiseCompare::Invoker<A, B>::operator()(CUstream_st* stream, unsigned long n, bool* out,
                                                   A const* a, B const* b, bool nanEqual, bool negate) const {
    if constexpr (placeOf<B>(internal::All{}) < placeOf<A>(internal::All{})) {
        ElementwiseCompare::Invoker<B, A>()(stream, n, out, b, a, nanEqual, negate);
    } else if (negate) {
        elementwisedetail::launch<ElementwiseNotEqualKernel<A, B>>(stream, n, out, a, b, nanEqual);
    } else {
        elementwisedetail::launch<ElementwiseCompareKernel<A, B>>(stream, n, out, a, b, nanEqual);
    }
}

void _forceInstantiation2_(detail::Opaque& opaque, ElementwiseCompare*) {
    internal::instantiate2<ElementwiseCompare>(opaque, internal::All{}, internal::All{});
}

}  // namespace gpuruntime

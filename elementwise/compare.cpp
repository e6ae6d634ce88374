#include <gpuruntime/predicates.hpp>

#include "elementwise/run_steps.hpp"
#include "frame/complex.hpp"
#include "frame/elementwise.hpp"
#include "frame/instantiation.hpp"
#include "run.hpp"

namespace gpuruntime {
namespace {

/// Of integers of one type only the bits are compared; logicals are the numbers of their bytes.
template <class T>
GPU_DEVICE auto const* pattern(T const* values) {
    if constexpr (std::is_same_v<T, bool>) {
        return reinterpret_cast<unsigned char const*>(values);
    } else if constexpr (std::is_integral_v<T>) {
        return reinterpret_cast<std::make_unsigned_t<T> const*>(values);
    } else {
        return values;
    }
}

/// The type as which numbers of `A` are compared with such of `B`: `double`, or a smaller one with the same
/// outcome. Integers are compared as such of the wider type, because no rounding of a `long` meets a number
/// below 2^32; if they cannot be, each keeps its sign or lack of it.
template <class A, class B>
constexpr auto comparedAs() {
    using Limits = std::numeric_limits<A>;
    using OtherLimits = std::numeric_limits<B>;
    if constexpr (std::is_same_v<A, B>) {
        return A();
    } else if constexpr (Limits::is_integer && OtherLimits::is_integer) {
        if constexpr (Limits::is_signed && sizeof(A) <= sizeof(B))
            return std::make_signed_t<B>();
        else if constexpr (sizeof(A) < sizeof(B))
            return B();
        else
            return A();
    } else if constexpr (std::is_same_v<A, double> || std::is_same_v<B, double> ||
                         std::max(Limits::digits, OtherLimits::digits) > std::numeric_limits<float>::digits) {
        return double();
    } else {
        return float();
    }
}
template <class A, class B>
using ComparedAs = decltype(comparedAs<A, B>());

/// Whether two numbers are equal, which are of one type, or integers of one size and not of one sign.
template <bool nanEqual, class C, class D>
GPU_DEVICE bool areEqual(C a, D b) {
    if constexpr (std::is_signed_v<C> && !std::is_signed_v<D>) {
        return (static_cast<D>(a) == b) & (a >= 0);
    } else if constexpr (!std::is_signed_v<C> && std::is_signed_v<D>) {
        return areEqual<nanEqual>(b, a);
    } else if constexpr (std::is_floating_point_v<C> && nanEqual) {
        return (a == b) | ((a != a) & (b != b));
    } else {
        return a == b;
    }
}

template <bool nanEqual, class C, class D>
GPU_DEVICE void equalRun(unsigned int size, bool* to, C const* a, D const* b) {
    backend::forEachOf(size, [&](unsigned int k) { to[k] = areEqual<nanEqual>(a[k], b[k]); });
}

template <class C, class D>
GPU_STEP void equalEach(unsigned int size, bool* to, C const* a, D const* b, bool nanEqual) {
    if (std::is_floating_point_v<C> && nanEqual) {
        equalRun<true>(size, to, a, b);
    } else {
        equalRun<false>(size, to, a, b);
    }
}

template <bool nanEqual, class C, class D>
GPU_DEVICE void equalRealRun(unsigned int size, bool* to, C const* re, D const* parts) {
    backend::forEachOf(size, [&](unsigned int k) {
        unsigned long const first = 2ul * k;  // of a product of 32 bits the compiler must fear that it wraps
        to[k] = areEqual<nanEqual>(re[k], parts[first]) & (parts[first + 1] == 0);
    });
}

/// Of real numbers and the parts of complex ones.
template <class C, class D>
GPU_STEP void equalRealEach(unsigned int size, bool* to, C const* re, D const* parts, bool nanEqual) {
    if (std::is_floating_point_v<C> && nanEqual) {
        equalRealRun<true>(size, to, re, parts);
    } else {
        equalRealRun<false>(size, to, re, parts);
    }
}

GPU_STEP void negateEach(unsigned int size, bool* to) {
    backend::forEachOf(size, [&](unsigned int k) { to[k] = !to[k]; });
}

/// Calls `use(a, b)` with numbers of `A` and of `B` as they are compared with each other, so many of each.
template <class A, class B, class Use>
GPU_DEVICE void withCompared(unsigned int sizeA, A const* a, unsigned int sizeB, B const* b, Use use) {
    using C = ComparedAs<A, B>;
    using D = ComparedAs<B, A>;
    internal::withCast<C>(sizeA, a, [&](C const* valueA) {
        internal::withCast<D>(sizeB, b, [&](D const* valueB) {
            if constexpr (std::is_signed_v<C> == std::is_signed_v<D>) {
                use(pattern(valueA), pattern(valueB));
            } else {
                use(valueA, valueB);
            }
        });
    });
}

template <class A, class B>
GPU_DEVICE void compareParts(unsigned int size, bool* to, A const* a, B const* b, bool nanEqual) {
    withCompared(size, a, size, b, [&](auto const* valueA, auto const* valueB) {
        equalEach(size, to, valueA, valueB, nanEqual);
    });
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
        withCompared(size, a, 2 * size, internal::parts(b), [&](auto const* re, auto const* parts) {
            equalRealEach(size, to, re, parts, nanEqual);
        });
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

#pragma once

#include <limits>
#include <type_traits>

#include "device.hpp"
#include "elementwise/guarded_product.hpp"
#include "frame/complex.hpp"
#include "frame/complex_order.hpp"
#include "frame/saturation.hpp"
#include "math.hpp"

/// What reductions and scans combine values with. An operator gives an identity, which stands for an element
/// that is not there, and `combine` of the running value `a` with a new value `b`. The operators that pick
/// one of their operands also tell by `supersedes` whether the later `b` takes the place of `a`; ties keep
/// `a`. An operator may name another that does the same as its `Equivalent`, so that kernels share their
/// code.
///
/// `combine` is written without branches for real types, so that loops over lanes vectorise. The operators on
/// `bool` hold their values as bytes of 0 or 1, for the same reason.
namespace gpuruntime::reductionoperators {

namespace detail {

/// The unsigned integer in which sums and products of the integer `P` wrap at its width without being
/// narrower than `unsigned int`, in which signed overflow could not be avoided.
template <class P>
using Modular = std::conditional_t<sizeof(P) == 8, unsigned long, unsigned int>;

template <class T>
GPU_DEVICE T wrappingComplexSum(T a, T b) {
    using P = internal::Part<T>;
    using M = Modular<P>;
    return {static_cast<P>(M(a.x) + M(b.x)), static_cast<P>(M(a.y) + M(b.y))};
}

template <class T>
GPU_DEVICE T wrappingComplexProduct(T a, T b) {
    using P = internal::Part<T>;
    using M = Modular<P>;
    return {static_cast<P>(M(a.x) * M(b.x) - M(a.y) * M(b.y)),
            static_cast<P>(M(a.x) * M(b.y) + M(a.y) * M(b.x))};
}

/// The lowest and the highest value of `T`; for floating types the infinities.
template <class T>
GPU_DEVICE constexpr T lowest() {
    using Limits = std::numeric_limits<T>;
    return Limits::has_infinity ? -Limits::infinity() : Limits::lowest();
}
template <class T>
GPU_DEVICE constexpr T highest() {
    using Limits = std::numeric_limits<T>;
    return Limits::has_infinity ? Limits::infinity() : Limits::max();
}

template <class T>
GPU_DEVICE constexpr T nan() {
    return std::numeric_limits<T>::quiet_NaN();
}

}  // namespace detail

struct And {
    static GPU_DEVICE unsigned char identity() { return 1; }
    static GPU_DEVICE unsigned char combine(unsigned char a, unsigned char b) { return a & b; }
};

struct Or {
    static GPU_DEVICE unsigned char identity() { return 0; }
    static GPU_DEVICE unsigned char combine(unsigned char a, unsigned char b) { return a | b; }
};

/// Real integers saturate; integer pairs wrap in each part; `bool` is a logical or.
template <class T>
struct Sum {
    static constexpr bool isSaturatingSum = std::is_integral_v<T>;

    static GPU_DEVICE T identity() { return T{}; }

    static GPU_DEVICE T combine(T a, T b) {
        using P = internal::Part<T>;
        if constexpr (internal::isComplex<T> && std::is_floating_point_v<P>) {
            return {a.x + b.x, a.y + b.y};
        } else if constexpr (internal::isComplex<T>) {
            return detail::wrappingComplexSum(a, b);
        } else if constexpr (std::is_floating_point_v<T>) {
            return a + b;
        } else {
            return internal::saturatingSum(a, b);
        }
    }
};

template <>
struct Sum<bool> : Or {};

/// Real integers of up to 32 bits saturate; 64-bit integers and integer pairs wrap; `bool` is a logical and;
/// complex floating values keep infinities.
template <class T>
struct Prod {
    static constexpr bool isGuarded = internal::isComplex<T> && std::is_floating_point_v<internal::Part<T>>;
    static constexpr bool isSaturatingProduct =
        std::is_integral_v<T> && !std::is_same_v<T, bool> && sizeof(T) < 8;

    static GPU_DEVICE T identity() {
        if constexpr (internal::isComplex<T>) {
            return {1, 0};
        } else {
            return T(1);
        }
    }

    static GPU_DEVICE T combine(T a, T b) {
        using P = internal::Part<T>;
        if constexpr (internal::isComplex<T> && std::is_floating_point_v<P>) {
            return internal::guardedProduct(a, b);
        } else if constexpr (internal::isComplex<T>) {
            return detail::wrappingComplexProduct(a, b);
        } else if constexpr (std::is_floating_point_v<T>) {
            return a * b;
        } else if constexpr (sizeof(T) == 8) {
            return static_cast<T>(static_cast<unsigned long>(a) * static_cast<unsigned long>(b));
        } else {
            return internal::saturatingProduct(a, b);
        }
    }

    /// Of floating complex values, or vectors of them: whether `combinePlainly`, which takes no branches,
    /// does.
    template <class V>
    static GPU_DEVICE auto isPlain(V a, V b) {
        return internal::isPlainProduct(a, b);
    }
    template <class V>
    static GPU_DEVICE V combinePlainly(V a, V b) {
        return internal::plainProduct(a, b);
    }
};

namespace detail {

/// `Max` and `Min` of `bool` and integers, where no value is NaN. `sign` is 1 for the maximum, -1 for the
/// minimum.
template <class T, int sign>
struct ExtremumOfIntegers {
    static GPU_DEVICE T identity() { return sign > 0 ? lowest<T>() : highest<T>(); }

    static GPU_DEVICE bool supersedes(T a, T b) { return sign > 0 ? b > a : b < a; }

    static GPU_DEVICE T combine(T a, T b) { return supersedes(a, b) ? b : a; }
};

template <int sign>
struct ExtremumOfIntegers<bool, sign> : std::conditional_t<(sign > 0), Or, And> {
    static GPU_DEVICE bool supersedes(unsigned char a, unsigned char b) { return sign > 0 ? b > a : b < a; }
};

/// A NaN loses to every number.
template <class T, int sign>
struct ExtremumOfNumbers {
    static GPU_DEVICE T identity() { return nan<T>(); }

    static GPU_DEVICE bool supersedes(T a, T b) {
        return !(sign > 0 ? b <= a : b >= a) & !backend::isNaN(b);  // also where `a` is NaN
    }

    static GPU_DEVICE T combine(T a, T b) { return sign > 0 ? backend::fmax(a, b) : backend::fmin(a, b); }
};

/// A NaN wins over every number. Of equal values, `combine` gives `b`, which tells the two zeros apart.
template <class T, int sign>
struct ExtremumWithNaNs {
    static GPU_DEVICE T identity() { return sign > 0 ? lowest<T>() : highest<T>(); }

    static GPU_DEVICE bool supersedes(T a, T b) {
        return !(sign > 0 ? b <= a : b >= a) & !backend::isNaN(a);  // also where `b` is NaN
    }

    static GPU_DEVICE T combine(T a, T b) { return supersedes(b, a) ? a : b; }
};

/// Complex values by the complex order; a value is NaN here if its magnitude is.
template <class T, int sign, bool nanWins>
struct ExtremumOfComplex {
    /// A value that takes the place of no other, NaN or not: where NaN wins these are, for the maximum, the
    /// zero of the lowest angle, and for the minimum the infinity of the highest. An infinite magnitude for
    /// the maximum, or one of lower angle for the minimum, would let a missing element into the result.
    static GPU_DEVICE T identity() {
        using P = internal::Part<T>;
        if constexpr (!nanWins) {
            return {nan<P>(), nan<P>()};
        } else if constexpr (sign > 0) {
            return {-P(0), -P(0)};
        } else {
            return {lowest<P>(), highest<P>()};
        }
    }

    static GPU_DEVICE bool supersedes(T a, T b) {
        int const squares = sign * internal::compareSquares(a, b);
        if (squares != 0) return squares < 0;
        if (internal::identical(a, b)) return false;
        if (internal::hasNaNMagnitude(nanWins ? a : b)) return false;
        if (internal::hasNaNMagnitude(nanWins ? b : a)) return true;
        return precedes(a, b);
    }

    static GPU_DEVICE T combine(T a, T b) {
        bool const taken = supersedes(a, b);
        return {taken ? b.x : a.x, taken ? b.y : a.y};
    }

    /// The extremum of values one after another, for as long as their magnitudes alone tell it: then it
    /// hangs neither on the order nor on the grouping of the combinations, as it might by the angles.
    class Sequence {
        static_assert(!nanWins, "a NaN that wins leaves open which one it is");

      public:
        explicit GPU_DEVICE Sequence(T first) : best(first) {}

        GPU_DEVICE T value() const { return best; }

        /// Takes the next value; false if the order may matter.
        GPU_DEVICE bool take(T next) {
            int order = sign * internal::compareSquares(best, next);
            if (order == 0) {
                if (internal::identical(best, next)) return true;
                order = compareMagnitudes(best, next);
                if (order == 0) return false;
            }
            if (order < 0) best = next;
            return true;
        }

      private:
        /// Negative if `b` takes the place of `a`, positive if not, 0 if the magnitudes do not tell.
        static GPU_DEVICE_CALL int compareMagnitudes(T a, T b) {
            auto const ma = internal::magnitude(a), mb = internal::magnitude(b);
            if (!backend::isNaN(ma) && backend::isNaN(mb)) return 1;
            return sign * ((ma > mb) - (ma < mb));
        }

        T best;
    };

  private:
    /// Of two values that are no NaN, by their magnitudes. Called rather than inlined: few values come here.
    static GPU_DEVICE_CALL bool precedes(T a, T b) {
        auto const ma = internal::magnitude(a), mb = internal::magnitude(b);
        if (ma != mb) return sign > 0 ? ma < mb : ma > mb;
        return sign * internal::compareEqualMagnitudes(a, b, backend::isInf(ma)) < 0;
    }
};

template <class T, int sign, bool nanWins>
using Extremum = std::conditional_t<
    internal::isComplex<T>, ExtremumOfComplex<T, sign, nanWins>,
    std::conditional_t<!std::is_floating_point_v<T>, ExtremumOfIntegers<T, sign>,
                       std::conditional_t<nanWins, ExtremumWithNaNs<T, sign>, ExtremumOfNumbers<T, sign>>>>;

}  // namespace detail

/// The extremum that passes over NaN; complex values go by the complex order.
template <class T>
struct Max : detail::Extremum<T, 1, false> {
    using Equivalent = detail::Extremum<T, 1, false>;
};
template <class T>
struct Min : detail::Extremum<T, -1, false> {
    using Equivalent = detail::Extremum<T, -1, false>;
};

/// The extremum that is NaN as soon as a value is.
template <class T>
struct MaxWithNaNs : detail::Extremum<T, 1, true> {
    using Equivalent = detail::Extremum<T, 1, true>;
};
template <class T>
struct MinWithNaNs : detail::Extremum<T, -1, true> {
    using Equivalent = detail::Extremum<T, -1, true>;
};

/// The largest finite magnitude: infinities count as 0, NaN is passed over.
template <class T>
struct MaxUniqueTol {
    static GPU_DEVICE T identity() { return detail::nan<T>(); }

    static GPU_DEVICE T combine(T a, T b) { return backend::fmax(finiteMagnitude(a), finiteMagnitude(b)); }

  private:
    static GPU_DEVICE T finiteMagnitude(T value) {
        return backend::isInf(value) ? T(0) : backend::abs(value);
    }
};

}  // namespace gpuruntime::reductionoperators

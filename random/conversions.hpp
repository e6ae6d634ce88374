#pragma once

#include <limits>
#include <type_traits>

#include "backend/math/inverse_error.hpp"
#include "backend/math/logarithm.hpp"
#include "backend/math/trigonometric.hpp"
#include "lanes.hpp"
#include "math.hpp"

/// From raw values to uniform values, and from those to elements, for neighbouring lanes at once.
namespace gpucommon::rand {

using gpuruntime::backend::DoubleLanes;
using gpuruntime::backend::WordLanes;

/// The uniform value of a 53-bit integer, never 0 and never 1.
GPU_DEVICE DoubleLanes uniformOf(WordLanes integer) {
    DoubleLanes const unit = gpuruntime::backend::doubleLanes(0x1.fffffffffffffp-54);  // 2^-53 - 2^-106
    return gpuruntime::backend::fma(gpuruntime::backend::exactDouble(integer), unit, unit);
}

/// The uniform value of two steps of MRG32k3a; the second gives the low bits.
GPU_DEVICE DoubleLanes uniformOf(WordLanes z1, WordLanes z2) {
    constexpr double norm = 0x1.000000d00000bp-32;  // 1 / (m1 + 1)
    DoubleLanes const high = gpuruntime::backend::exactDouble(z1) * norm;
    DoubleLanes const low = gpuruntime::backend::exactDouble(z2) * norm * 0x1p-24;
    DoubleLanes const sum = high + low;
    return sum < 1.0 ? sum : sum - 1.0;
}

/// The elements of neighbouring lanes, before each is narrowed to `T`.
template <class T>
using ElementLanes = std::conditional_t<std::is_floating_point_v<T>, DoubleLanes, WordLanes>;

/// The element of one lane.
template <class T>
GPU_DEVICE T elementOf(ElementLanes<T> const& values, unsigned int lane) {
    return static_cast<T>(gpuruntime::backend::lane(values, lane));
}

template <class T>
struct RandConversion {
    GPU_DEVICE DoubleLanes operator()(DoubleLanes u) const { return u; }
};

template <class T>
struct RandIConversion {
    double lowest, highest;

    GPU_DEVICE ElementLanes<T> operator()(DoubleLanes u) const {
        using namespace gpuruntime::backend;
        double const span = (highest - lowest) + 1.0;
        DoubleLanes const value = floor(span * u) + lowest;
        if constexpr (std::is_floating_point_v<T>) {
            return value;
        } else {
            // With an integer for its lower bound, the value is one as well.
            bool const isInteger = floor(lowest) == lowest;
            DoubleLanes const integer = isInteger ? value : rounded(value);
            return saturated(integer == integer ? integer : doubleLanes(0.0));
        }
    }

  private:
    /// Half away from zero. From 2^52 on, every value is an integer.
    static GPU_DEVICE DoubleLanes rounded(DoubleLanes value) {
        using namespace gpuruntime::backend;
        DoubleLanes const magnitude = abs(value);
        DoubleLanes const nearest = magnitude < 0.5 ? doubleLanes(0.0) : floor(magnitude + 0.5);
        return magnitude < 0x1p52 ? copySign(nearest, value) : value;
    }

    static GPU_DEVICE WordLanes saturated(DoubleLanes integer) {
        using namespace gpuruntime::backend;
        if constexpr (std::is_same_v<T, unsigned long>) {
            return integerToUint64(integer);
        } else if constexpr (std::is_same_v<T, long>) {
            return integerToInt64(integer);
        } else {
            DoubleLanes const low = doubleLanes(std::numeric_limits<T>::min());
            DoubleLanes const high = doubleLanes(std::numeric_limits<T>::max());
            DoubleLanes const raised = integer > low ? integer : low;
            return lowWord(raised < high ? raised : high);
        }
    }
};

template <class T>
struct NormalConversionInversion {
    GPU_DEVICE DoubleLanes operator()(DoubleLanes u) const {
        constexpr double minusRootOfTwo = -0x1.6a09e667f3bcdp+0;
        return minusRootOfTwo * gpuruntime::backend::erfcInverse(2.0 * u);
    }
};

/// Takes pairs, unlike the others.
template <class T>
struct NormalConversionBoxMuller {
    GPU_DEVICE void operator()(DoubleLanes u1, DoubleLanes u2, DoubleLanes& first,
                               DoubleLanes& second) const {
        constexpr double twoPi = 0x1.921fb54442d18p+2;
        DoubleLanes const r = gpuruntime::backend::sqrt(-2.0 * gpuruntime::backend::logOfNormal(u1));
        DoubleLanes sine, cosine;
        gpuruntime::backend::sinCosOfTurn(u2 * twoPi, sine, cosine);
        first = r * cosine;
        second = r * sine;
    }
};

/// Converts the uniform values of one block, place by place.
template <class T, class Conversion, unsigned int n>
GPU_DEVICE void convertBlock(Conversion const& conversion, DoubleLanes const (&uniform)[n],
                             ElementLanes<T> (&elements)[n]) {
    if constexpr (std::is_same_v<Conversion, NormalConversionBoxMuller<T>>) {
        for (unsigned int place = 0; place < n; place += 2) {
            conversion(uniform[place], uniform[place + 1], elements[place], elements[place + 1]);
        }
    } else {
        for (unsigned int place = 0; place < n; ++place) elements[place] = conversion(uniform[place]);
    }
}

}  // namespace gpucommon::rand

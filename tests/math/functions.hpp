#pragma once

#include <mpfr.h>

#include <cmath>
#include <limits>
#include <type_traits>

#include "backend/math/arctangent.hpp"
#include "backend/math/exponential.hpp"
#include "backend/math/hypotenuse.hpp"
#include "backend/math/inverse_error.hpp"
#include "backend/math/log_of_length.hpp"
#include "backend/math/logarithm.hpp"
#include "backend/math/power.hpp"
#include "backend/math/trigonometric.hpp"

/// The mathematical functions as the device computes them, and beside each what MPFR makes of the same
/// arguments.
namespace gpuruntime::testing {

/// A number of 192 bits.
class Multiple {
  public:
    Multiple() { mpfr_init2(value, 192); }
    explicit Multiple(double x) : Multiple() { mpfr_set_d(value, x, MPFR_RNDN); }
    Multiple(Multiple const&) = delete;
    Multiple& operator=(Multiple const&) = delete;
    ~Multiple() { mpfr_clear(value); }

    mpfr_ptr get() { return value; }
    operator mpfr_ptr() { return value; }
    operator mpfr_srcptr() const { return value; }

  private:
    mpfr_t value;
};

template <class T>
T rounded(Multiple const& x, mpfr_rnd_t how) {
    if constexpr (std::is_same_v<T, float>) {
        return mpfr_get_flt(x, how);
    } else {
        return mpfr_get_d(x, how);
    }
}

/// By how many units in the last place `actual` misses `expected`; 0 for the value that stands in place of a
/// number.
template <class T>
double ulpsApart(Multiple const& expected, T actual) {
    T const nearest = rounded<T>(expected, MPFR_RNDN);
    if (nearest == actual || (std::isnan(nearest) && std::isnan(actual))) {
        if (!std::isfinite(actual)) return 0;
    } else if (!std::isfinite(nearest) || !std::isfinite(actual)) {
        return std::numeric_limits<double>::infinity();
    }
    T const below = std::fabs(rounded<T>(expected, MPFR_RNDZ));
    double const ulp = static_cast<double>(std::nextafter(below, std::numeric_limits<T>::infinity())) - below;
    Multiple difference;
    mpfr_sub_d(difference, expected, static_cast<double>(actual), MPFR_RNDN);
    mpfr_div_d(difference, difference, ulp, MPFR_RNDN);
    return std::fabs(mpfr_get_d(difference, MPFR_RNDN));
}

/// A function of `x` and `y`, of which most take `x` only: `of` on the device, `exact` on the host.
/// `worstUlps` is the accuracy in `double` that its header states.
struct Exp {
    static constexpr double worstUlps = 0.76;
    template <class D>
    static GPU_DEVICE D of(D x, D /*y*/) {
        return backend::exp(x);
    }
    static void exact(mpfr_ptr result, mpfr_srcptr x, mpfr_srcptr) { mpfr_exp(result, x, MPFR_RNDN); }
};

struct Log {
    static constexpr double worstUlps = 0.87;
    template <class D>
    static GPU_DEVICE D of(D x, D /*y*/) {
        return backend::log(x);
    }
    static void exact(mpfr_ptr result, mpfr_srcptr x, mpfr_srcptr) { mpfr_log(result, x, MPFR_RNDN); }
};

struct Pow {
    static constexpr double worstUlps = 0.79;
    template <class D>
    static GPU_DEVICE D of(D x, D y) {
        return backend::pow(x, y);
    }
    static void exact(mpfr_ptr result, mpfr_srcptr x, mpfr_srcptr y) { mpfr_pow(result, x, y, MPFR_RNDN); }
};

struct Sin {
    static constexpr double worstUlps = 0.8;
    template <class D>
    static GPU_DEVICE D of(D x, D /*y*/) {
        return backend::sin(x);
    }
    static void exact(mpfr_ptr result, mpfr_srcptr x, mpfr_srcptr) { mpfr_sin(result, x, MPFR_RNDN); }
};

struct Cos {
    static constexpr double worstUlps = 0.8;
    template <class D>
    static GPU_DEVICE D of(D x, D /*y*/) {
        return backend::cos(x);
    }
    static void exact(mpfr_ptr result, mpfr_srcptr x, mpfr_srcptr) { mpfr_cos(result, x, MPFR_RNDN); }
};

struct SinOfTurn : Sin {
    static constexpr double worstUlps = 0.85;
    template <class D>
    static GPU_DEVICE D of(D x, D /*y*/) {
        D sine, cosine;
        backend::sinCosOfTurn(x, sine, cosine);
        return sine;
    }
};

struct CosOfTurn : Cos {
    static constexpr double worstUlps = 0.85;
    template <class D>
    static GPU_DEVICE D of(D x, D /*y*/) {
        D sine, cosine;
        backend::sinCosOfTurn(x, sine, cosine);
        return cosine;
    }
};

/// The angle of the point (`y`, `x`), whose coordinates come in the order of the function's arguments.
struct Atan2 {
    static constexpr double worstUlps = 0.8;
    template <class D>
    static GPU_DEVICE D of(D x, D y) {
        return backend::atan2(x, y);
    }
    static void exact(mpfr_ptr result, mpfr_srcptr x, mpfr_srcptr y) { mpfr_atan2(result, x, y, MPFR_RNDN); }
};

struct Hypot {
    static constexpr double worstUlps = 0.75;
    template <class D>
    static GPU_DEVICE D of(D x, D y) {
        return backend::hypot(x, y);
    }
    static void exact(mpfr_ptr result, mpfr_srcptr x, mpfr_srcptr y) { mpfr_hypot(result, x, y, MPFR_RNDN); }
};

struct LogOfLength {
    static constexpr double worstUlps = 1.1;
    template <class D>
    static GPU_DEVICE D of(D x, D y) {
        return backend::logOfLength(x, y);
    }
    static void exact(mpfr_ptr result, mpfr_srcptr x, mpfr_srcptr y) {
        bool const isXLarger = mpfr_cmpabs(x, y) > 0;
        mpfr_srcptr const most = isXLarger ? x : y, least = isXLarger ? y : x;
        Multiple square, other;
        if (mpfr_get_exp(most) < 0 || mpfr_get_exp(most) > 1) {
            mpfr_hypot(square, x, y, MPFR_RNDN);
            mpfr_log(result, square, MPFR_RNDN);
            return;
        }
        mpfr_sqr(square, most, MPFR_RNDN);
        mpfr_sub_ui(square, square, 1, MPFR_RNDN);  // exact, like both squares
        mpfr_sqr(other, least, MPFR_RNDN);
        mpfr_add(square, square, other, MPFR_RNDN);
        mpfr_log1p(result, square, MPFR_RNDN);
        mpfr_div_2ui(result, result, 1, MPFR_RNDN);
    }
};

/// MPFR has no inverse; by Halley's method.
struct ErfcInverse {
    static constexpr double worstUlps = 3;
    template <class D>
    static GPU_DEVICE D of(D x, D /*y*/) {
        return backend::erfcInverse(x);
    }
    static void exact(mpfr_ptr result, mpfr_srcptr y, mpfr_srcptr) {
        double const start = mpfr_get_d(y, MPFR_RNDN);
        if (!(start > 0 && start < 2)) {
            mpfr_set_d(result, start == 0 ? INFINITY : start == 2 ? -INFINITY : NAN, MPFR_RNDN);
            return;
        }
        double const tail = std::fmin(start, 2 - start);
        double const guess =
            tail > 0.1 ? 0.886 * (1 - start) : std::copysign(std::sqrt(-std::log(tail)), 1 - start);
        mpfr_set_d(result, guess, MPFR_RNDN);
        Multiple step, slope;
        do {
            mpfr_erfc(step, result, MPFR_RNDN);
            mpfr_sub(step, step, y, MPFR_RNDN);
            mpfr_sqr(slope, result, MPFR_RNDN);
            mpfr_exp(slope, slope, MPFR_RNDN);
            mpfr_mul(step, step, slope, MPFR_RNDN);
            mpfr_const_pi(slope, MPFR_RNDN);
            mpfr_sqrt(slope, slope, MPFR_RNDN);
            mpfr_mul(step, step, slope, MPFR_RNDN);
            mpfr_div_2ui(step, step, 1, MPFR_RNDN);
            mpfr_mul(slope, result, step, MPFR_RNDN);
            mpfr_ui_sub(slope, 1, slope, MPFR_RNDN);
            mpfr_div(step, step, slope, MPFR_RNDN);
            mpfr_add(result, result, step, MPFR_RNDN);
        } while (!mpfr_zero_p(step.get()) &&
                 mpfr_get_exp(step) > mpfr_get_exp(result) - 50);  // then cubed once more
    }
};

}  // namespace gpuruntime::testing

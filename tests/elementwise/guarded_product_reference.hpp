#pragma once

#include <cmath>

#include "frame/complex.hpp"

namespace gpuruntime::testing::reference {

/// The guarded complex product, step by step.
template <class T>
T guardedProduct(T a, T b) {
    using P = internal::Part<T>;
    P const ar = a.x, ai = a.y, br = b.x, bi = b.y;
    if (ai == 0 && bi == 0) return {ar * br, ai};

    P const p = ar * br, q = ai * bi, r = ar * bi, s = ai * br;
    P const re = p - q, im = r + s;
    if (std::isfinite(re) && std::isfinite(im)) return {re, im};

    auto const largerPart = [](P x, P y) { return std::fmax(std::fabs(x), std::fabs(y)); };
    auto const scaled = [](P part, P m) {
        return std::fabs(part) == m ? std::copysign(P(1), part) : part / m;
    };
    P const ma = largerPart(ar, ai), mb = largerPart(br, bi);
    P const uar = scaled(ar, ma), uai = scaled(ai, ma), ubr = scaled(br, mb), ubi = scaled(bi, mb);
    bool const infinityMeetsZero =
        (std::isinf(ma) && (br == 0 || bi == 0)) || (std::isinf(mb) && (ar == 0 || ai == 0));
    auto const recomputed = [&](P part) {
        return std::isnan(part) || (std::isinf(part) && std::isfinite(ma) && std::isfinite(mb));
    };
    auto const orSignedZero = [](P product, P scaledProduct) {
        return std::isnan(product) ? std::copysign(P(0), scaledProduct) : product;
    };

    T result{re, im};
    if (recomputed(re)) {
        P const t = uar * ubr, u = uai * ubi, v = t - u;
        if (v != 0) {
            result.x = mb * (ma * v);
        } else if (infinityMeetsZero) {
            result.x = orSignedZero(p, t) - orSignedZero(q, u);
        } else {
            result.x = 0;
        }
    }
    if (recomputed(im)) {
        P const t = uar * ubi, u = uai * ubr, v = u + t;
        if (v != 0) {
            result.y = mb * (ma * v);
        } else if (infinityMeetsZero) {
            result.y = orSignedZero(r, t) + orSignedZero(s, u);
        } else {
            result.y = 0;
        }
    }
    return result;
}

}  // namespace gpuruntime::testing::reference

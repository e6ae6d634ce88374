#!/usr/bin/env python3
"""Prints the numbers in the headers of backend/math: coefficients, each list with the largest relative error that it
leaves in the value it is for, constants in as many words as they need, and the bits of 2 / pi. Needs mpmath.

A polynomial interpolates its function at the Chebyshev points, which is within a factor of about two of the best one of
its degree. It is found in high precision, and its coefficients are rounded at the end.
"""

from mpmath import atan, cos, erfc, exp, floor, log, mp, mpf, pi, sin, sqrt

mp.dps = 80


def interpolation(f, low, high, degree):
    """Coefficients of powers of t, where t from -1 to 1 runs over the interval."""
    n = degree + 1
    nodes = [cos(pi * (k + mpf(1) / 2) / n) for k in range(n)]
    values = [f((high - low) / 2 * t + (high + low) / 2) for t in nodes]
    weights = [2 * sum(v * cos(pi * j * (k + mpf(1) / 2) / n) for k, v in enumerate(values)) / n for j in range(n)]
    weights[0] /= 2
    powers = [mpf(0)] * n
    previous, current = [], [mpf(1)]  # Chebyshev polynomials
    for j, weight in enumerate(weights):
        for k, a in enumerate(current):
            powers[k] += weight * a
        following = [mpf(0)] + [(2 if j > 0 else 1) * a for a in current]
        for k, a in enumerate(previous):
            following[k] -= a
        previous, current = current, following
    return powers


def in_powers_of_x(powers, low, high):
    """The same polynomial in x itself."""
    scale, shift = 2 / (high - low), -(high + low) / (high - low)
    result = [mpf(0)]
    for a in reversed(powers):
        result = [x + y for x, y in zip([b * shift for b in result] + [0], [0] + [b * scale for b in result])]
        result[0] += a
    return result[:len(powers)]


def value_at(coefficients, x):
    value = mpf(0)
    for a in reversed(coefficients):
        value = value * x + a
    return value


def show(name, coefficients, error_at, low, high, samples=400):
    """`error_at` tells the error at a point of the interval, for a given value of the polynomial at t or x."""
    rounded = [mpf(float(a)) for a in coefficients]
    points = [low + (high - low) * (k + mpf(1) / 2) / samples for k in range(samples)]
    print(f"{name}: {mp.nstr(max(abs(error_at(rounded, x)) for x in points), 2)}")
    for a in coefficients:
        print(f"    {float(a).hex()},")


def fit_term(name, f, high, degree, weight, low=0):
    """A polynomial in x itself; `weight` is the part that an error of 1 has in the whole value."""
    low += mpf(10) ** -12  # the terms are 0 / 0 at 0
    coefficients = in_powers_of_x(interpolation(f, low, high, degree), low, high)
    show(name, coefficients, lambda c, x: (value_at(c, x) - f(x)) * weight(x), low, high)


def fit_scaled(name, f, low, high, degree):
    """A polynomial in t, by relative error."""
    error_at = lambda c, x: value_at(c, (2 * x - high - low) / (high - low)) / f(x) - 1
    show(name, interpolation(f, low, high, degree), error_at, low, high)


def erfc_inverse(y):
    """By Halley's method, for y up to 1."""
    z = sqrt(-log(y * (2 - y))) if y < mpf("0.3") else 1 - y
    while True:
        step = (erfc(z) - y) * sqrt(pi) / 2 * exp(z * z)
        following = z + step / (1 - z * step)
        if abs(following - z) <= abs(z) * mpf(10) ** (8 - mp.dps):
            return following
        z = following


def atanh_term(z):
    s = sqrt(z)
    return (log((1 + s) / (1 - s)) / s - 2) / z


def sin_term(z):
    r = sqrt(z)
    return (sin(r) / r - 1) / z


def cos_term(z):
    return (cos(sqrt(z)) - 1 + z / 2) / z**2


def atanh_rest(z):
    return (atanh_term(z) - mpf(2) / 3) / z


def exp_term(r):
    return (exp(r) - 1 - r) / r**2


def atan_term(z):
    q = sqrt(z)
    return (atan(q) / q - 1) / z


def central_inverse_error(w):
    if w == 0:
        return sqrt(pi) / 2
    x = sqrt(1 - exp(-w))
    return erfc_inverse(exp(-w) / (1 + x)) / x


def tail_inverse_error(s):
    return erfc_inverse(exp(-s * s))


def show_constant(name, value, bits):
    """In several words: each takes so many bits of what the ones before leave."""
    print(f"{name}:")
    for count in bits:
        unit = mpf(2) ** (int(floor(log(abs(value), 2))) + 1 - count)
        word = floor(value / unit + mpf(1) / 2) * unit
        print(f"    {float(word).hex()}")
        value -= word


def show_bits(name, value, count):
    """As words of 64 bits of the fraction, the first a zero."""
    print(f"{name}:")
    bits = int(floor(value * mpf(2) ** (64 * count)))
    for k in range(count, -1, -1):
        print(f"    0x{(bits >> (64 * k)) & (2**64 - 1):016x},")


root_span = (3 - 2 * sqrt(mpf(2))) ** 2
fit_term("atanhTerm", atanh_term, root_span, 6, lambda z: z / 2)
fit_term("atanhRest", atanh_rest, root_span * mpf("1.0001"), 7, lambda z: z**2 / 2)

half_ln2 = log(mpf(2)) / 2 * mpf("1.0001")
fit_term("expTerm", exp_term, half_ln2, 10, lambda r: r**2 / exp(r), low=-half_ln2)

eighth = (pi / 4 * mpf("1.0001")) ** 2
fit_term("sinTerm", sin_term, eighth, 5, lambda z: z)
fit_term("cosTerm", cos_term, eighth, 5, lambda z: z**2 * sqrt(mpf(2)))
fit_term("atanTerm", atan_term, (sqrt(mpf(2)) - 1) ** 2 * mpf("1.0001"), 11, lambda z: z)

fit_scaled("centralInverseError", central_inverse_error, mpf(0), mpf("6.25"), 23)
fit_scaled("tailInverseError", tail_inverse_error, mpf("2.625"), mpf("6.25"), 21)
fit_scaled("farInverseError", tail_inverse_error, mpf("6.25"), mpf("13.25"), 21)
fit_scaled("farthestInverseError", tail_inverse_error, mpf("13.25"), mpf("27.375"), 21)

show_constant("ln 2", log(mpf(2)), [42, 53])
show_constant("2 / 3", mpf(2) / 3, [53, 53])
show_constant("pi / 2", pi / 2, [53, 53, 53])
show_constant("log2 e", 1 / log(mpf(2)), [53])
mp.dps = 400
show_bits("2 / pi", 2 / pi, 19)

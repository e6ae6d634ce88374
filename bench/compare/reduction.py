"""Reductions and scans in NumPy, named as in reduction_bench.cpp. Column-major arrays of the benchmark are row-major ones with
the extents reversed here; integers are summed in their own type, as there, but wrap."""

import itertools

import numpy as np
from timing import report

N = 32 << 20
COLUMNS = [(1, N // 4 // 64, 64)]
LARGE = [(1, N // 4, 1), *COLUMNS, (N // 4 // 64, 64, 1)]
SHORT = ([(1, length, N // 4 // length) for length in (1, 3, 16, 100, 150)]
         + [(stride, 1000, N // 4 // 1000 // stride) for stride in (3, 100)] + [(1, 1000, 1)])
TYPES = {
    "signed char": np.int8, "unsigned char": np.uint8, "short": np.int16, "int": np.int32, "unsigned int": np.uint32,
    "long": np.int64, "unsigned long": np.uint64, "float": np.float32, "double": np.float64,
    "float2": np.complex64, "double2": np.complex128,
}
random = np.random.default_rng(1)


def array(type_name, stride, length, outer):
    """Values as the benchmark takes them: small integers, or magnitudes near 1 at angles in the right half plane."""
    dtype = np.dtype(TYPES[type_name])
    shape = (outer, length, stride)
    if dtype.kind in "iu":
        return random.integers(0, 3, shape, dtype=dtype)
    part = np.float32 if dtype in (np.float32, np.complex64) else np.float64
    magnitude = 1 + (2 * random.random(shape, dtype=part) - 1) / 1024
    if dtype.kind == "f":
        return magnitude
    t = 2 * random.random(shape, dtype=part) - 1  # the tangent of half the angle
    return magnitude * (1 - t * t + 2j * t) / (1 + t * t)


def report_call(name, extents, call, nan=1, named=True, **options):
    stride, length, outer = extents
    arguments = f"stride:{stride}/length:{length}/outer:{outer}/nan:{nan}" if named else f"{stride}/{length}/{outer}"
    calls = 1000 if stride * length * outer < 10000 else 1
    report(f"{name}/{arguments}/real_time", call, calls=calls, **options)


def compare(name, type_name, call, shapes, **options):
    for extents in shapes:
        data = array(type_name, *extents)
        report_call(name, extents, lambda: call(data), **options)


def compare_scan(family, type_name, operation, shapes):
    """In place: over zeros, which stay what they are, or over complex values, new for each of a few runs."""
    for extents in shapes:
        if type_name in ("float2", "double2"):
            options = {"runs": 3}
            start = array(type_name, *extents)
            arrays = iter([start, start.copy(), start.copy(), start.copy()])  # one to warm up
        else:
            options = {}
            arrays = itertools.repeat(np.zeros(extents[::-1], TYPES[type_name]))

        def scan():
            data = next(arrays)
            operation.accumulate(data, axis=1, dtype=data.dtype, out=data)

        report_call(f"Scan<{family}, {type_name}>", extents, scan, **options)


def own_sum(a):
    return np.sum(a, axis=1, dtype=a.dtype)


def own_prod(a):
    return np.prod(a, axis=1, dtype=a.dtype)


for t in TYPES:
    compare(f"Reduce<SumNative, {t}>", t, own_sum, LARGE)
    compare(f"Reduce<ProdNative, {t}>", t, own_prod, LARGE)
    compare(f"Reduce<Max, {t}>", t, lambda a: np.max(a, axis=1), LARGE)
    compare(f"Reduce<Min, {t}>", t, lambda a: np.min(a, axis=1), COLUMNS)
    compare(f"ReduceWithIndex<MaxWithIndex, {t}>", t, lambda a: np.argmax(a, axis=1), LARGE)
    compare(f"ReduceWithIndex<MinWithIndex, {t}>", t, lambda a: np.argmin(a, axis=1), COLUMNS)
    compare_scan("CumSum", t, np.add, LARGE)
    compare_scan("CumProd", t, np.multiply, LARGE)
    compare_scan("CumMax", t, np.maximum, LARGE)
    compare_scan("CumMin", t, np.minimum, COLUMNS)

for t in ("double", "double2"):
    compare(f"Reduce<SumNative, {t}>", t, lambda a: np.nansum(a, axis=1), LARGE, nan=0)
compare("Reduce<SumNative, double>", "double", own_sum, SHORT)
for t in ("signed char", "int", "float"):
    compare(f"Reduce<SumAsDouble, {t}, double>", t, lambda a: np.sum(a, axis=1, dtype=np.float64), LARGE)
compare("Reduce<ProdAsDouble, int, double>", "int", lambda a: np.prod(a, axis=1, dtype=np.float64), COLUMNS)
compare("Reduce<All, double, bool>", "double", lambda a: np.all(a, axis=1), LARGE)
compare("Reduce<Any, double, bool>", "double", lambda a: np.any(a, axis=1), LARGE)
compare("ReduceContiguous<CountNonZero, double, double>", "double", lambda a: np.count_nonzero(a, axis=1),
        [(1, N // 256, 64)], named=False)
compare("ReduceContiguous<HasNaN, double, bool>", "double", lambda a: np.isnan(a).any(axis=1), [(1, N // 256, 64)],
        named=False)
for t in ("float", "double", "double2"):
    compare(f"Reduce<Max, {t}>", t, lambda a: np.nanmax(a, axis=1), LARGE, nan=0)
compare("ReduceWithIndex<MaxWithIndex, double>", "double", lambda a: np.nanargmax(a, axis=1), LARGE, nan=0)
compare("ReduceWithIndex<MaxWithIndex, double>", "double", lambda a: np.argmax(a, axis=1), SHORT)
compare_scan("CumSum", "double", np.add, SHORT)

"""Reductions and scans in NumPy, named as in reduction_bench.cpp. Column-major arrays of the benchmark are row-major ones with
the extents reversed here; integers are summed in their own type, as there, but wrap."""

import numpy as np
from timing import report

N = 32 << 20
LARGE = [(1, N // 4, 1), (1, N // 4 // 64, 64), (N // 4 // 64, 64, 1)]
SHORT = ([(1, length, N // 4 // length) for length in (1, 3, 16, 100, 150)]
         + [(stride, 1000, N // 4 // 1000 // stride) for stride in (3, 100)] + [(1, 1000, 1)])
TYPES = {
    "signed char": np.int8, "unsigned char": np.uint8, "short": np.int16, "int": np.int32, "unsigned int": np.uint32,
    "long": np.int64, "unsigned long": np.uint64, "float": np.float32, "double": np.float64,
    "float2": np.complex64, "double2": np.complex128,
}
random = np.random.default_rng(1)


def array(type_name, stride, length, outer):
    dtype = np.dtype(TYPES[type_name])
    shape = (outer, length, stride)
    if dtype.kind in "iu":
        return random.integers(0, 3, shape, dtype=dtype)
    part = np.float32 if dtype in (np.float32, np.complex64) else np.float64
    if dtype.kind == "f":
        return random.random(shape, dtype=part)
    return (random.random(shape, dtype=part) + 1j * random.random(shape, dtype=part)).astype(dtype)


def compare(name, type_name, call, shapes, nan=1, named=True):
    for stride, length, outer in shapes:
        data = array(type_name, stride, length, outer)
        if named:
            arguments = f"stride:{stride}/length:{length}/outer:{outer}/nan:{nan}"
        else:
            arguments = f"{stride}/{length}/{outer}"
        calls = 1000 if data.size < 10000 else 1
        report(f"{name}/{arguments}/real_time", lambda: call(data), calls=calls)


def own_sum(a):
    return np.sum(a, axis=1, dtype=a.dtype)


def own_prod(a):
    return np.prod(a, axis=1, dtype=a.dtype)


for t in TYPES:
    compare(f"Reduce<SumNative, {t}>", t, own_sum, LARGE)
compare("Reduce<SumNative, double>", "double", own_sum, SHORT)
for t in ("double", "double2"):
    compare(f"Reduce<SumNative, {t}>", t, lambda a: np.nansum(a, axis=1), LARGE, nan=0)
for t in ("signed char", "int", "float"):
    compare(f"Reduce<SumAsDouble, {t}, double>", t, lambda a: np.sum(a, axis=1, dtype=np.float64), LARGE)
for t in ("int", "long", "double", "double2"):
    compare(f"Reduce<ProdNative, {t}>", t, own_prod, LARGE)
compare("Reduce<All, double, bool>", "double", lambda a: np.all(a, axis=1), LARGE)
compare("Reduce<Any, double, bool>", "double", lambda a: np.any(a, axis=1), LARGE)
compare("ReduceContiguous<CountNonZero, double, double>", "double", lambda a: np.count_nonzero(a, axis=1),
        [(1, N // 256, 64)], named=False)
compare("ReduceContiguous<HasNaN, double, bool>", "double", lambda a: np.isnan(a).any(axis=1), [(1, N // 256, 64)],
        named=False)
for t in ("signed char", "int", "long", "float", "double", "double2"):
    compare(f"Reduce<Max, {t}>", t, lambda a: np.max(a, axis=1), LARGE)
for t in ("float", "double", "double2"):
    compare(f"Reduce<Max, {t}>", t, lambda a: np.nanmax(a, axis=1), LARGE, nan=0)
for t in ("int", "float", "double", "double2"):
    compare(f"ReduceWithIndex<MaxWithIndex, {t}>", t, lambda a: np.argmax(a, axis=1), LARGE)
compare("ReduceWithIndex<MaxWithIndex, double>", "double", lambda a: np.nanargmax(a, axis=1), LARGE, nan=0)
compare("ReduceWithIndex<MaxWithIndex, double>", "double", lambda a: np.argmax(a, axis=1), SHORT)
for t in ("signed char", "int", "long", "float", "double", "double2"):
    compare(f"Scan<CumSum, {t}>", t, lambda a: np.cumsum(a, axis=1, dtype=a.dtype, out=a), LARGE)
compare("Scan<CumSum, double>", "double", lambda a: np.cumsum(a, axis=1, out=a), SHORT)
for t in ("double", "double2"):
    compare(f"Scan<CumProd, {t}>", t, lambda a: np.cumprod(a, axis=1, out=a), LARGE)
    compare(f"Scan<CumMax, {t}>", t, lambda a: np.maximum.accumulate(a, axis=1, out=a), LARGE)

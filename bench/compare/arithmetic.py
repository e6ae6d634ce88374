"""Arithmetic in NumPy, named as in arithmetic_bench.cpp."""

import numpy as np
from pairs import COMPLEX, LARGE_BYTES, REAL
from timing import report

RUNS = 5
FLOATING = {"float": np.float32, "double": np.float64, **COMPLEX}
INTEGERS = ("signed char", "unsigned char", "short", "unsigned short", "int", "unsigned int")


def numbers(dtype):
    values = (np.arange(LARGE_BYTES // np.dtype(dtype).itemsize) % 100 + 1).astype(dtype)
    return values * dtype(1 + 1j / 3) if np.iscomplexobj(values) else values


def saturated(values, dtype):
    """In a type that is wide enough, held within the range of the narrow one."""
    return np.clip(values, np.iinfo(dtype).min, np.iinfo(dtype).max).astype(dtype)


for name, dtype in FLOATING.items():
    data = numbers(dtype)
    scalar = dtype(1 + 1j / 3) if name in COMPLEX else dtype(1)
    out = np.abs(data)
    report(f"TimesInplace<{name}>", lambda: np.multiply(data, scalar, out=data), runs=RUNS)
    data = numbers(dtype)
    report(f"ReciprocalTimesInplace<{name}>", lambda: np.divide(scalar, data, out=data), runs=RUNS)
    report(f"ScaleInplace<{name}>", lambda: np.divide(data, scalar, out=data), runs=RUNS)
    if name not in COMPLEX:
        report(f"NormalizeInplace<{name}>", lambda: np.divide(np.subtract(data, 1, out=data), 2, out=data), runs=RUNS)
        report(f"MulAddByDoubleInplace<{name}>", lambda: np.add(np.multiply(data, 0.5, out=data), 2, out=data), runs=RUNS)
    data = numbers(dtype)
    report(f"Abs<{name}>", lambda: np.abs(data, out=out), runs=RUNS)
    report(f"AbsPower<{name}>", lambda: np.power(np.abs(data, out=out), 1.7, out=out), runs=RUNS)
    report(f"NormCorrectInfNaN<{name}>", lambda: np.isnan(data).any(), runs=RUNS)

for name in INTEGERS:
    data = numbers(REAL[name])
    wide = np.int32 if data.itemsize < 4 else np.int64
    report(f"TimesInplace<{name}>", lambda: saturated(np.multiply(data, 1, dtype=wide), data.dtype), runs=RUNS)
    report(f"ReciprocalTimesInplace<{name}>", lambda: np.floor_divide(data.dtype.type(100), data), runs=RUNS)

for name, dtype in {**REAL, **COMPLEX}.items():
    if name != "bool":
        data = numbers(dtype)
        matrix = data[: data.size // 2000 * 2000].reshape(-1, 2000)  # a column of the benchmark is a row here
        report(f"Diff<{name}>/columns", lambda: np.diff(matrix, axis=1), runs=RUNS)
        report(f"Diff<{name}>/rows", lambda: np.diff(matrix, axis=0), runs=RUNS)

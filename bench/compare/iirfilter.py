"""Recursive filters in SciPy, named as in iirfilter_bench.cpp."""

import numpy as np
from scipy.signal import lfilter
from timing import report

MANY = 1 << 22

TYPES = {"float": np.float32, "double": np.float64, "float2": np.complex64, "double2": np.complex128}

for name, dtype in TYPES.items():

    def filter_along(order, layout, signals, samples):
        b = np.full(order + 1, 0.1, dtype)
        a = np.full(order + 1, 0.05, dtype)
        a[0] = 1
        shape, axis = ((signals, -1), 1) if layout == "contiguous" else ((-1, signals), 0)
        data = (np.arange(samples) % 127).astype(dtype).reshape(shape)
        report(f"IIRFilter<{name}>/{order}/{layout}/{signals}", lambda: lfilter(b, a, data, axis=axis), runs=3)

    for layout in ("contiguous", "interleaved"):
        for signals in (64, 128, 4096):
            for order in (2, 4, 10):
                filter_along(order, layout, signals, MANY)
    for order in (2, 10):
        filter_along(order, "contiguous", 1, MANY // 4)

"""Convolutions, named as in convolution_bench.cpp: vectors in the faster of SciPy's direct method and NumPy, matrices in OpenCV,
which takes all cores where it can. OpenCV correlates, with the filter turned, and fills an array that is there already."""

import cv2
import numpy as np
import scipy.signal
from timing import faster, report

TYPES = {"float": np.float32, "double": np.float64, "float2": np.complex64, "double2": np.complex128}
LENGTH, SHAPE = 1 << 23, (1080, 1920)


def values(n, dtype):
    return (np.arange(n) % 17 - 8).astype(dtype)


for t, taps in {"float": (1, 3, 5, 16, 32, 128), "double": (1, 3, 16, 64), "float2": (12,), "double2": (12,)}.items():
    for n in taps:
        data, kernel = values(LENGTH, TYPES[t]), values(n, TYPES[t])
        faster(f"Vector<{t}, {n}>/real_time",
               lambda: scipy.signal.convolve(data, kernel, method="direct"), lambda: np.convolve(data, kernel))

for t in ("float", "double"):
    data = values(SHAPE[0] * SHAPE[1], TYPES[t]).reshape(SHAPE)
    out = np.empty_like(data)
    for n in (3, 5, 9, 15) if t == "float" else (5, 15):
        kernel = values(n, TYPES[t])[::-1].copy()
        report(f"Separable<{t}, {n}>/real_time",
               lambda: cv2.sepFilter2D(data, -1, kernel, kernel, dst=out, borderType=cv2.BORDER_CONSTANT))
    for side in (3, 5, 7, 9) if t == "float" else (3, 9):
        kernel = values(side * side, TYPES[t])[::-1].reshape(side, side).copy()
        report(f"Square<{t}, {side}>/real_time",
               lambda: cv2.filter2D(data, -1, kernel, dst=out, borderType=cv2.BORDER_CONSTANT))

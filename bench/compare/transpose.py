"""Transposition and permutation in NumPy, named as in transpose_bench.cpp: copies into an array that is there already. Column-major
arrays of the benchmark are row-major ones with the extents reversed here."""

import numpy as np
from timing import report

TYPES = {"unsigned char": np.uint8, "short": np.int16, "float": np.float32, "double": np.float64, "double2": np.complex128}
MATRICES = [(5000, 5000), (4096, 4096), (100, 250000), (250000, 100)]
LARGE_BYTES = 256 << 20


def permute(name, dtype, in_sizes, order, conjugate=False):
    data = np.ones(in_sizes[::-1], dtype)
    # Dimension d of the benchmark, from 1, is axis -d here.
    turned = data.transpose([len(order) - dimension for dimension in order[::-1]])
    out = np.ones(turned.shape, dtype)
    report(f"{name}/real_time", (lambda: np.conjugate(turned, out=out)) if conjugate else (lambda: np.copyto(out, turned)))


permute("Copy", np.uint8, [LARGE_BYTES], [1])
for t, dtype in TYPES.items():
    for rows, cols in MATRICES:
        permute(f"TransposeOf<{t}>/{rows}/{cols}", dtype, [rows, cols], [2, 1])
permute("CTransposeOf<float2>/5000/5000", np.complex64, [5000, 5000], [2, 1], conjugate=True)
permute("CTransposeOf<double2>/5000/5000", np.complex128, [5000, 5000], [2, 1], conjugate=True)
for order in ("123", "132", "213", "231", "312", "321"):
    permute(f"PermuteOf<double>/{order}/300x300x300", np.float64, [300] * 3, [int(d) for d in order])
permute("PermuteOf<float>/321/300x300x300", np.float32, [300] * 3, [3, 2, 1])
permute("PermuteOf<double>/132/3x3000x3000", np.float64, [3, 3000, 3000], [1, 3, 2])
permute("PermuteOf<double>/321/3x3000x3000", np.float64, [3, 3000, 3000], [3, 2, 1])
permute("PermuteOf<float>/4213/64x64x64x64", np.float32, [64] * 4, [4, 2, 1, 3])

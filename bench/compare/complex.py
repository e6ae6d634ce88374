"""Complex arrays in NumPy, named as in complex_bench.cpp; it has floating ones only."""

import numpy as np
from timing import report

LARGE_BYTES = 64 << 20

for (t, c), (real, pair) in {("float", "float2"): (np.float32, np.complex64), ("double", "double2"): (np.float64, np.complex128)}.items():
    n = LARGE_BYTES // np.dtype(pair).itemsize
    re, im, out = np.ones(n, real), np.ones(n, real), np.ones(n, pair)

    def join(first, second):
        out.real = first
        out.imag = second

    report(f"ComplexifyPtrPtr<{t}>", lambda: join(re, im))
    report(f"ComplexifyPtrScalar<{t}>", lambda: join(re, 3))
    report(f"ComplexifyScalarPtr<{t}>", lambda: join(3, im))
    report(f"Decomplexify<{c}>", lambda: (np.copyto(re, out.real), np.copyto(im, out.imag)))
    report(f"Real<{c}>", lambda: np.copyto(re, out.real))
    report(f"Imag<{c}>", lambda: np.copyto(re, out.imag))
    conjugates = np.ones(n, pair)
    report(f"Conj<{c}>", lambda: np.conjugate(out, out=conjugates))
    for name, dtype in ((t, real), (c, pair)):
        columns = n // 2000
        data = np.ones((columns, 1500), dtype)
        report(f"ComplexCopyPad<{name}>", lambda: np.pad(data, ((0, 0), (0, 500))).astype(pair))

"""The element types that NumPy has, by the names that the benchmarks over pairs of types give them."""

import numpy as np

REAL = {
    "bool": np.bool_, "signed char": np.int8, "unsigned char": np.uint8, "short": np.int16, "unsigned short": np.uint16,
    "int": np.int32, "unsigned int": np.uint32, "long": np.int64, "unsigned long": np.uint64, "float": np.float32,
    "double": np.float64,
}
COMPLEX = {"float2": np.complex64, "double2": np.complex128}
TYPES = {**REAL, **COMPLEX}
LARGE_BYTES = 64 << 20


def large(*types):
    """Zeros of each type, as many as fill the large array of the largest, in memory that has been touched."""
    n = LARGE_BYTES // max(np.dtype(t).itemsize for t in types)
    return [np.full(n, 0, t) for t in types]

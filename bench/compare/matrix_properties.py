"""Properties of matrices in SciPy and NumPy, named as in matrix_properties_bench.cpp."""

import numpy as np
import scipy.linalg
from timing import report

N = 8000

for name, dtype in {"float": np.float32, "double": np.float64}.items():
    matrix = np.full((N, N), 0, dtype, order="F")
    report(f"IsSymmetric<{name}>", lambda: scipy.linalg.issymmetric(matrix), runs=3)
    report(f"IsTril<{name}>", lambda: scipy.linalg.bandwidth(matrix)[1] == 0, runs=3)
    report(f"IsTriu<{name}>", lambda: scipy.linalg.bandwidth(matrix)[0] == 0, runs=3)
    report(f"IsBanded<{name}>", lambda: scipy.linalg.bandwidth(matrix) <= (0, 0), runs=3)
    report(f"GetFillPattern<{name}>", lambda: scipy.linalg.bandwidth(matrix), runs=3)
    report(f"Bandwidth<{name}>", lambda: scipy.linalg.bandwidth(matrix), runs=3)

"""Predicates and comparisons in NumPy, named as in predicates_bench.cpp."""

import numpy as np
from pairs import REAL, TYPES, large
from timing import report

RUNS = 5
FLOATING = ("float", "double", "float2", "double2")

for first, t in TYPES.items():
    for second, u in TYPES.items():
        a, b, out = large(t, u, np.bool_)
        report(f"Compare<{first}, {second}>", lambda: np.equal(a, b, out=out), runs=RUNS)

for name in FLOATING:
    values, out = large(TYPES[name], np.bool_)
    report(f"IsNaN<{name}>", lambda: np.isnan(values, out=out), runs=RUNS)
    report(f"IsInf<{name}>", lambda: np.isinf(values, out=out), runs=RUNS)
    report(f"CheckNaN<{name}>", lambda: np.isnan(values).any(), runs=RUNS)
    report(f"CheckInf<{name}>", lambda: np.isinf(values).any(), runs=RUNS)

for name, t in TYPES.items():
    values, out = large(t, np.bool_)
    report(f"IsNonZero<{name}>", lambda: np.not_equal(values, 0, out=out), runs=RUNS)

for name, t in REAL.items():
    if name != "bool":
        values, out = large(t, np.float64)
        report(f"FlagNegative<{name}>", lambda: np.less(values, 0).astype(np.float64), runs=RUNS)

values = np.full(8 << 20, 3.0)
report("CheckValidFindMax<double>", lambda: ((values >= 1) & (values == np.rint(values)) & np.isfinite(values)).all() and values.max(), runs=RUNS)

"""Casts in NumPy, named as in casts_bench.cpp. `astype` truncates and wraps, which is less work than rounding and saturating."""

import numpy as np
from pairs import COMPLEX, REAL, TYPES, large
from timing import report

RUNS = 5

for target, to in TYPES.items():
    for source, of in TYPES.items():
        if target == "bool" or (source in COMPLEX and target in REAL):
            continue
        values, out = large(of, to)
        report(f"Cast<{target}, {source}>", lambda: np.copyto(out, values, casting="unsafe"), runs=RUNS)

for source, of in REAL.items():
    if source != "bool":
        values, out = large(of, np.bool_)
        report(f"CastToBool<{source}>", lambda: np.not_equal(values, 0, out=out), runs=RUNS)

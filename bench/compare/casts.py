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


def bounds(to, of):
    """The range of integers, as far as floating numbers reach into it."""
    lowest, highest = of(np.iinfo(to).min), of(np.iinfo(to).max)
    return lowest, highest if int(highest) <= np.iinfo(to).max else np.nextafter(highest, of(0))


# The shortest expression of the rule itself, but for halves, which `rint` rounds to even.
for target, to in REAL.items():
    for source in ("float", "double"):
        if not np.issubdtype(to, np.integer):
            continue
        values, _ = large(REAL[source], to)
        low, high = bounds(to, REAL[source])
        report(f"SameRule<{target}, {source}>", lambda: np.clip(np.rint(np.nan_to_num(values)), low, high).astype(to), runs=RUNS)

for source, of in REAL.items():
    if source != "bool":
        values, out = large(of, np.bool_)
        report(f"CastToBool<{source}>", lambda: np.not_equal(values, 0, out=out), runs=RUNS)

"""Sums by keys, named as in accumarray_bench.cpp: of sorted keys by NumPy, from keys in any order by pandas."""

import numpy as np
import pandas as pd
from timing import report

VALUES = 1 << 24

generator = np.random.default_rng(1)
values = np.full(VALUES, 0.5)

for bins in (100, 100_000, 10_000_000):
    keys = generator.integers(0, bins, VALUES)
    in_order = np.sort(keys)
    starts = np.flatnonzero(np.diff(in_order, prepend=-1))
    report(f"SumOfSortedKeys/{bins}/real_time", lambda: np.add.reduceat(values, starts), runs=3)
    frame = pd.DataFrame({"key": keys, "value": values})
    report(f"SumBySubscripts/{bins}/real_time", lambda: frame.groupby("key")["value"].sum(), runs=3)

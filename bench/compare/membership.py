"""Membership in NumPy, named as in membership_bench.cpp: without locations `isin`, with them `searchsorted` and a look at
what it found."""

import numpy as np
from timing import report

QUERIES = 1 << 24

generator = np.random.default_rng(1)

for size in (1000, 1_000_000, 16_000_000):
    members = np.sort(generator.standard_normal(size))
    queries = generator.standard_normal(QUERIES)
    queries[1::2] = members[generator.integers(0, size, QUERIES // 2)]

    def located():
        places = np.minimum(np.searchsorted(members, queries), size - 1)
        return np.where(members[places] == queries, members[places], 0)

    report(f"IsMember/{size}/real_time", lambda: np.isin(queries, members), runs=1)
    report(f"IsMemberWithLocations/{size}/real_time", located, runs=1)

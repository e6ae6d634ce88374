"""Sorts in NumPy, named as in sorting_bench.cpp. Sorts with indices are stable, as the library's are. NumPy has no order of
complex values by magnitude and phase; its lexical sort of both is set against it."""

import numpy as np
from timing import report

MILLION = 1 << 20
SIXTEEN_MILLION = 1 << 24
COLUMNS = 1000

generator = np.random.default_rng(1)


def sorted_anew(values, **options):
    """A call that sorts a fresh copy; the copy is in the time, at well under a tenth of it."""
    scratch = values.copy()

    def call():
        np.copyto(scratch, values)
        scratch.sort(**options)

    return call


for n in (1000, MILLION, SIXTEEN_MILLION):
    doubles = generator.standard_normal(n)
    calls = 1000 if n == 1000 else 1
    report(f"SortVectorOf<double>/{n}/real_time", sorted_anew(doubles), calls=calls)
    report(f"SortVectorWithIndexOf<double>/{n}/real_time", lambda: np.argsort(doubles, kind="stable"), calls=calls,
           runs=3)

longs = generator.integers(-(2**63), 2**63 - 1, MILLION, dtype=np.int64)
report(f"SortVectorOf<long>/{MILLION}/real_time", sorted_anew(longs))

pairs = generator.standard_normal(MILLION) + 1j * generator.standard_normal(MILLION)
report(f"SortVectorOf<double2>/{MILLION}/real_time", lambda: pairs[np.lexsort((np.angle(pairs), np.abs(pairs)))])
report(f"SortVectorWithIndexOf<double2>/{MILLION}/real_time", lambda: np.lexsort((np.angle(pairs), np.abs(pairs))))

matrix = generator.standard_normal((COLUMNS, 1000))
size = COLUMNS * 1000
report(f"SortMatrixColumns/{size}/real_time", sorted_anew(matrix, axis=1))
report(f"SortMatrixColumnsWithIndex/{size}/real_time", lambda: np.argsort(matrix, axis=1, kind="stable"))

few = np.arange(MILLION) * 7919 % 10.0
second = generator.standard_normal(MILLION)
report(f"SortRowsByTwoColumns/{MILLION}/real_time", lambda: np.lexsort((-second, few)))

ascending = np.arange(SIXTEEN_MILLION, dtype=np.float64)
report(f"IsSortedOf/{SIXTEEN_MILLION}/real_time", lambda: bool(np.all(ascending[:-1] <= ascending[1:])))

"""The fastest of NumPy, fast-histogram and boost-histogram, named as in histograms_bench.cpp. Each of them has one bin less,
whose last edge is closed."""

import boost_histogram
import fast_histogram
import numpy as np
from timing import report

VALUES = 1 << 24
END = 4.0

generator = np.random.default_rng(1)


def columns_of(values, columns):
    return [np.ascontiguousarray(column) for column in values.reshape(-1, columns).T]


def by_range(values, bins):
    return lambda: [fast_histogram.histogram1d(column, bins - 1, (-END, END)) for column in values]


def by_list(values, bins):
    even = np.linspace(-1, 1, bins)
    axis = boost_histogram.axis.Variable(END * even * np.abs(even))
    return lambda: [boost_histogram.Histogram(axis).fill(column, threads=2) for column in values]


doubles = generator.standard_normal(VALUES)
floats = doubles.astype(np.float32)
for bins, columns in ((101, 1), (1001, 1), (100001, 1), (101, 64)):
    report(f"ByRange<double>/{bins}/{columns}/real_time", by_range(columns_of(doubles, columns), bins), runs=3)
    report(f"ByList<double>/{bins}/{columns}/real_time", by_list(columns_of(doubles, columns), bins), runs=3)
report("ByRange<float>/101/1/real_time", by_range([floats], 101), runs=3)
report("ByList<float>/101/1/real_time", by_list([floats], 101), runs=3)

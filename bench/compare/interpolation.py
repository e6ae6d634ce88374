"""Interpolation in NumPy, SciPy and OpenCV, named as in interpolation_bench.cpp: in two dimensions and more
RegularGridInterpolator on uneven grids, map_coordinates on even ones, and OpenCV for matrices of floats."""

import cv2
import numpy as np
from scipy.interpolate import RegularGridInterpolator, interp1d
from scipy.ndimage import map_coordinates
from timing import report

QUERIES = 1 << 22

generator = np.random.default_rng(1)


def grid_of(n, even):
    at = np.arange(n) / (n - 1)
    return at if even else at * (1 + at) / 2


def queries_of(is_sorted):
    queries = generator.random(QUERIES)
    return np.sort(queries) if is_sorted else queries


for n in (1000, 1000000):
    values = grid_of(n, False)
    for even in (0, 1):
        grid = grid_of(n, even)
        for is_sorted in (0, 1):
            queries = queries_of(is_sorted)
            arguments = f"{n}/{even}/{is_sorted}/real_time"
            runs = 5 if is_sorted else 2  # the others take seconds
            report(f"Vector<double>/{arguments}", lambda: np.interp(queries, grid, values), runs)
            report(f"Search<double>/{arguments}", lambda: np.searchsorted(grid, queries), runs)

queries = queries_of(1)
report("Vector<float>/1000/0/1/real_time", lambda: np.interp(queries, grid_of(1000, False), grid_of(1000, False)), runs=3)

columns = interp1d(grid_of(1000, False), generator.random((256, 1000)), axis=1, assume_sorted=True)
rows = np.sort(generator.random(8192)) * 0.999
report("Columns<double>/real_time", lambda: columns(rows), runs=3)

for dims, n in ((2, 1024), (3, 128)):
    values = generator.random((n,) * dims)
    uneven = RegularGridInterpolator((grid_of(n, False),) * dims, values)
    points = generator.random((QUERIES, dims))
    report(f"Points<double, {dims}>/0/real_time", lambda: uneven(points), runs=2)
    points = generator.random((dims, QUERIES)) * (n - 1)
    report(f"Points<double, {dims}>/1/real_time", lambda: map_coordinates(values, points, order=1), runs=2)

floats = generator.random((1024, 1024)).astype(np.float32)
points = (generator.random((2, 2048, 2048)) * 1023).astype(np.float32)
report("Points<float, 2>/1/real_time", lambda: cv2.remap(floats, points[0], points[1], cv2.INTER_LINEAR), runs=5)

at = np.linspace(0, 1023, 2048).astype(np.float32)
x, y = np.meshgrid(at, at)
for method, flag in ((0, cv2.INTER_LINEAR), (2, cv2.INTER_CUBIC)):
    report(f"Enlarged<float>/{method}/real_time", lambda: cv2.remap(floats, x, y, flag), runs=3)
    report(f"Enlarged<double>/{method}/real_time", lambda: cv2.remap(floats.astype(np.float64), x, y, flag), runs=3)

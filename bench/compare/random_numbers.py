"""Random numbers of NumPy's Philox generator, named as in random_numbers_bench.cpp. The other generators are set against it
too: NumPy has none of them."""

from functools import partial

import numpy as np
from timing import report

LARGE = 16 << 20

generator = np.random.Generator(np.random.Philox(1))
doubles = np.zeros(LARGE, dtype=np.float64)
floats = np.zeros(LARGE, dtype=np.float32)

for name in ("Philox", "ThreeFry", "Mrg32k3a"):
    for element, out in (("double", doubles), ("float", floats)):
        normal = partial(generator.standard_normal, dtype=out.dtype, out=out)
        report(f"Uniform<{name}, {element}>", partial(generator.random, dtype=out.dtype, out=out))
        report(f"NormalByInversion<{name}, {element}>", normal)
        if name != "Mrg32k3a":
            report(f"NormalOfBoxMuller<{name}, {element}>", normal)
    for element, dtype in (("signed char", np.int8), ("int", np.int32), ("long", np.int64)):
        integers = partial(generator.integers, 0, 99, LARGE, dtype=dtype, endpoint=True)
        report(f"Integers<{name}, {element}>", integers)

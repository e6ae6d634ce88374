"""Random numbers of NumPy's Philox generator, named as in random_numbers_bench.cpp. The other generators are set against it
too: NumPy has none of them."""

import numpy as np
from timing import report

LARGE = 16 << 20

generator = np.random.Generator(np.random.Philox(1))
doubles = np.zeros(LARGE, dtype=np.float64)
floats = np.zeros(LARGE, dtype=np.float32)

report("Uniform<Philox, float>", lambda: generator.random(dtype=np.float32, out=floats))
report("Integers<Philox, signed char>", lambda: generator.integers(0, 99, LARGE, dtype=np.int8, endpoint=True))
report("Integers<Philox, long>", lambda: generator.integers(0, 99, LARGE, dtype=np.int64, endpoint=True))
report("NormalOfBoxMuller<Philox, float>", lambda: generator.standard_normal(dtype=np.float32, out=floats))
for name in ("Philox", "ThreeFry", "Mrg32k3a"):
    report(f"Uniform<{name}, double>", lambda: generator.random(out=doubles))
    report(f"Integers<{name}, int>", lambda: generator.integers(0, 99, LARGE, dtype=np.int32, endpoint=True))
    report(f"NormalByInversion<{name}, double>", lambda: generator.standard_normal(out=doubles))
for name in ("Philox", "ThreeFry"):
    report(f"NormalOfBoxMuller<{name}, double>", lambda: generator.standard_normal(out=doubles))

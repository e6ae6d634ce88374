"""Ranges and fills in NumPy, named as in elementwise_bench.cpp."""

import numpy as np
from timing import report

LARGE = 32 << 20

report("ColonOf<double>", lambda: np.arange(LARGE, dtype=np.float64))
report("ColonOf<float>", lambda: np.arange(LARGE, dtype=np.float32))
report("ColonOf<int>", lambda: np.arange(LARGE, dtype=np.int32))
report("ColonOf<long>", lambda: np.arange(LARGE, dtype=np.int64))
report("IntColonOf<double>", lambda: np.arange(1, LARGE + 1, dtype=np.float64))
report("LinspaceOf<double>", lambda: np.linspace(0, 1, LARGE))
report("LinspaceOf<float>", lambda: np.linspace(0, 1, LARGE, dtype=np.float32))
report("LogspaceOfDouble", lambda: np.logspace(0, 1, LARGE // 8))

out = np.zeros(LARGE, dtype=np.uint64)
report("GenericOnesOf8Bytes", lambda: out.fill(42))
pairs = np.zeros(LARGE // 2, dtype=np.complex128)
report("GenericOnesOf16Bytes", lambda: pairs.fill(1 + 2j))

index = np.repeat(np.arange(1, 78, dtype=np.int32), 1000)
report("RunningIndexOf<int>", lambda: np.resize(index, LARGE))
index_as_double = index.astype(np.float64)
report("RunningIndexOf<double>", lambda: np.resize(index_as_double, LARGE))

report("SmallColon", lambda: np.arange(1000, dtype=np.float64), calls=10000)

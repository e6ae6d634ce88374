"""Data movement, selections, index conversion and compaction in NumPy, named as in indexing_bench.cpp. Column-major arrays of the
benchmark are row-major ones with the extents reversed here; where NumPy can write into an array that is there already, it does."""

import numpy as np
from timing import report

TYPES = {"unsigned char": np.uint8, "short": np.int16, "float": np.float32, "double": np.float64, "double2": np.complex128}
LARGE_BYTES = 128 << 20
rng = np.random.default_rng(1)


def copy_to(name, out, view):
    report(f"{name}/real_time", lambda: np.copyto(out, view))


def repmat(name, dtype, shape, axis, copies):
    """Copies along a new axis of length 1, or of as many copies as there are."""
    view = np.broadcast_to(np.expand_dims(np.ones(shape, dtype), axis), [*shape[:axis], copies, *shape[axis:]])
    copy_to(name, np.ones(view.shape, dtype), view)


repmat("RepmatColumn<unsigned char>/10000/13000", np.uint8, [10000], 0, 13000)
repmat("RepmatColumn<unsigned char>/3/40000000", np.uint8, [3], 0, 40000000)
repmat("RepmatColumn<double>/10001/1600", np.float64, [10001], 0, 1600)
repmat("RepmatColumn<double>/100/160000", np.float64, [100], 0, 160000)
repmat("RepmatColumn<double>/3/5000000", np.float64, [3], 0, 5000000)
repmat("Repmat<RepmatMatrixRows, float>/5000/1000/7", np.float32, [1000, 5000], 1, 7)
repmat("Repmat<RepmatMatrixRows, float>/3/1000000/10", np.float32, [1000000, 3], 1, 10)
for a, b, c in ((4000, 1000, 4), (4000000, 2, 2)):
    view = np.broadcast_to(np.ones(a)[None, :, None], (c, a, b))
    copy_to(f"Repmat<RepmatRowVector, double>/{a}/{b}/{c}", np.ones((c, a, b)), view)

for t, rows, cols, pages in (("unsigned char", 11001, 11000, 1), ("float", 5000, 5000, 1), ("float", 512, 512, 100), ("double", 4000, 4001, 1), ("double2", 3000, 3000, 1)):
    turned = np.rot90(np.ones((pages, cols, rows), TYPES[t]), axes=(1, 2))
    copy_to(f"Turn<{t}>/{rows}/{cols}/{pages}", np.ones(turned.shape, TYPES[t]), turned)

for name, dtype, edge in (("TriLower, unsigned char", np.uint8, 16000), ("TriLower, double", np.float64, 5000), ("TriLowerOneOnDiag, float", np.float32, 7001)):
    data = np.ones((edge, edge), dtype)
    report(f"Triangle<{name}>/{edge}/real_time", lambda: np.triu(data))
matrix, vector = np.ones((5000, 5000)), np.ones(5000)
report("Diagonal<double>/5000/real_time", lambda: np.copyto(vector, matrix.diagonal()))


def selections(family, t):
    n = LARGE_BYTES // np.dtype(TYPES[t]).itemsize
    array, dense = np.ones(n, TYPES[t]), np.ones(n, TYPES[t])

    def move(name, selected, shape):
        """A view of the array, read or written."""
        other = dense[: selected.size].reshape(shape)
        if family == "Read":
            copy_to(f"{family}<{t}, {name}", other, selected)
        else:
            copy_to(f"{family}<{t}, {name}", selected, other)

    def move_indexed(name, indices):
        other = dense[: indices.size]
        if family == "Read":
            report(f"{family}<{t}, {name}/real_time", lambda: np.take(array, indices, out=other, mode="clip"))
        else:
            report(f"{family}<{t}, {name}/real_time", lambda: np.put(array, indices, other, mode="clip"))

    move("Order::unit, Colon>", array, [n])
    for cols in (1000, 30000):
        part = array[: n // cols * cols].reshape(cols, -1)
        move(f"Order::unit, Colon, Colon>/{cols}", part, part.shape)
    part = array[: n // 200 // 20 * 4000].reshape(20, 200, -1)
    move("Order::unit, Colon, Colon, Colon>/200", part, part.shape)
    move("Order::strided, Colon>", array[: n // 2 * 2 : 2], [n // 2])
    part = array[: n // 1000 * 1000].reshape(1000, -1)[:, : n // 2000 * 2 : 2]
    move("Order::strided, Colon, Colon>/1000", part, part.shape)
    indices = np.arange(n // 2) * 2
    move_indexed("Order::sorted, Vector>", indices)
    move_indexed("Order::random, Vector>", rng.permutation(indices))


for t in TYPES:
    selections("Read", t)
for t in ("unsigned char", "double", "double2"):
    selections("Write", t)

n = 10000000
subscripts = np.full(n, 2)
report(f"Join2D/{n}/real_time", lambda: np.ravel_multi_index((subscripts, subscripts), (640, 480)))
report(f"Join3D/{n}/real_time", lambda: np.ravel_multi_index((subscripts, subscripts, subscripts), (640, 480, 1000)))
linear = np.arange(n)
report(f"Split2D/{n}/real_time", lambda: np.unravel_index(linear, (640, n)))
report(f"Split3D/{n}/real_time", lambda: np.unravel_index(linear, (640, 480, 1000)))
for percent in (1, 50):
    flags = (rng.integers(0, 100, n) < percent).astype(np.float64)
    report(f"Compact1D/{n}/{percent}/real_time", lambda: np.flatnonzero(flags))
    square = flags.reshape(-1, 1000)
    report(f"Compact2D/{n}/{percent}/real_time", lambda: np.argwhere(square))

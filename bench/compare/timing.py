"""How the comparisons time a call."""

import json
import time


def report(name, call, runs=7, calls=1):
    """Prints the best of `runs` timings of `calls` calls, as seconds a call."""
    call()
    best = float("inf")
    for _ in range(runs):
        start = time.perf_counter()
        for _ in range(calls):
            call()
        best = min(best, time.perf_counter() - start)
    print(json.dumps({"name": name, "seconds": best / calls}), flush=True)

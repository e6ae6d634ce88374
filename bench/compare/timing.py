"""How the comparisons time a call."""

import json
import time


def best_of(call, runs, calls):
    """The best of `runs` timings of `calls` calls, as seconds a call."""
    call()
    best = float("inf")
    for _ in range(runs):
        start = time.perf_counter()
        for _ in range(calls):
            call()
        best = min(best, time.perf_counter() - start)
    return best / calls


def print_seconds(name, seconds):
    print(json.dumps({"name": name, "seconds": seconds}), flush=True)


def report(name, call, runs=7, calls=1):
    """Prints the best of `runs` timings of `calls` calls, as seconds a call."""
    print_seconds(name, best_of(call, runs, calls))


def faster(name, *alternatives):
    """Prints what the fastest of several calls takes."""
    print_seconds(name, min(best_of(call, 7, 1) for call in alternatives))

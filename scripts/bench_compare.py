#!/usr/bin/env python3
"""Runs the benchmarks of a build tree and, beside each in the same run, what a user would call instead; prints the
ratios as a Markdown table.

    bench_compare.py <build folder> [<group>...]

A group is the program <build folder>/bench/<group>_bench and, where there is one, the script bench/compare/<group>.py,
which prints one JSON object a line: {"name": of the benchmark, "seconds": best of several runs}.
"""

import json
import pathlib
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent


def own_results(program):
    """The benchmarks of a program in their order: name to (seconds, bytes per second or None), best of several runs."""
    options = ["--benchmark_format=json", "--benchmark_repetitions=7", "--benchmark_min_time=0.03"]
    output = subprocess.run([program, *options], check=True, capture_output=True, text=True).stdout
    units = {"ns": 1e-9, "us": 1e-6, "ms": 1e-3, "s": 1.0}
    results = {}
    for run in json.loads(output)["benchmarks"]:
        if run["run_type"] == "aggregate":
            continue
        name = run["name"].removesuffix("/real_time")
        seconds, rate = run["real_time"] * units[run["time_unit"]], run.get("bytes_per_second")
        if name not in results or seconds < results[name][0]:
            results[name] = (seconds, rate)
    return results


def other_results(script):
    if not script.exists():
        return {}
    output = subprocess.run([sys.executable, script], check=True, capture_output=True, text=True).stdout
    return {row["name"].removesuffix("/real_time"): row["seconds"] for row in map(json.loads, output.splitlines())}


def print_group(group, own, other):
    print(f"\n## {group}\n")
    print("| benchmark | time | GB/s | NumPy, SciPy | ratio |")
    print("|---|---:|---:|---:|---:|")
    for name, (seconds, rate) in own.items():
        bandwidth = f"{rate / 1e9:.1f}" if rate else ""
        theirs = f"{other[name] * 1e6:.1f} µs" if name in other else ""
        ratio = f"{other[name] / seconds:.2f}" if name in other else ""
        print(f"| `{name}` | {seconds * 1e6:.1f} µs | {bandwidth} | {theirs} | {ratio} |", flush=True)
    for name in other.keys() - own.keys():
        sys.exit(f"{group}: no benchmark is named {name}")


def main():
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    programs = pathlib.Path(sys.argv[1], "bench").glob("*_bench")
    groups = sys.argv[2:] or sorted(program.name.removesuffix("_bench") for program in programs)
    print("Ratios above 1 say how many times faster the library is.")
    for group in groups:
        own = own_results(pathlib.Path(sys.argv[1], "bench", f"{group}_bench"))
        print_group(group, own, other_results(ROOT / "bench" / "compare" / f"{group}.py"))


if __name__ == "__main__":
    main()

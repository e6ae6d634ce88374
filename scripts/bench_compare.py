#!/usr/bin/env python3
"""Runs the benchmarks of a build tree and, beside each in the same run, what a user would call instead; prints the
ratios as a Markdown table.

    bench_compare.py [--heat-maps <folder>] <build folder> [<group>...]

A group is the program <build folder>/bench/<group>_bench and, where there is one, the script bench/compare/<group>.py,
which prints one JSON object a line: {"name": of the benchmark, "seconds": best of several runs}. Benchmarks over all
pairs of types, named "family<row, column>" beside a "Copy", are also drawn: a heat map <family>.svg of their bytes per
second as percentages of the copy's.
"""

import argparse
import json
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent


def own_results(program):
    """The benchmarks of a program in their order: name to (seconds, bytes per second or None, part of the machine's peak of
    arithmetic or None), best of several runs."""
    options = ["--benchmark_format=json", "--benchmark_repetitions=7", "--benchmark_min_time=0.03"]
    output = subprocess.run([program, *options], check=True, capture_output=True, text=True).stdout
    units = {"ns": 1e-9, "us": 1e-6, "ms": 1e-3, "s": 1.0}
    results = {}
    for run in json.loads(output)["benchmarks"]:
        if run["run_type"] == "aggregate":
            continue
        name = run["name"].removesuffix("/real_time")
        seconds = run["real_time"] * units[run["time_unit"]]
        if name not in results or seconds < results[name][0]:
            results[name] = (seconds, run.get("bytes_per_second"), run.get("peak"))
    return results


def other_results(script):
    if not script.exists():
        return {}
    output = subprocess.run([sys.executable, script], check=True, capture_output=True, text=True).stdout
    return {row["name"].removesuffix("/real_time"): row["seconds"] for row in map(json.loads, output.splitlines())}


def print_group(group, own, other):
    print(f"\n## {group}\n")
    has_peak = any(peak for _, _, peak in own.values())
    print(f"| benchmark | time | GB/s |{' of peak |' if has_peak else ''} others | ratio |")
    print(f"|---|---:|---:|{'---:|' if has_peak else ''}---:|---:|")
    for name, (seconds, rate, peak) in own.items():
        bandwidth = f"{rate / 1e9:.1f}" if rate else ""
        if has_peak:
            bandwidth += f" | {100 * peak:.0f} %" if peak else " |"
        theirs = f"{other[name] * 1e6:.1f} µs" if name in other else ""
        ratio = f"{other[name] / seconds:.2f}" if name in other else ""
        print(f"| `{name}` | {seconds * 1e6:.1f} µs | {bandwidth} | {theirs} | {ratio} |", flush=True)
    for name in other.keys() - own.keys():
        sys.exit(f"{group}: no benchmark is named {name}")


def pair_rates(own):
    """Benchmarks over pairs of types: family to {(row, column): rate}, of families with more than a few."""
    families = {}
    for name, (_, rate, _) in own.items():
        pair = re.fullmatch(r"(\w+)<([^,]+), ([^,]+)>", name)
        if pair:
            families.setdefault(pair[1], {})[pair[2], pair[3]] = rate
    return {family: rates for family, rates in families.items() if len(rates) > 50}


def heat_map(rates, roof):
    """The rates as an SVG drawing, each cell a percentage of the roof: red at 40 and below, green at 100 and above."""
    width, height, margin = 34, 18, 110
    rows, columns = (list(dict.fromkeys(pair[side] for pair in rates)) for side in (0, 1))
    x = {column: margin + i * width for i, column in enumerate(columns)}
    y = {row: margin + i * height for i, row in enumerate(rows)}
    size = (margin + len(columns) * width, margin + len(rows) * height)
    cells = [f'<svg xmlns="http://www.w3.org/2000/svg" width="{size[0]}" height="{size[1]}" font-family="sans-serif" '
             'font-size="11">']
    for column in columns:
        place = f"{x[column] + width / 2 + 4},{margin - 6}"
        cells.append(f'<text transform="translate({place}) rotate(-90)">{column}</text>')
    for row in rows:
        cells.append(f'<text x="{margin - 6}" y="{y[row] + height - 5}" text-anchor="end">{row}</text>')
    for (row, column), rate in rates.items():
        percentage = 100 * rate / roof
        hue = 2 * min(max(percentage - 40, 0), 60)
        cells.append(f'<rect x="{x[column]}" y="{y[row]}" width="{width - 1}" height="{height - 1}" '
                     f'fill="hsl({hue:.0f},70%,75%)"/>')
        cells.append(f'<text x="{x[column] + width / 2}" y="{y[row] + height - 5}" text-anchor="middle">'
                     f"{percentage:.0f}</text>")
    return "\n".join([*cells, "</svg>", ""])


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--heat-maps", type=pathlib.Path, help="folder for drawings of pairs of types")
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("groups", nargs="*")
    arguments = parser.parse_args()
    programs = (arguments.build / "bench").glob("*_bench")
    groups = arguments.groups or sorted(program.name.removesuffix("_bench") for program in programs)
    print("Ratios above 1 say how many times faster the library is.")
    for group in groups:
        own = own_results(arguments.build / "bench" / f"{group}_bench")
        print_group(group, own, other_results(ROOT / "bench" / "compare" / f"{group}.py"))
        if arguments.heat_maps:
            for family, rates in pair_rates(own).items():
                (arguments.heat_maps / f"{family}.svg").write_text(heat_map(rates, own["Copy"][1]))


if __name__ == "__main__":
    main()

#!/usr/bin/env python3
"""Prints, from one Google Benchmark JSON report, the time of every library case ("<op>/qp/<n>")
against each rival measured in the same run ("<op>/<rival>/<n>"). A ratio below 1 means the
library is faster.

    build/bench/qp_bench_arithmetic --benchmark_repetitions=5 --benchmark_out=out.json
    bench/ratios.py out.json
"""
import json
import sys
from collections import defaultdict


def main(path):
    report = json.load(open(path))
    times = defaultdict(dict)  # (op, n) -> impl -> time
    for b in report["benchmarks"]:
        if b.get("run_type") == "aggregate" and b.get("aggregate_name") != "median":
            continue
        name = b.get("run_name", b["name"])
        parts = name.split("/")
        if len(parts) < 3:
            continue
        op, impl, n = parts[0], parts[1], "/".join(parts[2:])
        times[(op, n)][impl] = b["real_time"]
    print(f"{'operation':<24}{'n':>10}  {'rival':<10}{'qp ns':>12}{'rival ns':>12}{'qp/rival':>10}")
    for (op, n), impls in sorted(times.items(), key=lambda kv: (kv[0][0], int(kv[0][1].split('/')[0]))):
        if "qp" not in impls:
            continue
        for rival, t in sorted(impls.items()):
            if rival == "qp":
                continue
            print(f"{op:<24}{n:>10}  {rival:<10}{impls['qp']:>12.1f}{t:>12.1f}{impls['qp'] / t:>10.3f}")


if __name__ == "__main__":
    main(sys.argv[1])

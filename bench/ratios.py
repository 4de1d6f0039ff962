#!/usr/bin/env python3
"""Prints, from one Google Benchmark JSON report, the time of every library case ("<op>/qp/<n>")
against each rival measured in the same run ("<op>/<rival>/<n>"). A ratio below 1 means the
library is faster. Each time is the median of the repetitions, or with --fastest their minimum,
which is steadier on a machine that runs other work (then interleave the repetitions too).

    build/bench/qp_bench_arithmetic --benchmark_repetitions=5 --benchmark_out=out.json
    bench/ratios.py out.json

    build/bench/qp_bench_fft --benchmark_repetitions=10 --benchmark_enable_random_interleaving=true \
        --benchmark_out=out.json
    bench/ratios.py --fastest out.json
"""
import json
import sys
from collections import defaultdict


def main(path, fastest):
    report = json.load(open(path))
    times = defaultdict(dict)  # (op, n) -> impl -> time
    for b in report["benchmarks"]:
        aggregate = b.get("run_type") == "aggregate"
        if fastest == aggregate or (aggregate and b.get("aggregate_name") != "median"):
            continue
        name = b.get("run_name", b["name"])
        parts = name.split("/")
        if len(parts) < 3:
            continue
        op, impl, n = parts[0], parts[1], "/".join(parts[2:])
        if fastest:
            times[(op, n)][impl] = min(times[(op, n)].get(impl, float("inf")), b["real_time"])
        else:
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
    args = sys.argv[1:]
    main([a for a in args if a != "--fastest"][0], "--fastest" in args)

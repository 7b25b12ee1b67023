#!/usr/bin/env python3
"""Prints what Google Benchmark measured as ratios: ratios.py RESULTS.json

"SUBJECT | ours" is set beside "SUBJECT | OTHER" with the same arguments, repetition by repetition. Of one
thread the processor's time is taken, so that neighbours on the machine matter less. They only ever add, so the
ratio of the two best times is printed, too.
"""

import json
import statistics
import sys


def times_by_benchmark(results):
    """Nanoseconds of each repetition, by subject and variant, in the order of the sources."""
    times = {}
    for run in sorted(results["benchmarks"],
                      key=lambda run: (run["family_index"], run["per_family_instance_index"])):
        if run["run_type"] == "iteration":
            subject, variant = run["run_name"].split(" | ")
            variant, *arguments = variant.split("/")
            clock = "real_time" if "real_time" in arguments else "cpu_time"
            subject = " ".join([subject] + [argument for argument in arguments if argument != "real_time"])
            times.setdefault(subject, {}).setdefault(variant, []).append(run[clock])
    return times


def main():
    with open(sys.argv[1], encoding="utf-8") as file:
        times = times_by_benchmark(json.load(file))
    print(f"| {'What':42} | {'Time':>11} | {'Beside':20} | {'Ratio':>6} | {'Range':14} | {'Of the best':11} |")
    print("|---|---:|---|---:|---|---:|")
    for subject, variants in times.items():
        ours = variants.pop("ours")
        (name, others), = variants.items()
        ratios = [our / other for our, other in zip(ours, others)]
        print(f"| {subject:42} | {statistics.median(ours) / 1000:8.2f} µs | {name:20} |"
              f" {statistics.median(ratios):6.2f} | {f'{min(ratios):.2f} to {max(ratios):.2f}':14} |"
              f" {min(ours) / min(others):11.2f} |")


if __name__ == "__main__":
    main()

#!/usr/bin/env python3
"""Turns Google Benchmark JSON results into the table of performance goals.

usage: bench_report.py OUT_DIR RESULT.json...

Each goal in scripts/bench_goals.json is one of two kinds:
  - "ratio" (the default): names our benchmark and its peer; the ratio is the peer's median
    real time over ours (higher is better) and must be at least "goal". A goal stated as
    "within 15 percent" is the ratio 1/1.15; a bandwidth fraction of memcpy is the fraction
    itself, since both move the same bytes.
  - "growth": names one benchmark at a small and a large size ("small", "large", with the
    item counts "n_small", "n_large"); the ratio is the time per item at the large size over
    the time per item at the small one (lower is better) and must be at most "goal". For
    n log n growth from 1k to 1M items the time per item grows by log(1M)/log(1k) = 2.
  - "reference": a ratio like the first kind, but no goal: the floor that a goal is measured
    against (memcpy into fresh memory, a reader that does less than ours must). These rows
    go to a second table and are not counted.
A goal may say "clock": "cpu" to compare median CPU times instead of real times: on a machine
shared with other work, the real time of a single-threaded benchmark includes the time it
waits for a core. Multi-threaded benchmarks keep real time.
Writes OUT_DIR/results.json (all benchmarks merged) and OUT_DIR/ratios.md, prints the
table and ends with "goals met: K of N".
"""
import json
import os
import sys


def load(paths):
    merged = {"context": None, "benchmarks": []}
    for p in paths:
        with open(p) as f:
            data = json.load(f)
        merged["context"] = merged["context"] or data.get("context")
        merged["benchmarks"].extend(data.get("benchmarks", []))
    return merged


def median_times(benchmarks, field):
    """Median `field` ("real_time" or "cpu_time") per benchmark name, in nanoseconds."""
    scale = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}
    out = {}
    for b in benchmarks:
        if b.get("error_occurred"):
            continue
        name = b.get("run_name", b["name"])
        for suffix in ("/real_time", "/manual_time", "/process_time"):
            name = name.replace(suffix, "")
        if b.get("aggregate_name") == "median" or (
                "aggregate_name" not in b and name not in out):
            out[name] = b[field] * scale[b.get("time_unit", "ns")]
    return out


def fmt_time(ns):
    for unit, div in (("s", 1e9), ("ms", 1e6), ("us", 1e3)):
        if ns >= div:
            return "%.3g %s" % (ns / div, unit)
    return "%.3g ns" % ns


def fmt_count(n):
    for suffix, div in (("M", 1000000), ("k", 1000)):
        if n >= div and n % div == 0:
            return "%d%s" % (n // div, suffix)
    return str(n)


def label(g):
    return "%s (%s time)" % (g["workload"], g.get("clock", "real"))


def compared(g, times):
    """The cells ours and peer, and the peer's time over ours (None if either did not run)."""
    ours, peer = times.get(g["ours"]), times.get(g["peer"])
    if ours is None or peer is None:
        return g["ours"], g["peer"], None
    return fmt_time(ours), fmt_time(peer), peer / ours


def ratio_row(g, times):
    ours, peer, ratio = compared(g, times)
    if ratio is None:
        return None, "| %s | %s | %s | - | %.2fx | not run |" % (label(g), ours, peer, g["goal"])
    ok = ratio >= g["goal"]
    return ok, "| %s | %s | %s | %.2fx | %.2fx | %s |" % (
        label(g), ours, peer, ratio, g["goal"], "yes" if ok else "no")


def reference_row(g, times):
    ours, peer, ratio = compared(g, times)
    if ratio is None:
        return "| %s | %s | %s | not run |" % (label(g), ours, peer)
    return "| %s | %s | %s | %.2fx |" % (label(g), ours, peer, ratio)


def growth_row(g, times):
    small, large = times.get(g["small"]), times.get(g["large"])
    if small is None or large is None:
        return None, "| %s | %s | %s | - | <= %.2fx growth | not run |" % (
            label(g), g["large"], g["small"], g["goal"])
    per_small = small / g["n_small"]
    per_large = large / g["n_large"]
    growth = per_large / per_small
    ok = growth <= g["goal"]
    return ok, "| %s | %s/pt at %s | %s/pt at %s | %.2fx growth | <= %.2fx growth | %s |" % (
        label(g), fmt_time(per_large), fmt_count(g["n_large"]), fmt_time(per_small),
        fmt_count(g["n_small"]), growth, g["goal"], "yes" if ok else "no")


def main():
    out_dir, files = sys.argv[1], sys.argv[2:]
    here = os.path.dirname(os.path.abspath(__file__))
    with open(os.path.join(here, "bench_goals.json")) as f:
        goals = json.load(f)
    merged = load(files)
    with open(os.path.join(out_dir, "results.json"), "w") as f:
        json.dump(merged, f, indent=1)
    clocks = {"real": median_times(merged["benchmarks"], "real_time"),
              "cpu": median_times(merged["benchmarks"], "cpu_time")}
    rows = ["| workload | ours | peer | ratio | goal | met |", "|---|---|---|---|---|---|"]
    references = ["| reference (not a goal) | measured | peer | ratio |", "|---|---|---|---|"]
    met = 0
    counted = 0
    for g in goals:
        times = clocks[g.get("clock", "real")]
        kind = g.get("kind", "ratio")
        if kind == "reference":
            references.append(reference_row(g, times))
            continue
        row = growth_row if kind == "growth" else ratio_row
        ok, text = row(g, times)
        met += bool(ok)
        counted += 1
        rows.append(text)
    table = "\n".join(rows) + "\n"
    if len(references) > 2:
        table += "\n" + "\n".join(references) + "\n"
    with open(os.path.join(out_dir, "ratios.md"), "w") as f:
        f.write(table)
    print(table)
    print("goals met: %d of %d" % (met, counted))


main()

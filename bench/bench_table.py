#!/usr/bin/env python3
"""Prints one markdown table of every figure in Google Benchmark JSON files.

    python3 bench/bench_table.py <program>.json ...

Each file is one program's --benchmark_out (JSON); the program's name is the
file's name without ".json". The table knows no benchmark by name: it reads
the counters by the conventions of bench/ (see bench/README.md), so new
benchmarks and counters show up without changes here:

  <stem>median_<unit> [+ <stem>p99_<unit>]   one row: median and p99
  x_<what>[_median|_p99]                     a ratio to <what>, shown on the
                                             benchmark's main row
  <name>_x_<what>                            a ratio to <what>, shown on the
                                             row of the counter <name>_...
  anything else                              a row of its own with its value;
                                             the unit comes from the suffix
                                             (_ns _us _ms _s _bytes _mb _kb
                                             _per_second _share ...)

A benchmark without a median counter gets a main row from Google Benchmark's
own figures: items per second if it has them, otherwise its time per
iteration (the median of the repetitions when aggregates were reported,
otherwise the mean). Exits with 1 when a file is missing or unreadable or a
benchmark reported an error (those rows say so), 2 on bad usage. Standard
library only.
"""

import json
import math
import os
import re
import statistics
import sys

# Fields Google Benchmark writes itself; every other key of a run is a counter.
KNOWN_FIELDS = {
    "name", "family_index", "per_family_instance_index", "run_name", "run_type",
    "repetitions", "repetition_index", "threads", "iterations", "real_time",
    "cpu_time", "time_unit", "label",
    "error_occurred", "error_message", "aggregate_name", "aggregate_unit",
}

# Name parts that say how a benchmark was run, not what it measures.
RUN_DETAILS = re.compile(r"/(iterations|repeats|min_time|min_warmup_time):[^/]+|/(manual_time|real_time)")

MEDIAN = re.compile(r"^(?P<stem>.*?)median_(?P<unit>ns|us|ms|s)$")
RATIO_ON_MAIN = re.compile(r"^x_(?P<what>.+?)(?:_(?P<which>median|p99))?$")
RATIO_ON_COUNTER = re.compile(r"^(?P<prefix>.+?)_x_(?P<what>.+)$")

UNIT_SUFFIXES = [
    ("items_per_second", "items/s"), ("bytes_per_second", "B/s"), ("_per_second", "/s"), ("_per_s", "/s"),
    ("_bytes", "B"), ("_mb", "MiB"), ("_kb", "KiB"),
    ("_ns", "ns"), ("_us", "µs"), ("_ms", "ms"), ("_s", "s"), ("_share", "share"),
]
TIME_UNITS = {"ns": "ns", "us": "µs", "ms": "ms", "s": "s"}


def number(value, whole=False):
    """A figure as people read it: three significant digits, thousands grouped;
    with `whole`, a whole number (a count) without decimals."""
    if value is None:
        return ""
    if isinstance(value, float) and (math.isnan(value) or math.isinf(value)):
        return str(value)
    magnitude = abs(value)
    if magnitude >= 1000 or (whole and float(value).is_integer()):
        return f"{value:,.0f}"
    if magnitude >= 100:
        return f"{value:.1f}"
    if magnitude >= 1 or magnitude == 0:
        return f"{value:.2f}"
    return f"{value:.3g}"


def unit_suffix(counter):
    """The suffix of UNIT_SUFFIXES that names the counter's unit, and the unit."""
    for suffix, unit in UNIT_SUFFIXES:
        if counter.endswith(suffix):
            return suffix, unit
    if counter.startswith("bytes_"):  # bytes_per_pass, ...
        return "", "B"
    return "", ""


def unit_of(counter):
    return unit_suffix(counter)[1]


def words(name):
    return name.replace("_", " ")


def label_of(counter):
    """A counter's name as a figure's name, without the unit the row shows."""
    suffix = unit_suffix(counter)[0]
    if suffix and len(counter) > len(suffix) and not counter.endswith(("items_per_second", "bytes_per_second")):
        return words(counter[: -len(suffix)])
    return words(counter)


def benchmark_name(run):
    return RUN_DETAILS.sub("", run.get("run_name") or run["name"])


def merged_runs(runs):
    """One record per benchmark, in the order the program ran them.

    Aggregates, when present, stand for their benchmark through their median;
    several plain repetitions are merged into the median of each number."""
    order = []
    iterations = {}
    medians = {}
    for run in runs:
        name = benchmark_name(run)
        if name not in order:
            order.append(name)
        if run.get("run_type") == "aggregate":
            if run.get("aggregate_name") == "median":
                medians[name] = run
        else:
            iterations.setdefault(name, []).append(run)
    merged = []
    for name in order:
        if name not in medians and name not in iterations:
            continue  # aggregates without a median: nothing to stand for them
        if name in medians:
            record = dict(medians[name])
            record["_aggregated"] = True
        else:
            repetitions = iterations[name]
            record = dict(repetitions[0])
            if len(repetitions) > 1:
                for key, value in record.items():
                    if isinstance(value, (int, float)) and not isinstance(value, bool):
                        record[key] = statistics.median(r.get(key, value) for r in repetitions)
                record["_aggregated"] = True
        record["_name"] = name
        merged.append(record)
    return merged


class Row:
    def __init__(self, figure, median=None, p99=None, value=None, unit="", note=""):
        self.figure = figure
        self.median = median
        self.p99 = p99
        self.value = value
        self.unit = unit
        self.ratios = []
        self.note = note

    def cells(self):
        ratio = "; ".join(self.ratios)
        if self.note:
            ratio = f"{ratio}; {self.note}" if ratio else self.note
        return [self.figure, number(self.median), number(self.p99), number(self.value, whole=True), self.unit, ratio]


def rows_of(program, record):
    """The rows of one benchmark: its main row first, then one per figure."""
    title = f"{program} {record['_name']}"
    if record.get("error_occurred"):
        return [Row(title, note="error: " + str(record.get("error_message", "")))]

    counters = {k: v for k, v in record.items()
                if k not in KNOWN_FIELDS and not k.startswith("_") and isinstance(v, (int, float))}
    used = set()
    rows = []
    main = None
    by_counter = {}  # counter name -> the row showing it, for ratios

    # Distributions: <stem>median_<unit> with its p99.
    for counter in sorted(counters):
        match = MEDIAN.match(counter)
        if not match:
            continue
        stem, unit = match.group("stem"), match.group("unit")
        p99_name = f"{stem}p99_{unit}"
        label = title if not stem else f"{title} · {words(stem.rstrip('_'))}"
        row = Row(label, median=counters[counter], p99=counters.get(p99_name), unit=TIME_UNITS[unit])
        used.update({counter, p99_name})
        by_counter[counter] = row
        if not stem:
            main = row
        else:
            rows.append(row)

    if main is None:
        if "items_per_second" in counters:
            main = Row(title, value=counters["items_per_second"], unit="items/s")
            used.add("items_per_second")
        else:
            unit = TIME_UNITS.get(record.get("time_unit", "ns"), record.get("time_unit", ""))
            label = f"{title} · time per iteration"
            if record.get("_aggregated"):
                main = Row(label, median=record.get("real_time"), unit=unit)
            else:
                main = Row(label, value=record.get("real_time"), unit=unit + " (mean)")

    ratios = []
    for counter in sorted(counters):
        if counter in used:
            continue
        on_main = RATIO_ON_MAIN.match(counter)
        on_counter = RATIO_ON_COUNTER.match(counter)
        if on_main:
            which = on_main.group("which")
            text = f"{number(counters[counter])}× {words(on_main.group('what'))}"
            ratios.append((main, text + (f" ({which})" if which else "")))
            used.add(counter)
        elif on_counter:
            text = f"{number(counters[counter])}× {words(on_counter.group('what'))}"
            ratios.append((on_counter.group("prefix"), text))
            used.add(counter)

    for counter in sorted(counters):
        if counter in used:
            continue
        row = Row(f"{title} · {label_of(counter)}", value=counters[counter], unit=unit_of(counter))
        by_counter[counter] = row
        rows.append(row)

    for target, text in ratios:
        if not isinstance(target, Row):
            # The row of the counter the ratio was made from, else the main row.
            prefix = target
            target = next((r for name, r in sorted(by_counter.items()) if name.startswith(prefix + "_")), main)
        target.ratios.append(text)

    return [main] + rows


def table(paths):
    """The markdown table, and whether any program or benchmark failed."""
    failed = False
    lines = [
        "| Figure | median | p99 | value | unit | ratio |",
        "|---|---:|---:|---:|---|---|",
    ]
    for path in paths:
        program = os.path.basename(path)
        if program.endswith(".json"):
            program = program[: -len(".json")]
        try:
            with open(path, encoding="utf-8") as handle:
                runs = json.load(handle).get("benchmarks", [])
        except (OSError, ValueError) as error:
            lines.append(f"| {program} | | | | | error: no results ({error}) |")
            failed = True
            continue
        if not runs:
            lines.append(f"| {program} | | | | | error: no benchmark ran |")
            failed = True
        for record in merged_runs(runs):
            failed = failed or bool(record.get("error_occurred"))
            for row in rows_of(program, record):
                lines.append("| " + " | ".join(cell.replace("|", "\\|") for cell in row.cells()) + " |")
    return "\n".join(lines), failed


def main(argv):
    if len(argv) < 2 or argv[1] in ("-h", "--help"):
        print(__doc__.strip(), file=sys.stderr)
        return 2
    text, failed = table(argv[1:])
    print(text)
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))

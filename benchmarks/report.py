#!/usr/bin/env python3
"""Sums up what the benchmark programs wrote.

Usage: report.py DIRECTORY. Reads DIRECTORY/<Class>.json, writes ratios.md and
one <Class>.svg each beside them. A benchmark is named
<subject>/<operation>[/<size>]; ours are the subjects that begin with QVR, all
others with the same operation and size are its peers. A subject that ends in
" (limit)" does less than ours promises, such as a lock that is not recursive:
it is shown, and is never the best peer.
"""

import json
import math
import pathlib
import re
import statistics
import sys
from dataclasses import dataclass, field

NANOSECONDS = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}
# What the benchmark library itself adds to a name.
DECORATION = re.compile(r"/(real_time|process_time|manual_time|(iterations|repeats|min_time):[^/]*)")


def read_times(path):
    """Per operation: the times of each subject in ns, a list of its repetitions."""
    text = path.read_text()
    operations = {}
    for run in json.loads(text)["benchmarks"] if text else []:
        if run.get("error_occurred"):
            sys.exit(f"{run['name']}: {run['error_message']}")
        if run["run_type"] != "iteration":
            continue
        subject, _, operation = DECORATION.sub("", run["run_name"]).partition("/")
        clock = "real_time" if re.search("/(real|manual)_time", run["run_name"]) else "cpu_time"
        time = run[clock] * NANOSECONDS[run["time_unit"]]
        operations.setdefault(operation, {}).setdefault(subject, []).append(time)
    return operations


@dataclass
class Comparison:
    """Our median time for one operation and its peers', the fastest first, limits last."""

    subject: str
    operation: str
    median: float
    spread: float
    peers: list = field(default_factory=list)

    def ratio(self, index=0):
        return self.median / self.peers[index][1]


def is_limit(subject):
    return subject.endswith(" (limit)")


def compare(operations):
    comparisons = []
    for operation, times in operations.items():
        medians = {subject: statistics.median(values) for subject, values in times.items()}
        peers = sorted(
            ((subject, time) for subject, time in medians.items() if not subject.startswith("QVR")),
            key=lambda peer: (is_limit(peer[0]), peer[1]),
        )
        for subject, median in medians.items():
            if subject.startswith("QVR"):
                spread = (max(times[subject]) - min(times[subject])) / median
                comparisons.append(Comparison(subject, operation, median, spread, peers))
    return comparisons


def duration(nanoseconds):
    for unit in ("s", "ms", "us"):
        if nanoseconds >= NANOSECONDS[unit]:
            return f"{nanoseconds / NANOSECONDS[unit]:.3g} {unit}"
    return f"{nanoseconds:.3g} ns"


def ratio_text(ratio):
    return f"{ratio:.2f}" if ratio >= 0.1 else f"{ratio:.1g}"


def row(comparison):
    cells = [f"{comparison.subject}/{comparison.operation}", duration(comparison.median),
             f"{comparison.spread:.0%}"]
    name, best = comparison.peers[0] if comparison.peers else ("", 0)
    if name and not is_limit(name):
        cells += [name, duration(best), f"**{ratio_text(comparison.ratio())}**"]
    else:
        cells += ["none"] + [""] * 2
    cells.append(", ".join(f"{peer} {ratio_text(comparison.ratio(index))}"
                           for index, (peer, _) in enumerate(comparison.peers)))
    return "| " + " | ".join(cells) + " |\n"


def write_table(path, comparisons, context):
    heading = (
        "# Our times and our peers'\n\n"
        "Medians of the repetitions of one run; the spread is that of ours, from the fastest to the\n"
        "slowest. A ratio is our median to the peer's: below 1 we are faster.\n\n"
        f"{context}\n\n"
        "| operation | ours | spread | best peer | its median | ratio | ratio to each peer |\n"
        "|---|---|---|---|---|---|---|\n"
    )
    path.write_text(heading + "".join(map(row, comparisons)))


def draw(path, comparisons):
    import matplotlib

    matplotlib.use("svg")
    from matplotlib import pyplot

    # A row without a bar names the operation.
    bars = []
    for comparison in comparisons:
        bars.append((comparison.operation, math.nan, "none"))
        bars.append((comparison.subject, comparison.median, "tab:blue"))
        bars += [(peer, time, "silver") for peer, time in comparison.peers]
    labels, times, colours = zip(*bars)
    figure, axes = pyplot.subplots(figsize=(10, 1 + 0.22 * len(labels)), layout="constrained")
    places = range(len(labels))
    axes.barh(places, times, color=colours)
    for place, time in zip(places, times):
        if not math.isnan(time):
            axes.text(time, place, f" {duration(time)}", va="center", fontsize=7)
    axes.set_yticks(places, labels, fontsize=7)
    for label, time in zip(axes.get_yticklabels(), times):
        label.set_fontweight("bold" if math.isnan(time) else "normal")
    axes.tick_params(axis="y", length=0)
    axes.set_ylim(len(bars), -1)
    axes.set_xscale("log")
    axes.set_xlabel("ns, median")
    axes.margins(x=0.15)
    axes.set_title(path.stem)
    axes.spines[["top", "right"]].set_visible(False)
    figure.savefig(path)
    pyplot.close(figure)


def describe(result):
    """The machine, as the benchmark library saw it when the program began."""
    context = json.loads(result.read_text())["context"]
    load = ", ".join(f"{value:.2f}" for value in context["load_avg"])
    return (f"{context['date'][:10]}, {context['num_cpus']} processors of {context['mhz_per_cpu']} MHz,"
            f" load {load}.")


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    folder = pathlib.Path(sys.argv[1])
    everything, context = [], ""
    for result in sorted(folder.glob("*.json")):
        comparisons = compare(read_times(result))
        if comparisons:
            draw(result.with_suffix(".svg"), comparisons)
            context = context or describe(result)
            everything += comparisons
    if not everything:
        sys.exit("No benchmark of ours ran")
    write_table(folder / "ratios.md", everything, context)
    print(f"Table and plots: {folder / 'ratios.md'}")


if __name__ == "__main__":
    main()

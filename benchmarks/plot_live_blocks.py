#!/usr/bin/env python3
"""Draws what a block costs against how many live.

Usage: plot_live_blocks.py RESULT PLOT. RESULT is what QVRPoolAllocatorBenchmark wrote
(`benchmarks/run` leaves it as QVRPoolAllocator.json), PLOT the SVG to write.
"""

import pathlib
import statistics
import sys

from report import read_times

OPERATION = "live/64/"


def read_curves(result):
    """Per subject: the numbers of live blocks and the median time of a block for each, in ns."""
    curves = {}
    for operation, times in read_times(result).items():
        if not operation.startswith(OPERATION):
            continue
        for subject, values in times.items():
            point = int(operation.removeprefix(OPERATION)), statistics.median(values)
            curves.setdefault(subject, []).append(point)
    return {subject: sorted(points) for subject, points in curves.items()}


def style(subject):
    if not subject.startswith("QVR"):
        return {"linewidth": 1, "marker": ".", "markersize": 4}
    return {"color": "black", "linewidth": 2.5, "linestyle": "--" if "," in subject else "-"}


def draw(path, curves):
    import matplotlib

    matplotlib.use("svg")
    # The same text gives the same file, without the time or the program's version.
    matplotlib.rcParams.update({"svg.fonttype": "none", "svg.hashsalt": path.stem})
    from matplotlib import pyplot

    figure, axes = pyplot.subplots(figsize=(10, 6), layout="constrained")
    axes.set_prop_cycle(color=pyplot.colormaps["tab10"].colors)
    for subject, points in sorted(curves.items(), key=lambda curve: -curve[1][-1][1]):
        axes.plot(*zip(*points), label=subject, **style(subject))
    axes.set_xscale("log")
    axes.set_yscale("log")
    axes.set_yticks(ticks := [5, 10, 20, 50, 100, 200, 500], labels=map(str, ticks))
    axes.minorticks_off()
    axes.grid(color="gainsboro", linewidth=0.5)
    axes.set_xlabel("live blocks of 64 bytes")
    axes.set_ylabel("ns for allocating and freeing one, median")
    axes.set_title("Blocks allocated one after the other and freed in random order, one thread")
    axes.spines[["top", "right"]].set_visible(False)
    axes.legend(loc="center left", bbox_to_anchor=(1, 0.5), frameon=False)
    figure.savefig(path, metadata={"Creator": None, "Date": None})
    pyplot.close(figure)


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    result, plot = map(pathlib.Path, sys.argv[1:])
    curves = read_curves(result)
    if not curves:
        sys.exit(f"Nothing of {OPERATION} in {result}")
    draw(plot, curves)


if __name__ == "__main__":
    main()

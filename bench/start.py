#!/usr/bin/env python3
"""Times the updater's start, until the window and the log's first lines are painted.

Needs the release build. The peer is the smallest program of Qt's widgets: an empty window, for
which Qt loads OpenGL, as it does for every program that doesn't turn it off. The two take turns,
and the rows show medians.
"""

import statistics
import subprocess
import tempfile
import time

import display
import program
import table

ROUNDS = 21


def start_time(command, environment):
    """Until the window is painted, in ms of the clock and of the processor."""
    begin = time.clock_gettime(time.CLOCK_MONOTONIC) * 1e3
    painted, worked = map(float, subprocess.check_output(command, env=environment).split())
    return painted - begin, worked


def main():
    start, peer = program.command("start"), [program.made("zeft_bench_smallest")]
    with tempfile.TemporaryDirectory() as folder, display.virtual(folder) as environment:
        updater, smallest = [], []
        for _ in range(ROUNDS):
            updater.append(start_time([*start, folder], display.without_opengl(environment)))
            smallest.append(start_time(peer, environment))
    for name, which in (("start until the log is painted", 0), ("  processor", 1)):
        ours, theirs = (statistics.median(times[which] for times in runs)
                        for runs in (updater, smallest))
        table.row(name, ours, "ms", theirs, "smallest of Qt")


if __name__ == "__main__":
    main()

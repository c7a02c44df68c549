#!/usr/bin/env python3
"""Times the byte sum of a cached 1 GiB file against `cat FILE > /dev/null`.

Needs the release build. The ratio of the medians is to stay at or below 1.15; each round runs both,
one after the other, so that a slow spell hits both.
"""

import os
import statistics
import subprocess
import tempfile
import time

import program
import table

ROUNDS = 41
BLOCK = os.urandom(1 << 20)
BLOCKS = 1 << 10


def cat_seconds(data):
    start = time.perf_counter()
    subprocess.check_call(["cat", data], stdout=subprocess.DEVNULL)
    return time.perf_counter() - start


def sum_seconds(file_sum, data):
    total, seconds = subprocess.check_output([*file_sum, data], text=True).split()
    assert int(total) == sum(BLOCK) * BLOCKS
    return float(seconds)


with tempfile.TemporaryDirectory() as folder:
    file_sum, data = program.command("file_sum"), f"{folder}/data"
    with open(data, "wb") as file:
        for _ in range(BLOCKS):
            file.write(BLOCK)
    times = [(cat_seconds(data), sum_seconds(file_sum, data)) for _ in range(ROUNDS)]
    cat, ours = (statistics.median(column) for column in zip(*times))
    table.row("byte sum of 1 GiB in the cache", ours, "s", cat, "cat")

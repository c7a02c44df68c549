#!/usr/bin/env python3
"""Tells how long a heartbeat of the window holds the event loop, for rising numbers of records.

Needs the release build. A heartbeat is to stay short beside its period of 500 ms, and all times are
to grow no faster than the records.
"""

import os
import subprocess
import tempfile

import program
import table

# In the order in which the program prints them.
TIMES = ("making the records", "showing them", "heartbeat at rest", "with downloads queued",
         "the next one", "with them cancelled")

with tempfile.TemporaryDirectory() as folder:
    heartbeat = program.command("heartbeat")
    environment = dict(os.environ, QT_QPA_PLATFORM="offscreen", XDG_RUNTIME_DIR=folder)
    for records in (1000, 10000, 100000):
        times = subprocess.check_output([*heartbeat, folder, str(records)], text=True,
                                        stderr=subprocess.DEVNULL, env=environment)
        for name, time in zip(TIMES, times.split()):
            table.row(f"{records} records: {name}", float(time), "ms")

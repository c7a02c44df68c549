#!/usr/bin/env python3
"""Times transfers from nginx over loopback TLS against `curl` on the same files.

Needs the release build. Each round runs every contender once, one after the other, so that a slow
spell hits all of them; the rows show medians. The engine is to stay at or below 1.1 of curl's wall
time and 1.5 of its processor time for 1 GB, within 60 MB of its idle memory, and may never hold its
event loop longer than 20 ms; 500 probes are to take at most 1.2 of curl's time for them on one
connection. With a loop that is blocked 50 ms at random, 600 MB are to arrive byte for byte within
64 MB of memory. "floor" is the smallest program with Qt.
"""

import filecmp
import os
import statistics
import subprocess
import sys
import tempfile
import time

import program
import server
import table

ROUNDS = int(sys.argv[1]) if len(sys.argv) > 1 else 5
MB = 1000000
PROBES = 500


def measure(command):
    """Wall and processor seconds, and the numbers that our own program prints."""
    begin = time.perf_counter()
    process = subprocess.Popen(command, stdout=subprocess.PIPE, text=True)
    output = process.stdout.read()
    _, status, usage = os.wait4(process.pid, 0)
    wall = time.perf_counter() - begin
    process.returncode = status
    assert status == 0, command
    own = [float(number) for number in output.split()] if "transfer" in command else []
    return [wall, usage.ru_utime + usage.ru_stime, *own]


def compare(title, contenders, check=lambda: None):
    """Rows for each contender but the first, which is the peer of the others."""
    rounds = {name: [] for name in contenders}
    for _ in range(ROUNDS):
        for name, command in contenders.items():
            rounds[name].append(measure(command))
            check()
    medians = {name: [statistics.median(column) for column in zip(*rows)]
               for name, rows in rounds.items()}
    peer = next(iter(medians))
    for name, (wall, cpu, *own) in medians.items():
        if name == peer:
            continue
        table.row(f"{title}, {name}", wall, "s", medians[peer][0], peer)
        table.row("  processor", cpu, "s", medians[peer][1], peer)
        table.row("  memory above idle", (own[1] - own[0]) / 1000, "MB")
        table.row("  event loop held", own[2], "ms")
        table.row("  event loop held, on the processor", own[3], "ms")


def random_file(path, size):
    with open(path, "wb") as file:
        for _ in range(size // MB):
            file.write(os.urandom(MB))


memory = "/dev/shm" if os.path.isdir("/dev/shm") else None  # no disk in between
with tempfile.TemporaryDirectory(dir=memory) as folder:
    site, target = f"{folder}/site", f"{folder}/target"
    transfer = program.command("transfer")
    os.mkdir(site)
    random_file(f"{site}/600.zip", 600 * MB)
    random_file(f"{site}/1000.zip", 1000 * MB)
    random_file(f"{site}/small.zip", MB)
    with server.served(site, f"{folder}/nginx") as port:
        url = f"https://localhost:{port}"

        def contenders(name, size, kind):
            ours = [f"{url}/{name}", target, str(size)]
            return {"curl": ["curl", "-sk", "-o", target, f"{url}/{name}"],
                    "engine": [*transfer, kind, *ours],
                    "floor": [*transfer, "get-floor", *ours]}

        def take(name):
            assert filecmp.cmp(f"{site}/{name}", target, shallow=False), "another file"
            os.remove(target)

        compare("1 GB", contenders("1000.zip", 1000 * MB, "get"), lambda: take("1000.zip"))
        compare("600 MB, engine's loop busy", contenders("600.zip", 600 * MB, "get-busy"),
                lambda: take("600.zip"))
        small = f"{url}/small.zip"
        compare(f"{PROBES} probes", {
            "curl": ["curl", "-skI", "-o", "/dev/null", f"{small}?[1-{PROBES}]"],
            "engine": [*transfer, "probe", small, target, str(PROBES)],
            "floor": [*transfer, "probe-floor", small, target, str(PROBES)]})

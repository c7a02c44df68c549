#!/usr/bin/env python3
"""Times transfers from nginx over loopback TLS against `curl` on the same files.

Needs the release build. Each round runs every contender once, one after the other, so that a slow
spell hits all of them; the table shows medians and their ratios to curl. The engine is to stay at
or below 1.1 of curl's wall time and 1.5 of its processor time for 1 GB, within 60 MB of its idle
memory, and may never hold its event loop longer than 20 ms; 500 probes are to take at most 1.2 of
curl's time for them on one connection. With a loop that is blocked 50 ms at random, 600 MB are to
arrive byte for byte within 64 MB of memory. "floor" is the smallest program with Qt.
"""

import filecmp
import os
import socket
import statistics
import subprocess
import sys
import tempfile
import time

import program

ROUNDS = int(sys.argv[1]) if len(sys.argv) > 1 else 5
MB = 1000000
PROBES = 500


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def wait_until_it_accepts(port):
    for _ in range(100):
        try:
            socket.create_connection(("127.0.0.1", port)).close()
            return
        except ConnectionRefusedError:
            time.sleep(0.1)
    sys.exit("nginx does not start")


def measure(command):
    """Wall and processor seconds, and the numbers that our own program prints."""
    begin = time.perf_counter()
    process = subprocess.Popen(command, stdout=subprocess.PIPE, text=True)
    output = process.stdout.read()
    _, status, usage = os.wait4(process.pid, 0)
    wall = time.perf_counter() - begin
    process.returncode = status
    assert status == 0, command
    own = [float(number) for number in output.split()] if "transfer" in command[0] else []
    return [wall, usage.ru_utime + usage.ru_stime, *own]


def compare(title, contenders, check=lambda: None):
    """A table of the contenders, of which the first is the measure of the others."""
    rounds = {name: [] for name in contenders}
    for _ in range(ROUNDS):
        for name, command in contenders.items():
            rounds[name].append(measure(command))
            check()
    print(f"{title}, {ROUNDS} rounds")
    base = None
    for name, rows in rounds.items():
        wall, cpu, *own = [statistics.median(column) for column in zip(*rows)]
        base = base or (wall, cpu)
        line = f"  {name:8} wall {wall:6.3f} s ({wall / base[0]:.2f})  cpu {cpu:6.3f} s ({cpu / base[1]:.2f})"
        if own:
            line += (f"  memory +{(own[1] - own[0]) / 1000:.1f} MB"
                     f"  loop held {own[2]:.1f} ms, on the processor {own[3]:.1f} ms")
        print(line, flush=True)


def random_file(path, size):
    with open(path, "wb") as file:
        for _ in range(size // MB):
            file.write(os.urandom(MB))


memory = "/dev/shm" if os.path.isdir("/dev/shm") else None  # no disk in between
with tempfile.TemporaryDirectory(dir=memory) as folder:
    site, target = f"{folder}/site", f"{folder}/target"
    transfer = program.build("transfer", folder, "Qt5Widgets", "Qt5Network")
    os.mkdir(site)
    random_file(f"{site}/600.zip", 600 * MB)
    random_file(f"{site}/1000.zip", 1000 * MB)
    random_file(f"{site}/small.zip", MB)
    port = free_port()
    server = subprocess.Popen([f"{program.ROOT}/demo/serve.sh", site, f"{folder}/nginx", str(port)])
    try:
        wait_until_it_accepts(port)
        url = f"https://localhost:{port}"

        def contenders(name, size, kind):
            ours = [f"{url}/{name}", target, str(size)]
            return {"curl": ["curl", "-sk", "-o", target, f"{url}/{name}"],
                    "engine": [transfer, kind, *ours],
                    "floor": [transfer, "get-floor", *ours]}

        def take(name):
            assert filecmp.cmp(f"{site}/{name}", target, shallow=False), "another file"
            os.remove(target)

        compare("1 GB", contenders("1000.zip", 1000 * MB, "get"), lambda: take("1000.zip"))
        compare("600 MB, engine in a busy loop", contenders("600.zip", 600 * MB, "get-busy"),
                lambda: take("600.zip"))
        small = f"{url}/small.zip"
        compare(f"{PROBES} probes", {
            "curl": ["curl", "-skI", "-o", "/dev/null", f"{small}?[1-{PROBES}]"],
            "engine": [transfer, "probe", small, target, str(PROBES)],
            "floor": [transfer, "probe-floor", small, target, str(PROBES)]})
    finally:
        server.terminate()
        server.wait()

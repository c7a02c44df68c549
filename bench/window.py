#!/usr/bin/env python3
"""Measures what a user feels of the window with a large repository behind a line of 50 ms.

Needs the release build, and takes 12 minutes, most of them for the line: 10,000 probes. A key comes
to a virtual display each 20 ms. The window is also closed once in each stage.
"""

import contextlib
import json
import os
import shutil
import subprocess
import tempfile
import time

import display
import program
import repository
import server
import table

DELAY = 0.025  # s, each way
SETTLE = 5  # s in which the window comes to rest
STAGES = {"lists": "the lists come", "probes": "the files are probed",
          "tree": "the tree is built", "after": "nothing happens"}


class Bench:
    def __init__(self, folder, environment):
        self.folder, self.environment = folder, environment
        self.window = program.command("window")

    def press(self, *key):
        return subprocess.Popen(["xdotool", "key", *key], env=self.environment)

    @contextlib.contextmanager
    def started(self, port):
        # A new one each time, so that none finds files of another's.
        root = tempfile.mkdtemp(dir=self.folder)
        os.mkdir(f"{root}/bin_lnx")
        shutil.copy(f"{program.ROOT}/build/release/Extractor/zeft_fextr_cmd", f"{root}/bin_lnx")
        with subprocess.Popen([*self.window, root, f"https://localhost:{port}"], text=True,
                              stdout=subprocess.PIPE, env=self.environment) as process:
            yield process

    def figures(self, port):
        with self.started(port) as process:
            keys = self.press("--repeat-delay", "20", "--repeat", "1000000", "F7")
            wait_for(process, "after")
            time.sleep(SETTLE)
            keys.terminate()
            keys.wait()
            self.press("F8").wait()
            return json.loads(process.stdout.readline())

    def close_time(self, port, stage):
        with self.started(port) as process:
            wait_for(process, stage)
            time.sleep(0.2)
            self.press("F12").wait()
            return float(next(line for line in process.stdout if line.strip().isdigit()))


def wait_for(process, stage):
    while process.stdout.readline().strip() != stage:
        assert process.poll() is None, "the window has gone"


def main():
    with tempfile.TemporaryDirectory() as folder:
        site = f"{folder}/site"
        repository.make(site)
        with (display.virtual(folder) as environment,
              server.served(site, f"{folder}/nginx") as port):
            far_port = server.relay(port, DELAY)
            bench = Bench(folder, display.without_opengl(environment))
            for stage, words in STAGES.items():
                quick = port if stage in ("tree", "after") else far_port
                table.row(f"close while {words}", bench.close_time(quick, stage), "ms", 300, "aim")
            figures = bench.figures(far_port)
        for stage, words in STAGES.items():
            wait, worked = figures[stage]
            table.row(f"longest wait of a key while {words}", wait, "ms", 100, "aim")
            table.row("  of it on the processor, at most", worked, "ms", 100, "aim")
        table.row(f"{repository.PACKAGES} packages' tree", figures["build"] / 1000, "s")
        table.row("a record searched in it, processor", figures["search"], "ms", 10, "aim")
        table.row("memory of a package's page", figures["page"], "kB")
        table.row("processor at rest", figures["rest"], "%", 0.5, "aim")


if __name__ == "__main__":
    main()

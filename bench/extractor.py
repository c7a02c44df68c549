#!/usr/bin/env python3
"""Times zeft_fextr_cmd beside other programs on the same archives, in turn within one run.

usage: bench/extractor.py [EXTRACTOR [FOLDER [ROUNDS]]]

Makes 5,000 small and 5 large files of text, of random bytes and of zeros, and packs them, or takes
those that an earlier run has left in FOLDER, unpacks each archive with each program, deletes 20,000
files, and prints the medians of the wall and the processor time beside those of the program that is
the quickest of the others. Where the machine has other work to do, only the processor time means
something. Without a FOLDER all of it is in memory, 5 GB, which leaves out the disk.

When zeft_fextr_cmd ends, the component has been written to the disk, so a "sync -f" follows each of
the others. Before a run, nothing waits to be written.
"""

import contextlib
import os
import random
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

import program
import table

WORDS = [str(random.Random(n).random())[2:2 + n % 9 + 2] for n in range(4000)]

SEVEN_ZIP = "tar -cf c.tar C && 7z a -bd {level} {{archive}} c.tar >/dev/null && rm c.tar"
PACK = {
    "zip": "zip -qr {archive} C",
    "tar.gz": "tar -czf {archive} C",
    "tar.bz2": "tar -cjf {archive} C",
    "tar.xz": "XZ_OPT=-3 tar -cJf {archive} C",
    "T2.tar.xz": "XZ_OPT='-3 -T2' tar -cJf {archive} C",  # in 11 blocks
    "tar.7z": SEVEN_ZIP.format(level=""),
    "mx3.tar.7z": SEVEN_ZIP.format(level="-mx3"),  # in 9 blocks, which 7z unpacks side by side
    "mx1.tar.7z": SEVEN_ZIP.format(level="-mx1"),  # in 129
}
SEVEN_ZIP_PEERS = ("7z x -so {archive} 2>/dev/null | tar -x -C {to}",
                   "bsdtar -xOf {archive} | bsdtar -xf - -C {to}")
STREAM = ("tar -xf {archive} -C {to}", "bsdtar -xf {archive} -C {to}",
          "7z x -so {archive} 2>/dev/null | tar -x -C {to}")
PEERS = {
    "zip": ("unzip -qq {archive} -d {to}", "bsdtar -xf {archive} -C {to}",
            "7z x -bd -o{to} {archive} >/dev/null"),
    "tar.gz": STREAM,
    "tar.bz2": STREAM,
    "tar.xz": STREAM,
    "T2.tar.xz": STREAM,
    "tar.7z": SEVEN_ZIP_PEERS,
    "mx3.tar.7z": SEVEN_ZIP_PEERS,
    "mx1.tar.7z": SEVEN_ZIP_PEERS,
}


def text(generator, size):
    """Packs to about a third, as programs and texts do."""
    words = []
    while size > 0:
        words.append(generator.choice(WORDS))
        size -= len(words[-1]) + 1
    return " ".join(words).encode()


CONTENTS = {
    "text": text,
    "random": random.Random.randbytes,
    "zeros": lambda _generator, size: bytes(size),
}


def make_archives(folder, content):
    source = os.path.join(folder, "source", "C")
    if not os.path.isdir(source):
        generator = random.Random(1)
        for n in range(5000):
            place = os.path.join(source, f"package{n % 100}", f"module{n % 7}")
            os.makedirs(place, exist_ok=True)
            with open(os.path.join(place, f"file{n}.txt"), "wb") as file:
                file.write(content(generator, generator.randrange(200, 12000)))
        with open(os.path.join(source, "version.info"), "w") as file:
            file.write("build : 1")  # makes it a component
        for n in range(5):
            with open(os.path.join(source, f"large{n}.bin"), "wb") as file:
                file.write(content(generator, 20_000_000))
    for kind, command in PACK.items():
        archive = os.path.join(folder, "archive." + kind)
        if not os.path.exists(archive):
            subprocess.run(command.format(archive=archive), shell=True, check=True,
                           cwd=os.path.dirname(source))


def run_time(command):
    """Wall time and processor time."""
    os.sync()
    before, began = os.times(), time.perf_counter()
    subprocess.run(command, shell=True, check=True, stdout=subprocess.DEVNULL)
    wall, after = time.perf_counter() - began, os.times()
    return wall, sum(after[2:4]) - sum(before[2:4])


def unpack_time(command, archive, to):
    os.mkdir(to)
    return run_time(command.format(archive=archive, to=to))


def delete_time(command, archive, to):
    for n in range(20_000):
        place = os.path.join(to, f"{n % 50}", f"{n % 4}")
        if n < 200:
            os.makedirs(place, exist_ok=True)
        with open(os.path.join(place, f"a file with the number {n}"), "w") as file:
            file.write("x")
    return run_time(command.format(to=to))


def compare(name, measure, archive, folder, commands, rounds):
    """The first command is ours."""
    times = [[] for _ in commands]
    out = os.path.join(folder, "out")
    os.mkdir(out)
    for number in range(rounds):
        for which, command in enumerate(commands):
            to = os.path.join(out, f"{number}-{which}")
            times[which].append(measure(command, archive, to))
    shutil.rmtree(out)
    time.sleep(6)  # for 5 s ext4 goes around the inodes that were freed, at a cost for whoever comes
    walls, processors = ([statistics.median(run[which] for run in taken) for taken in times]
                         for which in (0, 1))
    best = min(range(1, len(walls)), key=walls.__getitem__)
    peer = " ".join(commands[best].split()[:2])
    table.row(name, walls[0], "s", walls[best], peer)
    table.row("  processor", processors[0], "s", processors[best], peer)


@contextlib.contextmanager
def working_folder():
    if len(sys.argv) > 2:
        shutil.rmtree(os.path.join(sys.argv[2], "out"), ignore_errors=True)
        yield sys.argv[2]
    else:
        with tempfile.TemporaryDirectory(dir="/dev/shm") as folder:
            yield folder


def main():
    release = os.path.join(program.ROOT, "build/release/Extractor/zeft_fextr_cmd")
    extractor = os.path.abspath(sys.argv[1] if len(sys.argv) > 1 else release)
    rounds = int(sys.argv[3]) if len(sys.argv) > 3 else 5
    with working_folder() as folder:
        for name, content in CONTENTS.items():
            make_archives(os.path.join(folder, name), content)
            for kind, peers in PEERS.items():
                compare(f"{name} {kind}", unpack_time,
                        os.path.join(folder, name, "archive." + kind), folder,
                        (f"{extractor} '#uzip' '#{{archive}}' '#{{to}}'",
                         *(peer + " && sync -f {to}" for peer in peers)), rounds)
        compare("delete", delete_time, None, folder,
                (f"{extractor} '#ddir' '#{{to}}'", "rm -rf {to}"), rounds)


if __name__ == "__main__":
    main()

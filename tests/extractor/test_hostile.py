"""Archives that want out of the destination, and damaged ones: a message, a code above 0, nothing
touched outside, nothing left inside."""

import io
import lzma
import os
import random
import re
import resource
import struct
import subprocess
import tarfile
import unittest
import zipfile
import zlib
from pathlib import Path

from support import EMULATED, ExtractorTest, as_user, make_tree, read_tree, run_on_tmpfs, shell


def entry(name, kind=tarfile.REGTYPE, link="", data=b"evil", mode=0o644):
    info = tarfile.TarInfo(name)
    info.type, info.linkname, info.mode = kind, link, mode
    info.size = len(data) if kind == tarfile.REGTYPE else 0
    return info, data


def link(name, target):
    return entry(name, tarfile.SYMTYPE, target)


def hard_link(name, target):
    return entry(name, tarfile.LNKTYPE, target)


def tar(archive, entries):
    with tarfile.open(archive, "w:gz", format=tarfile.GNU_FORMAT) as file:
        for info, data in entries:
            file.addfile(info, io.BytesIO(data))


def zip_(archive, entries):
    with zipfile.ZipFile(archive, "w") as file:
        for info, data in entries:
            name = zipfile.ZipInfo("x")
            name.filename = info.name  # as it is: the constructor would tidy it up
            kind = 0o120000 if info.type == tarfile.SYMTYPE else 0o100000
            name.external_attr = (kind | info.mode) << 16
            file.writestr(name, info.linkname if info.type == tarfile.SYMTYPE else data)


def seven_zip_of_long_names(archive, size):
    """A 7z whose encoded header says that the names in it take size bytes."""
    def number(value):
        return b"\xff" + struct.pack("<Q", value)
    names = b"\1\5" + number(1) + b"\x11" + number(size + 1) + bytes(1 << 17)
    packed = lzma.compress(names, lzma.FORMAT_RAW, filters=[{"id": lzma.FILTER_LZMA2}])
    header = (b"\x17\6" + number(0) + number(1) + b"\t" + number(len(packed)) + b"\0\7\x0b" + number(1)
              + b"\0\1\x21\x21\1\x18\x0c" + number(size + 22) + b"\0\0")
    place = struct.pack("<QQL", len(packed), len(header), zlib.crc32(header))
    Path(archive).write_bytes(b"7z\xbc\xaf\x27\x1c\0\4" + struct.pack("<L", zlib.crc32(place))
                              + place + packed + header)


def ways_out(outside):
    """For a target that lies beside the folder outside and holds "planted", a link into that."""
    return {
        "parent behind a folder": [entry("C/a"), entry("C/../../secret")],
        "parent inside, too": [entry("C/../D/x")],
        "absolute": [entry(outside + "/secret")],
        "absolute link": [link("C/l", outside)],
        "link to the parent": [link("C/l", "../..")],
        "link, then a file through it": [link("C/l", "../outside"), entry("C/l/secret")],
        "link inside, then a file through it": [entry("C/d/x"), link("C/l", "d"), entry("C/l/x")],
        "file through a link that is there": [entry("planted/file")],
        "link through a link that is there": [link("C/l", "../planted/../secret")],
        "chain of links": [entry("C/p/q/x"), link("C/p/q/up", "../../.."), link("C/l", "p/q/up/..")],
        "chain of links, named so that the second comes first":
            [entry("C/p/q/x"), link("C/p/q/up", "../../.."), link("A", "C/p/q/up/../outside")],
        "file of a long name": [entry("C/" * 3000 + "x")],
        "way back from a folder that is not there": [link("C/l", "nothing/../../x")],
        "folder replaced by a link": [entry("C/d/x"), link("C/d", "../planted")],
        "its owner's rights": [entry("C/x", mode=0o4755)],
        "its group's rights": [entry("C/x", mode=0o2755)],
    }


def ways_out_of_tar(outside):
    return {
        "hard link to the parent": [hard_link("C/h", "../outside/secret")],
        "hard link through a link": [hard_link("C/h", "planted/file")],
        "hard link to a link": [hard_link("C/h", "planted")],
        "hard link to a file that was there": [hard_link("C/h", "there")],
        "hard link to a long text": [hard_link("C/h", "x/" * 100_000)],
        "hard link to nothing": [hard_link("C/h", "C/nothing")],
        "hard link to a folder": [entry("C", tarfile.DIRTYPE), hard_link("h", "C")],
        "device": [entry("C/null", tarfile.CHRTYPE)],
    }


class Hostile(ExtractorTest):
    def test_ways_out_are_closed(self):
        outside, target = self.path("home", "outside"), self.path("home", "target")
        make_tree(outside, {"secret": (0o600, b"secret"), "folder/file": (0o644, b"old")})
        make_tree(target, {"planted": (None, "../outside/folder"), "there": (0o644, b"before")})
        before = read_tree(self.path("home"))
        of_zip = {"name that goes on behind a NUL": [entry("C/a\0/../../../secret")]}
        for make, own in ((zip_, of_zip), (tar, ways_out_of_tar(outside))):
            for name, entries in {**ways_out(outside), **own}.items():
                with self.subTest(name, make=make.__name__):
                    make(self.path("a"), [entry("C/version.info"), *entries])
                    run = self.refuse("^zeft_fextr_cmd: .", "#uzip", self.path("a"), target)
                    self.assertLess(len(run.stderr), 1100)
                    self.assertEqual(read_tree(self.path("home")), before)

    def test_damage_is_noticed(self):
        whole = {"C": (0o755, None), "C/version.info": (0o644, b"build : 2024.05.01"),
                 "C/l": (None, "text"), "C/text": (0o644, bytes(range(256)) * 4000),
                 "C/code": (0o755, b"code " * 99), "C/zeros": (0o644, bytes(5_000_000))}
        chance = random.Random(1)
        for kind, pack in {"zip": 'zip -qryX "$1" C', "gz": 'tar -czf "$1" C',
                           "xz": 'tar -cJf "$1" C', "bz2": 'tar -cjf "$1" C',
                           "7z": 'tar -cf t C; 7z a -m0=lzma2:d=64k:c=300k "$1" t',
                           "cab": 'find C -type f -print0 | xargs -0 gcab -cz "$1"'}.items():
            data = Path(self.pack(whole, pack)).read_bytes()
            ends = [0, 1, len(data) - 1, *chance.sample(range(len(data)), 8)]
            damaged = [("cut", end, data[:end]) for end in ends]
            for at in chance.sample(range(len(data)), 25):
                flipped = bytes([data[at] ^ 1 << chance.randrange(8)])
                damaged.append(("flipped", at, data[:at] + flipped + data[at + 1:]))
            for what, at, data in damaged:
                with self.subTest(kind, what=what, at=at):
                    Path(self.path("damaged")).write_bytes(data)
                    target = self.path(f"{kind} {what} {at}")
                    run = self.run_extractor("#xtar", self.path("damaged"), target)
                    tree = read_tree(target)
                    if run.returncode != 0:
                        self.assertEqual((run.returncode, tree), (1, {}), run.stderr)
                        self.assertIn(self.path("damaged") + ": ", run.stderr)
                    elif kind == "zip":  # nothing guards the permissions in it
                        self.assertEqual({path: content for path, (_, content) in tree.items()},
                                         {path: content for path, (_, content) in whole.items()})
                    elif kind != "cab":  # nor the names in it
                        self.assertEqual(tree, whole)

    def test_a_directory_that_lies_is_noticed(self):
        zip_(self.path("a"), [entry("C/a", data=b"a" * 9000), entry("C/b"), entry("C/c"),
                              link("C/l", "text")])
        data = Path(self.path("a")).read_bytes()
        first, second = (at.start() for at in list(re.finditer(b"PK\1\2", data))[:2])
        end = data.rindex(b"PK\5\6")
        for name, at, bytes_ in (
                ("more entries than there are", end + 8, b"\5\0\5\0"),
                ("fewer", end + 8, b"\2\0\2\0"),
                ("begins with the second", end + 12, struct.pack("<LL", end - second, second)),
                ("another target of a link", data.index(b"text"), b"next"),
                ("another name", data.index(b"C/b"), b"C/d"),
                ("one name twice", second + 46, b"C/a"),
                ("a place inside another", second + 42, b"\x99\0\0\0"),
                ("a place outside", second + 42, b"\xfe\xff\xff\xff"),
                ("a file that is said to be a folder", first + 40, b"\xed\x41"),
                ("a size beyond the end", first + 20, b"\xfe\xff\xff\xff")):
            with self.subTest(name):
                Path(self.path("a")).write_bytes(data[:at] + bytes_ + data[at + len(bytes_):])
                self.refuse("is damaged", "#uzip", self.path("a"), self.target)
                self.assertEqual(read_tree(self.target), {})

    def test_a_bomb_does_not_fill_the_disk(self):
        for name, line in (("large file in a tar", 'head -c 100M /dev/zero > C; tar -czf "$1" C'),
                           ("large file in a zip", 'head -c 100M /dev/zero > C; zip -q "$1" C'),
                           ("many files", 'touch $(seq -f C%g 6000); tar -cJf "$1" C*')):
            with self.subTest(name):
                run = run_on_tmpfs("size=50m,nr_inodes=5900", """
                    strace --seccomp-bpf -fo "$2.trace" -e trace=openat,pwrite64 "$0" "#uzip" "#$2" "#$1"
                    grep ENOSPC "$2.trace"; ls "$1"; df -B1 --output=avail "$1" """,
                    self.target, self.pack({}, line))
                self.assertIn("not enough space", run.stderr)
                self.assertEqual(run.stdout.split()[-2:], ["Avail", str(50 << 20)])
                self.assertNotIn("ENOSPC", run.stdout)  # refused before the disk was full

    def test_no_half_file_stays_in_an_old_folder(self):
        make_tree(self.target, {"C": (0o755, None), "C/old": (0o644, b"old")})
        before = read_tree(self.target)
        tar(self.path("a"), [entry("C/f", data=random.Random(1).randbytes(1 << 20))])
        for size, most, text in ((1 << 20, 1 << 16, "File too large"), (1 << 19, 1 << 30, "cut off")):
            with self.subTest(text):
                os.truncate(self.path("a"), size)
                self.refuse(text, "#xtar", self.path("a"), self.target, preexec_fn=lambda most=most:
                            resource.setrlimit(resource.RLIMIT_FSIZE, (most, most)))
                self.assertEqual(read_tree(self.target), before)

    @unittest.skipIf(EMULATED, "qemu sets no limit to memory")
    def test_a_bomb_of_names_does_not_fill_the_memory(self):
        seven_zip_of_long_names(self.path("a"), 6 << 30)
        self.refuse("Couldn't allocate memory", "#xtar", self.path("a"), self.target,
                    env={"ASAN_OPTIONS": "allocator_may_return_null=1"})

    def test_what_cannot_work_is_told(self):
        make_tree(self.home, {"text": (0o644, b"no archive " * 100), "none": (0o644, b""),
                              "zeros": (0o644, bytes(10_240)), "shut": (0o000, b""),
                              "shut folder": (0o555, None)})
        tar(self.path("a"), [entry("C/f")])
        for name, line in (
                ("twice", 'tar -c text | zstd | zstd > "$1"'),
                ("pause", '(tar -c text; head -c 300M /dev/zero) | gzip > "$1"'),
                ("without an end", 'tar -c text | head -c 2048 | gzip > "$1"'),
                ("noise", 'head -c 300K /dev/urandom > r; tar -cf t r; 7z a n.7z t; mv n.7z "$1";'
                 'printf damage | dd of="$1" bs=1 seek=150000 conv=notrunc'),
                ("wrong sum", 'tar -cj text | head -c -3 > "$1"; echo 12 >> "$1"')):
            shell(line, self.home, self.path(name))
        for archive, target, text in (
                ("missing", "t", "missing: No such file"), ("shut folder", "t", ": not a file"),
                ("shut", "t", "shut: Permission denied"), ("text", "target", "no archive of a known"),
                ("none", "target", "none: is "), ("zeros", "target", "zeros: holds nothing"),
                ("noise", "target", "is damaged"), ("wrong sum", "target", "is damaged"),
                ("without an end", "target", "cut off: the mark at its end is missing"),
                ("pause", "target", "too much stands between its files"),
                ("twice", "target", "no archive of a known"), ("a", "shut folder", "Permission denied"),
                ("a", "shut folder/new", "new: No such file"), ("a", "text", "text: Not a directory"),
                ("a", "text/new", "Not a directory"), ("a", "/proc/new", "/proc/new: No such file")):
            with self.subTest(archive, target=target):
                self.refuse(text, "#uzip", self.path(archive), self.path(target), **as_user())
                self.assertEqual(read_tree(self.target), {})


unittest.main()

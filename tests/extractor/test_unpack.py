"""Archives of other programs, whole ones: what comes out is what went in."""

import fcntl
import io
import os
import random
import resource
import shutil
import subprocess
import unittest
import zipfile
from pathlib import Path

from support import (EMULATED, EXTRACTOR, ExtractorTest, as_user, make_tree, read_tree,
                     run_on_tmpfs, shell)

COMPONENT = {
    "Comp": (0o755, None),
    "Comp/version.info": (0o644, b"build : 2024.05.01\r\n"),
    "Comp/bin": (0o755, None),
    "Comp/bin/run.sh": (0o755, b"#!/bin/sh\n"),
    "Comp/bin/start": (None, "run.sh"),
    "Comp/bin/up": (None, "../docs/../bin/run.sh"),
    "Comp/data.bin": (0o600, random.Random(1).randbytes(700_000)),
    "Comp/docs": (0o750, None),
    "Comp/docs/Grüße 日本.txt": (0o644, "Grüße".encode()),
    "Comp/empty folder": (0o700, None),
    "Comp/empty": (0o444, b""),
    "Comp/shut": (0o555, None),
    "Comp/shut/in": (0o644, b"x" * 5000),
    "Comp/zeros": (0o644, bytes(3_000_000)),
}
# What a cabinet can hold of it: no permissions, no links, no empty folders.
IN_CABINET = {path: (0o777 if content is None else 0o666, content)
              for path, (mode, content) in COMPONENT.items()
              if mode is not None and path != "Comp/empty folder"}

FORMATS = {  # the archive's ending, how a shell makes it, the tree that comes out
    "zip of zip": (".zip", 'zip -qryX "$1" Comp', COMPONENT),
    "zip of bsdtar, by a pipe": (".zip", 'bsdtar --format zip -cf - Comp > "$1"', COMPONENT),
    "zip64": (".zip", 'zip -qryX -fz "$1" Comp', COMPONENT),
    "cab of gcab": (".cab", 'find Comp -type f -print0 | xargs -0 gcab -cz "$1"', IN_CABINET),
    "tar.gz in two members and trailing garbage": (".tar.gz", '(tar -c Comp | split -b 99999 --filter=gzip -; echo end) > "$1"', COMPONENT),
    "tar.gz of tar, with holes": (".tar.gz", 'fallocate -d Comp/zeros; tar -Sczf "$1" Comp', COMPONENT),
    "tar.bz2 in many blocks": (".tar.bz2", 'tar -c Comp | bzip2 -1 > "$1"', COMPONENT),
    "tar.bz2 of one block, most of it zeros": (".tar.bz2", 'head -c9000000 /dev/zero > Comp/zeros; tar -cjf "$1" Comp', {**COMPONENT, "Comp/zeros": (0o644, bytes(9_000_000))}),
    "tar.bz2 in two streams and trailing garbage": (".tar.bz2", '(tar -c Comp | split -b 999999 --filter=bzip2 -; echo end) > "$1"', COMPONENT),
    "tar.xz in two streams": (".tar.xz", 'tar -c Comp | split -b 999999 --filter=xz - > "$1"', COMPONENT),
    "tar.xz in many blocks": (".tar.xz", 'tar -c Comp | xz -T2 --block-size=100000 > "$1"', COMPONENT),
    "tar.7z of 7z": (".tar.7z", 'tar -cf t.tar Comp; 7z a "$1" t.tar', COMPONENT),
    "tar.7z in many blocks": (".tar.7z", 'tar -cf t.tar Comp; 7z a -m0=lzma2:d=64k:c=300k "$1" t.tar', COMPONENT),
    "tar.7z of 7z, in a folder": (".tar.7z", 'mkdir s; tar -cf s/t.tar Comp; 7z a "$1" s', COMPONENT),
    "tar.7z of a pipe": (".tar.7z", 'tar -c Comp | 7z a -si "$1"', COMPONENT),
    "two tars in one": (".tar.gz", '(tar -c Comp/bin; tar -c Comp) | gzip > "$1"', COMPONENT),
    "no compression, a zip at the end": (".tar.gz", 'printf "PK\\5\\6" > z; head -c18 /dev/zero >> z; chmod 644 z; tar -cf "$1" Comp z', {**COMPONENT, "z": (0o644, b"PK\5\6" + bytes(18))}),
    "another compression": (".tar.gz", 'tar -c Comp | zstd > "$1"', COMPONENT),
    "zip named as a tar": (".tar.xz", 'zip -qryX x.zip Comp; mv x.zip "$1"', COMPONENT),
    "7z that holds the files": (".zip", '7z a x.7z -snl Comp; mv x.7z "$1"', COMPONENT),
}


class Formats(ExtractorTest):
    def test_what_goes_in_comes_out(self):
        for name, (ending, line, expected) in FORMATS.items():
            with self.subTest(name):
                archive, target = self.pack(COMPONENT, line, ending), self.path(name, "the target")
                command = "#xtar" if ".tar." in ending else "#uzip"
                self.succeed(command, archive, target, env={}, umask=0o027)
                self.assertEqual(read_tree(target),
                                 {path: (mode if mode is None else mode & ~0o027, content)
                                  for path, (mode, content) in expected.items()})

    def test_of_the_descriptions_only_their_folder_comes_out(self):
        folder, others = {"hwd_doc": (0o755, None), "hwd_doc/x.htm": (0o644, b"x")}, {
            "hwd_docs": (0o755, None), "hwd_docs/y": (0o644, b"y"), "zeft_core_runtime.zip": (0o644, b"z")}
        make_tree(self.path("source"), {**folder, **others})
        for name, pack, expected in (("hwd_doc.zip", 'zip -qr "$1" *', folder),
                                     ("hwd_doc.zip", 'tar -czf "$1" .', folder),
                                     ("hwd_doc.zip.zip", 'zip -qr "$1" *', {**folder, **others}),
                                     ("hwd_doc.zip", 'ln -s . link; tar -czf "$1" link'
                                      ' --transform s,link,hwd_doc,', {})):
            with self.subTest(name, pack=pack):
                shell("rm -f $1;" + pack, self.path("source"), self.path(name))
                self.succeed("#uzip", self.path(name), self.path(pack + name))
                self.assertEqual(read_tree(self.path(pack + name)), expected)

    def test_names_of_old_zips(self):
        for name, bytes_, expected in (
                ("code page 437", "Grüße/Æ".encode("cp437"), "Grüße/Æ"),
                ("UTF-8 that doesn't say so", "Grüße".encode(), "Grüße"),
                ("backslashes", b"C\\D\\E", "C/D/E")):
            with self.subTest(name):
                info, zipped = zipfile.ZipInfo("x" * len(bytes_)), io.BytesIO()
                info.create_system = 0
                with zipfile.ZipFile(zipped, "w") as file:
                    file.writestr(info, b"")
                Path(self.path("a")).write_bytes(
                    zipped.getvalue().replace(b"x" * len(bytes_), bytes_))
                self.succeed("#uzip", self.path("a"), self.path(name))
                self.assertTrue(os.path.isfile(self.path(name, expected)))
                self.assertEqual(os.stat(self.path(name, expected)).st_mode & 0o022, 0)

    def test_closed_broken_and_full_streams_hold_nothing_up(self):
        archive = self.pack(COMPONENT, 'tar -czf "$1" Comp')
        for name, streams in (
                ("no input", "<&-"), ("no output", ">&-"), ("no errors", "2>&-"),
                ("none", "<&- >&- 2>&-"), ("nobody reads", "| true"), ("full", ">/dev/full 2>&1")):
            with self.subTest(name):
                target = self.path(name)
                subprocess.run(["bash", "-c", 'set -o pipefail; "$@" ' + streams, "bash", EXTRACTOR,
                                "#xtar", "#" + archive, "#" + target], check=True,
                               stdout=subprocess.DEVNULL)
                self.assertEqual(read_tree(target), COMPONENT)

        reader, writer = os.pipe()
        with open(reader, "rb"), open(writer, "wb", buffering=0) as full:
            full.write(bytes(fcntl.fcntl(reader, fcntl.F_GETPIPE_SZ)))
            subprocess.run([EXTRACTOR, "#uzip", "#" + archive, "#" + self.target], check=True,
                           stdout=full, timeout=120)
        self.assertEqual(read_tree(self.target), COMPONENT)

    def test_the_last_free_block_is_used(self):
        tree = {"C/version.info": (0o644, b"build : 1"),
                "C/f": (0o644, random.Random(1).randbytes((10 << 20) - os.sysconf("SC_PAGESIZE")))}
        make_tree(self.path("source"), tree)
        for name, line in (("tar", 'tar -czf "$1" C'), ("zip", 'zip -qr - C > "$1"')):
            with self.subTest(name):
                run = run_on_tmpfs("size=10m", """
                    "$0" "#uzip" "#$2" "#$1" && diff -r "$3" "$1" && df --output=avail "$1" """,
                    self.target, self.pack(tree, line), self.path("source"))
                self.assertEqual((run.stdout.split()[-2:], run.stderr), (["Avail", "0"], ""))

    def test_few_threads_or_none_suffice(self):
        for name in ("zip of zip", "tar.gz of tar, with holes", "tar.bz2 in many blocks",
                     "tar.xz in many blocks", "tar.7z in many blocks"):
            ending, line, _ = FORMATS[name]
            archive = self.pack(COMPONENT, line, ending)
            for most in range(2 if EMULATED else 1, 5):  # qemu takes a thread
                with self.subTest(name, most=most):
                    target = self.path("target", f"{name} {most}")
                    self.succeed("#uzip", archive, target, **as_user(),
                                 env={"ASAN_OPTIONS": "detect_leaks=0"},  # which takes a thread
                                 preexec_fn=lambda most=most: resource.setrlimit(
                                     resource.RLIMIT_NPROC, (most, most)))
                    self.assertEqual(read_tree(target), COMPONENT)

    def test_it_looks_whole_when_it_is_on_the_disk(self):
        for name, line in (("tar", 'tar -czf "$1" Comp'), ("zip", 'zip -qry "$1" Comp')):
            with self.subTest(name):
                strace = ["strace", "-fqqo", self.path("trace")]
                run = [EXTRACTOR, "#uzip", "#" + self.pack(COMPONENT, line), "#" + self.target]
                environment = {"ASAN_OPTIONS": "detect_leaks=0"}
                percents = subprocess.run(
                    [*strace, "-e", "trace=pwrite64,symlinkat,syncfs,renameat", "-e",
                     "inject=syncfs:delay_enter=600000:when=1", *run], check=True,
                    stdout=subprocess.PIPE, env=environment).stdout.splitlines()
                self.assertEqual(len(set(percents[-4:-1])), 1)  # repeated while nothing goes on
                calls = [line.split("(")[0].split()[1]
                         for line in Path(self.path("trace")).read_text().splitlines()]
                self.assertEqual(calls[-3:], ["syncfs", "renameat", "syncfs"])
                shutil.rmtree(self.target)
                failed = subprocess.run([*strace, "-e", "inject=syncfs:error=EIO", *run],
                                        capture_output=True, text=True, env=environment)
                self.assertIn("writing to the disk: Input/output error", failed.stderr)
                self.assertEqual(read_tree(self.target), {})

    def test_a_killed_run_does_not_look_whole(self):
        old = {"C/version.info": (0o644, b"build : old"), "C/old": (0o644, b"old")}
        new = {"C": (0o555, None), "C/version.info": (0o644, b"build : new"),
               **{f"C/{i}": (0o644, random.Random(i).randbytes(1_000_000)) for i in range(30)}}
        for name, pack in ("tar", "tar -czf"), ("zip", "zip -qr"):
            with self.subTest(name):
                archive = self.pack(new, pack + ' "$1" C/version.info C')
                make_tree(self.target, old)
                run = self.start([EXTRACTOR, "#uzip", "#" + archive, "#" + self.target],
                                 stdout=subprocess.PIPE)
                while int(run.stdout.readline()[:3]) < 20:
                    pass
                run.kill()
                self.assertEqual(run.wait(), -9)
                self.assertNotIn("C/version.info", read_tree(self.target))
                self.succeed("#ddir", self.path("target", "C"))
                self.succeed("#uzip", archive, self.target)
                self.assertEqual(read_tree(self.target), new)
                self.succeed("#ddir", self.path("target", "C"))


unittest.main()

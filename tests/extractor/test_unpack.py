"""Archives of other programs, whole ones: what comes out is what went in."""

import os
import random
import subprocess
import unittest
import zipfile

from support import EXTRACTOR, ExtractorTest, make_tree, read_tree, shell

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
IN_CABINET = {path: (0o755 if content is None else 0o644, content)
              for path, (mode, content) in COMPONENT.items()
              if mode is not None and path != "Comp/empty folder"}


def python_zip(method):
    def make(source, archive):
        with zipfile.ZipFile(archive, "w") as file:
            for path, (mode, content) in COMPONENT.items():
                info = zipfile.ZipInfo(path + ("/" if content is None else ""))
                kind = 0o120000 if mode is None else 0o040000 if content is None else 0o100000
                info.external_attr = (kind | (mode or 0o777)) << 16
                info.compress_type = zipfile.ZIP_STORED if mode is None else method
                with file.open(info, "w", force_zip64=True) as entry:
                    entry.write(content.encode() if mode is None else content or b"")
    return make



FORMATS = {  # the archive's ending, how it is made, the tree that comes out
    "zip of zip": (".zip", shell('zip -qryX "$1" Comp'), COMPONENT),
    "zip of zip, stored": (".zip", shell('zip -qryX0 "$1" Comp'), COMPONENT),
    "zip of 7z": (".zip", shell('7z a -tzip -snl "$1" Comp'), COMPONENT),
    "zip of bsdtar": (".zip", shell('bsdtar --format zip -cf "$1" Comp'), COMPONENT),
    "zip64 of Python": (".zip", python_zip(zipfile.ZIP_DEFLATED), COMPONENT),
    "zip64 of Python, stored": (".zip", python_zip(zipfile.ZIP_STORED), COMPONENT),
    "zip with bzip2 of Python": (".zip", python_zip(zipfile.ZIP_BZIP2), COMPONENT),
    "cab of gcab": (".cab", shell('find Comp -type f -print0 | xargs -0 gcab -cz "$1"'), IN_CABINET),
    "tar.gz of tar": (".tar.gz", shell('tar -czf "$1" Comp'), COMPONENT),
    "tar.gz of tar, from within": (".tar.gz", shell('tar -czf "$1" .'), COMPONENT),
    "tar.gz in two members": (".tar.gz", shell('tar -c Comp | split -b 99999 --filter=gzip - > "$1"'), COMPONENT),
    "tar.gz of tar, old format": (".tar.gz", shell('tar -H ustar -czf "$1" Comp'), COMPONENT),
    "tar.gz of tar, with holes": (".tar.gz", shell('fallocate -d Comp/zeros; tar -Sczf "$1" Comp'), COMPONENT),
    "tar.bz2 of tar": (".tar.bz2", shell('tar -cjf "$1" Comp'), COMPONENT),
    "tar.xz of tar": (".tar.xz", shell('tar -cJf "$1" Comp'), COMPONENT),
    "tar.xz in many blocks": (".tar.xz", shell('tar -c Comp | xz -T2 --block-size=100000 > "$1"'), COMPONENT),
    "tar.xz of bsdtar": (".tar.xz", shell('bsdtar -cJf "$1" Comp'), COMPONENT),
    "tar.7z of 7z": (".tar.7z", shell('tar -cf t.tar Comp; 7z a "$1" t.tar'), COMPONENT),
    "tar.7z with bzip2": (".tar.7z", shell('tar -cf t.tar Comp; 7z a -m0=bzip2 "$1" t.tar'), COMPONENT),
    "two tars in one": (".tar.gz", shell('(tar -c Comp/bin; tar -c Comp) | gzip > "$1"'), COMPONENT),
    "no compression": (".tar.gz", shell('tar -cf "$1" Comp'), COMPONENT),
    "another compression": (".tar.gz", shell('tar -c Comp | zstd > "$1"'), COMPONENT),
    "zip named as a tar": (".tar.xz", shell('zip -qryX x.zip Comp; mv x.zip "$1"'), COMPONENT),
    "tar named as a zip": (".zip", shell('tar -cJf "$1" Comp'), COMPONENT),
    "7z that holds the files": (".zip", shell('7z a x.7z -snl Comp; mv x.7z "$1"'), COMPONENT),
}


class Formats(ExtractorTest):
    def test_what_goes_in_comes_out(self):
        for name, (ending, make, expected) in FORMATS.items():
            with self.subTest(name):
                source, target = self.path(name, "source"), self.path(name, "new", "the target")
                make_tree(source, COMPONENT)
                archive = self.path(name, "Päckchen 1" + ending)
                make(source, archive)
                command = "#xtar" if ".tar." in ending else "#uzip"
                self.succeed(command, archive, target, env={})
                self.assertEqual(read_tree(target), expected)

    def test_names_of_old_zips(self):
        for name, bytes_, expected in (
                ("code page 437", "Grüße/Æ".encode("cp437"), "Grüße/Æ"),
                ("UTF-8 that doesn't say so", "Grüße".encode(), "Grüße"),
                ("backslashes", b"C\\D\\E", "C/D/E")):
            with self.subTest(name), zipfile.ZipFile(self.path("a"), "w") as file:
                info = zipfile.ZipInfo("x" * len(bytes_))
                info.create_system = 0
                file.writestr(info, b"")
                file.close()
                with open(self.path("a"), "rb") as raw:
                    data = raw.read().replace(b"x" * len(bytes_), bytes_)
                with open(self.path("a"), "wb") as raw:
                    raw.write(data)
                target = self.path(name)
                self.succeed("#uzip", self.path("a"), target)
                self.assertTrue(os.path.isfile(os.path.join(target, expected)), read_tree(target))

    def test_closed_and_broken_streams(self):
        make_tree(self.path("source"), COMPONENT)
        shell('tar -czf "$1" Comp')(self.path("source"), self.path("a"))
        for streams in ("<&-", ">&-", "2>&-", "<&- >&- 2>&-", "| true", ">/dev/full 2>&1"):
            with self.subTest(streams):
                target = self.path(streams.replace("/", ""))
                subprocess.run(["bash", "-c", 'set -o pipefail; "$@" ' + streams, "bash", EXTRACTOR,
                                "#xtar", "#" + self.path("a"), "#" + target], check=True,
                               stdout=subprocess.DEVNULL)
                self.assertEqual(read_tree(target), COMPONENT)

    def test_a_killed_run_does_not_look_whole(self):
        old = {"C/version.info": (0o644, b"build : old"), "C/old": (0o644, b"old")}
        new = {"C": (0o555, None), "C/version.info": (0o644, b"build : new"),
               **{f"C/{i}": (0o644, random.Random(i).randbytes(1_000_000)) for i in range(30)}}
        make_tree(self.path("source"), new)
        for pack in ('tar -czf "$1" C/version.info C', 'zip -qr "$1" C/version.info C'):
            with self.subTest(pack):
                shell(pack)(self.path("source"), self.path("a"))
                make_tree(self.target, old)
                with subprocess.Popen([EXTRACTOR, "#uzip", "#" + self.path("a"),
                                       "#" + self.target], stdout=subprocess.PIPE) as run:
                    while int(run.stdout.readline()[:3]) < 20:
                        pass
                    run.kill()
                self.assertEqual(run.returncode, -9)
                self.assertNotIn("C/version.info", read_tree(self.target))
                self.succeed("#ddir", self.path("target", "C"))
                self.succeed("#uzip", self.path("a"), self.target)
                self.assertEqual(read_tree(self.target), new)
                self.succeed("#ddir", self.path("target", "C"))


if __name__ == "__main__":
    unittest.main()

"""Archives that want out of the destination, and damaged ones: a message, a code above 0, nothing
touched outside, nothing left inside."""

import copy
import io
import os
import random
import tarfile
import unittest
import zipfile

from support import ExtractorTest, make_tree, read_tree

OUTSIDE = {"secret": (0o600, b"secret"), "folder": (0o755, None), "folder/file": (0o644, b"old")}


def entry(name, kind=tarfile.REGTYPE, link="", data=b"evil", mode=0o644):
    info = tarfile.TarInfo(name)
    info.type, info.linkname, info.mode = kind, link, mode
    info.size = len(data) if kind == tarfile.REGTYPE else 0
    return info, data


def link(name, target):
    return entry(name, tarfile.SYMTYPE, target)


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


def copy_of(info, outside):
    info = copy.copy(info)
    info.name, info.linkname = (text.format(outside=outside) for text in (info.name, info.linkname))
    return info


WAYS_OUT = {
    "parent": [entry("../secret")],
    "parent behind a folder": [entry("C/a"), entry("C/../../secret")],
    "parent inside, too": [entry("C/../D/x")],
    "absolute": [entry("{outside}/secret")],
    "absolute link": [link("C/l", "{outside}")],
    "link to the parent": [link("C/l", "../..")],
    "link to the parent from the top": [link("l", "..")],
    "link, then a file through it": [link("C/l", "../outside"), entry("C/l/secret")],
    "link inside, then a file through it": [entry("C/d/x"), link("C/l", "d"), entry("C/l/x")],
    "file through a link that is there": [entry("planted/file")],
    "link through a link that is there": [link("C/l", "../planted/../secret")],
    "chain of links": [entry("C/p/q/x"), link("C/p/q/up", "../../.."), link("C/l", "p/q/up/..")],
    "chain of links, named so that the second comes first":
        [entry("C/p/q/x"), link("C/p/q/up", "../../.."), link("A", "C/p/q/up/../outside")],
    "way back from a folder that is not there": [link("C/l", "nothing/../../x")],
    "folder replaced by a link": [entry("C/d/x"), link("C/d", "../planted")],
}
TAR_ONLY = {
    "hard link to the parent": [entry("C/h", tarfile.LNKTYPE, "../outside/secret")],
    "absolute hard link": [entry("C/h", tarfile.LNKTYPE, "{outside}/secret")],
    "hard link through a link": [entry("C/h", tarfile.LNKTYPE, "planted/file")],
    "hard link to a link": [entry("C/h", tarfile.LNKTYPE, "planted")],
    "hard link to nothing": [entry("C/h", tarfile.LNKTYPE, "C/nothing")],
    "hard link to a folder": [entry("C", tarfile.DIRTYPE), entry("h", tarfile.LNKTYPE, "C")],
    "device": [entry("C/null", tarfile.CHRTYPE)],
    "disk": [entry("C/disk", tarfile.BLKTYPE)],
    "named pipe": [entry("C/pipe", tarfile.FIFOTYPE)],
    "hard link to a file of another's, then over it":
        [entry("C/h", tarfile.LNKTYPE, "planted/file"), entry("C/h")],
}


class Hostile(ExtractorTest):
    def test_ways_out_are_closed(self):
        cases = [(name, zip_, entries) for name, entries in WAYS_OUT.items()]
        cases += [(name, tar, entries) for name, entries in {**WAYS_OUT, **TAR_ONLY}.items()]
        for name, make, entries in cases:
            with self.subTest(name, make=make.__name__):
                home = self.path(make.__name__ + name)
                outside, target = os.path.join(home, "outside"), os.path.join(home, "target")
                make_tree(outside, OUTSIDE)
                make_tree(target, {"planted": (None, "../outside/folder")})
                before = read_tree(home)
                archive = self.path("archive")
                make(archive, [entry("C/version.info"), *(
                    (copy_of(info, outside), data) for info, data in entries)])
                self.refuse("^zeft_fextr_cmd: .", "#uzip", archive, target)
                self.assertEqual(read_tree(home), before)

    def test_no_special_permissions(self):
        for kind, make in (("tar", tar), ("zip", zip_)):
            with self.subTest(kind):
                make(self.path("a"), [entry(kind, mode=0o6755), entry(kind + "/d", mode=0o7777)][:1])
                self.succeed("#xtar", self.path("a"), self.target)
                self.assertEqual(read_tree(self.target)[kind], (0o755, b"evil"))


if __name__ == "__main__":
    unittest.main()

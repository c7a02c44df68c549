"""What the tests of zeft_repo share: real archives, and a sound source tree of them."""

import functools
import json
import os
import pathlib
import random
import subprocess
import sys
import tempfile

REPO = os.path.abspath(sys.argv[1])
SECONDS = 1714566645  # 2024-05-01T12:30:45Z
VERSION = b"product: sample\nbuild: 2024.05.01\n"
NOISE = random.Random(1).randbytes(5000)
CORE = "core/version_latest/"
FILE_LIST = "zeft/zeft_upt_fversions.info"
PACKAGE_LIST = "zeft/bsp/zeft_bsps.info"


@functools.lru_cache(None)
def archive_of(suffix, entries):
    """An archive of the kind that suffix says, with pairs of a name and bytes."""
    pack = {".zip": "zip -qry0 a.tar.zip *", ".7z": "bsdtar -cf a.tar * && 7z a a.tar.7z a.tar"}
    with tempfile.TemporaryDirectory() as work:
        for name, data in entries:
            path = pathlib.Path(work, name)
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_bytes(data)
        subprocess.run(["sh", "-c", pack.get(suffix, f"bsdtar -acf a.tar{suffix} *")], cwd=work,
                       env={**os.environ, "LC_ALL": "C.UTF-8"}, check=True, capture_output=True)
        return pathlib.Path(work, "a.tar" + suffix).read_bytes()


class Source:
    """A sound tree; tests spoil it in one place each."""

    def __init__(self, directory):
        self.path = pathlib.Path(directory)
        self.json = {
            "directories": [
                {"path": "core/version_latest", "platform": 8},
                {"path": "bsp", "platform": 8},
                {"path": "bsp/x86", "platform": 6},
                {"path": "bsp/arm", "platform": 7},
            ],
            "packages": [
                {"platform": 8, "class": 7, "title": "Zeta α", "description": "zeta.html",
                 "archives": ["zeft_bsp_zeta.hlib.tar.xz", "zeft_bsp_zeta.htc.tar.7z"]},
                {"platform": 8, "class": 0, "title": "Core", "description": "zeta.html",
                 "archives": ["zeft core é.zip"]},
            ],
        }
        for name, folder in [(CORE + "zeft core é.zip", "zeft core é"),
                             ("bsp/x86/zeft_bsp_zeta.hlib.tar.xz", "zeta"),
                             ("bsp/x86/zeft_bsp_zeta.htc.tar.7z", "zeta"),
                             ("bsp/arm/zeft_bsp_zeta.hlib.tar.gz", "zeta"),
                             ("bsp/arm/zeft_bsp_zeta.htc.tar.bz2", "zeta")]:
            self.add(name, (folder + "/version.info", VERSION), (folder + "/x", NOISE))
        self.write("hwd_doc/zeta.html", "<p>ζ</p>".encode())
        self.write("hwd_doc/zeta_files/a.png", b"png")

    def write(self, name, data):
        path = self.path / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(data)
        os.utime(path, ns=(0, SECONDS * 10**9 + 700_000_000))  # a date that HTTP cannot say

    def add(self, name, *entries):
        self.write(name, archive_of(pathlib.Path(name).suffix, entries))

    def describe(self):
        self.path.joinpath("repository.json").write_text(json.dumps(self.json))

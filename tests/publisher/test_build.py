"""zeft_repo build, run as a publisher runs it: a tree of real archives, a real server."""

import email.utils
import io
import json
import os
import pathlib
import socket
import ssl
import subprocess
import sys
import tarfile
import tempfile
import time
import unittest
import urllib.error
import urllib.request
import zipfile

REPO, SERVE = sys.argv[1:3]
SECONDS = 1714566645  # 2024-05-01T12:30:45Z
VERSION = b"product: sample\nbuild: 2024.05.01\n"


def tar_of(entries, mode):
    """A tar of the (name, bytes) pairs, packed as mode says, such as "w:xz"."""
    out = io.BytesIO()
    with tarfile.open(fileobj=out, mode=mode) as tar:
        for name, data in entries:
            info = tarfile.TarInfo(name)
            info.size = len(data)
            tar.addfile(info, io.BytesIO(data))
    return out.getvalue()


def zip_of(entries):
    out = io.BytesIO()
    with zipfile.ZipFile(out, "w") as archive:
        for name, data in entries:
            archive.writestr(name, data)
    return out.getvalue()


def archive_of(file_name, entries):
    if file_name.endswith(".zip"):
        return zip_of(entries)
    if not file_name.endswith(".tar.7z"):
        return tar_of(entries, "w:" + file_name.rsplit(".", 1)[1])
    with tempfile.TemporaryDirectory() as work:
        pathlib.Path(work, "x.tar").write_bytes(tar_of(entries, "w"))
        subprocess.run(["7z", "a", "x.tar.7z", "x.tar"], cwd=work, check=True, capture_output=True)
        return pathlib.Path(work, "x.tar.7z").read_bytes()


class Source:
    """A sound tree; tests spoil it in one place each."""

    def __init__(self, directory):
        self.path = pathlib.Path(directory)
        self.json = {
            "directories": [
                {"path": "core/version_latest", "platform": 8},
                {"path": "bsp/x86", "platform": 6},
                {"path": "bsp/arm", "platform": 7},
            ],
            "packages": [
                {"platform": 6, "class": 7, "title": "Zeta α", "page": "zeta.html",
                 "archives": ["zeft_bsp_zeta.hlib.tar.xz", "zeft_bsp_zeta.htc.tar.7z"]},
                {"platform": 8, "class": 0, "title": "Core", "page": "zeta.html",
                 "archives": ["zeft core é.zip"]},
            ],
        }
        for name, folder in [("core/version_latest/zeft core é.zip", "zeft core é"),
                             ("bsp/x86/zeft_bsp_zeta.hlib.tar.xz", "zeta"),
                             ("bsp/x86/zeft_bsp_zeta.htc.tar.7z", "zeta"),
                             ("bsp/arm/zeft_bsp_zeta.hlib.tar.gz", "zeta"),
                             ("bsp/arm/zeft_bsp_zeta.htc.tar.bz2", "zeta")]:
            self.add(name, [(folder + "/version.info", VERSION), (folder + "/x", os.urandom(5000))])
        self.write("hwd_doc/zeta.html", "<p>ζ</p>".encode())

    def write(self, name, data):
        path = self.path / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(data)
        os.utime(path, ns=(0, SECONDS * 10**9 + 700_000_000))  # a date that HTTP cannot say

    def add(self, name, entries):
        self.write(name, archive_of(name, entries))

    def build(self, dest):
        self.path.joinpath("repository.json").write_text(json.dumps(self.json))
        return subprocess.run([REPO, "build", self.path, dest], capture_output=True, text=True,
                              env={**os.environ, "LC_ALL": "C"})


def core(name, folder, **change):
    """A spoiler that adds one core component."""
    entries = change.get("entries", [(folder + "/version.info", change.get("info", VERSION))])
    return lambda source: source.add("core/version_latest/" + name, entries)


def package(**change):
    return lambda source: source.json["packages"][0].update(change)


def raw(name, data):
    return lambda source: source.write(name, data)


def directory(**change):
    return lambda source: source.json["directories"][0].update(change)


CORE = "core/version_latest/"
REFUSED = [
    ("manifest separator in a name", core("a#b.zip", "a#b"), 'holds a "#"'),
    ("query in a name", core("a?b.zip", "a?b"), 'holds a "?"'),
    ("escape in a name", core("a%20b.zip", "a%20b"), 'holds a "%"'),
    ("backslash in a name", core("a\\b.zip", "a\\b"), 'holds a "\\"'),
    ("leading blank in a name", core(" a.zip", " a"), "begins or ends with a blank"),
    ("line end in a name", core("a\r\nb.zip", "a"), "control character"),
    ("no name for the folder", core("zeft_bsp_.zip", "x"), 'folder, "/", would not be its own'),
    ("folder above", core("...zip", ".."), 'folder, "/..", would not'),
    ("folder of the program", core("bin_lnx.zip", "bin_lnx"), 'folder, "/bin_lnx", would not'),
    ("folder of others", core("zeft_bsp_tools.hlib.zip", "tools"), '"/hardware/tools", would not'),
    ("unknown kind of archive", raw(CORE + "a.rar", b"x"), "must end in one of .zip"),
    ("suffix in the middle", core("a.zip.tar.xz", "a.zip.tar"), "hold no other of them"),
    ("name of the pages", core("hwd_doc.zip", "hwd_doc"), "description pages"),
    ("entry beside the folder", core("a.zip", "a", entries=[("a/version.info", VERSION),
                                                              ("ab/x", b"")]), '"ab/x" is outside'),
    ("no version.info at the top", core("a.zip", "a", entries=[("a/b/version.info", VERSION)]),
     'no "a/version.info"'),
    ("tar suffix kept in the folder", core("a.tar.xz", "a"), 'outside of the folder "a.tar"'),
    ("build of another day", core("a.zip", "a", info=b"build: 2024.05.02"), 'states the build "2024'),
    ("earlier mention of build", core("a.zip", "a", info=b"rebuild: no\nbuild: 2024.05.01"),
     "states the build"),
    ("no archive", raw(CORE + "a.zip", b"PK\x03\x04 and no more"), "a.zip: it cannot be read"),
    ("cut archive", raw(CORE + "a.tar.xz", archive_of("a.tar.xz", [
        ("a.tar/version.info", VERSION), ("a.tar/x", os.urandom(99999))])[:-5000]), "cannot be read"),
    ("7z without a tar", raw(CORE + "a.tar.7z", archive_of("a.tar.7z", [])[:40]), "cannot be read"),
    ("damaged data in a zip", raw(CORE + "a.zip", zip_of([
        ("a/version.info", VERSION), ("a/x", b"sound data")]).replace(b"sound", b"wound")),
     "cannot be read"),
    ("same stem", core("zeft core é.tar.xz", "zeft core é.tar"), 'shares the stem zeft core é with'),
    ("same folder", core("zeft_bsp_zeta.hlib2.zip", "zeta"), "shares the folder /hardware/zeta with"),
    ("unknown platform", directory(platform=9), "9 is not a platform code"),
    ("missing platform", directory(platform="8"), "0 is not a platform code"),
    ("missing directory", directory(path="core/nowhere"), "does not exist"),
    ("directory outside", directory(path="../core"), '".." is not a name'),
    ("slash at the end", directory(path="core/version_latest/"), "a name is empty"),
    ("nothing to publish", lambda source: source.json.pop("directories"), "names no directory"),
    ("unknown class", package(**{"class": 8}), "from 0 to 7"),
    ("missing class", package(**{"class": None}), "from 0 to 7"),
    ("separator in a title", package(title="a#b"), "the title"),
    ("no title", package(title=""), "the title"),
    ("package for no platform", package(platform=0), "0 is not a platform code"),
    ("package without archives", package(archives=[]), "one or two archives"),
    ("unpublished archive", package(archives=["zeft_bsp_zeta.hlib.zip"]), "is in no directory"),
    ("archive named twice", package(archives=["zeft core é.zip"] * 2), "named twice"),
    ("missing page", package(page="nowhere.html"), 'the page "nowhere.html" cannot be read'),
    ("page outside", package(page="../repository.json"), 'holds a "/"'),
    ("page in Latin-1", raw("hwd_doc/zeta.html", b"caf\xe9 au lait"), "not UTF-8 text"),
    ("page with a NUL", raw("hwd_doc/zeta.html", b"a\0b"), "not UTF-8 text"),
]


class TestBuild(unittest.TestCase):
    def setUp(self):
        work = tempfile.TemporaryDirectory()
        self.addCleanup(work.cleanup)
        self.work = pathlib.Path(work.name)
        self.source = Source(self.work / "source")
        self.dest = self.work / "site"

    def build(self):
        run = self.source.build(self.dest)
        self.assertEqual((run.returncode, run.stderr), (0, ""))

    def test_manifests_state_what_lies_there(self):
        self.build()
        lines = [b"//zeft_upt_fversions.info\r\n"]
        for platform, name in [(8, "core/version_latest/zeft core é.zip"),
                               (6, "bsp/x86/zeft_bsp_zeta.hlib.tar.xz"),
                               (6, "bsp/x86/zeft_bsp_zeta.htc.tar.7z"),
                               (7, "bsp/arm/zeft_bsp_zeta.hlib.tar.gz"),
                               (7, "bsp/arm/zeft_bsp_zeta.htc.tar.bz2")]:
            data = (self.dest / "zeft" / name).read_bytes()
            self.assertEqual(data, (self.source.path / name).read_bytes())
            folder, file = name.rsplit("/", 1)
            lines.append(f"{platform}#{file}#{folder}#2024-05-01T12:30:45.000Z#{len(data)}#"
                         f"{sum(data)}\r\n".encode())
        self.assertEqual((self.dest / "zeft/zeft_upt_fversions.info").read_bytes(), b"".join(lines))
        self.assertEqual((self.dest / "zeft/bsp/zeft_bsps.info").read_bytes().decode(),
                         "6#7#Zeta α##zeft_bsp_zeta.hlib#zeft_bsp_zeta.htc#zeta.html\r\n"
                         "8#0#Core##zeft core é##zeta.html\r\n")
        with zipfile.ZipFile(self.dest / "zeft/bsp/hwd_doc.zip") as pages:
            self.assertEqual(pages.namelist(), ["hwd_doc/zeta.html"])
            self.assertEqual(pages.read("hwd_doc/zeta.html").decode(), "<p>ζ</p>")

    def test_refuses_what_the_updater_cannot_handle(self):
        for name, spoil, message in REFUSED:
            with self.subTest(name), tempfile.TemporaryDirectory() as work:
                source = Source(work + "/source")
                spoil(source)
                run = source.build(work + "/site")
                self.assertEqual(run.returncode, 1)
                self.assertIn(message, run.stderr)
                self.assertEqual(os.listdir(work), ["source"])

    def test_writes_over_a_repository_that_is_being_served(self):
        self.build()
        core_file = self.dest / "zeft/core/version_latest/zeft core é.zip"
        with open(core_file, "rb") as transfer:
            old = core_file.read_bytes()
            self.source.add("core/version_latest/zeft core é.zip",
                            [("zeft core é/version.info", VERSION)])
            self.source.path.joinpath("bsp/arm/zeft_bsp_zeta.htc.tar.bz2").unlink()
            self.build()
            self.assertEqual(transfer.read(), old)
        self.assertLess(core_file.stat().st_size, len(old))
        self.assertTrue((self.dest / "zeft/bsp/arm/zeft_bsp_zeta.htc.tar.bz2").exists())

    def test_wrong_use_prints_the_usage(self):
        for arguments in [], ["build", "x"], ["check", "x", "y"]:
            run = subprocess.run([REPO, *arguments], capture_output=True, text=True)
            self.assertEqual(run.returncode, 2)
            self.assertTrue(run.stderr.startswith("usage: zeft_repo build SOURCE DEST\n"))


class TestServer(unittest.TestCase):
    """What the updater asks of a server, with the demo's configuration."""

    @classmethod
    def setUpClass(cls):
        work = tempfile.TemporaryDirectory()
        cls.addClassCleanup(work.cleanup)
        source = Source(work.name + "/source")
        source.build(work.name + "/site")
        with socket.socket() as probe:
            probe.bind(("127.0.0.1", 0))
            port = probe.getsockname()[1]
        server = subprocess.Popen([SERVE, work.name + "/site", work.name + "/server", str(port)])
        cls.addClassCleanup(server.wait)
        cls.addClassCleanup(server.terminate)
        cls.url = f"https://localhost:{port}/zeft/bsp/x86/zeft_bsp_zeta.hlib.tar.xz"
        cls.data = (source.path / "bsp/x86/zeft_bsp_zeta.hlib.tar.xz").read_bytes()
        for _ in range(100):
            with socket.socket() as probe:
                if probe.connect_ex(("127.0.0.1", port)) == 0:
                    return
            time.sleep(0.1)

    def ask(self, url, method="GET", **headers):
        request = urllib.request.Request(url, method=method, headers=headers)
        unverified = ssl._create_unverified_context()
        try:
            return urllib.request.urlopen(request, context=unverified)
        except urllib.error.HTTPError as error:
            return error

    def test_head_tells_the_stamp_and_the_size(self):
        with self.ask(self.url, "HEAD", **{"Accept-Encoding": "gzip"}) as reply:
            date = email.utils.parsedate_to_datetime(reply.headers["Last-Modified"])
            self.assertEqual(date.timestamp(), SECONDS)
            self.assertEqual(reply.headers["Content-Length"], str(len(self.data)))
            self.assertIsNone(reply.headers["Content-Encoding"])

    def test_ranges(self):
        with self.ask(self.url, Range="bytes=7-") as reply:
            self.assertEqual((reply.status, reply.read()), (206, self.data[7:]))
        with self.ask(self.url, Range=f"bytes={len(self.data)}-") as reply:
            self.assertEqual((reply.status, reply.headers["Content-Range"]),
                             (416, f"bytes */{len(self.data)}"))

    def test_never_redirects(self):
        with self.ask(self.url.rsplit("/", 1)[0]) as reply:
            self.assertEqual(reply.status, 404)


unittest.main(argv=sys.argv[:1])

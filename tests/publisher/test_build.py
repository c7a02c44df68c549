"""zeft_repo build, run as a publisher runs it, over a tree of real archives."""

import functools
import json
import os
import pathlib
import random
import shutil
import subprocess
import sys
import tempfile
import unittest
import zipfile

REPO = os.path.abspath(sys.argv[1])
SECONDS = 1714566645  # 2024-05-01T12:30:45Z
VERSION = b"product: sample\nbuild: 2024.05.01\n"
USER = {"user": 65534, "group": 65534} if os.geteuid() == 0 else {}  # no superuser
NOISE = random.Random(1).randbytes(99999)


@functools.lru_cache(None)
def archive_of(suffix, entries):
    """An archive of the kind that suffix says, with pairs of a name and bytes; None: a link out."""
    pack = {".zip": "zip -qry0 a.tar.zip *", ".7z": "bsdtar -cf a.tar * && 7z a a.tar.7z a.tar"}
    with tempfile.TemporaryDirectory() as work:
        for name, data in entries:
            path = pathlib.Path(work, name)
            path.parent.mkdir(parents=True, exist_ok=True)
            path.symlink_to("/") if data is None else path.write_bytes(data)
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
                {"platform": 6, "class": 7, "title": "Zeta α", "page": "zeta.html",
                 "archives": ["zeft_bsp_zeta.hlib.tar.xz", "zeft_bsp_zeta.htc.tar.7z"]},
                {"platform": 8, "class": 0, "title": "Core", "page": "zeta.html",
                 "archives": ["zeft core é.zip"]},
            ],
        }
        for name, folder in [(CORE + "zeft core é.zip", "zeft core é"),
                             ("bsp/x86/zeft_bsp_zeta.hlib.tar.xz", "zeta"),
                             ("bsp/x86/zeft_bsp_zeta.htc.tar.7z", "zeta"),
                             ("bsp/arm/zeft_bsp_zeta.hlib.tar.gz", "zeta"),
                             ("bsp/arm/zeft_bsp_zeta.htc.tar.bz2", "zeta")]:
            self.add(name, (folder + "/version.info", VERSION), (folder + "/x", NOISE[:5000]))
        self.write("hwd_doc/zeta.html", "<p>ζ</p>".encode())
        self.write("hwd_doc/zeta_files/.a.png", b"png")

    def write(self, name, data):
        path = self.path / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(data)
        os.utime(path, ns=(0, SECONDS * 10**9 + 700_000_000))  # a date that HTTP cannot say

    def add(self, name, *entries):
        self.write(name, archive_of(pathlib.Path(name).suffix, entries))

    def build(self, dest, *wrapper, **options):
        """Builds; the folder that holds the source is also the one for temporary files."""
        self.path.joinpath("repository.json").write_text(json.dumps(self.json))
        place = self.path.absolute().parent
        return subprocess.run([*wrapper, REPO, "build", self.path, dest], capture_output=True,
                              text=True, env={**os.environ, "LC_ALL": "C", "TMPDIR": place},
                              **options)


CORE = "core/version_latest/"


def core(name, *entries):
    """A spoiler that adds one core component."""
    return lambda source: source.add(CORE + name, *entries)


def raw(name, data=b"x"):
    return lambda source: source.write(name, data)


def put(make, name):
    return lambda source: make(source.path / name)


def shut(path):
    path.chmod(0)


def link(to):
    return lambda path: path.symlink_to(to)


def package(**change):
    return lambda source: source.json["packages"][0].update(change)


def directory(**change):
    return lambda source: source.json["directories"][0].update(change)


REFUSED = [
    ("manifest separator in a name", raw(CORE + "a#b.zip"), 'holds a "#"'),
    ("query in a name", raw(CORE + "a?b.zip"), 'holds a "?"'),
    ("escape in a name", raw(CORE + "a%20b.zip"), 'holds a "%"'),
    ("backslash in a name", raw(CORE + "a\\b.zip"), 'holds a "\\"'),
    ("leading blank in a name", raw(CORE + " a.zip"), "begins or ends with a blank"),
    ("line end in a name", raw(CORE + "a\r\nb.zip"), "control character"),
    ("no name for the folder", raw(CORE + "zeft_bsp_.zip"), 'folder, "/", would not be its own'),
    ("folder above", raw(CORE + "...zip"), 'folder, "/..", would not'),
    ("folder of the program", raw(CORE + "bin_lnx.zip"), 'folder, "/bin_lnx", would not'),
    ("folder of others", raw(CORE + "zeft_bsp_tools.hlib.zip"), '"/hardware/tools", would not'),
    ("unknown kind of archive", raw(CORE + "a.rar"), "must end in one of .zip"),
    ("suffix in the middle", raw(CORE + "a.zip.tar.xz"), "hold no other of them"),
    ("nothing but a suffix", raw(CORE + ".tar.gz"), "must end in one of"),
    ("no room for the updater's suffix", raw(CORE + "a" * 248 + ".zip"), "too long"),
    ("name of the pages", raw(CORE + "hwd_doc.zip"), "description pages"),
    ("entry beside the folder", core("a.zip", ("a/version.info", VERSION), ("ab/x", b"")),
     'its entry "ab" is outside of the folder "a"'),
    ("entry of no UTF-8 beside it", core("a.tar.gz", ("a.tar/version.info", VERSION), ("\udcff", b"")),
     "its entry"),
    ("no version.info at the top", core("a.zip", ("a/b/version.info", VERSION)),
     'no "a/version.info"'),
    ("tar suffix kept in the folder", core("a.tar.xz", ("a/version.info", VERSION)),
     'outside of the folder "a.tar"'),
    ("build of another day", core("a.zip", ("a/version.info", b"build: 2024.05.02")),
     "doesn't state the archive's date, 2024-05-01"),
    ("earlier mention of build", core("a.zip", ("a/version.info", b"rebuild: no\n" + VERSION)),
     "doesn't state"),
    ("more than the updater reads", core("a.zip", ("a/version.info", VERSION + bytes(10**6))),
     "doesn't state"),
    ("no archive", raw(CORE + "a.zip", b"PK\x03\x04 and no more"),
     "a.zip: it cannot be unpacked in {}: "),
    ("cut archive", raw(CORE + "a.tar.xz", archive_of(".xz", (
        ("a.tar/version.info", VERSION), ("a.tar/x", NOISE)))[:-5000]), "cannot be unpacked"),
    ("7z without a tar", raw(CORE + "a.tar.7z", archive_of(".7z", (("x", b""),))[:40]),
     "cannot be unpacked"),
    ("damaged data in a zip", raw(CORE + "a.zip", archive_of(".zip", (
        ("a/version.info", VERSION), ("a/x", b"sound data"))).replace(b"sound", b"wound")),
     "cannot be unpacked"),
    ("what cannot be unpacked", core("a.zip", ("a/version.info", VERSION), ("a/out", None)),
     "it cannot be unpacked"),
    ("same stem", core("zeft core é.tar.xz", ("zeft core é.tar/version.info", VERSION)),
     "shares the stem zeft core é with"),
    ("same folder", core("zeft_bsp_zeta.hlib2.zip", ("zeta/version.info", VERSION)),
     "shares the folder /hardware/zeta with"),
    ("unknown platform", directory(platform=9), "9 is not a platform code"),
    ("missing platform", directory(platform="8"), "0 is not a platform code"),
    ("missing directory", directory(path="core/nowhere"), "core/nowhere: No such file"),
    ("folder that is not listed", put(os.mkdir, CORE + "old"), "doesn't name this folder"),
    ("unreadable folder", put(shut, CORE), "core/version_latest: Permission denied"),
    ("link that leads nowhere", put(link("nowhere"), CORE + "a.zip"), "a.zip: a link that leads"),
    ("pipe", put(os.mkfifo, CORE + "a.zip"), "a.zip: neither a file nor a folder"),
    ("name of no UTF-8", raw(CORE + "caf\udce9.zip"), "caf\ufffd.zip: the name is not UTF-8"),
    ("unknown key", lambda source: source.json.update(package=[]), 'the key "package" is none of'),
    ("unknown key of a directory", directory(machine=6), 'the key "machine" is none of'),
    ("unknown key of a package", package(pages=""), 'the key "pages" is none of'),
    ("packages in no list", lambda source: source.json.update(packages={}), "is not a list"),
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
    ("archive that one machine lacks", lambda source: (
        package(platform=8)(source), (source.path / "bsp/arm/zeft_bsp_zeta.hlib.tar.gz").unlink()),
     "not for all of its platforms"),
    ("missing page", package(page="nowhere.html"), 'the page "nowhere.html" cannot be read'),
    ("page outside", package(page="../repository.json"), 'holds a "/"'),
    ("unreadable picture of a page", put(shut, "hwd_doc/zeta_files/.a.png"), "Permission denied"),
    ("link to a folder of pages", put(link("/usr"), "hwd_doc/a"), "hwd_doc/a: a link to a folder"),
    ("folder of pages that is nowhere", lambda source: (
        put(shutil.rmtree, "hwd_doc")(source), put(link("nowhere"), "hwd_doc")(source)),
     "hwd_doc: No such file"),
    ("page in Latin-1", raw("hwd_doc/zeta.html", b"caf\xe9 au lait"), "not UTF-8 text"),
    ("page that is not shown", raw("hwd_doc/zeta.html", b"x" * 2000001), "too large"),
    ("picture that is not shown", raw("hwd_doc/zeta_files/.a.png", b"x" * 10000001), "too large"),
    ("page with a NUL", raw("hwd_doc/zeta.html", b"a\0b"), "not UTF-8 text"),
]


class TestBuild(unittest.TestCase):
    def setUp(self):
        work = tempfile.TemporaryDirectory()
        self.addCleanup(work.cleanup)
        os.chdir(work.name)
        self.addCleanup(os.chdir, "/")
        self.source = Source("source")
        self.dest = pathlib.Path("site")

    def build(self):
        run = self.source.build(self.dest)
        self.assertEqual((run.returncode, run.stderr), (0, ""))

    def test_manifests_state_what_lies_there(self):
        self.build()
        lines = [b"//zeft_upt_fversions.info\r\n"]
        for platform, name in [(8, CORE + "zeft core é.zip"),
                               (6, "bsp/x86/zeft_bsp_zeta.hlib.tar.xz"),
                               (6, "bsp/x86/zeft_bsp_zeta.htc.tar.7z"),
                               (7, "bsp/arm/zeft_bsp_zeta.hlib.tar.gz"),
                               (7, "bsp/arm/zeft_bsp_zeta.htc.tar.bz2")]:
            self.assertEqual((self.dest / "zeft" / name).stat().st_mtime, SECONDS)
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
            self.assertEqual(pages.namelist(),
                             ["hwd_doc/", "hwd_doc/zeta.html", "hwd_doc/zeta_files/.a.png"])
            self.assertEqual(pages.read("hwd_doc/zeta.html").decode(), "<p>ζ</p>")

    def test_refuses_what_the_updater_cannot_handle(self):
        for name, spoil, message in REFUSED:
            with self.subTest(name), tempfile.TemporaryDirectory() as work:
                os.chmod(work, 0o777)
                source = Source(work + "/source")
                spoil(source)
                run = source.build(work + "/site", **USER)
                self.assertEqual(run.returncode, 1)
                self.assertIn(message.format(work), run.stderr)
                self.assertEqual(os.listdir(work), ["source"])

    def test_writes_over_a_repository_that_is_being_served(self):
        self.build()
        core_file = self.dest / "zeft" / CORE / "zeft core é.zip"
        with open(core_file, "rb") as transfer:
            old = core_file.read_bytes()
            self.source.add(CORE + "zeft core é.zip", ("zeft core é/version.info", VERSION))
            self.source.path.joinpath("bsp/arm/zeft_bsp_zeta.htc.tar.bz2").unlink()
            self.build()
            self.assertEqual(transfer.read(), old)
        self.assertLess(core_file.stat().st_size, len(old))
        self.assertTrue((self.dest / "zeft/bsp/arm/zeft_bsp_zeta.htc.tar.bz2").exists())

    def test_a_full_disk_is_told(self):
        self.build()
        for option, unit in ("size", 4096), ("nr_inodes", 1):
            for amount in range(1, 50):
                run = self.source.build("full", "unshare", "-rm", "sh", "-c", f"""mkdir -p full
                    mount -t tmpfs -o {option}={amount * unit} t full
                    "$0" "$@" && diff -r site full""")
                if run.returncode == 0:
                    break
                with self.subTest(option, amount=amount):
                    self.assertRegex(run.stderr,
                                     r"^zeft_repo: full/zeft/.+: No space left on device\n$")
            self.assertEqual(run.returncode, 0)

    def test_a_disk_that_fails_is_told(self):
        put(link("/proc/self/mem"), "hwd_doc/b.png")(self.source)  # no one can read its beginning
        for name, wrapper, message in (
                ("read", [], "source/hwd_doc/b.png: Input/output error"),
                ("sync", ["env", "ASAN_OPTIONS=detect_leaks=0", "strace", "-qqo", "/dev/null",
                          "-e", "inject=fsync:error=EIO"], "core é.zip: Input/output error")):
            with self.subTest(name):
                run = self.source.build(self.dest, *wrapper)
                self.assertEqual(run.returncode, 1)
                self.assertIn(message, run.stderr)
        self.assertFalse(self.dest.joinpath("zeft/zeft_upt_fversions.info").exists())

    def test_wrong_use_prints_the_usage(self):
        for arguments in [], ["build", "x"], ["check", "x", "y"]:
            run = subprocess.run([REPO, *arguments], capture_output=True, text=True)
            self.assertEqual(run.returncode, 2)
            self.assertTrue(run.stderr.startswith("usage: zeft_repo build SOURCE DEST\n"))


unittest.main(argv=sys.argv[:1])

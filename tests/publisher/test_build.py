"""zeft_repo build, run as a publisher runs it, over a tree of real archives."""

import fcntl
import hashlib
import json
import os
import pathlib
import shutil
import signal
import subprocess
import sys
import tempfile
import unittest
import zipfile

from support import CORE, NOISE, REPO, SECONDS, VERSION, Source, archive_of, raw

USER = {"user": 65534, "group": 65534} if os.geteuid() == 0 else {}  # no superuser


def run(command, TMPDIR=None, **options):
    variables = {"LC_ALL": "C", "ASAN_OPTIONS": "detect_leaks=0"}  # strace(1) and LeakSanitizer don't mix
    if TMPDIR:
        variables["TMPDIR"] = TMPDIR
    return subprocess.run(command, capture_output=True, text=True, env={**os.environ, **variables},
                          **options)


def build(source, dest, *wrapper, flags=(), **options):
    """Builds; the folder that holds the source is also the one for temporary files."""
    source.describe()
    return run([*wrapper, REPO, "build", *flags, source.path, dest],
               TMPDIR=source.path.absolute().parent, **options)


def fault(rule):
    """What makes system calls of zeft_repo fail, or die, as strace(1) words it."""
    return ["strace", "-fqqo", "/dev/null", "-e", "inject=" + rule]


def core(name, *entries):
    """A spoiler that adds one core component."""
    return lambda source: source.add(CORE + name, *entries)


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
    ("folder of the program", raw(CORE + "bin_lnx.zip"), 'folder, "/bin_lnx", would not'),
    ("folder of others", raw(CORE + "zeft_bsp_tools.hlib.zip"), '"/hardware/tools", would not'),
    ("unknown kind of archive", raw(CORE + "a.rar"), "must end in one of .zip"),
    ("suffix in the middle", raw(CORE + "a.zip.tar.xz"), "hold no other of them"),
    ("no room for the updater's suffix", raw(CORE + "a" * 248 + ".zip"), "longer than 251 bytes"),
    ("name of the pages", raw(CORE + "hwd_doc.zip"), "description pages"),
    ("entry beside the folder", core("a.zip", ("a/version.info", VERSION), ("ab/x", b"")),
     'its entry "ab" is outside of the folder "a"'),
    ("entry of no UTF-8 beside it", core("a.tar.gz", ("a.tar/version.info", VERSION), ("\udcff", b"")),
     "its entry"),
    ("no version.info at the top", core("a.zip", ("a/b/version.info", VERSION)),
     'no "a/version.info"'),
    ("tar suffix kept in the folder", core("a.tar.xz", ("a/version.info", VERSION)),
     'outside of the folder "a.tar"'),
    ("earlier mention of build", core("a.zip", ("a/version.info", b"rebuild: no\n" + VERSION)),
     "which is no date"),
    ("more than the updater reads", core("a.zip", ("a/version.info", VERSION + bytes(10**6))),
     "which is no date"),
    ("no archive", raw(CORE + "a.zip", b"PK\x03\x04 and no more"),
     "a.zip: error ZR020: it cannot be unpacked in {}/site/"),
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
    ("unknown platform", directory(platform=9), "9 is not a platform code; they are 6 (x86_64), 7 (arm64), 8 (any"),
    ("text for a platform", directory(platform="8"), 'error ZR007: "platform" is not a whole number'),
    ("missing directory", directory(path="core/nowhere"), "core/nowhere: error ZR001: No such file"),
    ("folder that is not listed", put(os.mkdir, CORE + "old"), "doesn't name this folder"),
    ("unreadable folder", put(shut, CORE), "core/version_latest: error ZR001: Permission denied"),
    ("link that leads nowhere", put(link("nowhere"), CORE + "a.zip"), "a.zip: error ZR001: a link that leads"),
    ("pipe", put(os.mkfifo, CORE + "a.zip"), "a.zip: error ZR001: neither a file nor a folder"),
    ("name of no UTF-8", raw(CORE + "caf\udce9.zip"), "caf\ufffd.zip: error ZR001: the name is not UTF-8"),
    ("unknown key", lambda source: source.json.update(package=[]), 'the key "package" is none of'),
    ("unknown key of a directory", directory(machine=6), 'the key "machine" is none of'),
    ("unknown key of a package", package(pages=""), 'the key "pages" is none of'),
    ("packages in no list", lambda source: source.json.update(packages={}), '"packages" is not a list'),
    ("directory outside", directory(path="../core"), '".." is not a name'),
    ("slash at the end", directory(path="core/version_latest/"), "a name is empty"),
    ("nothing to publish", lambda source: source.json.update(directories=[], packages=[]),
     "ZR005: it would have no line"),
    ("unknown class", package(**{"class": 8}), "from 0 to 7: 0 (8bit/16bit uC), 1 ("),
    ("missing class", lambda source: source.json["packages"][0].pop("class"), "from 0 to 7"),
    ("directory named twice", lambda source: source.json["directories"].append(
        {"path": "bsp", "platform": 6}), 'directory "bsp": error ZR008'),
    ("directory in the place of a list", lambda source: (
        source.json["directories"].append({"path": "bsp/zeft_bsps.info", "platform": 6}),
        source.add("bsp/zeft_bsps.info/a.zip", ("a/version.info", VERSION))), "of the repository's own"),
    ("list for a description", lambda source: setattr(source, "json", []), "ZR007: it is not an object"),
    ("pipe for a description", lambda source: setattr(source, "describe", lambda: os.mkfifo(
        source.path / "repository.json")), "it is no file"),
    ("build with slashes", core("a.zip", ("a/version.info", b"build: 2024/05/01")), "which is no date"),
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
    ("unreadable picture of a page", put(shut, "hwd_doc/zeta_files/a.png"), "Permission denied"),
    ("link to a folder of pages", put(link("zeta_files"), "hwd_doc/a"), "a link to a folder"),
    ("folder of pages that is nowhere", lambda source: (
        put(shutil.rmtree, "hwd_doc")(source), put(link("nowhere"), "hwd_doc")(source)),
     "hwd_doc: error ZR001: No such file"),
    ("page in Latin-1", raw("hwd_doc/zeta.html", b"caf\xe9 au lait"), "not UTF-8 text"),
    ("page that is not shown", raw("hwd_doc/zeta.html", b"x" * 2000001), "too large"),
    ("picture that is not shown", raw("hwd_doc/zeta_files/a.png", b"x" * 10000001), "more than 10000000 bytes"),
    ("page with a NUL", raw("hwd_doc/zeta.html", b"a\0b"), "not UTF-8 text"),
]


# What publishes nothing, or says something of what it publishes
WARNED = [
    ("hidden file", raw(CORE + ".a.zip"), ".a.zip: warning ZR004: a hidden file"),
    ("hidden folder", raw("hwd_doc/.git/x"), ".git: warning ZR004"),
    ("editor's copy", raw("hwd_doc/zeta.html~"), "zeta.html~: warning ZR004: a copy"),
    ("link out of the tree", put(link("/etc/hostname"), CORE + "a.zip"), "ZR004: a link that leads out"),
    ("page that nothing names", raw("hwd_doc/old.html"), "old.html: warning ZR047"),
    ("line that no page shows", lambda source: source.add("bsp/a.zip", ("a/version.info", VERSION)),
     "bsp/a.zip: warning ZR016: no page"),
    ("build in the future", core("a.zip", ("a/version.info", b"build: 2099.01.01")),
     "a.zip: warning ZR024: 2099-01-01 is in the future"),
    ("comment", directory(comment="for people"), "at once; components: 5, packages: 2"),
]

NAME = "zeft core é.zip"


def replace(build, noise=b"new"):
    return lambda source: source.add(CORE + NAME, ("zeft core é/version.info", build),
                                     ("zeft core é/x", noise))


# What a second release does to users: the exit code, and a line of the report
CHANGES = [
    ("nothing", lambda source: None, 0, "nothing to do: "),
    ("new date of the file alone", put(pathlib.Path.touch, CORE + NAME), 0, "nothing to do: "),
    ("new date of a page alone", put(pathlib.Path.touch, "hwd_doc/zeta.html"), 0, "nothing to do: "),
    ("new build", replace(b"build: 2024.06.01"), 0,
     f"changed  {CORE}{NAME}: an update from 2024-05-01 to 2024-06-01"),
    ("new content under the old date", replace(VERSION), 1,
     f"{CORE}{NAME}: error ZR030: new content under the date that users already have, 2024-05-01"),
    ("new content in another directory", lambda source: (
        source.json["directories"].append({"path": CORE + "new", "platform": 8}),
        (source.path / CORE / NAME).unlink(),
        source.add(CORE + "new/" + NAME, ("zeft core é/version.info", VERSION))), 1,
     f"{CORE}new/{NAME}: error ZR030"),
    ("older build", replace(b"build: 2024.04.01"), 0,
     "warning ZR031: 2024-04-01 is older than what users have, 2024-05-01"),
    ("another archive", core("a.zip", ("a/version.info", VERSION)), 0,
     f"added    {CORE}a.zip: for any machine, into ROOT/a"),
    ("an archive less", lambda source: (
        source.json["packages"].pop(), (source.path / CORE / NAME).unlink()), 0,
     f"removed  {CORE}{NAME}: whoever has it keeps it"),
    ("another machine", lambda source: source.json["directories"][0].update(platform=10), 0,
     f"changed  {CORE}{NAME}: now for any machine"),
    ("package in another class", package(**{"class": 6}), 0, 'changed  package "Zeta α": other'),
    ("packages in another order", lambda source: source.json["packages"].reverse(), 0,
     "changed  the lists: another order"),
    ("package less", lambda source: source.json["packages"].pop(0), 0, 'removed  package "Zeta α"'),
    ("another page", raw("hwd_doc/zeta.html", b"<p>new</p>"), 0, "changed  bsp/hwd_doc.zip: fetched"),
]


def tree(folder):
    """What a client sees of all files below folder."""
    files = (path for path in pathlib.Path(folder).rglob("*") if path.is_file())
    return {str(path.relative_to(folder)): hashlib.sha1(path.read_bytes()).hexdigest()
            for path in files if path.name != "zeft_repo.json"}


class TestBuild(unittest.TestCase):
    def setUp(self):
        work = tempfile.TemporaryDirectory()
        self.addCleanup(work.cleanup)
        os.chdir(work.name)
        self.addCleanup(os.chdir, "/")
        self.source = Source("source")
        self.dest = pathlib.Path("site")

    def build(self, *wrapper):
        done = build(self.source, self.dest, *wrapper)
        self.assertEqual((done.returncode, done.stderr), (0, ""), done.stdout)
        return done.stdout

    def release(self, *wrapper):
        """Builds a second release; returns what users see of both."""
        self.source.add(CORE + "old.zip", ("old/version.info", VERSION))
        self.build()
        old = tree("site/zeft")
        self.source.path.joinpath(CORE, "old.zip").unlink()
        replace(b"build: 2024.06.01")(self.source)
        self.source.path.joinpath("hwd_doc/zeta.html").write_text("new")
        self.said = build(self.source, self.dest, *wrapper)
        return old, tree("site/zeft")

    def roll_back(self, *wrapper):
        return run([*wrapper, REPO, "rollback", self.dest])

    def test_manifests_state_what_lies_there(self):
        self.source.path.joinpath("bsp/x86/zeft_bsp_zeta.htc.tar.7z").touch()  # as git clone leaves it
        said = self.build()
        self.assertIn("since the file's own date is another: 1\n", said)
        lines = [b"//zeft_upt_fversions.info\r\n"]
        for platform, name, time in [(8, CORE + NAME, "12:30:45"),
                                     (6, "bsp/x86/zeft_bsp_zeta.hlib.tar.xz", "12:30:45"),
                                     (6, "bsp/x86/zeft_bsp_zeta.htc.tar.7z", "00:00:00"),
                                     (7, "bsp/arm/zeft_bsp_zeta.hlib.tar.gz", "12:30:45"),
                                     (7, "bsp/arm/zeft_bsp_zeta.htc.tar.bz2", "12:30:45")]:
            file = self.dest / "zeft" / name
            day = SECONDS - SECONDS % 86400
            self.assertEqual(file.stat().st_mtime, SECONDS if time == "12:30:45" else day)
            data = file.read_bytes()
            self.assertEqual(data, (self.source.path / name).read_bytes())
            folder, file = name.rsplit("/", 1)
            lines.append(f"{platform}#{file}#{folder}#2024-05-01T{time}.000Z#{len(data)}#"
                         f"{sum(data)}\r\n".encode())
        self.assertEqual((self.dest / "zeft/zeft_upt_fversions.info").read_bytes(), b"".join(lines))
        self.assertEqual((self.dest / "zeft/bsp/zeft_bsps.info").read_bytes().decode(),
                         "8#7#Zeta α##zeft_bsp_zeta.hlib#zeft_bsp_zeta.htc#zeta.html\r\n"
                         "8#0#Core##zeft core é##zeta.html\r\n")
        with zipfile.ZipFile(self.dest / "zeft/bsp/hwd_doc.zip") as pages:
            self.assertEqual(pages.namelist(),
                             ["hwd_doc/", "hwd_doc/zeta.html", "hwd_doc/zeta_files/a.png"])
            self.assertEqual(pages.read("hwd_doc/zeta.html").decode(), "<p>ζ</p>")

    def test_refuses_what_the_updater_cannot_handle(self):
        for name, spoil, message in REFUSED:
            with self.subTest(name), tempfile.TemporaryDirectory() as work:
                os.chmod(work, 0o777)
                source = Source(work + "/source")
                spoil(source)
                done = build(source, work + "/site", **USER)
                self.assertEqual(done.returncode, 1)
                self.assertIn(message.format(work), done.stdout)
                self.assertEqual(os.listdir(work), ["source"])

    def test_warns_of_what_is_not_meant(self):
        self.build()
        expected = sorted(tree("site/zeft"))
        for name, spoil, message in WARNED:
            with self.subTest(name), tempfile.TemporaryDirectory() as work:
                source = Source(work + "/source")
                spoil(source)
                done = build(source, work + "/site")
                self.assertEqual((done.returncode, done.stderr), (0, ""))
                self.assertIn(message, done.stdout)
                if "ZR004" in message:
                    self.assertEqual(sorted(tree(work + "/site/zeft")), expected)

    def test_tells_what_a_release_does_to_users(self):
        for name, change, code, line in CHANGES:
            with self.subTest(name), tempfile.TemporaryDirectory() as work:
                source = Source(work + "/source")
                build(source, work + "/site")
                before = tree(work + "/site/zeft")
                change(source)
                for flags in ["--dry-run"], []:
                    self.assertEqual(tree(work + "/site"), {"zeft/" + k: v for k, v in before.items()})
                    done = build(source, work + "/site", flags=flags)
                    self.assertEqual(done.returncode, code)
                    if not flags or not line.startswith("nothing"):
                        self.assertIn(line, done.stdout)
                after = tree(work + "/site/zeft")
                is_published = code == 0 and not line.startswith("nothing")
                self.assertEqual(before != after, is_published)
                self.assertEqual(os.path.exists(work + "/site/zeft.previous"), is_published)

    def test_an_unchanged_archive_is_not_read_again(self):
        self.build()
        name = "bsp/x86/zeft_bsp_zeta.hlib.tar.xz"
        published = self.dest / "zeft" / name
        sound, inode = tree("site/zeft"), published.stat().st_ino
        for spoil in (os.unlink, pathlib.Path.touch, lambda path: os.truncate(path, 9)):
            spoil(published)  # what users have by now
            self.assertIn(f"changed  {name}: put back as users have it", self.build())
            self.assertEqual((tree("site/zeft"), published.stat().st_mtime), (sound, SECONDS))
        lists = self.dest / "zeft/zeft_upt_fversions.info"
        lists.write_bytes(lists.read_bytes().replace(b"#5544#", b"#5545#"))
        self.build()
        self.assertEqual(tree("site/zeft"), sound)

        inode = published.stat().st_ino
        path = self.source.path / name
        stamp = path.stat()
        path.write_bytes(bytes(stamp.st_size))  # damage that neither size nor date shows
        os.utime(path, ns=(0, stamp.st_mtime_ns))
        replace(b"build: 2024.06.01")(self.source)
        self.build()
        self.assertEqual(published.stat().st_ino, inode)

    def test_two_packages_of_one_title_are_no_change(self):
        self.source.json["packages"].append({**self.source.json["packages"][0], "class": 1})
        self.build()
        self.assertIn("nothing to do", self.build())

    def test_what_was_taken_back_is_what_users_may_have(self):
        self.release()
        self.roll_back()
        replace(b"build: 2024.06.01", b"mended")(self.source)
        self.assertIn("ZR030", build(self.source, self.dest).stdout)

    def test_nothing_outside_of_the_site_is_lost(self):
        self.build()
        os.mkdir("site/zeft.work")
        shutil.copytree("source", "site/zeft/source")
        pathlib.Path("victim").write_text("x")
        for place, site, lock in (("site/zeft/source", "site", None), ("source", "source/bsp/x86/site", None),
                                  ("source", "site", "victim")):
            if lock:
                os.symlink("../" + lock, "site/zeft.lock")
            self.assertEqual(run([REPO, "build", place, site]).returncode, 1)
        self.assertTrue(os.path.exists("site/zeft/source/repository.json"))
        self.assertEqual(pathlib.Path("victim").read_text(), "x")

    def test_a_release_takes_its_place_at_once_and_back(self):
        pathlib.Path("site").mkdir()
        pathlib.Path("site/index.html").write_text("of others")
        for rule, how in [(None, "at once"),
                          ("renameat2:error=EINVAL", "file by file"),  # as on NFS
                          ("renameat2:error=EINVAL", "file by file")]:
            with self.subTest(rule):
                wrapper = fault(rule) if rule else []
                old, new = self.release(*wrapper)
                self.assertIn(how, self.said.stdout)
                self.assertEqual(tree("site/zeft.previous"), old)
                self.assertIn(how, self.roll_back(*wrapper).stdout)
                self.assertEqual((tree("site/zeft"), tree("site/zeft.previous")), (old, new))
                self.assertEqual(sorted(os.listdir("site")), ["index.html", "zeft", "zeft.previous"])
                for folder in "site/zeft", "site/zeft.previous":
                    shutil.rmtree(folder)
                self.source = Source("source")

    def test_needs_no_hard_links(self):
        old, new = self.release(*fault("link,linkat:error=EPERM"))
        self.assertIn("published", self.said.stdout)
        self.assertEqual(new["bsp/arm/zeft_bsp_zeta.hlib.tar.gz"], old["bsp/arm/zeft_bsp_zeta.hlib.tar.gz"])

    def test_a_kill_leaves_one_release_or_the_other(self):
        old, new = self.release()
        for call in "rename,renameat", "renameat2", "unlinkat", "syncfs", "fork,clone,clone3":
            for count in range(1, 6):
                shutil.rmtree("site")
                self.source = Source("source")
                killed = self.release(*fault(f"{call}:signal=KILL:when={count}"))[1]
                if self.said.returncode == 0:
                    break
                with self.subTest(call, count=count):
                    self.assertIn(killed, (old, new))
                    self.assertEqual(self.roll_back().returncode == 0, killed == new)
                    build(self.source, self.dest)
                    self.assertEqual(tree("site/zeft"), new)
                    self.assertEqual(tree("site/zeft.previous"), old)
                    self.assertEqual(sorted(os.listdir("site")), ["zeft", "zeft.previous"])
            self.assertGreater(count, 1 if call != "syncfs" else 0)

    def test_a_kill_among_the_files_is_mended_by_the_next_build(self):
        new = self.release()[1]
        for count in range(2, 30):
            shutil.rmtree("site")
            self.source = Source("source")
            self.release(*fault("renameat2:error=EINVAL"), "-e",
                         f"inject=rename,renameat:signal=KILL:when={count}")
            if self.said.returncode == 0:
                break
            with self.subTest(count=count):
                build(self.source, self.dest)
                self.assertLessEqual(new.items(), tree("site/zeft").items())
        self.assertGreater(count, 7)

    def test_an_interruption_leaves_nothing(self):
        self.build()
        before = tree("site")
        self.source.add(CORE + "a.tar.gz", ("a.tar/version.info", VERSION), ("a.tar/x", bytes(1 << 28)))
        for number in signal.SIGINT, signal.SIGTERM:
            process = subprocess.Popen([REPO, "build", self.source.path, self.dest])
            while not list(pathlib.Path("site").glob("zeft.work/trials/*/*")):
                self.assertIsNone(process.poll())
            trials = pathlib.Path(f"/proc/{process.pid}/task/{process.pid}/children").read_text()
            for trial in trials.split():
                os.kill(int(trial), signal.SIGSTOP)  # it won't end by itself
            process.send_signal(number)
            self.assertEqual(process.wait(120), -number)
            self.assertEqual(tree("site"), before)

    def test_never_two_at_once(self):
        self.build()
        with open("site/zeft.lock", "w") as lock:
            lock.write("process 1 on another")
            lock.flush()
            fcntl.flock(lock, fcntl.LOCK_EX)
            done = build(self.source, self.dest)
        self.assertEqual((done.returncode, done.stderr), (
            1, "zeft_repo: site: another zeft_repo is at work here, process 1 on another\n"))

    def test_a_full_disk_is_told(self):
        self.build()
        for option, unit in ("size", 4096), ("nr_inodes", 1):
            for amount in range(1, 99):
                done = build(self.source, "full", "unshare", "-rm", "sh", "-c", f"""mkdir -p full
                    mount -t tmpfs -o {option}={amount * unit} t full
                    "$0" "$@" && diff -r site/zeft full/zeft""")
                if done.returncode == 0:
                    break
                with self.subTest(option, amount=amount):
                    self.assertRegex(done.stdout + done.stderr, "(?m)^zeft_repo: full/.+: No space left"
                                     " on device$|not enough space|: ENOSPC")
            self.assertEqual(done.returncode, 0)

    def test_a_disk_that_fails_is_told(self):
        for name, wrapper, message in (
                ("read", fault("read:error=EIO") + ["-P", "source/hwd_doc/zeta.html"], "Input/output error"),
                ("sync", fault("syncfs:error=EIO"), "next: Input/output error"),
                ("folder of someone else", USER and ["setpriv", "--reuid=65534", "--clear-groups"],
                 "Permission denied")):
            with self.subTest(name):
                done = build(self.source, self.dest, *wrapper)
                self.assertEqual(done.returncode, 1)
                self.assertIn(message, done.stdout + done.stderr)
                self.assertEqual(os.listdir(), ["source"])

    def test_starts_with_a_tree_that_builds(self):
        for command in ["init", "tree"], ["build", "tree", "site"], ["check", "tree"], ["check", "site"]:
            done = run([REPO, *command])
            self.assertEqual((done.returncode, done.stderr), (0, ""))
            self.assertNotIn("ZR", done.stdout)
        self.assertIn("isn't empty", run([REPO, "init", "tree"]).stderr)

    def test_help_is_no_error_and_wrong_use_is(self):
        for arguments in ["--help"], ["--version"], ["build", "--help"], ["check", "-h"]:
            done = run([REPO, *arguments])
            self.assertEqual((done.returncode, done.stderr), (0, ""))
            self.assertIn("zeft_repo", done.stdout)
        for arguments in [], ["build", "x"], ["check", "x", "y"], ["make"], ["build", "x", "y", "-z"]:
            done = run([REPO, *arguments])
            self.assertEqual((done.returncode, done.stdout), (2, ""))
            self.assertRegex(done.stderr, "^zeft_repo: .+\n$")


unittest.main(argv=sys.argv[:1])

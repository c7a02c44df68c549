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

from support import CORE, FILE_LIST, PACKAGE_LIST, REPO, SECONDS, VERSION, Source

USER = {"user": 65534, "group": 65534} if os.geteuid() == 0 else {}  # no superuser


def run(*command, **options):
    """The working directory is also the one for temporary files."""
    # strace(1) and LeakSanitizer don't mix.
    env = {**os.environ, "LC_ALL": "C", "TMPDIR": os.getcwd(), "ASAN_OPTIONS": "detect_leaks=0"}
    return subprocess.run(command, capture_output=True, text=True, env=env, **options)


def fault(rule):
    """What makes system calls of zeft_repo fail, or die, as strace(1) words it."""
    return ["strace", "-fqqo", "/dev/null", "-e", "inject=" + rule]


def raw(name, data=b"x"):
    """A spoiler that adds one file."""
    return lambda source: source.write(name, data)


def add(name, *entries):
    """A spoiler that adds an archive."""
    return lambda source: source.add(name, *entries)


def put(make, name):
    return lambda source: make(source.path / name)


def link(to):
    return lambda path: path.symlink_to(to)


def package(**change):
    """A spoiler that adds a package like the first one."""
    return lambda source: source.json["packages"].append({**source.json["packages"][0], **change})


def description(name, data):
    return lambda source: (source.write("hwd_doc/" + name, data), package(description=name)(source))


def directory(path, platform=8):
    return lambda source: source.json["directories"].append({"path": path, "platform": platform})


def offer(path, platform=8):
    """A spoiler that adds a directory, with an archive in it."""
    return lambda source: (directory(path, platform)(source),
                           source.add(path + "/a.zip", ("a/version.info", VERSION)))


NAME = "zeft core é.zip"


def replace(build, noise=b"new"):
    return add(CORE + NAME, ("zeft core é/version.info", build), ("zeft core é/x", noise))


def move_arm(source):
    os.rename(source.path / "bsp/arm", source.path / "new")
    source.json["directories"][3]["path"] = "new"
    source.add("new/zeft_bsp_zeta.hlib.tar.gz", ("zeta/version.info", VERSION))


REFUSED = "refused: site is as it was"
# How builds of another source come out, and what is said of each change in it
BUILDS = {
    "slips of the pen": (REFUSED, [
        (lambda source: source.json.update(package=[]), 'the key "package" is none of'),
        (directory("bsp", "6"), 'error ZR007: "platform" is not a whole number'),
        (lambda source: source.json["directories"][0].update(machine=6), 'key "machine" is none of'),
        (package(descriptions=""), 'the key "descriptions" is none of')]),
    "list for the contents": (REFUSED, [
        (lambda source: setattr(source, "json", []), "ZR007: it is not an object")]),
    "device for the contents": (REFUSED, [(put(lambda path: (
        path.unlink(), path.symlink_to("/dev/null")), "repository.json"), "it is no file")]),
    "places": (REFUSED, [
        (directory("core/nowhere"), "core/nowhere: error ZR001: No such file"),
        (directory("../core"), '".." is not a name'),
        (directory("bsp/x86/"), "a name is empty"),
        (directory("bsp"), 'directory "bsp": error ZR008'),
        (put(lambda path: path.chmod(0), "bsp/arm"), "bsp/arm: error ZR001: Permission denied"),
        (put(os.mkdir, CORE + "old"), "doesn't name this folder"),
        (put(link("nowhere"), CORE + "a.zip"), "a.zip: error ZR001: a link that leads"),
        (put(os.mkfifo, CORE + "b.zip"), "b.zip: error ZR001: neither a file nor a folder"),
        (raw(CORE + "caf\udce9.zip"), "caf\ufffd.zip: error ZR001: the name is not UTF-8"),
        (put(lambda path: path.chmod(0), "hwd_doc/zeta_files/a.png"), "a.png: error ZR001: Permission"),
        (put(link("zeta_files"), "hwd_doc/a"), "a link to a folder")]),
    "descriptions that are nowhere": (REFUSED, [(put(lambda path: (
        shutil.rmtree(path), path.symlink_to("nowhere")), "hwd_doc"), "hwd_doc: error ZR001: No such")]),
    "archives of packages": (REFUSED, [
        (package(archives=[]), "one or two archives"),
        (package(archives=["a.zip"]), 'the archive "a.zip" is in no directory'),
        (package(archives=["zeft core é.zip"] * 2), 'the archive "zeft core é.zip" is in no')]),
    "nothing to publish": (REFUSED, [(lambda source: source.json.update(directories=[], packages=[]),
                            "ZR005: it would have no line")]),
    "lines": (REFUSED, [
        (raw(CORE + "a#b.zip"), '"a#b.zip" holds a "#"'),
        (raw(CORE + "a?b.zip"), '"a?b.zip" holds a "?"'),
        (raw(CORE + " a.zip"), "begins or ends with a blank"),
        (raw(CORE + "a\r\nb.zip"), '"a??b.zip" holds a control character'),
        (raw(CORE + "zeft_bsp_tools.hlib.zip"), '"/hardware/tools", would not be its own'),
        (raw(CORE + "a.rar"), "a.rar: error ZR011: its name must end in one of .zip"),
        (raw(CORE + "a.zip.tar.xz"), "a.zip.tar.xz: error ZR011"),
        (raw(CORE + "a" * 248 + ".zip"), "longer than 251 bytes"),
        (raw(CORE + "hwd_doc.zip"), "name is that of the descriptions"),
        (offer("bsp/zeft_bsps.info"), "of the repository's own"),
        (offer("new", platform=9), "9 is not a platform code; they are 6 (x86_64), 7 (arm64), 8 (any"),
        (raw(CORE + "zeft core é.tar.xz"), "shares the stem zeft core é with"),
        (raw(CORE + "zeft_bsp_zeta.hlib2.zip"), "shares the folder /hardware/zeta with"),
        (package(title="a#b"), 'package "a#b": error ZR041'),
        (package(title=""), 'package "": error ZR041'),
        (package(title="8", **{"class": 8}), '"8": error ZR040: the class is not a number from 0 to 7: 0 ('),
        (lambda source: source.json["packages"][1].pop("class"), 'package "Core": error ZR040'),
        (package(title="0", platform=0), 'package "0": error ZR013: 0 is not a platform code'),
        (put(os.unlink, "bsp/arm/zeft_bsp_zeta.hlib.tar.gz"), "not for all of its platforms"),
        (package(description="nowhere.html"), 'the description "nowhere.html" cannot be read'),
        (package(description="../repository.json"), 'its description: "../repository.json" holds a "/"'),
        (description("cut.html", b"caf\xe9"), '"cut.html" is not UTF-8 text'),
        (description("latin.html", b"caf\xe9 au lait"), '"latin.html" is not UTF-8 text'),
        (description("nul.html", b"a\0b"), '"nul.html" is not UTF-8 text'),
        (description("large.html", b"x" * 2000001), '"large.html" is too large'),
        (raw("hwd_doc/zeta_files/a.png", b"x" * 10000001), "more than 10000000 bytes")]),
    "archives": (REFUSED, [
        (add(CORE + "a.zip", ("a/version.info", VERSION), ("ab/x", b"")),
         'a.zip: error ZR021: its entry "ab" is outside of the folder "a"'),
        (add(CORE + "b.tar.gz", ("b.tar/version.info", VERSION), ("\udcff", b"")),
         'b.tar.gz: error ZR021: its entry "\ufffd" is outside of the folder "b.tar"'),
        (add(CORE + "c.zip", ("c/b/version.info", VERSION)), 'no "c/version.info"'),
        (add(CORE + "d.zip", ("d/version.info", b"build: 2024/05/01")), "which is no date"),
        (raw(CORE + "e.zip", b"PK\x03\x04"), "e.zip: error ZR020: it cannot be unpacked in site/")]),
    "what is not meant": ("published: site, at once; components: 7, packages: 2", [
        (lambda source: source.json["directories"][0].update(comment="for people"), "\nunchanged: 7\n"),
        (raw(CORE + ".a.zip"), ".a.zip: warning ZR004: a hidden file"),
        (raw("hwd_doc/.git/x"), ".git: warning ZR004"),
        (raw("hwd_doc/zeta.html~"), "zeta.html~: warning ZR004: a copy"),
        (put(link("/etc/hostname"), CORE + "b.zip"), "ZR004: a link that leads out"),
        (raw("hwd_doc/old.html"), "old.html: warning ZR047"),
        (offer("bsp/new"), "bsp/new/a.zip: warning ZR016: no page"),
        (add(CORE + "c.zip", ("c/version.info", b"build: 2099.01.01")),
         "c.zip: warning ZR024: 2099-01-01 is in the future")]),
    "new dates of files alone": ("nothing to do: site is as it was", [
        (put(pathlib.Path.touch, CORE + NAME), "unchanged: "),
        (put(pathlib.Path.touch, "hwd_doc/zeta.html"), "unchanged: ")]),
    "content that nobody gets": (REFUSED, [
        (replace(VERSION), f"{NAME}: error ZR030: new content under the date that users already have, "
         "2024-05-01"),
        (move_arm, "new/zeft_bsp_zeta.hlib.tar.gz: error ZR030")]),
    "another order": ("published: site, at once; components: ", [
        (lambda source: source.json["packages"].reverse(), "changed  the lists: another order")]),
    "all else": ("published: site, at once; components: ", [
        (replace(b"build: 2024.06.01"), f"changed  {CORE}{NAME}: an update from 2024-05-01 to 2024-06-01"),
        (add("bsp/x86/zeft_bsp_zeta.hlib.tar.xz", ("zeta/version.info", b"build: 2024.04.01")),
         "warning ZR031: 2024-04-01 is older than what users have, 2024-05-01"),
        (add(CORE + "a.zip", ("a/version.info", VERSION)), f"added    {CORE}a.zip: for any machine, into ROOT/a"),
        (lambda source: source.json["directories"].pop(),
         "removed  bsp/arm/zeft_bsp_zeta.hlib.tar.gz: whoever has it keeps it"),
        (put(shutil.rmtree, "bsp/arm"), "removed  bsp/arm/zeft_bsp_zeta.htc.tar.bz2"),
        (lambda source: source.json["directories"][2].update(platform=10),
         "changed  bsp/x86/zeft_bsp_zeta.htc.tar.7z: now for any machine"),
        (lambda source: source.json["packages"][0].update({"class": 6}), 'changed  package "Zeta α": other'),
        (lambda source: source.json["packages"].pop(), 'removed  package "Core"'),
        (raw("hwd_doc/zeta.html", b"<p>new</p>"), "changed  bsp/hwd_doc.zip: fetched")]),
}


def tree(folder):
    """What a client sees of all files below folder."""
    files = (path for path in pathlib.Path(folder).rglob("*") if path.is_file())
    return {str(path.relative_to(folder)): hashlib.sha1(path.read_bytes()).hexdigest()
            for path in files if path.name != "zeft_repo.json"}


class TestBuild(unittest.TestCase):
    def setUp(self):
        work = tempfile.TemporaryDirectory()
        self.addCleanup(work.cleanup)
        os.chmod(work.name, 0o777)
        os.chdir(work.name)
        self.addCleanup(os.chdir, "/")
        self.begin()

    def begin(self):
        """Leaves nothing but a sound source."""
        subprocess.run("chmod -R u+rwX . && rm -rf ./*", shell=True, check=True)
        self.source = Source("source")

    def try_to_build(self, *wrapper, flags=(), site="site", **options):
        self.source.describe()
        return run(*wrapper, REPO, "build", *flags, "source", site, **options)

    def build(self, **options):
        done = self.try_to_build(**options)
        self.assertEqual((done.returncode, done.stderr), (0, ""), done.stdout)
        return done.stdout

    def release(self, *wrapper):
        """Builds a second release; returns what users see of both."""
        self.begin()
        self.source.add(CORE + "old.zip", ("old/version.info", VERSION))
        self.build()
        old = tree("site/zeft")
        self.source.path.joinpath(CORE, "old.zip").unlink()
        replace(b"build: 2024.06.01")(self.source)
        self.source.write("hwd_doc/zeta.html", b"new")
        self.said = self.try_to_build(*wrapper)
        return old, tree("site/zeft")

    def roll_back(self, *wrapper):
        return run(*wrapper, REPO, "rollback", "site")

    def test_manifests_state_what_lies_there(self):
        self.source.path.joinpath("bsp/x86/zeft_bsp_zeta.htc.tar.7z").touch()  # as git clone leaves it
        self.assertIn("since the file's own date is another: 1\n", self.build())
        lines = [b"//zeft_upt_fversions.info\r\n"]
        for platform, name, time in [(8, CORE + NAME, "12:30:45"),
                                     (6, "bsp/x86/zeft_bsp_zeta.hlib.tar.xz", "12:30:45"),
                                     (6, "bsp/x86/zeft_bsp_zeta.htc.tar.7z", "00:00:00"),
                                     (7, "bsp/arm/zeft_bsp_zeta.hlib.tar.gz", "12:30:45"),
                                     (7, "bsp/arm/zeft_bsp_zeta.htc.tar.bz2", "12:30:45")]:
            file = pathlib.Path("site/zeft", name)
            day = SECONDS - SECONDS % 86400
            self.assertEqual(file.stat().st_mtime, SECONDS if time == "12:30:45" else day)
            data = (self.source.path / name).read_bytes()
            self.assertEqual(data, file.read_bytes())
            folder, file = name.rsplit("/", 1)
            lines.append(f"{platform}#{file}#{folder}#2024-05-01T{time}.000Z#{len(data)}#"
                         f"{sum(data)}\r\n".encode())
        self.assertEqual(pathlib.Path("site", FILE_LIST).read_bytes(), b"".join(lines))
        self.assertEqual(pathlib.Path("site", PACKAGE_LIST).read_bytes().decode(),
                         "8#7#Zeta α##zeft_bsp_zeta.hlib#zeft_bsp_zeta.htc#zeta.html\r\n"
                         "8#0#Core##zeft core é##zeta.html\r\n")
        with zipfile.ZipFile("site/zeft/bsp/hwd_doc.zip") as archive:
            self.assertEqual([(file.filename, file.date_time[0]) for file in archive.infolist()], [
                ("hwd_doc/", 1980), ("hwd_doc/zeta.html", 1980), ("hwd_doc/zeta_files/a.png", 1980)])
            self.assertEqual(archive.read("hwd_doc/zeta.html").decode(), "<p>ζ</p>")

    def test_tells_what_a_build_does(self):
        for name, (outcome, changes) in BUILDS.items():
            self.begin()
            self.build(**USER)
            for change, _ in changes:
                change(self.source)
            self.source.describe()
            before = tree("site")
            dry = self.try_to_build(flags=["--dry-run"], **USER)
            after = tree("site"), sorted(os.listdir())
            done = self.try_to_build(**USER)
            is_new = outcome.startswith("published")
            with self.subTest(name):
                self.assertEqual([line for _, line in changes if line not in done.stdout], [], done.stdout)
                self.assertIn("\n" + outcome, done.stdout)
                self.assertEqual(len(dry.stdout.splitlines()), len(done.stdout.splitlines()))
                self.assertEqual([dry.returncode, done.returncode], [outcome == REFUSED] * 2)
                self.assertEqual(after, (before, ["site", "source"]))
                self.assertEqual(tree("site") != before, is_new)
                self.assertEqual(sorted(os.listdir("site")), ["zeft", "zeft.previous"][:1 + is_new])

    def test_what_is_unchanged_is_not_read_again(self):
        self.build()
        name = "bsp/x86/zeft_bsp_zeta.hlib.tar.xz"
        published = pathlib.Path("site/zeft", name)
        sound = tree("site/zeft")
        for spoil in (os.unlink, pathlib.Path.touch, lambda path: os.truncate(path, 9)):
            spoil(published)  # what users have by now
            self.assertIn(f"changed  {name}: put back as users have it", self.build())
            self.assertEqual((tree("site/zeft"), published.stat().st_mtime), (sound, SECONDS))
        lists = pathlib.Path("site", FILE_LIST)
        lists.write_bytes(lists.read_bytes().replace(b"#5544#", b"#5545#"))
        self.build()
        self.assertEqual(tree("site/zeft"), sound)

        kept = published, pathlib.Path("site", PACKAGE_LIST)
        inodes = [path.stat().st_ino for path in kept]
        path = self.source.path / name
        stamp = path.stat()
        path.write_bytes(bytes(stamp.st_size))  # damage that neither size nor date shows
        os.utime(path, ns=(0, stamp.st_mtime_ns))
        replace(b"build: 2024.06.01")(self.source)
        self.build()
        self.assertEqual([path.stat().st_ino for path in kept], inodes)

    def test_two_packages_of_one_title_are_no_change(self):
        package(platform=6)(self.source)
        self.build()
        self.assertIn("nothing to do", self.build())

    def test_what_was_taken_back_is_what_users_may_have(self):
        self.release()
        self.roll_back()
        replace(b"build: 2024.06.01", b"mended")(self.source)
        self.assertIn("ZR030", self.try_to_build().stdout)

    def test_nothing_outside_of_the_site_is_lost(self):
        self.build()
        os.mkdir("site/zeft.work")
        shutil.copytree("source", "site/zeft/source")
        pathlib.Path("victim").write_text("x")
        for place, site in ("site/zeft/source", "site"), ("source", "source/bsp/x86/site"):
            self.assertEqual(run(REPO, "build", place, site).returncode, 1)
        os.symlink("../victim", "site/zeft.lock")
        self.assertEqual(self.try_to_build().returncode, 1)
        self.assertTrue(os.path.exists("site/zeft/source/repository.json"))
        self.assertEqual(pathlib.Path("victim").read_text(), "x")

    def test_a_release_takes_its_place_at_once_and_back(self):
        old, new = self.release()
        for name, wrapper, how in (("usual disk", (), "at once"),
                                   ("NFS", fault("renameat2:error=EINVAL"), "file by file"),
                                   ("no hard links", fault("link,linkat:error=EPERM"), "at once")):
            with self.subTest(name):
                self.assertEqual(self.release(*wrapper), (old, new))
                self.assertIn(how, self.said.stdout)
                self.assertEqual(tree("site/zeft.previous"), old)
                pathlib.Path("site/index.html").write_text("of others")
                self.assertIn(how, self.roll_back(*wrapper).stdout)
                self.assertEqual((tree("site/zeft"), tree("site/zeft.previous")), (old, new))
                self.assertEqual(sorted(os.listdir("site")), ["index.html", "zeft", "zeft.previous"])

    def test_a_kill_leaves_one_release_or_the_other(self):
        old, new = self.release()
        for call in "rename,renameat", "renameat2", "unlinkat", "syncfs", "fork,clone,clone3":
            for count in range(1, 6):
                killed = self.release(*fault(f"{call}:signal=KILL:when={count}"))[1]
                if self.said.returncode == 0:
                    break
                with self.subTest(call, count=count):
                    self.assertIn(killed, (old, new))
                    self.assertEqual(self.roll_back().returncode == 0, killed == new)
                    self.try_to_build()
                    self.assertEqual(tree("site/zeft"), new)
                    self.assertEqual(tree("site/zeft.previous"), old)
                    self.assertEqual(sorted(os.listdir("site")), ["zeft", "zeft.previous"])
            self.assertGreater(count, 1 if call != "syncfs" else 0)

    def test_a_kill_among_the_files_is_mended_by_the_next_build(self):
        new = self.release()[1]
        for count in range(2, 30):
            self.release(*fault("renameat2:error=EINVAL"), "-e",
                         f"inject=rename,renameat:signal=KILL:when={count}")
            if self.said.returncode == 0:
                break
            with self.subTest(count=count):
                self.try_to_build()
                self.assertLessEqual(new.items(), tree("site/zeft").items())
        self.assertGreater(count, 7)

    def test_an_interruption_leaves_nothing(self):
        self.build()
        before = tree("site")
        self.source.add(CORE + "a.tar.gz", ("a.tar/version.info", VERSION), ("a.tar/x", bytes(1 << 27)))
        for number in signal.SIGINT, signal.SIGTERM:
            process = self.enterContext(subprocess.Popen([REPO, "build", "source", "site"]))
            self.addCleanup(process.kill)  # and with it its trials
            while not list(pathlib.Path("site").glob("zeft.work/trials/*/*")):
                self.assertIsNone(process.poll())
            trials = pathlib.Path(f"/proc/{process.pid}/task/{process.pid}/children").read_text()
            for trial in trials.split():
                os.kill(int(trial), signal.SIGSTOP)  # it won't end by itself
            process.send_signal(number)
            self.assertEqual(process.wait(120), -number)
            self.assertEqual(tree("site"), before)

    def test_never_two_at_once(self):
        os.mkdir("site")
        with open("site/zeft.lock", "w") as lock:
            lock.write("process 1 on another")
            lock.flush()
            fcntl.flock(lock, fcntl.LOCK_EX)
            done = self.try_to_build()
        self.assertEqual((done.returncode, done.stderr), (
            1, "zeft_repo: site: another zeft_repo is at work here, process 1 on another\n"))

    def test_a_full_disk_is_told(self):
        self.build()
        for option, unit in ("size", 4096), ("nr_inodes", 1):
            for amount in range(1, 99):
                done = self.try_to_build("unshare", "-rm", "sh", "-c", f"""mkdir -p full
                    mount -t tmpfs -o {option}={amount * unit} t full
                    "$0" "$@" && diff -r site/zeft full/zeft""", site="full")
                if done.returncode == 0:
                    break
                with self.subTest(option, amount=amount):
                    self.assertRegex(done.stdout + done.stderr, "(?m)^zeft_repo: full/.+: No space left"
                                     " on device$|not enough space|: ENOSPC")
            self.assertEqual(done.returncode, 0)

    def test_a_disk_that_fails_is_told(self):
        for name, wrapper, message in (
                ("reading", fault("read:error=EIO") + ["-P", "source/hwd_doc/zeta.html"], "Input/output"),
                ("flushing", fault("syncfs:error=EIO"), "next: Input/output error"),
                ("making a folder", fault("mkdir,mkdirat:error=EACCES"), "site: Permission denied")):
            with self.subTest(name):
                done = self.try_to_build(*wrapper)
                self.assertEqual((done.returncode, os.listdir()), (1, ["source"]))
                self.assertIn(message, done.stdout + done.stderr)

    def test_starts_with_a_tree_that_builds(self):
        for command in ["init", "tree"], ["build", "tree", "site"], ["check", "tree"], ["check", "site"]:
            done = run(REPO, *command)
            self.assertEqual((done.returncode, done.stderr), (0, ""))
            self.assertNotIn("ZR", done.stdout)
        self.assertIn("isn't empty", run(REPO, "init", "tree").stderr)


unittest.main(argv=sys.argv[:1])

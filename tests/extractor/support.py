"""What the tests of the extractor share: runs of it, and trees written down as tables."""

import os
import stat
import subprocess
import tempfile
import unittest
from pathlib import Path

EXTRACTOR = os.environ["ZEFT_EXTRACTOR"]
EMULATED = "ZEFT_EMULATED" in os.environ  # by qemu, which does not do all that a kernel does


class ExtractorTest(unittest.TestCase):
    """Each test has a folder of its own, removed afterwards whatever permissions it holds."""

    def setUp(self):
        self.home = tempfile.mkdtemp(prefix="zeft-extractor-")
        self.addCleanup(lambda: subprocess.run(["rm", "-rf", self.home], check=True))
        self.addCleanup(lambda: subprocess.run(["chmod", "-R", "u+rwx", self.home], check=True))
        self.target = self.path("target")
        os.mkdir(self.target)
        os.chmod(self.home, 0o755)
        os.chmod(self.target, 0o777)  # for the runs as_user()

    def path(self, *names):
        return os.path.join(self.home, *names)

    def pack(self, tree, line, ending=".archive"):
        """Returns the path of an archive of tree, which the shell's line makes as $1."""
        source = tempfile.mkdtemp(dir=self.home)
        make_tree(source, tree)
        archive = source + " Päckchen" + ending
        shell(line, source, archive)
        return archive

    def run_extractor(self, command, *paths, **options):
        return subprocess.run([EXTRACTOR, command, *("#" + path for path in paths)],
                              stdin=subprocess.DEVNULL, capture_output=True, text=True,
                              errors="replace", timeout=120, **{"cwd": "/usr", **options})

    def start(self, command, **options):
        """Starts a program that does not outlive the test, however that ends."""
        program = self.enterContext(subprocess.Popen(command, **options))
        self.addCleanup(program.kill)
        return program

    def succeed(self, command, *paths, **options):
        run = self.run_extractor(command, *paths, **options)
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        self.assertRegex(run.stdout, r"^([ \d]{2}\d%\n)+$")
        percents = [int(line[:3]) for line in run.stdout.splitlines()]
        self.assertEqual(percents, sorted(percents))
        self.assertEqual(percents.count(100), 1)
        return run

    def refuse(self, text, command, *paths, **options):
        run = self.run_extractor(command, *paths, **options)
        self.assertGreater(run.returncode, 0, run.stderr)
        self.assertLess(run.returncode, 126, run.stderr)
        self.assertRegex(run.stderr, text)
        self.assertNotIn("100%", run.stdout)
        return run


def make_tree(root, tree):
    """Makes {path: (mode, content)}; None as content is a folder, and a mode of None a link."""
    for path, (mode, content) in tree.items():
        place = os.path.join(root, path)
        os.makedirs(place if content is None else os.path.dirname(place), exist_ok=True)
        if mode is None:
            os.symlink(content, place)
        elif content is not None:
            Path(place).write_bytes(content)
    for path, (mode, _) in reversed(tree.items()):
        if mode is not None:
            os.chmod(os.path.join(root, path), mode)


def read_tree(root):
    """The reverse of make_tree()."""
    tree = {}
    for folder, folders, files in os.walk(root):
        for name in folders + files:
            place = os.path.join(folder, name)
            status = os.lstat(place)
            mode, content = stat.S_IMODE(status.st_mode), None
            if stat.S_ISLNK(status.st_mode):
                mode, content = None, os.readlink(place)
            elif not stat.S_ISDIR(status.st_mode):
                content = Path(place).read_bytes()
            tree[os.path.relpath(place, root)] = (mode, content)
    return tree


def as_user():
    """Options of a run without the rights of the superuser."""
    return {"user": 65534, "group": 65534} if os.geteuid() == 0 else {}


def run_on_tmpfs(options, line, place, *arguments):
    """Runs line in a shell that finds a new file system at place, its $1, and the extractor as $0."""
    return subprocess.run(["unshare", "-rm", "sh", "-c", f'mount -t tmpfs -o {options} t "$1"; {line}',
                           EXTRACTOR, place, *arguments], capture_output=True, text=True)


def shell(line, folder, archive):
    """Runs line in the folder, with the archive's path as $1."""
    subprocess.run(["sh", "-ec", line, "sh", archive], cwd=folder, check=True, capture_output=True,
                   env={**os.environ, "LC_ALL": "C.UTF-8"})

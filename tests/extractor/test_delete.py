"""#ddir: everything in the folder goes, nothing else does."""

import os
import resource
import shutil
import subprocess
import unittest

from support import EXTRACTOR, ExtractorTest, as_user, make_tree, read_tree


class Delete(ExtractorTest):
    def test_all_it_holds(self):
        others = {"D": (0o755, None), "D/f": (0o644, b"x")}
        tree = {"C": (0o400, None), "C/f": (0o444, b"x"), "C/.hidden": (0o644, b""),
                "C/shut": (0o000, None), "C/shut/in": (0o444, b"x"), "C/fixed": (0o555, None),
                "C/fixed/empty": (0o755, None), "C/out": (None, "../D"), "C/loop": (None, "."),
                "link": (None, "D"), "link 2": (None, "D"), "dangling": (None, "nothing")}
        make_tree(self.target, {**others, **tree})
        if os.geteuid() == 0:
            subprocess.run(["chown", "-hR", "65534", self.target], check=True)
        for spelling in ("C", "C/", "D/../C//", "missing/../C", "link", "link 2/", "dangling"):
            self.succeed("#ddir", os.path.join(self.target, spelling), **as_user())
            self.assertFalse(os.path.lexists(self.path("target", spelling.rstrip("/"))))
        self.assertEqual(read_tree(self.target), others)

    def test_dangerous_folders_are_refused(self):
        home, work, own = self.path("home"), self.path("work", "downloads"), self.path("own", "bin")
        for folder in (home, work, own):
            make_tree(folder, {"f": (0o644, b"x")})
        shutil.copy(EXTRACTOR, own)
        make_tree(self.home, {"link": (None, home), "slash": (None, "/")})
        before = read_tree(self.home)
        for folder in (home, home + "//", os.path.join(home, "."), work, own, "..",
                       self.path("home", "new", ".."), self.path("own"), self.path("work"),
                       self.home, self.path("link"), self.path("link", ".."), "/",
                       self.path("link", "..", "home"), ".", "//", "/.", "/srv",
                       self.path("slash", "usr", "..")):
            with self.subTest(folder):
                # Should the refusal ever break, the kernel is told to let nothing be deleted.
                run = subprocess.run(["strace", "-qqo", "/dev/null", "-e",
                                      "inject=unlink,unlinkat,rmdir:error=EPERM",
                                      os.path.join(own, "zeft_fextr_cmd"), "#ddir", "#" + folder],
                                     cwd=work, capture_output=True, text=True,
                                     env={"HOME": self.path("link"),
                                          "ASAN_OPTIONS": "detect_leaks=0"})
                self.assertEqual(run.returncode, 1)
                self.assertIn("refusing to delete", run.stderr)
                self.assertEqual(read_tree(self.home), before)

    def test_what_cannot_go_is_told(self):
        other = "another file system is mounted there"
        for name, mount, at, message in (
                ("a file", "mount --bind C/n", "C/m/f", "C/m/f: Device or resource busy"),
                ("all of it", "mount --bind other", "C", other),
                ("a folder", "mount --bind other", "C/m", other)):
            with self.subTest(name):
                make_tree(self.target, {"C/m/f": (0o644, b""), "C/n": (0o644, b""),
                                        "other": (0o755, None)})
                run = subprocess.run(
                    ["unshare", "-rm", "sh", "-ec", f"""{mount} {at}; [ -f {at} ] || touch {at}/g
                     "$0" "#ddir" "#C" || find {at} -type f""", EXTRACTOR],
                    capture_output=True, text=True, cwd=self.target)
                self.assertIn(message, run.stderr)
                self.assertEqual(run.stdout.splitlines()[-1:], [at if "/f" in at else at + "/g"])
                self.assertNotIn("100%", run.stdout)
                self.assertEqual("C/n" in read_tree(self.target), at == "C")

    def test_a_killed_run_leaves_no_whole_component(self):
        make_tree(self.target, {"C/a": (0o644, b""), "C/version.info": (0o644, b"build : 1")})
        subprocess.run(["strace", "-qqo", "/dev/null", "-e", "inject=unlinkat:signal=KILL:when=2",
                        EXTRACTOR, "#ddir", "#" + self.path("target", "C")],
                       env={"ASAN_OPTIONS": "detect_leaks=0"})
        self.assertEqual(list(read_tree(self.path("target", "C"))), ["a"])

    def test_depth_and_number_do_not_matter(self):
        subprocess.run(["python3", "-c", """if True:
            import os
            os.mkdir("C"); os.chdir("C")
            for i in range(3000):
                open(f"a rather long name of a file {i}", "w").close()
            for i in range(5000):
                os.mkdir("d"); os.chdir("d")"""], cwd=self.target, check=True)
        self.succeed("#ddir", self.path("target", "C"),
                     preexec_fn=lambda: (resource.setrlimit(resource.RLIMIT_NOFILE, (100, 100)),
                                         resource.setrlimit(resource.RLIMIT_STACK, (1 << 18,) * 2)))
        self.assertEqual(read_tree(self.target), {})


unittest.main()

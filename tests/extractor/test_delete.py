"""#ddir: everything in the folder goes, nothing else does."""

import os
import shutil
import subprocess
import unittest

from support import EXTRACTOR, ExtractorTest, make_tree, read_tree


class Delete(ExtractorTest):
    def test_all_it_holds(self):
        tree = {"C/f": (0o444, b"x"), "C/.hidden": (0o644, b""), "C/shut/in": (0o444, b"x"),
                "C/shut": (0o000, None), "C/empty": (0o555, None), "D/f": (0o644, b"x")}
        make_tree(self.target, {**tree, "C/out": (None, "../D"), "C/loop": (None, "."),
                                "C/dangling": (None, "nothing")})
        for spelling in ("C", "C/", "D/../C//", "missing/../C"):
            self.succeed("#ddir", os.path.join(self.target, spelling))
            self.assertEqual(read_tree(self.target), {"D": (0o755, None), "D/f": (0o644, b"x")})

    def test_a_link_goes_and_its_target_stays(self):
        make_tree(self.target, {"D/f": (0o644, b"x"), "link": (None, "D")})
        for spelling in ("link", "link/"):
            self.succeed("#ddir", os.path.join(self.target, spelling))
            self.assertEqual(read_tree(self.target), {"D": (0o755, None), "D/f": (0o644, b"x")})

    def test_dangerous_folders_are_refused(self):
        home, work, own = self.path("home"), self.path("work", "downloads"), self.path("own", "bin")
        for folder in (home, work, own):
            make_tree(folder, {"f": (0o644, b"x")})
        shutil.copy(EXTRACTOR, own)
        os.symlink(home, self.path("link"))
        before = read_tree(self.home)
        for folder in (home, home + "//", os.path.join(home, "."), work, own, "..",
                       self.path("home", "new", ".."), self.path("own"), self.path("work"),
                       self.home, self.path("link", ".."), self.path("link", "..", "home"), "."):
            with self.subTest(folder):
                run = subprocess.run([os.path.join(own, "zeft_fextr_cmd"), "#ddir", "#" + folder],
                                     cwd=work, env={"HOME": home}, capture_output=True, text=True)
                self.assertEqual((run.returncode, run.stdout), (1, ""))
                self.assertIn("refusing to delete", run.stderr)
                self.assertEqual(read_tree(self.home), before)

    def test_the_root_is_refused(self):
        make_tree(self.home, {"slash": (None, "/")})
        for folder in ("/", "//", "/.", self.path("slash", "usr", "..")):
            with self.subTest(folder):
                # Should the refusal ever break, the kernel is told to let nothing be deleted.
                run = subprocess.run(["strace", "-qqo", "/dev/null", "-e",
                                      "inject=unlink,unlinkat,rmdir:error=EPERM",
                                      EXTRACTOR, "#ddir", "#" + folder], capture_output=True,
                                     text=True, env={"ASAN_OPTIONS": "detect_leaks=0"})
                self.assertEqual((run.returncode, run.stdout), (1, ""))
                self.assertIn("refusing to delete", run.stderr)


class Usage(ExtractorTest):
    def test_bad_usage_is_told(self):
        for arguments in ([], ["#what"], ["uzip", "#a", "#b"], ["#uzip"], ["#uzip", "#a"],
                          ["#uzip", "#a", "#b", "#c"], ["#uzip", "a", "#b"], ["#uzip", "#", "#b"],
                          ["#xtar", "#a", "b"], ["#ddir"], ["#ddir", "#"], ["#ddir", "/tmp/x"],
                          ["#ddir", "#a", "#b"]):
            with self.subTest(arguments):
                run = subprocess.run([EXTRACTOR, *arguments], capture_output=True, text=True,
                                     cwd=self.home)
                self.assertEqual((run.returncode, run.stdout), (2, ""))
                self.assertIn("usage: zeft_fextr_cmd", run.stderr)


if __name__ == "__main__":
    unittest.main()

"""#rscript: what a script sees, says and leaves behind, and what is left of it after a kill."""

import os
import signal
import subprocess
import time
import unittest
from pathlib import Path

from support import EMULATED, EXTRACTOR, ExtractorTest, make_tree

TREE_OF_PROCESSES = """#!/bin/bash
set -m
trap "" TERM
sleep 1000 & echo $! >> {pids}
setsid sh -c 'sleep 1000 & echo $$ $! >> {pids}; wait' &
(sh -c 'setsid sh -c "sleep 1000 & echo \\$\\$ \\$! >> {pids}; wait" &')
echo $$ >> {pids}
while [ $(wc -w < {pids}) -lt 6 ]; do sleep 0.01; ((SECONDS < 60)) || exit 9; done
echo 50%
"""


def lives(pid):
    try:
        return Path(f"/proc/{pid}/stat").read_text().rsplit(")", 1)[1].split()[0] != "Z"
    except (FileNotFoundError, ProcessLookupError):  # gone before or while it is read
        return False


def holds_in_time(condition):
    return any(condition() or time.sleep(0.01) for _ in range(6000))  # for a minute at most


class Script(ExtractorTest):
    def setUp(self):
        super().setUp()
        self.folder, self.downloads = self.path("größer root", "Comp"), self.path("downloads")
        self.script = os.path.join(self.folder, "zeft_install.sh")
        self.pids = self.path("pids")
        os.mkdir(self.downloads)
        self.addCleanup(self.kill_all)

    def command(self, text, mode=0o755):
        if callable(text):
            subprocess.run(["rm", "-rf", self.script], check=True)
            text(self.script)
        else:
            text = text.replace("{pids}", self.pids).encode()
            make_tree(self.folder, {"zeft_install.sh": (mode, text)})
        return [EXTRACTOR, "#rscript", "#" + self.script, "#" + self.folder, "#mclose"]

    def run_script(self, text, mode=0o755):
        return subprocess.run(self.command(text, mode), cwd=self.downloads, capture_output=True,
                              stdin=subprocess.PIPE, text=True, timeout=60)

    def log(self):
        log = Path(self.downloads, "Comp_install.log")
        return log.read_text() if log.exists() else None

    def started(self):
        return [int(pid) for pid in Path(self.pids).read_text().split()]

    def living(self):
        return [pid for pid in self.started() if lives(pid)]

    def kill_all(self):
        for pid in self.living() if os.path.exists(self.pids) else []:
            os.kill(pid, signal.SIGKILL)

    def test_how_it_is_run(self):
        python = "#!/usr/bin/env python3\nimport os, sys\nprint(os.getcwd(), sys.argv[0])\n"
        shell = 'echo "$PWD $0"; read -r line || echo nothing'
        place = f"{self.folder} {self.script}\n"
        for name, text, mode, said in (
                ("without a first line", shell, 0o755, place + "nothing\n"),
                ("not executable", python, 0o644, place),
                ("not executable, without a first line", shell, 0o644, place + "nothing\n"),
                ("one argument", "#! /usr/bin/printf \t[%s %%]\t", 0o644, f"[{self.script} %]"),
                ("lines that end as on Windows", python.replace("\n", "\r\n"), 0o644, place),
                ("error output, too", "echo error >&2", 0o755, "error\n"),
                ("no signal blocked", "#!/usr/bin/env python3\nimport signal\n"
                 "print(signal.pthread_sigmask(0, ()))", 0o755, "set()\n"),
                ("SIGPIPE not ignored", "sh -c 'kill -PIPE $$' || echo $?", 0o755, "141\n"),
                ("an empty log is removed", "", 0o755, None)):
            with self.subTest(name):
                run = self.run_script(text, mode)
                self.assertEqual((run.returncode, run.stdout, run.stderr, self.log()),
                                 (0, "", "", said))

    def test_it_is_run_without_a_log_and_its_end_seen_by_a_caller_who_ignores_it(self):
        os.mkdir(os.path.join(self.downloads, "Comp_install.log"))
        run = subprocess.run(self.command("echo 50%; sleep 0.2; echo 60%"), cwd=self.downloads,
                             capture_output=True, text=True, timeout=60,
                             preexec_fn=lambda: signal.signal(signal.SIGCHLD, signal.SIG_IGN))
        self.assertEqual((run.returncode, run.stdout, run.stderr),
                         (0, " 50%\n 60%\n", "Comp_install.log: File exists\n"))

    def test_only_percent_lines_are_passed_on(self):
        run = self.run_script(r"""printf '7%%\n 42%% \r\nat 43%%\n101%%\n%%\n-5%%\n1 1%%\n44\n'
                                  printf '%099d%%\n' 1; echo 30%; printf 100%%""")
        self.assertEqual((run.returncode, run.stdout), (0, "  7%\n 42%\n 30%\n100%\n"))

    def test_the_exit_code_tells_of_failure(self):
        for name, text, code, message in (
                ("exit code", "exit 7", 7, "ended with code 7"),
                ("signal", "kill -TERM $$", 143, "ended with code 143"),
                ("no such program", "#!/no/such/program\n", 1, "No such file"),
                ("no script", lambda path: None, 1, "zeft_install.sh: No such file"),
                ("named pipe", os.mkfifo, 1, "zeft_install.sh: not a file")):
            with self.subTest(name):
                run = self.run_script(text)
                self.assertEqual((run.returncode, run.stdout), (code, ""))
                self.assertIn(message, run.stderr)

    def test_services_outlive_a_normal_end(self):
        os.mkfifo(self.pids + ".go")
        run = self.run_script("""(cat {pids}.go; while echo talks; do sleep 0.05; done) &
                                 echo $! > {pids}; setsid sleep 1000 & echo $! >> {pids}""")
        self.assertEqual((run.returncode, run.stderr, self.log()), (0, "", ""))
        Path(self.pids + ".go").write_text("")
        self.assertTrue(holds_in_time(self.log), "the service writes no more")
        self.assertEqual(self.living(), self.started())

    @unittest.skipIf(EMULATED, "qemu lets no process adopt the children of the killed")
    def test_nothing_outlives_a_kill(self):
        run = self.start(self.command(TREE_OF_PROCESSES + "wait"), cwd=self.downloads,
                         stdout=subprocess.PIPE)
        self.assertEqual(run.stdout.readline(), b" 50%\n")
        self.assertEqual(self.living(), self.started())
        run.kill()
        holds_in_time(lambda: not self.living())
        self.assertEqual(self.living(), [])


unittest.main()

"""What the programs answer to whoever starts them by hand, on a machine without a display."""

import os
import pathlib
import re
import subprocess
import sys
import unittest

VERSION, PAGES, *PROGRAMS = sys.argv[1:]
UPDATER, EXTRACTOR, REPOSITORY = PROGRAMS
NO_DISPLAY = {name: value for name, value in os.environ.items()
              if name not in ("DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM")}

# name, command line, variables, exit code, beginning of standard output, all of standard error
NO_WINDOW = "zeft_updater: no window can be opened"
ADVICE = "Start it in a desktop session, or set DISPLAY to an X server that lets you in.\n"
RUNS = [
    ("the last word of many", [UPDATER, "#/nowhere", "-style", "x", "--version"], {}, 0,
     f"zeft_updater {VERSION}\n", ""),
    ("a word too many", [REPOSITORY, "--version", "--x"], {}, 2, "",
     "zeft_repo: a command is missing, see zeft_repo --help\n"),
    ("no display", [UPDATER], {}, 1, "", f"{NO_WINDOW}, as DISPLAY is not set.\n{ADVICE}"),
    ("a display that is not there", [UPDATER, "--x"], {"DISPLAY": ":4711"}, 1, "",
     f"{NO_WINDOW}; tried DISPLAY=:4711.\n{ADVICE}"),
    ("a platform that is not there", [UPDATER], {"QT_QPA_PLATFORM": "x", "DISPLAY": ":1"}, 1, "",
     f"{NO_WINDOW}; tried QT_QPA_PLATFORM=x DISPLAY=:1.\n{ADVICE}"),
]
for program in PROGRAMS:
    name = os.path.basename(program)
    RUNS += [(f"{name}'s version", [program, "--version"], {}, 0, f"{name} {VERSION}\n", ""),
             (f"{name}'s help", [program, "--help"], {}, 0, f"usage: {name} ", "")]

RUNS += [("a command's help", [REPOSITORY, "check", "-h"], {}, 0, "usage: zeft_repo check ", "")]

# program, what it says of the wrong use, command lines
WRONG_USE = [
    (EXTRACTOR, "usage: zeft_fextr_cmd ", [
        [], ["#what"], ["--what"], ["--help", "#a"], ["uzip", "#a", "#b"], ["#uzip"], ["#uzip", "#a"],
        ["#uzip", "#a", "#b", "#c"], ["#uzip", "a", "#b"], ["#uzip", "#", "#b"], ["#xtar", "#a", "b"],
        ["#ddir"], ["#ddir", "#"], ["#ddir", "/tmp/x"], ["#ddir", "#a", "#b"]]),
    (REPOSITORY, "^zeft_repo: .+\n$",
     [[], ["build", "x"], ["check", "x", "y"], ["make"], ["build", "x", "y", "-z"]]),
]


class TestCommandLines(unittest.TestCase):
    def test_answers(self):
        for name, command, variables, code, output, error in RUNS:
            with self.subTest(name):
                run = subprocess.run(command, env={**NO_DISPLAY, **variables}, text=True,
                                     capture_output=True, timeout=120)
                start = run.stdout[:len(output)].replace("Usage:", "usage:")  # as Qt writes it
                self.assertEqual((run.returncode, start, run.stderr), (code, output, error))
                self.assertEqual(bool(run.stdout), bool(output))

    def test_wrong_use_is_told(self):
        for program, said, command_lines in WRONG_USE:
            for words in command_lines:
                with self.subTest(program, words=words):
                    run = subprocess.run([program, *words], capture_output=True, text=True,
                                         cwd="/proc")  # where nothing can be deleted
                    self.assertEqual((run.returncode, run.stdout), (2, ""))
                    self.assertRegex(run.stderr, said)

    def test_man_pages_know_all_of_the_help(self):
        def options(text):
            return set(re.findall(r'"#\w+"?|--\w[-\w]*', text))

        def help_of(*command):
            return subprocess.run([*command, "--help"], capture_output=True, text=True).stdout
        for program in PROGRAMS:
            name = os.path.basename(program)
            page = pathlib.Path(PAGES, name + ".1.in").read_text()
            page = re.sub(r"\\f.", "", page).replace(r"\-", "-").replace(r"\(dq", '"')
            answer = help_of(program)
            usages = answer[len("usage:"):].partition("\n\n")[0].splitlines()
            commands = re.findall("^  ([a-z]+(?: [A-Z]+)+)", answer, re.MULTILINE)
            answer += "".join(help_of(program, command.split()[0]) for command in commands)
            with self.subTest(name):
                self.assertEqual(options(page), options(answer))
                for meaning in re.findall(r"--[-a-z]+ +(\w.*)\.$", answer, re.MULTILINE):
                    self.assertIn(meaning.lower() + "\n", page.lower())
                for line in [*usages, *commands]:
                    self.assertIn("\n.B " + line.strip() + "\n", page)


unittest.main(argv=sys.argv[:1])

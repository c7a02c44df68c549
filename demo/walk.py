#!/usr/bin/python3
"""usage: walk ROOT PICKED SHOTS

Uses the updater of the installation ROOT as a person would: finds its widgets by what a screen
reader is told of them, presses them with the mouse of the X display, and prints the message log as
it grows. The file for the local page lies in PICKED. Numbered screenshots go to SHOTS. Ends with 1
at the first thing that is not as expected.
"""

import os
import pathlib
import subprocess
import sys
import tempfile
import time

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402

LIMIT_S = 60  # for anything that is waited for
KILL_LIMIT_S = 2  # for the processes of a script that was cancelled


class Browser:
    """Stands in for the desktop's browser: it notes what it is to open."""

    def __init__(self):
        self.folder = tempfile.TemporaryDirectory()
        self.opened = pathlib.Path(self.folder.name, "opened")
        program = pathlib.Path(self.folder.name, "xdg-open")
        program.write_text(f"""#!/bin/sh\nprintf '%s' "$*" >'{self.opened}'\n""")
        program.chmod(0o755)
        self.environment = dict(os.environ, PATH=f"{self.folder.name}:{os.environ['PATH']}")


class Updater:
    """The running program, seen through the accessibility bus and touched through the display."""

    def __init__(self, command, shots, environment):
        self.shots = pathlib.Path(shots)
        self.shots.mkdir(parents=True, exist_ok=True)
        self.shot_count = 0
        self.log = None
        self.printed = 0  # characters of the log
        self.mark = 0  # characters of the log that were there at the last press
        # The program ends with the walk, however that ends.
        self.process = subprocess.Popen(
            ["setpriv", "--pdeathsig", "TERM", *command], env=environment)
        # Only a program that has its window hears of the accessibility bus coming up.
        self.wait("the window", self.has_window)
        self.application = self.wait("its widgets", self.find_application)
        self.log = self.wait("the message log", lambda: self.find("text", "> ", Atspi.Text.get_text))

    def has_window(self):
        search = ["xdotool", "search", "--onlyvisible", "--pid", str(self.process.pid)]
        return subprocess.run(search, stdout=subprocess.DEVNULL).returncode == 0

    def find_application(self):
        desktop = Atspi.get_desktop(0)
        desktop.clear_cache()
        for index in range(desktop.get_child_count()):
            child = desktop.get_child_at_index(index)
            if child and child.get_process_id() == self.process.pid and child.get_child_count():
                return child
        return None

    def children(self, above):
        """Those that are showing."""
        for index in range(above.get_child_count()):
            child = above.get_child_at_index(index)
            if child and child.get_state_set().contains(Atspi.StateType.SHOWING):
                yield child

    def dialog(self):
        """The dialogue that stands in front of the window and takes all presses, or None."""
        for window in self.children(self.application):
            if window.get_role_name() in ("alert", "dialog", "file chooser"):
                return window
        return None

    def widgets(self, above=None):
        """All that is showing below a widget, or can be pressed, in the order of the tree."""
        for child in self.children(above or self.dialog() or self.application):
            yield child
            yield from self.widgets(child)

    def find(self, role, start, text_of=lambda widget, *_: widget.get_name()):
        """The first widget of that role whose text begins so."""
        for widget in self.widgets():
            if widget.get_role_name() == role and text_of(widget, 0, -1).startswith(start):
                return widget
        return None

    def wait(self, what, condition):
        """The condition's first value that counts as true."""
        end = time.monotonic() + LIMIT_S
        while time.monotonic() < end:
            if self.process.poll() is not None:
                sys.exit(f"walk: the program ended with {self.process.returncode}")
            try:
                self.print_log()
                value = condition()
                if value:
                    return value
            except GLib.Error:
                pass  # a widget that has just gone, or a program too busy to answer
            time.sleep(0.1)
        self.shoot("failed")
        sys.exit(f"walk: waited in vain for {what}")

    def print_log(self):
        if self.log:
            new = Atspi.Text.get_text(self.log, self.printed, -1)
            self.printed += len(new)
            if new:
                print(new.strip("\n"), flush=True)

    def wait_for_log(self, text):
        """Waits for the text in what the log has gained since the last press."""
        self.wait(f'"{text}"', lambda: text in Atspi.Text.get_text(self.log, self.mark, -1))

    def press(self, role, start, clicks=1):
        self.click(self.wait(f'the {role} "{start}"', lambda: self.find(role, start)), clicks)

    def click(self, widget, clicks=1):
        place = widget.get_extents(Atspi.CoordType.SCREEN)
        # Well within a cell's text, which its middle need not be.
        x = place.x + min(place.width // 2, 40)
        y = place.y + place.height // 2
        self.mark = self.printed
        subprocess.run(["xdotool", "mousemove", str(x), str(y), "click", "--repeat", str(clicks),
                        "--delay", "80", "1"], check=True)
        time.sleep(0.3)

    def wait_for_status(self, component, start):
        """Waits until the cell beside the component's begins so; start may be a tuple of texts."""
        def status():
            cell = self.find("table cell", component)
            beside = cell.get_parent().get_child_at_index(cell.get_index_in_parent() + 1)
            return beside.get_name().startswith(start)
        self.wait(f'"{start}" beside "{component}"', status)

    def shoot(self, name):
        self.shot_count += 1
        path = self.shots / f"{self.shot_count:02}-{name}.png"
        subprocess.run(["import", "-window", "root", path], check=True)

    def enter(self, start, text):
        """Types the text into the field whose label begins so."""
        self.press("text", start)
        subprocess.run(["xdotool", "type", "--delay", "20", text], check=True)
        self.wait(f'"{text}" in the field "{start}"',
                  lambda: Atspi.Text.get_text(self.find("text", start), 0, -1) == text)

    def pick(self, path, shot):
        """Presses "Add" and picks the file in the dialogue."""
        self.press("push button", "Add")
        self.wait("the file dialogue", self.dialog)
        self.enter("File name", str(path))
        self.shoot(shot)

        def is_taken():
            button = self.find("push button", "Open")
            return not button or self.click(button)  # completions may swallow the first press
        self.wait("the file dialogue's end", is_taken)

    def answer(self, question, button, shot):
        """Answers the box that asks so."""
        self.wait(f'the question "{question}"',
                  lambda: self.dialog() and self.find("label", question))
        self.shoot(shot)
        self.press("push button", button)

    def press_close(self):
        """Closes the window by its manager's key."""
        self.mark = self.printed
        subprocess.run(["xdotool", "key", "alt+F4"], check=True)


def expect(condition, text):
    if not condition:
        sys.exit(f"walk: not so: {text}")


class Script:
    """The processes of a component's script, as the system lists them."""

    def __init__(self, component):
        self.component = str(component)

    def processes(self):
        """A line for each that lives: whoever names the script or works in the component."""
        columns = ["ps", "--no-headers", "-eo", "pid,ppid,pgid,sid,stat,args"]
        lines = subprocess.run(columns, stdout=subprocess.PIPE, text=True, check=True).stdout
        return [line for line in lines.splitlines()
                if self.component + "/zeft_install.sh" in line or self.works_here(line.split()[0])]

    def works_here(self, pid):
        try:
            return os.readlink(f"/proc/{pid}/cwd").startswith(self.component)
        except OSError:
            return False  # it has ended, or is another user's

    def is_busy(self):
        """True while it has a child, and that one a child, too."""
        return any(" sleep " in line for line in self.processes())

    def show(self, when):
        print("\n".join([f"The script's processes {when}:", *self.processes()]), flush=True)

    def expect_gone(self, when):
        end = time.monotonic() + KILL_LIMIT_S
        while self.processes() and time.monotonic() < end:
            time.sleep(0.02)
        self.show(when)
        expect(not self.processes(), "the script went with all its processes")


def walk(root, picked, shots):
    browser = Browser()
    updater = Updater([f"{root}/bin_lnx/zeft_updater"], shots, browser.environment)
    updater.shoot("started")
    install_local_file(updater, root, picked)
    open_help(updater, root, browser)
    use_catalogue(updater, root)
    cancel_script(updater, root)
    close_at_work(updater, root)


def install_local_file(updater, root, picked):
    name = "zeft_bsp_zt 1 Prüfstand.hlib.zip"
    file = pathlib.Path(picked, name)
    updater.press("table cell", "Local Update")
    updater.pick(file, "picking")
    updater.wait_for_log(f"File {name} installed.")
    updater.wait_for_status(name, "Installed")
    build = pathlib.Path(root, "hardware/zt 1 Prüfstand/version.info")
    expect(build.is_file() and file.is_file(), "the picked file was unpacked and left in its place")
    updater.shoot("local")

    updater.pick(file, "picking-again")
    updater.answer("The selected component", "Cancel", "installed-already")


def open_help(updater, root, browser):
    updater.press("push button", "Help")
    updater.wait("the browser", lambda: browser.opened.exists() and browser.opened.read_text())
    opened = browser.opened.read_text()
    print(f"The browser was called with {opened}", flush=True)
    page = pathlib.Path(root, "doc/zeft_web_help/topics/Updating.htm")
    expect(page.is_file() and opened == page.as_uri(), "the help page was opened")


def use_catalogue(updater, root):
    zu8 = pathlib.Path(root, "hardware/zu8")
    runtime = pathlib.Path(root, "zeft_core_runtime")
    updater.press("table cell", "Manage Connections")
    updater.press("push button", "Connect")
    updater.wait_for_log("Connected. Select individual items")
    updater.press("table cell", "Update Core")
    updater.wait_for_status("zeft_core_runtime.zip", "Update Available")
    updater.shoot("connected")

    updater.press("table cell", "Update BSPs", clicks=2)
    updater.press("table cell", "8bit/16bit uC", clicks=2)
    updater.press("table cell", "ZU-8 Starter Board")
    updater.press("table cell", "zeft_bsp_zu8.hlib")
    updater.shoot("package")
    updater.press("push button", "Install")
    updater.wait_for_log("File zeft_bsp_zu8.hlib.zip installed.")
    updater.wait_for_status("zeft_bsp_zu8.hlib", "Installed")
    expect((zu8 / "include/board.h").is_file(), "the package was unpacked")
    updater.shoot("installed")

    updater.press("table cell", "Update Core")
    updater.press("table cell", "zeft_core_runtime.zip")
    updater.press("push button", "Install")
    updater.wait_for_status("zeft_core_runtime.zip",
                            tuple(f"Downloading [{tens}" for tens in "3456"))
    updater.shoot("updating")
    updater.press("table cell", "Manage Connections")
    updater.shoot("activity")
    updater.press("table cell", "Update Core")
    updater.wait_for_status("zeft_core_runtime.zip", "Installed")
    expect((runtime / "lib/runtime.img").stat().st_size == 12000000, "the update was unpacked")
    updater.shoot("updated")

    updater.press("table cell", "ZU-8 Starter Board")
    updater.press("table cell", "zeft_bsp_zu8.hlib")
    updater.press("push button", "Uninstall")
    updater.wait_for_status("zeft_bsp_zu8.hlib", "Not Installed")
    expect(not zu8.exists(), "the package was removed")
    updater.shoot("uninstalled")


def run_script(updater, script):
    """Installs the component with a script, to the midst of that."""
    updater.press("table cell", "Update Blocks")
    updater.press("table cell", "zeft_blocks_signal.zip")
    updater.press("push button", "Install")
    updater.wait_for_log("Running post installation script.")
    updater.wait("the script", script.is_busy)


def cancel_script(updater, root):
    component = pathlib.Path(root, "zeft_blocks_signal")
    script = Script(component)
    run_script(updater, script)
    updater.wait_for_status("zeft_blocks_signal.zip", "Installing [")
    updater.press_close()
    updater.answer("Some components are installing", "Cancel", "closing-mid-script")
    updater.wait_for_status("zeft_blocks_signal.zip",
                            tuple(f"Installing [{tens}0%" for tens in "3456789"))
    updater.shoot("script")
    updater.wait_for_status("zeft_blocks_signal.zip", "Installed")
    expect((component / "tables/sine10.txt").is_file(), "the script came to its end")
    updater.shoot("script-ended")

    run_script(updater, script)
    script.show("before the cancel")
    updater.press("push button", "Cancel")
    updater.answer("The selected component is currently installing", "Yes", "cancelling")
    script.expect_gone(f"within {KILL_LIMIT_S} s of the cancel")
    updater.wait_for_status("zeft_blocks_signal.zip", "Not Installed")
    left = [path.name for path in pathlib.Path(root, "downloads").glob("zeft_*.zip*")]
    expect(not component.exists() and not left, "nothing of the cancelled component is left")
    updater.shoot("cancelled")


def close_at_work(updater, root):
    script = Script(pathlib.Path(root, "zeft_blocks_signal"))
    updater.press("table cell", "Update Core")
    updater.press("table cell", "zeft_core_runtime.zip")
    updater.press("push button", "Install")
    updater.wait_for_status("zeft_core_runtime.zip", "Downloading [")
    updater.press("push button", " Pause Downloads")
    run_script(updater, script)
    script.show("before the close")
    updater.press_close()
    updater.answer("Some components are installing", "Yes", "closing")
    updater.answer("Some components are downloading", "Yes", "closing-mid-download")
    expect(updater.process.wait(LIMIT_S) == 0, "the program ended well")
    script.expect_gone(f"within {KILL_LIMIT_S} s of the close")
    partial = pathlib.Path(root, "downloads/zeft_core_runtime.zip.dnl")
    expect(partial.is_file(), "the next run can go on with the download")


if __name__ == "__main__":
    if len(sys.argv) != 4:
        print("usage: walk ROOT PICKED SHOTS", file=sys.stderr)
        sys.exit(2)
    walk(*sys.argv[1:])

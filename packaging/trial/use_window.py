"""usage: use_window DESKTOP_ENTRY|INSTALLATION

Starts the updater by its desktop entry, or that of an installation, and uses it by keyboard alone:
connects, installs a component and uninstalls it, cancels another one, closes the window. Fails on a
stop of the Tab key that a screen reader has no name for.
"""

import configparser
import os
import shlex
import subprocess
import sys
import tempfile
import time

from walk import Atspi, GLib, Updater, expect

QUICK = "zeft_blocks_basic.zip"
SLOW = "zeft_core_runtime.zip"  # a few seconds of download


class KeyboardUser(Updater):
    def key(self, *keys):
        self.mark = self.printed
        subprocess.run(["xdotool", "key", "--delay", "50", *keys], check=True)

    def listen(self):
        """Has self.focus follow the focus, as a screen reader does."""
        self.focus = None

        def follow(event):
            if event.detail1:  # not for the widget that loses it
                self.focus = event.source

        self.listener = Atspi.EventListener.new(follow)
        self.listener.register("object:state-changed:focused")

    def stop(self):
        """Role and name of the widget with the focus; of a table's cell, those of the table."""
        while GLib.MainContext.default().iteration(False):
            pass
        widget = self.focus
        while widget and widget.get_role_name() == "table cell":
            widget = widget.get_parent()
        return widget and (widget.get_role_name(), widget.get_name())

    def go_to(self, role, start):
        """Presses Tab until a widget of that role whose name begins so has the focus."""
        stops = [self.wait("the focus", self.stop)]
        while not (stops[-1][0] == role and stops[-1][1].startswith(start)):
            self.key("Tab")
            stops.append(self.wait("the next stop",
                                   lambda: self.stop() != stops[-1] and self.stop()))
            expect(stops[-1][1], f"each of {stops} has a name")
            expect(stops[-1] != stops[0], f'"{start}" is among the stops {stops}')
        print(stops, flush=True)

    def choose(self, page, component):
        """Shows the page, and makes the component's row the current one."""
        self.go_to("tree", "")
        self.key("Home")
        subprocess.run(["xdotool", "type", "--delay", "50", page], check=True)
        self.wait(f'the page "{page}"', lambda: self.find("table cell", component))
        self.go_to("table", "")
        self.key("Down", "ctrl+Home")  # from row to row, or nothing would be told

        def is_there():
            return self.stop() and self.focus.get_name().startswith(component)
        self.wait(f'the row "{component}"', lambda: is_there() or self.key("Down"))

    def press_button(self, name):
        self.go_to("push button", name)
        self.key("Return")


def command(place):
    if os.path.isdir(place):
        return [place + "/bin_lnx/zeft_updater"], place
    entry = configparser.RawConfigParser()
    entry.read(place)
    words = shlex.split(entry["Desktop Entry"]["Exec"])
    return words, words[-1].removeprefix("#")


words, root = command(sys.argv[1])
print("Starts", words, flush=True)
manager = subprocess.Popen(["setpriv", "--pdeathsig", "TERM", "openbox"])  # gives windows the focus
while subprocess.run(["xdotool", "get_num_desktops"], capture_output=True).returncode:
    expect(manager.poll() is None, "a manager of windows runs")
    time.sleep(0.1)
with tempfile.TemporaryDirectory() as shots:
    user = KeyboardUser(words, shots, os.environ)
    user.listen()
    user.wait_for_log("Program started.")
    user.key("Tab")
    user.press_button("Connect")
    user.wait_for_log("Connected. Select individual items")

    user.choose("Update Blocks", QUICK)
    user.press_button("Install")
    user.wait_for_log(f"File {QUICK} installed.")
    user.wait_for_status(QUICK, "Installed")
    expect(os.path.isfile(root + "/zeft_blocks_basic/version.info"), "the component was unpacked")
    user.press_button("Uninstall")
    user.wait_for_status(QUICK, "Not Installed")
    expect(not os.path.exists(root + "/zeft_blocks_basic"), "the component was removed")

    user.choose("Update Core", SLOW)
    user.press_button("Install")
    user.wait_for_status(SLOW, "Downloading [")
    user.press_button("Cancel")
    user.wait_for_status(SLOW, "Not Installed")
    user.key("alt+F4")
    user.process.wait()

"""usage: use_window DESKTOP_ENTRY|INSTALLATION

Starts the updater by its desktop entry, or that of an installation, and uses it by keyboard alone:
connects, sees each page, installs a component and uninstalls it, cancels another one, closes the
window. Prints what a screen reader is told of each page, and fails on a widget without a name.
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
NAMED = ("check box", "combo box", "label", "list", "progress bar", "push button", "table", "text",
         "tree")


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

    def is_at(self, row):
        return self.stop() and self.focus.get_name().startswith(row)

    def show(self, page):
        self.go_to("tree", "")
        self.key("Home")
        subprocess.run(["xdotool", "type", "--delay", "50", page], check=True)
        self.wait(f'the page "{page}"', lambda: self.is_at(page))

    def choose(self, page, component):
        """Shows the page, and makes the component's row the current one."""
        self.show(page)
        self.go_to("table", "")
        self.key("Down", "ctrl+Home")  # from row to row, or nothing would be told
        self.wait(f'the row "{component}"', lambda: self.is_at(component) or self.key("Down"))

    def see_pages(self):
        """Looks at the page of each row of the tree."""
        self.show("Update BSPs")
        self.key("asterisk", "Home")  # opens all that is below it
        self.wait("the first row", lambda: self.is_at("Manage Connections"))
        tree = self.find("tree", "Pages")
        children = [tree.get_child_at_index(index) for index in range(tree.get_child_count())]
        for row in [cell.get_name() for cell in children if cell.get_role_name() == "table cell"]:
            self.wait(f'the row "{row}"', lambda: self.is_at(row))
            self.look(row)
            self.key("Down")

    def look(self, page):
        """Prints all widgets of the window that are showing."""
        lines, nameless = [], []

        def describe(above, indent):
            for widget in self.children(above):
                role, name = widget.get_role_name(), widget.get_name()
                lines.append(f"{indent}{role}, {name!r}, {widget.get_description()!r}")
                is_stop = widget.get_state_set().contains(Atspi.StateType.FOCUSABLE)
                if not name and (role in NAMED or is_stop and role != "table cell"):
                    nameless.append(lines[-1].strip())
                describe(widget, indent + "  ")

        describe(self.application, "  ")
        print(f'The page "{page}": {len(lines)} widgets', *lines, sep="\n", flush=True)
        expect(not nameless, f"each of {nameless} has a name")

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
    user.look("Manage Connections, not connected")
    user.key("Tab")
    user.press_button("Connect")
    user.wait_for_log("Connected. Select individual items")
    user.see_pages()

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

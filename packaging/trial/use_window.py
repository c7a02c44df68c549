"""usage: use_window DESKTOP_ENTRY|INSTALLATION

Starts the updater by its desktop entry, or that of an installation; connects, installs a component
and uninstalls it.
"""

import configparser
import os
import shlex
import signal
import sys
import tempfile

from walk import Updater, expect

COMPONENT = "zeft_blocks_basic.zip"


def command(place):
    if os.path.isdir(place):
        return [place + "/bin_lnx/zeft_updater"], place
    entry = configparser.RawConfigParser()
    entry.read(place)
    words = shlex.split(entry["Desktop Entry"]["Exec"])
    return words, words[-1].removeprefix("#")


words, root = command(sys.argv[1])
print("Starts", words, flush=True)
with tempfile.TemporaryDirectory() as shots:
    updater = Updater(words, shots, os.environ)
    updater.wait_for_log("Program started.")
    updater.press("table cell", "Manage Connections")
    updater.press("push button", "Connect")
    updater.wait_for_log("Connected. Select individual items")
    updater.press("table cell", "Update Blocks")
    updater.press("table cell", COMPONENT)
    updater.press("push button", "Install")
    updater.wait_for_log(f"File {COMPONENT} installed.")
    updater.wait_for_status(COMPONENT, "Installed")
    expect(os.path.isfile(root + "/zeft_blocks_basic/version.info"), "the component was unpacked")
    updater.press("push button", "Uninstall")
    updater.wait_for_status(COMPONENT, "Not Installed")
    expect(not os.path.exists(root + "/zeft_blocks_basic"), "the component was removed")
    updater.process.send_signal(signal.SIGTERM)
    updater.process.wait()

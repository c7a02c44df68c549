"""Makes the program of this folder that measures the updater's library from within."""

import os
import subprocess

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))


def command(name):
    """The command of the bench. Needs the release's configuration."""
    release = f"{ROOT}/build/release"
    subprocess.check_call(["cmake", "--build", release, "--target", "zeft_bench"],
                          stdout=subprocess.DEVNULL)
    return [f"{release}/bench/zeft_bench", name]

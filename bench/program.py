"""Makes the programs of this folder that measure the updater's library from within."""

import os
import subprocess

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))


def build(name):
    """The path of the program. Needs the release's configuration."""
    release = f"{ROOT}/build/release"
    subprocess.check_call(["cmake", "--build", release, "--target", f"zeft_bench_{name}"],
                          stdout=subprocess.DEVNULL)
    return f"{release}/bench/zeft_bench_{name}"

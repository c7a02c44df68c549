"""Makes the programs of this folder."""

import os
import subprocess

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))


def made(target):
    """Builds the target in the release, which must be configured, and gives its path."""
    release = f"{ROOT}/build/release"
    subprocess.check_call(["cmake", "--build", release, "--target", target],
                          stdout=subprocess.DEVNULL)
    return f"{release}/bench/{target}"


def command(name):
    """The command of the bench that measures the updater's library from within."""
    return [made("zeft_bench"), name]

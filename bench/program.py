"""Makes the programs of this folder that measure the updater's library from within."""

import os
import subprocess

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))


def build(name, folder, *modules):
    """The path of the program in the folder. Needs the release build."""
    program = os.path.join(folder, name)
    flags = subprocess.check_output(["pkg-config", "--cflags", "--libs", *modules], text=True)
    subprocess.check_call(
        ["c++", "-std=c++17", "-O2", "-fPIC", "-fno-access-control", "-I", f"{ROOT}/Updater",
         f"{ROOT}/bench/{name}.cpp", f"{ROOT}/build/release/Updater/libzeft_updater_core.a",
         "-o", program, *flags.split()])
    return program

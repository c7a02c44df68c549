"""Makes the programs of this folder that measure the updater's library from within."""

import os
import subprocess

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))


def build(name, folder, *modules):
    """The path of the program in the folder. Needs the release build."""
    program = os.path.join(folder, name)
    flags = subprocess.check_output(["pkg-config", "--cflags", "--libs", *modules], text=True)
    release = f"{ROOT}/build/release"
    subprocess.check_call(
        ["c++", "-std=c++17", "-O2", "-fPIC", "-fno-access-control", "-I", ROOT,
         "-I", f"{ROOT}/Updater",
         "-I", f"{release}/Updater/zeft_updater_core_autogen/include",
         f"{ROOT}/bench/{name}.cpp", f"{release}/Updater/libzeft_updater_core.a",
         f"{release}/Repository/libzeft_repository.a", "-o", program, *flags.split()])
    return program

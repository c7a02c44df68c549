"""Virtual displays for the benches that open windows."""

import contextlib
import os
import subprocess


@contextlib.contextmanager
def virtual(folder):
    """Runs a display, and gives the environment of a program whose window opens on it.

    The pointer lies where the window will be.
    """
    read, write = os.pipe()
    xvfb = subprocess.Popen(["Xvfb", "-displayfd", str(write), "-screen", "0", "800x600x24",
                             "-nolisten", "tcp", "-noreset"],
                            pass_fds=[write], stderr=subprocess.DEVNULL)
    try:
        number = os.read(read, 16).decode().strip()
        environment = dict(os.environ, DISPLAY=f":{number}", XDG_RUNTIME_DIR=folder,
                           LC_ALL="C.UTF-8")
        subprocess.check_call(["xdotool", "mousemove", "200", "200"], env=environment)
        yield environment
    finally:
        xvfb.terminate()
        xvfb.wait()


def without_opengl(environment):
    """The environment that the updater's main() makes of it."""
    return dict(environment, QT_XCB_GL_INTEGRATION="none")

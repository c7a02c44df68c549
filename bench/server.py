"""nginx as the server of a repository."""

import contextlib
import socket
import subprocess
import sys
import time

import program


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def wait_until_it_accepts(port):
    for _ in range(100):
        try:
            socket.create_connection(("127.0.0.1", port)).close()
            return
        except ConnectionRefusedError:
            time.sleep(0.1)
    sys.exit("nginx does not start")


@contextlib.contextmanager
def served(site, prefix):
    """The port on which nginx serves the site."""
    port = free_port()
    server = subprocess.Popen([f"{program.ROOT}/demo/serve.sh", site, prefix, str(port)])
    try:
        wait_until_it_accepts(port)
        yield port
    finally:
        server.terminate()
        server.wait()

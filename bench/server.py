"""nginx as the server of a repository, and a line of some length before it."""

import asyncio
import contextlib
import socket
import subprocess
import sys
import threading
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


async def carry(reader, writer, delay):
    """Delays each piece by the line's latency, without a limit to how much is on its way."""
    loop, queue = asyncio.get_running_loop(), asyncio.Queue()

    async def deliver():
        while True:
            due, data = await queue.get()
            await asyncio.sleep(due - loop.time())
            if not data or writer.is_closing():
                writer.close()
                return
            writer.write(data)

    delivery = asyncio.create_task(deliver())
    data = True
    while data:
        try:
            data = await reader.read(1 << 16)
        except ConnectionError:
            data = b""
        queue.put_nowait((loop.time() + delay, data))
    await delivery


def relay(port, delay):
    """A port that leads to the given one, with the delay in seconds each way, until we end."""

    async def connect(reader, writer):
        far_reader, far_writer = await asyncio.open_connection("127.0.0.1", port)
        await asyncio.gather(carry(reader, far_writer, delay), carry(far_reader, writer, delay))

    loop = asyncio.new_event_loop()
    server = loop.run_until_complete(asyncio.start_server(connect, "127.0.0.1", 0))
    threading.Thread(target=loop.run_forever, daemon=True).start()
    return server.sockets[0].getsockname()[1]

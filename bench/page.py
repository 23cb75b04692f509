"""Measures what an open control page costs the daemon."""

import base64
import contextlib
import os
import re
import socket
import threading

from figures import Figure, Runs, Target
from pipes import measure
from subjects import Board, Daemon, Process, connect_tcp, free_port, wait_until

WITHOUT = "no page"
STATE = "Page in the browser"

# Frames of RFC 6455: final text and binary frames; a client's are masked, here with zeros.
TEXT_FRAME = b"\x81"
MASKED = 0x80
SIZE_IN_TWO_BYTES = 126  # 127: in eight


class Viewer:
    """Acts as a browser: reads the live picture as fast as possible, and the state."""

    def __init__(self, port, token):
        self._port = port
        self._token = token
        self.pictures = 0
        self._sockets = [self._open("/events"), self._open("/picture")]
        for each, take in zip(self._sockets, (self._ignore, self._look)):
            threading.Thread(target=take, args=(each,), daemon=True).start()

    def __enter__(self):
        return self

    def __exit__(self, *failure):
        for each in self._sockets:
            with contextlib.suppress(OSError):
                each.shutdown(socket.SHUT_RDWR)
            each.close()

    def _open(self, path):
        client = wait_until(lambda: connect_tcp(self._port),
                            f"the page's server at port {self._port}")
        key = base64.b64encode(os.urandom(16)).decode()
        client.sendall(f"GET {path}?token={self._token} HTTP/1.1\r\nHost: 127.0.0.1:{self._port}\r\n"
                       "Connection: Upgrade\r\nUpgrade: websocket\r\nSec-WebSocket-Version: 13\r\n"
                       f"Sec-WebSocket-Key: {key}\r\n\r\n".encode())
        answer = b""
        while not answer.endswith(b"\r\n\r\n"):  # the rest is the first message
            answer += client.recv(1)
        if b" 101 " not in answer.split(b"\r\n", 1)[0]:
            raise RuntimeError(f"{path}: {answer!r}")
        return client

    def _ignore(self, client):
        with contextlib.suppress(OSError):
            while client.recv(1 << 16):
                pass

    def _look(self, client):
        stream = client.makefile("rb")
        with contextlib.suppress(OSError, ValueError):
            while True:
                client.sendall(TEXT_FRAME + bytes([MASKED | 4]) + bytes(4) + b"next")
                head = stream.read(2)
                if len(head) < 2:
                    return
                size = head[1]
                if size >= SIZE_IN_TWO_BYTES:
                    size = int.from_bytes(stream.read(2 if size == SIZE_IN_TWO_BYTES else 8), "big")
                stream.read(size)
                self.pictures += 1


def token_in(path):
    """Waits for the address that the page's server prints; returns its token."""
    def find():
        with open(path, encoding="utf-8") as said:
            return re.search(r"\?token=(\w+)\n", said.read())
    return wait_until(find, "the page's address")[1]


@contextlib.contextmanager
def looked_at(bench, board):
    """Keeps the board's page open until the block ends."""
    port = free_port()
    words, environment = bench.front_door(board.folder, "page", "--port", port)
    said = board.at("web.out")
    with Process(words, said, environment), Viewer(port, token_in(said)) as viewer:
        wait_until(lambda: viewer.pictures > 0, "a picture in the page")
        yield viewer


def page(bench):
    """Measures the live view alternately without and with an open page."""
    runs = Runs()
    with Board(bench, "page") as board, Daemon(bench, board) as daemon:
        board.wait_for_frame(daemon)
        for _ in range(bench.rounds):
            measure(bench, board, daemon, STATE, WITHOUT, runs)
            with looked_at(bench, board) as viewer:
                before = viewer.pictures
                measure(bench, board, daemon, STATE, "vtrdc", runs)
                seconds = bench.seconds + bench.settle_seconds
                runs.add("pictures", (viewer.pictures - before) / seconds)

    def figure(name, unit, key, target=None):
        return Figure(STATE, name, unit, runs[STATE, "vtrdc", key], WITHOUT,
                      runs[STATE, WITHOUT, key], target)

    return [
        figure("daemon's processor time a second of video", "ms", "cpu",
               Target("ratio", "<=", 1.05)),
        figure("camera to panel, 99th percentile", "ms", "p99", Target("difference", "<=", 1)),
        figure("pictures that the panel misses", "pictures", "missed", Target("value", "<=", 0)),
        Figure(STATE, "pictures a second in the page", "", runs["pictures"]),
    ]

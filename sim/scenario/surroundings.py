"""A sight's network peers: a server for the push, viewers of the stream."""

import contextlib
import socket
import threading

READ_SIZE = 65536


def free_port() -> int:
    """Returns an unused port of this machine."""
    with socket.create_server(("127.0.0.1", 0)) as listener:
        return listener.getsockname()[1]


class PushServer:
    """Accepts a push; answers only "100 Continue"."""

    def __init__(self, port: int) -> None:
        self.bytes = 0
        self.connections = 0
        self._listener = socket.create_server(("127.0.0.1", port), reuse_port=False)
        self._open: list[socket.socket] = [self._listener]
        threading.Thread(target=self._accept, daemon=True).start()

    def _accept(self) -> None:
        with contextlib.suppress(OSError):
            while True:
                connection, _ = self._listener.accept()
                self.connections += 1
                self._open.append(connection)
                threading.Thread(target=self._read, args=(connection,), daemon=True).start()

    def _read(self, connection: socket.socket) -> None:
        with contextlib.suppress(OSError):
            begun = b""
            while b"\r\n\r\n" not in begun:
                begun += connection.recv(READ_SIZE)
            if b"expect: 100-continue" in begun.lower():
                connection.sendall(b"HTTP/1.1 100 Continue\r\n\r\n")
            while data := connection.recv(READ_SIZE):
                self.bytes += len(data)

    def close(self) -> None:
        for each in self._open:
            with contextlib.suppress(OSError):
                each.shutdown(socket.SHUT_RDWR)
            each.close()


class Viewer:
    """Reads the TCP stream until it ends."""

    def __init__(self, port: int) -> None:
        self.bytes = 0
        self.is_connected = True
        self._connection = socket.create_connection(("127.0.0.1", port), timeout=10)
        self._connection.settimeout(None)
        threading.Thread(target=self._read, daemon=True).start()

    def _read(self) -> None:
        with contextlib.suppress(OSError):
            while data := self._connection.recv(READ_SIZE):
                self.bytes += len(data)
        self.is_connected = False

    def close(self) -> None:
        with contextlib.suppress(OSError):
            self._connection.shutdown(socket.SHUT_RDWR)
        self._connection.close()


class Deaf:
    """One that is connected and never reads."""

    def __init__(self, connection: socket.socket) -> None:
        self._connection = connection

    def close(self) -> None:
        with contextlib.suppress(OSError):
            self._connection.shutdown(socket.SHUT_RDWR)
        self._connection.close()


class DeafViewer(Deaf):
    def __init__(self, port: int) -> None:
        super().__init__(socket.create_connection(("127.0.0.1", port), timeout=10))


class DeafClient(Deaf):
    """Sends requests for as long as they are taken."""

    REQUEST = b"c:print_config:n:".ljust(2048)  # one by its size, so that each is answered

    def __init__(self, path: str) -> None:
        connection = socket.socket(socket.AF_UNIX)
        connection.connect(path)
        super().__init__(connection)
        threading.Thread(target=self._send, daemon=True).start()

    def _send(self) -> None:
        with contextlib.suppress(OSError):
            while True:
                self._connection.sendall(self.REQUEST)

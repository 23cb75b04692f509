"""Programs to measure: the daemon on a board, and what it is compared with."""

import contextlib
import dataclasses
import os
import pathlib
import signal
import socket
import subprocess
import threading
import time

# Exported by scripts/bench --elements: the folder, and the stand-ins that it replaces.
OTHERS_FOLDER = "VTRDC_SIM_ELEMENTS"
OTHERS_VARIABLES = (OTHERS_FOLDER, "VTRDC_SIM_WITHOUT")

ASK_DAEMON = "c:get_lum:n:"
ASK_REDIS = "*1\r\n$4\r\nPING\r\n"

WAIT_LIMIT_SECONDS = 30
STOP_LIMIT_SECONDS = 10
FRAMES_PER_SECOND = 30
FRAME_NS = 1e9 / FRAMES_PER_SECOND
# Larger than an MP4 file's header, smaller than its first key frame.
FILE_HEAD_BYTES = 1024


def wait_until(reached, what):
    """Polls each millisecond until the result is true, and returns it."""
    end = time.monotonic() + WAIT_LIMIT_SECONDS
    while not (result := reached()):
        if time.monotonic() > end:
            raise TimeoutError(f"timed out waiting for {what}")
        time.sleep(0.001)
    return result


def connect(path):
    """A connection to a Unix socket; None while nobody listens."""
    client = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
    try:
        client.connect(str(path))
        return client
    except (FileNotFoundError, ConnectionRefusedError):
        client.close()
        return None


def connect_tcp(port):
    """A connection to a port of this machine; None while nobody listens."""
    with contextlib.suppress(ConnectionRefusedError):
        return socket.create_connection(("127.0.0.1", port))


def free_port():
    with socket.socket() as listener:
        listener.bind(("127.0.0.1", 0))
        return listener.getsockname()[1]


@dataclasses.dataclass(frozen=True)
class Bench:
    """Paths, and how long and how often to measure."""

    source: pathlib.Path
    build: pathlib.Path
    work: pathlib.Path
    registry: pathlib.Path
    others: dict  # environment in which other plug-ins replace stand-ins; may be empty
    rounds: int
    seconds: float  # of pipes, a round
    settle_seconds: float  # before that
    ask_seconds: float  # of each server, a round
    idle_seconds: float
    soak_minutes: int

    def program(self, name):
        return self.build / "bench" / name

    def front_door(self, folder, *words):
        """The command line and environment of scripts/sim for a board."""
        return ([self.source / "scripts/sim", *words, "--board", folder],
                os.environ | {"VTRDC_BUILD_DIR": str(self.build)})

    def plugin_environment(self, others=False):
        """GStreamer's plug-in path and registry for stand-ins and tracer, optionally with the other
        plug-ins."""
        path = f"{self.build}/sim/plugins:{self.build}/bench/plugins"
        if not others:
            return {"GST_PLUGIN_PATH": path, "GST_REGISTRY": str(self.registry)}
        return self.others | {"GST_PLUGIN_PATH": f"{self.others[OTHERS_FOLDER]}:{path}",
                              "GST_REGISTRY": f"{self.registry}.others"}


class Process:
    """A program that runs until the end of the `with` block; its output goes to a file."""

    def __init__(self, words, output, environment=None):
        self.output = pathlib.Path(output)
        with open(self.output, "wb") as file:
            self.started_ns = time.monotonic_ns()
            self._child = subprocess.Popen([str(word) for word in words], env=environment,
                                           stdin=subprocess.DEVNULL, stdout=file,
                                           stderr=subprocess.STDOUT)
        self.pid = self._child.pid

    def __enter__(self):
        return self

    def __exit__(self, *failure):
        self.stop(signal.SIGTERM)

    def stop(self, number):
        """Ends it if it is running: by SIGTERM, then by SIGKILL."""
        if self._child.poll() is None:
            self._child.send_signal(number)
        try:
            self._child.wait(STOP_LIMIT_SECONDS)
        except subprocess.TimeoutExpired:
            self._child.kill()
            self._child.wait()

    def interrupt(self):
        self._child.send_signal(signal.SIGINT)

    def wait(self):
        if self._child.wait(WAIT_LIMIT_SECONDS) != 0:
            raise RuntimeError(f"{self.output}: {self.output.read_text()}")

    def check_runs(self):
        if self._child.poll() is not None:
            raise RuntimeError(f"ended early: {self.output.read_text()}")

    def cpu_seconds(self):
        """CPU time of all threads, including ended ones, in nanoseconds."""
        per_process_clock = (~self.pid << 3) | 2  # as clock_getcpuclockid does
        return time.clock_gettime(per_process_clock)

    def main_thread_ns(self):
        """CPU time of its main thread only."""
        statistics = pathlib.Path(f"/proc/{self.pid}/task/{self.pid}/schedstat").read_text()
        return int(statistics.split()[0])

    def memory_mib(self):
        """Proportional set size: shared pages count in part."""
        rollup = pathlib.Path(f"/proc/{self.pid}/smaps_rollup").read_text()
        kib = next(line.split()[1] for line in rollup.splitlines() if line.startswith("Pss:"))
        return int(kib) / 1024

    def wake_ups(self):
        """How often its main thread has gone to sleep."""
        status = pathlib.Path(f"/proc/{self.pid}/task/{self.pid}/status").read_text()
        return int(status.split("\nvoluntary_ctxt_switches:")[1].split()[0])

    def has_open(self, name):
        with contextlib.suppress(FileNotFoundError):
            for entry in os.scandir(f"/proc/{self.pid}/fd"):
                with contextlib.suppress(FileNotFoundError):
                    if os.readlink(entry.path).endswith(name):
                        return True
        return False


class Server(Process):
    """A server on a Unix socket."""

    def __init__(self, words, path, output):
        super().__init__(words, output)
        self.socket_path = path

    def wait_for_answer(self, request):
        """Milliseconds from its start to its first answer."""
        def connected():
            self.check_runs()
            return connect(self.socket_path)

        with wait_until(connected, f"a listener at {self.socket_path}") as client:
            client.sendall(request)
            client.recv(4096)
        return (time.monotonic_ns() - self.started_ns) / 1e6


def start_echo(bench):
    path = bench.work / "echo.socket"
    return Server([bench.program("bench_echo"), path], path, bench.work / "echo.out")


def start_redis(bench):
    path = bench.work / "redis.socket"
    return Server(["redis-server", "--port", "0", "--save", "", "--unixsocket", path,
                   "--dir", bench.work], path, bench.work / "redis.out")


class Board:
    """A simulated board, and the environment for GStreamer programs on it."""

    def __init__(self, bench, name, settings="", others=False):
        self.folder = bench.work / name
        words, environment = bench.front_door(self.folder, "layout")
        subprocess.run(words, check=True, env=environment)
        (self.folder / "etc/vtrdc.conf").write_text(settings)
        # Keep the buttons' FIFO open, so that opening it never blocks.
        self._fifo = os.open(self.folder / "dev/input/event1", os.O_RDWR | os.O_CLOEXEC)
        self.frames_file = self.folder / "frames"
        self.environment = os.environ | bench.plugin_environment(others) | {
            "VTRDC_SYSROOT": str(self.folder),
            "PATH": f"{self.folder}/usr/bin:{os.environ['PATH']}",
            "LC_ALL": "C.UTF-8",
            "GST_TRACERS": "panelframes",
            "VTRDC_BENCH_FRAMES": str(self.frames_file),
        }

    def __enter__(self):
        return self

    def __exit__(self, *failure):
        os.close(self._fifo)

    def at(self, path):
        return self.folder / path

    def clear_logs(self):
        for log in (self.at("var/log/overlay.log"), self.frames_file):
            log.unlink(missing_ok=True)

    def videos(self):
        folder = self.at("media/video")
        return sorted(folder.iterdir()) if folder.is_dir() else []

    def wait_for_recorded_frame(self):
        """Waits for a recording with a picture in it; returns its file."""
        def begun():
            return next((file for file in self.videos()
                         if file.stat().st_size > FILE_HEAD_BYTES), None)

        return wait_until(begun, "a picture in a recording")

    def frames(self):
        """When each picture was due at the camera and when it was on the panel, in ns."""
        lines = self.frames_file.read_text().splitlines() if self.frames_file.exists() else []
        return [tuple(map(int, line.split())) for line in lines if line.count(" ") == 1]

    def wait_for_frame(self, process):
        """Milliseconds from the process's start to its first picture on the panel."""
        def shown():
            process.check_runs()
            return next((frame[1] for frame in self.frames() if frame[1] > process.started_ns),
                        None)

        return (wait_until(shown, "a picture on the panel") - process.started_ns) / 1e6


class Daemon(Server):
    """The daemon on a board."""

    def __init__(self, bench, board):
        Process.__init__(self, [bench.build / "vtrdc"], board.at("daemon.out"), board.environment)
        self.socket_path = board.at("run/vtrdc.socket")
        self._client = None

    def __exit__(self, *failure):
        if self._client:
            self._client.close()
        super().__exit__(*failure)

    def ask(self, command, data=""):
        """Returns the answer's time in milliseconds."""
        if self._client is None:
            self._client = wait_until(lambda: connect(self.socket_path), "the command socket")
        start = time.monotonic_ns()
        self._client.sendall(f"c:{command}:s:{data}".encode())
        answer = self._client.recv(65536).decode()
        if not answer.startswith("r"):
            raise RuntimeError(f"{command}: {answer!r}; {self.output.read_text()}")
        return (time.monotonic_ns() - start) / 1e6

    def wait_for_log(self, text):
        wait_until(lambda: text in self.output.read_text(), f"the log's {text!r}")


class Reader:
    """Reads a TCP stream and discards it."""

    def __init__(self, port):
        self._client = wait_until(lambda: connect_tcp(port), f"a stream at port {port}")
        self._received = 0
        self._thread = threading.Thread(target=self._read, daemon=True)
        self._thread.start()

    def _read(self):
        with contextlib.suppress(OSError):
            while taken := self._client.recv(1 << 16):
                self._received += len(taken)

    def wait_for_data(self):
        wait_until(lambda: self._received, "data of the stream")

    def __enter__(self):
        return self

    def __exit__(self, *failure):
        with contextlib.suppress(OSError):
            self._client.shutdown(socket.SHUT_RDWR)
        self._thread.join()
        self._client.close()


def missed(frames, start_ns, end_ns):
    """How many of the camera's thirty pictures a second didn't reach the panel in this time."""
    dues = [due for due, shown in frames if start_ns <= shown <= end_ns]
    return sum(round((after - before) / FRAME_NS) - 1 for before, after in zip(dues, dues[1:]))

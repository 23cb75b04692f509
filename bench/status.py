"""Measures how soon after a log line the status file shows the same event."""

import contextlib
import json
import os
import subprocess
import time

from figures import Figure, Runs, Target
from subjects import Board, Daemon, wait_until

LOOK_S = 0.0005  # resolution of measured times
STORAGE_MB = 300  # a tmpfs for the recordings
STORAGE_LEFT_MB = 40  # less than the daemon needs to record


def field(status, *names):
    for name in names:
        status = status.get(name, {})
    return status


def recording(status):
    return field(status, "outputs", "recording")


def set_camera(board, state):
    board.at("dev/video0.state").write_text(state)


def fail_tool(daemon, board):
    marker = board.at("var/lib/vtrcore/fail")
    marker.write_text("1")
    try:
        daemon.ask("kbd_zoom")
    except RuntimeError:
        pass  # expected
    marker.unlink()


def record_until_full(daemon, board):
    daemon.ask("enable_record", 1)
    board.wait_for_recorded_frame()
    room = os.statvfs(board.at("media"))
    size = room.f_bavail * room.f_frsize - STORAGE_LEFT_MB * 1024 * 1024
    with open(board.at("media/filler"), "wb") as file:
        os.posix_fallocate(file.fileno(), 0, size)


# Needs storage that can be filled.
STORAGE_FULL = (
    "the storage is full", record_until_full, "Ran out of space",
    lambda status: "storage" in field(status, "failures"))

# In sequence: name, action, line in the log, condition on the status.
EVENTS = (
    ("a recording starts", lambda daemon, _: daemon.ask("enable_record", 1), "_00.mp4",
     lambda status: recording(status).get("state") == "on"),
    ("a recording splits", lambda *_: None, "_01.mp4",
     lambda status: recording(status).get("splits") == 1),
    ("a recording ends", lambda daemon, _: daemon.ask("enable_record", 0), "EoS event on pipe 5",
     lambda status: recording(status).get("state") == "off"),
    STORAGE_FULL,
    ("a tool fails", fail_tool, "Tool failed",
     lambda status: "tool" in field(status, "failures")),
    ("the picture freezes", lambda _, board: set_camera(board, "silent"), "The picture is frozen",
     lambda status: field(status, "live_view", "state") == "frozen"),
    ("the picture moves again", lambda _, board: set_camera(board, "run"), "not frozen any more",
     lambda status: field(status, "live_view", "state") == "live"),
    ("the camera is lost", lambda _, board: board.at("dev/video0").unlink(), "Input failed",
     lambda status: field(status, "live_view", "state") == "no_input"),
)


class Watch:
    """Polls log and status, and records when each first shows an event."""

    def __init__(self, log, status):
        self._log, self._status = log, status
        self._position = 0

    def _new_log(self):
        with open(self._log, errors="replace", encoding="utf-8") as file:
            file.seek(self._position)
            return file.read()

    def _present_status(self):
        try:
            return json.loads(self._status.read_text())
        except FileNotFoundError:
            return {}

    def behind_ms(self, line, says):
        """Milliseconds from the log line to the status; 0 if the status was first."""
        seen = {}

        def have_both():
            if "log" not in seen and line in self._new_log():
                seen["log"] = time.monotonic_ns()
            if "status" not in seen and says(self._present_status()):
                seen["status"] = time.monotonic_ns()
            return len(seen) == 2

        deadline = time.monotonic() + 20
        while not have_both():
            if time.monotonic() > deadline:
                raise RuntimeError(f"timed out waiting for {line!r} and its status: {sorted(seen)}")
            time.sleep(LOOK_S)
        self._position = os.stat(self._log).st_size
        return max(seen["status"] - seen["log"], 0) / 1e6


@contextlib.contextmanager
def small_storage(folder):
    """Mounts memory on the folder; False where this user can't."""
    command = ["mount", "-t", "tmpfs", "-o", f"size={STORAGE_MB}m", "bench", folder]
    is_mounted = subprocess.run(command, capture_output=True, check=False).returncode == 0
    try:
        yield is_mounted
    finally:
        if is_mounted:
            subprocess.run(["umount", "--lazy", folder], check=True)


def one_round(bench, number, runs):
    settings = "record_max_len=1\n"
    with Board(bench, f"status{number}", settings) as board, \
            small_storage(board.at("media")) as can_fill, Daemon(bench, board) as daemon:
        board.wait_for_frame(daemon)
        wait_until(board.at("run/vtrdc.status").exists, "the status file")
        watch = Watch(daemon.output, board.at("run/vtrdc.status"))
        for event in EVENTS:
            if event is STORAGE_FULL and not can_fill:
                continue
            name, act, line, says = event
            act(daemon, board)
            runs.add(name, watch.behind_ms(line, says))


def status(bench):
    runs = Runs()
    for number in range(bench.rounds):
        one_round(bench, number, runs)
    return [Figure("Status file, behind the log's line", name, "ms", runs[name],
                   target=Target("value", "<=", 50)) for name in runs]

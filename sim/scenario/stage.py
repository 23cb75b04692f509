"""A scenario's board, daemon and surroundings."""

import contextlib
import json
import os
import pathlib
import shutil
import signal
import subprocess
import time
from typing import Any, Callable, Optional

import surroundings
from panel import Panel

MEDIA_MOUNT_MB = 256
MB = 1 << 20
POLL_S = 0.02


class Failed(Exception):
    """An act failed or an expectation was not met."""


class Skipped(Exception):
    """The scenario needs a permission that is missing on this machine."""


def run(command: list[str], environment: Optional[dict[str, str]] = None) -> subprocess.CompletedProcess:
    return subprocess.run(command, text=True, capture_output=True, env=environment, errors="replace")


def wait_until(reached: Callable[[], bool], within_s: float) -> bool:
    deadline = time.monotonic() + within_s
    while not reached():
        if time.monotonic() > deadline:
            return False
        time.sleep(POLL_S)
    return True


class Follower:
    """A growing text file; each search starts after the last match."""

    def __init__(self, path: pathlib.Path) -> None:
        self.path = path
        self.position = 0

    def text(self) -> str:
        try:
            return self.path.read_text(errors="replace")
        except FileNotFoundError:
            return ""

    def has_next(self, wanted: str) -> bool:
        found = self.text().find(wanted, self.position)
        if found >= 0:
            self.position = found + len(wanted)
        return found >= 0

    def begin_again(self) -> None:
        self.position = 0


class Stage:
    def __init__(self, source: pathlib.Path, build: pathlib.Path, board: pathlib.Path,
                 scenario: pathlib.Path) -> None:
        self.sim = source / "scripts/sim"
        self.scenario = scenario
        self.build = build
        self.board = board
        self.log = Follower(board / "var/log/scenario.log")
        self.overlay = Follower(board / "var/log/overlay.log")
        self.panel = Panel(board / "dev/fb0")
        self.daemon: Optional[subprocess.Popen] = None
        self.others = contextlib.ExitStack()  # closed at the end of the scenario
        self.server: Optional[surroundings.PushServer] = None
        self.viewers: list[surroundings.Viewer] = []
        self.deaf: dict[str, list[surroundings.Deaf]] = {"viewers": [], "clients": []}
        self.broker: Optional[subprocess.Popen] = None
        self.mark: tuple[int, int] = (0, 0)
        self.picture_seen = 0  # time of the picture last seen
        self.is_card = False
        self.small_storage = 0  # size in bytes; 0: not in use
        self.must("layout")

    # --- Programs -------------------------------------------------------------------------------

    def must(self, *words: str) -> str:
        """Runs a verb of scripts/sim."""
        done = run([str(self.sim), "--board", str(self.board), *words], self.environment())
        if done.returncode != 0:
            raise Failed((done.stdout + done.stderr).strip() or f"{words[0]} failed")
        return done.stdout

    def environment(self) -> dict[str, str]:
        return {**os.environ, "VTRDC_BUILD_DIR": str(self.build),
                "VTRDC_SOCKET": str(self.board / "run/vtrdc.socket")}

    def client(self, words: list[str], wait_s: float = 25) -> subprocess.CompletedProcess:
        return run([str(self.build / "vtrdcctl"), "--timeout", str(wait_s), *words],
                   self.environment())

    # --- The daemon -----------------------------------------------------------------------------

    def start(self, options: list[str]) -> None:
        if self.daemon is not None:
            raise Failed("a daemon runs already")
        self.log.path.write_text("")
        self.log.begin_again()
        with open(self.log.path, "a", encoding="utf-8") as output:
            self.daemon = subprocess.Popen(
                [str(self.sim), "--board", str(self.board), "--no-build", "--headless", "--", *options],
                stdin=subprocess.DEVNULL, stdout=output, stderr=output, env=self.environment(),
                start_new_session=True)
        is_up = wait_until(lambda: self.is_up() or self.daemon.poll() is not None, 60)
        if not is_up or self.daemon.poll() is not None:
            raise Failed("the daemon did not start")

    def is_up(self) -> bool:
        return self.daemon is not None and self.status().get("pid") == self.daemon.pid

    def pid(self) -> int:
        if self.daemon is None:
            raise Failed("no daemon runs: start is missing")
        return self.daemon.pid

    def end(self, number: int, within_s: float) -> int:
        """Sends the signal and waits. Returns the exit status, or 128 + signal."""
        os.kill(self.pid(), number)
        return self.wait_end(within_s)

    def wait_end(self, within_s: float) -> int:
        self.pid()
        try:
            status = self.daemon.wait(within_s)
        except subprocess.TimeoutExpired:
            raise Failed(f"the daemon did not end within {within_s:g} seconds") from None
        self.daemon = None
        return status if status >= 0 else 128 - status

    def status(self) -> dict[str, Any]:
        try:
            return json.loads((self.board / "run/vtrdc.status").read_text())
        except (FileNotFoundError, json.JSONDecodeError):
            return {}

    def field(self, dotted: str) -> Any:
        value: Any = self.status()
        for name in dotted.split("."):
            value = value.get(name) if isinstance(value, dict) else None
        return value

    def resources(self) -> tuple[int, int]:
        """Resident memory in kB, descriptors."""
        folder = pathlib.Path(f"/proc/{self.pid()}")
        rss = next(line.split()[1] for line in (folder / "status").read_text().splitlines()
                   if line.startswith("VmRSS:"))
        return int(rss), len(list((folder / "fd").iterdir()))

    def keep_deaf(self, kind: str, count: float, make: Callable[[], surroundings.Deaf]) -> None:
        deaf = self.deaf[kind]
        while len(deaf) > count:
            deaf.pop().close()
        while len(deaf) < count:
            deaf.append(make())

    # --- The board ------------------------------------------------------------------------------

    def near_scenario(self, file: str) -> str:
        """A file beside the scenario where there is one of that name, else as it is."""
        near = self.scenario.parent / file
        return str(near) if near.exists() else file

    def set_file(self, sight_path: str, text: Optional[str]) -> None:
        path = self.board / sight_path
        if text is None:
            path.unlink(missing_ok=True)
        else:
            path.write_text(text)

    def add_setting(self, line: str) -> None:
        if "=" not in line:
            raise Failed("a setting is KEY=VALUE")
        with open(self.board / "etc/vtrdc.conf", "a", encoding="utf-8") as file:
            file.write(line.replace("FREE_PORT", str(surroundings.free_port())) + "\n")

    def mount(self, command: list[str]) -> None:
        done = run(command)
        if done.returncode != 0:
            raise Skipped(f"can't mount: {done.stderr.strip()}")
        self.others.callback(run, ["umount", "--lazy", str(self.media())])

    def media(self) -> pathlib.Path:
        return self.board / "media"

    def use_small_storage(self, size_mb: float) -> None:
        self.small_storage = int(size_mb * MB)
        self.mount(["mount", "-t", "tmpfs", "-o", f"size={self.small_storage}", "scenario", str(self.media())])

    def resize_small_storage(self, size: int) -> bool:
        """At once. False when more is in use."""
        if self.small_storage == 0:
            raise Failed("storage small is missing before this")
        return run(["mount", "-o", f"remount,size={size}", str(self.media())]).returncode == 0

    def fill_storage(self, left_mb: float) -> None:
        """Takes the room away: to fill it takes time, in which something could be done about it."""
        def fill() -> bool:
            used = shutil.disk_usage(self.media()).used
            return self.resize_small_storage(max(1, used + int(left_mb * MB)))  # 0: any size

        if not wait_until(fill, 10):  # what was written meanwhile needs another try
            raise Failed("the storage can't be filled")

    def empty_storage(self) -> None:
        self.resize_small_storage(self.small_storage)

    def use_card(self) -> None:
        image = self.board / "card.img"
        run(["truncate", "-s", f"{MEDIA_MOUNT_MB}M", str(image)])
        made = run(["mkfs.ext4", "-q", str(image)])
        if made.returncode != 0:
            raise Failed(f"can't make a card: {made.stderr.strip()}")
        self.mount(["mount", "-o", "loop,nodelalloc,commit=1", str(image), str(self.media())])
        self.is_card = True

    def freeze_card(self, is_frozen: bool) -> None:
        if not self.is_card:
            raise Failed("storage card is missing before this")
        run(["fsfreeze", "--freeze" if is_frozen else "--unfreeze", str(self.media())])
        if is_frozen:
            self.others.callback(run, ["fsfreeze", "--unfreeze", str(self.media())])

    def cut_power(self) -> None:
        """Kills the daemon and drops everything that the card had not stored yet."""
        if not self.is_card:
            raise Failed("storage card is missing before this")
        image, cut = self.board / "card.img", self.board / "cut.img"
        run(["cp", "--sparse=always", str(image), str(cut)])
        self.end(signal.SIGKILL, 10)
        run(["umount", "--lazy", str(self.media())])
        os.replace(cut, image)
        self.mount(["mount", "-o", "loop", str(image), str(self.media())])

    # --- The end --------------------------------------------------------------------------------

    def close(self) -> None:
        if self.is_card:
            self.freeze_card(False)
        if self.daemon is not None and self.daemon.poll() is None:
            self.daemon.kill()
            self.daemon.wait()
        for viewer in self.viewers:
            viewer.close()
        for deaf in self.deaf["viewers"] + self.deaf["clients"]:
            deaf.close()
        if self.server is not None:
            self.server.close()
        if self.broker is not None:
            self.broker.kill()
            self.broker.wait()
        self.others.close()

    def remove(self) -> None:
        shutil.rmtree(self.board, ignore_errors=True)

"""Records what happens on a board as a scenario: scripts/sim record."""

import argparse
import pathlib
import re
import shlex
import signal
import sys
import time
from typing import Callable, Optional, TextIO

POLL_S = 0.05
BUTTONS = {"0": "nuc", "1": "zoom", "2": "pol"}  # kbd_action of src/devices/kbd.h
PRESSED = re.compile(r"\[INFO\]: kbd event: (\d)")
COMMAND = re.compile(r"\[DEBUG\]: IPC in: c:(\w+):[silnSILN]:?(.*)")
ASKS_ONLY = ("get_", "print_config", "pipeline_state")  # without effect


def quoted(word: str) -> str:
    return word if re.fullmatch(r'[^\s"#\\]+', word) else '"' + re.sub(r'(["\\])', r"\\\1", word) + '"'


def act_of(line: str) -> Optional[str]:
    """The act that a line of the daemon's log reports."""
    pressed = PRESSED.search(line)
    if pressed and pressed[1] in BUTTONS:
        return f"press {BUTTONS[pressed[1]]}"
    asked = COMMAND.search(line)
    if not asked or asked[1].startswith(ASKS_ONLY):
        return None
    words = [quoted(word) for word in re.split(r"(?<!\\),", asked[2]) if word]
    return " ".join(["command", asked[1], *words])


class Watched:
    """A state of the board, seen in its files, and the act that causes it."""

    def __init__(self, look: Callable[[], str], act: str) -> None:
        self.look, self.act = look, act
        self.state = look()

    def change(self) -> Optional[str]:
        before, self.state = self.state, self.look()
        return None if before == self.state else f"{self.act} {self.state}"


def watched_on(board: pathlib.Path) -> list[Watched]:
    def is_there(sight_path: str, yes: str, no: str) -> Callable[[], str]:
        return lambda: yes if (board / sight_path).is_symlink() or (board / sight_path).exists() else no

    def driver() -> str:
        state = board / "dev/video0.state"
        text = state.read_text().strip() if state.exists() else ""
        return {"silent": "silent", "block": "blocked"}.get(text, "runs")

    return [
        Watched(is_there("dev/video0", "on", "off"), "camera"),
        Watched(driver, "camera"),
        Watched(is_there("sys/devices/soc0/soc/20e0000.hdmi_video/cable_state", "on", "off"), "monitor"),
        Watched(is_there("var/lib/vtrcore/fail", "fails", "works"), "core"),
    ]


def record(board: pathlib.Path, log: TextIO, out: TextIO) -> int:
    states, count, last = watched_on(board), 0, time.monotonic()

    def write(act: str) -> None:
        nonlocal count, last
        now = time.monotonic()
        out.write(f"after {now - last:.1f} {act}\n")
        out.flush()
        last, count = now, count + 1

    while not is_interrupted:
        for act in filter(None, [act_of(line) for line in log.readlines()]):
            write(act)
        for act in filter(None, [state.change() for state in states]):
            write(act)
        time.sleep(POLL_S)
    return count


is_interrupted = False


def interrupt(*_: object) -> None:
    global is_interrupted
    is_interrupted = True


def main() -> int:
    parser = argparse.ArgumentParser(prog="record")
    parser.add_argument("--board", type=pathlib.Path, required=True)
    parser.add_argument("--log", type=pathlib.Path, required=True)
    parser.add_argument("out", type=pathlib.Path)
    options = parser.parse_args()
    for number in (signal.SIGINT, signal.SIGTERM):
        signal.signal(number, interrupt)
    with open(options.log, errors="replace", encoding="utf-8") as log, \
            open(options.out, "w", encoding="utf-8") as out:
        if "[DEBUG]" not in log.read():
            print("record: commands of clients are recorded only from a daemon that was started with -v",
                  file=sys.stderr)
        out.write("# Recorded. Add what must be seen, as lines that begin with expect.\n")
        settings = options.board / "etc/vtrdc.conf"
        for line in settings.read_text().splitlines() if settings.exists() else []:
            out.write(f"setting {quoted(line)}\n")
        out.write("start\n")
        out.flush()
        count = record(options.board, log, out)
        out.write("stop\n")
    print(f"{count} acts: {shlex.quote(str(options.out))}")
    return 0


if __name__ == "__main__":
    sys.exit(main())

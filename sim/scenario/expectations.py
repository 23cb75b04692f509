"""Expectations: what a scenario checks on a board, one row each. Each function returns None when the
expectation is met, else what it saw instead; it is called repeatedly until met or timed out."""

import json
import pathlib
from typing import Optional

from grammar import Row
from panel import Area, area_of
from stage import Failed, Stage, run

Seen = Optional[str]


def last_lines(text: str, count: int = 5) -> str:
    return "\n".join(text.splitlines()[-count:])


def log(stage: Stage, text: str) -> Seen:
    return None if stage.log.has_next(text) else "the log has no such line after the one before"


def no_log(stage: Stage, text: str) -> Seen:
    line = next((line for line in stage.log.text().splitlines() if text in line), None)
    return line and f"the log has: {line}"


def overlay(stage: Stage, text: str) -> Seen:
    return None if stage.overlay.has_next(text) else "the overlay was told: " + last_lines(stage.overlay.text())


def status(stage: Stage, field: str, wanted: str) -> Seen:
    value = stage.field(field)
    shown = value if isinstance(value, str) else json.dumps(value)
    return None if shown == wanted else f"{field} is {shown}"


def failure(stage: Stage, kind: str, text: str) -> Seen:
    said = stage.field(f"failures.{kind}.text")
    return None if said is not None and text in said else f"the last failure of {kind} is: {said}"


def recordings(stage: Stage) -> list[pathlib.Path]:
    return sorted((stage.media() / "video").glob("*.mp4"))


def recording_count(stage: Stage, count: float) -> Seen:
    found = len(recordings(stage))
    return None if found == count else f"there are {found}"


def plays(file: pathlib.Path) -> Seen:
    # Consecutive samples may have the same time, which this output accepts.
    done = run(["ffmpeg", "-v", "error", "-i", str(file), "-f", "framecrc", "-y", "/dev/null"])
    return f"{file.name}: {done.stderr.strip()}" if done.returncode != 0 or done.stderr else None


def recordings_play(stage: Stage) -> Seen:
    files = recordings(stage)
    return next(filter(None, map(plays, files)), None) if files else "there is none"


def length_of(file: pathlib.Path) -> float:
    done = run(["ffprobe", "-v", "error", "-show_entries", "format=duration", "-of", "csv=p=0", str(file)])
    try:
        return float(done.stdout)
    except ValueError:
        raise Failed(f"{file.name} has no length: {done.stderr.strip()}") from None


def recorded_length(stage: Stage, low: float, high: float) -> Seen:
    total = sum(map(length_of, recordings(stage)))
    return None if low <= total <= high else f"it is {total:.1f} seconds"


def file_is_there(stage: Stage, pattern: str) -> Seen:
    return None if any(stage.board.glob(pattern.lstrip("/"))) else "there is none"


def text_in_file(stage: Stage, file: str, text: str) -> Seen:
    path = stage.board / file.lstrip("/")
    has = path.read_text(errors="replace") if path.exists() else "nothing"
    return None if text in has else f"it has: {last_lines(has)}"


def snapshot_count(stage: Stage, count: float) -> Seen:
    found = len(list((stage.media() / "image").glob("*.jpeg")))
    return None if found == count else f"there are {found}"


def on_panel(text: str) -> Area:
    try:
        return area_of(text)
    except (ValueError, TypeError):
        raise Failed("an area is x,y,width,height on the panel") from None


def picture_mean(stage: Stage, area: str, low: float, high: float) -> Seen:
    mean = stage.panel.mean(on_panel(area))
    return None if low <= mean <= high else f"its mean is {mean:.0f}"


def picture_deviation(stage: Stage, area: str, low: float, high: float) -> Seen:
    deviation = stage.panel.deviation(on_panel(area))
    return None if low <= deviation <= high else f"its standard deviation is {deviation:.2f}"


def picture_like(stage: Stage, file: str, tolerance: float) -> Seen:
    # A path is of this machine, beside the scenario, or of the board.
    near = pathlib.Path(stage.near_scenario(file))
    difference = stage.panel.difference(near if near.exists() else stage.board / file)
    return None if difference <= tolerance else f"it differs by {difference:.1f}"


def picture_moves(stage: Stage) -> Seen:
    before, stage.picture_seen = stage.picture_seen, stage.panel.time_ns()
    return None if before not in (0, stage.picture_seen) else "no new picture comes"


def answer(stage: Stage) -> Seen:
    done = stage.client(["get_zoom"], wait_s=1)
    return None if done.returncode == 0 else done.stderr.strip()


def pushed(stage: Stage, kilobytes: float) -> Seen:
    have = stage.server.bytes if stage.server else 0
    return None if have >= kilobytes * 1000 else f"the server has {have} bytes"


def connections(stage: Stage, count: float) -> Seen:
    have = stage.server.connections if stage.server else 0
    return None if have == count else f"there were {have}"


def viewed(stage: Stage, kilobytes: float) -> Seen:
    served = [viewer.bytes for viewer in stage.viewers if viewer.is_connected]
    if not served:
        return "none is served"
    return None if min(served) >= kilobytes * 1000 else f"one has {min(served)} bytes"


def viewer_count(stage: Stage, count: float) -> Seen:
    served = sum(viewer.is_connected and viewer.bytes > 0 for viewer in stage.viewers)
    return None if served == count else f"{served} are"


def memory(stage: Stage, megabytes: float) -> Seen:
    grown = stage.resources()[0] - stage.mark[0]
    return None if grown <= megabytes * 1024 else f"it has {grown / 1024:.1f} MB more"


def descriptors(stage: Stage, most: float) -> Seen:
    grown = stage.resources()[1] - stage.mark[1]
    return None if grown <= most else f"it has {grown} more"


def end(stage: Stage, wanted: float) -> Seen:
    stage.pid()
    if stage.daemon.poll() is None:
        return "it runs"
    seen = stage.wait_end(0)
    return None if seen == wanted else f"it ended with status {seen}"


EXPECTATIONS = [
    Row("log <text>", "a text in the log, behind the one that was found last", log),
    Row("no log <text>", "no such text in it since the start", no_log),
    Row("overlay <text>", "a text that the overlay was told, behind the one found last", overlay),
    Row("status <text> <text>", "a field of the status file, such as outputs.tcp.state", status),
    Row("failure tool|storage|camera|http|settings <text>", "what the last failure of a kind says", failure),
    Row("recordings play", "all of them, to the end", recordings_play),
    Row("recordings last <number> <number>", "all together, between so many seconds", recorded_length),
    Row("recordings <number>", "how many there are", recording_count),
    Row("file <text>", "a file of the board by its path, where * is any text", file_is_there),
    Row("text <text> <text>", "a file of the board by its path has that text", text_in_file),
    Row("snapshots <number>", "how many there are", snapshot_count),
    Row("picture moves", "a new picture is shown", picture_moves),
    Row("picture mean <text> <number> <number>", "of an area x,y,width,height, between 0 and 255", picture_mean),
    Row("picture deviation <text> <number> <number>", "the standard deviation over such an area", picture_deviation),
    Row("picture like <text> <number>", "a PNG file beside the scenario or on the board, within a mean difference",
        picture_like),
    Row("answer", "a command is answered", answer),
    Row("pushed <number>", "the server has got so many kB", pushed),
    Row("connections <number>", "the server has had so many", connections),
    Row("viewed <number>", "each viewer that is served has got so many kB", viewed),
    Row("viewers <number>", "so many are served", viewer_count),
    Row("memory grown <number>", "by no more MB since the mark", memory),
    Row("descriptors grown <number>", "by no more since the mark", descriptors),
    Row("end <number>", "it has ended by itself, with that status", end),
]

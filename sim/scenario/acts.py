"""Acts: what a scenario does to a board, one row each."""

import signal
import subprocess
import time

from grammar import Row
from stage import POLL_S, Failed, Stage, run, wait_until
from surroundings import DeafClient, DeafViewer, PushServer, Viewer

STOP_S = 60.0  # a hanging tool's ten seconds and a stalled card's thirty


def stop(stage: Stage) -> None:
    status = stage.end(signal.SIGTERM, STOP_S)
    if status != 0:
        raise Failed(f"it ended with status {status}")


def send_signal(stage: Stage, name: str) -> None:
    stage.end(signal.Signals["SIG" + name], STOP_S)


def kill(stage: Stage) -> None:
    stage.end(signal.SIGKILL, STOP_S)


def command(stage: Stage, words: list[str]) -> None:
    done = stage.client(words)
    if done.returncode != 0:
        raise Failed(done.stderr.strip())


def refused(stage: Stage, words: list[str]) -> None:
    done = stage.client(words)
    if done.returncode == 0:
        raise Failed("it was done")
    if done.returncode != 1:
        raise Failed(done.stderr.strip())


def camera(stage: Stage, state: str) -> None:
    if state in ("on", "off"):
        stage.must("camera", state)
    else:
        stage.set_file("dev/video0.state", {"silent": "silent", "blocked": "block", "runs": None}[state])


def core(stage: Stage, state: str) -> None:
    tool = stage.board / "usr/bin/vtrcore"
    kept = tool.with_name("vtrcore.kept")
    if state == "hangs":
        tool.rename(kept)
        tool.write_text("#!/bin/sh\nexec sleep 1000\n")
        tool.chmod(0o755)
        return
    if kept.exists():
        kept.replace(tool)
    stage.must("core", {"works": "work", "fails": "fail"}[state])


def broker(stage: Stage, order: str) -> None:
    path = stage.board / "run/redis.sock"
    if order == "stop":
        if stage.broker is None:
            raise Failed("no broker runs")
        stage.broker.terminate()
        stage.broker.wait()
        stage.broker = None
        return
    stage.broker = subprocess.Popen(["redis-server", "--port", "0", "--unixsocket", str(path), "--save", ""],
                                    stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    if not wait_until(path.exists, 10):
        raise Failed("no broker came up")


def server(stage: Stage, order: str) -> None:
    if order == "stop":
        if stage.server is None:
            raise Failed("no server runs")
        stage.server.close()
        stage.server = None
        return
    port = str(stage.field("settings.http_url")).split(":")[2].split("/")[0]
    stage.server = PushServer(int(port))


def viewers(stage: Stage, count: float) -> None:
    while len(stage.viewers) > count:
        stage.viewers.pop().close()
    while len(stage.viewers) < count:
        stage.viewers.append(Viewer(int(stage.field("settings.tcp_stream_port"))))


def deaf_viewers(stage: Stage, count: float) -> None:
    port = int(stage.field("settings.tcp_stream_port"))
    stage.keep_deaf("viewers", count, lambda: DeafViewer(port))


def deaf_clients(stage: Stage, count: float) -> None:
    stage.keep_deaf("clients", count, lambda: DeafClient(str(stage.board / "run/vtrdc.socket")))


def own_sensor(stage: Stage, noise: float, pattern: float, drift: float) -> None:
    stage.set_file("var/lib/vtrcore/sensor", f"noise {noise}\npattern {pattern}\ndrift {drift}\n")


def recover(stage: Stage) -> None:
    done = run([str(stage.build / "vtrdc-recover"), str(stage.media() / "video")], stage.environment())
    if done.returncode != 0:
        raise Failed((done.stdout + done.stderr).strip())


def mark(stage: Stage) -> None:
    stage.mark = stage.resources()


def frames(stage: Stage, count: float) -> None:
    left, shown = count, stage.panel.time_ns()
    deadline = time.monotonic() + 10 + count / 10
    while left > 0:
        now = stage.panel.time_ns()
        left -= now != shown
        shown = now
        if time.monotonic() > deadline:
            raise Failed(f"{left:g} of {count:g} pictures did not come")
        time.sleep(POLL_S)


ACTS = [
    Row("setting <text>", "KEY=VALUE in the settings file, before start; FREE_PORT is one", Stage.add_setting),
    Row("start <text...>", "starts the daemon with these options", Stage.start),
    Row("stop", "ends it as a supervisor does; it must end with status 0", stop),
    Row("kill", "ends it as a crash does", kill),
    Row("signal TERM|INT|HUP|QUIT|USR1", "sends the signal and waits for the end", send_signal),
    Row("press zoom|nuc|pol", "presses a button", lambda stage, key: stage.must("press", key)),
    Row("command <text...>", "a client's command, which must be done", command),
    Row("refused <text...>", "a client's command, which must be answered by an error", refused),
    Row("camera on|off|silent|blocked|runs", "the camera's cable, and what its driver does", camera),
    Row("footage <text>", "what the camera sees: a file beside the scenario, of the board's footage, or a path",
        lambda stage, file: stage.must("footage", stage.near_scenario(file))),
    Row("sensor thermal|plain", "the camera's pictures have noise and a fixed pattern, or neither",
        lambda stage, kind: stage.must("sensor", kind)),
    Row("sensor noise <number> pattern <number> drift <number>",
        "how much of them, in grey levels; the pattern drifts back by so many a second", own_sensor),
    Row("clock <text>", "sets the board's wall clock, for the first time before start; right: as the PC's",
        lambda stage, time_text: stage.must("clock", time_text)),
    Row("shot <text>", "a picture of the panel, into the board folder",
        lambda stage, name: stage.must("shot", str(stage.board / name))),
    Row("monitor on|off", "a monitor's cable", lambda stage, state: stage.must("hdmi", state)),
    Row("core works|fails|hangs", "the thermal core's tool", core),
    Row("storage small <number>", "media on a file system of so many MB, which can be filled (root)", Stage.use_small_storage),
    Row("storage card", "media on a card with ext4 (root)", Stage.use_card),
    Row("storage left <number>", "it is full but for so many MB, from one moment to the next", Stage.fill_storage),
    Row("storage empty", "there is room as before", Stage.empty_storage),
    Row("storage stalls", "the card takes nothing", lambda stage: stage.freeze_card(True)),
    Row("storage goes on", "the card works again", lambda stage: stage.freeze_card(False)),
    Row("power cut", "the daemon is gone, and what had not reached the card", Stage.cut_power),
    Row("recover", "vtrdc-recover on the recordings", recover),
    Row("broker start|stop", "the message broker", broker),
    Row("server start|stop", "the server that is pushed to", server),
    Row("viewers deaf <number>", "so many others, who connect and never read", deaf_viewers),
    Row("clients deaf <number>", "so many clients who send commands and never read an answer", deaf_clients),
    Row("viewers <number>", "so many viewers of the stream, who read", viewers),
    Row("mark", "remembers memory and descriptors", mark),
    Row("wait <number>", "so many seconds pass", lambda _, seconds: time.sleep(seconds)),
    Row("frames <number>", "so many pictures are shown", frames),
]

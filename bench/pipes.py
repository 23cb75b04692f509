"""Compares the daemon's pipes with single pipelines of the same elements; also start and idling."""

import contextlib
import signal
import time

import pipelines
from figures import Figure, Runs, Target, part_of
from subjects import (ASK_DAEMON, ASK_REDIS, FRAMES_PER_SECOND, Board, Daemon, Process, Reader,
                      free_port, missed, start_redis, wait_until)

LAUNCH = "gst-launch"
REDIS = "redis"
OTHERS, STAND_INS = "others' elements", "stand-ins"
LIVE_VIEW = "Live view"


def measure(bench, board, process, state, who, runs):
    """Measures load, memory, delay and losses of what is running."""
    time.sleep(bench.settle_seconds)
    start, cpu = time.monotonic_ns(), process.cpu_seconds()
    time.sleep(bench.seconds)
    end, cpu = time.monotonic_ns(), process.cpu_seconds() - cpu
    process.check_runs()
    frames = board.frames()
    lost = missed(frames, start, end)
    delays = [(shown - due) / 1e6 for due, shown in frames if start <= due and shown <= end]
    runs.add((state, who, "cpu"), 1e3 * cpu / ((end - start) / 1e9 - lost / FRAMES_PER_SECOND))
    runs.add((state, who, "memory"), process.memory_mib())
    runs.add((state, who, "p50"), part_of(delays, 0.5))
    runs.add((state, who, "p99"), part_of(delays, 0.99))
    runs.add((state, who, "missed"), lost)


def milliseconds_since(start_ns):
    return (time.monotonic_ns() - start_ns) / 1e6


def record(bench, board, process, start_ns, stop, who, runs):
    """Measures a requested recording, from its first picture to its closed file."""
    video = board.wait_for_recorded_frame()
    runs.add(("record start", who), milliseconds_since(start_ns))
    measure(bench, board, process, "Recording", who, runs)
    stop_ns = time.monotonic_ns()
    stop()
    wait_until(lambda: not process.has_open(video.name), "the recording's end")
    runs.add(("record stop", who), milliseconds_since(stop_ns))
    video.unlink()


def stream(bench, board, process, port, who, runs):
    with Reader(port) as reader:
        reader.wait_for_data()
        measure(bench, board, process, "TCP stream", who, runs)


def others_round(bench, board, runs):
    """The live view only, on other plug-ins' elements."""
    board.clear_logs()
    with Daemon(bench, board) as daemon:
        board.wait_for_frame(daemon)
        measure(bench, board, daemon, LIVE_VIEW, OTHERS, runs)


def daemon_round(bench, board, port, runs):
    """Measures streaming in a second daemon: the first one keeps the memory of the recording."""
    board.clear_logs()
    with Daemon(bench, board) as daemon:
        runs.add(("answer", "vtrdc"), daemon.wait_for_answer(ASK_DAEMON.encode()))
        runs.add(("frame", "vtrdc"), board.wait_for_frame(daemon))
        measure(bench, board, daemon, LIVE_VIEW, "vtrdc", runs)
        asked_ns = time.monotonic_ns()
        daemon.ask("enable_record", 1)
        record(bench, board, daemon, asked_ns, lambda: daemon.ask("enable_record", 0), "vtrdc",
               runs)
    with Daemon(bench, board) as daemon:
        board.wait_for_frame(daemon)
        daemon.ask("enable_tcp_stream", 1)
        stream(bench, board, daemon, port, "vtrdc", runs)


@contextlib.contextmanager
def launched(board, pipeline):
    """Runs gst-launch on the board until the block ends."""
    with Process(["gst-launch-1.0", "-e", *pipeline], board.at("launch.out"),
                 board.environment) as process:
        yield process
        process.stop(signal.SIGINT)


def launch_round(bench, board, attributes, port, runs):
    """Measures the same states as single pipelines."""
    with launched(board, pipelines.live(board, attributes)) as process:
        runs.add(("frame", LAUNCH), board.wait_for_frame(process))
        measure(bench, board, process, LIVE_VIEW, LAUNCH, runs)
    with launched(board, pipelines.record(board, attributes)) as process:
        record(bench, board, process, process.started_ns, process.interrupt, LAUNCH, runs)
    with launched(board, pipelines.stream(board, attributes, port)) as process:
        stream(bench, board, process, port, LAUNCH, runs)


def redis_round(bench, runs):
    with start_redis(bench) as redis:
        runs.add(("answer", REDIS), redis.wait_for_answer(ASK_REDIS.encode()))


def overlay_texts(board):
    """The overlay updates that the daemon sent at its start."""
    return board.at("var/log/overlay.log").read_text().splitlines()


# Maximum cost of an output, as a ratio.
COST_LIMITS = {LIVE_VIEW: 1.05, "Recording": 1.10, "TCP stream": 1.10}


def state_figures(runs, state, who="vtrdc", baseline=LAUNCH):
    """Figures of a state for `who` and `baseline`, measured alternately."""
    def figure(name, unit, key, target=None):
        return Figure(f"{state} on {who}" if who == OTHERS else state, name, unit,
                      runs[state, who, key], STAND_INS if baseline == "vtrdc" else baseline,
                      runs[state, baseline, key], target)

    return [
        figure("processor time a second of video", "ms", "cpu",
               Target("ratio", "<=", COST_LIMITS[state])),
        figure("camera to panel, middle", "ms", "p50"),
        figure("camera to panel, 99th percentile", "ms", "p99",
               Target("difference", "<=", 1) if state == LIVE_VIEW else None),
        figure("pictures that the panel misses", "pictures", "missed", Target("value", "<=", 0)),
        figure("memory", "MiB", "memory"),
    ]


def pipe_figures(runs):
    for state in COST_LIMITS:
        yield from state_figures(runs, state)
    if (LIVE_VIEW, OTHERS, "cpu") in runs:
        for both in zip(*(state_figures(runs, LIVE_VIEW, OTHERS, baseline)
                          for baseline in (LAUNCH, "vtrdc"))):
            yield from both
    starts = (("frame", LAUNCH, "Starting", "exec to the first picture on the panel"),
              ("answer", REDIS, "Starting", "exec to the first answer"),
              ("record start", LAUNCH, "Recording", "start to the first picture in the file"),
              ("record stop", LAUNCH, "Recording", "stop to the closed file"))
    for key, baseline, group, name in starts:
        yield Figure(group, name, "ms", runs[key, "vtrdc"], baseline, runs[key, baseline])


def pipes(bench):
    """Measures the daemon's states alternately with equivalents without the daemon."""
    runs = Runs()
    port = free_port()
    with (Board(bench, "daemon", f"tcp_stream_port={port}\n") as board,
          Board(bench, "launch") as plain,
          Board(bench, "others", others=True) if bench.others
          else contextlib.nullcontext() as others):
        plain.at("media/video").mkdir()
        for _ in range(bench.rounds):
            daemon_round(bench, board, port, runs)
            if others:
                others_round(bench, others, runs)
            launch_round(bench, plain, overlay_texts(board), port, runs)
            redis_round(bench, runs)
    return sorted(pipe_figures(runs), key=lambda figure: figure.group)


# --- Idling ------------------------------------------------------------------------------------


def wake_ups_a_second(processes, seconds):
    """Measures each process's main thread over the same time."""
    before = [process.wake_ups() for process in processes]
    time.sleep(seconds)
    return [(process.wake_ups() - count) / seconds for process, count in zip(processes, before)]


def measure_splash(bench, board, process, who, runs):
    time.sleep(bench.settle_seconds)
    cpu = process.cpu_seconds()
    time.sleep(bench.seconds)
    runs.add(("splash", who, "cpu"), 1e3 * (process.cpu_seconds() - cpu) / bench.seconds)
    runs.add(("splash", who, "memory"), process.memory_mib())


def idling(bench):
    """Measures the daemon without requests, and without a camera."""
    runs = Runs()
    with (Board(bench, "idle") as board, Board(bench, "splash") as plain):
        with Daemon(bench, board) as daemon, start_redis(bench) as redis:
            board.wait_for_frame(daemon)
            time.sleep(bench.settle_seconds)
            for _ in range(bench.rounds):
                mine, other = wake_ups_a_second((daemon, redis), bench.idle_seconds)
                runs.add("wake-ups", mine)
                runs.add("other wake-ups", other)
            board.at("dev/video0").rename(board.at("dev/video0.unplugged"))
            daemon.wait_for_log("Splash Pipeline set to playing")
            measure_splash(bench, board, daemon, "vtrdc", runs)
        with launched(plain, pipelines.splash(plain, overlay_texts(board))) as process:
            plain.wait_for_frame(process)
            measure_splash(bench, plain, process, LAUNCH, runs)
    return [
        Figure("Idle", "wake-ups of the main thread a second, live view", "", runs["wake-ups"],
               REDIS, runs["other wake-ups"], Target("value", "<=", 1.05)),
        Figure("Without a camera", "processor time a second", "ms", runs["splash", "vtrdc", "cpu"],
               LAUNCH, runs["splash", LAUNCH, "cpu"]),
        Figure("Without a camera", "memory", "MiB", runs["splash", "vtrdc", "memory"], LAUNCH,
               runs["splash", LAUNCH, "memory"]),
    ]

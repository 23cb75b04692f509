"""How figures grow: with clients, viewers, recordings, sights and time. Started by scripts/bench."""

import contextlib
import os
import re
import statistics
import subprocess
import sys
import time

from commands import ECHO, REDIS, load_results
from curves import Chart, Curve, expected, straight, through_origin
from subjects import FRAMES_PER_SECOND, Board, Daemon, Process, Reader, free_port, wait_until

# --- Clients -----------------------------------------------------------------------------------

CLIENTS = (1, 2, 4, 6, 8, 12, 16, 20, 24)


def by_clients(bench):
    """Requests against the number of clients that ask without pause."""
    rates = {name: Curve(name) for name in ("vtrdc", ECHO, REDIS)}
    times = {name: Curve(name) for name in rates}
    for clients, results in load_results(bench, CLIENTS):
        for name, result in results.items():
            rates[name].add(clients, statistics.median(r["rate"] for r in result) / 1e3)
            times[name].add(clients, statistics.median(r["p50_us"] for r in result))
    # Many clients keep the server's thread busy: each waits for a request of all the others.
    busy = through_origin(times["vtrdc"].points[CLIENTS.index(8):])
    return [
        Chart("clients-rate", "Requests a second", "clients", "thousands a second",
              list(rates.values())),
        Chart("clients-time", "Round trip, middle", "clients", "microseconds",
              [*times.values(), expected(lambda n: busy * n, CLIENTS,
                                         f"{busy:.2f} us a client")]),
    ]


# --- Viewers -----------------------------------------------------------------------------------

VIEWERS = (1, 2, 4, 8, 16, 24, 32)


def used_ms(process, seconds):
    """Processor time of a process in milliseconds a second, over so many."""
    used, start = process.cpu_seconds(), time.monotonic()
    time.sleep(seconds)
    return 1e3 * (process.cpu_seconds() - used) / (time.monotonic() - start)


def by_viewers(bench):
    """What the daemon spends on viewers of its TCP stream."""
    port = free_port()
    cost, memory = Curve("measured"), Curve("measured")
    with (Board(bench, "viewed", f"tcp_stream_port={port}\n") as board,
          Daemon(bench, board) as daemon, contextlib.ExitStack() as viewers):
        board.wait_for_frame(daemon)
        daemon.ask("enable_tcp_stream", 1)
        there = 0
        for count in VIEWERS:
            for _ in range(count - there):
                viewers.enter_context(Reader(port)).wait_for_data()
            there = count
            time.sleep(bench.settle_seconds)
            cost.add(count, used_ms(daemon, bench.seconds))
            memory.add(count, daemon.memory_mib())
    start, slope = straight(cost.points)
    return [
        Chart("viewers-time", "TCP stream, processor time of the daemon", "viewers",
              "milliseconds a second",
              [cost, expected(lambda n: start + slope * n, VIEWERS,
                              f"{start:.0f} ms and {slope:.2f} ms a viewer")]),
        Chart("viewers-memory", "TCP stream, memory of the daemon", "viewers", "MiB", [memory]),
    ]


# --- Recordings --------------------------------------------------------------------------------

FILES = (1, 10, 100, 1000, 10000)


def fill(folder, suffix, count):
    folder.mkdir(parents=True, exist_ok=True)
    for number in range(count):
        (folder / f"2020-{number // 2800 % 12 + 1:02}-{number // 100 % 28 + 1:02}_"
                  f"{number % 100 // 60:02}.{number % 60:02}.00{suffix}").touch()


def cpu_of(daemon, act):
    """Milliseconds of the main thread that it takes until the answer."""
    before = daemon.main_thread_ns()
    act()
    return (daemon.main_thread_ns() - before) / 1e6


def by_files(bench):
    """What recordings and snapshots that are there cost the next one."""
    record, snapshot = Curve("a recording starts"), Curve("a snapshot is taken")
    with Board(bench, "full") as board, Daemon(bench, board) as daemon:
        board.wait_for_frame(daemon)
        for count in FILES:
            fill(board.at("media/video"), "_00.mp4", count)
            fill(board.at("media/image"), ".jpeg", count)
            starts, shots = [], []
            for _ in range(bench.rounds):
                starts.append(cpu_of(daemon, lambda: daemon.ask("enable_record", 1)))
                wait_until(lambda: daemon.has_open(".mp4"), "the recording's file")
                daemon.ask("enable_record", 0)
                wait_until(lambda: not daemon.has_open(".mp4"), "the recording's end")
                shots.append(cpu_of(daemon, lambda: daemon.ask("make_snapshot")))
            record.add(count, statistics.median(starts))
            snapshot.add(count, statistics.median(shots))
    return [Chart("files", "With so many recordings and snapshots there, main thread's time",
                  "files in each folder", "milliseconds", [record, snapshot],
                  is_logarithmic=True)]


# --- Sights ------------------------------------------------------------------------------------

SIGHTS = (1, 2, 4, 6, 8, 10)
FRAMES = re.compile(rb"frame=\s*(\d+)")


class HlsServer(Process):
    """A server of one sight's push, as the documents have it: ffmpeg writes HLS."""

    def __init__(self, bench, number, port):
        self.folder = bench.work / f"live{number}"
        self.folder.mkdir(exist_ok=True)
        self._progress = self.folder / "progress"
        super().__init__(["ffmpeg", "-nostdin", "-loglevel", "error", "-progress", self._progress,
                          "-f", "h264", "-framerate", "30", "-listen", "1",
                          "-i", f"http://127.0.0.1:{port}/upload/channel", "-c", "copy",
                          "-f", "hls", "-hls_time", "2", "-hls_flags",
                          "delete_segments+append_list", self.folder / "live.m3u8"],
                         self.folder / "server.out")

    def pictures(self):
        """How many it has taken so far."""
        if not self._progress.exists():
            return 0
        found = FRAMES.findall(self._progress.read_bytes())
        return int(found[-1]) if found else 0


def by_sights(bench):
    """Sights that push to one server, all on this machine."""
    arrived, used = Curve("arrived, a sight"), Curve("all daemons")
    servers_used = Curve("their servers")
    with contextlib.ExitStack() as fleet:
        sights, servers = [], []
        for count in SIGHTS:
            while len(sights) < count:
                add_sight(bench, fleet, sights, servers)
            time.sleep(bench.settle_seconds)
            before = [server.pictures() for server in servers]
            start = time.monotonic()
            cpu = sum(each.cpu_seconds() for each in sights)
            server_cpu = sum(each.cpu_seconds() for each in servers)
            time.sleep(2 * bench.seconds)
            passed = time.monotonic() - start
            taken = [server.pictures() - count for server, count in zip(servers, before)]
            used.add(count, (sum(each.cpu_seconds() for each in sights) - cpu) / passed)
            servers_used.add(count, (sum(each.cpu_seconds() for each in servers) - server_cpu) /
                             passed)
            arrived.add(count, statistics.mean(taken) / passed)
    a_sight = through_origin(used.points[:3])
    return [
        Chart("sights-pictures", "Sights that push, pictures that arrive", "sights on one machine",
              "pictures a second", [arrived, expected(lambda n: 30, SIGHTS, "all")]),
        Chart("sights-time", f"Sights that push, processors of {os.cpu_count()}",
              "sights on one machine", "processors",
              [used, servers_used,
               expected(lambda n: a_sight * n, SIGHTS, f"{a_sight:.2f} processors a sight")]),
    ]


def add_sight(bench, fleet, sights, servers):
    number, port = len(sights), free_port()
    servers.append(fleet.enter_context(HlsServer(bench, number, port)))
    settings = f"http_url=http://127.0.0.1:{port}/upload/channel\ntcp_stream_port={free_port()}\n"
    board = fleet.enter_context(Board(bench, f"sight{number}", settings))
    daemon = fleet.enter_context(Daemon(bench, board))
    board.wait_for_frame(daemon)
    daemon.ask("enable_http_stream", 1)
    # What it took before it knew the stream comes at once.
    wait_until(lambda: servers[-1].pictures() > 2 * FRAMES_PER_SECOND, "pictures at the server")
    sights.append(daemon)


# --- Time --------------------------------------------------------------------------------------

HELD = re.compile(r"held: (\d+) descriptors, (\d+) threads, (\d+) KB")
ANSWERS = re.compile(r"answers: ([\d.]+) us")


def by_minutes(curve):
    """The curve with one point per minute, the median of those in it."""
    minutes = {}
    for minute, value in curve.points:
        minutes.setdefault(int(minute), []).append(value)
    return Curve(curve.name, [(minute, statistics.median(values))
                              for minute, values in minutes.items()])


def by_time(bench):
    """Random use of one daemon: what it holds at rest, in between."""
    descriptors, threads = Curve("descriptors"), Curve("threads")
    memory, answers = Curve("memory, MiB"), Curve("round trip, us")
    start = time.monotonic()
    with subprocess.Popen([bench.build / "tests/soak/soak", "--one-life", str(bench.soak_minutes)],
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True) as soak:
        for line in soak.stdout:
            minute = (time.monotonic() - start) / 60
            if found := HELD.search(line):
                descriptors.add(minute, int(found[1]))
                threads.add(minute, int(found[2]))
                memory.add(minute, int(found[3]) / 1024)
            elif found := ANSWERS.search(line):
                answers.add(minute, float(found[1]))
            elif "Failure" in line or "FAILED" in line:
                print(line, end="", file=sys.stderr)
    if soak.returncode != 0:
        raise RuntimeError("the random use failed")
    return [Chart("time", "Random use, at rest in between", "minutes", "",
                  [by_minutes(curve) for curve in (memory, descriptors, threads, answers)])]


GROWTH = {"clients": by_clients, "viewers": by_viewers, "files": by_files, "sights": by_sights,
          "time": by_time}

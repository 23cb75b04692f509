"""Measures how fast commands are answered, idle and under load, and what other work disturbs."""

import json
import os
import subprocess
import time

from figures import Figure, Runs, Target, part_of
from subjects import (ASK_DAEMON, ASK_REDIS, Board, Daemon, Process, Reader, free_port, missed,
                      start_echo, start_redis)

CLIENT_COUNTS = (1, 8, 16)

ECHO, REDIS = "bare echo", "redis PING"


# --- Command round trips -----------------------------------------------------------------------


def set_apart(processes):
    """Pins main threads to one processor; returns the command prefix that pins the client to another.
    Otherwise the kernel picks the same or different ones, and one of them takes twice the time."""
    if len(os.sched_getaffinity(0)) < 2:
        return []
    serving, *_, asking = sorted(os.sched_getaffinity(0))
    for process in processes:
        os.sched_setaffinity(process.pid, {serving})
    return ["taskset", "--cpu-list", str(asking)]


def load(bench, where, server, request, clients):
    words = [*where, bench.program("bench_round_trip"), server.socket_path, request,
             str(bench.ask_seconds), str(clients)]
    used_ns = server.main_thread_ns()
    answer = subprocess.run(words, check=True, capture_output=True, text=True)
    result = json.loads(answer.stdout)
    result["cpu_us"] = (server.main_thread_ns() - used_ns) / 1e3 / result["count"]
    return result


def round_trip_figures(results, clients):
    group = f"Command round trip, {clients} client{'s' if clients > 1 else ''} without pause"
    limits = {ECHO: 1.3, REDIS: 1.0}
    for key, name, unit in (("p50_us", "middle", "us"), ("p99_us", "99th percentile", "us"),
                            ("rate", "requests a second", "/s"),
                            ("cpu_us", "server's processor time a request", "us")):
        runs = {server: [result[key] for result in results[server]] for server in results}
        for baseline, limit in limits.items():
            relation = "<=" if baseline == ECHO else "<"
            if key == "rate":
                relation, limit = relation.replace("<", ">"), round(1 / limit, 2)
            target = Target("ratio", relation, limit) if key != "cpu_us" else None
            yield Figure(group, name, unit, runs["vtrdc"], baseline, runs[baseline], target)


def load_results(bench, client_counts):
    """Loads the three servers alternately, under the daemon's live view; pairs of a number of
    clients and the results by server."""
    with (Board(bench, "asked") as board, Daemon(bench, board) as daemon,
          start_echo(bench) as echo, start_redis(bench) as redis):
        board.wait_for_frame(daemon)
        servers = {"vtrdc": (daemon, ASK_DAEMON), ECHO: (echo, ASK_DAEMON),
                   REDIS: (redis, ASK_REDIS)}
        for server, request in servers.values():
            server.wait_for_answer(request.encode())
        where = set_apart((daemon, echo, redis))
        for clients in client_counts:
            results = Runs()
            for _ in range(bench.rounds):
                for name, (server, request) in servers.items():
                    results.add(name, load(bench, where, server, request, clients))
            yield clients, results


def round_trips(bench):
    """The figures of the three servers for some numbers of clients."""
    return [figure for clients, results in load_results(bench, CLIENT_COUNTS)
            for figure in round_trip_figures(results, clients)]


# --- Disturbances ------------------------------------------------------------------------------


class Pinger(Process):
    """Sends a server one request each millisecond for a given time."""

    def __init__(self, bench, server, seconds):
        super().__init__([bench.program("bench_round_trip"), server.socket_path, ASK_DAEMON,
                          seconds, 0], bench.work / f"pings-{server.pid}.out")

    def answers(self):
        """Waits for the end. Returns when each request was due, in ns, and how long it took from then, in
        milliseconds."""
        self.wait()
        return [(int(due), float(took_us) / 1e3)
                for due, took_us in map(str.split, self.output.read_text().splitlines())]


class Snapshots:
    """The same snapshot without the daemon, from a board's panel."""

    def __init__(self, bench, board):
        self._child = subprocess.Popen(
            [bench.program("bench_snapshot"), board.at("dev/fb0"), board.at("media/still.jpeg")],
            env=board.environment, stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)

    def __enter__(self):
        return self

    def __exit__(self, *failure):
        self._child.stdin.close()
        self._child.wait()
        self._child.stdout.close()

    def take(self):
        """Returns the milliseconds that it took."""
        self._child.stdin.write("\n")
        self._child.stdin.flush()
        return float(self._child.stdout.readline())


class Events:
    """Disturbs the daemon while it gets a request each millisecond."""

    def __init__(self):
        self.windows = []  # name, start and end in ns

    def add(self, name, seconds, action=lambda: None):
        """Runs the action, and observes for that time or until it is done."""
        start = time.monotonic_ns()
        result = action()
        time.sleep(max(seconds - (time.monotonic_ns() - start) / 1e9, 0))
        self.windows.append((name, start, time.monotonic_ns()))
        # Keep the next action out of this window's last requests.
        time.sleep(0.02)
        return result


BUSY_SECONDS = 14  # longer than all events together
EVENTS = ("nothing else", "a recording starts", "a recording splits each second",
          "a recording stops", "a TCP stream starts", "a TCP stream stops", "a snapshot is taken",
          "a setting is saved")


def run_events(daemon, snapshots, port, runs):
    """One round of all disturbances."""
    events = Events()
    names = iter(EVENTS)
    events.add(next(names), 1)
    events.add(next(names), 1, lambda: daemon.ask("enable_record", 1))
    events.add(next(names), 4)
    events.add(next(names), 1, lambda: daemon.ask("enable_record", 0))
    events.add(next(names), 1, lambda: daemon.ask("enable_tcp_stream", 1))
    with Reader(port) as reader:
        reader.wait_for_data()
    events.add(next(names), 1, lambda: daemon.ask("enable_tcp_stream", 0))
    runs.add("snapshot", events.add(next(names), 1, lambda: daemon.ask("make_snapshot")))
    runs.add("still", snapshots.take())
    daemon.ask("set_lum", 1)
    events.add(next(names), 1, lambda: daemon.ask("set_lum", 2))
    return events.windows


def note_windows(windows, answers, frames, runs):
    for name, start, end in windows:
        for server, all_answers in answers.items():
            took = [took for due, took in all_answers if start <= due < end]
            runs.add((name, server, "p99"), part_of(took, 0.99))
            runs.add((name, server, "longest"), max(took))
        runs.add((name, "missed"), missed(frames, start, end))


def disturbance_figures(runs):
    for name in EVENTS:
        for key, text in (("p99", "99th percentile"), ("longest", "longest")):
            yield Figure("Round trip, a request each millisecond", f"{text}, {name}", "ms",
                         runs[name, "vtrdc", key], ECHO, runs[name, ECHO, key])
    for name in EVENTS:
        yield Figure("Pictures that the panel misses", name, "pictures", runs[name, "missed"],
                     target=Target("value", "<=", 0))
    yield Figure("Snapshot", "from the request to its answer", "ms", runs["snapshot"],
                 "same calls", runs["still"])


def disturbances(bench):
    """Measures a client's and the panel's delays while the daemon does other work."""
    runs = Runs()
    port = free_port()
    settings = f"record_max_len=1\ntcp_stream_port={port}\n"
    with (Board(bench, "busy", settings) as board, Daemon(bench, board) as daemon,
          start_echo(bench) as echo, Snapshots(bench, board) as snapshots):
        board.wait_for_frame(daemon)
        for server in (daemon, echo):
            server.wait_for_answer(ASK_DAEMON.encode())
        for _ in range(bench.rounds):
            with (Pinger(bench, daemon, BUSY_SECONDS) as asks_daemon,
                  Pinger(bench, echo, BUSY_SECONDS) as asks_echo):
                windows = run_events(daemon, snapshots, port, runs)
                answers = {"vtrdc": asks_daemon.answers(), ECHO: asks_echo.answers()}
            note_windows(windows, answers, board.frames(), runs)
    return list(disturbance_figures(runs))

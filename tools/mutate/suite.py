"""The tests of a build, run one by one."""

import concurrent.futures
import dataclasses
import json
import os
import pathlib
import re
import shutil
import signal
import subprocess
import tempfile
import threading
import time
from collections.abc import Callable, Iterable

# The tests of the daemon, by their programs, and what these need. Others run the same lines, or take longer.
UNITS = "vtrdc_unit_test"
PROGRAMS = (UNITS, "vtrdc_system_test", "scripts/sim")
FOR_SCRIPTS = ("src/all", "sim/all", "vtrdcctl", "vtrdc-recover")
TARGETS = (*FOR_SCRIPTS, "warm_registry", *PROGRAMS[:2])
POLL_S = 0.05

# A daemon with a fault may kill whatever it can: so it knows no processes but its test's. What a test leaves
# behind ends with the shell, which is the first process there.
BY_ANYBODY = () if os.geteuid() == 0 else ("--user", "--map-current-user", "--keep-caps")
ALONE = ("unshare", *BY_ANYBODY, "--pid", "--fork", "--mount-proc", "--kill-child", "sh", "-c", '"$@"; exit $?', "sh")


@dataclasses.dataclass(frozen=True)
class Test:
    name: str
    command: list[str]
    folder: str
    environment: dict[str, str]
    skipped: str
    is_alone: bool


@dataclasses.dataclass(frozen=True)
class Outcome:
    result: str  # passed, failed, timed out, stopped
    seconds: float


def tests_of(build: pathlib.Path) -> list[Test]:
    answer = subprocess.run(
        ["ctest", "--test-dir", str(build), "--show-only=json-v1"], check=True, capture_output=True, text=True
    )
    tests = []
    for row in json.loads(answer.stdout)["tests"]:
        properties = {entry["name"]: entry["value"] for entry in row.get("properties", [])}
        if "command" not in row or not row["command"][0].endswith(PROGRAMS):
            continue
        tests.append(
            Test(
                row["name"],
                row["command"],
                properties.get("WORKING_DIRECTORY", str(build)),
                dict(entry.split("=", 1) for entry in properties.get("ENVIRONMENT", [])),
                "|".join(f"(?:{pattern})" for pattern in properties.get("SKIP_REGULAR_EXPRESSION", [])),
                bool(properties.get("RUN_SERIAL")),
            )
        )
    return tests


def targets_of(tests: Iterable[Test], build: pathlib.Path) -> list[str]:
    """What Ninja has to build for the tests: their programs, and the daemon with its board for scripts."""
    programs = {pathlib.Path(test.command[0]) for test in tests}
    own = {str(program.relative_to(build)) for program in programs if program.is_relative_to(build)}
    return sorted(own if len(own) == len(programs) > 0 else own | set(FOR_SCRIPTS))


def end(process: subprocess.Popen[bytes]) -> None:
    """Kills the first process of the namespace: all others go with it before `unshare` ends."""
    try:
        inside = pathlib.Path(f"/proc/{process.pid}/task/{process.pid}/children").read_text(encoding="ascii").split()
        os.kill(int(inside[0]), signal.SIGKILL)
    except (OSError, IndexError):
        process.kill()
    process.wait()


def run_test(
    test: Test, limit_s: float, stop: threading.Event | None = None, extra: dict[str, str] | None = None
) -> Outcome:
    """In a temporary folder of its own, whose path is short: sockets are in it."""
    stop = stop or threading.Event()
    folder = tempfile.mkdtemp(prefix="vm-")
    environment = {**os.environ, **test.environment, **(extra or {}), "TMPDIR": folder}
    begin = time.monotonic()
    result = "stopped"
    with open(os.path.join(folder, "output"), "w+", encoding="utf-8", errors="replace") as output:
        process = subprocess.Popen(
            [*ALONE, *test.command],
            cwd=test.folder,
            env=environment,
            stdin=subprocess.DEVNULL,
            stdout=output,
            stderr=subprocess.STDOUT,
            start_new_session=True,
        )
        while not stop.is_set():
            try:
                status = process.wait(POLL_S)
                output.seek(0)
                is_skipped = bool(test.skipped) and re.search(test.skipped, output.read()) is not None
                result = "passed" if status == 0 or is_skipped else "failed"
                break
            except subprocess.TimeoutExpired:
                if time.monotonic() - begin > limit_s:
                    result = "timed out"
                    break
        if process.poll() is None:
            end(process)
    seconds = time.monotonic() - begin
    shutil.rmtree(folder, ignore_errors=True)
    return Outcome(result, seconds)


def for_each(work: Callable[[Test], None], tests: list[Test], at_once: int) -> None:
    """Several at once; those that want the machine for themselves at the end."""
    together = [test for test in tests if not test.is_alone]
    with concurrent.futures.ThreadPoolExecutor(at_once) as pool:
        for done in [pool.submit(work, test) for test in together]:
            done.result()
    for test in tests:
        if test.is_alone:
            work(test)


def run_tests(
    tests: list[Test], limit_of: Callable[[Test], float], seconds: float, at_once: int
) -> tuple[dict[str, Outcome], tuple[Test, Outcome] | None]:
    """In this order, several at once, until one fails twice or the time is over: what ran, and what failed."""
    outcomes: dict[str, Outcome] = {}
    failure: list[tuple[Test, Outcome]] = []
    stop = threading.Event()
    waiting = iter(tests)
    lock = threading.Lock()
    due = time.monotonic() + seconds

    def work() -> None:
        while not stop.is_set() and time.monotonic() < due:
            with lock:
                test = next(waiting, None)
            if test is None:
                return
            outcome = run_test(test, limit_of(test), stop)
            if outcome.result == "failed" and outcome.seconds < QUICK_S:
                outcome = run_test(test, limit_of(test), stop)
            with lock:
                if outcome.result in ("failed", "timed out") and not failure:
                    failure.append((test, outcome))
                    stop.set()
                elif outcome.result != "stopped":
                    outcomes[test.name] = outcome

    with concurrent.futures.ThreadPoolExecutor(at_once) as pool:
        for worker in [pool.submit(work) for _ in range(at_once)]:
            worker.result()
    return outcomes, failure[0] if failure else None


# A test that fails sooner than any wait in it ends is tried again: by chance it would not fail twice.
QUICK_S = 10.0

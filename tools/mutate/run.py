"""A run: the copy with its builds, what is known of its tests, and the trial of a mutant."""

import json
import os
import pathlib
import sys
import threading
import time
from typing import Any

import lines
import suite
from copy_of import CODE, Copy, sources_of
from operators import Mutant

# Tests may take so long for one mutant; each of them three times its own time, and a wait.
TESTS_S = 60.0
WAIT_S = 40.0
AT_ONCE = (os.cpu_count() or 1) + 1


Entry = dict[str, Any]


class OutOfTime(Exception):
    """The time that this run was given is over."""


def say(text: str) -> None:
    print(text, flush=True)


class Records:
    """Lines of JSON that are added to; the last one about a thing counts."""

    def __init__(self, file: pathlib.Path, name: str) -> None:
        self.file = file
        self.name = name
        self.lock = threading.Lock()
        self.entries: dict[Any, Entry] = {}
        if file.exists():
            for line in file.read_text(encoding="utf-8").splitlines():
                entry = json.loads(line)
                self.entries[entry[name]] = entry

    def add(self, entry: Entry) -> None:
        with self.lock, open(self.file, "a", encoding="utf-8") as out:
            self.entries[entry[self.name]] = entry
            out.write(json.dumps(entry) + "\n")


class Run:
    """The copy with its builds and what is known of its tests."""

    def __init__(self, source: pathlib.Path, work: pathlib.Path, minutes: float | None) -> None:
        self.work = work
        self.due = float("inf") if minutes is None else time.monotonic() + minutes * 60
        self.copy = Copy(source, work)
        self.sources = sources_of(source)
        self.tests: dict[str, suite.Test] = {}
        self.map = lines.Map([], self.sources)
        self.seconds: dict[str, float] = {}

    def look_at_time(self) -> None:
        if time.monotonic() > self.due:
            raise OutOfTime

    # --- Preparing ---------------------------------------------------------------------------

    def prepare(self) -> None:
        """Builds, and finds out which tests run which lines; quick when nothing has changed."""
        self._build(self.copy.coverage, "coverage")
        measures = self._measures()
        self._build(self.copy.plain, "release")
        self.tests = {test.name: test for test in suite.tests_of(self.copy.plain)}
        self.map = lines.Map(list(measures.values()), self.sources)
        sound = set(self.tests) - self.unsound()
        self.seconds = {name: entry["seconds"] for name, entry in measures.items() if name in sound}

    def _build(self, build: pathlib.Path, preset: str) -> None:
        say(f"building: {build}")
        self.copy.configure(build, preset)
        if not self.copy.build(build, suite.TARGETS):
            sys.exit(f"mutate: building failed: ninja -C {build} says why")
        suite.run_test(
            suite.Test("registry", [str(build / "tests/warm_registry")], str(build), {}, "", True), lines.LIMIT_S
        )

    def _measures(self) -> dict[str, Entry]:
        """Of each test that passes without a fault: its time and its lines, kept for this tree."""
        every = suite.tests_of(self.copy.coverage)
        homes = {test.name: self.copy.home(test.name) for test in every}
        records = Records(self.work / f"tests-{self.copy.key(*CODE)}.jsonl", "test")
        # One that failed may do so by chance.
        for name, entry in list(records.entries.items()):
            if not entry["passed"] or entry["home"] != homes.get(name):
                del records.entries[name]
        tests = [test for test in every if test.name not in records.entries]
        if tests:
            say(f"running {len(tests)} tests, each by itself, to learn which lines they run")

        def measure(test: suite.Test) -> None:
            if time.monotonic() < self.due:
                outcome, ran, code = lines.measured(test, self.copy.coverage, self.copy.tree)
                entry = {"test": test.name, "home": homes[test.name], "seconds": outcome.seconds}
                records.add({**entry, "passed": outcome.result == "passed", "ran": ran, "code": code})

        suite.for_each(measure, tests, AT_ONCE)
        self.look_at_time()
        for name, entry in records.entries.items():
            if not entry["passed"]:
                say(f"left out, since it fails without any fault: {name}")
        return {name: entry for name, entry in records.entries.items() if entry["passed"]}

    # --- Proving -----------------------------------------------------------------------------

    def _proofs(self) -> Records:
        return Records(self.work / f"plain-{self.copy.key(*CODE)}.jsonl", "test")

    def unsound(self) -> set[str]:
        return {name for name, entry in self._proofs().entries.items() if not entry["passed"]}

    def prove(self, noticed_by: set[str]) -> None:
        """Runs those that noticed something without any fault, too, once."""
        records = self._proofs()
        tests = [self.tests[name] for name in sorted(noticed_by) if name not in records.entries]
        if tests and not self.copy.build_for(tests):
            sys.exit(f"mutate: building failed: ninja -C {self.copy.plain} says why")

        def prove_one(test: suite.Test) -> None:
            outcome = suite.run_test(test, lines.LIMIT_S)
            records.add({"test": test.name, "passed": outcome.result == "passed"})

        suite.for_each(prove_one, tests, AT_ONCE)

    # --- Mutants -----------------------------------------------------------------------------

    def chosen(self, mutant: Mutant) -> list[suite.Test]:
        source = self.sources[mutant.path]
        text = source.text
        names: set[str] = set()
        words: set[str] = set()
        for begin, end, replacement in mutant.edits:
            place = begin + len(text[begin:]) - len(text[begin:].lstrip())
            names |= self.map.tests_of(mutant.path, source.line_of(place), place)
            line = text[text.rfind("\n", 0, begin) + 1 : text.find("\n", end)]
            words |= self.map.names_at(source, place) | set(lines.WORD.findall(line + replacement))
        names &= set(self.seconds)
        bodies = {name: self.copy.body(name) for name in names}
        return [self.tests[name] for name in lines.in_order(names, self.seconds, bodies, words)]

    def limit_of(self, test: suite.Test) -> float:
        return 3 * self.seconds[test.name] + WAIT_S

    def tried(self, mutant: Mutant) -> Entry:
        """What the tests that run its lines say of it, group by group: each builds no more than it needs."""
        begin = time.monotonic()
        tests = self.chosen(mutant)
        ran = 0
        failure = None
        with self.copy.planted(mutant, self.sources[mutant.path].text):
            for group, at_once in groups_of(tests):
                if not self.copy.build_for(group):
                    return {"result": "not built"}
                outcomes, failure = suite.run_tests(group, self.limit_of, TESTS_S, at_once)
                ran += len(outcomes)
                if failure is not None:
                    break
        result = {"tests": len(tests), "ran": ran, "seconds": round(time.monotonic() - begin)}
        if failure is None:
            return {"result": "survived", **result}
        return {"result": "noticed", "by": failure[0].name, "how": failure[1].result, **result}


def groups_of(tests: list[suite.Test]) -> list[tuple[list[suite.Test], int]]:
    """The units, which are quick, then the others, then those that want the machine for themselves."""
    units = [test for test in tests if test.command[0].endswith(suite.UNITS)]
    alone = [test for test in tests if test.is_alone]
    others = [test for test in tests if test not in units and test not in alone]
    groups = [(group, at_once) for group, at_once in ((units, AT_ONCE), (others, AT_ONCE), (alone, 1)) if group]
    return groups or [([], 1)]

"""Which tests run which lines of src/, and how long each takes."""

import collections
import functools
import json
import os
import pathlib
import re
import subprocess
import tempfile
from typing import Any

from source import Source
from suite import Outcome, Test, run_test

# For a whole test, counting lines.
LIMIT_S = 300.0

# Long enough to tell something.
WORD = re.compile(r"[A-Za-z_]\w{5,}")

Lines = dict[str, list[int]]


def counted(folder: pathlib.Path, build: pathlib.Path, tree: pathlib.Path) -> tuple[Lines, Lines]:
    """Of the counts that a test left in the folder, the lines of src/ that ran, and all that have code."""
    counts = [file for file in folder.rglob("*.gcda") if "/src/CMakeFiles/" in str(file)]
    if not counts:
        return {}, {}
    for count in counts:
        notes = pathlib.Path("/") / count.relative_to(folder).with_suffix(".gcno")
        count.with_suffix(".gcno").symlink_to(notes)
    answer = subprocess.run(
        ["gcov", "--json-format", "--stdout", *map(str, counts)],
        cwd=build,
        check=True,
        stdout=subprocess.PIPE,
        stderr=subprocess.DEVNULL,
        text=True,
    )
    ran: dict[str, set[int]] = collections.defaultdict(set)
    code: dict[str, set[int]] = collections.defaultdict(set)
    for report in answer.stdout.splitlines():
        for file in json.loads(report)["files"]:
            path = os.path.relpath(os.path.join(build, file["file"]), tree)
            if path.startswith("src/"):
                code[path] |= {line["line_number"] for line in file["lines"]}
                ran[path] |= {line["line_number"] for line in file["lines"] if line["count"]}
    return {path: sorted(lines) for path, lines in ran.items()}, {path: sorted(lines) for path, lines in code.items()}


def measured(test: Test, build: pathlib.Path, tree: pathlib.Path) -> tuple[Outcome, Lines, Lines]:
    with tempfile.TemporaryDirectory(prefix="vm-lines-") as folder:
        outcome = run_test(test, LIMIT_S, extra={"GCOV_PREFIX": folder})
        return outcome, *counted(pathlib.Path(folder), build, tree)


class Map:
    """What was measured, an entry a test."""

    def __init__(self, entries: list[dict[str, Any]], sources: dict[str, Source]) -> None:
        self.sources = sources
        self.seconds = {entry["test"]: entry["seconds"] for entry in entries}
        self.tests: dict[tuple[str, int], set[str]] = collections.defaultdict(set)
        self.code: dict[str, set[int]] = collections.defaultdict(set)
        for entry in entries:
            for path, lines in entry["code"].items():
                self.code[path] |= set(lines)
            for path, lines in entry["ran"].items():
                for line in lines:
                    self.tests[path, line].add(entry["test"])

    def tests_of(self, path: str, line: int, place: int) -> set[str]:
        """Those that run the statement there; of data, those that run a statement that uses it."""
        source = self.sources[path]
        if not self._is_data(source, place):
            while line > 0 and line not in self.code[path]:
                line -= 1
            return self.tests[path, line]
        seen: set[str] = set()
        found: set[str] = set()
        names = self.names_at(source, place) | self._tables_of(source)
        while names - seen:
            name = (names - seen).pop()
            seen.add(name)
            for user, user_place in self._uses[name]:
                if self._is_data(user, user_place):
                    names |= self.names_at(user, user_place)
                else:
                    found |= self.tests[user.path, user.line_of(user_place)]
        return found

    def _is_data(self, source: Source, place: int) -> bool:
        """True outside of what has code."""
        return source.path.endswith(".inc") or not source.is_in_function(place, self.code[source.path])

    @staticmethod
    def names_at(source: Source, place: int) -> set[str]:
        """What the declaration around the place declares; of a row of a list, its key and its handler."""
        if not source.path.endswith(".inc"):
            return source.declared_names(place)
        index = source.index_at(place)
        while index > 0 and source.depths[index] > 0:
            index -= 1
        index += source.tokens[index].kind == "name"
        first, _ = source.parts(index)[0]
        row = source.slice(index, source.partners[index])
        return {source.tokens[first].text, *re.findall(r"\buser_cmd_\w+", row)}

    def _tables_of(self, rows: Source) -> set[str]:
        """What declarations make of the rows of a list, which they include."""
        line = f'#include "{rows.path.removeprefix("src/")}"'
        includers = [source for source in self.sources.values() if rows.path.endswith(".inc") and line in source.text]
        return {name for source in includers for name in source.declared_names(source.text.index(line))}

    @functools.cached_property
    def _uses(self) -> dict[str, list[tuple[Source, int]]]:
        """Where each name is."""
        uses: dict[str, list[tuple[Source, int]]] = collections.defaultdict(list)
        for source in self.sources.values():
            for token in source.tokens:
                uses[token.text].append((source, token.begin))
        return uses


def in_order(tests: set[str], seconds: dict[str, float], bodies: dict[str, str], words: set[str]) -> list[str]:
    """First those that write of it, in words that few tests have; then the quickest, one of each suite at a time."""
    written = {test: words & set(WORD.findall(bodies[test])) for test in tests}
    shared = collections.Counter(word for some in written.values() for word in some)
    ranks: dict[str, int] = collections.Counter()
    order = []
    for test in sorted(tests, key=lambda name: seconds[name]):
        suite = test.split(".")[0]
        order.append((-sum(1 / shared[word] for word in written[test]), ranks[suite], seconds[test], test))
        ranks[suite] += 1
    return [test for *_, test in sorted(order)]

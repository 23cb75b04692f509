"""Parses scenario files: one act or expectation a line."""

import dataclasses
import re
from typing import Any, Callable, Iterator, Optional

WORD = re.compile(r'"(?P<quoted>(?:[^"\\]|\\.)*)"|(?P<plain>[^\s"]+)')
WITHIN_S = 10.0  # time limit of an expectation without its own


class BadScenario(Exception):
    """An error in a file, with its place."""

    def __init__(self, line: int, column: int, what: str) -> None:
        super().__init__(what)
        self.line = line
        self.column = column


@dataclasses.dataclass(frozen=True)
class Word:
    text: str
    column: int


@dataclasses.dataclass(frozen=True)
class Row:
    """A form of line. In the pattern, a|b is one of these words, <number> and <text> are arguments, and
    <text...> is the rest of the line."""

    pattern: str
    about: str
    run: Callable[..., Any]

    @property
    def slots(self) -> list[str]:
        return self.pattern.split()


@dataclasses.dataclass(frozen=True)
class Step:
    line: int
    text: str
    row: Row
    arguments: list[Any]
    is_expectation: bool
    at_s: Optional[float] = None  # after the scenario's start
    after_s: float = 0.0  # after the previous step
    within_s: float = WITHIN_S


def words_of(line: str, number: int) -> list[Word]:
    words = []
    position = 0
    while position < len(line):
        if line[position].isspace():
            position += 1
            continue
        if line[position] == "#":
            break
        found = WORD.match(line, position)
        if found is None:
            raise BadScenario(number, position + 1, "a quote without its end")
        quoted = found["quoted"]
        text = found["plain"] if quoted is None else re.sub(r"\\(.)", r"\1", quoted)
        words.append(Word(text, position + 1))
        position = found.end()
    return words


def number_of(word: Word, line: int) -> float:
    try:
        number = float(word.text)
    except ValueError:
        number = float("nan")
    if not 0 <= number <= 1e9:
        raise BadScenario(line, word.column, f"a number from 0 on is needed, not {word.text}")
    return number


def match(row: Row, words: list[Word], line: int) -> Optional[list[Any]]:
    """The arguments in the words; None if they don't match the row."""
    arguments: list[Any] = []
    slots = row.slots
    for place, slot in enumerate(slots):
        if slot == "<text...>":
            return arguments + [[word.text for word in words[place:]]]
        if place >= len(words):
            return None
        word = words[place]
        if slot == "<number>":
            arguments.append(number_of(word, line))
        elif slot == "<text>":
            arguments.append(word.text)
        elif word.text not in slot.split("|"):
            return None
        elif "|" in slot:
            arguments.append(word.text)
    return arguments if len(words) == len(slots) else None


def choose(rows: list[Row], words: list[Word], line: int) -> tuple[Row, list[Any]]:
    alike = [row for row in rows if words[0].text in row.slots[0].split("|")]
    if not alike:
        known = ", ".join(sorted({row.slots[0] for row in rows}))
        raise BadScenario(line, words[0].column, f"{words[0].text} is none of {known}")
    for row in alike:
        arguments = match(row, words, line)
        if arguments is not None:
            return row, arguments
    takes = " or ".join(row.pattern for row in alike)
    raise BadScenario(line, words[0].column, f"this takes: {takes}")


class Reader:
    """Parses a file's lines into steps."""

    def __init__(self, acts: list[Row], expectations: list[Row]) -> None:
        self.acts = acts
        self.expectations = expectations

    def read(self, text: str) -> list[Step]:
        lines = list(enumerate(text.splitlines(), start=1))
        steps = list(self._block(iter(lines), opened_at=None))
        if not steps:
            raise BadScenario(1, 1, "the file has no steps")
        return steps

    def _block(self, lines: Iterator[tuple[int, str]], opened_at: Optional[int]) -> Iterator[Step]:
        for number, line in lines:
            words = words_of(line, number)
            if not words:
                continue
            if words[0].text == "end" and opened_at is not None:
                return
            if words[0].text == "repeat":
                if len(words) != 2:
                    raise BadScenario(number, words[0].column, "this takes: repeat <number>")
                times = int(number_of(words[1], number))
                inner = list(self._block(lines, opened_at=number))
                for _ in range(times):
                    yield from inner
            else:
                yield self._step(words, number, line.strip())
        if opened_at is not None:
            raise BadScenario(opened_at, 1, "this repeat has no end")

    def _step(self, words: list[Word], number: int, text: str) -> Step:
        moments: dict[str, float] = {}
        while words[0].text in ("at", "after") and len(words) > 2:
            moments[words[0].text + "_s"] = number_of(words[1], number)
            words = words[2:]
        is_expectation = words[0].text == "expect"
        if is_expectation:
            words = words[1:]
            if len(words) > 2 and words[-2].text == "within":
                moments["within_s"] = number_of(words[-1], number)
                words = words[:-2]
            if not words:
                raise BadScenario(number, 1, "what is expected?")
        rows = self.expectations if is_expectation else self.acts
        row, arguments = choose(rows, words, number)
        return Step(number, text, row, arguments, is_expectation, **moments)

"""Faults that have names, from a file of paragraphs: a name, a path, lines that are and lines that take their place."""

import pathlib

from operators import Edit, Mutant
from source import Source


class Stale(Exception):
    """A fault whose lines the source does not have, or has more than once."""


def known_faults(file: pathlib.Path, sources: dict[str, Source]) -> list[Mutant]:
    paragraphs = file.read_text(encoding="utf-8").split("\n\n")
    return [fault(paragraph, sources) for paragraph in paragraphs if not paragraph.startswith("#")]


def fault(paragraph: str, sources: dict[str, Source]) -> Mutant:
    name, path, *lines = paragraph.strip("\n").splitlines()
    if path not in sources:
        raise Stale(f"{name}: there is no {path}")
    edits: list[Edit] = []
    was: list[str] = []
    becomes: list[str] = []
    for line in [*lines, "-"]:
        if line.startswith("-") and becomes:
            edits.append(edit(name, sources[path].text, was, becomes))
            was, becomes = [], []
        if line.startswith("+"):
            becomes.append(line[1:])
        elif line != "-":
            was.append(line[1:])
    return Mutant(path, name, tuple(edits), sources[path].line_of(edits[0][0]))


def edit(name: str, text: str, was: list[str], becomes: list[str]) -> Edit:
    """Whole lines."""
    old = "\n".join(was) + "\n"
    if f"\n{text}".count(f"\n{old}") != 1:
        raise Stale(f"{name}: the source has these lines not once:\n{old}")
    begin = f"\n{text}".index(f"\n{old}")
    return begin, begin + len(old), "".join(f"{line}\n" for line in becomes)

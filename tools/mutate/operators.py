"""The small faults: a row an operator."""

import dataclasses
import difflib
import random
import re
from collections.abc import Callable, Iterator

from source import Source, Token

Edit = tuple[int, int, str]  # begin, end, what takes the place


@dataclasses.dataclass(frozen=True)
class Mutant:
    path: str
    operator: str
    edits: tuple[Edit, ...]
    line: int

    def applied(self, text: str) -> str:
        for begin, end, replacement in sorted(self.edits, reverse=True):
            text = text[:begin] + replacement + text[end:]
        return text

    def diff(self, text: str) -> str:
        lines = difflib.unified_diff(
            text.splitlines(True), self.applied(text).splitlines(True), self.path, self.path, n=1
        )
        return "".join(lines)


# --- Signs -------------------------------------------------------------------------------------

RELATIONAL = {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "=="}
ARITHMETIC = {"+": "-", "-": "+", "*": "/", "/": "*", "%": "*", "|": "&", "&": "|", "+=": "-=", "-=": "+=", "|=": "&="}
LOGICAL = {"&&": "||", "||": "&&"}
STEPS = {"++": "--", "--": "++"}


def replaced(token: Token, text: str) -> list[Edit]:
    return [(token.begin, token.end, text)]


def exchanged_signs(signs: dict[str, str]) -> Callable[[Source], Iterator[list[Edit]]]:
    def find(source: Source) -> Iterator[list[Edit]]:
        for token in source.tokens:
            if token.text in signs and (token.text in STEPS or source.has_spaces(token)):
                yield replaced(token, signs[token.text])

    return find


def off_by_one(source: Source) -> Iterator[list[Edit]]:
    for sign, one in zip(source.tokens, source.tokens[1:]):
        if sign.text in ("+", "-") and one.text == "1" and source.has_spaces(sign):
            yield [(sign.begin - 1, one.end, "")]


def negated(source: Source) -> Iterator[list[Edit]]:
    for index, token in enumerate(source.tokens[:-1]):
        if token.text == "!" and source.tokens[index + 1].text != "=":
            yield replaced(token, "")
        if token.text == "if" and source.tokens[index + 1].text == "(":
            last = source.partners.get(index + 1, index + 2) - 1
            first = index + 2
            for inner in range(first, last):
                if source.tokens[inner].text == ";" and source.depths[inner] == source.depths[first]:
                    first = inner + 1
            if not any(inner.text == "=" for inner in source.tokens[first : last + 1]):
                yield [
                    (source.tokens[first].begin, source.tokens[first].begin, "!("),
                    (source.tokens[last].end, source.tokens[last].end, ")"),
                ]


# --- Constants ---------------------------------------------------------------------------------

# A little more time is not seen.
TIMES = re.compile(r"chrono|seconds|TIME|INTERVAL|GST_SECOND|_ms\b|_ns\b|\d(?:ms|s)\b")
NOT_LETTERS = re.compile(r"%[^a-zA-Z%]*[a-zA-Z]+|\\.|[^a-zA-Z]")


def other_text(text: str) -> str | None:
    """With another letter in the middle."""
    body = NOT_LETTERS.sub(lambda found: "\0" * len(found.group()), text)
    letters = [place for place, letter in enumerate(body) if letter != "\0"]
    if not letters:
        return None
    place = letters[len(letters) // 2]
    return text[:place] + ("x" if text[place] != "x" else "y") + text[place + 1 :]


def other_numbers(text: str, is_time: bool) -> list[str]:
    digits = re.match(r"0[xX][0-9a-fA-F']+|[\d'.]+", text)
    if digits is None:
        return []
    number, suffix = digits.group(), text[digits.end() :]
    plain = number.replace("'", "")
    if "." in plain:
        more = str(float(plain) + 1)
    elif plain.startswith("0") and len(plain) > 1 and plain.isdigit():
        more = f"0{int(plain, 8) + 1:o}"
    else:
        more = str(int(plain, 0) + 1)
    is_large = plain not in ("0", "1", "0.0", "1.0")
    return ([] if is_time and is_large else [more + suffix]) + (["0" + suffix] if is_large else [])


def constants(source: Source) -> Iterator[list[Edit]]:
    for index, token in enumerate(source.tokens):
        line_begin = source.text.rfind("\n", 0, token.begin) + 1
        line = source.text[line_begin : source.text.find("\n", token.begin)]
        before = source.tokens[index - 1]
        if token.kind == "number" and before.text == "-" and not source.has_spaces(before):
            yield replaced(before, "")
        elif token.kind == "number":
            for number in other_numbers(token.text, TIMES.search(line) is not None):
                yield replaced(token, number)
        elif token.text in ("true", "false"):
            yield replaced(token, "false" if token.text == "true" else "true")
        elif token.kind in ("text", "character"):
            text = other_text(token.text)
            if text is not None:
                yield replaced(token, text)


# --- Tables ------------------------------------------------------------------------------------


def tables(source: Source) -> Iterator[list[tuple[int, int]]]:
    """Rows of each table, the brackets' tokens: braces in a pair of braces, or macros in a list of them."""
    for index, token in enumerate(source.tokens):
        if token.text == "{" and index in source.partners:
            rows = source.parts(index)
            if len(rows) > 1 and all(
                source.tokens[first].text == "{" and source.partners[first] == last for first, last in rows
            ):
                yield rows
    if source.path.endswith(".inc"):
        openings = [index for index in range(1, len(source.tokens)) if source.tokens[index].text == "("]
        yield [
            (opening, source.partners[opening]) for opening in openings if source.depths[opening] == 0
        ]


def fields(source: Source, row: tuple[int, int]) -> dict[str, tuple[int, int]]:
    """The values of a row, by name where they have names, else by place."""
    values = {}
    for place, (first, last) in enumerate(source.parts(row[0])):
        if source.tokens[first].text == "." and last >= first + 3:
            values[source.tokens[first + 1].text] = (first + 3, last)
        else:
            values[str(place)] = (first, last)
    return values


def rows_dropped(source: Source) -> Iterator[list[Edit]]:
    for rows in tables(source):
        for first, last in rows:
            begin, end = source.tokens[first].begin, source.tokens[last].end
            if source.tokens[first].text == "(":
                begin = source.tokens[first - 1].begin
            yield [(begin, end + (source.text[end : end + 1] == ","), "")]


def fields_exchanged(source: Source) -> Iterator[list[Edit]]:
    for rows in tables(source):
        for row, next_row in zip(rows, rows[1:]):
            others = fields(source, next_row)
            for name, (first, last) in fields(source, row).items():
                if name not in others:
                    continue
                other_first, other_last = others[name]
                one, other = source.slice(first, last), source.slice(other_first, other_last)
                if one != other:
                    yield [
                        (source.tokens[first].begin, source.tokens[last].end, other),
                        (source.tokens[other_first].begin, source.tokens[other_last].end, one),
                    ]


# --- Statements --------------------------------------------------------------------------------

# A call or an assignment, from the statement's begin; what has a type in front is a declaration.
CALL = re.compile(
    r"(?:static_cast<void>\(|\+\+|--|\*)?"
    r"(?!(?:return|if|for|while|switch|case|default|else|do|goto|delete|throw|break|continue)\b)"
    r"[A-Za-z_]\w*(?:(?:::|\.|->)[A-Za-z_]\w*)*\s*(?:\(|\[|=(?!=)|[-+|&*]=|\+\+|--|->|\.)"
)


def statements_removed(source: Source) -> Iterator[list[Edit]]:
    for before, token, index in zip(source.tokens, source.tokens[1:], range(1, len(source.tokens))):
        begins = before.text in (";", "{", "}", "else") or (before.text == ")" and token.kind == "name")
        if not begins or source.depths[index] == 0 or CALL.match(source.text, token.begin) is None:
            continue
        end = source.value_end(index)
        if end is not None:
            yield [(token.begin, end, "")]


NOTHING = ("", "{}", "0", "false", "true", "nullptr", "std::nullopt")


def returned(source: Source) -> Iterator[list[Edit]]:
    for index, token in enumerate(source.tokens[:-1]):
        if token.text == "return":
            begin = source.tokens[index + 1].begin
            end = source.value_end(index + 1)
            if end is not None and source.text[begin:end] not in NOTHING:
                yield [(begin, end, "{}")]


OPERATORS: tuple[tuple[str, Callable[[Source], Iterator[list[Edit]]]], ...] = (
    ("relational", exchanged_signs(RELATIONAL)),
    ("arithmetic", exchanged_signs(ARITHMETIC | STEPS)),
    ("logical", exchanged_signs(LOGICAL)),
    ("off by one", off_by_one),
    ("negated", negated),
    ("constant", constants),
    ("row dropped", rows_dropped),
    ("fields exchanged", fields_exchanged),
    ("statement removed", statements_removed),
    ("returned", returned),
)


def mutants_of(source: Source) -> Iterator[Mutant]:
    for name, find in OPERATORS:
        for edits in find(source):
            begin = min(edit[0] for edit in edits)
            if all(source.may_change(first, max(last, first + 1)) for first, last, _ in edits):
                yield Mutant(source.path, name, tuple(edits), source.line_of(begin))


def drawn(mutants: list[Mutant], seed: int) -> Iterator[Mutant]:
    """In the seed's order: an operator first, so that frequent ones don't crowd out the others."""
    dice = random.Random(seed)
    by_operator = {name: [mutant for mutant in mutants if mutant.operator == name] for name, _ in OPERATORS}
    for group in by_operator.values():
        dice.shuffle(group)
    while any(by_operator.values()):
        yield by_operator[dice.choice([name for name, group in by_operator.items() if group])].pop()

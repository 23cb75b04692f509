"""A C++ source as tokens, with what must not be changed in it."""

import bisect
import dataclasses
import functools
import re

TOKEN = re.compile(
    r"""
    (?P<passed>//[^\n]*|/\*.*?\*/|^[ \t]*\#(?:\\\n|[^\n])*)
  | (?P<text>"(?:\\.|[^"\\])*")
  | (?P<number>\.?\d(?:'?[\w.])*)
  | (?P<character>'(?:\\.|[^'\\])*')
  | (?P<name>[A-Za-z_]\w*)
  | (?P<sign>->\*|<=>|<<=|>>=|\.\.\.|::|->|\+\+|--|<<|[-+*/%&|^<>=!]=|&&|\|\||[^\s\w])
    """,
    re.VERBOSE | re.MULTILINE | re.DOTALL,
)
CLOSING = {"(": ")", "[": "]", "{": "}"}
SCOPES = ("struct", "class", "enum", "namespace", "union", "extern")

# Constants that only have to be large enough.
SPARE_NAMES = (
    "ARGUMENT_ROWS_MAX",
    "BRANCHES_MAX",
    "CHAIN_ELEMENTS_MAX",
    "HELP_SIZE",
    "PATH_SIZE",
    "READ_BYTES",
    "VALUE_SIZE",
)
# What is not mutated, by how it begins: up to the bracket that closes the call, or to the statement's end.
LEFT_OUT_CALLS = (
    re.compile(r"\bstatic_assert\s*\("),
    re.compile(r"\blog_message\s*\(\s*LEVEL_DEBUG\b"),
    re.compile(r"\b(?:reserve|va_end)\s*\("),
    re.compile(r"\[\["),
)
LEFT_OUT_STATEMENTS = (
    re.compile(r"\b(?:using|namespace|extern|friend|typedef)\b"),
    re.compile(r"\btemplate\s*<"),
    re.compile(rf"\bconstexpr [^;=]*\b(?:{'|'.join(SPARE_NAMES)})\b *="),
)
# Room in arrays.
LEFT_OUT_PLACES = (
    re.compile(r"\barray<[^<>;]*,\s*\d+>"),
    re.compile(r"\b\w+\[\d+\]\s*[;{=]"),
    re.compile(r"\boperator *[-+*/%&|^<>=!]+"),
)


@dataclasses.dataclass(frozen=True)
class Token:
    kind: str
    text: str
    begin: int
    end: int


class Source:
    """The tokens without comments and directives; indices are those of `tokens`."""

    def __init__(self, path: str, text: str) -> None:
        self.path = path
        self.text = text
        self.tokens = [
            Token(str(found.lastgroup), found.group(), found.start(), found.end())
            for found in TOKEN.finditer(text)
            if found.lastgroup != "passed"
        ]
        self.begins = [token.begin for token in self.tokens]
        self.partners = self._partners()
        self.left_out = sorted(self._left_out())

    def _partners(self) -> dict[int, int]:
        partners: dict[int, int] = {}
        waiting: list[int] = []
        for index, token in enumerate(self.tokens):
            if token.text in CLOSING:
                waiting.append(index)
            elif token.text in CLOSING.values() and waiting:
                partners[waiting[-1]] = index
                partners[index] = waiting.pop()
        return partners

    def _left_out(self) -> list[tuple[int, int]]:
        return (
            [(place.start(), self.call_end(place.end() - 1)) for place in self._places(LEFT_OUT_CALLS)]
            + [(place.start(), self.statement_end(place.start())) for place in self._places(LEFT_OUT_STATEMENTS)]
            + [(place.start(), place.end()) for place in self._places(LEFT_OUT_PLACES)]
        )

    def _places(self, patterns: tuple[re.Pattern[str], ...]) -> list[re.Match[str]]:
        found = [place for pattern in patterns for place in pattern.finditer(self.text)]
        return [place for place in found if self._is_code(place.start())]

    def _is_code(self, place: int) -> bool:
        index = self.index_at(place)
        return index < len(self.tokens) and self.tokens[index].begin == place

    def index_at(self, place: int) -> int:
        """The first token that begins there or later."""
        return bisect.bisect_left(self.begins, place)

    def call_end(self, place: int) -> int:
        """Behind the bracket that closes the one around or at the place."""
        index = bisect.bisect_right(self.begins, place) - 1
        while index > 0 and (self.tokens[index].text not in CLOSING or self.partners.get(index, 0) < index):
            index -= 1
        return self.tokens[self.partners.get(index, index)].end

    def statement_end(self, place: int) -> int:
        """Behind the semicolon, or at the brace that opens a body."""
        index = self.index_at(place)
        while index < len(self.tokens) and self.tokens[index].text not in (";", "{"):
            index = self.partners.get(index, index) + 1
        return self.tokens[min(index, len(self.tokens) - 1)].end

    def value_end(self, index: int) -> int | None:
        """Behind the value that begins with the token; none when no semicolon is there."""
        while index < len(self.tokens) and self.tokens[index].text not in (";", *CLOSING.values()):
            index = self.partners.get(index, index) + 1
        has_end = index < len(self.tokens) and self.tokens[index].text == ";"
        return self.tokens[index - 1].end if has_end else None

    def may_change(self, begin: int, end: int) -> bool:
        return not any(first < end and begin < last for first, last in self.left_out)

    def line_of(self, place: int) -> int:
        return self.text.count("\n", 0, place) + 1

    def slice(self, first: int, last: int) -> str:
        """The text of these tokens, both ends included."""
        return self.text[self.tokens[first].begin : self.tokens[last].end]

    def has_spaces(self, token: Token) -> bool:
        """True of a sign between two operands, as formatted code has it."""
        return self.text[token.begin - 1].isspace() and self.text[token.end : token.end + 1].isspace()

    def parts(self, opening: int) -> list[tuple[int, int]]:
        """What commas divide between the bracket and its partner: first and last token of each."""
        closing = self.partners.get(opening, opening)
        parts = []
        first = index = opening + 1
        while index < closing:
            if self.tokens[index].text in CLOSING:
                index = self.partners.get(index, index)
            elif self.tokens[index].text == ",":
                parts.append((first, index - 1))
                first = index + 1
            index += 1
        if first < closing:
            parts.append((first, closing - 1))
        return [(begin, end) for begin, end in parts if begin <= end]

    @functools.cached_property
    def scope_braces(self) -> set[int]:
        """Braces of types and namespaces, in which no statements are."""
        braces = set()
        for index, token in enumerate(self.tokens):
            if token.text == "{":
                head = index - 1
                while head >= 0 and self.tokens[head].text not in (";", "{", "}", ")"):
                    head -= 1
                if any(word.text in SCOPES for word in self.tokens[head + 1 : index]):
                    braces.add(index)
        return braces

    @functools.cached_property
    def depths(self) -> list[int]:
        """Of each token, the brackets around it that belong to no scope."""
        depths = []
        depth = 0
        scopes = self.scope_braces | {self.partners.get(brace, -1) for brace in self.scope_braces}
        for index, token in enumerate(self.tokens):
            if token.text in CLOSING.values() and index not in scopes:
                depth -= 1
            depths.append(depth)
            if token.text in CLOSING and index not in scopes:
                depth += 1
        return depths

    def declared_names(self, place: int) -> set[str]:
        """What the declaration around the place declares, outside of any function or table."""
        index = max(bisect.bisect_right(self.begins, place) - 1, 0)
        ends = (";", "{", "}", ",")
        while index > 0 and not (self.depths[index] == 0 and self.tokens[index - 1].text in ends):
            index -= 1
        last = ""
        while index < len(self.tokens) and self.tokens[index].text not in ("=", "{", "(", ";", "["):
            if self.tokens[index].kind == "name":
                last = self.tokens[index].text
            index += 1
        return {last} - {""}

    def is_in_function(self, place: int, code: set[int]) -> bool:
        """True when the outermost braces around the place, scopes left aside, have lines of code."""
        index = max(bisect.bisect_right(self.begins, place) - 1, 0)
        while index > 0 and self.depths[index] > 0:
            index -= 1
        body = index
        while body < len(self.tokens) and (self.tokens[body].text != "{" or body in self.scope_braces):
            if self.tokens[body].text in (";", "}"):
                return False
            body = self.partners.get(body, body) + 1 if self.tokens[body].text in CLOSING else body + 1
        if body not in self.partners:
            return False
        last = self.tokens[self.partners[body]].end
        return self.tokens[index].begin <= place < last and any(
            line in code for line in range(self.line_of(self.tokens[index].begin), self.line_of(last) + 1)
        )

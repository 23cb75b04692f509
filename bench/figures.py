"""Figures: measurements of several runs, compared with a baseline from the same runs."""

import dataclasses
import math
import operator
import statistics

RELATIONS = {"<=": operator.le, "<": operator.lt, ">=": operator.ge, ">": operator.gt}


@dataclasses.dataclass(frozen=True)
class Target:
    """A figure's target: for the median of its ratio or difference to the baseline, or for its value
    in every run."""

    of: str  # "ratio", "difference" or "value"
    relation: str
    limit: float

    def text(self, unit):
        """Describes the target; only a ratio has no unit."""
        suffix = {"ratio": "x", "difference": f" {unit} more"}.get(self.of, f" {unit}")
        return f"{self.relation} {self.limit:g}{suffix}"


@dataclasses.dataclass(frozen=True)
class Summary:
    """Summary of several runs."""

    median: float
    least: float
    most: float


def summary_of(runs):
    """None without runs."""
    return Summary(statistics.median(runs), min(runs), max(runs)) if runs else None


class Runs(dict):
    """Values by name, one for each run."""

    def add(self, name, value):
        self.setdefault(name, []).append(value)


def part_of(values, part):
    """Percentile by nearest rank; `part` is 0 to 1."""
    ordered = sorted(values)
    return ordered[max(math.ceil(part * len(ordered)), 1) - 1]


@dataclasses.dataclass
class Figure:
    """`runs` and `baseline_runs` are paired: run i of both was made at about the same time."""

    group: str
    name: str
    unit: str
    runs: list
    baseline: str = ""
    baseline_runs: list = dataclasses.field(default_factory=list)
    target: Target | None = None

    def _pairs(self, combine):
        return [combine(*pair) for pair in zip(self.runs, self.baseline_runs)]

    def value(self):
        return summary_of(self.runs)

    def ratio(self):
        """None without a baseline, or if it is zero."""
        if not all(self.baseline_runs):
            return None
        return summary_of(self._pairs(operator.truediv))

    def difference(self):
        return summary_of(self._pairs(operator.sub))

    def met(self):
        """None without a target or without values."""
        reached = getattr(self, self.target.of)() if self.target else None
        if reached is None:
            return None
        worst = max(self.runs) if self.target.of == "value" else reached.median
        return RELATIONS[self.target.relation](worst, self.target.limit)

    def as_json(self):
        def fields(summary):
            return dataclasses.asdict(summary) if summary else None

        return {
            "group": self.group,
            "name": self.name,
            "unit": self.unit,
            "value": fields(self.value()),
            "runs": self.runs,
            "baseline": self.baseline or None,
            "baseline_value": fields(summary_of(self.baseline_runs)),
            "baseline_runs": self.baseline_runs,
            "ratio": fields(self.ratio()),
            "difference": fields(self.difference()),
            "target": self.target.text(self.unit) if self.target else None,
            "met": self.met(),
        }


def number(value):
    """Formats with three significant digits; whole numbers unchanged."""
    if value == round(value) or abs(value) >= 1000:
        return f"{value:.0f}"
    return f"{value:.{max(2 - math.floor(math.log10(abs(value))), 0)}f}"


def row_of(figure):
    """The cells of a figure's row in the table."""
    ratio = figure.ratio()
    spread = ratio or figure.value()
    met = {None: "", True: "met", False: "MISSED"}[figure.met()]
    base = summary_of(figure.baseline_runs)
    return (
        figure.name,
        f"{number(figure.value().median)} {figure.unit}",
        f"{figure.baseline} {number(base.median)}" if base else "",
        f"{ratio.median:.2f}x" if ratio else "",
        f"{number(spread.least)}..{number(spread.most)}{'x' if ratio else ''}",
        figure.target.text(figure.unit) if figure.target else "",
        met,
    )


HEADINGS = ("figure", "vtrdc", "baseline", "ratio", "spread", "target", "")


def table_of(figures):
    """Formats all figures as text, one block per group."""
    rows = [row_of(figure) for figure in figures]
    widths = [max(len(row[column]) for row in rows + [HEADINGS]) for column in range(len(HEADINGS))]

    def line(cells):
        return "  ".join(cell.ljust(width) for cell, width in zip(cells, widths)).rstrip()

    lines = [line(HEADINGS)]
    group = None
    for figure, row in zip(figures, rows):
        if figure.group != group:
            group = figure.group
            lines += ["", group]
        lines.append(line(row))
    return "\n".join(lines)

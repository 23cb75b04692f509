"""Curves: what was measured at growing sizes, the law that was expected of it, and their drawings."""

import dataclasses
import subprocess


@dataclasses.dataclass
class Curve:
    """A measured line of a chart, or an expected one."""

    name: str
    points: list = dataclasses.field(default_factory=list)  # pairs of size and value
    is_expected: bool = False

    def add(self, size, value):
        self.points.append((size, value))


@dataclasses.dataclass
class Chart:
    """Curves over the same sizes, in the same unit."""

    name: str  # also of its file
    title: str
    size: str  # what grows
    unit: str  # of the values
    curves: list
    is_logarithmic: bool = False  # both axes

    def as_json(self):
        return dataclasses.asdict(self)


def through_origin(points):
    """The factor of the line through the origin that fits best."""
    return sum(x * y for x, y in points) / sum(x * x for x, _ in points)


def straight(points):
    """Start and slope of the straight line that fits best."""
    count = len(points)
    mean_x = sum(x for x, _ in points) / count
    mean_y = sum(y for _, y in points) / count
    slope = (sum((x - mean_x) * (y - mean_y) for x, y in points) /
             sum((x - mean_x) ** 2 for x, _ in points))
    return mean_y - slope * mean_x, slope


def expected(law, sizes, name):
    """A law as a curve at these sizes."""
    return Curve(name, [(size, law(size)) for size in sizes], is_expected=True)


def gnuplot_words(chart, file):
    """The program that draws the chart."""
    lines = [
        "set terminal svg size 640,360 font 'sans-serif,12' background rgb 'white'",
        f"set output '{file}'",
        f"set title {quoted(chart.title)}",
        f"set xlabel {quoted(chart.size)}",
        f"set ylabel {quoted(chart.unit)}",
        "set key outside bottom center horizontal",
        "set grid lc rgb '#dddddd'",
        "set logscale xy" if chart.is_logarithmic else "set yrange [0:*]",
    ]
    plots = []
    for number, curve in enumerate(chart.curves):
        lines += [f"$data{number} << END",
                  *(f"{size} {value}" for size, value in curve.points), "END"]
        style = "lines dashtype 2" if curve.is_expected else "linespoints pointtype 7 pointsize 0.5"
        plots.append(f"$data{number} with {style} title {quoted(curve.name)}")
    return "\n".join([*lines, "plot " + ", ".join(plots), ""])


def quoted(text):
    return '"' + text.replace("\\", "\\\\").replace('"', '\\"') + '"'


def draw(chart, folder):
    """Writes the chart as SVG; the file."""
    file = folder / f"growth-{chart.name}.svg"
    subprocess.run(["gnuplot"], input=gnuplot_words(chart, file), text=True, check=True)
    return file


def table_of(chart):
    """The chart as text: a column a curve."""
    sizes = sorted({size for curve in chart.curves for size, _ in curve.points})
    values = [dict(curve.points) for curve in chart.curves]
    rows = [[chart.size, *(curve.name for curve in chart.curves)]]
    rows += [[f"{size:g}", *(f"{each[size]:.4g}" if size in each else "" for each in values)]
             for size in sizes]
    widths = [max(len(row[column]) for row in rows) for column in range(len(rows[0]))]
    lines = ["  ".join(cell.rjust(width) for cell, width in zip(row, widths)) for row in rows]
    return "\n".join([f"{chart.title} ({chart.unit})", *lines])

"""Reads the picture of a board's panel."""

import fcntl
import math
import pathlib
import statistics
import subprocess
from typing import NamedTuple

WIDTH, HEIGHT, PIXEL_BYTES = 1024, 768, 4
COLOURS = 3  # the fourth byte of a pixel is unused


class Area(NamedTuple):
    x: int
    y: int
    width: int
    height: int


def area_of(text: str) -> Area:
    """Parses "x,y,width,height". Raises ValueError if it is malformed or outside of the panel."""
    area = Area(*(int(part) for part in text.split(",")))
    if min(area) < 0 or area.x + area.width > WIDTH or area.y + area.height > HEIGHT or not area.width * area.height:
        raise ValueError("not on the panel")
    return area


class Panel:
    def __init__(self, file: pathlib.Path) -> None:
        self.file = file

    def picture(self) -> bytes:
        """A complete picture: the writer locks the file for each."""
        with open(self.file, "rb") as panel:
            fcntl.flock(panel, fcntl.LOCK_SH)
            return panel.read(WIDTH * HEIGHT * PIXEL_BYTES)

    def time_ns(self) -> int:
        """Time of the last picture."""
        return self.file.stat().st_mtime_ns

    def colours(self, area: Area) -> bytes:
        """All colours in the area, 0 to 255."""
        picture, parts = self.picture(), []
        for line in range(area.y, area.y + area.height):
            begin = (line * WIDTH + area.x) * PIXEL_BYTES
            pixels = picture[begin:begin + area.width * PIXEL_BYTES]
            parts += [pixels[colour::PIXEL_BYTES] for colour in range(COLOURS)]
        return b"".join(parts)

    def mean(self, area: Area) -> float:
        return statistics.fmean(self.colours(area))

    def deviation(self, area: Area) -> float:
        """How much the colours differ over the area: their standard deviation."""
        colours = self.colours(area)
        mean = statistics.fmean(colours)
        return math.sqrt(statistics.fmean((colour - mean) ** 2 for colour in colours))

    def difference(self, png: pathlib.Path) -> float:
        """Mean difference of the colours from a picture in a file."""
        other = subprocess.run(
            ["ffmpeg", "-v", "error", "-i", str(png), "-vf", f"scale={WIDTH}:{HEIGHT}",
             "-f", "rawvideo", "-pix_fmt", "bgr0", "-"], capture_output=True, check=True).stdout
        own = self.picture()
        total = sum(sum(abs(a - b) for a, b in zip(own[colour::PIXEL_BYTES], other[colour::PIXEL_BYTES]))
                    for colour in range(COLOURS))
        return total / (WIDTH * HEIGHT * COLOURS)

#!/usr/bin/env python3
"""Records ten seconds each time the zoom button is pressed, until it is interrupted.

The daemon tells no client of the buttons themselves. What shows in its status is what they do: a press of
the zoom button steps "zoom" or, while the inset is shown, "inset". So do clients that send kbd_zoom or
enable_pip, which this program can't tell from a press. A press while it records is not seen.
"""

import sys
from typing import Tuple

import vtrdc

# How long a recording may take to start and to be completed.
PATIENCE_S = 30


def magnification(status: vtrdc.Status) -> Tuple[int, int]:
    """What the zoom button steps."""
    return status["zoom"], status["inset"]


def recording_gets(sight: vtrdc.Sight, state: str, seconds: float) -> bool:
    """Waits until the recording has that state; false when it has not come in time."""
    return any(status["outputs"]["recording"]["state"] == state for status in sight.watch(seconds))


def record(sight: vtrdc.Sight, seconds: float) -> None:
    """Records, unless the daemon refuses or records already."""
    if sight.status["outputs"]["recording"]["state"] != "off":
        return
    try:
        sight.enable_record(True)
    except vtrdc.Refused as refusal:
        print(refusal, file=sys.stderr)
        return
    # A recording can end by itself, for lack of space.
    if recording_gets(sight, "on", PATIENCE_S) and not recording_gets(sight, "off", seconds):
        sight.enable_record(False)
        recording_gets(sight, "off", PATIENCE_S)
    print(sight.status["outputs"]["recording"]["file"], flush=True)


def main() -> None:
    seconds = float(sys.argv[1]) if len(sys.argv) > 1 else 10.0
    with vtrdc.Sight() as sight:
        before = magnification(sight.status)
        print(f"Each press of the zoom button records {seconds:g} seconds.", flush=True)
        for status in sight.watch():
            if magnification(status) != before:
                record(sight, seconds)
                before = magnification(sight.status)


if __name__ == "__main__":
    try:
        main()
    except vtrdc.NoAnswer as problem:
        sys.exit(str(problem))
    except KeyboardInterrupt:
        pass

#!/usr/bin/env python3
"""Records ten seconds each time the zoom button is pressed, until interrupted.

The status doesn't contain the buttons, but their effect: the zoom button changes "zoom" or, while the inset
is shown, "inset". Clients that send kbd_zoom or enable_pip have the same effect, so this program can't
distinguish them from a press. It ignores presses while it records.
"""

import sys
from typing import Tuple

import vtrdc

# Time limit for starting and for completing a recording.
PATIENCE_S = 30


def magnification(status: vtrdc.Status) -> Tuple[int, int]:
    """The values that the zoom button changes."""
    return status["zoom"], status["inset"]


def recording_gets(sight: vtrdc.Sight, state: str, seconds: float) -> bool:
    """Waits until the recording has that state. Returns False on timeout."""
    return any(status["outputs"]["recording"]["state"] == state for status in sight.watch(seconds))


def record(sight: vtrdc.Sight, seconds: float) -> None:
    """Records, unless the daemon refuses or is already recording."""
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

"""The performance figures: measures, prints a table, and writes JSON. Started by scripts/bench."""

import argparse
import json
import os
import pathlib
import platform
import subprocess
import sys
import tempfile
import time

from commands import disturbances, round_trips
from figures import table_of
from page import page
from pipes import OTHERS, idling, pipes
from status import status
from subjects import OTHERS_FOLDER, OTHERS_VARIABLES, Bench

FULL = {"rounds": 5, "seconds": 6.0, "settle_seconds": 1.0, "ask_seconds": 0.6,
        "idle_seconds": 6.0}
QUICK = {"rounds": 1, "seconds": 1.5, "settle_seconds": 0.5, "ask_seconds": 0.2,
         "idle_seconds": 2.0}


def arguments():
    parser = argparse.ArgumentParser(prog="scripts/bench", description=__doc__)
    parser.add_argument("--source", type=pathlib.Path, required=True, help=argparse.SUPPRESS)
    parser.add_argument("--build", type=pathlib.Path, required=True, help=argparse.SUPPRESS)
    parser.add_argument("--quick", action="store_true", help="one short run of everything")
    parser.add_argument("--json", action="store_true",
                        help="the JSON on standard output, the table on standard error")
    parser.add_argument("--only", action="append", choices=sorted(SESSIONS),
                        help="only this part; may be given more than once")
    return parser.parse_args()


SESSIONS = {"commands": round_trips, "pipes": pipes, "idle": idling, "events": disturbances,
            "page": page, "status": status}


def processor():
    for line in pathlib.Path("/proc/cpuinfo").read_text().splitlines():
        if line.startswith("model name"):
            return line.split(":", 1)[1].strip()
    return platform.machine()


def machine():
    return {"processor": processor(), "cores": os.cpu_count(), "kernel": platform.release(),
            "time": time.strftime("%Y-%m-%dT%H:%M:%S%z")}


def look_for_plugins(bench):
    """So that no program that is measured does it."""
    for others in (False, True)[:1 + bool(bench.others)]:
        subprocess.run(["gst-inspect-1.0", "qtoverlay"], check=True, stdout=subprocess.DEVNULL,
                       env=os.environ | bench.plugin_environment(others))


def taken_from_environment():
    """What only those boards shall have that are for others' elements."""
    return {name: os.environ.pop(name) for name in OTHERS_VARIABLES if name in os.environ}


def measure(options, work):
    settings = QUICK if options.quick else FULL
    bench = Bench(options.source, options.build, work, options.build / "bench/registry.bin",
                  taken_from_environment(), **settings)
    look_for_plugins(bench)
    result = {"machine": machine(), "quick": options.quick, "settings": settings,
              "elements": bench.others.get(OTHERS_FOLDER), "load_before": os.getloadavg()}
    figures = []
    for name, session in SESSIONS.items():
        if not options.only or name in options.only:
            print(f"measuring: {name}", file=sys.stderr, flush=True)
            figures += session(bench)
    result |= {"load_after": os.getloadavg(), "figures": [each.as_json() for each in figures]}
    return result, figures


def heading(result):
    machine_name = "{processor}, {cores} cores, Linux {kernel}, {time}".format(**result["machine"])
    load = "load average before {:.2f}, after {:.2f}".format(result["load_before"][0],
                                                              result["load_after"][0])
    lines = [f"{machine_name}; {load}"]
    if result["elements"]:
        lines.append(f"{OTHERS}: those in {result['elements']}")
    if result["quick"]:
        lines.append("one short round: it shows that everything runs, its figures prove little")
    return "\n".join(lines)


def main():
    options = arguments()
    with tempfile.TemporaryDirectory(prefix="b", dir=options.build / "bench") as work:
        result, figures = measure(options, pathlib.Path(work))
    text = json.dumps(result, indent=1)
    file = options.build / "bench" / "results.json"
    file.write_text(text + "\n")
    print(f"{heading(result)}\n\n{table_of(figures)}\n\nas JSON: {file}",
          file=sys.stderr if options.json else sys.stdout)
    if options.json:
        print(text)


if __name__ == "__main__":
    main()

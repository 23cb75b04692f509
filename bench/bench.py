"""Measures performance, prints a table and writes JSON. Started by scripts/bench."""

import argparse
import json
import os
import pathlib
import platform
import subprocess
import sys
import tempfile
import time

import curves
from commands import disturbances, round_trips
from figures import table_of
from growth import GROWTH
from page import page
from pipes import OTHERS, idling, pipes
from status import status
from subjects import OTHERS_FOLDER, OTHERS_VARIABLES, Bench

FULL = {"rounds": 5, "seconds": 6.0, "settle_seconds": 1.0, "ask_seconds": 0.6,
        "idle_seconds": 6.0, "soak_minutes": 60}
QUICK = {"rounds": 1, "seconds": 1.5, "settle_seconds": 0.5, "ask_seconds": 0.2,
         "idle_seconds": 2.0, "soak_minutes": 1}


def arguments():
    parser = argparse.ArgumentParser(prog="scripts/bench", description=__doc__)
    parser.add_argument("--source", type=pathlib.Path, required=True, help=argparse.SUPPRESS)
    parser.add_argument("--build", type=pathlib.Path, required=True, help=argparse.SUPPRESS)
    parser.add_argument("--quick", action="store_true", help="run one short round of everything")
    parser.add_argument("--json", action="store_true",
                        help="print the JSON to standard output, the table to standard error")
    parser.add_argument("--only", action="append",
                        help="run only this part; may be repeated")
    parser.add_argument("--scale", action="store_true", help="measure how figures grow")
    options = parser.parse_args()
    parts = GROWTH if options.scale else SESSIONS
    for part in options.only or ():
        if part not in parts:
            parser.error(f"--only needs one of {', '.join(parts)}")
    return options


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
    """Creates the GStreamer registry, so that no measured program has to."""
    for others in (False, True)[:1 + bool(bench.others)]:
        subprocess.run(["gst-inspect-1.0", "qtoverlay"], check=True, stdout=subprocess.DEVNULL,
                       env=os.environ | bench.plugin_environment(others))


def taken_from_environment():
    """Removes the variables for other plug-ins from the environment and returns them."""
    return {name: os.environ.pop(name) for name in OTHERS_VARIABLES if name in os.environ}


def bench_of(options, work):
    settings = QUICK if options.quick else FULL
    bench = Bench(options.source, options.build, work, options.build / "bench/registry.bin",
                  taken_from_environment(), **settings)
    look_for_plugins(bench)
    return bench, settings


def measure_parts(parts, bench, options):
    """What each part that is wanted gives, one after the other."""
    results = []
    for name, part in parts.items():
        if not options.only or name in options.only:
            print(f"measuring: {name}", file=sys.stderr, flush=True)
            results += part(bench)
    return results


def measure(options, work):
    """The result for JSON, without what was measured, and that."""
    bench, settings = bench_of(options, work)
    result = {"machine": machine(), "quick": options.quick, "settings": settings,
              "elements": bench.others.get(OTHERS_FOLDER), "load_before": os.getloadavg()}
    measured = measure_parts(GROWTH if options.scale else SESSIONS, bench, options)
    return result | {"load_after": os.getloadavg()}, measured


def heading(result):
    machine_name = "{processor}, {cores} cores, Linux {kernel}, {time}".format(**result["machine"])
    load = "load average before {:.2f}, after {:.2f}".format(result["load_before"][0],
                                                              result["load_after"][0])
    lines = [f"{machine_name}; {load}"]
    if result["elements"]:
        lines.append(f"{OTHERS}: those in {result['elements']}")
    if result["quick"]:
        lines.append("one short round: the figures mean little")
    return "\n".join(lines)


def write_charts(charts, folder):
    """A drawing and the points of each, so that one part can be measured again by itself."""
    folder.mkdir(exist_ok=True)
    for chart in charts:
        curves.draw(chart, folder)
        points = json.dumps(chart.as_json(), indent=1)
        (folder / f"growth-{chart.name}.json").write_text(points + "\n")


def main():
    options = arguments()
    with tempfile.TemporaryDirectory(prefix="b", dir=options.build / "bench") as work:
        result, measured = measure(options, pathlib.Path(work))
    key = "charts" if options.scale else "figures"
    text = json.dumps(result | {key: [each.as_json() for each in measured]}, indent=1)
    if options.scale:
        place = options.build / "bench/growth"
        write_charts(measured, place)
        table = "\n\n".join(map(curves.table_of, measured))
    else:
        place = options.build / "bench/results.json"
        place.write_text(text + "\n")
        table = table_of(measured)
    print(f"{heading(result)}\n\n{table}\n\nas JSON: {place}",
          file=sys.stderr if options.json else sys.stdout)
    if options.json:
        print(text)


if __name__ == "__main__":
    main()

"""Plays scenario files on simulated boards: scripts/sim run."""

import argparse
import pathlib
import sys
import tempfile
import time
import xml.etree.ElementTree as xml
from typing import Optional

sys.path.insert(0, str(pathlib.Path(__file__).parent))
from acts import ACTS
from expectations import EXPECTATIONS
from grammar import BadScenario, Reader, Step
from stage import POLL_S, Failed, Skipped, Stage

PASSED, FAILED, BAD_FILE = 0, 1, 2
LOG_LINES = 15


def fail_message(step: Step, why: str) -> str:
    return f"line {step.line}: {step.text}\n    {why}"


def expect(stage: Stage, step: Step) -> None:
    deadline = time.monotonic() + step.within_s
    while (seen := step.row.run(stage, *step.arguments)) is not None:
        if time.monotonic() > deadline:
            raise Failed(seen)
        time.sleep(POLL_S)


def play(stage: Stage, steps: list[Step], tell) -> None:
    begun = time.monotonic()
    for step in steps:
        time.sleep(step.after_s)
        if step.at_s is not None:
            time.sleep(max(0.0, begun + step.at_s - time.monotonic()))
        tell(f"{time.monotonic() - begun:6.1f} s  {step.text}")
        try:
            expect(stage, step) if step.is_expectation else step.row.run(stage, *step.arguments)
        except (Failed, OSError) as why:
            raise Failed(fail_message(step, str(why))) from None


def report_failure(stage: Stage, message: str) -> str:
    """Describes a failure: message, log, picture, and the board's folder."""
    shot = stage.board / "failed.png"
    lines = stage.log.text().splitlines()[-LOG_LINES:]
    text = message + "\n  the log's end:\n" + "\n".join("    " + line for line in lines)
    try:
        stage.must("shot", str(shot))
        text += f"\n  the panel: {shot}"
    except Failed as why:
        text += f"\n  no picture: {why}"
    return text + f"\n  the board is kept: {stage.board}"


def run_file(file: pathlib.Path, steps: list[Step], options: argparse.Namespace, tell) -> Optional[str]:
    """Returns None on success, else the failure."""
    board = options.board or pathlib.Path(tempfile.mkdtemp(prefix="vtrdc-run-"))
    stage = Stage(options.source, options.build, board / "b" if options.board is None else board,
                  file)
    failure = None
    try:
        play(stage, steps, tell)
    except Skipped as why:
        print(f"skipped: {why}")
    except Failed as why:
        failure = report_failure(stage, f"{file}: {why}")
    finally:
        stage.close()
    if failure is None and options.board is None:
        stage.remove()
        board.rmdir()
    return failure


def write_junit(path: pathlib.Path, results: list[tuple[str, float, Optional[str]]]) -> None:
    suite = xml.Element("testsuite", name="scenarios", tests=str(len(results)),
                        failures=str(sum(failure is not None for _, _, failure in results)))
    for name, seconds, failure in results:
        case = xml.SubElement(suite, "testcase", name=name, time=f"{seconds:.1f}")
        if failure is not None:
            xml.SubElement(case, "failure", message=failure.splitlines()[1]).text = failure
    xml.ElementTree(suite).write(path, encoding="unicode", xml_declaration=True)


def read_all(files: list[pathlib.Path]) -> list[tuple[pathlib.Path, list[Step]]]:
    reader = Reader(ACTS, EXPECTATIONS)
    scenarios = []
    for file in files:
        try:
            scenarios.append((file, reader.read(file.read_text(encoding="utf-8"))))
        except BadScenario as wrong:
            print(f"{file}:{wrong.line}:{wrong.column}: {wrong}", file=sys.stderr)
            raise SystemExit(BAD_FILE) from None
        except (OSError, UnicodeDecodeError) as wrong:
            print(f"{file}: can't be read: {wrong}", file=sys.stderr)
            raise SystemExit(BAD_FILE) from None
    return scenarios


def vocabulary() -> str:
    lines = []
    for title, rows, word in (("Acts", ACTS, ""), ("Expectations", EXPECTATIONS, "expect ")):
        lines.append(title + ":")
        lines += [f"  {word + row.pattern:50} {row.about}" for row in rows]
    return "\n".join(lines)


def main() -> int:
    parser = argparse.ArgumentParser(prog="run", formatter_class=argparse.RawDescriptionHelpFormatter,
                                     epilog=vocabulary())
    parser.add_argument("files", type=pathlib.Path, nargs="+", metavar="FILE")
    parser.add_argument("--source", type=pathlib.Path, required=True, help=argparse.SUPPRESS)
    parser.add_argument("--build", type=pathlib.Path, required=True, help=argparse.SUPPRESS)
    parser.add_argument("--board", type=pathlib.Path, help="play on this board, and keep it")
    parser.add_argument("--junit", type=pathlib.Path, help="write the results as JUnit's XML")
    options = parser.parse_args()

    on_terminal = sys.stdout.isatty()
    results = []
    for file, steps in read_all(options.files):
        begun = time.monotonic()
        tell = (lambda line: print(line, flush=True)) if on_terminal else (lambda line: None)
        tell(str(file))
        failure = run_file(file, steps, options, tell)
        seconds = time.monotonic() - begun
        results.append((file.stem, seconds, failure))
        print(f"{'passed' if failure is None else 'FAILED'}  {file}  {seconds:.1f} s", flush=True)
        if failure is not None:
            print(failure, flush=True)
    if options.junit is not None:
        write_junit(options.junit, results)
    return PASSED if all(failure is None for _, _, failure in results) else FAILED


if __name__ == "__main__":
    sys.exit(main())

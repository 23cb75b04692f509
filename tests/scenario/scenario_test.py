"""Scenario files: error messages for invalid files and for failing steps."""

import os
import pathlib
import re
import signal
import subprocess
import sys
import tempfile
import time
import unittest
import xml.etree.ElementTree as xml

SOURCE = pathlib.Path(__file__).parents[2]
SIM = SOURCE / "scripts/sim"
FAILING = pathlib.Path(__file__).parent / "failing"


def sim(*words: str) -> subprocess.CompletedProcess:
    return subprocess.run([str(SIM), "--no-build", *words], text=True, capture_output=True, check=False)


class ScenarioTest(unittest.TestCase):
    def setUp(self) -> None:
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def write(self, text: str) -> str:
        file = self.folder / "scenario.txt"
        file.write_text(text)
        return str(file)

    def wait_until(self, reached) -> None:
        deadline = time.monotonic() + 30
        while not reached():
            self.assertLess(time.monotonic(), deadline)
            time.sleep(0.05)

    def test_errors_have_line_and_column(self) -> None:
        for text, where, what in (
            ("start\n  dance\n", "2:3", "dance is none of"),
            ("press fire\n", "1:1", "this takes: press zoom|nuc|pol"),
            ("start\nexpect picture mean 1,2,3,4 x 5\n", "2:29", "a number"),
            ('start\ncommand "open\n', "2:9", "a quote without its end"),
            ("# first\nrepeat 3\nstart\n", "2:1", "has no end"),
            ("# nothing\n", "1:1", "no steps"),
        ):
            done = sim("run", self.write(text))
            self.assertEqual(done.returncode, 2, text)
            self.assertIn(f"scenario.txt:{where}: ", done.stderr)
            self.assertIn(what, done.stderr)

    def test_failure_names_its_line_and_cause_and_keeps_the_board(self) -> None:
        results = self.folder / "results.xml"
        done = sim("run", "--junit", str(results), *map(str, sorted(FAILING.glob("*.txt"))))
        self.assertEqual(done.returncode, 1, done.stdout)
        for cause in ("line 3: expect status zoom 4 within 1\n    zoom is 2",
                      "line 2: expect log \"The moon is up\" within 1\n    the log has no such line",
                      "line 2: start\n    the daemon did not start",
                      "line 3: clock \"1970-01-01\"\n    sim: the daemon has the PC's clock",
                      "[ERROR]"):
            self.assertIn(cause, done.stdout)
        boards = [pathlib.Path(board) for board in re.findall(r"the board is kept: (.*)", done.stdout)]
        self.assertEqual(len(boards), 4)
        for board in boards:
            self.assertTrue((board / "dev/fb0").exists())
            subprocess.run(["rm", "-rf", str(board.parent)], check=True)
        self.assertEqual(xml.parse(results).getroot().get("failures"), "4")

    def test_recorded_acts_can_be_played(self) -> None:
        board, out = str(self.folder / "b"), self.folder / "recorded.txt"
        self.assertEqual(sim("--board", board, "--headless", "start", "--", "-v").returncode, 0)
        recorder = subprocess.Popen([str(SIM), "--no-build", "--board", board, "record", str(out)])
        try:
            self.wait_until(lambda: out.exists() and "start\n" in out.read_text())
            self.assertEqual(sim("--board", board, "press", "zoom").returncode, 0)
            self.assertEqual(sim("--board", board, "hdmi", "on").returncode, 0)
            build = os.environ.get("VTRDC_BUILD_DIR", str(SOURCE / "build"))
            subprocess.run([build + "/vtrdcctl", "set_origin", "500", "400"], check=True,
                           env={**os.environ, "VTRDC_SOCKET": board + "/run/vtrdc.socket"})
            self.wait_until(lambda: all(act in out.read_text() for act in ("set_origin", "monitor")))
        finally:
            recorder.send_signal(signal.SIGTERM)
            recorder.wait()
            sim("--board", board, "stop")
        for act in ("press zoom", "monitor on", "command set_origin 500 400"):
            self.assertRegex(out.read_text(), rf"after [0-9.]+ {act}\n")
        played = sim("run", str(out))
        self.assertEqual(played.returncode, 0, played.stdout)


if __name__ == "__main__":
    sys.exit(unittest.main())

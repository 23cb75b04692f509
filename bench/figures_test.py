"""Tests the arithmetic of the performance figures."""

import collections
import unittest

from curves import Chart, Curve, expected, gnuplot_words, straight, through_origin
from figures import Figure, Runs, Target, number, part_of, row_of, table_of
from pipelines import quoted
from pipes import LAUNCH, LIVE_VIEW, OTHERS, STAND_INS, pipe_figures
from subjects import FRAME_NS, missed

LIMIT = Target("ratio", "<=", 1.3)


def figure(runs, baseline_runs=(), target=LIMIT):
    return Figure("group", "name", "ms", list(runs), "echo", list(baseline_runs), target)


class FiguresTest(unittest.TestCase):
    def test_percentiles_are_measured_values(self):
        values = list(range(100, 0, -1))
        self.assertEqual([part_of(values, part) for part in (0, 0.5, 0.99, 1)], [1, 50, 99, 100])
        self.assertEqual(part_of([7], 0.99), 7)

    def test_runs_are_compared_pair_by_pair(self):
        # The second pair ran on a machine half as fast: the ratio stays the same.
        ratio = figure([11, 22, 12], [10, 20, 10]).ratio()
        self.assertAlmostEqual(ratio.median, 1.1)
        self.assertAlmostEqual(ratio.least, 1.1)
        self.assertAlmostEqual(ratio.most, 1.2)

    def test_targets(self):
        cases = [
            (figure([13, 13, 90], [10, 10, 10]), True),
            (figure([14, 14, 10], [10, 10, 10]), False),
            (figure([10], [10], Target("ratio", "<", 1)), False),
            (figure([10], [10], Target("ratio", ">=", 1)), True),
            (figure([5, 6], [4.5, 5], Target("difference", "<=", 1)), True),
            (figure([7, 7], [5, 5], Target("difference", "<=", 1)), False),
            (figure([0, 0, 0], [], Target("value", "<=", 0)), True),
            (figure([0, 0, 1], [], Target("value", "<=", 0)), False),
            # Division by zero: neither met nor missed.
            (figure([1], [0]), None),
            (figure([1]), None),
            (figure([1], [1], None), None),
        ]
        for case, expected in cases:
            with self.subTest(case=case):
                self.assertIs(case.met(), expected)

    def test_table_and_json_agree(self):
        missed_target = figure([2600, 2600], [1300, 1000])
        self.assertEqual(row_of(missed_target), ("name", "2600 ms", "echo 1150", "2.30x",
                                                 "2..2.60x", "<= 1.3x", "MISSED"))
        fields = missed_target.as_json()
        self.assertEqual((fields["target"], fields["met"]), ("<= 1.3x", False))
        self.assertAlmostEqual(fields["ratio"]["median"], 2.3)
        self.assertEqual(table_of([missed_target, missed_target]).count("\ngroup\n"), 1)

    def test_numbers_keep_three_digits(self):
        self.assertEqual([number(value) for value in (0, 3, 0.04567, 1.234, 56.78, 987.6, 12345.6)],
                         ["0", "3", "0.0457", "1.23", "56.8", "988", "12346"])

    def test_missed_pictures_are_gaps_in_camera_times(self):
        dues = [round(picture * FRAME_NS) for picture in (0, 1, 2, 5, 6, 8)]
        frames = [(due, due + 3_000_000) for due in dues]
        self.assertEqual(missed(frames, 0, dues[-1] + 4_000_000), 3)
        self.assertEqual(missed(frames, 0, dues[3]), 0)
        self.assertEqual(missed([], 0, 1), 0)

    def test_runs_collect_by_name(self):
        runs = Runs()
        for value in (1, 2):
            runs.add(("live", "cpu"), value)
        self.assertEqual(runs["live", "cpu"], [1, 2])

    def test_other_elements_are_compared_with_both(self):
        runs = collections.defaultdict(lambda: [3])
        self.assertFalse(any(OTHERS in figure.group for figure in pipe_figures(runs)))
        runs[LIVE_VIEW, OTHERS, "cpu"] = [6]
        self.assertEqual([(figure.baseline, figure.ratio().median, figure.met())
                          for figure in pipe_figures(runs)
                          if OTHERS in figure.group and "processor" in figure.name],
                         [(LAUNCH, 2, False), (STAND_INS, 2, False)])

    def test_texts_are_quoted_for_gst_launch(self):
        self.assertEqual(quoted('a "b" c\\'), '"a \\"b\\" c\\\\"')


class CurvesTest(unittest.TestCase):
    def test_laws_fit_what_follows_them(self):
        self.assertAlmostEqual(through_origin([(1, 2), (2, 4), (10, 20)]), 2)
        start, slope = straight([(1, 5), (2, 7), (10, 23)])
        self.assertAlmostEqual(start, 3)
        self.assertAlmostEqual(slope, 2)

    def test_a_chart_says_what_it_draws(self):
        chart = Chart("name", 'With "quotes"', "clients", "us",
                      [Curve("measured", [(1, 2.5)]), expected(lambda n: 2 * n, (1, 3), "law")])
        words = gnuplot_words(chart, "out.svg")
        self.assertIn('set title "With \\"quotes\\""', words)
        self.assertIn("$data1 << END\n1 2\n3 6\nEND", words)


if __name__ == "__main__":
    unittest.main()

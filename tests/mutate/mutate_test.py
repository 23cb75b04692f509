"""scripts/mutate: what it plants, what it leaves alone, and how it goes on."""

import argparse
import contextlib
import fcntl
import io
import os
import pathlib
import sys
import tempfile
import unittest

SOURCE = pathlib.Path(__file__).parents[2]
sys.path.insert(0, str(SOURCE / "tools/mutate"))

import known
import lines
import mutate
import operators
import run
import suite
from source import Source

# As it is, then each operator's faults of it: as the line becomes, without blanks at its ends.
FAULTS: tuple[tuple[str, str, list[str]], ...] = (
    ("relational", "bool f(int a) { return a < 3; }", ["bool f(int a) { return a <= 3; }"]),
    ("relational", "std::array<int, 3> a;", []),
    ("arithmetic", "int f(int* a) { return *a - -1; }", ["int f(int* a) { return *a + -1; }"]),
    ("logical", "bool f(T&& a) { return a || b; }", ["bool f(T&& a) { return a && b; }"]),
    ("off by one", "int n = size + 1;", ["int n = size;"]),
    ("negated", "void f() { if (int a = g(); !a) {} }",
     ["void f() { if (int a = g(); !(!a)) {} }", "void f() { if (int a = g(); a) {} }"]),
    ("constant", "int n = 8;", ["int n = 9;", "int n = 0;"]),
    ("constant", "int n = -1;", ["int n = 1;"]),
    ("constant", "auto n = 010;", ["auto n = 011;", "auto n = 0;"]),
    ("constant", "constexpr seconds WAIT{30};", ["constexpr seconds WAIT{0};"]),
    ("constant", 'auto t = "%d of\\n";', ['auto t = "%d ox\\n";']),
    ("constant", "int n = 0; // 7", ["int n = 1; // 7"]),
    ("row dropped", "row t[] = {{1}, {2}};", ["row t[] = { {2}};", "row t[] = {{1}, };"]),
    ("fields exchanged", "row t[] = {{.a = 1, .b = 2}, {.b = 3}};", ["row t[] = {{.a = 1, .b = 3}, {.b = 2}};"]),
    ("statement removed", "void f() { int a = 1; g(a); x.y = a; return; }",
     ["void f() { int a = 1; ; x.y = a; return; }", "void f() { int a = 1; g(a); ; return; }"]),
    ("statement removed", "struct s { s(int a); };", []),
    ("returned", "int f() { return g(1, 2); }", ["int f() { return {}; }"]),
    ("returned", "bool f() { return false; }", []),
)  # fmt: skip

LEFT_ALONE = """\
#include "a1.h"
static_assert(sizeof(int) == 4);
// if (a == 1) {}
std::array<char, 256> text;
char line[80];
constexpr std::size_t READ_BYTES = 65536;
using numbers = std::array<int, 1 + 2>;
void f() {
    log_message(LEVEL_DEBUG, "%d pipes", 1 + 2);
    list.reserve(12);
}
"""


def found(text: str, operator: str | None = None) -> list[str]:
    mutants = operators.mutants_of(Source("src/a.cpp", text))
    return [mutant.applied(text) for mutant in mutants if operator in (None, mutant.operator)]


class FaultsTest(unittest.TestCase):
    def test_each_operator_plants_its_own(self) -> None:
        for operator, text, faults in FAULTS:
            with self.subTest(operator=operator, text=text):
                self.assertEqual(found(text, operator), faults)
        self.assertEqual({row[0] for row in FAULTS}, {name for name, _ in operators.OPERATORS})

    def test_what_does_not_matter_is_left_alone(self) -> None:
        self.assertEqual(found(LEFT_ALONE), [])

    def test_seed_decides_the_order(self) -> None:
        mutants = list(operators.mutants_of(Source("src/a.cpp", "".join(text + "\n" for _, text, _ in FAULTS))))
        first = list(operators.drawn(mutants, 1))
        self.assertCountEqual(first, mutants)
        self.assertEqual(list(operators.drawn(mutants, 1)), first)
        self.assertNotEqual(list(operators.drawn(mutants, 2)), first)

    def test_known_faults_are_those_of_this_source(self) -> None:
        files = [file for file in (SOURCE / "src").rglob("*") if file.suffix in (".cpp", ".h", ".inc")]
        sources = {str(file.relative_to(SOURCE)): file.read_text() for file in files}
        faults = known.known_faults(
            SOURCE / "tools/mutate/known.txt", {path: Source(path, text) for path, text in sources.items()}
        )
        for fault in faults:
            self.assertNotEqual(fault.applied(sources[fault.path]), sources[fault.path], fault.operator)
        with self.assertRaises(known.Stale):
            known.fault("name\nsrc/a.cpp\n-int a;\n+int b;", {"src/a.cpp": Source("src/a.cpp", "int a = 1;\n")})


class TestsOfALineTest(unittest.TestCase):
    SOURCES = (
        Source("src/a.h", "constexpr int LIMIT = 3;\nconstexpr std::array rows{LIMIT,\n 4};\n"),
        Source("src/list.inc", "ROW(key, 5)\n"),
        Source("src/list.h", 'constexpr int rows[] = {\n#include "list.inc"\n};\n'),
        Source("src/a.cpp", "int f(int a) {\n    return g(a,\n        7);\n}\nint h() {\n    return rows[0];\n}\n"),
    )

    def run_by(self, path: str, text: str) -> set[str]:
        ran = {"one": {"src/a.cpp": [1, 2]}, "two": {"src/a.cpp": [5, 6]}}
        sources = {source.path: source for source in self.SOURCES}
        code = {"src/a.cpp": [1, 2, 5, 6]}
        entries = [{"test": test, "seconds": 1.0, "ran": there, "code": code} for test, there in ran.items()]
        place = sources[path].text.index(text)
        return lines.Map(entries, sources).tests_of(path, sources[path].line_of(place), place)

    def test_statement_and_data(self) -> None:
        self.assertEqual(self.run_by("src/a.cpp", "g(a"), {"one"})
        self.assertEqual(self.run_by("src/a.cpp", "7"), {"one"})  # its line has no code of its own
        self.assertEqual(self.run_by("src/a.h", "4"), {"two"})
        self.assertEqual(self.run_by("src/a.h", "3"), {"two"})  # by way of the rows
        self.assertEqual(self.run_by("src/list.inc", "5"), {"two"})  # by way of the table

    def test_those_that_write_of_it_then_the_quickest_of_each_suite(self) -> None:
        seconds = {"A.a": 1.0, "A.b": 2.0, "B.a": 3.0, "C.a": 8.0, "C.b": 9.0}
        bodies = {"A.a": "", "A.b": "", "B.a": "", "C.a": "record_gop", "C.b": "record_gop record_idr"}
        order = lines.in_order(set(seconds), seconds, bodies, {"record_gop", "record_idr"})
        self.assertEqual(order, ["C.b", "C.a", "A.a", "B.a", "A.b"])


class GoingOnTest(unittest.TestCase):
    def setUp(self) -> None:
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.file = pathlib.Path(folder.name) / "seed"
        self.sources = {"src/a.cpp": Source("src/a.cpp", "int f() { return a + 1 < 2 && b; }\n")}
        self.results = ["noticed", "not built", "survived", "noticed", "noticed"]
        self.asked = 0

    def tried(self, _: operators.Mutant) -> dict:
        result = self.results[self.asked]
        self.asked += 1
        return {"result": result, "by": "T.a", "how": "failed", "seconds": 1, "ran": 2, "tests": 3}

    def look_at_time(self, most: int) -> None:
        if self.asked == most:
            raise run.OutOfTime

    def try_all(self, most: int = 99, **choice) -> tuple[run.Records, dict]:
        options = argparse.Namespace(**{"known": False, "seed": 1, "count": 3, "only": None, "again": False, **choice})
        records = run.Records(self.file, "mutant")
        with contextlib.redirect_stdout(io.StringIO()):
            mutants = mutate.try_all(options, self.sources, records, self.tried, lambda: self.look_at_time(most))
        return records, mutants

    def test_goes_on_where_it_was_and_counts_what_compiles(self) -> None:
        with self.assertRaises(run.OutOfTime):
            self.try_all(most=1)
        _, mutants = self.try_all()
        self.assertEqual(list(mutants), [1, 2, 3, 4])
        self.assertEqual(self.asked, 4)
        self.try_all()
        self.assertEqual(self.asked, 4)

    def test_survivors_are_tried_again_when_told(self) -> None:
        self.try_all()
        records, _ = self.try_all(again=True)
        self.assertEqual(self.asked, 5)
        self.assertEqual(records.entries[3]["result"], "noticed")

    def test_wanted_share_decides(self) -> None:
        records, mutants = self.try_all()
        with contextlib.redirect_stdout(io.StringIO()) as out:
            self.assertEqual(mutate.report(mutants, records.entries, self.sources, set(), 60), 0)
            self.assertEqual(mutate.report(mutants, records.entries, self.sources, set(), 67), 1)
            # A test that fails without any fault has noticed nothing.
            self.assertEqual(mutate.report(mutants, records.entries, self.sources, {"T.a"}, 60), 1)
        self.assertIn("2 of 3 noticed: 67 %", out.getvalue())
        self.assertIn("+++ src/a.cpp", out.getvalue())


class RunningTest(unittest.TestCase):
    @staticmethod
    def script(name: str, script: str) -> suite.Test:
        return suite.Test(name, ["/bin/sh", "-c", script], "/", {}, "", False)

    def test_first_failure_ends_the_others(self) -> None:
        tests = [self.script("passes", "true"), self.script("fails", "exit 3"), self.script("hangs", "sleep 100")]
        outcomes, failure = suite.run_tests(tests, lambda _: 60.0, 60.0, 3)
        assert failure is not None
        self.assertEqual((failure[0].name, failure[1].result), ("fails", "failed"))
        self.assertNotIn("hangs", outcomes)

    def test_time_out_is_told_and_leaves_nothing_behind(self) -> None:
        with tempfile.NamedTemporaryFile() as held:
            hanging = self.script("hangs", f"setsid flock {held.name} sleep 100 & wait")
            _, failure = suite.run_tests([hanging], lambda _: 0.5, 60.0, 1)
            assert failure is not None
            self.assertEqual(failure[1].result, "timed out")
            fcntl.flock(held, fcntl.LOCK_EX | fcntl.LOCK_NB)

    def test_processes_beyond_the_test_are_out_of_reach(self) -> None:
        reaching = self.script("reaches", f"! kill -0 {os.getpid()}")
        self.assertEqual(suite.run_test(reaching, 10.0).result, "passed")


if __name__ == "__main__":
    unittest.main()

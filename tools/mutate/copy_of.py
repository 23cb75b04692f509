"""The copy of the source that is mutated, and its builds."""

import contextlib
import functools
import hashlib
import os
import pathlib
import re
import shutil
import subprocess
from collections.abc import Iterable, Iterator

from operators import Mutant
from source import Source
from suite import Test, targets_of

# What the daemon runs with: a change there makes the tests run other lines.
CODE = (
    *("CMakeLists.txt", "cmake/", "sim/", "src/", "tools/vtrdcctl/"),
    *("scripts/background.sh", "scripts/board.sh", "scripts/lib.sh", "scripts/sim"),
)
TESTS = re.compile(r"tests/.*_test\.cpp|scenarios/.*\.txt")
SUFFIXES = (".cpp", ".h", ".inc")
BUILD_LIMIT_S = 300


def files_of(tree: pathlib.Path) -> list[str]:
    """Those that belong to the project, committed or not."""
    listed = subprocess.run(
        ["git", "-C", str(tree), "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
        check=True,
        capture_output=True,
        text=True,
    )
    return sorted({name for name in listed.stdout.split("\0") if name and (tree / name).is_file()})


def sources_of(tree: pathlib.Path) -> dict[str, Source]:
    """What mutants are made of."""
    return {
        name: Source(name, (tree / name).read_text(encoding="utf-8"))
        for name in files_of(tree)
        if name.startswith("src/") and name.endswith(SUFFIXES)
    }


class Copy:
    def __init__(self, source: pathlib.Path, work: pathlib.Path) -> None:
        self.tree = work / "source"
        self.plain = work / "plain"
        self.coverage = work / "coverage"
        self._bring_up_to_date(source)

    def _bring_up_to_date(self, source: pathlib.Path) -> None:
        """Files that are the same keep their time, so that little is compiled."""
        self.names = files_of(source)
        for name in self.names:
            target = self.tree / name
            if not target.is_file() or target.read_bytes() != (source / name).read_bytes():
                target.parent.mkdir(parents=True, exist_ok=True)
                shutil.copyfile(source / name, target)
            shutil.copymode(source / name, target)
        for file in self.tree.rglob("*"):
            if file.is_file() and str(file.relative_to(self.tree)) not in self.names:
                file.unlink()

    def key(self, *prefixes: str) -> str:
        """Of what the files contain whose names begin so."""
        return self._hashed(name for name in self.names if name.startswith(prefixes))

    def _hashed(self, names: Iterable[str]) -> str:
        digest = hashlib.sha256()
        for name in names:
            digest.update(f"{name}\0".encode() + hashlib.sha256((self.tree / name).read_bytes()).digest())
        return digest.hexdigest()[:12]

    def home(self, test: str) -> str:
        """The key of the file that the test is in."""
        return self._hashed(file for file, _ in self._bodies(test))

    def body(self, test: str) -> str:
        """What is written of the test."""
        return "".join(text for _, text in self._bodies(test))

    def _bodies(self, test: str) -> Iterator[tuple[str, str]]:
        kind, _, name = test.partition(".")
        suite, name = kind.rsplit("/", 1)[-1], name.split("/", 1)[0]
        begin = re.compile(rf"^TEST(?:_F|_P)?\({re.escape(suite)}, {re.escape(name)}\)", re.MULTILINE)
        for file in self.names:
            if file == f"scenarios/{name}.txt":
                yield file, self._text(file)
            elif TESTS.fullmatch(file) and (found := begin.search(self._text(file))):
                text = self._text(file)[found.start() :]
                yield file, text.split("\n}", 1)[0]

    @functools.cache
    def _text(self, name: str) -> str:
        return (self.tree / name).read_text(encoding="utf-8")

    def configure(self, build: pathlib.Path, preset: str) -> None:
        """Optimised, since the simulated board has a lot to do."""
        options = ["-DVTRDC_BUILD_BENCH=OFF", "-DCMAKE_BUILD_TYPE=RelWithDebInfo"]
        if shutil.which("ccache"):
            options.append("-DCMAKE_CXX_COMPILER_LAUNCHER=ccache")
        subprocess.run(
            ["cmake", "--preset", preset, "-B", str(build), *options],
            cwd=self.tree,
            check=True,
            stdout=subprocess.DEVNULL,
        )

    def build(self, build: pathlib.Path, targets: Iterable[str], limit_s: float | None = None) -> bool:
        environment = {**os.environ, "CCACHE_BASEDIR": str(self.tree.parent), "CCACHE_NOHASHDIR": "1"}
        try:
            done = subprocess.run(
                ["ninja", "-C", str(build), *targets],
                env=environment,
                check=False,
                capture_output=True,
                timeout=limit_s,
            )
        except subprocess.TimeoutExpired:
            return False
        return done.returncode == 0

    def build_for(self, tests: list[Test]) -> bool:
        return self.build(self.plain, targets_of(tests, self.plain), BUILD_LIMIT_S)

    @contextlib.contextmanager
    def planted(self, mutant: Mutant, text: str) -> Iterator[None]:
        """The fault is in the copy meanwhile."""
        file = self.tree / mutant.path
        file.write_text(mutant.applied(text), encoding="utf-8")
        try:
            yield
        finally:
            file.write_text(text, encoding="utf-8")

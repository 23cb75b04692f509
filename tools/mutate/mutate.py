"""Plants small faults in src/ and says which of them the tests notice."""

import argparse
import fcntl
import pathlib
import signal
import sys
from collections.abc import Callable, Iterator

import known
import operators
from copy_of import sources_of
from operators import Mutant
from run import Entry, OutOfTime, Records, Run, say
from source import Source

# --- Telling -----------------------------------------------------------------------------------


def place_of(number: int, mutant: Mutant) -> str:
    return f"{number:3} {mutant.path}:{mutant.line} {mutant.operator}"


def told(entry: Entry) -> str:
    if entry["result"] == "noticed":
        how = " (time-out)" if entry["how"] == "timed out" else ""
        return f"noticed by {entry['by'].split('  #')[0]}{how}, {entry['seconds']} s"
    if entry["result"] == "survived":
        return f"SURVIVED {entry['ran']} of {entry['tests']} tests that run it, {entry['seconds']} s"
    return "does not compile"


def report(
    mutants: dict[int, Mutant],
    results: dict[int, Entry],
    sources: dict[str, Source],
    unsound: set[str],
    wanted: float,
) -> int:
    """The table, and 0 when the wanted share was noticed."""
    counted = [number for number in mutants if results[number]["result"] != "not built"]
    for number in counted:
        if results[number].get("by") in unsound:
            say(f"{results[number]['by']} fails without any fault: what it noticed has to be tried again")
            results[number]["result"] = "survived"
    survivors = [number for number in counted if results[number]["result"] == "survived"]
    say("")
    for number in counted:
        say(f"{place_of(number, mutants[number])}: {told(results[number])}")
    for number in survivors:
        say(f"\n{place_of(number, mutants[number])} survived:")
        say(mutants[number].diff(sources[mutants[number].path].text))
    noticed = len(counted) - len(survivors)
    share = 100 * noticed / len(counted) if counted else 0.0
    say(f"\n{noticed} of {len(counted)} noticed: {share:.0f} %")
    return 0 if counted and share >= wanted else 1


# --- Choosing ----------------------------------------------------------------------------------


def wanted_mutants(options: argparse.Namespace, sources: dict[str, Source]) -> Iterator[tuple[int, Mutant]]:
    """Numbered from 1, in the order they are tried."""
    if options.known:
        mutants: Iterator[Mutant] = iter(known.known_faults(pathlib.Path(__file__).with_name("known.txt"), sources))
    else:
        every = [mutant for source in sources.values() for mutant in operators.mutants_of(source)]
        mutants = operators.drawn(every, options.seed)
    return enumerate(mutants, 1)


def try_all(
    options: argparse.Namespace,
    sources: dict[str, Source],
    records: Records,
    tried: Callable[[Mutant], Entry],
    look_at_time: Callable[[], None],
) -> dict[int, Mutant]:
    """Tries those without a result, until as many were built as are wanted: all those by number."""
    mutants: dict[int, Mutant] = {}
    built = 0
    for number, mutant in wanted_mutants(options, sources):
        if options.only is not None and number != options.only:
            continue
        if not options.known and built == options.count:
            break
        result = records.entries.get(number, {}).get("result")
        if result is None or options.only or (options.again and result == "survived"):
            look_at_time()
            records.add({"mutant": number, **tried(mutant)})
            say(f"{place_of(number, mutant)}: {told(records.entries[number])}")
        mutants[number] = mutant
        built += records.entries[number]["result"] != "not built"
    return mutants


def list_them(options: argparse.Namespace, sources: dict[str, Source]) -> int:
    for number, mutant in wanted_mutants(options, sources):
        if number > options.count and options.only is None and not options.known:
            break
        if options.only in (None, number):
            say(place_of(number, mutant) + "\n" + mutant.diff(sources[mutant.path].text))
    return 0


def parsed() -> argparse.Namespace:
    parser = argparse.ArgumentParser()
    parser.add_argument("--source", type=pathlib.Path, required=True)
    parser.add_argument("--work", type=pathlib.Path, required=True)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--count", type=int, default=50)
    parser.add_argument("--only", type=int)
    parser.add_argument("--minutes", type=float)
    parser.add_argument("--wanted", type=float, default=90)
    for flag in ("--known", "--list", "--again"):
        parser.add_argument(flag, action="store_true")
    return parser.parse_args()


def main() -> int:
    signal.signal(signal.SIGPIPE, signal.SIG_DFL)  # a pager that is left
    options = parsed()
    if options.list:
        return list_them(options, sources_of(options.source))
    options.work.mkdir(exist_ok=True)
    with open(options.work / "lock", "w", encoding="utf-8") as lock:
        try:
            fcntl.flock(lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
        except OSError:
            sys.exit(f"mutate: another run is at work in {options.work}")
        return try_and_report(options)


def try_and_report(options: argparse.Namespace) -> int:
    run = Run(options.source, options.work, options.minutes)
    try:
        kind = "known" if options.known else f"seed-{options.seed}"
        records = Records(options.work / f"{kind}-{run.copy.key('src/')}.jsonl", "mutant")
        run.prepare()
        mutants = try_all(options, run.sources, records, run.tried, run.look_at_time)
        run.prove({entry["by"] for entry in records.entries.values() if "by" in entry})
    except OutOfTime:
        say("the time is over; started again, this goes on")
        return 1
    except known.Stale as stale:
        sys.exit(f"mutate: {stale}")
    return report(mutants, records.entries, run.sources, run.unsound(), options.wanted)


if __name__ == "__main__":
    sys.exit(main())

#!/usr/bin/env python3
"""Runs the benchmarks and makes one table of what they report. Started by benchmarks/run.sh, which builds them first.

    table.py --build FOLDER [--quick] [--filter REGEX] [--core N]    measures; writes results.md and results.json there
    table.py --build FOLDER --readme FILE                            puts the last results between the file's markers

What is measured stands in rows.py. Each figure is the best of several repetitions, in which the benchmarks of one program
take turns, so that what else the machine does hits ours and the peer's alike. A row whose benchmark isn't there any more is
an error. Python's standard library only.
"""

import argparse
import datetime
import json
import os
import platform
import re
import subprocess
import sys
import time
from pathlib import Path
from typing import Dict, List, NamedTuple, Optional

from rows import REPETITIONS, TEXT_NAMES, WORKS, Work

BEGIN = "<!-- benchmarks/run.sh writes from here -->"
END = "<!-- to here -->"
BUSY = 0.1  # of a processor, by others: above it figures are worth little
BYTES = {"GB/s": 1e9, "MB/s": 1e6}
NANOSECONDS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}


class Failure(Exception):
    """What the person who runs this has to hear."""


class Row(NamedTuple):
    """One line of the table before it is measured."""

    work: str
    of: Work
    ours: List[str]  # one benchmark, or one for each size
    peer: str
    goal: Optional[float]
    least: Optional[float]


class Result(NamedTuple):
    """One line of the table."""

    work: str
    unit: str
    ours: Optional[float]
    most: Optional[float]  # over sizes
    each: List[float]  # by size
    peer: Optional[float]
    by: str
    ratio: Optional[float]  # how many times as fast as the peer, or as small
    level: str
    goal: Optional[float]
    least: Optional[float]
    error: str


def is_rate(unit: str) -> bool:
    return unit.endswith("/s")


# ---------------------------------------------------------------------------------------------------------------- rows


def expand(works=WORKS) -> List[Row]:
    """All rows: a work with texts makes one for each."""
    rows = []
    for work in works:
        for text in work.texts or [""]:
            of_text = lambda value: value.get(text) if isinstance(value, dict) else value
            name = f"{work.work}, {TEXT_NAMES.get(text, text)}" if text else work.work
            ours = work.ours.replace("{text}", text)
            peer = work.peer.replace("{text}", text)
            benchmarks = [ours.replace("{size}", str(size)) for size in work.sizes] or [ours]
            rows.append(Row(name, work, benchmarks, peer, of_text(work.goal), of_text(work.least)))
    return rows


def chosen(rows: List[Row], pattern: str) -> List[Row]:
    wanted = re.compile(pattern, re.IGNORECASE)
    found = [row for row in rows if wanted.search(row.work) or wanted.search(row.of.program)]
    if not found:
        raise Failure(f"no row is called like {pattern}")
    return found


# ------------------------------------------------------------------------------------------------------------- figures


class Figures:
    """What the programs reported: the best of each benchmark's repetitions."""

    def __init__(self):
        self.runs: Dict[tuple, List[dict]] = {}  # of a program and a benchmark
        self.context: Dict[str, str] = {}

    def add(self, program: str, report: dict) -> None:
        self.context.update(report["context"])
        for run in report["benchmarks"]:
            if run.get("run_type", "iteration") == "iteration":
                self.runs.setdefault((program, run.get("run_name", run["name"])), []).append(run)

    def get(self, program: str, name: str, unit: str, counter: str = "") -> float:
        runs = self.runs.get((program, name))
        if not runs:
            raise Failure(f"{program} has no benchmark {name}: has it got another name? (benchmarks/rows.py)")
        for run in runs:
            if run.get("error_occurred"):
                raise LookupError(run.get("error_message", "it failed"))
        values = [figure(run, unit, counter) for run in runs]
        return max(values) if is_rate(unit) else min(values)


def figure(run: dict, unit: str, counter: str) -> float:
    """One repetition's figure in the unit of its row."""
    if counter:
        return float(run[counter])
    if unit == "ns/byte":
        return 1e9 / run["bytes_per_second"]
    if unit in BYTES:
        return run["bytes_per_second"] / BYTES[unit]
    if is_rate(unit):
        return run["items_per_second"]
    timed = "real_time" if re.search(r"/(real|manual)_time", run["name"]) else "cpu_time"
    return run[timed] * NANOSECONDS[run["time_unit"]] / NANOSECONDS[unit]


def is_here(row: Row, levels: List[str]) -> bool:
    if row.of.needs == "linux" and platform.system() != "Linux":
        return False
    # The last of them is the best.
    return row.of.level in ("", "best") or row.of.level in levels[:-1]


def measured(row: Row, figures: Figures, levels: List[str]) -> Result:
    of = row.of
    ours = most = peer = ratio = None
    each: List[float] = []
    error = ""
    try:
        values = [figures.get(of.program, name, of.unit, of.counter) for name in row.ours]
        ours = min(values)
        if of.sizes:
            most, each = max(values), values
        if row.peer and not (of.peer_may_lack and (of.program, row.peer) not in figures.runs):
            peer = figures.get(of.program, row.peer, of.unit, of.counter)
            ratio = ours / peer if is_rate(of.unit) else peer / ours
    except LookupError as reason:
        error = str(reason)
    level = of.level or "portable"
    if level == "best":
        level = levels[-1]
    return Result(row.work, of.unit, ours, most, each, peer, of.by if peer else "", ratio, level, row.goal, row.least, error)


# ----------------------------------------------------------------------------------------------------------- measuring


def run_script(build: Path, program: str, quick: bool) -> dict:
    """A program in Python that answers rows, one in a line, as a report of benchmarks: the peer's end in /peer."""
    loamctl = build / "examples" / "loamctl" / "loamctl"
    command = [sys.executable, str(Path(__file__).parent / program), "--loamctl", str(loamctl), "--json"]
    done = subprocess.run(command + (["--size", "50", "--rounds", "1"] if quick else []), stdout=subprocess.PIPE, text=True)
    if done.returncode != 0:
        raise Failure(f"{program} ended with {done.returncode}")
    runs = []
    for row in map(json.loads, done.stdout.splitlines()):
        for name, value in ((row["name"], row["ours"]), (row["name"] + "/peer", row["peer"])):
            if value is not None:
                runs.append({"name": name, "bytes_per_second": value * BYTES[row["unit"]]})
    return {"context": {}, "benchmarks": runs}


def run_program(build: Path, program: str, names: List[str], options: List[str], core: Optional[int]) -> dict:
    """Runs the benchmarks of these names, on one core unless that is None, and answers the report."""
    # Only what is special in POSIX's expressions too may be escaped.
    pattern = "^(" + "|".join(re.sub(r"([][.{}()*+?^$|\\])", r"\\\1", name) for name in names) + ")$"
    report = build / f"{program}.json"
    report.unlink(missing_ok=True)
    command = [str(build / "benchmarks" / program), f"--benchmark_filter={pattern}", f"--benchmark_out={report}", *options]
    pin = (lambda: os.sched_setaffinity(0, {core})) if core is not None and hasattr(os, "sched_setaffinity") else None
    done = subprocess.run(command, preexec_fn=pin, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
    if done.returncode != 0:
        raise Failure(f"{program} ended with {done.returncode}: {done.stderr.strip()[-400:]}")
    if not report.exists() or report.stat().st_size == 0:
        return {"context": {}, "benchmarks": []}  # none of them is there
    return json.loads(report.read_text(encoding="utf-8"))


def measure(rows: List[Row], build: Path, core: Optional[int], quick: bool) -> Figures:
    figures = Figures()
    repetitions, seconds = (2, 0.005) if quick else (7, 0.03)
    groups: Dict[tuple, List[str]] = {}
    for row in rows:
        names = groups.setdefault((row.of.program, row.of.all_cores), [])
        names += [name for name in [*row.ours, row.peer] if name and name not in names]
    for (program, all_cores), names in groups.items():
        start = time.monotonic()
        if program.endswith(".py"):
            report = run_script(build, program, quick)
        else:
            often = min(repetitions, REPETITIONS.get(program, repetitions))
            options = [f"--benchmark_min_time={seconds}", f"--benchmark_repetitions={often}",
                       "--benchmark_enable_random_interleaving=true"]
            report = run_program(build, program, names, options, None if all_cores else core)
        figures.add(program, report)
        print(f"  {program}: {len(names)} benchmarks, {time.monotonic() - start:.0f} s", file=sys.stderr, flush=True)
    return figures


# ------------------------------------------------------------------------------------------------------------- machine


def processor() -> str:
    if platform.system() == "Darwin":
        return subprocess.run(["sysctl", "-n", "machdep.cpu.brand_string"], stdout=subprocess.PIPE, text=True).stdout.strip()
    with open("/proc/cpuinfo", encoding="utf-8") as file:
        found = re.search(r"^model name\s*:\s*(.+)$", file.read(), re.MULTILINE)
    return found.group(1) if found else platform.machine()


def compiler(build: Path) -> str:
    cache = (build / "CMakeCache.txt").read_text(encoding="utf-8")
    found = re.search(r"^CMAKE_CXX_COMPILER:\w+=(.+)$", cache, re.MULTILINE)
    if not found:
        return "unknown"
    told = subprocess.run([found.group(1), "--version"], stdout=subprocess.PIPE, text=True).stdout
    return told.splitlines()[0]


def busy(seconds: float) -> float:
    """How many processors are at work while this program sleeps; 0 where the system doesn't tell."""

    def ticks():
        with open("/proc/stat", encoding="utf-8") as file:
            fields = [int(field) for field in file.readline().split()[1:]]
        return fields[3] + fields[4], sum(fields[:8])

    if not os.path.exists("/proc/stat"):
        return 0.0
    idle, total = ticks()
    time.sleep(seconds)
    idle_after, total_after = ticks()
    return (1 - (idle_after - idle) / max(1, total_after - total)) * (os.cpu_count() or 1)


def describe(build: Path, context: Dict[str, str], core: Optional[int], load: float, quick: bool) -> Dict[str, str]:
    corpora = context.get("corpora", "none")
    return {
        "processor": processor(),
        "processors": str(os.cpu_count()),
        "core": "not pinned" if core is None else str(core),
        "system": f"{platform.system()} {platform.machine()}",
        "compiler": compiler(build),
        "levels": context.get("levels", ""),
        "texts": "../shared/corpora" if corpora.endswith("/shared/corpora") else corpora,
        "load": f"{os.getloadavg()[0]:.2f}",
        "busy": f"{load:.2f}",
        "date": datetime.datetime.now(datetime.timezone.utc).strftime("%Y-%m-%d %H:%M UTC"),
        "quick": "yes" if quick else "no",
    }


def core_to_use(wanted: Optional[int]) -> Optional[int]:
    if not hasattr(os, "sched_getaffinity"):
        return None
    return wanted if wanted is not None else max(os.sched_getaffinity(0))


# --------------------------------------------------------------------------------------------------------------- table


def number(value: float) -> str:
    """Three figures, or all those before the point."""
    if value >= 100:
        return f"{value:,.0f}"
    if value >= 10:
        return f"{value:.1f}"
    return f"{value:.2f}" if value >= 0.1 else f"{value:.3f}"


def with_unit(value: float, unit: str) -> str:
    return f"{number(value)} {unit.replace('us', 'µs') if unit == 'us' else unit}"


def cells(result: Result) -> List[str]:
    if result.error:
        return [result.work, f"not measured: {result.error}", "", "", result.level]
    ours = with_unit(result.ours, result.unit)
    if result.most is not None:
        ours = f"{number(result.ours)} to {with_unit(result.most, result.unit)}"
    peer = f"{with_unit(result.peer, result.unit)}, {result.by}" if result.peer is not None else ""
    ratio = number(result.ratio) if result.ratio is not None else ""
    return [result.work, ours, peer, ratio, result.level]


def head(machine: Dict[str, str]) -> str:
    texts = f"{machine['texts']} (1 MB a language)"
    if not machine["texts"].startswith("../shared"):
        texts = f"made of {machine['texts']} to 1 MB, since ../shared/corpora isn't there"
    pinned = "not pinned" if machine["core"] == "not pinned" else "pinned to one core"
    lines = [
        f"{machine['date']}; {machine['processor']}, {machine['processors']} processors, {pinned}; {machine['system']}; "
        f"{machine['compiler']}. Levels: {machine['levels']}. Texts: {texts}. Best of several repetitions in turns; ratio: how many times as fast as "
        f"the peer, or as small. Load {machine['load']}, and {machine['busy']} processors busy before the run."
    ]
    if is_loaded(machine):
        lines.append("**Others were at work on this machine: these figures are worth little.**")
    if machine["quick"] == "yes":
        lines.append("**A quick run, to see that it runs: these figures are rough.**")
    return "\n\n".join(lines)


def is_loaded(machine: Dict[str, str]) -> bool:
    return float(machine["busy"]) > BUSY


def markdown(results: List[Result], machine: Dict[str, str]) -> str:
    lines = ["| Work | Ours | Peer | Ratio | Level |", "|---|---|---|---|---|"]
    lines += ["| " + " | ".join(cell.replace("|", "\\|") for cell in cells(result)) + " |" for result in results]
    return head(machine) + "\n\n" + "\n".join(lines) + "\n"


def shortfalls(results: List[Result]) -> List[str]:
    """What is below its goal, one line each."""
    lines = []
    for result in results:
        if result.goal is not None and result.ratio is not None and result.ratio < result.goal:
            lines.append(f"{result.work} ({result.level}): {number(result.ratio)} times, the goal is {result.goal:.3g}")
        if result.least is not None and result.ours is not None:
            is_short = result.ours < result.least if is_rate(result.unit) else result.ours > result.least
            if is_short:
                lines.append(f"{result.work}: {with_unit(result.ours, result.unit)}, the goal is {result.least:g}")
    return lines


def put_between_markers(text: str, table: str) -> str:
    """The text with the table instead of what stood between its two markers."""
    begin, end = text.find(BEGIN), text.find(END)
    if begin < 0 or end < begin:
        raise Failure(f"no place for the table: there must be a line '{BEGIN}' and behind it one '{END}'")
    return f"{text[:begin]}{BEGIN}\n{table}{text[end:]}"


def write(path: Path, text: str) -> None:
    """Whole or not at all."""
    new = path.with_name(path.name + ".new")
    new.write_text(text, encoding="utf-8")
    os.replace(new, path)


# ---------------------------------------------------------------------------------------------------------------- main


def make_table(arguments: argparse.Namespace) -> None:
    build = arguments.build
    rows = chosen(expand(), arguments.filter)
    load = busy(2)
    core = core_to_use(arguments.core)
    quickest = ["--benchmark_min_time=0.001"]
    context = run_program(build, "bench_utf_levels", ["utf8_to_utf16/en/plain"], quickest, core)["context"]
    levels = context["levels"].split(", ")
    rows = [row for row in rows if is_here(row, levels)]
    figures = measure(rows, build, core, arguments.quick)
    results = [measured(row, figures, levels) for row in rows]
    machine = describe(build, {**context, **figures.context}, core, load, arguments.quick)
    table = markdown(results, machine)
    write(build / "results.md", table)
    whole = {"machine": machine, "results": [result._asdict() for result in results]}
    write(build / "results.json", json.dumps(whole, indent=2, ensure_ascii=False) + "\n")
    print(table)
    for line in shortfalls(results):
        print(f"below its goal: {line}", file=sys.stderr)
    if is_loaded(machine):
        print(f"warning: others keep {machine['busy']} processors busy; measure on a quiet machine", file=sys.stderr)


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--build", type=Path, required=True, help="the folder of the build")
    parser.add_argument("--quick", action="store_true", help="two short repetitions, to see that all of it runs")
    parser.add_argument("--filter", default="", help="only rows whose name, or program's name, matches")
    parser.add_argument("--core", type=int, help="which core (the last one)")
    parser.add_argument("--readme", type=Path, help="measure nothing: put the last results into this file")
    arguments = parser.parse_args()
    try:
        if arguments.readme:
            table = (arguments.build / "results.md").read_text(encoding="utf-8")
            write(arguments.readme, put_between_markers(arguments.readme.read_text(encoding="utf-8"), table))
        else:
            make_table(arguments)
    except Failure as failure:
        print(f"table.py: {failure}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())

#!/usr/bin/env python3
"""Measures the whole program and the parts, and prints tables of Markdown; scripts/bench builds all that it runs.

A command's cost is its CPU time, user and system, as the best of several runs. Commands that are compared take
turns, so that what else the machine does hits all of them alike. Output goes to memory.
"""
import argparse
import dataclasses
import filecmp
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import time

from recordings import write_recording

ROOT = pathlib.Path(__file__).resolve().parent.parent
SPEED = ROOT.parent / "shared" / "speed"
MIB = 1 << 20


# ---------------------------------------------------------------- commands


@dataclasses.dataclass
class Cost:
    """What one run took. Seconds and bytes; `read` is what it read by system calls, shared libraries included."""

    cpu: float
    wall: float
    peak: int
    read: int

    def best(self, other):
        return Cost(*map(min, dataclasses.astuple(self), dataclasses.astuple(other)))


def run(command, stdout=subprocess.DEVNULL):
    """Runs `command`, which has to succeed."""
    began = time.perf_counter()
    process = subprocess.Popen([str(word) for word in command], stdout=stdout, stderr=subprocess.PIPE)
    talk = process.stderr.read()
    os.waitid(os.P_PID, process.pid, os.WEXITED | os.WNOWAIT)
    wall = time.perf_counter() - began
    read = int(re.search(r"rchar: (\d+)", pathlib.Path(f"/proc/{process.pid}/io").read_text()).group(1))
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        sys.exit(f"{' '.join(map(str, command))}: exit code {process.returncode}\n{talk.decode(errors='replace')}")
    return Cost(usage.ru_utime + usage.ru_stime, wall, usage.ru_maxrss * 1024, read)


def take_turns(commands, runs):
    """The best cost of each of `commands`, name to argument list; "{out}" stands for a new empty folder in memory."""
    best = {}
    for _ in range(runs):
        for name, command in commands.items():
            with tempfile.TemporaryDirectory(dir="/dev/shm") as out:
                cost = run([str(word).format(out=out) for word in command])
            best[name] = cost.best(best.get(name, cost))
    return best


def micro(program, runs):
    """The best seconds of a cell by benchmark, and of a row."""
    command = [program, "--benchmark_format=json", f"--benchmark_repetitions={runs}", "--benchmark_min_time=0.1"]
    output = subprocess.run(command, capture_output=True, check=True, text=True).stdout
    cells, rows = {}, {}
    for result in json.loads(output)["benchmarks"]:
        if result["run_type"] == "iteration":
            name = result["run_name"].removeprefix("BM_")
            cells[name] = min(result["cell"], cells.get(name, result["cell"]))
            rows[name] = min(1 / result["rows"], rows.get(name, 1 / result["rows"]))
    return cells, rows


# ---------------------------------------------------------------- tables


def table(head, rows):
    """A table of Markdown whose columns line up."""
    lines = [list(map(str, line)) for line in [head, *rows]]
    widths = [max(len(line[i]) for line in lines) for i in range(len(head))]
    lines.insert(1, ["-" * width for width in widths])
    padded = ("| " + " | ".join(cell.ljust(width) for cell, width in zip(line, widths)) + " |" for line in lines)
    return "\n".join(padded) + "\n"


@dataclasses.dataclass
class Target:
    """An upper limit. `unit` formats the measured value and both limits."""

    what: str
    measured: float
    required: float
    wanted: float | None = None
    unit: str = "{:.2f} x"

    def holds(self):
        return self.measured <= self.required

    def line(self):
        limits = ["" if limit is None else "<= " + self.unit.format(limit) for limit in (self.required, self.wanted)]
        wanted = "" if self.wanted is None else "yes" if self.measured <= self.wanted else "no"
        return [self.what, *limits, self.unit.format(self.measured), "yes" if self.holds() else "NO", wanted]


def target_table(targets):
    return table(["target", "required", "wanted", "measured", "holds", "wanted holds"], [t.line() for t in targets])


def ns(seconds):
    return f"{seconds * 1e9:.1f}"


# ---------------------------------------------------------------- what is measured


class Bench:
    def __init__(self, options):
        self.runs = options.runs
        self.work = options.work
        self.tool = options.build / "cli" / "dds2csv"
        self.programs = options.build / "benchmarks"
        self.seconds = options.seconds
        self.work.mkdir(parents=True, exist_ok=True)

    def convert(self, recording, *arguments, jobs=1):
        return [self.tool, "convert", recording, "-q", "--jobs", jobs, "-o", "{out}/csv", *arguments]

    def recording(self, seconds, compression):
        """A recording of a robot. Made once."""
        path = self.work / f"robot-{seconds}-{compression}.mcap"
        if not path.exists():
            partial = path.with_suffix(".partial")
            run(["/usr/bin/python3", SPEED / "gen.py", partial, seconds, compression])
            partial.rename(path)
        return path

    def yardstick(self):
        program = self.work / "yardstick" / "reference"
        if not program.exists():
            run(["sh", SPEED / "build.sh", program.parent])
        return program

    def cells(self, recording):
        """Cells of the conversion, as the yardstick counts them."""
        command = [self.yardstick(), recording, "-", "flat", "none"]
        return json.loads(subprocess.run(command, capture_output=True, check=True).stdout)["cells"]

    def check_same_output(self, recording):
        """Ends the run unless one job and two write the same bytes."""
        with tempfile.TemporaryDirectory(dir="/dev/shm") as out:
            for jobs in (1, 2):
                run([str(word).format(out=f"{out}/{jobs}") for word in self.convert(recording, jobs=jobs)])
            one, two = (pathlib.Path(out) / str(jobs) / "csv" for jobs in (1, 2))
            names = sorted(path.name for path in one.iterdir())
            same = filecmp.cmpfiles(one, two, names, shallow=False)[0]
            if sorted(same) != names or len(list(two.iterdir())) != len(names):
                sys.exit(f"{recording.name}: --jobs 1 and --jobs 2 differ")

    def whole(self, compression):
        """Targets of whole conversions, and lines of absolute figures."""
        recording, yardstick = self.recording(self.seconds, compression), self.yardstick()
        limits = self.work / "limits.yaml"
        with limits.open("wb") as file:
            run([self.tool, "fit", recording], stdout=file)
        self.check_same_output(recording)
        cost = take_turns(
            {
                "yardstick, plain to_chars": [yardstick, recording, "{out}", "flat", "tc"],
                "dds2csv, 1 job": self.convert(recording),
                "dds2csv, 2 jobs": self.convert(recording, jobs=2),
                "yardstick, own number text": [yardstick, recording, "{out}", "flat", "own"],
                "dds2csv, 1 job, limits given": self.convert(recording, "--limits", limits),
                "dds2csv fit, 1 job": [self.tool, "fit", "--jobs", 1, recording],
            },
            self.runs,
        )
        ours = cost["dds2csv, 1 job"]
        two = cost["dds2csv, 2 jobs"]
        targets = [
            Target(f"yardstick, plain to_chars, {compression}", ours.cpu / cost["yardstick, plain to_chars"].cpu, 0.85, 0.70),
            Target(f"yardstick, own number text, {compression}", ours.cpu / cost["yardstick, own number text"].cpu, 1.5, 1.2),
            Target(f"two jobs against one, wall time, {compression}", two.wall / ours.wall, 0.58, 0.53),
            Target(f"peak memory, two jobs, {compression}", two.peak / MIB, 256, 128, "{:.0f} MiB"),
        ]
        cells = self.cells(recording)
        figures = [[compression, name, f"{c.cpu:.3f}", f"{c.wall:.3f}", ns(c.cpu / cells), f"{c.peak / MIB:.0f}"] for name, c in cost.items()]
        share = 1 - cost["dds2csv, 1 job, limits given"].cpu / ours.cpu
        figures.append([compression, "share of the fitting pass", f"{share:.0%}", "", "", ""])
        return targets, figures

    def growth_of_info_and_memory(self):
        """Neither may grow with the recording: the long one against one of a quarter of its length."""
        quarter, whole = self.recording(self.seconds // 4, "none"), self.recording(self.seconds, "none")
        cost = take_turns(
            {
                "quarter": [self.tool, "info", quarter],
                "whole": [self.tool, "info", whole],
                "convert quarter": self.convert(quarter, jobs=2),
                "convert whole": self.convert(whole, jobs=2),
            },
            self.runs,
        )
        return [
            Target("dds2csv info, bytes read of the recording's", cost["whole"].read / whole.stat().st_size, 0.02, None, "{:.2%}"),
            Target("dds2csv info, CPU time, against a quarter of the recording", cost["whole"].cpu / cost["quarter"].cpu, 1.5),
            Target("peak memory, against a quarter of the recording", cost["convert whole"].peak / cost["convert quarter"].peak, 1.2),
        ]

    def parts(self, cells, rows):
        """Targets of single types, of the results of row_bench."""
        construction, hundredth = rows["Construction/100000"], rows["Construction/1000"]
        return [
            Target("100,000 columns, construction and header", construction, 0.5, None, "{:.3f} s"),
            Target("the same, a column of 100,000 against one of 400,000", cells["Construction/400000"] / cells["Construction/100000"], 1.3),
            Target("10,000 empty cells against memcpy", cells["EmptyCells"] / cells["EmptyCellsBareMemcpy"], 5),
            Target("1 MB of octets cut to 1,000 columns, a dropped one", cells["DroppedOctets"] * 1e9, 5, None, "{:.2f} ns"),
        ]

    def growth(self):
        """Cost of a cell by rows, columns and topics: lines of a table."""
        shapes = [(1, 2_000, 100), (1, 20_000, 100), (1, 200_000, 100)]
        shapes += [(1, 2_000_000 // columns, columns) for columns in (1, 10, 1_000, 10_000)]
        shapes += [(topics, 20_000, 100) for topics in (10, 100, 1_000)]
        commands = {}
        for topics, messages, columns in shapes:
            path = self.work / f"doubles-{topics}-{messages}-{columns}.mcap"
            if not path.exists():
                write_recording(path, topics, messages, columns)
            commands[topics, messages, columns] = self.convert(path)
        lines = []
        for (topics, messages, columns), cost in take_turns(commands, self.runs).items():
            cells = messages * columns
            lines.append([f"{topics:,}", f"{messages:,}", f"{columns:,}", f"{cost.cpu:.3f}", ns(cost.cpu / cells), ns(cost.cpu / messages), f"{cost.peak / MIB:.0f}"])
        return lines

    def instructions(self, top=20):
        """Instructions of a cell by function, the `top` ones: lines of a table."""
        recording = self.recording(10, "zstd")
        with tempfile.TemporaryDirectory(dir="/dev/shm") as out:
            counts = pathlib.Path(out) / "callgrind"
            convert = [str(word).format(out=out) for word in self.convert(recording)]
            run(["valgrind", "--tool=callgrind", f"--callgrind-out-file={counts}", *convert])
            text = subprocess.run(["callgrind_annotate", "--threshold=100", str(counts)], capture_output=True, check=True, text=True).stdout
        cells = self.cells(recording)
        found = re.findall(r"^ *([\d,]+) \( *[\d.]+%\)  [^:\n]*:(.+?)(?: \[[^\]]*\])?$", text, re.M)
        counts = {}
        for count, name in found:
            name = readable(name)
            counts[name] = counts.get(name, 0) + int(count.replace(",", ""))
        total = int(re.search(r"^ *([\d,]+) .*PROGRAM TOTALS", text, re.M).group(1).replace(",", ""))
        lines = [[f"`{name}`", f"{count / cells:.1f}", f"{count / total:.1%}"] for name, count in sorted(counts.items(), key=lambda item: -item[1])[:top]]
        return [["all", f"{total / cells:.1f}", "100%"], *lines]


def readable(function):
    """A demangled function's name without return type, parameters and outer namespaces."""
    name = re.sub(r"'\d+$", "", function).replace("(anonymous namespace)::", "")
    while (shorter := re.sub(r"<[^<>]*>", "", name)) != name:
        name = shorter
    name = name.split("(")[0].split(" ")[-1]
    return name.removeprefix("zun::")


# ---------------------------------------------------------------- documents


def machine():
    cpu = re.search(r"model name\s*: (.*)", pathlib.Path("/proc/cpuinfo").read_text()).group(1)
    compiler = subprocess.run(["g++", "-dumpfullversion"], capture_output=True, check=True, text=True).stdout.strip()
    return f"{cpu}, {os.cpu_count()} cores; GCC {compiler}, release build; load {os.getloadavg()[0]:.1f} at the start of the run.\n"


def fill(document, sections):
    """Puts each text of `sections` between the markers of its name."""
    text = document.read_text()
    for name, body in sections.items():
        marked = re.compile(rf"(<!-- {name} -->\n).*?(<!-- end -->)", re.S)
        if not marked.search(text):
            sys.exit(f"{document}: no marker '<!-- {name} -->'")
        text = marked.sub(lambda match: match[1] + body + match[2], text)
    document.write_text(text)


def bare_table(cells, rows, names):
    lines = []
    for name in names:
        bare = next((cells[b] for b in (name.replace("Value<", "ValueBare<"), name.replace("/", "Bare/"), name + "Bare") if b != name and b in cells), None)
        label = re.sub(r"Value<(.*)>", r"\1", name)
        lines.append([label, f"{1 / rows[name]:,.0f}", ns(cells[name]), "" if bare is None else ns(bare), "" if bare is None else f"{cells[name] / bare:.2f}"])
    return table(["", "rows/s", "ns a cell", "bare loop", "ratio"], lines)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--build", type=pathlib.Path, required=True)
    parser.add_argument("--work", type=pathlib.Path, required=True)
    parser.add_argument("--seconds", type=int, default=240)
    parser.add_argument("--runs", type=int, default=5)
    parser.add_argument("--more", action="store_true")
    parser.add_argument("--write", action="store_true")
    options = parser.parse_args()

    bench = Bench(options)
    sections = {"machine": machine()}
    targets, figures = [], []
    if SPEED.exists():
        for compression in ("none", "zstd"):
            more_targets, more_figures = bench.whole(compression)
            targets += more_targets
            figures += more_figures
        targets += bench.growth_of_info_and_memory()
    cells, rows = micro(bench.programs / "row_bench", bench.runs)
    targets += bench.parts(cells, rows)
    sections["targets"] = target_table(targets)
    print(sections["targets"])
    if options.more or options.write:
        if SPEED.exists():
            sections["figures"] = table(["", "command", "CPU s", "wall s", "ns a cell", "peak MiB"], figures)
            sections["instructions"] = table(["function", "instructions a cell", "share"], bench.instructions())
        sections["growth"] = table(["topics", "rows", "columns", "CPU s", "ns a cell", "ns a row", "peak MiB"], bench.growth())
        sections["rows"] = bare_table(cells, rows, [n for n in cells if "Bare" not in n and "Construction" not in n])
        value_cells, value_rows = micro(bench.programs / "value_bench", bench.runs)
        sections["values"] = bare_table(value_cells, value_rows, [n for n in value_cells if "Bare" not in n])
        for name in ("machine", "figures", "growth", "rows", "values", "instructions"):
            if name in sections:
                print(sections[name])
    if options.write:
        fill(ROOT / "docs" / "performance.md", sections)
    return 0 if all(target.holds() for target in targets) else 1


if __name__ == "__main__":
    sys.exit(main())

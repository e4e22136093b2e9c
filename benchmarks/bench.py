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
    """What one run took, in seconds and bytes.

    `cpu` has `system` in it; `read` is all that was read by system calls, shared libraries included.
    """

    cpu: float
    system: float
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
    return Cost(usage.ru_utime + usage.ru_stime, usage.ru_stime, wall, usage.ru_maxrss * 1024, read)


def take_turns(commands, runs):
    """The best cost of each of `commands`, name to arguments; "{out}" stands for a new empty folder in memory."""
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
        limits = [f"<= {self.unit.format(limit)}" if limit else "" for limit in (self.required, self.wanted)]
        holds = "NO" if not self.holds() else "as wanted" if self.wanted and self.measured <= self.wanted else "yes"
        return [self.what, *limits, self.unit.format(self.measured), holds]


def target_table(targets):
    return table(["target", "required", "wanted", "measured", "holds"], [target.line() for target in targets])


def ns(seconds):
    """Three digits that count."""
    return f"{seconds * 1e9:,.{0 if seconds >= 1e-7 else 1 if seconds >= 1e-8 else 2}f}"


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
        ours, two = cost["dds2csv, 1 job"], cost["dds2csv, 2 jobs"]
        plain, own = (cost[f"yardstick, {text}"].cpu for text in ("plain to_chars", "own number text"))
        targets = [
            Target(f"yardstick, plain to_chars, {compression}", ours.cpu / plain, 0.85, 0.70),
            Target(f"yardstick, own number text, {compression}", ours.cpu / own, 1.5, 1.2),
            Target(f"two jobs against one, wall time, {compression}", two.wall / ours.wall, 0.58, 0.53),
            Target(f"peak memory, two jobs, {compression}", two.peak / MIB, 256, 128, "{:.0f} MiB"),
        ]
        cells = self.cells(recording)
        figures = [
            [compression, name, *map("{:.3f}".format, (c.cpu, c.system, c.wall)), ns(c.cpu / cells), c.peak // MIB]
            for name, c in cost.items()
        ]
        share = 1 - cost["dds2csv, 1 job, limits given"].cpu / ours.cpu
        figures.append([compression, "share of the fitting pass", f"{share:.0%}", *[""] * 4])
        return targets, figures

    def growth_of_memory(self):
        """Targets of a recording of twice the length: more of it costs no more memory, nor does info read it."""
        usual, double = self.recording(self.seconds, "none"), self.recording(2 * self.seconds, "none")
        cost = take_turns(
            {
                "usual": self.convert(usual, jobs=2),
                "double": self.convert(double, jobs=2),
                "info": [self.tool, "info", double],
            },
            self.runs,
        )
        read = cost["info"].read / double.stat().st_size
        return [
            Target("peak memory, twice the recording", cost["double"].peak / cost["usual"].peak, 1.1),
            Target("dds2csv info, read of the recording", read, 0.02, None, "{:.2%}"),
        ]

    def views(self):
        """Targets of some fields, and of a row per element, against all fields in one row."""
        recording = self.recording(self.seconds, "none")
        scan = ["-t", "/scan"]
        rows = [*scan, "--explode", "ranges,intensities"]
        some = ["--fields", "/joint_states:position,velocity", "--fields", "/imu/data:orientation.*"]
        commands = {"all": [], "some": some, "wide": scan, "rows": rows}
        cost = take_turns({name: self.convert(recording, *words) for name, words in commands.items()}, self.runs)

        def cell_cost(name):
            return cost[name].cpu / written_cells([self.tool, "convert", recording, "-q", "-o", "-", *commands[name]])

        return [
            Target("4 % of the cells by --fields against all", cost["some"].cpu / cost["all"].cpu, 0.35),
            Target("a scan by --explode, a cell, against one row", cell_cost("rows") / cell_cost("wide"), 1.3),
        ]

    def parts(self, cells, rows):
        """Targets of single types, of the results of row_bench."""
        construction = rows["Construction/100000"]
        linear = cells["Construction/400000"] / cells["Construction/100000"]
        empty = cells["EmptyCells"] / cells["EmptyCellsBare"]
        dropped = cells["DroppedOctets"] * 1e9
        return [
            Target("100,000 columns, construction and header", construction, 0.5, None, "{:.3f} s"),
            Target("400,000 columns, a column, against 100,000", linear, 1.3),
            Target("10,000 empty cells against memcpy", empty, 5),
            Target("1 MB of octets cut to 1,000 columns, a dropped one", dropped, 5, None, "{:.2f} ns"),
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
        for shape, cost in take_turns(commands, self.runs).items():
            _, messages, columns = shape
            prices = ns(cost.cpu / (messages * columns)), ns(cost.cpu / messages), cost.peak // MIB
            lines.append([*map("{:,}".format, shape), f"{cost.cpu:.3f}", *prices])
        return lines

    def instructions(self, top=20):
        """Instructions of a cell, of the yardstick too, and by function for the `top` ones: lines of a table."""
        recording = self.recording(10, "zstd")
        cells, yardstick = self.cells(recording), [self.yardstick(), recording, "{out}", "flat"]
        total, functions = callgrind(self.convert(recording))
        counts = {"dds2csv, 1 job": total}
        for name, text in ("yardstick, plain to_chars", "tc"), ("yardstick, own number text", "own"):
            counts[name] = callgrind([*yardstick, text])[0]
        costly = sorted(functions.items(), key=lambda item: -item[1])[:top]
        counts |= {f"`{name}`": count for name, count in costly}
        return [[name, f"{count / cells:.1f}", f"{count / total:.1%}"] for name, count in counts.items()]


def written_cells(command):
    """Cells of numbers that `command` writes to its standard output."""
    with subprocess.Popen([str(word) for word in command], stdout=subprocess.PIPE) as process:
        # In blocks: what this process holds counts as the peak of those that it starts.
        return sum(block.count(b",") + block.count(b"\n") for block in iter(lambda: process.stdout.read(MIB), b""))


def callgrind(command):
    """Instructions that `command` executes, all of them and by function."""
    with tempfile.TemporaryDirectory(dir="/dev/shm") as out:
        counts = f"{out}/callgrind"
        command = [str(word).format(out=out) for word in command]
        run(["valgrind", "--tool=callgrind", f"--callgrind-out-file={counts}", *command])
        annotate = ["callgrind_annotate", "--threshold=100", counts]
        text = subprocess.run(annotate, capture_output=True, check=True, text=True).stdout
    functions = {}
    for count, name, library in re.findall(r"^ *([\d,]+) \([ \d.]+%\)  [^:\n]*:(.+?)(?: \[(.*)\])?$", text, re.M):
        name = pathlib.Path(library).name.split(".so")[0] if name.startswith("0x") else readable(name)
        functions[name] = functions.get(name, 0) + int(count.replace(",", ""))
    total = re.search(r"^ *([\d,]+) .*PROGRAM TOTALS", text, re.M).group(1)
    return int(total.replace(",", "")), functions


def readable(function):
    """A demangled function without what its name tells anyway, nor a long list of parameters."""
    text = r"std::(?:__cxx11::)?basic_(string\w*)<char, std::char_traits<char>(?:, std::allocator<char>)? >"
    function = re.sub(r"'\d+$|\(anonymous namespace\)::|\bzun::|\btamber::utils::|^void ", "", function)
    function = re.sub(text, r"std::\1", function)
    return re.sub(r"\([^()]{25,}\)", "(...)", function)


# ---------------------------------------------------------------- documents


def machine():
    cpu = re.search(r"model name\s*: (.*)", pathlib.Path("/proc/cpuinfo").read_text()).group(1)
    compiler = subprocess.run(["g++", "-dumpfullversion"], capture_output=True, check=True, text=True).stdout.strip()
    load = os.getloadavg()[0]
    return f"{cpu}, {os.cpu_count()} cores; GCC {compiler}, release build; load {load:.1f} before the run.\n"


def fill(document, sections):
    """Puts each text of `sections` between the markers of its name."""
    text = document.read_text()
    for name, body in sections.items():
        marked = re.compile(rf"(<!-- {name} -->\n).*?(<!-- end -->)", re.S)
        if not marked.search(text):
            sys.exit(f"{document}: no marker '<!-- {name} -->'")
        text = marked.sub(lambda match: match[1] + body + match[2], text)
    document.write_text(text)


def bare_table(cells, rows):
    """Each benchmark beside its bare loop: "Value<x>" beside "ValueBare<x>", "Floats/10" beside "FloatsBare/10"."""
    lines = []
    for name in (name for name in cells if "Bare" not in name):
        bare = cells.get(re.sub(r"^\w+", lambda match: match[0] + "Bare", name))
        label = re.sub(r"^(?:Value|Text)<(.*)>$", r"\1", name)
        beside = ("", "") if bare is None else (ns(bare), f"{cells[name] / bare:.2f}")
        lines.append([label, f"{1 / rows[name]:,.0f}", ns(cells[name]), *beside])
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
        targets += bench.growth_of_memory()
        targets += bench.views()
    cells, rows = micro(bench.programs / "row_bench", bench.runs)
    targets += bench.parts(cells, rows)
    sections["targets"] = target_table(targets)
    print(sections["machine"])
    print(sections["targets"])
    if options.more or options.write:
        if SPEED.exists():
            head = ["", "command", "CPU s", "system s", "wall s", "ns a cell", "peak MiB"]
            sections["figures"] = table(head, figures)
            sections["instructions"] = table(["", "instructions a cell", "share"], bench.instructions())
        head = ["topics", "rows", "columns", "CPU s", "ns a cell", "ns a row", "peak MiB"]
        sections["growth"] = table(head, bench.growth())
        sections["rows"] = bare_table(cells, rows)
        for name, program in ("values", "value_bench"), ("numbers", "number_text_bench"):
            sections[name] = bare_table(*micro(bench.programs / program, bench.runs))
        for name in ("figures", "growth", "rows", "values", "numbers", "instructions"):
            if name in sections:
                print(sections[name])
    if options.write:
        fill(ROOT / "docs" / "performance.md", sections)
    return 0 if all(target.holds() for target in targets) else 1


if __name__ == "__main__":
    sys.exit(main())

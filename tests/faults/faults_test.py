#!/usr/bin/env python3
"""Converts a recording again and again, each time with a fault at another moment.

usage: faults_test.py TOOL LIBRARY DATA LINE

LINE is a line of faults.tsv: a name; the recording in DATA; options; the functions that fail; the kind of fault, a number
as faults.cpp takes it or the name of an error or a signal; which calls: "1-3000, 3000-/50" are all of the first 3000,
then every 50th; the exit codes that are right, a signal's negative: the C and C++ libraries abort (-6) where they get no
memory for a thread's local objects or for walking a folder. Whatever happens, a name in the output folder means a
whole file, no unfinished file stays behind unless nobody could take it away, and where anything was left, another run
makes it right. Exit code 0 means that all files are there.
"""
import concurrent.futures
import errno
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import tempfile

SECONDS = 10  # a run takes a tenth of one; longer means that it hangs


def kind_of(word):
    return str(getattr(errno, word, None) or (1000 + getattr(signal, word) if word.startswith("SIG") else int(word)))


def moments(ranges, count):
    for first, last, stride in re.findall(r"(\d+)-(\d*)/?(\d*)", ranges):
        yield from range(int(first), min(int(last or count), count) + 1, int(stride or 1))


def files_in(folder):
    """Contents by path."""
    return {str(path.relative_to(folder)): path.read_bytes() for path in folder.rglob("*") if path.is_file()}


class Faults:
    def __init__(self, tool, library, recording, options):
        self.command = [tool, "convert", recording, "--overwrite", "-q", *options.split(), "-o"]
        self.library = library

    def run(self, folder, **fault):
        """The exit code, and what was said."""
        environment = dict(os.environ, TMPDIR=str(folder.parent), AMENT_PREFIX_PATH="", LD_PRELOAD=self.library, **fault)
        run = subprocess.run([*self.command, folder], env=environment, capture_output=True, timeout=SECONDS, check=False)
        return run.returncode, run.stderr.decode(errors="replace").strip()

    def count(self, folder, group):
        self.run(folder / "csv", FAULT_IN=group, FAULT_COUNT=str(folder / "count"))
        self.wanted = files_in(folder / "csv")
        return int((folder / "count").read_text())

    def complaint(self, root, fault, codes, moment):
        """What is wrong after a fault at `moment`; empty when nothing is."""
        with tempfile.TemporaryDirectory(dir=root) as place:
            folder = pathlib.Path(place) / "csv"
            try:
                code, said = self.run(folder, FAULT_AT=str(moment), **fault)
            except subprocess.TimeoutExpired:
                return "it hangs"
            found = files_in(pathlib.Path(place))
            names = {name: text for name, text in found.items() if not name.endswith(".part")}
            wrong = [f"exit code {code}"] if code not in codes else []
            if code == 0 and len(names) != len(self.wanted):
                wrong.append("files are missing")
            if code != 3:
                wrong += [f"{name} is not whole" for name, text in names.items() if self.wanted.get(name[4:]) != text]
            if code != -signal.SIGKILL and len(found) != len(names):
                wrong.append("unfinished files are left")
            if code in (1, 3) and not said:
                wrong.append("nothing was said")
            if found and code != 0 and (self.run(folder)[0] != 0 or self.wanted.items() - files_in(folder).items()):
                wrong.append("another run does not make it right")
            return f"{', '.join(wrong)}: {said}" if wrong else ""


def main(tool, library, data, line):
    name, recording, options, group, kind, ranges, codes = line.split("\t")
    faults = Faults(tool, library, pathlib.Path(data) / recording, options)
    fault = {"FAULT_IN": group, "FAULT_KIND": kind_of(kind.rstrip("+")), "FAULT_LASTS": str(int(kind.endswith("+")))}
    with tempfile.TemporaryDirectory() as folder, concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        count = faults.count(pathlib.Path(folder), group)
        shutil.rmtree(pathlib.Path(folder) / "csv")
        tried = list(moments(ranges, count))
        right = {int(code) for code in codes.split()}
        found = list(pool.map(lambda moment: faults.complaint(folder, fault, right, moment), tried))
    for moment, complaint in zip(tried, found):
        if complaint:
            print(f"call {moment}: {complaint}")
    print(f"{name}: {len(tried)} of {count} calls, {sum(map(bool, found))} wrong")
    sys.exit(not tried or any(found))


if __name__ == "__main__":
    main(*sys.argv[1:])

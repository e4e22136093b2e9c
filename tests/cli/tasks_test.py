#!/usr/bin/env python3
"""Compares conversions in tasks with single ones: files, closing report, and exit code.

usage: tasks_test.py TOOL DATA TABLE

Each line of TABLE has recordings, which are converted together, and options. FILE@N is the file with its byte N changed.
They are planned as 1, 2 and 5 parts; each task is killed once on its way and done twice, the last task first.
"""
import itertools
import pathlib
import shlex
import subprocess
import sys
import tempfile

OUTCOME = ("--fail-on-truncation",)  # is the join's to say


def run(*arguments, cwd, out=subprocess.DEVNULL):
    return subprocess.run(arguments, cwd=cwd, stdout=out, stderr=subprocess.PIPE, text=True, timeout=120, check=False)


def files_below(folder):
    return {p.relative_to(folder): p.read_bytes() for p in folder.rglob("*") if p.is_file() and "parts" not in p.parts}


def in_tasks(tool, data, folder, recordings, options, parts):
    """Whatever went wrong before the join, and the join."""
    shaping = [option for option in options if option not in OUTCOME]
    planned = run(tool, "plan", *recordings, *shaping, "-o", folder / "plan", "--parts", str(parts), cwd=data)
    tasks = range(len((folder / "plan").read_text().splitlines()) - 1, 0, -1)
    failed = [planned.stderr] if planned.returncode else []
    for task in tasks:
        with open(folder / f"lengths.{task}.yaml", "wb") as lengths:
            done = run(tool, "fit", "--plan", folder / "plan", "--task", str(task), cwd=data, out=lengths)
        failed += [done.stderr] if done.returncode else []
    for task in tasks:
        command = [tool, "convert", "--plan", folder / "plan", "--task", str(task),
                   "--limits", folder / "lengths.*.yaml", "-o", folder / "csv"]
        with subprocess.Popen(command, cwd=data, stderr=subprocess.DEVNULL) as killed:
            try:
                killed.wait(0.004 * task)
            except subprocess.TimeoutExpired:
                killed.kill()
        for _ in range(2):
            done = run(*command, cwd=data)
            failed += [done.stderr] if done.returncode else []
    outcome = [option for option in options if option in OUTCOME]
    return failed, run(tool, "join", folder / "plan", *outcome, "-o", folder / "csv", "--report", folder / "report",
                       cwd=data)


def recording_of(word, data, folder):
    """The path that a word of the table stands for."""
    name, _, position = word.partition("@")
    if not position:
        return name
    content = bytearray((data / name).read_bytes())
    content[int(position)] ^= 0xFF
    damaged = folder / f"{position}_{pathlib.Path(name).name}"
    damaged.write_bytes(content)
    return str(damaged)


def differences(tool, data, recordings, options, parts):
    with tempfile.TemporaryDirectory() as one, tempfile.TemporaryDirectory() as many:
        one, many = pathlib.Path(one), pathlib.Path(many)
        single = run(tool, "convert", *recordings, *options, "-o", one / "csv", "--report", one / "report", cwd=data)
        failed, joined = in_tasks(tool, data, many, recordings, options, parts)
        yield from failed
        if single.returncode != joined.returncode:
            yield f"exit code {joined.returncode}, not {single.returncode}"
        if single.stderr.replace(str(one), "") != joined.stderr.replace(str(many), ""):
            yield f"said:\n{joined.stderr}instead of:\n{single.stderr}"
        for name, path in (("report", "report"), ("files", "csv")):
            wanted = (one / path).read_text().replace(str(one), "") if name == "report" else files_below(one / path)
            made = (many / path).read_text().replace(str(many), "") if name == "report" else files_below(many / path)
            if wanted != made:
                yield f"{name} differ"


def main(tool, data, table):
    lines = [line for line in pathlib.Path(table).read_text().splitlines() if not line.startswith("#")]
    wrong = 0
    with tempfile.TemporaryDirectory() as damaged:
        for line, parts in itertools.product(lines, (1, 2, 5)):
            words, options = line.split("\t")
            recordings = [recording_of(word, pathlib.Path(data), pathlib.Path(damaged)) for word in words.split()]
            for difference in differences(tool, data, recordings, shlex.split(options), parts):
                print(f"{line}, {parts} parts: {difference}")
                wrong += 1
    sys.exit(wrong > 0 or not lines)


main(*sys.argv[1:])

#!/usr/bin/env python3
"""Runs the tool as a user does and compares all that it says.

usage: cli_test.py TOOL DATA CASE

CASE is a transcript: a line "$ COMMAND" is run by a shell in an empty folder with the tool on its path and the folder
of recordings in $DATA; the lines that follow are what it writes, first to stdout, then to stderr behind "! ", and last
its exit code as "[N]" unless that is 0. A line "#" is a comment.
"""
import difflib
import os
import pathlib
import subprocess
import sys
import tempfile


def output_of(command, folder, environment):
    run = subprocess.run(
        ["/bin/sh", "-c", command], cwd=folder, env=environment, capture_output=True, timeout=300, check=False)
    lines = run.stdout.decode(errors="replace").splitlines()
    lines += ["! " + line for line in run.stderr.decode(errors="replace").splitlines()]
    return lines + ([f"[{run.returncode}]"] if run.returncode else [])


def transcript(case, tool, data):
    """The case's lines with the outputs that its commands have now."""
    environment = dict(
        os.environ, PATH=f"{tool.parent}:{os.environ['PATH']}", DATA=str(data), AMENT_PREFIX_PATH="", LC_ALL="C.UTF-8")
    with tempfile.TemporaryDirectory() as folder:
        for line in case:
            if line.startswith(("$ ", "#")):
                yield line
            if line.startswith("$ "):
                for said in output_of(line[2:], folder, environment):
                    yield said.replace(str(data), "$DATA").rstrip()


def main(tool, data, case):
    wanted = pathlib.Path(case).read_text(encoding="utf-8").splitlines()
    said = list(transcript(wanted, pathlib.Path(tool).resolve(), pathlib.Path(data).resolve()))
    if not any(line.startswith("$ ") for line in wanted):
        sys.exit(f"{case}: no command")
    print("\n".join(difflib.unified_diff(wanted, said, "wanted", "said", lineterm="", n=100)))
    sys.exit(wanted != said)


main(*sys.argv[1:])

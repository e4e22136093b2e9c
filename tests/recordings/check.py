#!/usr/bin/env python3
"""Converts recordings as a user would, and holds what comes out against the lines of recordings.tsv.

usage: check.py TOOL ROOT PREFIX [--accept]

Tries each line whose recording begins with PREFIX, in ROOT, and complains about recordings in ROOT/PREFIX without a line.
--accept writes the CSV files of each line as its expected ones: look at them before they are committed.
"""
import csv
import difflib
import hashlib
import os
import pathlib
import re
import resource
import subprocess
import sys
import tempfile

TABLE = pathlib.Path(__file__).with_name("recordings.tsv")
MOST_KIB = 1 << 20  # of memory, whatever a recording claims: twice what is promised, for the sake of sanitizers
EXPECTED = TABLE.parents[1] / "data/csv"
HEADING = re.compile(rb"^==> (.+) <==\n", re.MULTILINE)


def fingerprint(recording):
    files = sorted(recording.rglob("*")) if recording.is_dir() else [recording]
    return [(file, hashlib.sha256(file.read_bytes()).digest()) for file in files if file.is_file()]


def unpacked(name):
    """The CSV files in csv/NAME.txt: each behind a line with its name."""
    _, *parts = HEADING.split((EXPECTED / f"{name}.txt").read_bytes())
    return dict(zip(parts[::2], parts[1::2]))


def accept(name, written):
    (EXPECTED / f"{name}.txt").write_bytes(b"".join(b"==> %s <==\n%s" % file for file in written.items()))


def wrong_files(names, written):
    """One complaint for every CSV file that is not, byte by byte, the expected one."""
    wanted = {file: text for name in names.split() for file, text in unpacked(name).items()}
    for file in sorted(wanted.keys() | written.keys()):
        texts = [files.get(file, b"").decode("utf-8", "backslashreplace") for files in (wanted, written)]
        if wanted.get(file) != written.get(file):
            yield "\n".join(difflib.unified_diff(*(text.split("\n") for text in texts), "wanted", file.decode(), "", "", 0))


def uneven_rows(written):
    """One complaint for every CSV file that has a row of another width than its header."""
    csv.field_size_limit(2**31 - 1)
    for file, text in written.items():
        header, *rows = csv.reader(text.decode("utf-8", "backslashreplace").splitlines(keepends=True))
        bad = [number for number, row in enumerate(rows, 1) if len(row) != len(header)]
        if bad:
            yield f"{file.decode()}: {len(bad)} rows are not {len(header)} cells wide, the first is row {bad[0]}"


def other_values(folder, recording):
    """What the shared comparison says about values that another decoder found."""
    decoded = pathlib.Path("expect", recording)
    whole_bag = pathlib.Path(recording).is_dir()
    for values in sorted(decoded.glob("*.jsonl")) if whole_bag else [decoded.with_suffix(".decoded.jsonl")]:
        run = subprocess.run(["node", "../check/expect.mjs", folder, values], capture_output=True, text=True, check=False)
        if run.returncode:
            yield run.stdout + run.stderr


def complaints(tool, line, folder, accepting):
    recording, exit_code, names, sentences, options = line.split("\t")
    before = fingerprint(pathlib.Path(recording))
    command = [tool, "convert", recording, "-o", folder, *options.split()]
    environment = dict(os.environ, AMENT_PREFIX_PATH="")
    run = subprocess.run(command, env=environment, capture_output=True, text=True, errors="replace", check=False)
    if run.returncode != int(exit_code):
        yield f"exit code {run.returncode}, not {exit_code}\n{run.stderr}"
    if resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss > MOST_KIB:
        yield f"took more than {MOST_KIB} KiB of memory"
    for sentence in sentences.split(" | "):
        if sentence not in run.stderr:
            yield f"stderr does not say: {sentence}\n{run.stderr}"
    written = {bytes(file.relative_to(folder)): file.read_bytes() for file in sorted(folder.rglob("*.csv"))}
    if names in ("known", "unknown"):
        yield from uneven_rows(written)
        yield from other_values(folder, recording) if names == "known" else ()
    elif accepting and len(names.split()) == 1:
        accept(names, written)
    else:
        yield from wrong_files(names, written)
    if fingerprint(pathlib.Path(recording)) != before:
        yield "the recording has changed"


def unlisted(lines, prefix):
    listed = [pathlib.Path(line.split("\t")[0]) for line in lines]
    for file in pathlib.Path(prefix).rglob("*"):
        if file.suffix in {".mcap", ".db3", ".zstd"} and not any(one == file or one in file.parents for one in listed):
            yield file


def main(tool, root, prefix, *accepting):
    os.chdir(root)
    lines = [line for line in TABLE.read_text("utf-8").splitlines() if line.startswith(prefix)]
    found = [f"{file}: not in the table" for file in unlisted(lines, prefix)]
    for line in lines:
        with tempfile.TemporaryDirectory() as folder:
            said = complaints(tool, line, pathlib.Path(folder, "csv"), accepting)
            found += [f"{line}\n{complaint}" for complaint in said]
    print(*found, f"{len(lines)} lines, {len(found)} complaints", sep="\n")
    sys.exit(1 if found or not lines else 0)


if __name__ == "__main__":
    main(*sys.argv[1:])

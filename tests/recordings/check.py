#!/usr/bin/env python3
"""Converts one recording of the shared collection as a user would, and holds the result against a table's line.

usage: check.py TOOL SHARED NODE LINE

LINE is a line of recordings.tsv. What is checked: the exit code, the sentences on stderr, that every row is as wide
as its header, the values where they are known, and that the recording itself is as it was.
"""
import csv
import hashlib
import pathlib
import subprocess
import sys
import tempfile


def expected_values(shared, path):
    """The files that say what the recording holds, beside it or among those that another decoder wrote."""
    recording = shared / "recordings" / path
    if path.startswith("real/"):
        decoded = shared / "recordings/expect" / path
        return sorted(decoded.glob("*.jsonl")) if recording.is_dir() else [decoded.with_suffix(".decoded.jsonl")]
    return [recording / "expect.jsonl" if recording.is_dir() else recording.with_suffix(".expect.jsonl")]


def fingerprint(recording):
    files = sorted(recording.rglob("*")) if recording.is_dir() else [recording]
    return {file.name: hashlib.sha256(file.read_bytes()).hexdigest() for file in files if file.is_file()}


def uneven_rows(folder):
    """One complaint for every CSV file that has a row of another width than its header."""
    csv.field_size_limit(2**31 - 1)
    for file in sorted(folder.rglob("*.csv")):
        with file.open(newline="", encoding="utf-8", errors="replace") as text:
            rows = csv.reader(text)
            width = len(next(rows))
            bad = [number for number, row in enumerate(rows, 1) if len(row) != width]
        if bad:
            yield f"{file.name}: {len(bad)} rows are not {width} cells wide, the first is row {bad[0]}"


def wrong_values(shared, node, folder, path, differences):
    """What the collection's own comparison says, unless it counts `differences` as the table does."""
    for values in expected_values(shared, path):
        check = [node, shared / "check/expect.mjs", folder, values]
        run = subprocess.run(check, capture_output=True, text=True, check=False)
        if not run.stdout.endswith(f" {differences} differences\n"):
            yield run.stdout + run.stderr


def complaints(tool, shared, node, folder, line):
    path, exit_code, differences, sentences, options = line.split("\t")
    recording = shared / "recordings" / path
    before = fingerprint(recording)
    arguments = options.replace("RECORDINGS", str(shared / "recordings")).split()
    run = subprocess.run(
        [tool, "convert", recording, "-o", folder / "csv", *arguments],
        capture_output=True, text=True, errors="replace", check=False)
    print(run.stdout + run.stderr)
    if run.returncode != int(exit_code):
        yield f"exit code {run.returncode}, not {exit_code}"
    for sentence in sentences.split(" | "):
        if sentence not in run.stderr:
            yield f"stderr does not say: {sentence}"
    yield from uneven_rows(folder)
    if differences != "-":
        yield from wrong_values(shared, node, folder / "csv", path, differences)
    if fingerprint(recording) != before:
        yield "the recording has changed"


def main(tool, shared, node, line):
    with tempfile.TemporaryDirectory() as folder:
        found = list(complaints(tool, pathlib.Path(shared), node, pathlib.Path(folder), line))
    print("\n".join(found))
    sys.exit(1 if found else 0)


if __name__ == "__main__":
    main(*sys.argv[1:])

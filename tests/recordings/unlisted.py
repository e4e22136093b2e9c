#!/usr/bin/env python3
"""Fails when the shared collection holds a recording that no line of recordings.tsv converts.

usage: unlisted.py SHARED TABLE
"""
import pathlib
import sys

root = pathlib.Path(sys.argv[1]) / "recordings"
listed = [root / line.split("\t")[0] for line in pathlib.Path(sys.argv[2]).read_text(encoding="utf-8").splitlines()]
recordings = [file for file in root.rglob("*") if file.suffix in {".mcap", ".db3", ".zstd"}]
unlisted = [file for file in recordings if not any(file == one or one in file.parents for one in listed)]
for file in unlisted:
    print(f"not in the table: {file.relative_to(root)}")
print(f"{len(recordings)} recordings, {len(unlisted)} not in the table")
sys.exit(1 if unlisted or not recordings else 0)

#!/usr/bin/env python3
"""Checks that includes follow the architecture.

usage: layers.py REPOSITORY

Prints one line for every include that no arrow allows, for every third-party header outside its folder, and for
every header without the include guard that its path calls for.
"""
import pathlib
import re
import sys

# Folder -> the folders that it may include from, besides itself and platform/error.
ARROWS = {
    "platform/error": "",
    "platform/text": "",
    "platform/logger": "",
    "platform/fnmatch": "",
    "platform/xtypes": "",
    "platform/cdr": "platform/xtypes",
    "platform/printing": "platform/cdr platform/xtypes",
    "schema/definition": "platform/xtypes platform/logger",
    "schema/rosmsg": "schema/definition platform/xtypes platform/text",
    "schema/omgidl": "schema/definition platform/xtypes platform/text",
    "schema/standard": "schema/rosmsg schema/definition platform/xtypes",
    "schema": "schema/rosmsg schema/omgidl schema/standard schema/definition platform/xtypes",
    "format/columns": "platform/xtypes",
    "format": "format/columns platform/printing platform/xtypes platform/fnmatch platform/logger",
    "input": "",
    "input/bytes": "",
    "input/mcap": "input input/bytes",
    "input/sqlite": "input input/bytes platform/text",
    "input/bag": "input input/bytes",
    "input/recording": "input input/*",
    "convert/plan": "format schema input platform/*",
    "convert/output": "input",
    "convert/report": "convert/plan convert/output input platform/text",
    "convert/tasks": "convert/plan convert/output convert/report input platform/cdr",
    "convert/passes": "convert convert/plan convert/output convert/report convert/tasks format schema input platform/*",
    "convert": "convert/* format schema input platform/*",
    "cli": "convert convert/* schema input input/* platform/*",
    "examples": "*",
    "benchmarks": "*",
    "fuzz": "*",
    "tests": "*",
}

# Header that is neither ours nor the standard library's -> the folders that may include it, besides tests.
DOORS = {
    r"(zstd|lz4|lz4frame|libdeflate)\.h": "input/bytes",
    r"sqlite3\.h": "input/sqlite",
    r"utf8\.h": "platform/text",
    r"utf8proc\.h": "convert/plan",
    r"yaml-cpp/.*": "input/bag convert/plan",
    r"CLI/.*": "cli fuzz",
    r"malloc\.h": "cli",
    r"nlohmann/.*": "convert/report convert/tasks cli",
    r"(gtest|gmock)/.*|dlfcn\.h": "tests",
    r"benchmark/.*": "benchmarks",
    r"[a-z]*mmintrin\.h": "platform/printing",
    r"fnmatch\.h": "platform/fnmatch",
    r"(md5|sha2)\.h|sys/types\.h": "schema schema/definition",
    r"(fcntl|glob|unistd|signal|poll|pthread)\.h|sys/.*": "input input/* convert convert/output cli",
}

INCLUDE = re.compile(r'^\s*#\s*include\s+(["<])([^">]+)[">]')
SOURCES = {".cpp", ".hpp"}


def folder_of(path):
    """The architecture's folder that a file is in: the longest one that leads to it; None for none."""
    parts = path.split("/")[:-1]
    for size in range(len(parts), 0, -1):
        if "/".join(parts[:size]) in ARROWS:
            return "/".join(parts[:size])
    return None


def allows(patterns, folder):
    """Whether a list such as "format platform/*" names the folder."""
    return any(
        pattern in ("*", folder) or (pattern.endswith("/*") and folder.startswith(pattern[:-1]))
        for pattern in patterns.split()
    )


def wrong_include(path, quote, target, exists):
    """What is wrong with one include line; None when nothing is."""
    folder = folder_of(path)
    if ".." in target.split("/"):
        return f'includes "{target}": paths start at the repository root'
    if quote == '"':
        if not exists(target):
            return f'includes "{target}", which is no file of the repository'
        other = folder_of(target)
        if other == folder or other == "platform/error" or allows(ARROWS[folder], other):
            return None
        return f'includes "{target}", but {folder} may not depend on {other}'
    if re.fullmatch(r"[a-z_0-9]+", target):
        return None
    for header, folders in DOORS.items():
        if re.fullmatch(header, target):
            fits = folder == "tests" or allows(folders, folder)
            return None if fits else f"includes <{target}>, which belongs to: {folders}"
    return f"includes <{target}>, which no folder is known for"


def wrong_guard(path, text):
    """What is wrong with the include guard of a header; None when nothing is."""
    found = re.search(r"^#ifndef (\w+)\n#define (\w+)$", text, re.M)
    plain = "ZUN" + re.sub(r"\W|_", "", path).upper()
    if found and found[1] == found[2] and found[1].startswith("ZUN_") and found[1].replace("_", "") == plain:
        return None
    return "has no include guard named by its path, ZUN_FOLDER_NAME_HPP"


def check_file(path, text, exists):
    """The complaints about one file, as (line, complaint)."""
    if folder_of(path) is None:
        return [(1, "lies in no folder of the architecture")]
    complaints = []
    for number, line in enumerate(text.splitlines(), 1):
        found = INCLUDE.match(line)
        complaint = found and wrong_include(path, found[1], found[2], exists)
        if complaint:
            complaints.append((number, complaint))
    guard = wrong_guard(path, text) if path.endswith(".hpp") else None
    return complaints + ([(1, guard)] if guard else [])


def main(root):
    files = [
        file
        for top in sorted({folder.split("/")[0] for folder in ARROWS})
        for file in sorted((root / top).rglob("*"))
        if file.suffix in SOURCES
    ]
    if not files:
        sys.exit(f"layers: no sources under {root}")
    wrong = 0
    for file in files:
        path = file.relative_to(root).as_posix()
        for line, complaint in check_file(path, file.read_text(encoding="utf-8"), lambda t: (root / t).is_file()):
            print(f"{path}:{line}: {complaint}")
            wrong += 1
    print(f"layers: {len(files)} files, {wrong} wrong")
    sys.exit(1 if wrong else 0)


if __name__ == "__main__":
    main(pathlib.Path(sys.argv[1]))

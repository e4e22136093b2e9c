#!/usr/bin/env python3
"""Compares interfaces.txt with a folder of published .msg, .srv and .action files.

usage: check_interfaces.py FOLDER [--write PACKAGE]...

Compares names, fields with their order and bounds, constants and defaults. Prints each difference and ends with 1
when there is one. A file whose name goes on after a dot, such as Range.0a1b2c3.msg, is a layout that some release
had; it has to be among the layouts of that name. --write adds what the table lacks of these packages.
"""
import argparse
import pathlib
import re
import sys

TABLE = pathlib.Path(__file__).with_name("interfaces.txt")
KINDS = {".msg": "MSG", ".srv": "SRV", ".action": "ACTION"}
PACKAGES_BY_FOLDER = {"test_interface_files": "test_msgs"}


def without_comment(line):
    """`line` up to a "#" outside of quotes."""
    return re.match(r"""(?:[^#"']|"(?:\\.|[^"\\])*"|'(?:\\.|[^'\\])*'|["'])*""", line)[0].strip()


def compact(text):
    """The facts of a definition: one line each, no comments, no spaces that say nothing."""
    lines = []
    for line in filter(None, map(without_comment, text.splitlines())):
        parts = re.fullmatch(r"(\S+)\s+(\w+)\s*(=?)\s*(.*)", line)
        lines.append(f"{parts[1]} {parts[2]}{parts[3] or ' '}{parts[4]}".rstrip() if parts else line)
    return "\n".join(lines)


def fields(text):
    """The lines that decide how a message is laid out."""
    return [" ".join(line.split()[:2]) for line in text.splitlines() if not re.match(r"\S+ \w+=", line)]


def package_of(path):
    """The folder around the one called msg, srv or action; else the one that the file is in."""
    folder = path.parent.parent if path.parent.name in ("msg", "srv", "action") else path.parent
    return PACKAGES_BY_FOLDER.get(folder.name, folder.name)


def read_table():
    """{"MSG: package/Name": [layout, ...]}, the newest layout first."""
    table = {}
    for section in TABLE.read_text(encoding="utf-8").split("===\n")[1:]:
        header, _, body = section.partition("\n")
        table.setdefault(header, []).append(body.rstrip("\n"))
    return table


def write_table(table):
    text = "".join(f"===\n{key}\n{body}\n" if body else f"===\n{key}\n" for key in sorted(table) for body in table[key])
    TABLE.write_text(text, encoding="utf-8")


def differences(folder, table, packages):
    """What the files in `folder` say otherwise than the table."""
    for path in sorted(path for path in folder.rglob("*") if path.suffix in KINDS):
        name, _, older = path.stem.partition(".")
        keys = [key for key in table if key.endswith(f"/{name}") and key.startswith(KINDS[path.suffix])]
        key = f"{KINDS[path.suffix]}: {package_of(path)}/{name}"
        text = compact(path.read_text(encoding="utf-8"))
        if older:
            if not any(fields(text) == fields(layout) for other in keys for layout in table[other]):
                yield f"{path}: no layout of {name} has these fields"
        elif key not in table and package_of(path) in packages:
            yield f"{path}: {key} is missing"
        elif key in table and table[key][0] != text:
            yield f"{path}: {key} differs:\n--- table\n{table[key][0]}\n--- file\n{text}\n---"


def add_missing(folder, table, packages):
    paths = sorted((path for path in folder.rglob("*") if path.suffix in KINDS), key=lambda path: "." in path.stem)
    for path in paths:
        name, _, older = path.stem.partition(".")
        text = compact(path.read_text(encoding="utf-8"))
        key = f"{KINDS[path.suffix]}: {package_of(path)}/{name}"
        if older:
            key = next((other for other in table if other.endswith(f"/{name}") and other.startswith("MSG")), None)
            if key and all(fields(text) != fields(layout) for layout in table[key]):
                table[key].append(text)
        elif package_of(path) in packages:
            table.setdefault(key, [text])


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("folder", type=pathlib.Path)
    parser.add_argument("--write", action="append", default=[], metavar="PACKAGE")
    arguments = parser.parse_args()
    table = read_table() if TABLE.exists() else {}
    if arguments.write:
        add_missing(arguments.folder, table, arguments.write)
        write_table(table)
    packages = {key.split()[1].split("/")[0] for key in table}
    found = list(differences(arguments.folder, table, packages))
    print("\n".join(found + [f"check_interfaces: {len(table)} interfaces, {len(found)} differences"]))
    sys.exit(1 if found else 0)


if __name__ == "__main__":
    main()

"""What programs that people use see in a CSV file with every awkward value.

usage: readers_test.py TOOL Readers.test_PROGRAM
"""
import csv
import json
import math
import os
import pathlib
import re
import struct
import subprocess
import sys
import tempfile
import unittest
import zipfile
from xml.etree import ElementTree

import awkward

TOOL = sys.argv.pop(1)
DUCKDB = pathlib.Path(__file__).with_name("duckdb.mjs")
EXPECTED = awkward.columns()
SHEET = "http://schemas.openxmlformats.org/spreadsheetml/2006/main"


def output(*command, **options):
    return subprocess.run(command, check=True, capture_output=True, text=True, **options).stdout


def without_nil(cells):
    return [None if cell == "nil" else cell for cell in cells]


def agrees(want, got, digits, code):
    """Whether a reader's cell (a text or a number of its own, None for a missing one) says the value.

    `digits`  significant digits that the reader keeps of a floating-point number; None for every bit
    `code`    "f" or "d": the type that a floating-point number has
    """
    if want is None or got is None:
        return got is None and (want is None or (isinstance(want, float) and math.isnan(want)))
    if isinstance(want, bool):
        return str(got).lower() in (str(want).lower(), str(int(want)))
    if isinstance(want, int):
        return int(got) == want
    if not isinstance(want, float):
        return got == want
    (read,) = struct.unpack(code, struct.pack(code, float(got)))
    if digits:
        return str(want) == str(read) or math.isclose(want, read, rel_tol=10.0**-digits, abs_tol=1e-300)
    return struct.pack("d", read) == struct.pack("d", want)


class Readers(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.folder.cleanup)
        cls.recording = pathlib.Path(cls.folder.name, "awkward.mcap")
        cls.recording.write_bytes(awkward.recording())
        cls.file = cls.convert("plain")

    @classmethod
    def convert(cls, name, *options):
        """The CSV file that the tool makes with these options."""
        folder = pathlib.Path(cls.folder.name, name)
        output(TOOL, "convert", cls.recording, "-o", folder, *options)
        (file,) = folder.glob("*.csv")
        return file

    def with_dots(self, columns):
        """Columns that have underscores in their names, by the names that they have without."""
        self.assertEqual([re.sub(r"\W+", "_", title).rstrip("_") for title in EXPECTED], list(columns))
        return dict(zip(EXPECTED, columns.values()))

    def expect(self, columns, digits=None, missing=(), except_for=(), expected=EXPECTED):
        """That all columns have the right values, where texts among `missing` are missing values."""
        self.assertEqual(list(expected), list(columns))
        for title, values in expected.items():
            if title in except_for:
                continue
            values = [None if isinstance(v, str) and v in missing else v for v in values]
            self.assertEqual(len(values), len(columns[title]), title)
            for row, (want, got) in enumerate(zip(values, columns[title])):
                says = agrees(want, got, digits, "f" if title == "single" else "d")
                self.assertTrue(says, f"{title} in row {row}: {got!r} for {want!r}")

    def test_pandas(self):
        import pandas

        table = pandas.read_csv(
            self.file, na_values=["nil", "nan"], keep_default_na=False, float_precision="round_trip")
        self.assertEqual("int64", str(table["wide.length"].dtype))
        self.expect({title: [None if pandas.isna(v) else v for v in table[title]] for title in table})
        table = pandas.read_csv(self.convert("pandas", "--for", "pandas"), index_col=0, parse_dates=True)
        table.insert(0, "timestamp", table.index.asi8)
        columns = {title: [None if pandas.isna(v) else v for v in table[title]] for title in table}
        self.expect(columns, digits=15, missing=("", "NaN"))

    def test_sidecar(self):
        """The lines of Python in it, run as they are."""
        import pandas

        for time_format in ("nanoseconds", "seconds", "rfc3339", "elapsed"):
            for options in ((), ("--for", "excel", "--max-rows", "3")):
                folder = pathlib.Path(self.folder.name, "sidecar" + time_format + str(len(options)))
                output(TOOL, "convert", self.recording, "-o", folder, "--sidecar", "--time-format", time_format, *options)
                (sidecar,) = folder.glob("*.schema.json")
                found = {}
                os.chdir(folder)
                exec(json.loads(sidecar.read_text())["pandas"], found)
                table = found["table"]
                origin = EXPECTED["timestamp"][0] if time_format == "elapsed" else 0
                table["timestamp"] = table["timestamp"].astype("int64") + origin
                columns = {title: [None if pandas.isna(v) else v for v in table[title]] for title in table}
                self.expect(columns, missing=("",) if options else ())
                self.assertEqual("UInt64", str(table["most"].dtype))

    def test_duckdb(self):
        file = self.convert("duckdb", "--for", "duckdb")
        times = "SELECT epoch_ns(timestamp) AS t FROM read_csv($1, types = {timestamp: 'TIMESTAMP_NS'})"
        read = [json.loads(output("node", DUCKDB, file, query)) for query in ("FROM read_csv($1)", times)]
        columns = self.with_dots({title: [row[title] for row in read[0]] for title in read[0][0]})
        self.assertEqual("2023-11-14 22:13:20.123456+00", columns["timestamp"][0])
        columns["timestamp"] = [row["t"] for row in read[1]]
        self.expect(columns, missing=("",), except_for=("most",))

    def test_numbers(self):
        """What is plotted or calculated with is numbers and nothing else."""
        for program, texts in (("plotjuggler", ("flag", "text")), ("matlab", ("flag", "text", "mode"))):
            with open(self.convert(program, "--for", program), newline="", encoding="utf-8") as lines:
                rows = list(csv.DictReader(lines))
            for cells in (row.items() for row in rows):
                for title, cell in cells:
                    self.assertTrue(title in texts or cell == "" or float(cell) is not None)
                    self.assertTrue(title in texts or cell == cell.strip())
            self.assertEqual(["1700000000.123456789", ""], [rows[0]["timestamp"], rows[0]["maybe"]])

    def test_sqlite(self):
        whole = ("timestamp", "least", "few.length", "few[0]", "wide.length", "wide[0]")
        kinds = ((title, "INTEGER" if title in whole else "TEXT") for title in EXPECTED)
        select = ", ".join(f"""CAST(NULLIF("{title}", 'nil') AS {kind}) AS "{title}\"""" for title, kind in kinds)
        read = (f".import --csv {self.file} t", f"SELECT {select} FROM t")
        rows = json.loads(output("sqlite3", "-json", ":memory:", *read))
        self.expect({title: [row[title] for row in rows] for title in rows[0]})

    def test_r(self):
        script = """
            text <- function(v) if (is.numeric(v)) sprintf("%a", as.double(v)) else sapply(v, function(cell)
                paste(charToRaw(enc2utf8(cell)), collapse = ""))
            arguments <- commandArgs(TRUE)
            whole <- c(timestamp = "character", least = "character", most = "character")
            table <- if (arguments[2] == "preset") read.csv(arguments[1], check.names = FALSE) else
                read.csv(arguments[1], na.strings = "nil", check.names = FALSE, colClasses = whole)
            for (title in names(table)) {
                v <- table[[title]]
                cells <- ifelse(is.na(v) & !(is.numeric(v) & is.nan(v)), "NA", text(v))
                cat(title, class(v), cells, sep = ",")
                cat("\\n")
            }"""
        def columns_of(file, how):
            columns = {}
            for line in output("Rscript", "-e", script, file, how).splitlines():
                title, kind, *cells = line.split(",")
                read = (lambda c: bytes.fromhex(c).decode()) if kind == "character" else float.fromhex
                columns[title] = [None if cell == "NA" else read(cell) for cell in cells]
            return columns

        self.expect(columns_of(self.file, "as it is"), digits=15)
        preset = self.with_dots(columns_of(self.convert("r", "--for", "r"), "preset"))
        preset["flag"] = [bool(value) if isinstance(value, float) else value for value in preset["flag"]]
        self.expect(preset, digits=15, except_for=("timestamp", "least", "most"))
        for want, got in zip(EXPECTED["timestamp"], preset["timestamp"]):
            self.assertAlmostEqual(want / 1e9, got, 6)

    def test_miller(self):
        strip = "for (k, v in $*) { if (k =~ \"length$\") { $[k] = int(strip(v)) } }"
        text = output("mlr", "--icsv", "--ojson", "--no-auto-unflatten", "put", strip, self.file)
        rows = json.loads(text, parse_int=str, parse_float=str)
        self.expect({title: without_nil(row[title] for row in rows) for title in rows[0]})

    def test_spreadsheet(self):
        """With the columns of long numbers and of text imported as text."""
        as_text = ("timestamp", "least", "most", "text")
        table = self.workbook(self.file, as_text)
        self.expect({title: without_nil(cells) for title, cells in table.items()}, digits=15)
        preset = self.workbook(self.convert("excel", "--for", "excel"), as_text)
        preset["timestamp"] = [cell.replace(".", "") for cell in preset["timestamp"]]
        self.expect({title: [cell or None for cell in preset[title]] for title in preset}, digits=15, missing=("",))

    def test_spreadsheet_safe(self):
        """Without any care for texts: formulas are evaluated, and there are none."""
        safe = [("'" if text.startswith("=") else "") + text for text in EXPECTED["text"]]
        table = self.workbook(self.convert("safe", "--spreadsheet-safe"), ("timestamp", "least", "most"))
        columns = {title: without_nil(cells) for title, cells in table.items()}
        self.expect(columns, digits=15, expected=EXPECTED | {"text": safe})

    def workbook(self, file, as_text):
        """The cells when a spreadsheet has opened the file, those of `as_text` as texts, and evaluated formulas."""
        texts = "/".join(f"{number}/2" for number, title in enumerate(EXPECTED, 1) if title in as_text)
        output(
            "soffice", f"-env:UserInstallation=file://{file.parent}/profile", "--headless",
            f"--infilter=CSV:44,34,76,1,{texts},0,false,true,false,false,false,-1,true", "--convert-to", "xlsx", file,
            cwd=file.parent, timeout=120)
        book = zipfile.ZipFile(file.with_suffix(".xlsx"))
        strings = ["".join(s.itertext()) for s in ElementTree.fromstring(book.read("xl/sharedStrings.xml"))]

        def cells(row):
            filled = [(cell.get("r").rstrip("0123456789"), cell.get("t"), cell[0].text) for cell in row if len(cell)]
            return {place: strings[int(text)] if kind == "s" else text for place, kind, text in filled}

        sheet = ElementTree.fromstring(book.read("xl/worksheets/sheet1.xml"))
        titles, *rows = map(cells, sheet.iter(f"{{{SHEET}}}row"))
        return {title: [row.get(at, "") for row in rows] for at, title in titles.items()}


if __name__ == "__main__":
    unittest.main()

"""What programs that people use see in a CSV file with every awkward value.

usage: readers_test.py TOOL Readers.test_PROGRAM
"""
import json
import math
import pathlib
import struct
import subprocess
import sys
import tempfile
import unittest
import zipfile
from xml.etree import ElementTree

import awkward

TOOL = sys.argv.pop(1)
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
        recording = pathlib.Path(cls.folder.name, "awkward.mcap")
        recording.write_bytes(awkward.recording())
        for name, option in (("awkward", "--quiet"), ("safe", "--spreadsheet-safe")):
            output(TOOL, "convert", recording, "-o", recording.with_name(name), option)
        cls.file, cls.safe_file = (recording.with_name(name) / "awkward.csv" for name in ("awkward", "safe"))

    def expect(self, columns, digits=None, expected=None):
        expected = expected or EXPECTED
        self.assertEqual(list(expected), list(columns))
        for title, values in expected.items():
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
            file <- commandArgs(TRUE)
            whole <- c(timestamp = "character", least = "character", most = "character")
            table <- read.csv(file, na.strings = "nil", check.names = FALSE, colClasses = whole)
            for (title in names(table)) {
                v <- table[[title]]
                cells <- ifelse(is.na(v) & !(is.numeric(v) & is.nan(v)), "NA", text(v))
                cat(title, class(v), cells, sep = ",")
                cat("\\n")
            }"""
        columns = {}
        for line in output("Rscript", "-e", script, self.file).splitlines():
            title, kind, *cells = line.split(",")
            read = (lambda c: bytes.fromhex(c).decode()) if kind == "character" else float.fromhex
            columns[title] = [None if cell == "NA" else read(cell) for cell in cells]
        self.expect(columns, digits=15)

    def test_miller(self):
        strip = "for (k, v in $*) { if (k =~ \"length$\") { $[k] = int(strip(v)) } }"
        text = output("mlr", "--icsv", "--ojson", "--no-auto-unflatten", "put", strip, self.file)
        rows = json.loads(text, parse_int=str, parse_float=str)
        self.expect({title: without_nil(row[title] for row in rows) for title in rows[0]})

    def test_spreadsheet(self):
        """Into a workbook, with the columns of long numbers and of text imported as text."""
        self.expect(self.workbook(self.file, ("timestamp", "least", "most", "text")), digits=15)

    def test_spreadsheet_safe(self):
        """Without any care for texts: formulas are evaluated, and there are none."""
        safe = [("'" if text.startswith("=") else "") + text for text in EXPECTED["text"]]
        columns = self.workbook(self.safe_file, ("timestamp", "least", "most"))
        self.expect(columns, digits=15, expected=EXPECTED | {"text": safe})

    def workbook(self, file, as_text):
        """The columns of `file` when a spreadsheet has opened it, those of `as_text` as texts, and evaluated formulas."""
        texts = "/".join(f"{number}/2" for number, title in enumerate(EXPECTED, 1) if title in as_text)
        output(
            "soffice", f"-env:UserInstallation=file://{self.folder.name}/profile", "--headless",
            f"--infilter=CSV:44,34,76,1,{texts},0,false,true,false,false,false,-1,true", "--convert-to", "xlsx", file,
            cwd=self.folder.name, timeout=120)
        book = zipfile.ZipFile(pathlib.Path(self.folder.name, file.stem + ".xlsx"))
        strings = ["".join(s.itertext()) for s in ElementTree.fromstring(book.read("xl/sharedStrings.xml"))]

        def cells(row):
            filled = [(cell.get("r").rstrip("0123456789"), cell.get("t"), cell[0].text) for cell in row if len(cell)]
            return {place: strings[int(text)] if kind == "s" else text for place, kind, text in filled}

        sheet = ElementTree.fromstring(book.read("xl/worksheets/sheet1.xml"))
        titles, *rows = map(cells, sheet.iter(f"{{{SHEET}}}row"))
        return {title: without_nil(row.get(at, "") for row in rows) for at, title in titles.items()}


if __name__ == "__main__":
    unittest.main()

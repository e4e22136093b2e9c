"""The layer check on lines that it has to refuse, and on their right neighbours."""
import unittest

import layers

GUARD = "#ifndef ZUN_FORMAT_COLUMNS_COLUMN_INFO_HPP\n#define ZUN_FORMAT_COLUMNS_COLUMN_INFO_HPP\n"

REFUSED = [
    ("format/A.cpp", '#include "input/Time.hpp"', "format may not depend on input"),
    ("format/columns/A.cpp", '#include "format/A.hpp"', "format/columns may not depend on format"),
    ("input/mcap/A.cpp", '#include "input/bag/A.hpp"', "input/mcap may not depend on input/bag"),
    ("convert/A.cpp", '#include "schema/rosmsg/A.hpp"', "convert may not depend on schema/rosmsg"),
    ("platform/cdr/A.cpp", '#  include "platform/printing/A.hpp"', "may not depend on platform/printing"),
    ("cli/A.cpp", '#include "missing.hpp"', "no file of the repository"),
    ("cli/A.cpp", '#include "../convert/A.hpp"', "paths start at the repository root"),
    ("convert/A.cpp", "#include <zstd.h>", "belongs to: input/bytes"),
    ("cli/A.cpp", "#include <utf8.h>", "belongs to: platform/text"),
    ("format/A.cpp", "#include <unistd.h>", "belongs to: "),
    ("cli/A.cpp", "#include <boost/any.hpp>", "no folder is known"),
    ("format/columns/ColumnInfo.hpp", "#pragma once", "no include guard"),
    ("format/columns/Other.hpp", GUARD, "no include guard"),
    ("elsewhere/A.cpp", "", "no folder of the architecture"),
]

ALLOWED = [
    ("format/A.cpp", '#include "format/A.hpp"\n#include "platform/error/E.hpp"\n#include <vector>'),
    ("convert/report/A.cpp", '#include "convert/plan/A.hpp"\n#include <nlohmann/json.hpp>'),
    ("tests/input/mcap/A.cpp", '#include "input/mcap/A.hpp"\n#include <gtest/gtest.h>'),
    ("format/columns/ColumnInfo.hpp", GUARD),
]


def complaints(path, text):
    return [text for _, text in layers.check_file(path, text, lambda target: target != "missing.hpp")]


class Layers(unittest.TestCase):
    def test_refused(self):
        for path, text, complaint in REFUSED:
            with self.subTest(path=path, text=text):
                found = complaints(path, text)
                self.assertEqual(1, len(found))
                self.assertIn(complaint, found[0])

    def test_allowed(self):
        for path, text in ALLOWED:
            with self.subTest(path=path, text=text):
                self.assertEqual([], complaints(path, text))


if __name__ == "__main__":
    unittest.main()

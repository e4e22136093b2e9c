// Rows from files: tests/data/rows/<case>.in holds a type, settings and values, <case>.out header and rows.
//
//     the IDL text of a structure or union T
//     ---
//     limit EXPR=N | empty TEXT | enum number | source timestamp      any number of lines
//     ---
//     a value a line, as JSON

#include <gtest/gtest.h>

#include "schema/TypeCatalog.hpp"
#include "tests/support/RowPrinter.hpp"
#include "tests/support/case_files.hpp"

namespace zun::test {
namespace {

using tamber::utils::PrintFormatCsv;
using tamber::utils::PrintFormatCsvProperty;

PrintFormatCsvProperty settings(std::istream& in) {
    PrintFormatCsvProperty property = PrintFormatCsv::PROPERTY_DEFAULT();
    for (std::string line; std::getline(in, line) && line != "---";) {
        const std::string rest = line.substr(std::min(line.size(), line.find(' ') + 1));
        if (line.starts_with("limit "))
            property.add_unbounded_seq_limit(
                rest.substr(0, rest.rfind('=')),
                static_cast<std::uint32_t>(std::stoul(rest.substr(rest.rfind('=') + 1))));
        else if (line.starts_with("empty"))
            property.empty_member_value_representation(line == "empty" ? "" : rest);
        else if (line == "enum number")
            property.enum_as_string(false);
        else if (line == "source timestamp")
            property.include_source_timestamp(true);
        else
            throw std::runtime_error("unknown setting: " + line);
    }
    return property;
}

class RowFile : public testing::TestWithParam<CaseFile> {};

TEST_P(RowFile, HasHeaderAndRows) {
    const CaseFile& c = GetParam();
    const std::size_t type_end = c.in.find("---\n");
    std::istringstream rest(c.in.substr(type_end + 4));
    const PrintFormatCsvProperty property = settings(rest);
    RowPrinter printer(property, schema::TypeCatalog().type_of("T", "omgidl", c.in.substr(0, type_end)));

    std::string out = printer.header() + "\n";
    for (std::string line; std::getline(rest, line);) {
        const nlohmann::json value = nlohmann::json::parse(line);
        const std::string row = printer.row(value);
        const ZUNXMLSaveContext in_runs = printer.print(value, UINT16_MAX, true);
        EXPECT_EQ(row, std::string_view(in_runs.text, in_runs.length));
        out += row + "\n";
    }
    EXPECT_EQ(c.out, out);
}
INSTANTIATE_TEST_SUITE_P(, RowFile, testing::ValuesIn(load_cases("rows")), CaseName());

}  // namespace
}  // namespace zun::test

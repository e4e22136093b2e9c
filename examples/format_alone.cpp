// format_alone: the CSV format without the tool around it.
//
// A program that has samples of its own kind, and no recording, makes a type, a converter and an output
// context, and calls the converter's record as an engine would: once for each step of a sample.

#include <iostream>
#include <string>
#include <vector>

#include "format/PrintFormatCsv.hpp"
#include "platform/printing/ZUNXMLSaveContext.hpp"
#include "platform/xtypes/TypeBuilder.hpp"

using zun::core::xtypes::TypeKind;

namespace {

struct Reading {
    std::string sensor;
    std::vector<int> values;
};

/// Prints one reading into `context`.
void print(DDS_PrintFormat& format, ZUNXMLSaveContext& context, const Reading& reading) {
    format.print_top_level_beginning(&format, &context, "Reading", 0);

    format.print_primitive_type_beginning(&format, &context, "sensor", 1);
    ZUNXMLSaveContext_appendString(&context, reading.sensor.c_str());
    format.print_primitive_type_ending(&format, &context, "sensor", 1);

    format.print_array_beginning(&format, &context, "values", 1);
    for (unsigned int i = 0; i < reading.values.size(); ++i) {
        format.print_primitive_item_beginning(&format, &context, i, 2);
        ZUNXMLSaveContext_appendString(&context, std::to_string(reading.values[i]).c_str());
        format.print_primitive_item_ending(&format, &context, i, 2);
    }
    format.print_array_ending(&format, &context, "values", 1);

    format.print_top_level_ending(&format, &context, "Reading", 0);
}

}  // namespace

int main() {
    using namespace zun::core::xtypes;
    using namespace zun::tamber::utils;

    const DynamicTypeImpl type =
        struct_type({.name = "Reading",
                     .members = {{"sensor", string_type()},
                                 {"values", sequence_type(primitive_type(TypeKind::INT_32_TYPE))}}});

    PrintFormatCsvProperty settings = PrintFormatCsv::PROPERTY_DEFAULT();
    settings.add_unbounded_seq_limit("values", 3);

    std::vector<char> buffer(256);
    PrintFormatCsv converter(settings, type, std::cout, buffer);  // writes the header line

    const Reading readings[] = {{"left", {1, 2}}, {"right", {}}, {"top", {3, 4, 5, 6}}};
    long stamp = 1700000000000000000;
    for (const Reading& reading : readings) {
        ZUNXMLSaveContext context{.text = buffer.data(),
                                  .capacity = static_cast<std::uint32_t>(buffer.size())};
        print(*converter.native(), context, reading);
        std::cout << stamp++ << std::string_view(context.text, context.length) << '\n';
    }
}

#include "tests/platform/printing/json_format.hpp"

#include <stdexcept>

namespace zun::test {

namespace {

void append(ZUNXMLSaveContext* context, const std::string& text) {
    ZUNXMLSaveContext_append(context, text.data(), text.size());
}

void separate(ZUNXMLSaveContext* context) {
    const bool first =
        context->length == 0 ||
        std::string_view("{[").find(context->text[context->length - 1]) < std::string_view::npos;
    if (!first) append(context, ", ");
}

/// Callbacks that append what stands before or after a value. `open` is its bracket, '\0' for none.
template <char open>
void begin_member(DDS_PrintFormat*, ZUNXMLSaveContext* context, const char* name, int) {
    separate(context);
    append(context, std::string(name) + ": " + std::string(open == '\0' ? 0 : 1, open));
}
template <char open>
void begin_item(DDS_PrintFormat*, ZUNXMLSaveContext* context, unsigned int, int) {
    separate(context);
    append(context, std::string(open == '\0' ? 0 : 1, open));
}
template <char close>
void end_member(DDS_PrintFormat*, ZUNXMLSaveContext* context, const char*, int) {
    append(context, std::string(1, close));
}
template <char close>
void end_item(DDS_PrintFormat*, ZUNXMLSaveContext* context, unsigned int, int) {
    append(context, std::string(1, close));
}

}  // namespace

DDS_PrintFormat json_format() {
    DDS_PrintFormat format;
    DDS_PrintFormat_initialize(&format, 0);
    format.print_top_level_beginning = [](auto, auto context, auto, int) { append(context, "{"); };
    format.print_top_level_ending = end_member<'}'>;
    format.print_complex_type_beginning = begin_member<'{'>;
    format.print_complex_type_ending = end_member<'}'>;
    format.print_primitive_type_beginning = begin_member<'\0'>;
    format.print_array_beginning = begin_member<'['>;
    format.print_array_ending = end_member<']'>;
    format.print_complex_item_beginning = begin_item<'{'>;
    format.print_complex_item_ending = end_item<'}'>;
    format.print_primitive_item_beginning = begin_item<'\0'>;
    format.print_array_item_beginning = begin_item<'['>;
    format.print_array_item_ending = end_item<']'>;
    format.print_union_discriminator_beginning = [](auto, auto context, int) { append(context, "_d: "); };
    format.print_unset_optional_member_beginning = begin_member<'\0'>;
    format.print_unset_optional_member_ending = [](auto, auto context, auto, int) {
        append(context, "null");
    };
    return format;
}

Printed print_json(printing::SamplePrinter& printer, const std::vector<std::byte>& payload,
                   bool enum_as_string) {
    DDS_PrintFormat format = json_format();
    format.enum_as_string = enum_as_string ? 1 : 0;
    std::string text(1 << 20, '\0');
    ZUNXMLSaveContext context{.text = text.data(), .capacity = static_cast<std::uint32_t>(text.size())};
    const cdr::Findings findings = printer.print(format, context, payload);
    if (context.length > text.size()) throw std::length_error("a test sample with too much text");
    text.resize(context.length);
    return {text, findings};
}

std::vector<std::byte> bytes_of(std::string_view hex) {
    std::vector<std::byte> bytes;
    std::string digits;
    for (const char c : hex)
        if (c != ' ') digits += c;
    if (digits.size() % 2 != 0) throw std::invalid_argument("half a byte in " + digits);
    for (std::size_t i = 0; i < digits.size(); i += 2)
        bytes.push_back(static_cast<std::byte>(std::stoul(digits.substr(i, 2), nullptr, 16)));
    return bytes;
}

}  // namespace zun::test

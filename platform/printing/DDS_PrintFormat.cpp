#include "platform/printing/DDS_PrintFormat.hpp"

namespace {

// The engine calls every callback without asking, so what a format does not fill in has to be there.
void ignore_named(DDS_PrintFormat*, ZUNXMLSaveContext*, const char*, int) {}
void ignore_item(DDS_PrintFormat*, ZUNXMLSaveContext*, unsigned int, int) {}
void ignore_discriminator(DDS_PrintFormat*, ZUNXMLSaveContext*, int) {}

}  // namespace

bool DDS_PrintFormat_initialize(DDS_PrintFormat* format, int) {
    *format = {
        .print_top_level_beginning = ignore_named,
        .print_top_level_ending = ignore_named,
        .reserved_3 = ignore_named,
        .reserved_4 = ignore_named,
        .print_complex_type_beginning = ignore_named,
        .print_complex_type_ending = ignore_named,
        .print_primitive_type_beginning = ignore_named,
        .print_primitive_type_ending = ignore_named,
        .print_array_beginning = ignore_named,
        .print_array_ending = ignore_named,
        .reserved_11 = ignore_named,
        .print_complex_item_beginning = ignore_item,
        .reserved_13 = ignore_item,
        .print_complex_item_ending = ignore_item,
        .print_primitive_item_beginning = ignore_item,
        .print_primitive_item_ending = ignore_item,
        .print_array_item_beginning = ignore_item,
        .print_array_item_ending = ignore_item,
        .print_union_discriminator_beginning = ignore_discriminator,
        .print_union_discriminator_ending = ignore_discriminator,
        .print_unset_optional_member_beginning = ignore_named,
        .print_unset_optional_member_ending = ignore_named,
        .line_start = "",
        .indentation = "",
        .line_end = "",
        .is_compact = 0,
        .indentation_level = 0,
        .enum_as_string = 0,
    };
    return true;
}

void DDS_PrintFormat_finalize(DDS_PrintFormat* format, int reserved) {
    DDS_PrintFormat_initialize(format, reserved);
}

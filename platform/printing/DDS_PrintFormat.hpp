// DDS_PrintFormat: the callbacks through which the engine prints a sample, and their options.
//
// For one sample the engine calls, in the order of the type's declaration:
//
//     top_level_beginning
//       scalar member        primitive_type_beginning(name), the value's text, primitive_type_ending(name)
//       structure or union   complex_type_beginning(name), its members, complex_type_ending(name)
//         a union starts     union_discriminator_beginning, the value's text, union_discriminator_ending
//                            and announces the selected member only
//       array or sequence    array_beginning(name), its elements, array_ending(name)
//         element            primitive_item, complex_item or array_item, each _beginning(i) and _ending(i)
//       unset optional       unset_optional_member_beginning(name), unset_optional_member_ending(name)
//     top_level_ending
//
// Value text is appended after a beginning callback whatever that callback did.

#ifndef ZUN_PLATFORM_PRINTING_DDS_PRINT_FORMAT_HPP
#define ZUN_PLATFORM_PRINTING_DDS_PRINT_FORMAT_HPP

#include <cstdint>

#include "platform/printing/ZUNXMLSaveContext.hpp"

struct DDS_PrintFormat;

/// `name`: the member's name, zero-terminated. The engine passes its nesting depth as the last argument.
using DDS_PrintNamedCallback = void (*)(DDS_PrintFormat*, ZUNXMLSaveContext*, const char* name, int depth);
/// `index`: the element's index in its collection, from 0.
using DDS_PrintItemCallback = void (*)(DDS_PrintFormat*, ZUNXMLSaveContext*, unsigned int index, int depth);
using DDS_PrintDiscriminatorCallback = void (*)(DDS_PrintFormat*, ZUNXMLSaveContext*, int depth);

struct DDS_PrintFormat {
    DDS_PrintNamedCallback print_top_level_beginning;
    DDS_PrintNamedCallback print_top_level_ending;
    DDS_PrintNamedCallback reserved_3;  // never called; keeps the order of the slots
    DDS_PrintNamedCallback reserved_4;  // never called
    DDS_PrintNamedCallback print_complex_type_beginning;
    DDS_PrintNamedCallback print_complex_type_ending;
    DDS_PrintNamedCallback print_primitive_type_beginning;
    DDS_PrintNamedCallback print_primitive_type_ending;
    DDS_PrintNamedCallback print_array_beginning;
    DDS_PrintNamedCallback print_array_ending;
    DDS_PrintNamedCallback reserved_11;  // never called
    DDS_PrintItemCallback print_complex_item_beginning;
    DDS_PrintItemCallback reserved_13;  // never called
    DDS_PrintItemCallback print_complex_item_ending;
    DDS_PrintItemCallback print_primitive_item_beginning;
    DDS_PrintItemCallback print_primitive_item_ending;
    DDS_PrintItemCallback print_array_item_beginning;
    DDS_PrintItemCallback print_array_item_ending;
    DDS_PrintDiscriminatorCallback print_union_discriminator_beginning;
    DDS_PrintDiscriminatorCallback print_union_discriminator_ending;
    DDS_PrintNamedCallback print_unset_optional_member_beginning;
    DDS_PrintNamedCallback print_unset_optional_member_ending;

    // Options. This engine reads enum_as_string alone; the others are a format's to set and to use.
    const char* line_start;
    const char* indentation;
    const char* line_end;
    std::uint8_t is_compact;
    std::int32_t indentation_level;
    std::uint8_t enum_as_string;  ///< enumeration values as their names, else as numbers
};

/// Gives every field its default: callbacks that do nothing, empty texts, zeros. True.
bool DDS_PrintFormat_initialize(DDS_PrintFormat* format, int reserved);

/// Releases what the record holds, and leaves it as DDS_PrintFormat_initialize does.
void DDS_PrintFormat_finalize(DDS_PrintFormat* format, int reserved);

#endif

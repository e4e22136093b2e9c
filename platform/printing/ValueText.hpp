// ValueText: the text of characters and strings, with the quotes that a cell needs.

#ifndef ZUN_PLATFORM_PRINTING_VALUE_TEXT_HPP
#define ZUN_PLATFORM_PRINTING_VALUE_TEXT_HPP

#include <array>
#include <cstddef>
#include <string_view>

#include "platform/printing/ZUNXMLSaveContext.hpp"

namespace zun::printing {

/// Appends `text`: in double quotes, inner ones doubled, when it is empty or holds `,` `"` CR or LF.
void append_text(ZUNXMLSaveContext* context, std::string_view text);

/// One character in UTF-8.
struct Utf8 {
    std::array<char, 4> bytes;
    std::size_t size;
    std::string_view view() const { return {bytes.data(), size}; }
};

/// `character` in UTF-8; what is no character, half of a pair included, as U+FFFD.
Utf8 utf8_of(char32_t character);

/// Whether append_text() puts quotes around `text`.
bool needs_quotes(std::string_view text);

}  // namespace zun::printing

#endif

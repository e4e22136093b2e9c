// ValueText: the text of characters and strings, with the quotes that a cell needs.

#ifndef ZUN_PLATFORM_PRINTING_VALUE_TEXT_HPP
#define ZUN_PLATFORM_PRINTING_VALUE_TEXT_HPP

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/printing/ZUNXMLSaveContext.hpp"

namespace zun::printing {

/// What becomes of bytes and units that are not text: those that are not characters of Unicode, and zeros.
enum class InvalidText : std::uint8_t {
    ESCAPE,   ///< their numbers: "\xff", "\ud83d"
    REPLACE,  ///< U+FFFD
    RAW,      ///< as they are; half of a UTF-16 pair, which has no bytes, is U+FFFD
};

/// How texts are written.
struct TextStyle {
    InvalidText invalid = InvalidText::ESCAPE;
    bool spreadsheet_safe = false;  ///< an apostrophe before those that begins_formula()
};

/// Whether spreadsheets may take a text that begins so for a formula, or throw its beginning away and then do
/// so.
constexpr bool begins_formula(char32_t first) {
    return first == U'=' || first == U'+' || first == U'-' || first == U'@' || first == U'\t' ||
           first == U'\r';
}

/// Appends `text`: in double quotes, inner ones doubled, when it is empty or holds `,` `"` CR or LF.
/// False when some of it was no text.
bool append_text(ZUNXMLSaveContext* context, std::string_view text, TextStyle style);

/// Appends what stands for a unit of a wide string, or a character, that is no text.
void append_invalid(ZUNXMLSaveContext* context, char32_t unit, InvalidText invalid);

/// One character in UTF-8.
struct Utf8 {
    std::array<char, 4> bytes;
    std::size_t size;
    std::string_view view() const { return {bytes.data(), size}; }
};

/// `character` in UTF-8; what is no character, half of a pair included, as U+FFFD.
Utf8 utf8_of(char32_t character);

}  // namespace zun::printing

#endif

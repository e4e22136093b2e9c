// utf8: characters of texts in UTF-8.
//
// Text comes from recordings, so it may be anything: none of these trusts it, and none throws.

#ifndef ZUN_PLATFORM_TEXT_UTF8_HPP
#define ZUN_PLATFORM_TEXT_UTF8_HPP

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zun {

/// Bytes, 1 to 4, of the character that `text` begins with; 0 where it is empty or its first bytes are not
/// UTF-8.
std::size_t character_size(std::string_view text);

/// The number of characters in `text`; each byte that is not UTF-8 counts as one.
std::size_t count_characters(std::string_view text);

/// The code point of the only character of `text`; none where there are several, or it is not UTF-8.
std::optional<std::uint32_t> only_character(std::string_view text);

/// Appends the character whose code point is `code` <= 0xffff. Half of a pair of UTF-16 units, which is no
/// character, is written like the others.
void append_character(std::string& text, std::uint16_t code);

/// The longest beginning of `text`, which is UTF-8, that has at most `bytes` bytes and ends between
/// characters.
std::string_view first_characters(std::string_view text, std::size_t bytes);

}  // namespace zun

#endif

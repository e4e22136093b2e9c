// visible: text of others, such that a terminal shows it and does not obey it.

#ifndef ZUN_PLATFORM_TEXT_VISIBLE_HPP
#define ZUN_PLATFORM_TEXT_VISIBLE_HPP

#include <cstddef>
#include <string>
#include <string_view>

namespace zun {

/// Bytes of the UTF-8 character that `text`, which is not empty, begins with; 0 for bytes that are not UTF-8,
/// and for characters that control the text around them: ends of lines and paragraphs, and those that turn
/// the direction of writing, are among them.
std::size_t visible_size(std::string_view text);

/// `text` with control characters, and bytes that are not UTF-8, as "\x1b". What it returns is UTF-8.
std::string visible(std::string_view text);

/// The same, but line ends and tabs stay as they are.
std::string visible_lines(std::string_view text);

}  // namespace zun

#endif

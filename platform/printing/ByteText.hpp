// ByteText: bytes as the text of one cell.

#ifndef ZUN_PLATFORM_PRINTING_BYTE_TEXT_HPP
#define ZUN_PLATFORM_PRINTING_BYTE_TEXT_HPP

#include <cstddef>
#include <span>

#include "platform/printing/ZUNXMLSaveContext.hpp"

namespace zun::printing {

/// Two lower-case digits for each byte.
void append_hex(ZUNXMLSaveContext* context, std::span<const std::byte> bytes);

/// In the alphabet and with the padding of RFC 4648, section 4; no line ends.
void append_base64(ZUNXMLSaveContext* context, std::span<const std::byte> bytes);

}  // namespace zun::printing

#endif

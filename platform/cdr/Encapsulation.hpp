// Encapsulation: the four bytes before every sample, which say how the rest is laid out.
//
//     00  representation id  options  options     the low two bits of the last byte: padding after the body

#ifndef ZUN_PLATFORM_CDR_ENCAPSULATION_HPP
#define ZUN_PLATFORM_CDR_ENCAPSULATION_HPP

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "platform/xtypes/DynamicType.hpp"

namespace zun::cdr {

inline constexpr std::size_t encapsulation_size = 4;

struct Encapsulation {
    bool xcdr2 = false;
    bool little_endian = false;
    /// The form of the outermost value: FINAL is plain, APPENDABLE delimited, MUTABLE a parameter list.
    core::xtypes::Extensibility root = core::xtypes::Extensibility::FINAL;
    std::size_t padding = 0;  ///< announced bytes after the body, 0 to 3
};

/// Reads the head of `payload`. Throws InputError, naming `source`, when it is none of CDR's.
Encapsulation read_encapsulation(std::span<const std::byte> payload, const std::string& source);

}  // namespace zun::cdr

#endif

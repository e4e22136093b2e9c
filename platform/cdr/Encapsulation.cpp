#include "platform/cdr/Encapsulation.hpp"

#include <array>
#include <charconv>

#include "platform/error/InputError.hpp"

namespace zun::cdr {

namespace {

using core::xtypes::Extensibility;

struct Representation {
    bool known;
    bool xcdr2;
    Extensibility root;
};

/// By the representation id without its lowest bit, which is the byte order.
constexpr std::array<Representation, 11> representations = {{
    {true, false, Extensibility::FINAL},      // 00, 01
    {true, false, Extensibility::MUTABLE},    // 02, 03
    {false, false, Extensibility::FINAL},     // 04 is XML
    {true, true, Extensibility::FINAL},       // 06, 07
    {true, true, Extensibility::APPENDABLE},  // 08, 09
    {true, true, Extensibility::MUTABLE},     // 0a, 0b
    {false, false, Extensibility::FINAL},     // 0c
    {false, false, Extensibility::FINAL},     // 0e
    {true, true, Extensibility::FINAL},       // 10, 11: the second numbering, in another order
    {true, true, Extensibility::MUTABLE},     // 12, 13
    {true, true, Extensibility::APPENDABLE},  // 14, 15
}};

std::string hexadecimal(unsigned int value) {
    std::array<char, 8> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value, 16).ptr;
    return "0x" + std::string(digits.data(), end);
}

}  // namespace

Encapsulation read_encapsulation(std::span<const std::byte> payload, const std::string& source) {
    if (payload.size() < encapsulation_size)
        throw InputError(source, payload.size(),
                         "expected a header of 4 bytes, found " + std::to_string(payload.size()));
    const auto high = std::to_integer<unsigned int>(payload[0]);
    const auto id = std::to_integer<unsigned int>(payload[1]);
    const bool known = high == 0 && id / 2 < representations.size() && representations[id / 2].known;
    if (!known)
        throw InputError(
            source, 0, "expected the representation of a CDR sample, found " + hexadecimal(high << 8U | id));
    // Writers announce padding that they do not always write.
    const auto announced = std::to_integer<std::size_t>(payload[3] & std::byte{3});
    return {.xcdr2 = representations[id / 2].xcdr2,
            .little_endian = id % 2 == 1,
            .root = representations[id / 2].root,
            .padding = payload.size() % 4 == 0 ? announced : 0};
}

}  // namespace zun::cdr

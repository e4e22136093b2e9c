// Parameters: the headers of members that carry their id and size.
//
//     XCDR1  id 16, size 16                    or  3f01, 8, id 32, size 32;   3f02, 0 ends a list
//     XCDR2  flags and size code 4, id 28      and, by size code, a size of 32 bits

#ifndef ZUN_PLATFORM_CDR_PARAMETERS_HPP
#define ZUN_PLATFORM_CDR_PARAMETERS_HPP

#include <cstdint>
#include <vector>

#include "platform/cdr/Layout.hpp"
#include "platform/cdr/Reader.hpp"

namespace zun::cdr {

struct Parameter {
    std::uint32_t id = 0;
    std::uint64_t begin = 0;  ///< of the value; 0: the sample has no such parameter
    std::uint64_t end = 0;
    bool restores_origin = true;   ///< after the value, alignment counts from where it did before
    bool must_understand = false;  ///< who does not know the member has to refuse the sample
};

/// The parameters of the mutable values that a walk is in, innermost last. Keeps its storage between samples.
using ParameterTable = std::vector<Parameter>;

constexpr std::uint32_t member_id_mask = 0x0fffffff;
constexpr std::uint16_t extended_header = 0x3f01;
constexpr std::uint16_t must_understand_flag = 0x4000;
constexpr std::uint16_t list_end = 0x3f02;

/// Reads an XCDR1 header; false at the end of a list. The position is that of the value afterwards.
template <bool Swapped, bool ChecksPadding>
bool read_parameter_1(Reader<ChecksPadding>& reader, Origin origin, Parameter& parameter) {
    reader.align(4);
    const std::byte* const header = reader.take(4, "a parameter header");
    const auto flags_and_id = load<Swapped, std::uint16_t>(header);
    const auto id = static_cast<std::uint16_t>(flags_and_id & 0x3fff);
    if (id == list_end) return false;
    std::uint64_t size = load<Swapped, std::uint16_t>(header + 2);
    parameter.id = id;
    parameter.must_understand = (flags_and_id & must_understand_flag) != 0;
    // Only the writer that counts on from the old origin marks extended headers as to be understood.
    parameter.restores_origin =
        origin == Origin::RESTORED ||
        (origin == Origin::BY_HEADER && flags_and_id == (extended_header | must_understand_flag));
    if (id == extended_header) {
        const std::byte* const extension = reader.take(8, "an extended parameter header");
        const auto flags_and_long_id = load<Swapped, std::uint32_t>(extension);
        parameter.id = flags_and_long_id & member_id_mask;
        parameter.must_understand = (flags_and_long_id >> 30U & 1U) != 0;
        size = load<Swapped, std::uint32_t>(extension + 4);
    }
    parameter.begin = reader.position();
    parameter.end = parameter.begin + size;
    if (!reader.fits(size)) reader.take(size, "a parameter");
    return true;
}

/// Reads an XCDR2 header; false at the end of the value around it, which is the end of the input.
template <bool Swapped, bool ChecksPadding>
bool read_parameter_2(Reader<ChecksPadding>& reader, Parameter& parameter) {
    reader.align(4);
    if (reader.position() >= reader.end()) {
        reader.set_position(reader.end());
        return false;
    }
    const auto header = reader.template take_u32<Swapped>("a member header");
    const unsigned int code = (header >> 28U) & 7U;
    parameter.id = header & member_id_mask;
    parameter.restores_origin = true;
    parameter.must_understand = (header >> 31U) != 0;
    std::uint64_t size = std::uint64_t{1} << code;
    if (code >= 4) size = reader.template take_u32<Swapped>("a member size");
    if (code >= 5) {  // the word read is also the first of the value
        reader.set_position(reader.position() - 4);
        size = 4 + size * (code == 5 ? 1 : code == 6 ? 4 : 8);
    }
    parameter.begin = reader.position();
    parameter.end = parameter.begin + size;
    if (!reader.fits(size)) reader.take(size, "a member");
    return true;
}

}  // namespace zun::cdr

#endif

// Layout: all that decides where the values of a type lie in a sample, beyond the type itself.
//
// The encapsulation header says the encoding. Where implementations write one encoding in different ways, a
// reading says whose way is meant; readings_of() lists them in the order in which they are tried.

#ifndef ZUN_PLATFORM_CDR_LAYOUT_HPP
#define ZUN_PLATFORM_CDR_LAYOUT_HPP

#include <cstdint>
#include <vector>

#include "platform/cdr/Encapsulation.hpp"
#include "platform/cdr/Writer.hpp"
#include "platform/xtypes/DynamicType.hpp"

namespace zun::cdr {

/// What the length before a wide string counts, and the bytes of one unit.
enum class WideForm : std::uint8_t { BYTES, UNITS_OF_2, UNITS_OF_4 };

/// Where alignment counts from after an XCDR1 parameter: from where it counted before, or on from the value.
enum class Origin : std::uint8_t { BY_HEADER, RESTORED, KEPT };

/// One implementation's way in everything on which implementations disagree.
struct Reading {
    WideForm wide_strings = WideForm::BYTES;
    std::uint8_t wide_char_size = 2;
    Origin origin = Origin::BY_HEADER;
    bool delimited_enumerations = true;  ///< collections of enumerations and bit masks have a delimiter
    bool delimited_primitives = false;   ///< so have sequences of primitives
    bool keys_count = true;              ///< a map's delimiter depends on its key as well as on its value
    bool delimiters = true;              ///< false: a plain sample has none anywhere
    core::xtypes::Extensibility unspecified = core::xtypes::Extensibility::FINAL;  ///< nested types' default

    bool operator==(const Reading&) const = default;
};

/// The fields of Reading that the layout of a type depends on.
struct Dependence {
    bool wide_strings = false;
    bool wide_chars = false;
    bool origin = false;
    bool enumerations = false;
    bool primitives = false;
    bool keys = false;
    bool delimiters = false;
    bool unspecified = false;
};

struct Layout {
    bool xcdr2 = false;
    core::xtypes::Extensibility root = core::xtypes::Extensibility::FINAL;
    Writer writer = Writer::UNKNOWN;
    Reading reading = {};
};

/// The way of the standard, or of the writer where that is known.
Reading standard_reading(const Encapsulation& encapsulation, Writer writer);

/// The readings that differ for a type of that dependence, the standard one first.
std::vector<Reading> readings_of(const Encapsulation& encapsulation, Writer writer,
                                 const Dependence& dependence);

}  // namespace zun::cdr

#endif

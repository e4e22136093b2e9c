#include "platform/cdr/Layout.hpp"

#include <algorithm>
#include <array>

namespace zun::cdr {

namespace {

using core::xtypes::Extensibility;

struct KnownReading {
    Writer writer;
    Reading reading;
};

const std::array<KnownReading, 7> known_readings = {{
    {Writer::CYCLONE_DDS, {}},  // also the reading of the standard
    {Writer::FAST_DDS,
     {.wide_strings = WideForm::UNITS_OF_2, .delimited_enumerations = false, .keys_count = false}},
    {Writer::FAST_DDS,  // before version 2 of its serializer
     {.wide_strings = WideForm::UNITS_OF_4,
      .wide_char_size = 4,
      .delimited_enumerations = false,
      .keys_count = false}},
    {Writer::CYCLONE_DDS, {.delimited_primitives = true}},  // its Python serializer up to 2025
    {Writer::UNKNOWN, {.origin = Origin::RESTORED}},
    {Writer::UNKNOWN, {.wide_strings = WideForm::UNITS_OF_2, .origin = Origin::KEPT}},
    {Writer::UNKNOWN, {.delimiters = false}},
}};

/// What a nested type without annotation may be: as the sample itself first, then by the usual defaults.
std::vector<Extensibility> defaults_of(const Encapsulation& encapsulation) {
    std::vector<Extensibility> defaults{encapsulation.root};
    for (const Extensibility other : {Extensibility::APPENDABLE, Extensibility::FINAL}) {
        const bool same_bytes = !encapsulation.xcdr2 && other == Extensibility::APPENDABLE;
        if (other != encapsulation.root && !same_bytes) defaults.push_back(other);
    }
    return defaults;
}

/// `reading` with the fields that make no difference as they are by default.
Reading relevant(const Reading& reading, const Dependence& dependence) {
    Reading kept;
    if (dependence.wide_strings) kept.wide_strings = reading.wide_strings;
    if (dependence.wide_chars) kept.wide_char_size = reading.wide_char_size;
    if (dependence.origin) kept.origin = reading.origin;
    if (dependence.enumerations) kept.delimited_enumerations = reading.delimited_enumerations;
    if (dependence.primitives) kept.delimited_primitives = reading.delimited_primitives;
    if (dependence.keys) kept.keys_count = reading.keys_count;
    if (dependence.delimiters) kept.delimiters = reading.delimiters;
    if (dependence.unspecified) kept.unspecified = reading.unspecified;
    return kept;
}

}  // namespace

Reading standard_reading(const Encapsulation& encapsulation, Writer writer) {
    if (writer == Writer::ROS2) return {.wide_strings = WideForm::UNITS_OF_4};
    const auto first = std::find_if(known_readings.begin(), known_readings.end(),
                                    [writer](const KnownReading& known) { return known.writer == writer; });
    Reading reading = writer == Writer::UNKNOWN ? known_readings.front().reading : first->reading;
    reading.unspecified = encapsulation.root;
    return reading;
}

std::vector<Reading> readings_of(const Encapsulation& encapsulation, Writer writer,
                                 const Dependence& dependence) {
    std::vector<Reading> readings{relevant(standard_reading(encapsulation, writer), dependence)};
    if (writer == Writer::ROS2) return readings;
    std::vector<KnownReading> known(known_readings.begin(), known_readings.end());
    std::stable_partition(known.begin(), known.end(), [writer](const KnownReading& candidate) {
        return writer != Writer::UNKNOWN && candidate.writer == writer;
    });
    for (const Extensibility unspecified : defaults_of(encapsulation)) {
        for (KnownReading candidate : known) {
            candidate.reading.unspecified = unspecified;
            const Reading reading = relevant(candidate.reading, dependence);
            if (std::find(readings.begin(), readings.end(), reading) == readings.end())
                readings.push_back(reading);
        }
    }
    return readings;
}

}  // namespace zun::cdr

// sidecar: what is in a topic's file, for programs, as JSON beside it.

#ifndef ZUN_CONVERT_REPORT_SIDECAR_HPP
#define ZUN_CONVERT_REPORT_SIDECAR_HPP

#include <ostream>
#include <string>
#include <vector>

#include "convert/output/Clock.hpp"
#include "convert/output/time_text.hpp"
#include "convert/plan/Limits.hpp"
#include "convert/plan/column_names.hpp"

namespace zun::convert {

struct Sidecar {
    std::string topic;
    std::string type_name;
    std::string file;                     ///< its own name: "imu.schema.json"
    std::vector<std::string> files = {};  ///< with the rows, the first one first
    Clock clock = Clock::RECEPTION;
    std::string clock_field = {};  ///< of Clock::FIELD
    TimeFormat time_format = TimeFormat::NANOSECONDS;
    std::string empty_text = {};  ///< of cells without a value
    bool enum_as_string = true;
    ColumnNames column_names = ColumnNames::DOTS;
    const Limits* limits = nullptr;  ///< not null
    std::string definition = {};     ///< of the type, and of the types in it
};

/// Writes the columns with their types and units, the limits of sequences, and lines of Python that read the
/// files with these types.
void print_sidecar(std::ostream& out, const Sidecar& sidecar);

}  // namespace zun::convert

#endif

// Columns: what the format is given for a topic, from its limits.

#ifndef ZUN_CONVERT_PLAN_COLUMNS_HPP
#define ZUN_CONVERT_PLAN_COLUMNS_HPP

#include <cstdint>

#include "convert/plan/Limits.hpp"
#include "format/PrintFormatCsv.hpp"

namespace zun::convert {

/// A copy of what `limits` came to: later changes of those do not show here.
struct Columns {
    explicit Columns(const Limits& limits) : types(limits.column_types()), count(limits.columns()) {
        limits.add_to(settings);
    }

    Limits::ColumnTypes types;
    std::uint64_t count;  ///< of leaf columns, as planned
    tamber::utils::PrintFormatCsvProperty settings = {};
    bool plain_lengths = false;  ///< without the spaces that the format puts before the lengths of sequences

    /// Throws std::logic_error when `format`, made from these, has another number of columns.
    void check(const tamber::utils::PrintFormatCsv& format) const;
};

}  // namespace zun::convert

#endif

// Sheet: a format with the text that it writes to.

#ifndef ZUN_CONVERT_PASSES_SHEET_HPP
#define ZUN_CONVERT_PASSES_SHEET_HPP

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "convert/passes/PlainLengths.hpp"
#include "convert/plan/Columns.hpp"
#include "format/PrintFormatCsv.hpp"
#include "platform/error/TextStream.hpp"

namespace zun::convert {

class Sheet {
public:
    /// `columns` must outlive this; `type` is one of theirs.
    Sheet(const Columns& columns, const core::xtypes::DynamicTypeImpl& type);

    std::string header() const { return header_.str(); }  ///< with line end
    const tamber::utils::PrintFormatCsv& format() const { return format_; }
    DDS_PrintFormat* native() { return format_.native(); }
    printing::ElementRuns* runs() { return &format_; }
    const char* text() const { return buffer_.data(); }

    /// A context that goes on at `length`, as long as the sheet is not enlarged.
    ZUNXMLSaveContext context(std::uint32_t length);
    /// Whether all that was printed is there. If not, there will be room for it when it is printed again.
    /// Throws InputError, for a message of `source`, when there cannot be.
    bool holds(const ZUNXMLSaveContext& context, const std::string& source);
    /// Takes the padding off the lengths in texts of rows or elements, where plain lengths are wanted. They
    /// lie one behind the other from `begin` on, all of them there, and end at `ends`, which move with them.
    void shorten_lengths(std::uint32_t begin, std::span<std::uint32_t> ends);
    /// Gives memory back, but for what is worth keeping: one huge row must not hold its memory on every
    /// thread for the rest of the run.
    void shrink();

private:
    TextStream header_;
    std::vector<char> buffer_;
    tamber::utils::PrintFormatCsv format_;
    std::optional<PlainLengths> plain_lengths_;  // where they are wanted
};

}  // namespace zun::convert

#endif

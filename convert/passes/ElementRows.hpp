// ElementRows: the rows of messages whose sequences have a row for each element.
//
// A message is printed once: what its rows have in common as one row with the cells of elements empty, and
// each element by itself. A row is then put together from these texts, with elements in place of the empty
// cells.
//
//     common row     ,nil,map,nil,nil        elements of transforms     ,1.5,a    ,2.5,b
//     rows           ,0,map,1.5,a  and  ,1,map,2.5,b

#ifndef ZUN_CONVERT_PASSES_ELEMENT_ROWS_HPP
#define ZUN_CONVERT_PASSES_ELEMENT_ROWS_HPP

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "convert/passes/CellValues.hpp"
#include "convert/passes/Sheet.hpp"
#include "convert/plan/Columns.hpp"
#include "platform/cdr/View.hpp"
#include "platform/printing/SamplePrinter.hpp"

namespace zun::convert {

class ElementRows {
public:
    /// Both must outlive this. The view has rows.
    ElementRows(const Columns& columns, const cdr::View& view);

    /// Prints a message, the topic's with that number; its rows are then to be made. Throws as
    /// SamplePrinter::print().
    cdr::Findings print(printing::SamplePrinter& printer, const std::string& source,
                        std::span<const std::byte> payload, CellValues& values, std::uint64_t number);

    bool has_next() const { return has_next_; }
    /// Appends the next row of the message without its line end.
    void append_next(std::string& rows);

private:
    static constexpr std::uint32_t none = UINT32_MAX;

    /// Cells of a text in whose place others come.
    struct Place {
        std::uint32_t first_cell;
        std::uint32_t end_cell;
        std::uint32_t level;    // of the index that comes there; none where elements come
        std::uint32_t element;  // place in the view's rows of those elements
    };
    /// What is printed of one type: the common row, or the elements of one sequence.
    struct Printed {
        explicit Printed(const Columns& columns, const core::xtypes::DynamicTypeImpl& type)
            : sheet(columns, type) {}
        Sheet sheet;
        ZUNXMLSaveContext context = {};
        std::vector<Place> places = {};          // in the order of their cells
        std::vector<std::uint32_t> bounds = {};  // by text and place: where its cells begin and end
    };

    /// Elements of one sequence.
    struct Run {
        std::uint32_t first = 0;  // number among those of its type
        std::uint32_t count = 0;
    };

    void find_bounds(Printed& printed, std::uint32_t begin, std::uint32_t end);
    void begin_level(std::uint32_t level);
    void advance();
    Run run_of(std::uint32_t place) const;
    std::uint32_t chosen(std::uint32_t place) const;
    void append(std::string& row, const Printed& printed, std::uint32_t text, std::uint32_t begin,
                std::uint32_t end) const;
    void append_element(std::string& row, std::uint32_t place, std::uint32_t element) const;

    const cdr::View& view_;
    Printed common_;
    std::deque<Printed> elements_;             // by place in the view's rows
    std::vector<printing::RowsText> printed_;  // likewise
    std::vector<Run> runs_;                    // likewise: elements in the chosen one around
    std::vector<std::uint32_t> indices_;       // of the next row, by level
    std::vector<std::uint32_t> counts_;        // elements of the longest sequence of each level
    bool has_next_ = false;
};

}  // namespace zun::convert

#endif

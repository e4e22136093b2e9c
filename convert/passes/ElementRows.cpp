#include "convert/passes/ElementRows.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <stdexcept>

#include "convert/passes/cells.hpp"
#include "convert/plan/explode.hpp"

namespace zun::convert {

using tamber::utils::ColumnInfo;

namespace {

/// The column called `name` below `column`. Throws std::logic_error where there is none.
const ColumnInfo& column_called(std::string_view name, const ColumnInfo& column) {
    for (const ColumnInfo& child : column.children()) {
        if (child.name() == name) return child;
        if (name.starts_with(child.name() + '.'))
            return column_called(name.substr(child.name().size() + 1), child);
    }
    throw std::logic_error("there is no column '" + std::string(name) + '\'');
}

void append_index(std::string& row, std::uint32_t index) {
    std::array<char, 11> cell{','};
    const char* const end = std::to_chars(cell.data() + 1, cell.data() + cell.size(), index).ptr;
    row.append(cell.data(), static_cast<std::size_t>(end - cell.data()));
}

}  // namespace

ElementRows::ElementRows(const Columns& columns, const cdr::View& view)
    : view_(view),
      common_(columns, columns.types.row),
      printed_(view.rows.size()),
      runs_(view.rows.size()),
      indices_(view.levels_of_rows()),
      counts_(view.levels_of_rows()) {
    const auto add_place = [](Printed& where, std::string_view name, std::uint32_t level,
                              std::uint32_t place) {
        const ColumnInfo& column = column_called(name, where.sheet.format().root_column());
        where.places.push_back(
            {column.first_leaf(), column.first_leaf() + column.leaf_count(), level, place});
    };
    for (std::uint32_t level = 0; level < indices_.size(); ++level)
        add_place(common_, index_column(level), level, none);
    for (std::uint32_t place = 0; place < view.rows.size(); ++place) {
        const core::xtypes::StructTypeImpl type(columns.types.elements[place]);
        elements_.emplace_back(columns, type);
        const cdr::View::Rows& rows = view.rows[place];
        add_place(rows.level == 0 ? common_ : elements_[rows.around], type.member(0).name(), none, place);
        if (rows.level > 0) printed_[rows.around].inner.push_back(place);
    }
    const auto in_order = [](const Place& a, const Place& b) { return a.first_cell < b.first_cell; };
    std::sort(common_.places.begin(), common_.places.end(), in_order);
    for (Printed& printed : elements_)
        std::sort(printed.places.begin(), printed.places.end(), in_order);
}

cdr::Findings ElementRows::print(printing::SamplePrinter& printer, const std::string& source,
                                 std::span<const std::byte> payload, CellValues& values,
                                 std::uint64_t number) {
    has_next_ = false;
    cdr::Findings findings;
    for (bool printed = false; !printed;) {
        values.begin(number);
        common_.context = common_.sheet.context(0);
        for (std::size_t i = 0; i < elements_.size(); ++i) {
            elements_[i].context = elements_[i].sheet.context(0);
            printed_[i].format = elements_[i].sheet.native();
            printed_[i].context = &elements_[i].context;
            printed_[i].runs = elements_[i].sheet.runs();
            printed_[i].ends.clear();
            printed_[i].firsts.clear();
        }
        findings = printer.print(*common_.sheet.native(), common_.context, payload, &values, printed_,
                                 common_.sheet.runs());
        printed = common_.sheet.holds(common_.context, source);
        for (Printed& each : elements_)
            printed = each.sheet.holds(each.context, source) && printed;
    }
    common_.sheet.shorten_lengths(0, std::span(&common_.context.length, 1));
    common_.bounds.clear();
    find_bounds(common_, 0, common_.context.length);
    for (std::size_t i = 0; i < elements_.size(); ++i) {
        elements_[i].sheet.shorten_lengths(0, printed_[i].ends);
        elements_[i].bounds.clear();
        std::uint32_t begin = 0;
        for (const std::uint32_t end : printed_[i].ends) {
            if (!elements_[i].places.empty()) find_bounds(elements_[i], begin, end);
            begin = end;
        }
    }
    begin_level(0);
    has_next_ = true;
    return findings;
}

void ElementRows::find_bounds(Printed& printed, std::uint32_t begin, std::uint32_t end) {
    const char* const text = printed.sheet.text();
    const char* at = text + begin;
    std::uint32_t cell = 0;
    const auto go_to = [&](std::uint32_t wanted) {
        at = skip_cells(at, text + end, wanted - cell);
        cell = wanted;
        printed.bounds.push_back(static_cast<std::uint32_t>(at - text));
    };
    for (const Place& place : printed.places) {
        go_to(place.first_cell);
        go_to(place.end_cell);
    }
}

// From row to row

void ElementRows::begin_level(std::uint32_t level) {
    for (; level < indices_.size(); ++level) {
        indices_[level] = 0;
        counts_[level] = 0;
        for (std::uint32_t place = 0; place < view_.rows.size(); ++place) {
            if (view_.rows[place].level != level) continue;
            runs_[place] = run_of(place);
            counts_[level] = std::max(counts_[level], runs_[place].count);
        }
    }
}

void ElementRows::advance() {
    for (auto level = static_cast<std::uint32_t>(indices_.size()); level-- > 0;)
        if (++indices_[level] < counts_[level]) return begin_level(level + 1);
    has_next_ = false;
}

ElementRows::Run ElementRows::run_of(std::uint32_t place) const {
    const cdr::View::Rows& rows = view_.rows[place];
    const auto all = static_cast<std::uint32_t>(printed_[place].ends.size());
    if (rows.level == 0) return {0, all};
    const std::uint32_t around = chosen(rows.around);
    if (around == none) return {0, 0};
    const std::vector<std::uint32_t>& firsts = printed_[place].firsts;
    return {firsts[around], (around + 1 < firsts.size() ? firsts[around + 1] : all) - firsts[around]};
}

/// The element of the next row; none where the sequence has ended.
std::uint32_t ElementRows::chosen(std::uint32_t place) const {
    const std::uint32_t index = indices_[view_.rows[place].level];
    return index < runs_[place].count ? runs_[place].first + index : none;
}

void ElementRows::append_next(std::string& rows) {
    append(rows, common_, 0, 0, common_.context.length);
    advance();
}

void ElementRows::append_element(std::string& row, std::uint32_t place, std::uint32_t element) const {
    const std::vector<std::uint32_t>& ends = printed_[place].ends;
    append(row, elements_[place], element, element == 0 ? 0 : ends[element - 1], ends[element]);
}

/// `text`          number of the text among those of its type
/// `begin`, `end`  of the text on its sheet
void ElementRows::append(std::string& row, const Printed& printed, std::uint32_t text, std::uint32_t begin,
                         std::uint32_t end) const {
    const std::uint32_t* bound = printed.bounds.data() + std::size_t{text} * printed.places.size() * 2;
    for (const Place& place : printed.places) {
        const bool is_index = place.level != none;
        const std::uint32_t element = is_index ? none : chosen(place.element);
        const bool any = is_index ? counts_[place.level] > 0 : element != none;
        if (any) {
            row.append(printed.sheet.text() + begin, bound[0] - begin);
            begin = bound[1];
            if (is_index)
                append_index(row, indices_[place.level]);
            else
                append_element(row, place.element, element);
        }
        bound += 2;
    }
    row.append(printed.sheet.text() + begin, end - begin);
}

}  // namespace zun::convert

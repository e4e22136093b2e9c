#include "schema/rosmsg/sections.hpp"

#include <algorithm>

#include "schema/rosmsg/trimmed.hpp"

namespace zun::schema {

namespace {

bool is_delimiter(std::string_view line) {
    return line.size() >= 3 && line.find_first_not_of('=') == std::string_view::npos;
}

/// Fills keyword and name from a line such as "MSG: pkg/T"; false when it is no header.
bool read_header(std::string_view line, Section& section) {
    for (const std::string_view keyword : {"MSG", "IDL", "SRV", "ACTION"}) {
        if (!line.starts_with(keyword) || !line.substr(keyword.size()).starts_with(':')) continue;
        section.keyword = keyword;
        section.name = trimmed(line.substr(keyword.size() + 1));
        return true;
    }
    return false;
}

}  // namespace

std::string_view take_line(std::string_view& text) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return trimmed(line);
}

std::vector<Section> sections_of(std::string_view text) {
    std::vector<Section> sections{Section{}};
    const char* begin = text.data();
    std::uint64_t line_number = 0;
    while (!text.empty()) {
        const char* const line_begin = text.data();
        ++line_number;
        if (!is_delimiter(take_line(text))) continue;
        std::string_view rest = text;
        Section next;
        if (!read_header(take_line(rest), next)) continue;
        sections.back().body = {begin, static_cast<std::size_t>(line_begin - begin)};
        next.first_line = ++line_number + 1;
        sections.push_back(next);
        text = rest;
        begin = text.data();
    }
    sections.back().body = {begin, static_cast<std::size_t>(text.data() - begin)};
    if (sections.size() > 1 && trimmed(sections.front().body).empty()) sections.erase(sections.begin());
    return sections;
}

}  // namespace zun::schema

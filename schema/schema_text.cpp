#include "schema/schema_text.hpp"

#include <algorithm>
#include <set>

#include "schema/definition/TypeName.hpp"
#include "schema/omgidl/idl_text.hpp"
#include "schema/rosmsg/message_text.hpp"
#include "schema/rosmsg/sections.hpp"
#include "schema/rosmsg/trimmed.hpp"

namespace zun::schema {

namespace {

/// Takes a comment of either grammar, with what follows it on the last line of it.
void skip_comment(std::string_view& text) {
    const std::size_t end = text.starts_with("/*") ? text.find("*/") : text.find('\n');
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    if (text.starts_with('/')) text.remove_prefix(1);
}

bool starts_with_word(std::string_view text, std::string_view word) {
    return text.starts_with(word) &&
           (text.size() == word.size() ||
            std::string_view(" \t\r\n").find(text[word.size()]) != std::string_view::npos);
}

/// Headers do not tell the grammar of what follows them: some IDL headers stand before .msg text.
bool is_idl(std::string_view body) {
    constexpr std::string_view words[] = {"module", "struct", "typedef", "const",    "enum",
                                          "union",  "bitset", "bitmask", "#include", "#pragma"};
    for (body = trimmed(body); !body.empty(); body = trimmed(body)) {
        if (body.starts_with('@')) return true;
        if (std::any_of(std::begin(words), std::end(words),
                        [&](std::string_view word) { return starts_with_word(body, word); }))
            return true;
        const bool comment = body.starts_with('#') || body.starts_with("//") || body.starts_with("/*");
        if (!comment) return false;
        skip_comment(body);
    }
    return false;
}

/// A header without a body stands for a type that an IDL section defines.
bool stands_for_idl(const Section& section, const std::set<std::string>& idl_names) {
    return section.keyword == "MSG" && trimmed(section.body).empty() &&
           idl_names.contains(ros_name(section.name));
}

void read_sections(std::string_view type_name, std::string_view text, DefinitionTable& table) {
    std::vector<Section> sections = sections_of(text);
    if (sections.front().keyword.empty()) sections.front().name = type_name;
    std::set<std::string> idl_names;
    for (const Section& section : sections)
        if (section.keyword == "IDL") idl_names.insert(ros_name(section.name));
    for (const Section& section : sections) {
        if (stands_for_idl(section, idl_names)) continue;
        if (is_idl(section.body))
            read_idl_text(section.body, section.first_line, core::xtypes::TypeKind::UINT_8_TYPE, table);
        else
            read_message_text(section, table);
    }
}

}  // namespace

DefinitionTable read_schema(const std::string& source, std::string_view type_name, std::string_view encoding,
                            std::string_view text) {
    constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";
    if (text.starts_with(byte_order_mark)) text.remove_prefix(byte_order_mark.size());
    DefinitionTable table(source);
    if (encoding == "omgidl")
        read_idl_text(text, 1, core::xtypes::TypeKind::CHAR_8_TYPE, table);
    else
        read_sections(type_name, text, table);
    add_derived_types(table);
    return table;
}

}  // namespace zun::schema

#include "convert/plan/column_list.hpp"

#include "convert/plan/Columns.hpp"
#include "platform/error/TextStream.hpp"

namespace zun::convert {

using namespace core::xtypes;
using tamber::utils::ColumnInfo;

namespace {

const char* kind_name(TypeKind kind) {
    switch (kind) {
        case TypeKind::BOOLEAN_TYPE:
            return "boolean";
        case TypeKind::OCTET_TYPE:
            return "octet";
        case TypeKind::INT_8_TYPE:
            return "int8";
        case TypeKind::UINT_8_TYPE:
            return "uint8";
        case TypeKind::INT_16_TYPE:
            return "int16";
        case TypeKind::UINT_16_TYPE:
            return "uint16";
        case TypeKind::INT_32_TYPE:
            return "int32";
        case TypeKind::UINT_32_TYPE:
            return "uint32";
        case TypeKind::INT_64_TYPE:
            return "int64";
        case TypeKind::UINT_64_TYPE:
            return "uint64";
        case TypeKind::FLOAT_32_TYPE:
            return "float32";
        case TypeKind::FLOAT_64_TYPE:
            return "float64";
        case TypeKind::FLOAT_128_TYPE:
            return "float128";
        case TypeKind::CHAR_8_TYPE:
            return "char";
        case TypeKind::CHAR_16_TYPE:
            return "wchar";
        case TypeKind::STRING_TYPE:
            return "string";
        case TypeKind::WSTRING_TYPE:
            return "wstring";
        case TypeKind::ENUMERATION_TYPE:
            return "enum";
        case TypeKind::BITMASK_TYPE:
            return "bitmask";
        default:
            return "empty";
    }
}

/// What a column is made of, as far as the type of the samples tells.
struct Source {
    std::optional<DynamicTypeImpl> type = {};
    std::string unit = {};
};

Source member_of(const DynamicTypeImpl& type, const std::string& name) {
    if (type.kind() == TypeKind::UNION_TYPE) {
        const UnionTypeImpl united(type);
        for (std::uint32_t i = 0; i < united.member_count(); ++i)
            if (united.member(i).name() == name) return {united.member(i).type().resolved()};
    }
    if (type.kind() != TypeKind::STRUCTURE_TYPE) return {};
    const StructTypeImpl structure(type);
    for (std::uint32_t i = 0; i < structure.member_count(); ++i)
        if (structure.member(i).name() == name)
            return {structure.member(i).type().resolved(), structure.member(i).unit()};
    return structure.has_parent() ? member_of(structure.parent().resolved(), name) : Source();
}

bool is_collection(TypeKind kind) {
    return kind == TypeKind::SEQUENCE_TYPE || kind == TypeKind::ARRAY_TYPE;
}

Source element_of(Source collection) {
    if (collection.type && is_collection(collection.type->kind()))
        collection.type = CollectionTypeImpl(*collection.type).content_type().resolved();
    return collection;
}

/// Of a child of `column`, which is made of `source`. The name of an element with a row of its own is that of
/// its sequence, with an index.
Source child_source(const ColumnInfo& column, const ColumnInfo& child, const Source& source) {
    if (!source.type) return {};
    if (is_collection(column.type_kind())) return element_of(source);
    const std::size_t index = child.name().find('[');
    Source found = member_of(*source.type, child.name().substr(0, index));
    return index == std::string::npos ? found : element_of(std::move(found));
}

/// `names`  by leaf
void add_leaves(std::vector<ListedColumn>& columns, const ColumnInfo& column, const Source& source,
                const std::string* names) {
    for (const ColumnInfo& child : column.children()) {
        const std::string& name = names[child.first_leaf()];
        // A sequence's first child is its length; behind it stand its elements.
        if (!child.children().empty())
            add_leaves(columns, child, child_source(column, child, source), names);
        else if (column.type_kind() == TypeKind::SEQUENCE_TYPE && &child == &column.children().front())
            columns.push_back({name, "length", column.sequence_bounds()});
        else
            columns.push_back(
                {name, kind_name(child.type_kind()), {}, child_source(column, child, source).unit});
    }
}

}  // namespace

std::vector<ListedColumn> column_list(const Limits& limits, bool both_times, ColumnNames form) {
    Columns columns(limits);
    columns.settings.include_source_timestamp(both_times);
    // The list comes from the tree that rows are made with, so it cannot say anything else than the header
    // line.
    TextStream header;
    std::vector<char> buffer;
    const tamber::utils::PrintFormatCsv format(columns.settings, columns.types.row, header, buffer);
    columns.check(format);
    const std::vector<std::string> names = column_names(header.str(), form);
    const std::size_t times = both_times ? 2 : 1;
    std::vector<ListedColumn> list;
    for (std::size_t i = 0; i < times; ++i)
        list.push_back({names[i], "time"});
    add_leaves(list, format.root_column(), {limits.sample_type()}, names.data() + times);
    return list;
}

void print_columns(std::ostream& out, const Limits& limits, ColumnNames form) {
    const std::vector<ListedColumn> list = column_list(limits, false, form);
    for (auto column = list.begin() + 1; column != list.end(); ++column) {
        out << column->name << '\t' << column->kind;
        if (column->elements) out << '\t' << *column->elements;
        out << '\n';
    }
}

}  // namespace zun::convert

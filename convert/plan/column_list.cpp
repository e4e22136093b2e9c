#include "convert/plan/column_list.hpp"

#include "convert/plan/Columns.hpp"
#include "platform/error/TextStream.hpp"

namespace zun::convert {

using core::xtypes::TypeKind;
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

/// `names`  by leaf
void print_leaves(std::ostream& out, const ColumnInfo& column, const std::string* names) {
    for (const ColumnInfo& child : column.children()) {
        if (!child.children().empty()) {
            print_leaves(out, child, names);
            continue;
        }
        // A sequence's first child is its length; behind it stand its elements.
        const bool length =
            column.type_kind() == TypeKind::SEQUENCE_TYPE && &child == &column.children().front();
        out << names[child.first_leaf()] << '\t' << (length ? "length" : kind_name(child.type_kind()));
        if (length) out << '\t' << column.sequence_bounds();
        out << '\n';
    }
}

}  // namespace

void print_columns(std::ostream& out, const Limits& limits, ColumnNames form) {
    const Columns columns(limits);
    // The list comes from the tree that rows are made with, so it cannot say anything else than the header
    // line.
    TextStream header;
    std::vector<char> buffer;
    const tamber::utils::PrintFormatCsv format(columns.settings, columns.types.row, header, buffer);
    columns.check(format);
    const std::vector<std::string> names = column_names(header.str(), form);
    print_leaves(out, format.root_column(), names.data() + 1);  // behind the time
}

}  // namespace zun::convert

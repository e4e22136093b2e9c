// Rows of generated types: each has one cell per column, and says what a plain recursion over the value says.

#include <algorithm>
#include <random>

#include <gtest/gtest.h>

#include "platform/xtypes/TypeBuilder.hpp"
#include "tests/support/RowPrinter.hpp"

namespace zun::test {
namespace {

using namespace core::xtypes;
using nlohmann::json;
using tamber::utils::PrintFormatCsv;

constexpr std::uint32_t limit = 2;  // of every unbounded sequence; samples go beyond it

class Generator {
public:
    explicit Generator(unsigned int seed) : random_(seed) {}

    DynamicTypeImpl top_level_type() { return pick(5) == 0 ? make_union(3) : make_struct(3); }

    /// A value of `type`; the cells that it has to give are appended to `cells`.
    json value(const DynamicTypeImpl& type, std::vector<std::string>& cells) {
        switch (type.kind()) {
            case TypeKind::ALIAS_TYPE:
                return value(AliasTypeImpl(type).related_type(), cells);
            case TypeKind::STRUCTURE_TYPE:
                return struct_value(StructTypeImpl(type), cells);
            case TypeKind::UNION_TYPE:
                return union_value(UnionTypeImpl(type), cells);
            case TypeKind::ARRAY_TYPE: {
                json values = json::array();
                const ArrayTypeImpl array(type);
                for (std::uint32_t i = 0; i < array.total_element_count(); ++i)
                    values.push_back(value(array.content_type(), cells));
                return values;
            }
            case TypeKind::SEQUENCE_TYPE:
                return sequence_value(SequenceTypeImpl(type), cells);
            default:
                return scalar_value(type, cells);
        }
    }

private:
    std::uint32_t pick(std::uint32_t count) { return static_cast<std::uint32_t>(random_() % count); }

    DynamicTypeImpl make_type(int depth) {
        switch (pick(depth > 0 ? 12 : 6)) {
            case 0:
                return string_type();
            case 1:
                return primitive_type(TypeKind::INT_64_TYPE);
            case 2:
                return primitive_type(TypeKind::OCTET_TYPE);
            case 3:
                return enum_type({.name = "E", .enumerators = {{"OFF", 0}, {"ON", 5}}});
            case 4:
                return primitive_type(TypeKind::BOOLEAN_TYPE);
            case 5:
                return primitive_type(TypeKind::FLOAT_32_TYPE);
            case 6:
                return alias_type("A", make_type(depth - 1));
            case 7:
                return make_union(depth - 1);
            case 8:
                return array_type(make_type(depth - 1), pick(2) == 0 ? std::vector<std::uint32_t>{2}
                                                                     : std::vector<std::uint32_t>{2, 2});
            case 9:
                return sequence_type(make_type(depth - 1));
            case 10:
                return sequence_type(make_type(depth - 1), pick(3));
            default:
                return make_struct(depth - 1);
        }
    }

    DynamicTypeImpl make_struct(int depth, bool derived = false) {
        StructSpec spec{.name = "S"};
        if (!derived && pick(4) == 0) spec.base = make_struct(depth - 1, true);
        // Elements may be called like the sequence around them: names repeat at every level.
        for (std::uint32_t i = pick(4); i > 0; --i)
            spec.members.push_back({.name = (derived ? "base" : "m") + std::to_string(i),
                                    .type = make_type(depth),
                                    .optional = pick(4) == 0});
        spec.placeholder_octet = spec.members.empty() && !spec.base && !derived;
        return struct_type(std::move(spec));
    }

    DynamicTypeImpl make_union(int depth) {
        UnionSpec spec{.name = "U", .discriminator = primitive_type(TypeKind::INT_16_TYPE)};
        for (std::int64_t i = pick(4); i > 0; --i)
            spec.members.push_back(
                {.name = "m" + std::to_string(i), .type = make_type(depth), .labels = {i}});
        return union_type(std::move(spec));
    }

    json scalar_value(const DynamicTypeImpl& type, std::vector<std::string>& cells) {
        const std::uint32_t n = pick(200);
        switch (type.kind()) {
            case TypeKind::STRING_TYPE:
                return cells.emplace_back("s" + std::to_string(n));
            case TypeKind::ENUMERATION_TYPE:
                return cells.emplace_back(n % 2 == 0 ? "OFF" : "ON");
            case TypeKind::BOOLEAN_TYPE:
                cells.emplace_back(n % 2 == 0 ? "false" : "true");
                return n % 2 != 0;
            case TypeKind::FLOAT_32_TYPE:
                cells.push_back(std::to_string(n) + ".5");
                return n + 0.5;
            default:
                cells.push_back(std::to_string(n));
                return n;
        }
    }

    json sequence_value(const SequenceTypeImpl& type, std::vector<std::string>& cells) {
        const bool bounded = type.bounds() != no_bound;
        const std::uint32_t columns = bounded ? type.bounds() : limit;
        const std::uint32_t length = pick(columns + (bounded ? 1 : 3));
        const std::string count = std::to_string(std::min(length, columns));
        cells.push_back(std::string(15 - count.size(), ' ') + count);
        json values = json::array();
        std::vector<std::string> dropped;
        for (std::uint32_t i = 0; i < length; ++i)
            values.push_back(value(type.content_type(), i < columns ? cells : dropped));
        for (std::uint32_t i = length; i < columns; ++i)
            empty(type.content_type(), cells);
        return values;
    }

    json struct_value(const StructTypeImpl& type, std::vector<std::string>& cells) {
        json members = json::object();
        if (type.has_parent() && !is_empty(type.parent())) members = struct_value(type.parent(), cells);
        for (std::uint32_t i = 0; i < type.member_count(); ++i) {
            const MemberImpl& member = type.member(i);
            if (member.is_optional() && pick(2) == 0)
                empty(member.type(), cells);
            else
                members[member.name()] = value(member.type(), cells);
        }
        if (is_empty(type)) cells.emplace_back("nil");
        return members;
    }

    json union_value(const UnionTypeImpl& type, std::vector<std::string>& cells) {
        const std::int64_t label = pick(type.member_count() + 2);
        cells.push_back(std::to_string(label));
        json members = {{"_d", label}};
        for (std::uint32_t i = 0; i < type.member_count(); ++i) {
            const UnionMember& member = type.member(i);
            if (member.labels().front() == label)
                members[member.name()] = value(member.type(), cells);
            else
                empty(member.type(), cells);
        }
        return members;
    }

    /// A structure without members, all of its bases alike, is one column.
    static bool is_empty(const StructTypeImpl& type) {
        return type.member_count() == 0 && (!type.has_parent() || is_empty(type.parent()));
    }

    /// The cells of a value that is not there: one for each column of its type.
    static void empty(const DynamicTypeImpl& type, std::vector<std::string>& cells) {
        tamber::utils::PrintFormatCsvProperty property;
        property.add_unbounded_seq_limit("*", limit);
        std::ostringstream header;
        std::vector<char> buffer;
        const PrintFormatCsv converter(property, type, header, buffer);
        const std::string line = header.str();
        cells.insert(cells.end(), static_cast<std::size_t>(std::ranges::count(line, ',')), "nil");
    }

    std::mt19937 random_;
};

class GeneratedRow : public testing::TestWithParam<unsigned int> {};

TEST_P(GeneratedRow, SaysWhatTheValueSays) {
    Generator generator(GetParam());
    tamber::utils::PrintFormatCsvProperty property = PrintFormatCsv::PROPERTY_DEFAULT();
    property.add_unbounded_seq_limit("*", limit);
    const DynamicTypeImpl type = generator.top_level_type();
    RowPrinter printer(property, type);
    const std::string header = printer.header();
    for (int sample = 0; sample < 4; ++sample) {
        std::vector<std::string> cells;
        const json value = generator.value(type, cells);
        std::string row;
        for (const std::string& cell : cells)
            row += "," + cell;
        EXPECT_EQ(row, printer.row(value)) << header << "\n" << value;
        EXPECT_EQ(std::ranges::count(header, ','), std::ranges::count(row, ',')) << header;
        for (const std::size_t capacity : {row.size() + 100, row.size(), row.size() / 2, std::size_t{0}}) {
            const auto context = printer.print(value, static_cast<std::uint32_t>(capacity), true);
            EXPECT_EQ(row.size(), context.length) << header << "\n" << value;
            if (capacity < row.size()) continue;
            EXPECT_EQ(row, std::string_view(context.text, row.size())) << header << "\n" << value;
        }
    }
}
INSTANTIATE_TEST_SUITE_P(, GeneratedRow, testing::Range(0U, 300U));

}  // namespace
}  // namespace zun::test

#include "platform/cdr/LengthMeter.hpp"

#include <map>
#include <stdexcept>

#include <gtest/gtest.h>

#include "platform/error/InputError.hpp"
#include "platform/xtypes/TypeBuilder.hpp"
#include "tests/platform/printing/json_format.hpp"

namespace zun::cdr {

using namespace core::xtypes;
using test::bytes_of;

namespace {

const DynamicTypeImpl octet = primitive_type(TypeKind::OCTET_TYPE);
const DynamicTypeImpl bytes = sequence_type(octet);

DynamicTypeImpl structure(std::vector<MemberSpec> members) {
    return struct_type({.name = "S", .members = std::move(members), .extensibility = Extensibility::FINAL});
}

using Lengths = std::vector<std::pair<std::string, std::uint32_t>>;
Lengths lengths(const LengthMeter& meter) {
    Lengths all;
    for (const LengthMeter::Field& field : meter.fields())
        all.emplace_back(field.full_name, field.longest);
    return all;
}

}  // namespace

TEST(LengthMeter, NamesFieldsInOrderOfDeclaration) {
    const auto part = structure({{"id", octet}, {"points", bytes}, {"few", sequence_type(bytes, 4)}});
    const auto choice = union_type({"U", octet, {{"a", bytes, {1}}, {"b", part, {2}}}});
    const LengthMeter meter(structure({{"grid", array_type(bytes, {2, 3})},
                                       {"markers", sequence_type(part)},
                                       {"deep", sequence_type(sequence_type(bytes))},
                                       {"u", choice},
                                       {"names", map_type(string_type(), bytes)},
                                       {"text", string_type()}}),
                            "topic");
    const Lengths expected{{"grid[*][*]", 0},     {"markers", 0},           {"markers[*].points", 0},
                           {"markers[*].few", 0}, {"markers[*].few[*]", 0}, {"deep", 0},
                           {"deep[*]", 0},        {"deep[*][*]", 0},        {"u.a", 0},
                           {"u.b.points", 0},     {"u.b.few", 0},           {"u.b.few[*]", 0},
                           {"names", 0},          {"names[*].value", 0}};
    EXPECT_EQ(expected, lengths(meter));
}

TEST(LengthMeter, KeepsTheLongestOfAllSamplesAndElements) {
    const auto part = structure({{"a", bytes}, {"b", bytes}});
    LengthMeter meter(structure({{"pair", array_type(part, {2})}, {"last", sequence_type(part)}}), "topic");
    meter.measure(
        bytes_of("00010000 01000000 07 000000 00000000 03000000 070707 00 02000000 0707 0000 01000000"
                 "00000000 00000000"));
    meter.measure(bytes_of("00000000 00000000 00000002 0707 0000 00000000 00000000 00000000"));
    const Lengths expected{
        {"pair[*].a", 3}, {"pair[*].b", 2}, {"last", 1}, {"last[*].a", 0}, {"last[*].b", 0}};
    EXPECT_EQ(expected, lengths(meter));
}

TEST(LengthMeter, HasNoFieldsInExcludedMembers) {
    const auto whole = std::make_shared<const Exclusions>(Exclusions{.whole = true});
    const auto excluded = std::make_shared<const Exclusions>(Exclusions{.members = {{"a", whole}}});
    const auto part = structure({{"b", bytes}});
    LengthMeter meter(structure({{"a", sequence_type(part)}, {"c", bytes}}), "topic", Writer::UNKNOWN,
                      excluded);
    meter.measure(bytes_of("00010000 02000000 01000000 07 000000 00000000 03000000 070707"));
    EXPECT_EQ((Lengths{{"c", 3}}), lengths(meter));
}

TEST(LengthMeter, LeavesOutWhatIsNoSample) {
    LengthMeter meter(
        structure({{"a", bytes}, {"b", sequence_type(structure({{"c", bytes}}))}, {"d", bytes}}), "topic");
    EXPECT_THROW(meter.measure(bytes_of("00010000 02000000 0707 0000 01000000 09000000 07")), InputError);
    meter.measure(bytes_of("00010000 00000000 00000000 01000000 07"));
    EXPECT_EQ((Lengths{{"a", 0}, {"b", 0}, {"b[*].c", 0}, {"d", 1}}), lengths(meter));
}

TEST(LengthMeter, RefusesATypeOfMoreFieldsThanAnyFileHasColumns) {
    DynamicTypeImpl type = bytes;
    for (int i = 0; i < 80; ++i)
        type = structure({{"a", type}, {"b", type}});
    EXPECT_THROW(LengthMeter(type, "topic"), std::invalid_argument);
}

}  // namespace zun::cdr

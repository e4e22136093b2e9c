#include "platform/printing/SamplePrinter.hpp"

#include <algorithm>
#include <limits>
#include <stdexcept>

#include <gtest/gtest.h>

#include "platform/error/InputError.hpp"
#include "platform/xtypes/TypeBuilder.hpp"
#include "tests/platform/printing/json_format.hpp"
#include "tests/support/case_files.hpp"

namespace zun::test {

using namespace core::xtypes;
using cdr::Writer;
using printing::SamplePrinter;

namespace {

constexpr auto appendable = Extensibility::APPENDABLE;
constexpr auto mutable_form = Extensibility::MUTABLE;

const DynamicTypeImpl octet = primitive_type(TypeKind::OCTET_TYPE);
const DynamicTypeImpl int16 = primitive_type(TypeKind::INT_16_TYPE);
const DynamicTypeImpl int32 = primitive_type(TypeKind::INT_32_TYPE);
const DynamicTypeImpl int64 = primitive_type(TypeKind::INT_64_TYPE);
const DynamicTypeImpl float64 = primitive_type(TypeKind::FLOAT_64_TYPE);
const DynamicTypeImpl text = string_type();
const DynamicTypeImpl color = enum_type({"Color", {{"RED", 0}, {"GREEN", 1}, {"BLUE", 2}}, 32, 1});
const DynamicTypeImpl empty = struct_type({"Empty", {}});
const DynamicTypeImpl ros_empty = struct_type({.name = "Empty", .members = {}, .placeholder_octet = true});

DynamicTypeImpl structure(std::vector<MemberSpec> members,
                          Extensibility extensibility = Extensibility::FINAL) {
    return struct_type({.name = "S", .members = std::move(members), .extensibility = extensibility});
}
DynamicTypeImpl single(const DynamicTypeImpl& type) {
    return structure({{"v", type}});
}
MemberSpec optional(const char* name, const DynamicTypeImpl& type) {
    return {.name = name, .type = type, .optional = true};
}
MemberSpec with_id(const char* name, const DynamicTypeImpl& type, std::uint32_t id) {
    return {.name = name, .type = type, .id = id};
}
MemberSpec with_default(const char* name, const DynamicTypeImpl& type, DefaultValue value) {
    return {.name = name, .type = type, .default_value = std::move(value)};
}
DynamicTypeImpl kind(TypeKind of) {
    return primitive_type(of);
}

const DynamicTypeImpl app =
    struct_type({.name = "App", .members = {{"a", int32}, {"b", octet}}, .extensibility = appendable});
const DynamicTypeImpl unsaid = struct_type({"Unsaid", {{"a", int32}, {"b", octet}}});
const DynamicTypeImpl choice =
    union_type({"Choice", color, {{"n", int16, {0}}, {"t", text, {2}, true}}, mutable_form});
const DynamicTypeImpl parts = structure({with_id("a", octet, 1), with_id("t", text, 2),
                                         with_id("n", sequence_type(int16), 3), with_id("z", float64, 9)},
                                        mutable_form);

struct SampleCase {
    const char* name;
    DynamicTypeImpl type;
    const char* payload;
    const char* text;  // an error's, where there is no such sample
    Writer writer = Writer::UNKNOWN;
    std::string_view excluded = {};  // path of a member, "parts.*.blob"
};
void PrintTo(const SampleCase& c, std::ostream* out) {
    *out << c.name;
}

const SampleCase values[] = {
    {"BooleanBeyondOne", single(array_type(kind(TypeKind::BOOLEAN_TYPE), {3})), "00010000 00 01 ff",
     "[false, true, true]"},
    {"SmallIntegers", structure({{"a", kind(TypeKind::INT_8_TYPE)}, {"b", kind(TypeKind::UINT_8_TYPE)}}),
     "00010000 80 ff", "{a: -128, b: 255}"},
    {"LargeIntegers", structure({{"a", int64}, {"b", kind(TypeKind::UINT_64_TYPE)}}),
     "00010000 0000000000000080 ffffffffffffffff", "{a: -9223372036854775808, b: 18446744073709551615}"},
    {"Floats", single(array_type(kind(TypeKind::FLOAT_32_TYPE), {4})),
     "00010000 cdcccc3d 0000807f 000080ff 0000c0ff", "[0.1, inf, -inf, nan]"},
    {"LongDouble", single(array_type(kind(TypeKind::FLOAT_128_TYPE), {3})),
     "00010000 0000000000000080ff3f 0a0b0c0d0e0f cdcccccccccccccc fbbf 000000000000 0000000000000080ff7f "
     "000000000000",
     "[1, -0.1, inf]", Writer::FAST_DDS},
    {"CharactersOfLatin1", single(array_type(kind(TypeKind::CHAR_8_TYPE), {5})), "00010000 41 2c 22 e9 00",
     "[A, \",\", \"\"\"\", é, \"\"]"},
    {"WideCharacters", single(array_type(kind(TypeKind::CHAR_16_TYPE), {3})), "00000000 00e9 20ac d83d",
     "[é, €, \\ud83d]"},
    {"EmptyStringOfNoBytes", single(sequence_type(text)), "00010000 02000000 00000000 01000000 00",
     "[\"\", \"\"]"},
    {"TextWithQuote", single(text), "00010000 04000000 61226200", "\"a\"\"b\""},
    {"CommaBeyondSixteenBytes", single(text), "00010000 13000000 6161616161616161 6161616161616161 612c00",
     "\"aaaaaaaaaaaaaaaaa,\""},
    {"CarriageReturnWithinSixteenBytes", single(text),
     "00010000 12000000 61616161610d6161 6161616161616161 6100", "\"aaaaa\raaaaaaaaaaa\""},
    {"CarriageReturnInWideText", single(wstring_type()), "00010000 06000000 6100 0d00 6200", "\"a\rb\""},
    {"LineEndWithinSixteenBytes", single(text), "00010000 12000000 61616161610a6161 6161616161616161 6100",
     "\"aaaaa\naaaaaaaaaaa\""},
    {"BytesThatAreNoUtf8", single(text), "00010000 03000000 ff80 00", "\\xff\\x80"},
    {"ZeroInQuotedText", single(text), "00010000 04000000 2c0061 00", "\",\\x00a\""},
    {"HalfPairAndZeroInWideText", single(wstring_type()), "00010000 06000000 00dc 0000 6100",
     "\\udc00\\x00a"},
    {"NumberBeyondAllCharacters", single(wstring_type()), "00010000 01000000 00001100", "\\U00110000",
     Writer::ROS2},
    {"Enumerators", single(array_type(color, {2})), "00010000 02000000 f9ffffff", "[BLUE, -7]"},
    {"EnumeratorsInAnyOrder",
     single(array_type(enum_type({"E", {{"LATE", 5}, {"A", 0}, {"B", -3}, {"C", 2}}}), {4})),
     "00010000 05000000 00000000 fdffffff 02000000", "[LATE, A, B, C]"},
    {"EnumerationOfOneUnsignedByte", single(enum_type({"E", {{"A", 0}, {"B", 200}}, 8})), "00010000 c8", "B"},
    {"Bitmasks", structure({{"a", bitmask_type("A", 9)}, {"b", bitmask_type("B", 64)}}),
     "00010000 0180 000000000000 01000000000000f0", "{a: 32769, b: 17293822569102704641}"},
    {"BitSet", single(bitset_type("B", {{"a", 3}, {"", 1}, {"b", 4, kind(TypeKind::INT_8_TYPE)}, {"c", 1}})),
     "00010000 e501", "{v: {a: 5, b: -2, c: true}}"},
};

const SampleCase encodings[] = {
    {"SecondNumberingDelimited", app, "00150003 05000000 07000000 01 000000", "{a: 7, b: 1}"},
    {"SecondNumberingParameters", structure({with_id("a", octet, 1)}, mutable_form),
     "00130003 05000000 01000000 09 000000", "{a: 9}"},
    {"UnknownMemberSkippedDuplicateLastMissingDefault", parts,
     "000b0000 25000000 01000000 01 000000 77000020 ffffffff 03000040 06000000 01000000 0500 0000 01000000 "
     "02 000000",
     "{a: 2, t: \"\", n: [5], z: 0}"},
    {"OrderOfDeclaration", parts,
     "000a0000 0000002d 30000009 3ff0000000000000 40000003 00000006 00000001 0007 0000 50000002 00000002 "
     "6100 0000 00000001 05",
     "{a: 5, t: a, n: [7], z: 1}"},
    {"DefaultsOfMissingMembers",
     structure({with_default("i", int16, std::int64_t{-3}),
                with_default("f", float64, 0.5),
                with_default("t", text, std::string("none")),
                {"c", color},
                optional("o", int32),
                {"p", structure({{"q", array_type(int16, {2})}})},
                {"u", choice}},
               mutable_form),
     "000b0000 00000000",
     "{i: -3, f: 0.5, t: none, c: GREEN, o: null, p: {q: [0, 0]}, u: {_d: GREEN, t: \"\"}}"},
    {"NewerWriterOfAppendable", structure({{"v", sequence_type(app)}, {"y", octet}}),
     "00070000 1c000000 01000000 14000000 01000000 02 000000 ffffffffffffffffffffffff 09",
     "{v: [{a: 1, b: 2}], y: 9}"},
    {"OlderWriterOfAppendable", structure({{"v", app}, optional("o", int32), {"c", color}}, appendable),
     "00090000 0c000000 04000000 01000000 00 000000", "{v: {a: 1, b: 0}, o: null, c: GREEN}"},
    {"OlderWriterWithinARun", structure({{"a", int32}, {"b", int32}, {"c", int32}}, appendable),
     "00010000 01000000 02000000", "{a: 1, b: 2, c: 0}"},
    {"ShortHeaderThenLong", structure({optional("a", int32), {"b", int64}}),
     "00000000 0000 0004 00000007 00000000 0000000000000008", "{a: 7, b: 8}"},
    {"MutableWithShortHeadersThenLong",
     structure({{"m", structure({with_id("a", octet, 1)}, mutable_form)}, {"b", int64}}),
     "00010000 0100 0100 07 000000 023f0000 0800000000000000", "{m: {a: 7}, b: 8}"},
    {"MutableEndingInAnUnknownMemberThenLong",
     structure({{"m", structure({with_id("a", octet, 1)}, mutable_form)}, {"b", int64}}),
     "00010000 0100 0100 07 000000 0900 0400 00000000 023f0000 0800000000000000", "{m: {a: 7}, b: 8}"},
    {"NestedFinalThatCouldBeCut",
     structure({{"v", struct_type({"N", {{"a", int32}, {"b", int32}, {"c", int32}}})}}, appendable),
     "00090000 0c000000 08000000 01000000 02000000", "{v: {a: 8, b: 1, c: 2}}"},
    {"NestedFinalThatCouldBeLonger",
     structure({{"v", struct_type({"N", {{"a", int32}}})}, optional("o", int16), optional("p", int16)},
               appendable),
     "00090000 0c000000 08000000 01 00 0500 01 00 0600", "{v: {a: 8}, o: 5, p: 6}"},
    {"MutableWithExtendedHeadersThenLong",
     structure({{"m", structure({with_id("a", octet, 1)}, mutable_form)}, {"b", int64}}),
     "00010000 017f0800 01000000 04000000 07000000 027f0000 00000000 0800000000000000", "{m: {a: 7}, b: 8}"},
    {"AnnouncedPaddingIsNoMember",
     structure({{"a", int32}, {"b", octet}, with_default("c", octet, std::uint64_t{7})}, appendable),
     "00010003 01000000 02 000000", "{a: 1, b: 2, c: 7}"},
    {"UnannouncedMembersOfAUnionSkipped", single(choice),
     "00070000 1e000000 00000040 04000000 00000000 01000010 0300 0000 07000040 02000000 0900",
     "{v: {_d: RED, n: 3}}"},
    {"MutableUnionWithoutMember", single(choice), "00070000 0c000000 00000040 04000000 00000000",
     "{v: {_d: RED, n: 0}}"},
    {"UnionOfBoolean",
     single(union_type({"U", kind(TypeKind::BOOLEAN_TYPE), {{"t", octet, {1}}, {"f", text, {0}}}})),
     "00010000 02 09", "{v: {_d: true, t: 9}}"},
    {"UnionOfFlags", union_type({"U", bitmask_type("B", 8), {{"a", octet, {0x80}}, {"b", int16, {2}}}}),
     "00010000 80 05", "{_d: 128, a: 5}"},
    {"UnionOfLargeLabels", union_type({"U", kind(TypeKind::UINT_64_TYPE), {{"a", octet, {-1}}}}),
     "00010000 ffffffffffffffff 05", "{_d: 18446744073709551615, a: 5}"},
    {"TopLevelUnion", union_type({"U", octet, {{"a", octet, {1}}, {"b", int16, {2}}}}), "00010000 02 00 0500",
     "{_d: 2, b: 5}"},
    {"MapOfStringValues", structure({{"m", map_type(int32, text)}, {"y", octet}}),
     "00070000 1b000000 02000000 01000000 02000000 6100 0000 02000000 03000000 626300 09",
     "{m: [{key: 1, value: a}, {key: 2, value: bc}], y: 9}"},
    {"MapDelimitedByValueAlone", structure({{"m", map_type(text, int32)}, {"y", octet}}),
     "00070003 01000000 02000000 6b00 0000 07000000 09", "{m: [{key: k, value: 7}], y: 9}"},
    {"ArraysOfArraysShareADelimiter",
     structure({{"m", array_type(array_type(text, {2}), {1})},
                {"n", array_type(alias_type("Row", array_type(int16, {2})), {2})}}),
     "00070000 0e000000 02000000 6100 0000 02000000 6200 0100 0200 0300 0400",
     "{m: [[a, b]], n: [[1, 2], [3, 4]]}"},
    {"PrimitivesWithDelimiter", structure({{"v", sequence_type(int32)}, {"y", octet}}),
     "00070003 08000000 01000000 05000000 09", "{v: [5], y: 9}"},
    {"NoDelimitersAtAll", structure({{"v", sequence_type(app)}, {"y", octet}}),
     "00070003 01000000 01000000 02 09", "{v: [{a: 1, b: 2}], y: 9}"},
    {"UnannotatedAppendable", structure({{"v", unsaid}, {"y", octet}}), "00070002 05000000 01000000 02 09",
     "{v: {a: 1, b: 2}, y: 9}"},
    {"UnannotatedFinal", structure({{"v", unsaid}, {"y", octet}}, appendable),
     "00090002 06000000 01000000 02 09", "{v: {a: 1, b: 2}, y: 9}"},
    {"MapToEnumerationsWithoutDelimiter", structure({{"m", map_type(text, color)}, {"y", octet}}),
     "00070003 01000000 02000000 6b00 0000 02000000 09", "{m: [{key: k, value: BLUE}], y: 9}"},
    {"WideStringThatPaddingTellsFromAShorterOne", structure({{"s", wstring_type()}, {"n", int32}}),
     "00010000 02000000 4400 4500 00000000", "{s: DE, n: 0}"},
    {"WideStringThatItsMembersEndTellsFromAShorterOne", structure({{"s", wstring_type()}}, mutable_form),
     "000b0000 10000000 00000040 08000000 02000000 4400 4500", "{s: DE}"},
    {"WideStringOfRos", structure({{"s", wstring_type()}, {"n", octet}}),
     "00010000 02000000 68000000 e9000000 07", "{s: hé, n: 7}", Writer::ROS2},
    {"WideStringOfPairsAndQuotes", single(wstring_type()), "00010000 03000000 3dd8 00de 2200", "\"😀\"\"\""},
    {"WideStringInWholeCharacters", structure({{"c", kind(TypeKind::CHAR_16_TYPE)}, {"s", wstring_type()}}),
     "00010000 e9000000 02000000 00f60100 2c000000", "{c: é, s: \"😀,\"}"},
    {"PlainRosSampleCalledAParameterList", single(int32), "00030000 05000000", "5", Writer::ROS2},
    {"PlaceholderOctets", structure({{"e", array_type(ros_empty, {2})}, {"x", int32}}),
     "00010000 00 00 0000 07000000", "{e: [{}, {}], x: 7}"},
    {"StructuresWithoutMembers", structure({{"e", sequence_type(empty)}, {"x", octet}}),
     "00010000 02000000 07", "{e: [{}, {}], x: 7}"},
    {"SequencesInArrays", single(array_type(sequence_type(octet, 2), {2})),
     "00010000 01000000 07 000000 00000000", "[[7], []]"},
};

const SampleCase exclusions[] = {
    {"MiddleOfARun",
     structure({{"a", int16}, {"b", int16}, {"c", int16}}),
     "00010000 0100 0200 0300",
     "{a: 1, c: 3}",
     {},
     "b"},
    {"RunThatEndsEarly",
     structure({{"a", int16}, {"b", int16}, {"c", int16}}, appendable),
     "00010000 0100 0200",
     "{a: 1, c: 0}",
     {},
     "b"},
    {"OptionalByItsHeader",
     structure({optional("a", int16), {"b", octet}}),
     "00010000 0000 0200 0700 09",
     "{b: 9}",
     {},
     "a"},
    {"OptionalUnset", structure({optional("a", int16), {"b", octet}}), "00070000 00 09", "{b: 9}", {}, "a"},
    {"Text",
     structure({{"t", text}, {"b", int32}}),
     "00010000 02000000 6100 0000 09000000",
     "{b: 9}",
     {},
     "t"},
    {"Blob",
     structure({{"d", sequence_type(octet)}, {"b", octet}}),
     "00010000 03000000 010203 09",
     "{b: 9}",
     {},
     "d"},
    {"StructuresInASequence",
     structure({{"s", sequence_type(parts)}, {"b", octet}}),
     "00010000 01000000 01000100 05 000000 023f0000 09",
     "{b: 9}",
     {},
     "s"},
    {"MemberOfElements",
     structure({{"s", array_type(app, {2})}, {"z", app}}),
     "00010000 01000000 02 000000 03000000 04 000000 05000000 06",
     "{s: [{b: 2}, {b: 4}], z: {a: 5, b: 6}}",
     {},
     "s.*.a"},
    {"OneOfTwoOfAType",
     structure({{"x", app}, {"y", app}}),
     "00010000 01000000 02 000000 03000000 04",
     "{x: {a: 1, b: 2}, y: {a: 3}}",
     {},
     "y.b"},
    {"Parameter",
     parts,
     "000a0000 0000002d 30000009 3ff0000000000000 40000003 00000006 00000001 0007 0000 50000002 00000002 "
     "6100 0000 00000001 05",
     "{a: 5, t: a, z: 1}",
     {},
     "n"},
    {"MissingParameter", parts, "000b0000 00000000", "{a: 0, n: [], z: 0}", {}, "t"},
    {"WithinAMissingParameter",
     structure({{"p", app}}, mutable_form),
     "000b0000 00000000",
     "{p: {b: 0}}",
     {},
     "p.a"},
    {"SelectedByAUnion",
     single(choice),
     "00070000 12000000 00000040 04000000 00000000 01000010 0300",
     "{v: {_d: RED}}",
     {},
     "v.n"},
    {"BitField",
     single(bitset_type("B", {{"a", 3}, {"b", 4}, {"c", 1}})),
     "00010000 9d",
     "{v: {a: 5, c: true}}",
     {},
     "v.b"},
    {"WideStringWhoseReadingCounts",
     structure({{"s", wstring_type()}, {"n", int32}}),
     "00010000 02000000 4400 4500 00000000",
     "{n: 0}",
     {},
     "s"},
};

const SampleCase damage[] = {
    {"NoHeader", app, "000100", "topic:3: expected a header of 4 bytes, found 3"},
    {"UnknownRepresentation", app, "00040000 00000000",
     "topic:0: expected the representation of a CDR sample, found 0x4"},
    {"OtherFirstByte", app, "01010000 00000000",
     "topic:0: expected the representation of a CDR sample, found 0x101"},
    {"EndsWithinAValue", structure({{"a", octet}, {"b", int64}}), "00010000 01 00000000000000 01020304",
     "topic:12: expected 8 bytes for values, found 4"},
    {"EndsWithinARun", structure({{"a", int32}, {"b", int32}}, appendable), "00010000 01000000 0200",
     "topic:8: expected 4 bytes for a value, found 2"},
    {"EndsWithinPadding", structure({{"a", octet}, {"b", int64}}), "00010000 01 00",
     "topic:6: expected 8 bytes for values, found 0"},
    {"EndsWithinAString", single(text), "00010000 06000000 6162",
     "topic:8: expected 6 bytes for a string, found 2"},
    {"StringWithoutItsEnd", single(text), "00010000 02000000 6162",
     "topic:9: expected the zero byte that ends a string, found another"},
    {"StringBeyondItsBound", single(string_type(2)), "00010000 04000000 61626300",
     "topic:4: expected at most 2 characters, found 3"},
    {"SequenceBeyondItsBound", single(sequence_type(octet, 2)), "00010000 03000000 010203",
     "topic:4: expected at most 2 elements, found 3"},
    {"CountBeyondThePayload", single(sequence_type(single(float64))), "00010000 00000010 0000000000000000",
     "topic:4: expected the number of the elements that follow, found 268435456 with 8 bytes left"},
    {"CountAboveAllBounds", single(sequence_type(octet)), "00010000 ffffffff",
     "topic:4: expected at most 2147483647 elements, found 4294967295"},
    {"CountOfNothing", single(sequence_type(empty)), "00010000 ffffff7f",
     "topic:8: expected at most 65536 elements without content, found 2147483647"},
    {"CountOfNothingInSum", single(sequence_type(array_type(empty, {40000}))), "00010000 02000000",
     "topic:8: expected at most 65536 elements without content, found 80002"},
    {"DelimiterBeyondThePayload", app, "00090000 09000000 01000000 02",
     "topic:8: expected 9 bytes for a delimited value, found 5"},
    {"ValueBeyondItsDelimiter", structure({{"v", app}, {"y", octet}}), "00070000 02000000 01000000 02 09",
     "topic:8: expected 4 bytes for a value, found 2"},
    {"ParameterBeyondThePayload", parts, "00030000 0200ff00 01000000",
     "topic:8: expected 255 bytes for a parameter, found 4"},
    {"ValueBeyondItsParameter", parts, "00030000 02000400 05000000 023f0000",
     "topic:12: expected 5 bytes for a string, found 0"},
    {"ListWithoutItsEnd", parts, "00030000 01000100 07 000000",
     "topic:12: expected 4 bytes for a parameter header, found 0"},
    {"OptionalMemberAtAListsEnd", structure({optional("a", octet)}), "00010000 023f0000",
     "topic:8: expected an optional member, found the end of a list"},
    {"MemberBeyondItsDelimiter", parts, "000b0000 08000000 01000050 01000000 00",
     "topic:12: expected 5 bytes for a member, found 4"},
    {"UnionWithoutDiscriminator", choice, "000b0000 00000000",
     "topic:8: expected a discriminator, found none"},
    {"WideStringOfHalfAUnit", single(wstring_type()), "00010000 01000000 61",
     "topic:4: expected an even number of bytes for a wide string, found 1"},
    {"UnknownMemberToBeUnderstood", parts, "000b0000 08000000 770000a0 00000000",
     "topic:12: expected a member of the type, found one with the id 119 that has to be understood"},
    {"UnknownParameterToBeUnderstood", parts, "00030000 7740 0400 00000000 023f0000",
     "topic:8: expected a member of the type, found one with the id 119 that has to be understood"},
    {"UnknownLongParameterToBeUnderstood", parts, "00030000 017f0800 77000040 04000000 00000000 027f0000",
     "topic:16: expected a member of the type, found one with the id 119 that has to be understood"},
    {"RosSampleOfALongerType", single(int16), "00010000 0100 00000000",
     "topic:6: expected the end of the sample, found 4 more bytes", Writer::ROS2},
    {"ExcludedSequenceBeyondThePayload",
     structure({{"a", sequence_type(octet)}, {"b", octet}}),
     "00010000 05000000 0102",
     "topic:4: expected the number of the elements that follow, found 5 with 2 bytes left",
     {},
     "a"},
    {"ExcludedCountOfNothing",
     structure({{"a", sequence_type(empty)}, {"b", sequence_type(empty)}}),
     "00010000 00000100 01000000",
     "topic:12: expected at most 65536 elements without content, found 65537",
     {},
     "a"},
    {"FlagOfOptionalBeyondTheEnd", structure({optional("a", octet)}), "00070000",
     "topic:4: expected 1 byte for the flag of an optional member, found 0"},
};

std::shared_ptr<const cdr::View> excluding(std::string_view path) {
    cdr::View marks{.shape = path.empty() ? cdr::View::Shape::EXCLUDED : cdr::View::Shape::PARTS};
    const std::string_view name = path.substr(0, path.find('.'));
    const std::string_view rest = path.substr(std::min(name.size() + 1, path.size()));
    if (name == "*")
        marks.element = excluding(rest);
    else if (!name.empty())
        marks.members.emplace(name, excluding(rest));
    return std::make_shared<const cdr::View>(std::move(marks));
}

/// The text of the sample, or of its only member when that is called "v".
std::string print(const SampleCase& c) {
    SamplePrinter printer(c.type, "topic", c.writer, {},
                          c.excluded.empty() ? nullptr : excluding(c.excluded));
    const std::string printed = print_json(printer, bytes_of(c.payload)).text;
    return c.text[0] != '{' && printed.starts_with("{v: ") ? printed.substr(4, printed.size() - 5) : printed;
}

class Value : public testing::TestWithParam<SampleCase> {};
class Damage : public testing::TestWithParam<SampleCase> {};

}  // namespace

TEST_P(Value, HasItsText) {
    EXPECT_EQ(GetParam().text, print(GetParam()));
}
INSTANTIATE_TEST_SUITE_P(Values, Value, testing::ValuesIn(values), CaseName());
INSTANTIATE_TEST_SUITE_P(Exclusions, Value, testing::ValuesIn(exclusions), CaseName());
INSTANTIATE_TEST_SUITE_P(Encodings, Value, testing::ValuesIn(encodings), CaseName());

TEST_P(Damage, IsAnErrorWithItsPlace) {
    try {
        FAIL() << "printed " << print(GetParam());
    } catch (const InputError& error) {
        EXPECT_STREQ(GetParam().text, error.what());
    }
}
INSTANTIATE_TEST_SUITE_P(, Damage, testing::ValuesIn(damage), CaseName());

TEST(SamplePrinter, FindsWhatItsTextDoesNotShow) {
    const auto findings_of = [](const DynamicTypeImpl& type, std::string_view payload) {
        SamplePrinter printer(type, "topic");
        const cdr::Findings found = print_json(printer, bytes_of(payload)).findings;
        return std::to_string(found.left_over) + (found.unknown_members ? " unknown" : "") +
               (found.absent_members ? " absent" : "") + (found.invalid_text ? " invalid" : "");
    };
    EXPECT_EQ("5", findings_of(single(int16), "00010000 0100 0102030405"));
    EXPECT_EQ("0", findings_of(structure({optional("a", octet)}, mutable_form), "000b0000 00000000"));
    EXPECT_EQ("0 absent", findings_of(app, "00090000 04000000 01000000"));
    EXPECT_EQ("0 unknown", findings_of(app, "00090000 06000000 01000000 02 03"));
    const auto one_member = structure({with_id("a", octet, 1)}, mutable_form);
    EXPECT_EQ("0", findings_of(one_member, "000b0000 0c000000 01000040 04000000 01 000000"));
    EXPECT_EQ("0 unknown", findings_of(one_member, "000b0000 0d000000 01000040 05000000 01 00000000"));
    EXPECT_EQ("0 unknown absent", findings_of(parts, "000b0000 05000000 77000000 01"));
    EXPECT_EQ("0", findings_of(single(text), "00010000 03000000 c3a9 00"));
    EXPECT_EQ("0 invalid", findings_of(single(text), "00010000 03000000 e9e9 00"));
    EXPECT_EQ("0 invalid", findings_of(single(wstring_type()), "00010000 02000000 00dc"));
    EXPECT_EQ("0 invalid", findings_of(single(kind(TypeKind::CHAR_16_TYPE)), "00010000 00dc"));
}

std::string value_text(std::string_view given, printing::TextStyle style) {
    std::string room(100, '#');
    ZUNXMLSaveContext context{.text = room.data(), .capacity = 100};
    printing::append_text(&context, given, style);
    return room.substr(0, context.length);
}

TEST(ValueText, IsNoFormulaForSpreadsheets) {
    const struct {
        std::string_view text, safe;
    } cases[] = {
        {"=1+1", "'=1+1"},
        {"+1", "'+1"},
        {"-1", "'-1"},
        {"@A1", "'@A1"},
        {"\t=1", "'\t=1"},
        {"\r=1", "\"'\r=1\""},
        {"=a,\"b\"", "\"'=a,\"\"b\"\"\""},
        {"=\xff", "'=\\xff"},
        {"a=1", "a=1"},
        {"'=1", "'=1"},
        {"", "\"\""},
        {"\xc3\xa9=", "\xc3\xa9="},
    };
    for (const auto& [given, safe] : cases)
        EXPECT_EQ(safe, value_text(given, {.spreadsheet_safe = true}));
    EXPECT_EQ("=1+1", value_text("=1+1", {}));
    const auto safe_text_of = [](const DynamicTypeImpl& type, std::string_view payload) {
        SamplePrinter printer(single(type), "topic", Writer::UNKNOWN, {.spreadsheet_safe = true});
        return print_json(printer, bytes_of(payload)).text;
    };
    EXPECT_EQ("{v: \"'=,\"\"\"}", safe_text_of(wstring_type(), "00010000 06000000 3d00 2c00 2200"));
    EXPECT_EQ("{v: a=}", safe_text_of(wstring_type(), "00010000 04000000 6100 3d00"));
    EXPECT_EQ("{v: '-}", safe_text_of(kind(TypeKind::CHAR_8_TYPE), "00010000 2d"));
    EXPECT_EQ("{v: '@}", safe_text_of(kind(TypeKind::CHAR_16_TYPE), "00010000 4000"));
    EXPECT_EQ("{v: -1}", safe_text_of(int16, "00010000 ffff"));
}

TEST(ValueText, ReplacesWhatIsNoText) {
    const struct {
        std::string_view text, escaped, replaced;
    } cases[] = {
        {"\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80\xf4\x8f\xbf\xbf", "é€😀\xf4\x8f\xbf\xbf",
         "é€😀\xf4\x8f\xbf\xbf"},
        {"a\x80z", "a\\x80z", "a\uFFFDz"},
        {"\xe2\x82z", "\\xe2\\x82z", "\uFFFDz"},  // cut
        {"\xf0\x9f\x98", "\\xf0\\x9f\\x98", "\uFFFD"},
        {"\xc0\xaf", "\\xc0\\xaf", "\uFFFD\uFFFD"},  // not the shortest form
        {"\xe0\x9f\xbf", "\\xe0\\x9f\\xbf", "\uFFFD\uFFFD\uFFFD"},
        {"\xed\xa0\x80", "\\xed\\xa0\\x80", "\uFFFD\uFFFD\uFFFD"},  // half of a pair
        {"\xf4\x90\x80\x80", "\\xf4\\x90\\x80\\x80", "\uFFFD\uFFFD\uFFFD\uFFFD"},
        {"aaaaaaaaaaaaaaaaéaaaaaaaaaaaaaaaa\xff,", "\"aaaaaaaaaaaaaaaaéaaaaaaaaaaaaaaaa\\xff,\"",
         "\"aaaaaaaaaaaaaaaaéaaaaaaaaaaaaaaaa\uFFFD,\""},
    };
    for (const auto& [given, escaped, replaced] : cases) {
        EXPECT_EQ(escaped, value_text(given, {printing::InvalidText::ESCAPE}));
        EXPECT_EQ(replaced, value_text(given, {printing::InvalidText::REPLACE}));
    }
    EXPECT_EQ("\xff\xe2\x82", value_text("\xff\xe2\x82", {printing::InvalidText::RAW}));
}

TEST(SamplePrinter, KeepsToTheReadingThatHasFitted) {
    const auto payload =
        bytes_of("00010000 02000000 6800 0000");  // "h" and padding, or "h" and a zero character
    SamplePrinter printer(single(wstring_type()), "topic");
    EXPECT_EQ("{v: h}", print_json(printer, payload).text);
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ("{v: hey}", print_json(printer, bytes_of("00010000 03000000 6800 6500 7900")).text);
    EXPECT_EQ("{v: h\\x00}", print_json(printer, payload).text);
}

TEST(SamplePrinter, TakesDamageForWhatItIsOnceAReadingIsProven) {
    SamplePrinter printer(structure({{"a", sequence_type(color)}, {"y", octet}}), "topic");
    print_json(printer, bytes_of("00070003 0c000000 02000000 00000000 02000000 09"));
    EXPECT_THROW(print_json(printer, bytes_of("00070003 02000000 00000000 01000000 09 01")), InputError);
}

TEST(SamplePrinter, CountsTextBeyondTheCapacity) {
    struct Plain final : printing::ElementRuns {
        std::uint32_t take_plain_elements(std::uint32_t count) override { return count; }
    } plain;
    const auto type = structure({{"a", float64}, {"t", text}, {"s", sequence_type(int32)}});
    const auto payload =
        bytes_of("00010000 000000000000e03f 05000000 612c2262 00 000000 02000000 01000000 02000000");
    SamplePrinter printer(type, "topic");
    DDS_PrintFormat format;
    DDS_PrintFormat_initialize(&format, 0);
    for (std::uint32_t capacity = 0; capacity < 80; ++capacity) {
        for (const std::string whole : {"0.5\"a,\"\"b\"12", "0.5\"a,\"\"b\",1,2"}) {
            std::string room(capacity + 40, '#');
            ZUNXMLSaveContext context{.text = room.data(), .capacity = capacity};
            printer.print(format, context, payload, nullptr, {}, whole.ends_with(",2") ? &plain : nullptr);
            EXPECT_EQ(whole.size(), context.length);
            EXPECT_EQ(std::string(40, '#'), room.substr(capacity));
            if (context.length > capacity) continue;
            EXPECT_EQ(whole, room.substr(0, context.length));
        }
    }
}

TEST(SamplePrinter, LetsExceptionsOfCallbacksOut) {
    DDS_PrintFormat format;
    DDS_PrintFormat_initialize(&format, 0);
    format.print_primitive_type_ending = [](auto, auto, auto, int) { throw std::domain_error("stop"); };
    ZUNXMLSaveContext context;
    SamplePrinter printer(single(int16), "topic");
    EXPECT_THROW(printer.print(format, context, bytes_of("00010000 0100")), std::domain_error);
}

TEST(SamplePrinter, RefusesTypesThatNobodyCanDecode) {
    EXPECT_THROW(SamplePrinter(int32, "topic"), std::invalid_argument);
    EXPECT_THROW(SamplePrinter(single(kind(TypeKind::FLOAT_128_TYPE)), "topic"), std::invalid_argument);
    DynamicTypeImpl nested = octet;
    const auto grow = [&nested](int levels) {
        for (int i = 0; i < levels; ++i)
            nested = structure({{"v", nested}});
    };
    grow(99);
    EXPECT_NO_THROW(SamplePrinter(nested, "topic"));
    // A deep type that is known already counts with its depth.
    grow(2);
    EXPECT_THROW(SamplePrinter(structure({{"a", AliasTypeImpl(alias_type("A", nested))}}), "topic"),
                 std::invalid_argument);
}

}  // namespace zun::test

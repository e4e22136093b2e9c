#include "platform/xtypes/TypeBuilder.hpp"

#include <functional>
#include <stdexcept>

#include <gtest/gtest.h>

#include "tests/support/case_files.hpp"

namespace zun::core::xtypes {
namespace {

using test::CaseName;

const DynamicTypeImpl int32 = primitive_type(TypeKind::INT_32_TYPE);

struct RefusedCase {
    const char* name;
    std::function<void()> make;
    const char* reason;
};
void PrintTo(const RefusedCase& c, std::ostream* out) {
    *out << c.name;
}

const RefusedCase refused_cases[] = {
    {"ArrayWithoutDimensions", [] { array_type(int32, {}); },
     "type 'array': an array has at least one dimension"},
    {"ArrayOfNothing",
     [] {
         array_type(int32, {2, 0});
     },
     "type 'array': a dimension has at least one element"},
    {"ArrayBeyondCounting",
     [] {
         array_type(int32, {1U << 16, 1U << 16});
     },
     "type 'array': an array has fewer than 2^32 elements"},
    {"SequenceBound", [] { sequence_type(int32, 1U << 31); },
     "type 'sequence': a bound is at most 2147483647"},
    {"StringBound", [] { string_type(0); }, "type 'string': a bound lies between 1 and 2147483647"},
    {"TwoMembersOfOneName",
     [] {
         struct_type({.name = "S", .members = {{"a", int32}, {"a", int32}}});
     },
     "type 'S': two members are called 'a'"},
    {"MemberOfABase",
     [] {
         const DynamicTypeImpl base = alias_type("A", struct_type({.name = "B", .members = {{"a", int32}}}));
         struct_type({.name = "S", .members = {{"a", int32}}, .base = base});
     },
     "type 'S': two members are called 'a'"},
    {"BaseThatIsNoStructure", [] { struct_type({.name = "S", .members = {}, .base = int32}); },
     "type 'S': the base '' is no structure"},
    {"PlaceholderBesideMembers",
     [] {
         struct_type({.name = "S", .members = {{"a", int32}}, .placeholder_octet = true});
     },
     "type 'S': a placeholder octet stands for no members"},
    {"PlaceholderAsBase",
     [] {
         struct_type(
             {.name = "S", .base = struct_type({.name = "B", .members = {}, .placeholder_octet = true})});
     },
     "type 'S': a placeholder octet is no base"},
    {"MemberWithoutName",
     [] {
         struct_type({.name = "S", .members = {{"", int32}}});
     },
     "type 'S': a member has no name"},
    {"EnumWithoutValues", [] { enum_type({.name = "E", .enumerators = {}}); },
     "type 'E': an enumeration has at least one enumerator"},
    {"EnumValueTwice",
     [] {
         enum_type({.name = "E", .enumerators = {{"A", 1}, {"B", 1}}});
     },
     "type 'E': two enumerators are 1"},
    {"EnumBitBound",
     [] {
         enum_type({.name = "E", .enumerators = {{"A", 1}}, .bit_bound = 33});
     },
     "type 'E': a bit bound lies between 1 and 32"},
    {"BitmaskBitBound", [] { bitmask_type("M", 0); }, "type 'M': a bit bound lies between 1 and 64"},
    {"BitSetTooWide",
     [] {
         bitset_type("B", {{"a", 60}, {"", 5}});
     },
     "type 'B': a bit set has 1 to 64 bits"},
    {"UnionByString", [] { union_type({.name = "U", .discriminator = string_type(), .members = {}}); },
     "type 'U': the discriminator is no boolean, character, integer, enumeration or bit mask"},
    {"UnionLabelTwice",
     [] {
         union_type({.name = "U", .discriminator = int32, .members = {{"a", int32, {1}}, {"b", int32, {1}}}});
     },
     "type 'U': two members have the label 1"},
    {"UnionTwoDefaults",
     [] {
         union_type({.name = "U",
                     .discriminator = int32,
                     .members = {{"a", int32, {}, true}, {"b", int32, {}, true}}});
     },
     "type 'U': two members are the default"},
    {"UnionMemberLikeItsDiscriminator",
     [] {
         union_type({.name = "U", .discriminator = int32, .members = {{"_d", int32, {1}}}});
     },
     "type 'U': two members are called '_d'"},
};

class Refused : public testing::TestWithParam<RefusedCase> {};

TEST_P(Refused, SaysWhy) {
    try {
        GetParam().make();
        FAIL() << "was made";
    } catch (const std::invalid_argument& error) {
        EXPECT_STREQ(GetParam().reason, error.what());
    }
}
INSTANTIATE_TEST_SUITE_P(, Refused, testing::ValuesIn(refused_cases), CaseName());

TEST(MemberIds, CountOnFromThePreviousOneAndFromTheBase) {
    const DynamicTypeImpl base = struct_type(
        {.name = "B", .members = {{"a", int32, 10}, {"b", int32}, {"c", int32, 3}, {"d", int32}}});
    const StructTypeImpl derived(struct_type({.name = "D", .members = {{"e", int32}}, .base = base}));
    EXPECT_EQ(11U, StructTypeImpl(base).member(1).id());
    EXPECT_EQ(4U, StructTypeImpl(base).member(3).id());
    EXPECT_EQ(5U, derived.member(0).id());
    EXPECT_EQ(base.node(), derived.parent().node());
}

TEST(TypeCode, IsATypeWhileItIsFilled) {
    DDS_TypeCode code;
    EXPECT_THROW(DynamicTypeImpl{code}, std::logic_error);
    DynamicTypeNativeAdapter::copy(code, DDS_g_tc_ulong);
    EXPECT_EQ(TypeKind::UINT_32_TYPE, DynamicTypeImpl(code).kind());
    EXPECT_THROW(ArrayTypeImpl{DynamicTypeImpl(code)}, std::logic_error);
    DynamicTypeNativeAdapter::finalize(code);
    EXPECT_TRUE(code.empty());
}

TEST(BitSet, CountsUnnamedBits) {
    const StructTypeImpl type(bitset_type("B", {{"a", 3}, {"", 4}, {"b", 10, int32}, {"", 2}}));
    EXPECT_EQ(19U, type.bit_size());
    EXPECT_EQ(7, type.bit_fields()[1].position);
    EXPECT_EQ(TypeKind::INT_32_TYPE, type.member(1).type().kind());
}

}  // namespace
}  // namespace zun::core::xtypes

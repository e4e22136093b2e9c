#include "platform/cdr/LengthMeter.hpp"

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

using Lengths = std::vector<std::uint32_t>;  // by field

}  // namespace

TEST(LengthMeter, KeepsTheLongestOfAllSamplesAndElements) {
    const auto part = structure({{"a", bytes}, {"b", bytes}});
    LengthMeter meter(structure({{"pair", array_type(part, {2})}, {"last", sequence_type(part)}}), "topic");
    meter.measure(
        bytes_of("00010000 01000000 07 000000 00000000 03000000 070707 00 02000000 0707 0000 01000000"
                 "00000000 00000000"));
    meter.measure(bytes_of("00000000 00000000 00000002 0707 0000 00000000 00000000 00000000"));
    EXPECT_EQ((Lengths{3, 2, 1, 0, 0}), meter.longest());  // pair.a, pair.b, last, last.a, last.b
}

TEST(LengthMeter, CountsEachSampleOnceByItsLongest) {
    const auto part = structure({{"a", bytes}});
    LengthMeter meter(structure({{"parts", sequence_type(part)}, {"last", bytes}}), "topic");
    const char* const samples[] = {
        "00010000 02000000 01000000 07 000000 03000000 070707 00 00000000",  // parts.a 1 and 3
        "00010000 01000000 02000000 0707 0000 00000000",
        "00010000 00000000 00000000",
        "00010000 01000000 05000000 0707070707 000000 00000000",
    };
    for (const char* const sample : samples)
        meter.measure(bytes_of(sample));
    EXPECT_THROW(meter.measure(bytes_of("00010000 01000000 09000000 07")), InputError);
    EXPECT_EQ(4U, meter.samples());
    std::string counts;
    for (const LengthSpread& spread : meter.spreads()) {
        for (const auto& [count, longest] : spread.classes())
            counts += std::to_string(count) + "x" + std::to_string(longest) + " ";
        counts += "; ";
    }
    EXPECT_EQ("2x1 1x2 ; 0x0 2x3 1x5 ; ; ", counts);
}

TEST(LengthMeter, HasNoFieldsInExcludedMembers) {
    const auto whole = std::make_shared<const View>(View{.shape = View::Shape::EXCLUDED});
    const auto excluded = std::make_shared<const View>(View{.members = {{"a", whole}}});
    const auto part = structure({{"b", bytes}});
    LengthMeter meter(structure({{"a", sequence_type(part)}, {"c", bytes}}), "topic", Writer::UNKNOWN,
                      excluded);
    meter.measure(bytes_of("00010000 02000000 01000000 07 000000 00000000 03000000 070707"));
    EXPECT_EQ((Lengths{3}), meter.longest());
}

TEST(LengthMeter, LeavesOutWhatIsNoSample) {
    LengthMeter meter(
        structure({{"a", bytes}, {"b", sequence_type(structure({{"c", bytes}}))}, {"d", bytes}}), "topic");
    EXPECT_THROW(meter.measure(bytes_of("00010000 02000000 0707 0000 01000000 09000000 07")), InputError);
    meter.measure(bytes_of("00010000 00000000 00000000 01000000 07"));
    EXPECT_EQ((Lengths{0, 0, 0, 1}), meter.longest());
}

TEST(LengthMeter, RefusesATypeOfMoreFieldsThanAnyFileHasColumns) {
    DynamicTypeImpl type = bytes;
    for (int i = 0; i < 80; ++i)
        type = structure({{"a", type}, {"b", type}});
    EXPECT_THROW(LengthMeter(type, "topic"), std::invalid_argument);
}

}  // namespace zun::cdr

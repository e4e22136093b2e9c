#include "format/PrintFormatCsv.hpp"

#include <cstdlib>
#include <new>

#include <gtest/gtest.h>

#include "platform/xtypes/TypeBuilder.hpp"
#include "tests/support/RowPrinter.hpp"
#include "tests/support/case_files.hpp"

// Every allocation of this program is counted, and one of them can be made to fail.
namespace {
std::size_t allocations_alive = 0;
std::size_t allocations_to_failure = SIZE_MAX;
std::size_t records_initialized = 0;
std::size_t records_finalized = 0;
}  // namespace

// Inlined, one looks to GCC as if it had nothing to do with the other.
[[gnu::noinline]] void* operator new(std::size_t size) {
    if (allocations_to_failure != SIZE_MAX && allocations_to_failure-- == 0) throw std::bad_alloc();
    ++allocations_alive;
    if (void* const memory = std::malloc(size)) return memory;
    throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* memory) noexcept {
    allocations_alive -= memory != nullptr ? 1 : 0;
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    operator delete(memory);
}

// The linker puts these around the engine's own.
extern "C" bool real_initialize(DDS_PrintFormat*,
                                int) __asm__("__real__Z26DDS_PrintFormat_initializeP15DDS_PrintFormati");
extern "C" bool wrap_initialize(DDS_PrintFormat*,
                                int) __asm__("__wrap__Z26DDS_PrintFormat_initializeP15DDS_PrintFormati");
extern "C" void real_finalize(DDS_PrintFormat*,
                              int) __asm__("__real__Z24DDS_PrintFormat_finalizeP15DDS_PrintFormati");
extern "C" void wrap_finalize(DDS_PrintFormat*,
                              int) __asm__("__wrap__Z24DDS_PrintFormat_finalizeP15DDS_PrintFormati");
bool wrap_initialize(DDS_PrintFormat* format, int reserved) {
    ++records_initialized;
    return real_initialize(format, reserved);
}
void wrap_finalize(DDS_PrintFormat* format, int reserved) {
    ++records_finalized;
    real_finalize(format, reserved);
}

namespace zun::test {
namespace {

using namespace core::xtypes;
using tamber::utils::ColumnInfo;
using tamber::utils::PrintFormatCsv;
using tamber::utils::PrintFormatCsvProperty;
using Messages = std::vector<std::string>;

const DynamicTypeImpl int32 = primitive_type(TypeKind::INT_32_TYPE);

DynamicTypeImpl structure(std::vector<MemberSpec> members) {
    return struct_type({.name = "T", .members = std::move(members)});
}

/// Calls the slots of a converter's record by hand, as an engine would.
struct HandDriven {
    HandDriven(const PrintFormatCsvProperty& property, const DynamicTypeImpl& type,
               std::size_t capacity = 4096)
        : settings(property),
          buffer(capacity),
          converter(settings, type, header, buffer),
          record(*converter.native()) {
        context = {.text = buffer.data(), .capacity = static_cast<std::uint32_t>(buffer.size())};
    }
    void beginning() { record.print_top_level_beginning(&record, &context, nullptr, 0); }
    void ending() { record.print_top_level_ending(&record, &context, nullptr, 0); }
    void member(const char* name, const char* text) {
        record.print_primitive_type_beginning(&record, &context, name, 99);
        ZUNXMLSaveContext_appendString(&context, text);
        record.print_primitive_type_ending(&record, &context, name, -1);
    }
    void item(unsigned int index, const char* text) {
        record.print_primitive_item_beginning(&record, &context, index, 7);
        ZUNXMLSaveContext_appendString(&context, text);
        record.print_primitive_item_ending(&record, &context, index, 7);
    }
    void items(const char* name, std::initializer_list<const char*> texts) {
        record.print_array_beginning(&record, &context, name, 0);
        unsigned int index = 0;
        for (const char* text : texts)
            item(index++, text);
        record.print_array_ending(&record, &context, name, 0);
    }
    std::string text() const { return {buffer.data(), context.length}; }

    PrintFormatCsvProperty settings;  // the converter reads it for as long as it lives
    std::ostringstream header;
    std::vector<char> buffer;
    PrintFormatCsv converter;
    DDS_PrintFormat& record;
    ZUNXMLSaveContext context;
};

PrintFormatCsvProperty limited(std::uint32_t limit) {
    PrintFormatCsvProperty property = PrintFormatCsv::PROPERTY_DEFAULT();
    property.add_unbounded_seq_limit("*", limit);
    return property;
}

// Made before main(), whatever else is made then.
HandDriven early(limited(1), structure({{"list", sequence_type(int32)}}));

TEST(Construction, WorksDuringStaticInitialisation) {
    EXPECT_EQ("timestamp,list.length,list[0]\n", early.header.str());
}

TEST(Settings, DefaultsDiffer) {
    const PrintFormatCsvProperty made;
    EXPECT_EQ("", made.empty_member_value_representation());
    EXPECT_FALSE(made.enum_as_string());
    EXPECT_FALSE(made.include_source_timestamp());
    EXPECT_EQ("nil", PrintFormatCsv::PROPERTY_DEFAULT().empty_member_value_representation());
    EXPECT_TRUE(PrintFormatCsv::PROPERTY_DEFAULT().enum_as_string());
    EXPECT_FALSE(PrintFormatCsv::PROPERTY_DEFAULT().include_source_timestamp());
    EXPECT_EQ(&PrintFormatCsv::PROPERTY_DEFAULT(), &PrintFormatCsv::PROPERTY_DEFAULT());
}

struct LimitCase {
    const char* name;
    const char* full_name;
    std::uint32_t limit;
    const char* message;
};
void PrintTo(const LimitCase& c, std::ostream* out) {
    *out << c.name;
}

const LimitCase limit_cases[] = {
    {"FirstInByteOrder", "pos_list", 50,
     "Field (full name) 'pos_list': positive match against expression: '*_list', sequence limit applied: 50"},
    {"OverwrittenKeepsItsPlace", "position", 20,
     "Field (full name) 'position': positive match against expression: 'pos*', sequence limit applied: 20"},
    {"UpperCaseIsAnother", "Position", 1000,
     "warn: Unbounded sequence field (full name) 'Position': no match against any sequence limit expression, "
     "using default sequence limit (1000)"},
    {"WildcardTakesDots", "a.b.c_list", 50,
     "Field (full name) 'a.b.c_list': positive match against expression: '*_list', sequence limit applied: "
     "50"},
    {"ZeroIsALimit", "none", 0,
     "Field (full name) 'none': positive match against expression: 'n?n[e]', sequence limit applied: 0"},
};

class SeqLimit : public testing::TestWithParam<LimitCase> {};

TEST_P(SeqLimit, IsThatOfTheFirstMatch) {
    PrintFormatCsvProperty property;
    property.add_unbounded_seq_limit("pos*", 10);
    property.add_unbounded_seq_limit("n?n[e]", 0);
    property.add_unbounded_seq_limit("*_list", 50);
    property.add_unbounded_seq_limit("pos*", 20);
    const LogCapture log;
    EXPECT_EQ(GetParam().limit, property.seq_limit_for_field(GetParam().full_name));
    EXPECT_EQ(Messages{GetParam().message}, log.messages);
}
INSTANTIATE_TEST_SUITE_P(, SeqLimit, testing::ValuesIn(limit_cases), CaseName());

TEST(Columns, CopyKeepsItsParentAndFullName) {
    ColumnInfo root("", structure({}));
    ColumnInfo& pose = root.add_child(ColumnInfo("pose", structure({})));
    const ColumnInfo& x = pose.add_child(ColumnInfo("x", int32));
    root.add_child(ColumnInfo("later", int32));
    const ColumnInfo copy(pose);
    EXPECT_EQ(&root, copy.parent());
    EXPECT_EQ(&pose, copy.first_child()->parent());
    EXPECT_EQ("pose.x", x.full_name());
    EXPECT_EQ("pose.x", copy.first_child()->full_name());
}

TEST(Columns, MadeByHandHaveEmptyCells) {
    ColumnInfo root("", structure({}));
    ColumnInfo& first = root.add_child(ColumnInfo("first", structure({})));
    root.add_child(ColumnInfo("later", int32));
    early.converter.build_complex_member_column_info(
        first, StructTypeImpl(structure({{"x", int32}, {"y", array_type(int32, {2})}})));
    EXPECT_EQ(4U, root.leaf_count());
    early.context.length = 0;
    PrintFormatCsv::skip_cursor_columns(root.first_child(), &early.context, "-");
    EXPECT_EQ(",-,-,-", early.text());
    EXPECT_EQ(4U, root.number_leaves(0));
    first.add_child(ColumnInfo("z", int32));
    EXPECT_EQ(5U, root.leaf_count());
}

TEST(Construction, NamesTheRowsOfEachLimitOnce) {
    const LogCapture log;
    const DynamicTypeImpl inner = structure({{"values", sequence_type(int32)}});
    const HandDriven driven(
        limited(2), structure({{"list", sequence_type(inner, 1)}, {"fixed", sequence_type(int32, 1)}}));
    EXPECT_EQ(
        "timestamp,list.length,list[0].values.length,list[0].values[0],list[0].values[1],fixed.length,fixed["
        "0]\n",
        driven.header.str());
    EXPECT_EQ((Messages{"Field (full name) 'list[0].values': positive match against expression: '*', "
                        "sequence limit applied: 2",
                        "Setting unbounded sequence limit for field 'values' to 2"}),
              log.messages);
    EXPECT_EQ(&driven.converter, PrintFormatCsv::from_native(&driven.record));
    EXPECT_EQ(1, driven.record.enum_as_string);
}

/// A stream whose every write fails with an exception.
struct Broken : std::streambuf {
    int overflow(int) override { throw std::runtime_error("broken"); }
};

TEST(Construction, ReleasesWhatItAcquiredWhereverItFails) {
    const PrintFormatCsvProperty property = limited(2);
    const DynamicTypeImpl type =
        structure({{"grid", array_type(int32, {2, 2})}, {"values", sequence_type(int32)}});
    std::vector<char> buffer;
    std::size_t failures = 0;
    for (bool failed = true; failed; ++failures) {
        records_initialized = records_finalized = 0;
        std::ostream nowhere(nullptr);
        const std::size_t before = allocations_alive;
        allocations_to_failure = failures;
        try {
            const PrintFormatCsv converter(property, type, nowhere, buffer);
            failed = false;
        } catch (const std::bad_alloc&) {
        }
        allocations_to_failure = SIZE_MAX;
        EXPECT_EQ(before, allocations_alive) << failures;
        EXPECT_EQ(1U, records_initialized) << failures;
        EXPECT_EQ(1U, records_finalized) << failures;
    }
    EXPECT_GT(failures, 10U);

    Broken broken;
    std::ostream stream(&broken);
    stream.exceptions(std::ios::badbit);
    EXPECT_THROW(PrintFormatCsv(property, type, stream, buffer), std::runtime_error);
    EXPECT_EQ(records_initialized, records_finalized);
}

TEST(Row, SequenceBeyondItsLimitIsCutAndLogged) {
    HandDriven driven(limited(3), structure({{"values", sequence_type(int32)}}));
    const LogCapture log;
    driven.beginning();
    driven.items("values", {"1", "2", "3", "4", "5"});
    driven.ending();
    EXPECT_EQ(",              3,1,2,3", driven.text());
    EXPECT_EQ('\0', driven.buffer[driven.context.length]);
    const std::string at_3 =
        "Field 'values': Sequence limit (3) reached (collection index: 3), this and next item(s) will be "
        "ignored";
    const std::string at_4 =
        "Field 'values': Sequence limit (3) reached (collection index: 4), this and next item(s) will be "
        "ignored";
    EXPECT_EQ((Messages{at_3, at_3, at_4, at_4, "  -- Sequence limit reached for column 'values'"}),
              log.messages);
}

TEST(Row, LogsMembersOfDroppedElements) {
    const DynamicTypeImpl element = structure({{"x", int32}});
    HandDriven driven(limited(0), structure({{"list", sequence_type(element)}}));
    const LogCapture log;
    driven.beginning();
    driven.record.print_array_beginning(&driven.record, &driven.context, "list", 0);
    driven.record.print_complex_item_beginning(&driven.record, &driven.context, 0, 0);
    driven.member("x", "1");
    driven.record.print_complex_item_ending(&driven.record, &driven.context, 0, 0);
    driven.record.print_array_ending(&driven.record, &driven.context, "list", 0);
    driven.ending();
    EXPECT_EQ(",              0", driven.text());
    const std::string item =
        "Field 'list': Sequence limit (0) reached (collection index: 0), this and next item(s) will be "
        "ignored";
    const std::string inside = "  -- Sequence limit reached for column 'list'";
    EXPECT_EQ((Messages{item, inside, inside, item, inside}), log.messages);
}

TEST(Row, MembersThatAreNotAnnouncedGetEmptyCells) {
    const DynamicTypeImpl two = structure({{"p", int32}, {"q", int32}});
    PrintFormatCsvProperty property = limited(2);
    HandDriven driven(property,
                      structure({{"a", two}, {"list", sequence_type(int32)}, {"b", int32}, {"c", int32}}));
    driven.beginning();
    driven.member("b", "1");
    driven.settings.empty_member_value_representation("");
    driven.ending();
    EXPECT_EQ(",nil,nil,nil,nil,nil,1", driven.text());
    driven.context.length = 0;
    driven.beginning();
    driven.member("c", "2");
    EXPECT_EQ(",,,,,,,2", driven.text());
}

TEST(Row, StartsAnewAfterHalfASample) {
    const DynamicTypeImpl two = structure({{"p", int32}});
    HandDriven driven(limited(0), structure({{"a", two}, {"list", sequence_type(sequence_type(int32))}}));
    driven.beginning();
    driven.record.print_array_beginning(&driven.record, &driven.context, "list", 0);
    driven.record.print_array_item_beginning(&driven.record, &driven.context, 0, 0);
    driven.context.length = 0;
    driven.beginning();
    driven.record.print_complex_type_beginning(&driven.record, &driven.context, "a", 0);
    driven.member("p", "1");
    driven.record.print_complex_type_ending(&driven.record, &driven.context, "a", 0);
    driven.items("list", {});
    driven.ending();
    EXPECT_EQ(",1,              0", driven.text());
    EXPECT_FALSE(driven.converter.has_parent());
    driven.ending();  // nothing is open: does nothing
}

TEST(Row, NeedsMemoryOnlyWhereItIsDeeperThanAnyBefore) {
    HandDriven driven(limited(0), structure({{"list", sequence_type(int32)}}));
    allocations_to_failure = 0;
    EXPECT_THROW(driven.beginning(), std::bad_alloc);
    driven.converter.advance_cursor();
    EXPECT_FALSE(driven.converter.sequence_limit_reached());
    EXPECT_FALSE(driven.converter.sequence_limit_reached(5, &driven.context));
    for (const std::size_t allowed : {SIZE_MAX, std::size_t{0}}) {
        driven.context.length = 0;
        allocations_to_failure = allowed;
        driven.beginning();
        driven.items("list", {"1"});
        driven.ending();
        allocations_to_failure = SIZE_MAX;
        EXPECT_EQ(",              0", driven.text());
    }
}

TEST(Row, UnknownOrMissingNamesAreLogicErrors) {
    HandDriven driven(limited(1), structure({{"a", int32}, {"list", sequence_type(int32)}}));
    driven.beginning();
    driven.member("a", "1");
    EXPECT_THROW(driven.member("a", "1"), std::logic_error);
    driven.beginning();
    EXPECT_THROW(driven.member(nullptr, "1"), std::logic_error);
    EXPECT_THROW(driven.record.print_array_beginning(&driven.record, &driven.context, nullptr, 0),
                 std::logic_error);
    EXPECT_THROW(driven.record.print_complex_type_beginning(&driven.record, &driven.context, "b", 0),
                 std::logic_error);
    const char* const no_name = nullptr;
    EXPECT_THROW(driven.converter.skip_cursor(no_name, &driven.context), std::logic_error);
    EXPECT_THROW(driven.converter.leave_sequence_context(no_name, &driven.context), std::logic_error);
}

TEST(Row, ItemsBeyondAnArraysColumnsAreLogicErrors) {
    HandDriven driven(limited(1), structure({{"a", array_type(structure({}), {1})}}));
    driven.beginning();
    driven.record.print_array_beginning(&driven.record, &driven.context, "a", 0);
    driven.converter.advance_cursor();
    EXPECT_THROW(driven.record.print_complex_item_beginning(&driven.record, &driven.context, 1, 0),
                 std::logic_error);
    EXPECT_THROW(driven.record.print_array_item_beginning(&driven.record, &driven.context, 1, 0),
                 std::logic_error);
}

TEST(Row, TextThatIsOnlyCounted) {
    HandDriven driven(limited(1), structure({{"list", sequence_type(int32)}, {"a", int32}}));
    driven.context = {};
    driven.beginning();
    driven.items("list", {"1", "2"});
    driven.member("a", "3");
    driven.ending();
    EXPECT_EQ(21U, driven.context.length);  // nothing can be cut where nothing is written
    EXPECT_EQ(0, driven.context.failed);
}

TEST(Row, TextBeyondTheBufferIsCountedAndKeepsWhatFits) {
    HandDriven driven(limited(1), structure({{"list", sequence_type(int32)}, {"a", int32}}), 20);
    driven.beginning();
    driven.items("list", {"1", "2222222222"});
    EXPECT_EQ(",              1,1", driven.text());
    driven.member("a", "12345");
    driven.ending();
    EXPECT_EQ(24U, driven.context.length);
    EXPECT_EQ(",              1,1,", std::string(driven.buffer.data(), 19));
}

TEST(Row, IndexBeyondSignedNumbersMarksTheContextFailed) {
    HandDriven driven(limited(1), structure({{"list", sequence_type(int32)}}));
    driven.beginning();
    driven.record.print_array_beginning(&driven.record, &driven.context, "list", 0);
    driven.item(2147483648U, "1");
    EXPECT_EQ(1, driven.context.failed);
}

}  // namespace
}  // namespace zun::test

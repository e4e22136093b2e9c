// PrintFormatCsv: the CSV format of one type.
//
// In: settings and a type, then the engine's calls for each sample. Out: the header line on a stream at
// construction, then the text of one row per sample in the engine's output context. A row starts with the
// separator of its first column; whoever drives the engine puts the time before it and the line end after it.
//
//     column tree               cursor stack              sequence contexts
//     root                      bottom: on "track"        innermost: "track", placeholder at ",####..."
//     `- track                  top:    on "track[1]"
//        |- track.length
//        |- track[0]
//        `- track[1]

#ifndef ZUN_FORMAT_PRINT_FORMAT_CSV_HPP
#define ZUN_FORMAT_PRINT_FORMAT_CSV_HPP

#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "format/NodeStack.hpp"
#include "format/PrintFormatCsvProperty.hpp"
#include "format/columns/ColumnInfo.hpp"
#include "platform/printing/DDS_PrintFormat.hpp"
#include "platform/printing/ElementRuns.hpp"
#include "platform/xtypes/DynamicType.hpp"

namespace zun::tamber::utils {

class PrintFormatCsv;

/// The default settings: PrintFormatCsv::PROPERTY_DEFAULT().
class PrintFormatCsvPropertyDefaultInitializer : public PrintFormatCsvProperty {
public:
    PrintFormatCsvPropertyDefaultInitializer() {
        empty_member_value_representation("nil").enum_as_string(true);
    }
};

/// One sequence that has begun and not ended.
struct SequenceContext {
    const ColumnInfo* column;  ///< the sequence, whose first child is its length column
    char*
        placeholder_position;  ///< first of the placeholder's characters; null when the text is only counted
    bool limit_reached;        ///< an element beyond the column's bounds was announced
    char* limit_position;      ///< end of the text when that happened; null until then
};

/// The engine's record and the way back from it to its converter; the record lives as long as this does.
class PrintFormatRecord {
public:
    explicit PrintFormatRecord(PrintFormatCsv* converter) : converter_(converter) {
        DDS_PrintFormat_initialize(&record_, 0);
    }
    ~PrintFormatRecord() { DDS_PrintFormat_finalize(&record_, 0); }
    PrintFormatRecord(const PrintFormatRecord&) = delete;
    PrintFormatRecord& operator=(const PrintFormatRecord&) = delete;

    DDS_PrintFormat* get() { return &record_; }
    /// `record` is the record of a PrintFormatRecord, whose first member it is.
    static PrintFormatCsv* converter_of(DDS_PrintFormat* record) {
        return reinterpret_cast<PrintFormatRecord*>(record)->converter_;
    }

private:
    DDS_PrintFormat record_;
    PrintFormatCsv* converter_;
};

/// A type of the converter's own.
class TypeCopy {
public:
    explicit TypeCopy(const core::xtypes::DynamicTypeImpl& type) {
        core::DynamicTypeNativeAdapter::copy(code_, type);
    }
    ~TypeCopy() { core::DynamicTypeNativeAdapter::finalize(code_); }
    TypeCopy(const TypeCopy&) = delete;
    TypeCopy& operator=(const TypeCopy&) = delete;

    core::xtypes::DynamicTypeImpl type() const { return code_; }

private:
    DDS_TypeCode code_;
};

/// The converter: one per type, for any number of samples, one engine call at a time. It stays where it was
/// made: the engine's record, the column tree and the cursor stack all point into it.
class PrintFormatCsv final : public printing::ElementRuns {
public:
    using ColumnIterator = ColumnInfo::Children::const_iterator;

    /// Builds the column tree of `type` and writes the header line to `output`, with a flush.
    ///
    /// `property`, `output`, `buffer`  not copied; must outlive the converter
    /// `buffer`                        holds the text that the engine's output context writes
    /// `type`                          needed during construction only
    PrintFormatCsv(const PrintFormatCsvProperty& property, const core::xtypes::DynamicTypeImpl& type,
                   std::ostream& output, std::vector<char>& buffer);
    PrintFormatCsv(const PrintFormatCsv&) = delete;
    PrintFormatCsv& operator=(const PrintFormatCsv&) = delete;

    /// Empty cells "nil", enumerations by name, one timestamp, no limits. Built on the first call.
    static const PrintFormatCsvProperty& PROPERTY_DEFAULT();

    DDS_PrintFormat* native() { return native_.get(); }
    /// `record` is some converter's native().
    static PrintFormatCsv* from_native(DDS_PrintFormat* record) {
        return PrintFormatRecord::converter_of(record);
    }
    const PrintFormatCsvProperty& property() const { return property_; }
    const ColumnInfo& root_column() const { return root_column_; }

    /// Fills the record with the callbacks and options of the format, the enumeration flag as set now.
    void initialize_native();
    /// Forgets whatever row was under way.
    void start_data_conversion();

    /// "," and the full name of every leaf column at or below `column`; no line end.
    void print_type_header(std::ostream& stream, const ColumnInfo& column) const;

    /// Adds to `column`, made from `type`, all columns below it.
    void build_column_info(ColumnInfo& column, const core::xtypes::DynamicTypeImpl& type);
    /// The same for the members of a structure or union: for StructTypeImpl and UnionTypeImpl.
    template <typename ComplexType>
    void build_complex_member_column_info(ColumnInfo& column, const ComplexType& type);

    /// Those that no limit can touch, whose columns the cursor then has passed.
    std::uint32_t take_plain_elements(std::uint32_t count) override;

    // The cursor: where in the column tree the next value belongs. One frame a level of nesting.

    /// The current column, or the end of its siblings. Only with a frame on the stack.
    ColumnIterator& cursor() { return *cursor_; }
    bool has_parent() const { return cursor_stack_.size() > 1; }
    /// The column whose children the cursor walks. Only where has_parent().
    ColumnIterator parent_cursor() const { return cursor_stack_.below_top(); }
    void advance_cursor();  ///< one sibling on, not past the end
    /// To the first child of the current column. Throws std::logic_error at the end of the columns.
    void push_cursor();
    void pop_cursor();  ///< back to the parent; nothing on an empty stack

    // Empty cells: "," and the empty text, one for each leaf column passed over.

    /// One for each leaf at or below `column`, each saying `empty_text`.
    static void skip_cursor_columns(const ColumnIterator& column, ZUNXMLSaveContext* context,
                                    const std::string& empty_text);
    /// Those of the current column; the cursor stays.
    void skip_cursor(ZUNXMLSaveContext* context);
    /// Those of the columns before the sibling called `name`, to which the cursor goes, or to the end.
    void skip_cursor(std::string_view name, ZUNXMLSaveContext* context);
    void skip_cursor(const char* name, ZUNXMLSaveContext* context);  ///< null: std::logic_error
    /// In an array, sequence or union, those of the current and all later siblings; the cursor goes to the
    /// end.
    void skip_cursor_siblings(ZUNXMLSaveContext* context);

    // Sequences: a placeholder for the length, and the limit of elements.

    /// Opens a context for `column` and writes the placeholder.
    void enter_sequence_context(const ColumnInfo& column, ZUNXMLSaveContext* context);
    /// Closes the innermost context when it is of the column called `name` whose children the cursor walks:
    /// cuts off what was written beyond the limit and puts the length into the placeholder.
    void leave_sequence_context(std::string_view name, ZUNXMLSaveContext* context);
    void leave_sequence_context(const char* name, ZUNXMLSaveContext* context);  ///< null: std::logic_error
    /// Whether the innermost sequence has reached its limit. Logs when so.
    bool sequence_limit_reached() const;
    /// Whether the element `index` of the collection that the cursor walks is to be dropped. Logs when so.
    bool sequence_limit_reached(unsigned int index, ZUNXMLSaveContext* context);

private:
    friend class NativePrintFormatCsv;

    /// The column whose children the cursor walks; the root without a frame on the stack.
    const ColumnInfo& level_column() const { return *level_column_; }
    [[gnu::cold]] void log_dropped_element(unsigned int index) const;
    [[gnu::cold]] void log_limit_reached() const;
    void print_header(std::ostream& stream) const;
    void build_array_columns(ColumnInfo& column, const core::xtypes::ArrayTypeImpl& type);
    void build_sequence_columns(ColumnInfo& column, const core::xtypes::SequenceTypeImpl& type);
    std::uint32_t element_columns(const ColumnInfo& column, const core::xtypes::SequenceTypeImpl& type) const;
    void add_element(ColumnInfo& column, const std::string& name, const core::xtypes::DynamicTypeImpl& type);
    void fill_level(ZUNXMLSaveContext* context);
    void leave_column();
    void push_frame(const ColumnInfo& level);
    void note_level();
    void enter_collection(ZUNXMLSaveContext* context);
    void find_member(const char* name, ZUNXMLSaveContext* context);
    [[gnu::cold]] bool reaches_limit(unsigned int index, ZUNXMLSaveContext* context);
    bool cut_at_limit(const SequenceContext& sequence, ZUNXMLSaveContext* context) const;
    void patch_length(const SequenceContext& sequence, const ZUNXMLSaveContext* context) const;

    // In the order in which they are acquired: the language releases them in reverse.
    PrintFormatRecord native_;
    const PrintFormatCsvProperty& property_;
    TypeCopy type_;
    std::ostream& output_;
    std::vector<char>& buffer_;
    ColumnInfo root_column_;
    NodeStack<ColumnIterator> cursor_stack_;
    NodeStack<SequenceContext> sequence_contexts_;

    // Known so that no callback looks for them.
    ColumnIterator* cursor_ = nullptr;                // of the top frame; null without a frame
    const ColumnInfo* level_column_ = &root_column_;  // the root, or what the frame below the top designates
    SequenceContext* innermost_ = nullptr;            // sequence context; null without one
    std::uint32_t surely_written_ = UINT32_MAX;       // elements of the level that no limit can touch
    bool dropping_ = false;                           // all further elements of the level

    // Collections begun inside dropped elements and not ended: theirs are endings that close nothing.
    std::uint32_t dropped_collections_ = 0;
};

/// The callbacks that the converter puts into the engine's record.
class NativePrintFormatCsv {
public:
    NativePrintFormatCsv() = delete;

    static void print_top_level_beginning(DDS_PrintFormat*, ZUNXMLSaveContext*, const char* name, int);
    static void print_top_level_ending(DDS_PrintFormat*, ZUNXMLSaveContext*, const char* name, int);

    static void print_complex_type_beginning(DDS_PrintFormat*, ZUNXMLSaveContext*, const char* name, int);
    static void print_complex_type_ending(DDS_PrintFormat*, ZUNXMLSaveContext*, const char* name, int);
    static void print_primitive_type_beginning(DDS_PrintFormat*, ZUNXMLSaveContext*, const char* name, int);
    static void print_primitive_type_ending(DDS_PrintFormat*, ZUNXMLSaveContext*, const char* name, int);

    static void print_array_beginning(DDS_PrintFormat*, ZUNXMLSaveContext*, const char* name, int);
    static void print_array_ending(DDS_PrintFormat*, ZUNXMLSaveContext*, const char* name, int);
    static void print_complex_item_beginning(DDS_PrintFormat*, ZUNXMLSaveContext*, unsigned int index, int);
    static void print_complex_item_ending(DDS_PrintFormat*, ZUNXMLSaveContext*, unsigned int index, int);
    static void print_primitive_item_beginning(DDS_PrintFormat*, ZUNXMLSaveContext*, unsigned int index, int);
    static void print_primitive_item_ending(DDS_PrintFormat*, ZUNXMLSaveContext*, unsigned int index, int);
    static void print_array_item_beginning(DDS_PrintFormat*, ZUNXMLSaveContext*, unsigned int index, int);
    static void print_array_item_ending(DDS_PrintFormat*, ZUNXMLSaveContext*, unsigned int index, int);

    static void print_union_discriminator_beginning(DDS_PrintFormat*, ZUNXMLSaveContext*, int);
    static void print_union_discriminator_ending(DDS_PrintFormat*, ZUNXMLSaveContext*, int);
    static void print_unset_optional_member_beginning(DDS_PrintFormat*, ZUNXMLSaveContext*, const char* name,
                                                      int);
    static void print_unset_optional_member_ending(DDS_PrintFormat*, ZUNXMLSaveContext*, const char* name,
                                                   int);
};

}  // namespace zun::tamber::utils

#endif

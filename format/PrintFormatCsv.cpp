#include "format/PrintFormatCsv.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <stdexcept>

#include "platform/logger/Logger.hpp"

namespace zun::tamber::utils {

using chronicle::Logger;
using core::xtypes::DynamicTypeImpl;
using core::xtypes::TypeKind;

namespace {

// Fifteen characters hold every 32-bit count, right-aligned.
constexpr std::string_view placeholder = "###############";

/// Throws std::logic_error when the engine passed no name.
void check(const char* name) {
    if (name == nullptr) throw std::logic_error("the engine announced a member without a name");
}

/// Writes the first cell and copies it on, in ever longer runs.
void append_empty_cells(ZUNXMLSaveContext* context, std::uint32_t count, const std::string& empty_text) {
    if (count == 0) return;
    const std::size_t text_size = std::strlen(empty_text.c_str());
    const std::size_t cell_size = 1 + text_size;
    const std::size_t size = cell_size * count;
    if (!ZUNXMLSaveContext_fits(context, size)) return ZUNXMLSaveContext_count(context, size);
    char* const cells = context->text + context->length;
    cells[0] = ',';
    std::memcpy(cells + 1, empty_text.c_str(), text_size);
    for (std::size_t done = cell_size; done < size; done += std::min(done, size - done))
        std::memcpy(cells + done, cells, std::min(done, size - done));
    context->length += static_cast<std::uint32_t>(size);
}

char* end_of_text(const ZUNXMLSaveContext& context) {
    return context.text == nullptr ? nullptr : context.text + context.length;
}

}  // namespace

// Construction

PrintFormatCsv::PrintFormatCsv(const PrintFormatCsvProperty& property, const DynamicTypeImpl& type,
                               std::ostream& output, std::vector<char>& buffer)
    : native_(this),
      property_(property),
      type_(type),
      output_(output),
      buffer_(buffer),
      root_column_("", type_.type()) {
    initialize_native();
    build_column_info(root_column_, type_.type());
    root_column_.number_leaves(0);
    print_header(output_);
}

const PrintFormatCsvProperty& PrintFormatCsv::PROPERTY_DEFAULT() {
    static const PrintFormatCsvPropertyDefaultInitializer property;
    return property;
}

void PrintFormatCsv::initialize_native() {
    using Callbacks = NativePrintFormatCsv;
    DDS_PrintFormat& record = *native();
    record.print_top_level_beginning = Callbacks::print_top_level_beginning;
    record.print_top_level_ending = Callbacks::print_top_level_ending;
    record.print_complex_type_beginning = Callbacks::print_complex_type_beginning;
    record.print_complex_type_ending = Callbacks::print_complex_type_ending;
    record.print_primitive_type_beginning = Callbacks::print_primitive_type_beginning;
    record.print_primitive_type_ending = Callbacks::print_primitive_type_ending;
    record.print_array_beginning = Callbacks::print_array_beginning;
    record.print_array_ending = Callbacks::print_array_ending;
    record.print_complex_item_beginning = Callbacks::print_complex_item_beginning;
    record.print_complex_item_ending = Callbacks::print_complex_item_ending;
    record.print_primitive_item_beginning = Callbacks::print_primitive_item_beginning;
    record.print_primitive_item_ending = Callbacks::print_primitive_item_ending;
    record.print_array_item_beginning = Callbacks::print_array_item_beginning;
    record.print_array_item_ending = Callbacks::print_array_item_ending;
    record.print_union_discriminator_beginning = Callbacks::print_union_discriminator_beginning;
    record.print_union_discriminator_ending = Callbacks::print_union_discriminator_ending;
    record.print_unset_optional_member_beginning = Callbacks::print_unset_optional_member_beginning;
    record.print_unset_optional_member_ending = Callbacks::print_unset_optional_member_ending;
    record.line_start = "";
    record.indentation = "";
    record.line_end = "";
    record.is_compact = 1;
    record.indentation_level = 1;
    record.enum_as_string = property_.enum_as_string() ? 1 : 0;
}

void PrintFormatCsv::print_header(std::ostream& stream) const {
    stream << (property_.include_source_timestamp() ? "reception timestamp, source timestamp" : "timestamp");
    print_type_header(stream, root_column_);
    stream << std::endl;
}

void PrintFormatCsv::print_type_header(std::ostream& stream, const ColumnInfo& column) const {
    for (const ColumnInfo& child : column.children())
        print_type_header(stream, child);
    if (column.children().empty()) stream << ',' << column.full_name();
}

void PrintFormatCsv::build_column_info(ColumnInfo& column, const DynamicTypeImpl& type) {
    switch (column.type_kind()) {
        case TypeKind::ALIAS_TYPE: {
            const DynamicTypeImpl related = core::xtypes::AliasTypeImpl(type).related_type();
            column.type_kind(related.kind());
            build_column_info(column, related);
            break;
        }
        case TypeKind::STRUCTURE_TYPE: {
            const core::xtypes::StructTypeImpl structure(type);
            if (structure.has_parent()) build_column_info(column, structure.parent());
            build_complex_member_column_info(column, structure);
            break;
        }
        case TypeKind::UNION_TYPE: {
            const core::xtypes::UnionTypeImpl alternatives(type);
            column.add_child(ColumnInfo("_d", alternatives.discriminator()));
            build_complex_member_column_info(column, alternatives);
            break;
        }
        case TypeKind::ARRAY_TYPE:
            build_array_columns(column, core::xtypes::ArrayTypeImpl(type));
            break;
        case TypeKind::SEQUENCE_TYPE:
            build_sequence_columns(column, core::xtypes::SequenceTypeImpl(type));
            break;
        default:
            break;  // one value, one column
    }
}

template <typename ComplexType>
void PrintFormatCsv::build_complex_member_column_info(ColumnInfo& column, const ComplexType& type) {
    for (std::uint32_t i = 0; i < type.member_count(); ++i) {
        const auto& member = type.member(i);
        // Attached before anything is built below it, so that full names see all ancestors.
        ColumnInfo& child = column.add_child(ColumnInfo(member.name(), member.type()));
        build_column_info(child, member.type());
    }
}

template void PrintFormatCsv::build_complex_member_column_info(ColumnInfo&,
                                                               const core::xtypes::StructTypeImpl&);
template void PrintFormatCsv::build_complex_member_column_info(ColumnInfo&,
                                                               const core::xtypes::UnionTypeImpl&);

void PrintFormatCsv::add_element(ColumnInfo& column, const std::string& name, const DynamicTypeImpl& type) {
    build_column_info(column.add_child(ColumnInfo(name, type)), type);
}

void PrintFormatCsv::build_array_columns(ColumnInfo& column, const core::xtypes::ArrayTypeImpl& type) {
    const DynamicTypeImpl content = type.content_type();
    std::vector<std::uint32_t> index(type.dimension_count(), 0);
    for (std::uint32_t element = 0; element < type.total_element_count(); ++element) {
        std::string name = column.name();
        for (const std::uint32_t i : index)
            name += "[" + std::to_string(i) + "]";
        add_element(column, name, content);
        ++index.back();
        for (std::uint32_t d = type.dimension_count() - 1; d > 0 && index[d] == type.dimension(d); --d) {
            index[d] = 0;
            ++index[d - 1];
        }
    }
}

void PrintFormatCsv::build_sequence_columns(ColumnInfo& column, const core::xtypes::SequenceTypeImpl& type) {
    column.add_child(ColumnInfo(column.name() + ".length", TypeCopy(DDS_g_tc_ulong).type()));
    column.sequence_bounds(element_columns(column, type));
    const DynamicTypeImpl content = type.content_type();
    for (std::uint32_t i = 0; i < column.sequence_bounds(); ++i)
        add_element(column, column.name() + "[" + std::to_string(i) + "]", content);
}

/// The bound of a bounded sequence, the limit from the settings for an unbounded one.
std::uint32_t PrintFormatCsv::element_columns(const ColumnInfo& column,
                                              const core::xtypes::SequenceTypeImpl& type) const {
    if (type.bounds() != core::xtypes::no_bound) return type.bounds();
    const std::uint32_t limit = property_.seq_limit_for_field(column.full_name());
    if (Logger::enabled(Logger::Level::LOCAL))
        Logger::instance().local("Setting unbounded sequence limit for field '" + column.name() + "' to " +
                                 std::to_string(limit));
    return limit;
}

// Row state

void PrintFormatCsv::start_data_conversion() {
    // Nothing known designates what is gone, should there be no memory for the new frame.
    cursor_ = nullptr;
    level_column_ = &root_column_;
    innermost_ = nullptr;
    dropped_collections_ = 0;
    note_level();
    cursor_stack_.clear();
    sequence_contexts_.clear();
    push_frame(root_column_);
}

void PrintFormatCsv::advance_cursor() {
    if (cursor_ != nullptr && cursor() != level_column_->children().end()) ++cursor();
}

std::uint32_t PrintFormatCsv::take_plain_elements(std::uint32_t count) {
    const std::uint32_t plain = std::min(count, surely_written_);
    if (plain == 0) return 0;
    const ColumnInfo::Children& columns = level_column_->children();
    // Of a sequence as many as it may have, of an array as many as it has columns.
    if (plain == surely_written_ || plain == columns.size())
        cursor() = columns.end();
    else
        std::advance(cursor(), plain);
    return plain;
}

void PrintFormatCsv::push_cursor() {
    if (cursor() == level_column().children().end())
        throw std::logic_error("the engine announced more than the columns of '" +
                               level_column().full_name() + "' hold");
    push_frame(*cursor());
}

/// Puts the cursor on the first column of `level`.
void PrintFormatCsv::push_frame(const ColumnInfo& level) {
    cursor_ = &cursor_stack_.push(level.first_child());
    level_column_ = &level;
    note_level();
}

void PrintFormatCsv::pop_cursor() {
    if (cursor_stack_.empty()) return;
    cursor_stack_.pop();
    cursor_ = cursor_stack_.empty() ? nullptr : &cursor_stack_.top();
    level_column_ = has_parent() ? level_column_->parent() : &root_column_;
    note_level();
}

/// Decides for all elements of the level at once, as far as that can be done.
void PrintFormatCsv::note_level() {
    const bool is_sequence = innermost_ != nullptr && innermost_->column == level_column_;
    dropping_ = is_sequence && innermost_->limit_reached;
    const std::uint32_t bounds = std::min<std::uint32_t>(level_column_->sequence_bounds(), INT32_MAX);
    surely_written_ = !is_sequence ? UINT32_MAX : dropping_ ? 0 : bounds;
}

void PrintFormatCsv::skip_cursor_columns(const ColumnIterator& column, ZUNXMLSaveContext* context,
                                         const std::string& empty_text) {
    append_empty_cells(context, column->leaf_count(), empty_text);
}

void PrintFormatCsv::skip_cursor(ZUNXMLSaveContext* context) {
    if (cursor() == level_column().children().end()) return;
    skip_cursor_columns(cursor(), context, property_.empty_member_value_representation());
}

void PrintFormatCsv::skip_cursor(const char* name, ZUNXMLSaveContext* context) {
    check(name);
    skip_cursor(std::string_view(name), context);
}

void PrintFormatCsv::skip_cursor(std::string_view name, ZUNXMLSaveContext* context) {
    for (const auto end = level_column().children().end(); cursor() != end && cursor()->name() != name;
         ++cursor())
        skip_cursor(context);
}

void PrintFormatCsv::skip_cursor_siblings(ZUNXMLSaveContext* context) {
    const ColumnInfo& level = level_column();
    if (cursor() == level.children().end()) return;
    if (level.type_kind() != TypeKind::ARRAY_TYPE && level.type_kind() != TypeKind::SEQUENCE_TYPE &&
        level.type_kind() != TypeKind::UNION_TYPE)
        return;
    const std::uint32_t remaining = level.first_leaf() + level.leaf_count() - cursor()->first_leaf();
    append_empty_cells(context, remaining, property_.empty_member_value_representation());
    cursor() = level.children().end();
}

void PrintFormatCsv::enter_sequence_context(const ColumnInfo& column, ZUNXMLSaveContext* context) {
    SequenceContext& sequence = sequence_contexts_.push({&column, nullptr, false, nullptr});
    innermost_ = &sequence;
    note_level();
    if (context->text != nullptr) sequence.placeholder_position = end_of_text(*context) + 1;
    ZUNXMLSaveContext_appendString(context, ",");
    ZUNXMLSaveContext_appendString(context, placeholder.data());
}

bool PrintFormatCsv::sequence_limit_reached() const {
    if (innermost_ == nullptr || !innermost_->limit_reached) return false;
    if (Logger::enabled(Logger::Level::LOCAL)) log_limit_reached();
    return true;
}

void PrintFormatCsv::log_limit_reached() const {
    Logger::instance().local("  -- Sequence limit reached for column '" + innermost_->column->full_name() +
                             "'");
}

bool PrintFormatCsv::sequence_limit_reached(unsigned int index, ZUNXMLSaveContext* context) {
    if (index < surely_written_) return false;
    if (!dropping_ && !reaches_limit(index, context)) return false;
    if (Logger::enabled(Logger::Level::LOCAL)) log_dropped_element(index);
    return true;
}

bool PrintFormatCsv::reaches_limit(unsigned int index, ZUNXMLSaveContext* context) {
    // Otherwise the element is one of an array, or ends in a level of its own.
    if (innermost_ == nullptr || innermost_->column != level_column_) return false;
    if (index > INT32_MAX) context->failed = 1;
    if (index < level_column_->sequence_bounds()) return false;
    innermost_->limit_reached = true;
    innermost_->limit_position = end_of_text(*context);
    note_level();
    return true;
}

void PrintFormatCsv::log_dropped_element(unsigned int index) const {
    Logger::instance().local("Field '" + innermost_->column->name() + "': Sequence limit (" +
                             std::to_string(innermost_->column->sequence_bounds()) +
                             ") reached (collection index: " + std::to_string(index) +
                             "), this and next item(s) will be ignored");
}

void PrintFormatCsv::leave_sequence_context(const char* name, ZUNXMLSaveContext* context) {
    check(name);
    leave_sequence_context(std::string_view(name), context);
}

void PrintFormatCsv::leave_sequence_context(std::string_view name, ZUNXMLSaveContext* context) {
    if (innermost_ == nullptr) return;
    const SequenceContext& sequence = *innermost_;
    if (sequence.column != &level_column() || sequence.column->name() != name) return;
    if (!cut_at_limit(sequence, context)) return;
    patch_length(sequence, context);
    sequence_contexts_.pop();
    innermost_ = sequence_contexts_.empty() ? nullptr : &sequence_contexts_.top();
    note_level();
}

/// False when the shortened length does not fit the context, which is then marked failed.
bool PrintFormatCsv::cut_at_limit(const SequenceContext& sequence, ZUNXMLSaveContext* context) const {
    if (sequence.limit_position == nullptr || context->text == nullptr) return true;
    const std::int64_t length = sequence.limit_position - context->text;
    if (length > std::int64_t{UINT32_MAX}) {
        context->failed = 1;
        return false;
    }
    context->length = static_cast<std::uint32_t>(length);
    if (static_cast<std::size_t>(length) < buffer_.capacity()) *sequence.limit_position = '\0';
    return true;
}

/// The length cell was written before its value was known; the elements written since are that value.
void PrintFormatCsv::patch_length(const SequenceContext& sequence, const ZUNXMLSaveContext* context) const {
    if (sequence.placeholder_position == nullptr || context->length > buffer_.capacity()) return;
    const ColumnInfo& column = *sequence.column;
    const ColumnIterator at = *cursor_;
    const std::uint32_t passed =
        at == column.children().end() ? static_cast<std::uint32_t>(column.children().size()) : at->position();
    const std::uint32_t count = passed - 1;  // the length column is no element

    std::array<char, placeholder.size()> digits;
    const char* const end = std::to_chars(digits.begin(), digits.end(), count).ptr;
    const auto digit_count = static_cast<std::size_t>(end - digits.begin());
    const std::size_t spaces = placeholder.size() - digit_count;
    std::memset(sequence.placeholder_position, ' ', spaces);
    std::memcpy(sequence.placeholder_position + spaces, digits.data(), digit_count);
}

/// Goes to the column of the member that the engine announces; as a rule the cursor is there already.
void PrintFormatCsv::find_member(const char* name, ZUNXMLSaveContext* context) {
    check(name);
    const auto end = level_column().children().end();
    if (cursor() != end && std::strcmp(cursor()->name().c_str(), name) == 0) return;
    skip_cursor(name, context);
    if (cursor() == end)
        throw std::logic_error("no column for member '" + std::string(name) +
                               "' after those already printed");
}

void PrintFormatCsv::enter_collection(ZUNXMLSaveContext* context) {
    push_cursor();
    const ColumnInfo& column = level_column();
    if (column.type_kind() != TypeKind::SEQUENCE_TYPE) return;
    enter_sequence_context(column, context);
    advance_cursor();
}

/// Empty cells for what a level has not got. A structure without members is a column all the same.
void PrintFormatCsv::fill_level(ZUNXMLSaveContext* context) {
    skip_cursor_siblings(context);
    if (level_column().children().empty())
        append_empty_cells(context, 1, property_.empty_member_value_representation());
}

void PrintFormatCsv::leave_column() {
    pop_cursor();
    advance_cursor();
}

// Callbacks

void NativePrintFormatCsv::print_top_level_beginning(DDS_PrintFormat* format, ZUNXMLSaveContext*, const char*,
                                                     int) {
    PrintFormatCsv::from_native(format)->start_data_conversion();
}

void NativePrintFormatCsv::print_top_level_ending(DDS_PrintFormat* format, ZUNXMLSaveContext* context,
                                                  const char*, int) {
    PrintFormatCsv& converter = *PrintFormatCsv::from_native(format);
    // A union at the top has no ending of its own to fill its columns.
    if (converter.cursor_stack_.size() == 1) converter.fill_level(context);
    converter.pop_cursor();
}

void NativePrintFormatCsv::print_complex_type_beginning(DDS_PrintFormat* format, ZUNXMLSaveContext* context,
                                                        const char* name, int) {
    PrintFormatCsv& converter = *PrintFormatCsv::from_native(format);
    if (converter.sequence_limit_reached()) return;
    converter.find_member(name, context);
    converter.push_cursor();
}

void NativePrintFormatCsv::print_complex_type_ending(DDS_PrintFormat* format, ZUNXMLSaveContext* context,
                                                     const char*, int) {
    PrintFormatCsv& converter = *PrintFormatCsv::from_native(format);
    if (converter.sequence_limit_reached()) return;
    converter.fill_level(context);
    converter.leave_column();
}

void NativePrintFormatCsv::print_primitive_type_beginning(DDS_PrintFormat* format, ZUNXMLSaveContext* context,
                                                          const char* name, int) {
    PrintFormatCsv& converter = *PrintFormatCsv::from_native(format);
    if (converter.sequence_limit_reached()) return;  // the value that follows is cut off later
    converter.find_member(name, context);
    ZUNXMLSaveContext_appendString(context, ",");
}

void NativePrintFormatCsv::print_primitive_type_ending(DDS_PrintFormat* format, ZUNXMLSaveContext*,
                                                       const char*, int) {
    PrintFormatCsv& converter = *PrintFormatCsv::from_native(format);
    if (!converter.sequence_limit_reached()) converter.advance_cursor();
}

void NativePrintFormatCsv::print_array_beginning(DDS_PrintFormat* format, ZUNXMLSaveContext* context,
                                                 const char* name, int) {
    PrintFormatCsv& converter = *PrintFormatCsv::from_native(format);
    if (converter.sequence_limit_reached()) {
        ++converter.dropped_collections_;
        return;
    }
    converter.find_member(name, context);
    converter.enter_collection(context);
}

void NativePrintFormatCsv::print_array_ending(DDS_PrintFormat* format, ZUNXMLSaveContext* context,
                                              const char* name, int) {
    PrintFormatCsv& converter = *PrintFormatCsv::from_native(format);
    if (converter.sequence_limit_reached() && converter.dropped_collections_ > 0) {
        --converter.dropped_collections_;
        return;
    }
    converter.leave_sequence_context(name, context);
    converter.fill_level(context);
    converter.leave_column();
}

void NativePrintFormatCsv::print_complex_item_beginning(DDS_PrintFormat* format, ZUNXMLSaveContext* context,
                                                        unsigned int index, int) {
    PrintFormatCsv& converter = *PrintFormatCsv::from_native(format);
    if (!converter.sequence_limit_reached(index, context)) converter.push_cursor();
}

void NativePrintFormatCsv::print_complex_item_ending(DDS_PrintFormat* format, ZUNXMLSaveContext* context,
                                                     unsigned int index, int) {
    PrintFormatCsv& converter = *PrintFormatCsv::from_native(format);
    if (converter.sequence_limit_reached(index, context)) return;
    converter.fill_level(context);
    converter.leave_column();
}

void NativePrintFormatCsv::print_primitive_item_beginning(DDS_PrintFormat* format, ZUNXMLSaveContext* context,
                                                          unsigned int index, int) {
    PrintFormatCsv& converter = *PrintFormatCsv::from_native(format);
    if (!converter.sequence_limit_reached(index, context)) ZUNXMLSaveContext_appendString(context, ",");
}

void NativePrintFormatCsv::print_primitive_item_ending(DDS_PrintFormat* format, ZUNXMLSaveContext* context,
                                                       unsigned int index, int) {
    PrintFormatCsv& converter = *PrintFormatCsv::from_native(format);
    if (!converter.sequence_limit_reached(index, context)) converter.advance_cursor();
}

void NativePrintFormatCsv::print_array_item_beginning(DDS_PrintFormat* format, ZUNXMLSaveContext* context,
                                                      unsigned int index, int) {
    PrintFormatCsv& converter = *PrintFormatCsv::from_native(format);
    if (converter.sequence_limit_reached(index, context))
        ++converter.dropped_collections_;
    else
        converter.enter_collection(context);
}

void NativePrintFormatCsv::print_array_item_ending(DDS_PrintFormat* format, ZUNXMLSaveContext* context,
                                                   unsigned int, int) {
    PrintFormatCsv& converter = *PrintFormatCsv::from_native(format);
    if (converter.dropped_collections_ > 0) {
        --converter.dropped_collections_;
        return;
    }
    converter.leave_sequence_context(converter.level_column().name(), context);
    converter.fill_level(context);
    converter.leave_column();
}

void NativePrintFormatCsv::print_union_discriminator_beginning(DDS_PrintFormat*, ZUNXMLSaveContext* context,
                                                               int) {
    ZUNXMLSaveContext_appendString(context, ",");
}

void NativePrintFormatCsv::print_union_discriminator_ending(DDS_PrintFormat* format, ZUNXMLSaveContext*,
                                                            int) {
    PrintFormatCsv& converter = *PrintFormatCsv::from_native(format);
    if (converter.innermost_ == nullptr || !converter.innermost_->limit_reached) converter.advance_cursor();
}

void NativePrintFormatCsv::print_unset_optional_member_beginning(DDS_PrintFormat* format,
                                                                 ZUNXMLSaveContext* context, const char*,
                                                                 int) {
    PrintFormatCsv::from_native(format)->skip_cursor(context);
}

void NativePrintFormatCsv::print_unset_optional_member_ending(DDS_PrintFormat* format, ZUNXMLSaveContext*,
                                                              const char*, int) {
    PrintFormatCsv::from_native(format)->advance_cursor();
}

}  // namespace zun::tamber::utils

#include "platform/printing/SamplePrinter.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <type_traits>
#include <utility>

#include "platform/cdr/SampleDecoder.hpp"
#include "platform/printing/ByteText.hpp"
#include "platform/printing/NumberText.hpp"
#include "platform/printing/ValueText.hpp"

namespace zun::printing {

namespace {

using cdr::Discriminator;
using cdr::Item;
using cdr::Member;
using cdr::Plan;
using cdr::Step;
using cdr::TypeKind;
using cdr::WideText;

/// Turns what a walk meets into calls of a print format and the text of values.
class Printer {
public:
    static constexpr bool wants_absent = true;
    static constexpr bool wants_excluded = false;

    Printer(DDS_PrintFormat& format, ZUNXMLSaveContext& context, DoubleTextCache& doubles, TextStyle style,
            ValueWriter* values, std::span<RowsText> rows, std::uint32_t row_levels, ElementRuns* runs)
        : format_(&format),
          context_(&context),
          runs_(runs),
          doubles_(&doubles),
          style_(style),
          values_(values),
          rows_(rows),
          row_levels_(row_levels) {}

    bool met_invalid_text() const { return met_invalid_text_; }

    void top_level_beginning() {
        sample_beginning();
        for (std::uint32_t level = 0; level < row_levels_; ++level)
            unset_optional("");  // the index, which rows get later
    }
    void top_level_ending() { sample_ending(); }

    void complex_beginning(const Member& member) {
        format_->print_complex_type_beginning(format_, context_, member.name, depth_++);
    }
    void complex_ending(const Member& member) {
        format_->print_complex_type_ending(format_, context_, member.name, --depth_);
    }
    void complex_beginning(Item item) {
        format_->print_complex_item_beginning(format_, context_, item.index, depth_++);
    }
    void complex_ending(Item item) {
        format_->print_complex_item_ending(format_, context_, item.index, --depth_);
    }

    void array_beginning(const Member& member, const Plan&, std::uint32_t) {
        format_->print_array_beginning(format_, context_, member.name, depth_++);
    }
    void array_ending(const Member& member, const Plan&) {
        format_->print_array_ending(format_, context_, member.name, --depth_);
    }
    void array_beginning(Item item, const Plan&, std::uint32_t) {
        format_->print_array_item_beginning(format_, context_, item.index, depth_++);
    }
    void array_ending(Item item, const Plan&) {
        format_->print_array_item_ending(format_, context_, item.index, --depth_);
    }

    void unset_optional(const Member& member) { unset_optional(member.name); }

    template <bool Swapped, typename Place>
    void scalar(const Place& place, const Plan& plan, const std::byte* bytes) {
        with_writer<Swapped>(plan.kind, [&](auto write) { print(place, plan, bytes, write); });
    }

    template <bool Swapped>
    void scalars(const Member* members, const Step& step, const std::byte* bytes) {
        if (step.kind == TypeKind::NO_TYPE) {
            for (std::uint32_t i = 0; i < step.count; ++i, bytes += members->plan->scalar_size, ++members)
                scalar<Swapped>(*members, *members->plan, bytes);
            return;
        }
        const std::size_t size = members->plan->scalar_size;
        with_writer<Swapped>(step.kind, [&, count = step.count](auto write) {
            for (std::uint32_t i = 0; i < count; ++i)
                print(members[i], *members[i].plan, bytes + i * size, write);
        });
    }

    template <bool Swapped>
    void elements(const Plan& plan, std::uint32_t count, const std::byte* bytes) {
        const std::uint32_t plain = runs_ == nullptr ? 0 : runs_->take_plain_elements(count);
        with_writer<Swapped>(plan.kind, [&, size = std::size_t{plan.scalar_size}](auto write) {
            write_plain(plan, plain, bytes, write);
            for (std::uint32_t i = plain; i < count; ++i)
                print(Item{i}, plan, bytes + i * size, write);
        });
    }

    template <typename Place>
    void string(const Place& place, std::string_view text) {
        beginning(place);
        append(text);
        ending(place);
    }

    template <bool Swapped, typename Place>
    void wide_string(const Place& place, WideText text) {
        beginning(place);
        append_wide<Swapped>(text);
        ending(place);
    }

    template <typename Place>
    void bytes(const Place& place, const Plan& plan, std::span<const std::byte> bytes) {
        beginning(place);
        append_bytes(plan, bytes);
        ending(place);
    }

    template <typename Place>
    void stamp(const Place& place, const Plan& plan, cdr::Stamp stamp) {
        beginning(place);
        values_->append_stamp(*context_, plan.shape, stamp);
        ending(place);
    }

    // Sequences of this sort that lie in one another are begun and ended like brackets: what each swaps in
    // and out is its own.
    void rows_beginning(const Member&, const Plan& plan) {
        // To the format outside they are columns that this sample leaves empty.
        const std::string_view column = plan.members.front().name;
        unset_optional(column.data() + column.rfind('.') + 1);
        swap_target(rows_[plan.number]);
    }
    void rows_ending(const Member&, const Plan& plan) { swap_target(rows_[plan.number]); }
    void row_beginning(const Plan& plan) {
        for (const std::uint32_t inner : rows_[plan.number].inner)
            rows_[inner].firsts.push_back(static_cast<std::uint32_t>(rows_[inner].ends.size()));
        sample_beginning();
    }
    void row_ending(const Plan& plan) {
        sample_ending();
        rows_[plan.number].ends.push_back(context_->length);
    }

private:
    void sample_beginning() { format_->print_top_level_beginning(format_, context_, "", depth_++); }
    void sample_ending() { format_->print_top_level_ending(format_, context_, "", --depth_); }

    void unset_optional(const char* name) {
        format_->print_unset_optional_member_beginning(format_, context_, name, depth_);
        format_->print_unset_optional_member_ending(format_, context_, name, depth_);
    }

    void swap_target(RowsText& rows) {
        std::swap(format_, rows.format);
        std::swap(context_, rows.context);
        std::swap(runs_, rows.runs);
    }

    void beginning(const Member& member) {
        format_->print_primitive_type_beginning(format_, context_, member.name, depth_);
    }
    void ending(const Member& member) {
        format_->print_primitive_type_ending(format_, context_, member.name, depth_);
    }
    void beginning(Item item) {
        format_->print_primitive_item_beginning(format_, context_, item.index, depth_);
    }
    void ending(Item item) { format_->print_primitive_item_ending(format_, context_, item.index, depth_); }
    void beginning(Discriminator) { format_->print_union_discriminator_beginning(format_, context_, depth_); }
    void ending(Discriminator) { format_->print_union_discriminator_ending(format_, context_, depth_); }

    template <typename Place, typename Write>
    void print(const Place& place, const Plan& plan, const std::byte* bytes, Write write) {
        beginning(place);
        write(*this, plan, bytes);
        ending(place);
    }

    template <typename Write>
    void write_plain(const Plan& plan, std::uint32_t count, const std::byte* bytes, Write write) {
        for (std::uint32_t i = 0; i < count; ++i, bytes += plan.scalar_size) {
            ZUNXMLSaveContext_append(context_, &ElementRuns::separator, 1);
            write(*this, plan, bytes);
        }
    }

    template <bool Swapped, typename Value>
    struct NumberWriter {
        static Value load(const std::byte* bytes) {
            if constexpr (std::is_same_v<Value, bool>)
                return *bytes != std::byte{0};
            else
                return cdr::load<Swapped, Value>(bytes);
        }
        void operator()(Printer& printer, const Plan&, const std::byte* bytes) const {
            printer.number(load(bytes));
        }
    };

    /// Numbers for which there is surely room need not ask for it one by one.
    template <bool Swapped, typename Value>
    void write_plain(const Plan& plan, std::uint32_t count, const std::byte* bytes,
                     NumberWriter<Swapped, Value> writer) {
        while (const std::uint32_t roomy = std::min(count, numbers_that_fit())) {
            char* out = context_->text + context_->length;
            for (std::uint32_t i = 0; i < roomy; ++i, bytes += sizeof(Value)) {
                *out++ = ElementRuns::separator;
                out = write(out, writer.load(bytes));
            }
            context_->length = static_cast<std::uint32_t>(out - context_->text);
            count -= roomy;
        }
        for (; count > 0; --count, bytes += sizeof(Value)) {
            ZUNXMLSaveContext_append(context_, &ElementRuns::separator, 1);
            writer(*this, plan, bytes);
        }
    }

    std::uint32_t numbers_that_fit() const {
        const std::uint32_t room = context_->capacity - std::min(context_->length, context_->capacity);
        return room / std::uint32_t{1 + number_text_size};
    }

    /// Calls `use` with the function that writes the text of one scalar of that kind, so that a loop over
    /// many chooses once.
    template <bool Swapped, typename Use>
    static void with_writer(TypeKind kind, Use use) {
        switch (kind) {
            case TypeKind::BOOLEAN_TYPE:
                return use(NumberWriter<Swapped, bool>());
            case TypeKind::OCTET_TYPE:
            case TypeKind::UINT_8_TYPE:
                return use(NumberWriter<Swapped, std::uint8_t>());
            case TypeKind::INT_8_TYPE:
                return use(NumberWriter<Swapped, std::int8_t>());
            case TypeKind::INT_16_TYPE:
                return use(NumberWriter<Swapped, std::int16_t>());
            case TypeKind::UINT_16_TYPE:
                return use(NumberWriter<Swapped, std::uint16_t>());
            case TypeKind::INT_32_TYPE:
                return use(NumberWriter<Swapped, std::int32_t>());
            case TypeKind::UINT_32_TYPE:
                return use(NumberWriter<Swapped, std::uint32_t>());
            case TypeKind::INT_64_TYPE:
                return use(NumberWriter<Swapped, std::int64_t>());
            case TypeKind::UINT_64_TYPE:
                return use(NumberWriter<Swapped, std::uint64_t>());
            case TypeKind::FLOAT_32_TYPE:
                return use(NumberWriter<Swapped, float>());
            case TypeKind::FLOAT_64_TYPE:
                return use(NumberWriter<Swapped, double>());
            case TypeKind::FLOAT_128_TYPE:
                return use([](Printer& p, const Plan&, const std::byte* b) { p.long_double<Swapped>(b); });
            case TypeKind::ENUMERATION_TYPE:
                return use(
                    [](Printer& p, const Plan& e, const std::byte* b) { p.enumeration<Swapped>(e, b); });
            default:  // the two characters
                return use([](Printer& p, const Plan& c, const std::byte* b) { p.character<Swapped>(c, b); });
        }
    }

    template <typename Value>
    void number(Value value) {
        // Straight into the row; where the buffer is nearly full, by way of a copy that append() can refuse.
        if (!ZUNXMLSaveContext_fits(context_, number_text_size)) return append_number(value);
        char* const begin = context_->text + context_->length;
        context_->length += static_cast<std::uint32_t>(write(begin, value) - begin);
    }

    template <typename Value>
    [[gnu::cold]] [[gnu::noinline]] void append_number(Value value) {
        std::array<char, number_text_size> text;
        append(text.data(), write(text.data(), value));
    }

    template <typename Value>
    char* write(char* out, Value value) {
        if constexpr (std::is_same_v<Value, double>) {
            return doubles_->write(out, value);
        } else if constexpr (std::is_same_v<Value, bool>) {
            const std::string_view text = value ? "true" : "false";
            return std::copy(text.begin(), text.end(), out);
        } else {
            return write_number(out, value);
        }
    }

    void append(const char* begin, const char* end) {
        ZUNXMLSaveContext_append(context_, begin, static_cast<std::size_t>(end - begin));
    }

    void append(std::string_view text) { met_invalid_text_ |= !append_text(context_, text, style_); }

    void append_invalid_unit(char32_t unit) {
        append_invalid(context_, unit, style_.invalid);
        met_invalid_text_ = true;
    }

    void append_bytes(const Plan& plan, std::span<const std::byte> bytes) {
        using enum cdr::View::Shape;
        if (plan.shape == LENGTH) return number(static_cast<std::uint32_t>(bytes.size()));
        if (plan.shape == HEX) return append_hex(context_, bytes);
        if (plan.shape == BASE64) return append_base64(context_, bytes);
        if (plan.shape == FILE) return values_->append_file(*context_, plan.number, bytes);
        const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
        append(text.substr(0, text.find('\0')));
    }

    template <bool Swapped>
    void long_double(const std::byte* bytes) {
        const long double value = cdr::load_long_double<Swapped>(bytes);
        if (std::isnan(value)) return ZUNXMLSaveContext_appendString(context_, "nan");
        std::array<char, 64> text;
        append(text.data(), std::to_chars(text.data(), text.data() + text.size(), value).ptr);
    }

    template <bool Swapped>
    void enumeration(const Plan& plan, const std::byte* bytes) {
        const std::int64_t value = cdr::load_integer<Swapped>(plan.carrier, bytes);
        const auto name = format_->enum_as_string != 0 ? plan.enumerator_name(value) : std::string_view{};
        if (name.empty()) return number(value);
        ZUNXMLSaveContext_append(context_, name.data(), name.size());
    }

    /// A zero character is none, and has the text of an empty string.
    template <bool Swapped>
    void character(const Plan& plan, const std::byte* bytes) {
        const auto code = static_cast<char32_t>(cdr::load_integer<Swapped>(plan.carrier, bytes));
        if (cdr::is_half_pair(code)) return append_invalid_unit(code);
        append(code == 0 ? std::string_view{} : utf8_of(code).view());
    }

    /// As append_text(), without the text in UTF-8 ever being whole.
    template <bool Swapped>
    void append_wide(WideText text) {
        const bool quoted = needs_quotes<Swapped>(text);
        if (quoted) ZUNXMLSaveContext_append(context_, "\"", 1);
        if (style_.spreadsheet_safe && text.units > 0 && begins_formula(cdr::unit_at<Swapped>(text, 0)))
            ZUNXMLSaveContext_append(context_, "'", 1);
        for (std::uint32_t i = 0; i < text.units;) {
            const char32_t unit = cdr::unit_at<Swapped>(text, i);
            const char32_t character = cdr::next_character<Swapped>(text, i);
            if (character == 0 || character == cdr::no_character) {
                append_invalid_unit(unit);
                continue;
            }
            const Utf8 utf8 = utf8_of(character);
            ZUNXMLSaveContext_append(context_, utf8.bytes.data(), utf8.size);
            if (character == U'"') ZUNXMLSaveContext_append(context_, "\"", 1);
        }
        if (quoted) ZUNXMLSaveContext_append(context_, "\"", 1);
    }

    template <bool Swapped>
    static bool needs_quotes(const WideText& text) {
        for (std::uint32_t i = 0; i < text.units; ++i) {
            const char32_t unit = cdr::unit_at<Swapped>(text, i);
            if (unit == U',' || unit == U'"' || unit == U'\n' || unit == U'\r') return true;
        }
        // An empty text in quotes can be told from a cell without a value.
        return text.units == 0;
    }

    DDS_PrintFormat* format_;
    ZUNXMLSaveContext* context_;
    ElementRuns* runs_;
    DoubleTextCache* doubles_;
    TextStyle style_;
    ValueWriter* values_;
    std::span<RowsText> rows_;
    std::uint32_t row_levels_;
    bool met_invalid_text_ = false;
    int depth_ = 0;
};

}  // namespace

struct SamplePrinter::Impl {
    Impl(const core::xtypes::DynamicTypeImpl& type, std::string source, cdr::Writer writer,
         TextStyle text_style, std::shared_ptr<const cdr::View> view)
        : row_levels(view == nullptr ? 0 : view->levels_of_rows()),
          decoder(type, std::move(source), writer, std::move(view)),
          style(text_style) {}
    std::uint32_t row_levels;
    cdr::SampleDecoder decoder;
    TextStyle style;
    DoubleTextCache doubles;
};

SamplePrinter::SamplePrinter(const core::xtypes::DynamicTypeImpl& type, std::string source,
                             cdr::Writer writer, TextStyle style, std::shared_ptr<const cdr::View> view)
    : impl_(std::make_unique<Impl>(type, std::move(source), writer, style, std::move(view))) {}

SamplePrinter::~SamplePrinter() = default;

cdr::Findings SamplePrinter::print(DDS_PrintFormat& format, ZUNXMLSaveContext& context,
                                   std::span<const std::byte> payload, ValueWriter* values,
                                   std::span<RowsText> rows, ElementRuns* runs) {
    Printer printer(format, context, impl_->doubles, impl_->style, values, rows, impl_->row_levels, runs);
    cdr::Findings findings = impl_->decoder.decode(payload, printer);
    findings.invalid_text = printer.met_invalid_text();
    return findings;
}

}  // namespace zun::printing

// Walk: one pass over a sample, guided by a program, that tells a handler what it meets.
//
// Members are announced in the order of their declaration, whatever their order in the sample. A handler has
//
//     top_level_beginning(), top_level_ending()
//     complex_beginning(place), complex_ending(place)                    structures and unions
//     array_beginning(place, plan, count), array_ending(place, plan)     arrays and sequences
//     unset_optional(member)
//     scalar<Swapped>(place, plan, bytes), string(place, text), wide_string<Swapped>(place, text)
//     scalars<Swapped>(first member, step, bytes)                        a run of members
//     elements<Swapped>(plan, count, bytes)                              all elements of a collection
//     bytes(place, plan, bytes), stamp(place, plan, stamp)               what a view shows as one value
//     rows_beginning(member, plan), rows_ending(member, plan)            a sequence with a row an element:
//     row_beginning(plan), row_ending(plan)                              around each of its elements
//     wants_absent     whether members that a sample does not carry are announced with their defaults
//     wants_excluded   whether members that are excluded are announced all the same
//
// where a place is a Member, an Item or a Discriminator.

#ifndef ZUN_PLATFORM_CDR_WALK_HPP
#define ZUN_PLATFORM_CDR_WALK_HPP

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>

#include "platform/cdr/Findings.hpp"
#include "platform/cdr/Parameters.hpp"
#include "platform/cdr/Program.hpp"
#include "platform/cdr/Reader.hpp"
#include "platform/cdr/Stamp.hpp"
#include "platform/cdr/WideText.hpp"

namespace zun::cdr {

/// The place of an element of an array or a sequence.
struct Item {
    std::uint32_t index;  ///< from 0; in arrays of several dimensions row by row
};
/// The place of the value that selects a union's member.
struct Discriminator {};

/// A handler that wants nothing: for walks that only find out whether a sample fits, or where a value ends.
struct NoHandler {
    static constexpr bool wants_absent = false;
    static constexpr bool wants_excluded = true;  // what is in an excluded member is skipped with it

    void top_level_beginning() {}
    void top_level_ending() {}
    template <typename Place>
    void complex_beginning(const Place&) {}
    template <typename Place>
    void complex_ending(const Place&) {}
    template <typename Place>
    void array_beginning(const Place&, const Plan&, std::uint32_t) {}
    template <typename Place>
    void array_ending(const Place&, const Plan&) {}
    void unset_optional(const Member&) {}
    template <bool Swapped, typename Place>
    void scalar(const Place&, const Plan&, const std::byte*) {}
    template <typename Place>
    void string(const Place&, std::string_view) {}
    template <bool Swapped, typename Place>
    void wide_string(const Place&, WideText) {}
    template <bool Swapped>
    void scalars(const Member*, const Step&, const std::byte*) {}
    template <bool Swapped>
    void elements(const Plan&, std::uint32_t, const std::byte*) {}
    template <typename Place>
    void bytes(const Place&, const Plan&, std::span<const std::byte>) {}
    template <typename Place>
    void stamp(const Place&, const Plan&, Stamp) {}
    void rows_beginning(const Member&, const Plan&) {}
    void rows_ending(const Member&, const Plan&) {}
    void row_beginning(const Plan&) {}
    void row_ending(const Plan&) {}
};

/// Takes the first two integers that it meets.
class StampTaker : public NoHandler {
public:
    static constexpr bool wants_absent = true;

    template <bool Swapped, typename Place>
    void scalar(const Place&, const Plan& plan, const std::byte* bytes) {
        if (met_ < 2)
            (met_ == 0 ? stamp_.seconds : stamp_.nanoseconds) = load_integer<Swapped>(plan.carrier, bytes);
        ++met_;
    }
    template <bool Swapped>
    void scalars(const Member* members, const Step& step, const std::byte* bytes) {
        for (std::uint32_t i = 0; i < step.count; ++i, bytes += members->plan->scalar_size, ++members)
            scalar<Swapped>(*members, *members->plan, bytes);
    }

    const Stamp& taken() const { return stamp_; }

private:
    Stamp stamp_;
    std::uint32_t met_ = 0;
};

/// Whether `what`, a member or a step, is excluded for a handler.
template <typename Handler, typename MemberOrStep>
bool is_excluded(const MemberOrStep& what) {
    return !Handler::wants_excluded && what.excluded;
}

/// Announces a sequence with a row an element that is empty or absent.
template <typename Handler>
void no_rows(Handler& handler, const Member& member) {
    handler.rows_beginning(member, *member.plan);
    handler.rows_ending(member, *member.plan);
}

/// Announces values that a sample does not carry.
template <typename Handler>
class AbsentValues {
public:
    explicit AbsentValues(Handler& handler) : handler_(handler) {}

    void member(const Member& member) {
        if (is_excluded<Handler>(member)) return;
        if (member.plan->shape == View::Shape::ROWS) return no_rows(handler_, member);
        if (member.optional) return handler_.unset_optional(member);
        value(*member.plan, member, member.initial, member.initial_text);
    }

private:
    template <typename Place>
    void value(const Plan& plan, const Place& place, const ScalarBytes& initial, std::string_view text) {
        if (is_bytes(plan.shape)) return handler_.bytes(place, plan, {});
        if (is_stamp(plan.shape)) return handler_.stamp(place, plan, Stamp());
        switch (plan.kind) {
            case TypeKind::STRING_TYPE:
            case TypeKind::WSTRING_TYPE:
                return handler_.string(place, text);
            case TypeKind::STRUCTURE_TYPE:
            case TypeKind::UNION_TYPE:
                handler_.complex_beginning(place);
                aggregate(plan);
                return handler_.complex_ending(place);
            case TypeKind::ARRAY_TYPE:
            case TypeKind::SEQUENCE_TYPE:
                handler_.array_beginning(place, plan, plan.count);
                for (std::uint32_t i = 0; i < plan.count; ++i)
                    value(*plan.element, Item{i}, plan.element->initial, {});
                return handler_.array_ending(place, plan);
            default:
                handler_.template scalar<false>(place, plan, initial.data());
        }
    }

    void aggregate(const Plan& plan) {
        if (plan.kind == TypeKind::STRUCTURE_TYPE) {
            for (const Member& each : plan.members)
                member(each);
            return;
        }
        const Plan& discriminator = *plan.element;
        handler_.template scalar<false>(Discriminator{}, discriminator, discriminator.initial.data());
        const auto selector = load_integer<false>(discriminator.carrier, discriminator.initial.data());
        if (const Member* const selected = plan.find(selector)) member(*selected);
    }

    Handler& handler_;
};

/// One walk over one sample. What it is given must outlive it.
///
/// `Swapped`        the sample has the other byte order than this machine
/// `ChecksPadding`  as of Reader
template <typename Handler, bool Swapped, bool ChecksPadding>
class Walk {
public:
    Walk(const Program& program, Reader<ChecksPadding>& reader, ParameterTable& parameters, Handler& handler)
        : root_(program.root()),
          wide_form_(program.layout().reading.wide_strings),
          origin_(program.layout().reading.origin),
          xcdr2_(program.layout().xcdr2),
          reader_(reader),
          parameters_(parameters),
          handler_(handler) {
        parameters_.clear();
    }

    /// Walks the whole sample. Throws InputError at the first place that does not fit the program.
    Findings sample() {
        handler_.top_level_beginning();
        aggregate(root_);
        handler_.top_level_ending();
        findings_.left_over = reader_.left();
        return findings_;
    }

private:
    /// Goes on where `other` is, for another handler.
    template <typename OtherHandler>
    Walk(const Walk<OtherHandler, Swapped, ChecksPadding>& other, Handler& handler)
        : root_(other.root_),
          wide_form_(other.wide_form_),
          origin_(other.origin_),
          xcdr2_(other.xcdr2_),
          reader_(other.reader_),
          parameters_(other.parameters_),
          handler_(handler),
          findings_(other.findings_),
          empty_elements_(other.empty_elements_) {}

    // The end and the origin outside the value that is being read.
    struct Outside {
        std::uint64_t end;
        std::uint64_t origin;
    };

    template <typename, bool, bool>
    friend class Walk;

    // Elements that take no bytes, such as those of an empty structure, cost time all the same, and a length
    // of four bytes can claim four thousand million of them: so their number is bounded.
    static constexpr std::uint64_t empty_element_limit = 1U << 16U;
    // Parameters are rounded up to whole words by some writers.
    static constexpr std::uint64_t parameter_padding = 3;

    template <typename Place>
    void value(const Plan& plan, const Place& place) {
        switch (plan.kind) {
            case TypeKind::STRING_TYPE:
                return handler_.string(place, string(plan));
            case TypeKind::WSTRING_TYPE:
                return handler_.template wide_string<Swapped>(place, wide_string(plan));
            case TypeKind::STRUCTURE_TYPE:
            case TypeKind::UNION_TYPE:
                if (is_stamp(plan.shape)) return handler_.stamp(place, plan, stamp(plan));
                handler_.complex_beginning(place);
                aggregate(plan);
                return handler_.complex_ending(place);
            case TypeKind::ARRAY_TYPE:
            case TypeKind::SEQUENCE_TYPE:
                return collection(plan, place);
            default:
                scalar(plan, place);
        }
    }

    template <typename Place>
    const std::byte* scalar(const Plan& plan, const Place& place) {
        reader_.align(plan.alignment);
        const std::byte* const bytes = reader_.take(plan.scalar_size, "a value");
        handler_.template scalar<Swapped>(place, plan, bytes);
        return bytes;
    }

    // ---- structures and unions

    void aggregate(const Plan& plan) {
        switch (plan.form) {
            case Form::PLAIN:
                return plain_members(plan);
            case Form::DELIMITED: {
                const std::uint64_t outer = begin_delimited();
                plain_members(plan);
                return end_delimited(outer);
            }
            case Form::PARAMETERS:
                return parameters(plan);
            case Form::BITS:
                return bits(plan);
        }
    }

    void plain_members(const Plan& plan) {
        if (plan.kind == TypeKind::UNION_TYPE) return plain_union(plan);
        if (plan.placeholder) reader_.take(1, "a placeholder");
        for (const Step& step : plan.steps) {
            if (plan.open_ended && reader_.at_end())
                absent(plan, step);
            else if (step.size != 0)
                run(plan, step);
            else
                member(plan.members[step.first]);
        }
    }

    void run(const Plan& plan, const Step& step) {
        reader_.align(step.alignment);
        if (plan.open_ended && !reader_.body_fits(step.size)) return cut_run(plan, step);
        const std::byte* const bytes = reader_.take(step.size, "values");
        if (!is_excluded<Handler>(step))
            handler_.template scalars<Swapped>(&plan.members[step.first], step, bytes);
    }

    // The sample ends within the run, between two members if it is whole.
    void cut_run(const Plan& plan, const Step& step) {
        for (std::uint32_t i = 0; i < step.count; ++i) {
            const Member& member = plan.members[step.first + i];
            if (reader_.at_end())
                absent(member);
            else
                member_value(member);
        }
    }

    void member_value(const Member& member) {
        is_excluded<Handler>(member) ? skip(member) : value(*member.plan, member);
    }

    // Reads the value for its size alone.
    void skip(const Member& member) {
        NoHandler nobody;
        with_handler(nobody, [&](auto& walk) { walk.value(*member.plan, member); });
    }

    Stamp stamp(const Plan& plan) {
        StampTaker taker;
        with_handler(taker, [&](auto& walk) { walk.aggregate(plan); });
        return taker.taken();
    }

    // Lets another handler have what comes next.
    template <typename OtherHandler, typename Use>
    void with_handler(OtherHandler& handler, const Use& use) {
        Walk<OtherHandler, Swapped, ChecksPadding> walk(*this, handler);
        use(walk);
        findings_ = walk.findings_;
        empty_elements_ = walk.empty_elements_;
    }

    void unset_optional(const Member& member) {
        if (is_excluded<Handler>(member)) return;
        if (member.plan->shape == View::Shape::ROWS) return no_rows(handler_, member);
        handler_.unset_optional(member);
    }

    void member(const Member& member) {
        if (!member.optional) return member_value(member);
        if (xcdr2_) {
            const bool set = *reader_.take(1, "the flag of an optional member") != std::byte{0};
            return set ? member_value(member) : unset_optional(member);
        }
        Parameter parameter;
        if (!read_parameter_1<Swapped>(reader_, origin_, parameter))
            reader_.fail(reader_.position(), "expected an optional member, found the end of a list");
        const Outside outside = begin_parameter(parameter);
        if (parameter.begin == parameter.end)
            unset_optional(member);
        else
            member_value(member);
        end_parameter(parameter, outside);
    }

    void absent(const Plan& plan, const Step& step) {
        for (std::uint32_t i = 0; i < step.count; ++i)
            absent(plan.members[step.first + i]);
    }

    void absent(const Member& member) {
        findings_.absent_members |= !member.optional;
        if constexpr (Handler::wants_absent) AbsentValues<Handler>(handler_).member(member);
    }

    std::int64_t discriminator(const Plan& plan) {
        return load_integer<Swapped>(plan.carrier, scalar(plan, Discriminator{}));
    }

    void plain_union(const Plan& plan) {
        const Member* const selected = plan.find(discriminator(*plan.element));
        if (selected == nullptr) return;
        if (plan.form == Form::DELIMITED && reader_.at_end()) return absent(*selected);
        member_value(*selected);
    }

    void bits(const Plan& plan) {
        reader_.align(plan.element->alignment);
        const std::byte* const bytes = reader_.take(plan.element->scalar_size, "a bit set");
        const auto all = static_cast<std::uint64_t>(load_integer<Swapped>(plan.element->carrier, bytes));
        for (std::size_t i = 0; i < plan.members.size(); ++i)
            if (!is_excluded<Handler>(plan.members[i])) bit_field(plan.members[i], plan.bits[i], all);
    }

    void bit_field(const Member& member, core::xtypes::BitField field, std::uint64_t all) {
        const unsigned int unused = 64U - field.width;
        const std::uint64_t high = all << (unused - field.position);
        const TypeKind kind = member.plan->kind;
        const bool is_signed = kind == TypeKind::INT_8_TYPE || kind == TypeKind::INT_16_TYPE ||
                               kind == TypeKind::INT_32_TYPE || kind == TypeKind::INT_64_TYPE;
        const std::uint64_t bits = is_signed
                                       ? static_cast<std::uint64_t>(static_cast<std::int64_t>(high) >> unused)
                                       : high >> unused;
        const ScalarBytes bytes = bytes_of_integer(member.plan->carrier, static_cast<std::int64_t>(bits));
        handler_.template scalar<false>(member, *member.plan, bytes.data());
    }

    // ---- collections

    template <typename Place>
    void collection(const Plan& plan, const Place& place) {
        const std::uint64_t outer = plan.delimited ? begin_delimited() : 0;
        const std::uint32_t count = plan.kind == TypeKind::ARRAY_TYPE ? plan.count : length(plan);
        if (plan.shape == View::Shape::PARTS) {
            handler_.array_beginning(place, plan, count);
            if (count > 0) elements(*plan.element, count);
            handler_.array_ending(place, plan);
        } else if (is_bytes(plan.shape)) {
            handler_.bytes(place, plan, {reader_.take(count, "elements"), count});
        } else if constexpr (std::is_same_v<Place, Member>) {
            rows(plan, place, count);
        }
        if (plan.delimited) end_delimited(outer);
    }

    void rows(const Plan& plan, const Member& member, std::uint32_t count) {
        if (plan.element->minimal_size == 0) count_empty(count);
        handler_.rows_beginning(member, plan);
        for (std::uint32_t i = 0; i < count; ++i) {
            handler_.row_beginning(plan);
            value(*plan.element, plan.members.front());
            handler_.row_ending(plan);
        }
        handler_.rows_ending(member, plan);
    }

    void elements(const Plan& element, std::uint32_t count) {
        if (element.is_scalar()) {
            reader_.align(element.alignment);
            const std::uint64_t size = std::uint64_t{count} * element.scalar_size;
            return handler_.template elements<Swapped>(element, count, reader_.take(size, "elements"));
        }
        if (element.minimal_size == 0) count_empty(count);
        for (std::uint32_t i = 0; i < count; ++i)
            value(element, Item{i});
    }

    void count_empty(std::uint32_t count) {
        empty_elements_ += count;
        if (empty_elements_ > empty_element_limit)
            reader_.fail(reader_.position(), "expected at most " + std::to_string(empty_element_limit) +
                                                 " elements without content, found " +
                                                 std::to_string(empty_elements_));
    }

    std::uint32_t length(const Plan& plan) {
        const auto count = reader_.template take_u32<Swapped>("a length");
        if (count > plan.bound) fail_length(count, "elements", plan.bound);
        const std::uint64_t size = count * plan.element->minimal_size;
        if (!reader_.fits(size)) fail_count(count);
        return count;
    }

    // ---- strings

    std::string_view string(const Plan& plan) {
        const auto size = reader_.template take_u32<Swapped>("a string length");
        if (size == 0) return {};  // not of the standard, yet written by some for an empty string
        if (size - 1 > plan.bound) fail_length(size - 1, "characters", plan.bound);
        const auto* const text = reinterpret_cast<const char*>(reader_.take(size, "a string"));
        if (text[size - 1] != '\0')
            reader_.fail(reader_.position() - 1, "expected the zero byte that ends a string, found another");
        return {text, size - 1};
    }

    WideText wide_string(const Plan& plan) {
        const auto length = reader_.template take_u32<Swapped>("a string length");
        const std::uint8_t unit_size = wide_form_ == WideForm::UNITS_OF_4 ? 4 : 2;
        const bool in_bytes = wide_form_ == WideForm::BYTES;
        if (in_bytes && length % 2 != 0)
            reader_.fail(
                reader_.position() - 4,
                "expected an even number of bytes for a wide string, found " + std::to_string(length));
        const std::uint32_t units = in_bytes ? length / 2 : length;
        if (units > plan.bound) fail_length(units, "characters", plan.bound);
        const std::byte* const data = reader_.take(std::uint64_t{units} * unit_size, "a wide string");
        return {data, units, unit_size};
    }

    // ---- values with a size of their own

    std::uint64_t begin_delimited() {
        const auto size = reader_.template take_u32<Swapped>("a delimiter");
        return reader_.narrow(size, "a delimited value");
    }

    void end_delimited(std::uint64_t outer) { end_value(reader_.end(), outer, 0); }

    void end_value(std::uint64_t end, std::uint64_t outer, std::uint64_t padding) {
        findings_.unknown_members |= end - reader_.position() > padding;
        reader_.step_over(end);
        reader_.set_end(outer);
    }

    Outside begin_parameter(const Parameter& parameter) {
        const Outside outside{reader_.end(), reader_.origin()};
        reader_.set_position(parameter.begin);
        reader_.set_end(parameter.end);
        if (!xcdr2_) reader_.set_origin(parameter.begin);
        return outside;
    }

    void end_parameter(const Parameter& parameter, Outside outside) {
        end_value(parameter.end, outside.end, parameter_padding);
        if (parameter.restores_origin) reader_.set_origin(outside.origin);
    }

    bool next_parameter(Parameter& parameter) {
        return xcdr2_ ? read_parameter_2<Swapped>(reader_, parameter)
                      : read_parameter_1<Swapped>(reader_, origin_, parameter);
    }

    void parameters(const Plan& plan) {
        const std::uint64_t outer = xcdr2_ ? begin_delimited() : reader_.end();
        plan.kind == TypeKind::UNION_TYPE ? parameter_union(plan) : parameter_structure(plan);
        end_value(xcdr2_ ? reader_.end() : reader_.position(), outer, parameter_padding);
    }

    void parameter_structure(const Plan& plan) {
        const std::size_t base = parameters_.size();
        parameters_.resize(base + plan.members.size());
        const Parameter last = find_parameters(plan, base);
        const std::uint64_t position_after = reader_.position();
        const std::uint64_t origin_before = reader_.origin();
        std::uint64_t origin_after = last.restores_origin ? origin_before : last.begin;
        for (std::size_t i = 0; i < plan.members.size(); ++i) {
            const Parameter parameter = parameters_[base + i];  // nested values move the table
            if (parameter.begin == 0) {
                absent(plan.members[i]);
                continue;
            }
            parameter_value(plan.members[i], parameter);
            if (parameter.begin == last.begin) origin_after = reader_.origin();
            reader_.set_origin(origin_before);
        }
        parameters_.resize(base);
        reader_.set_position(position_after);
        reader_.set_origin(origin_after);
    }

    // Notes where each member is, the last one where several have its id; returns the last of all.
    Parameter find_parameters(const Plan& plan, std::size_t base) {
        Parameter parameter;
        while (next_parameter(parameter)) {
            if (const Member* const known = plan.find(parameter.id))
                parameters_[base + static_cast<std::size_t>(known - plan.members.data())] = parameter;
            else
                unknown(parameter);
            reader_.set_position(parameter.end);
        }
        return parameter;
    }

    void unknown(const Parameter& parameter) {
        findings_.unknown_members = true;
        if (parameter.must_understand)
            reader_.fail(parameter.begin, "expected a member of the type, found one with the id " +
                                              std::to_string(parameter.id) + " that has to be understood");
    }

    void parameter_value(const Member& member, const Parameter& parameter) {
        const Outside outside = begin_parameter(parameter);
        member_value(member);
        end_parameter(parameter, outside);
    }

    // The discriminator comes first; ids differ from writer to writer and are not needed.
    void parameter_union(const Plan& plan) {
        Parameter parameter;
        if (!next_parameter(parameter))
            reader_.fail(reader_.position(), "expected a discriminator, found none");
        const Outside outside = begin_parameter(parameter);
        const Member* const selected = plan.find(discriminator(*plan.element));
        end_parameter(parameter, outside);
        bool more = next_parameter(parameter);
        if (selected != nullptr && more) parameter_value(*selected, parameter);
        if (selected != nullptr && !more) absent(*selected);
        while (more) {
            reader_.set_position(parameter.end);
            more = next_parameter(parameter);
        }
    }

    // ---- errors

    [[noreturn]] [[gnu::cold]] void fail_length(std::uint32_t length, const char* what, std::uint32_t bound) {
        reader_.fail(reader_.position() - 4, "expected at most " + std::to_string(bound) + " " + what +
                                                 ", found " + std::to_string(length));
    }

    [[noreturn]] [[gnu::cold]] void fail_count(std::uint32_t count) {
        reader_.fail(reader_.position() - 4,
                     "expected the number of the elements that follow, found " + std::to_string(count) +
                         " with " + std::to_string(reader_.end() - reader_.position()) + " bytes left");
    }

    const Plan& root_;
    const WideForm wide_form_;
    const Origin origin_;
    const bool xcdr2_;
    Reader<ChecksPadding>& reader_;
    ParameterTable& parameters_;
    Handler& handler_;
    Findings findings_;
    std::uint64_t empty_elements_ = 0;
};

}  // namespace zun::cdr

#endif
